// The logging key: its values, and the thread that follows them.
//
// A query that fails leaves things as they are, but for a switch that is not there, which is on. Types are
// not looked at where a number is read: what the value holds goes over the number's four bytes from the
// front.
#include "logging/LogWrapper.h"
#include "logging/RegistryHelpers.h"

#include <stdexcept>

namespace {

constexpr size_t HIVE_CHARACTERS = 5;  // of the hive and the separator behind it

const char SERVER_KEY[] = "Software\\Zelko Systems\\Orvex\\Logging";
const char LOG_SUFFIX[] = ".log";

// The number's bytes as they are where the query fails. Result: that of the query.
LONG QueryNumber(HKEY hKey, const char* valueName, DWORD* pdwNumber)
{
    DWORD dwNumber = *pdwNumber;
    DWORD dwBytes = sizeof dwNumber;
    const LONG lResult =
        RegQueryValueExA(hKey, valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(&dwNumber), &dwBytes);
    if (lResult == ERROR_SUCCESS)
        *pdwNumber = dwNumber;
    return lResult;
}

bool EndsIn(const std::string& s, const std::string& sEnd)
{
    return s.size() >= sEnd.size() && s.compare(s.size() - sEnd.size(), sEnd.size(), sEnd) == 0;
}

}  // namespace

bool LogWrapper::OpenRegistryPath(std::string& sRegistryPath)
{
    m_sRegistryPath = sRegistryPath;
    if (sRegistryPath.empty())
        return false;
    const std::string sKeyPath = sRegistryPath.substr(HIVE_CHARACTERS);
    const bool bUser = _stricmp(sRegistryPath.substr(0, HIVE_CHARACTERS - 1).c_str(), "HKCU") == 0;
    return CreateRegistryPath(bUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE, sKeyPath, &m_hKey, nullptr);
}

// The users of one machine get servers of their own, since the name in use ends in that of the user.
bool LogWrapper::ReadTraceFileName()
{
    constexpr DWORD NAME_BYTES = 256;
    char szName[NAME_BYTES + 1] = {};
    DWORD dwType = 0;
    DWORD dwBytes = NAME_BYTES;
    if (m_hKey == nullptr || RegQueryValueExA(m_hKey, "TraceFileName", nullptr, &dwType,
                                              reinterpret_cast<BYTE*>(szName), &dwBytes) != ERROR_SUCCESS)
        return false;
    if (dwType != REG_SZ)
        return false;
    szName[dwBytes] = '\0';
    m_sTraceFileName = szName;
    if (EndsIn(m_sTraceFileName, LOG_SUFFIX))
        m_sTraceFileName.resize(m_sTraceFileName.size() - (sizeof LOG_SUFFIX - 1));

    char szUser[256] = {};
    DWORD dwUser = sizeof szUser;
    GetUserNameA(szUser, &dwUser);
    m_sTraceFileName += '.';
    m_sTraceFileName += szUser;
    return true;
}

bool LogWrapper::ReadMask(const char* valueName, std::atomic<unsigned int>& nMask)
{
    const DWORD dwWas = nMask.load(std::memory_order_relaxed);
    DWORD dwMask = dwWas;
    QueryNumber(m_hKey, valueName, &dwMask);
    nMask.store(dwMask, std::memory_order_relaxed);
    return dwMask != dwWas;
}

bool LogWrapper::ReadTraceMask() { return ReadMask("TraceMask", m_nTraceMask); }

bool LogWrapper::ReadConsoleTraceMask() { return ReadMask("ConsoleTraceMask", m_nConsoleTraceMask); }

int LogWrapper::ReadSwitch(const char* valueName, const std::atomic<bool>& bFlag)
{
    DWORD dwOn = bFlag.load(std::memory_order_relaxed) ? 1 : 0;
    if (QueryNumber(m_hKey, valueName, &dwOn) == ERROR_FILE_NOT_FOUND)
        return -1;
    return dwOn != 0 ? 1 : 0;
}

int LogWrapper::ReadUseScreenOutput() { return ReadSwitch("UseScreenOutput", m_bScreenOutput); }

int LogWrapper::ReadUseDebugOutput() { return ReadSwitch("UseDebugOutput", m_bDebugOutput); }

// The server program is a matter of the machine: its key does not follow the path that the logger was given.
bool LogWrapper::ReadTraceServer()
{
    const bool bRead = ReadRegistryString(HKEY_LOCAL_MACHINE, SERVER_KEY, "TraceServer", m_sTraceServer);
    if (bRead && m_sTraceServer.empty())
        m_bUseTraceServer = false;
    return bRead;
}

unsigned int LogWrapper::WaitThread(void* pThis)
{
    try {
        static_cast<LogWrapper*>(pThis)->WatchSettings();
    } catch (const std::exception&) {
        // Out of memory: the settings stay as they are.
    }
    return 0;
}

// The watch is armed before the values are read, so no change falls between the two; that also catches what
// changed while the logger started. A watch that cannot be armed, as on a key that was deleted, leaves
// nothing to wait for but the stop event.
void LogWrapper::WatchSettings()
{
    const HANDLE hChange = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    if (hChange == nullptr) {
        WaitForSingleObject(m_hStopEvent, INFINITE);
        return;
    }
    const HANDLE ahEvents[] = {m_hStopEvent, hChange};
    do {
        ResetEvent(hChange);
        RegNotifyChangeKeyValue(m_hKey, TRUE, REG_NOTIFY_CHANGE_LAST_SET, hChange, TRUE);
        FollowSettings();
    } while (WaitForMultipleObjects(2, ahEvents, FALSE, INFINITE) == WAIT_OBJECT_0 + 1);
    CloseHandle(hChange);
}

void LogWrapper::FollowSettings()
{
    if (ReadTraceMask())
        Tell("TraceMask changed: New TraceMask is 0x%x.", m_nTraceMask.load(std::memory_order_relaxed));
    if (ReadConsoleTraceMask())
        Tell("Console TraceMask changed: New TraceMask is 0x%x.",
             m_nConsoleTraceMask.load(std::memory_order_relaxed));
    const bool bScreen = ReadUseScreenOutput() != 0;
    const bool bDebug = ReadUseDebugOutput() != 0;
    // Each line finds its output on.
    if (bScreen && !m_bScreenOutput.exchange(true, std::memory_order_relaxed))
        Tell("Screen Output Turned ON");
    if (!bScreen && m_bScreenOutput.load(std::memory_order_relaxed)) {
        Tell("Screen Output Turned OFF");
        m_bScreenOutput.store(false, std::memory_order_relaxed);
    }
    if (bDebug && !m_bDebugOutput.exchange(true, std::memory_order_relaxed))
        Tell("Debug Output Turned ON");
    if (!bDebug && m_bDebugOutput.load(std::memory_order_relaxed)) {
        Tell("Debug Output Turned OFF");
        m_bDebugOutput.store(false, std::memory_order_relaxed);
    }
}
