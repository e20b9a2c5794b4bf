#include "tools/traceserver/TraceServer.h"

#include "logging/ServerProtocol.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace fs = std::filesystem;

namespace {

constexpr UINT LOOK_MS = 1000;
constexpr DWORD WRITE_AGAIN_MS = 200;

// Where the user's programs keep what they log, by the first of these variables that is set.
fs::path DefaultFolder()
{
    const struct
    {
        const char* variable;
        const char* below;
    } places[] = {{"XDG_STATE_HOME", "orvex"}, {"LOCALAPPDATA", "orvex"}, {"HOME", ".local/state/orvex"}};
    for (const auto& place : places) {
        const char* const value = getenv(place.variable);
        if (value != nullptr && *value != '\0')
            return fs::path(value) / place.below;
    }
    return fs::temp_directory_path() / "orvex";
}

DWORD ReadNumber(HKEY hKey, const char* valueName, DWORD dwDefault)
{
    DWORD dwNumber = 0;
    DWORD dwType = 0;
    DWORD dwBytes = sizeof dwNumber;
    const LONG lResult =
        RegQueryValueExA(hKey, valueName, nullptr, &dwType, reinterpret_cast<BYTE*>(&dwNumber), &dwBytes);
    return lResult == ERROR_SUCCESS && dwType == REG_DWORD ? dwNumber : dwDefault;
}

std::string ReadText(HKEY hKey, const char* valueName)
{
    char szText[4097] = {};
    DWORD dwType = 0;
    DWORD dwBytes = sizeof szText - 1;
    const LONG lResult =
        RegQueryValueExA(hKey, valueName, nullptr, &dwType, reinterpret_cast<BYTE*>(szText), &dwBytes);
    return lResult == ERROR_SUCCESS && dwType == REG_SZ ? szText : std::string();
}

std::string Record(const std::string& sText)
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    char szTime[64];
    const int n = snprintf(szTime, sizeof szTime, "%04u-%02u-%02u %02u:%02u:%02u.%03u  ", now.wYear,
                           now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
    std::string sRecord;
    sRecord.reserve(static_cast<size_t>(n) + sText.size() + 1);
    sRecord.append(szTime, static_cast<size_t>(n));
    sRecord += sText;
    sRecord += '\n';
    return sRecord;
}

// The number in the given text from there on; 0 where there is none.
DWORD NumberAt(const std::string& s, size_t i)
{
    return static_cast<DWORD>(strtoul(s.c_str() + i, nullptr, 10));
}

// EXE_PROCESSID_THREADID, where EXE may hold underscores of its own.
DWORD ProcessOfClient(const std::string& sClientId)
{
    const size_t last = sClientId.rfind('_');
    if (last == std::string::npos || last == 0)
        return 0;
    const size_t before = sClientId.rfind('_', last - 1);
    return before == std::string::npos ? 0 : NumberAt(sClientId, before + 1);
}

}  // namespace

TraceServer* TraceServer::s_pServer = nullptr;

TraceServer::Settings TraceServer::ReadSettings(const std::string& sRegistryPath)
{
    const size_t separator = sRegistryPath.find('\\');
    const bool bUser = _stricmp(sRegistryPath.substr(0, separator).c_str(), "HKCU") == 0;
    const std::string sKey = separator == std::string::npos ? "" : sRegistryPath.substr(separator + 1);
    HKEY hKey = nullptr;
    if (RegOpenKeyExA(bUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE, sKey.c_str(), 0, KEY_READ, &hKey) !=
        ERROR_SUCCESS)
        hKey = nullptr;
    Settings settings;
    const std::string sFolder = ReadText(hKey, "TraceFolder");
    settings.folder = sFolder.empty() ? DefaultFolder() : fs::path(sFolder);
    settings.limits.nBytes =
        static_cast<unsigned long long>(ReadNumber(hKey, "TraceFileKilobytes", 10240)) * 1024;
    settings.limits.nFiles = ReadNumber(hKey, "TraceFileCount", 10);
    settings.dwLingerSeconds = ReadNumber(hKey, "TraceServerLinger", 60);
    if (hKey != nullptr)
        RegCloseKey(hKey);
    return settings;
}

TraceServer::TraceServer(const std::string& sName, const Settings& settings, HANDLE hEndEvent)
    : m_sName(sName), m_File(settings.folder, sName, settings.limits),
      m_ullLinger(static_cast<ULONGLONG>(settings.dwLingerSeconds) * 1000), m_hEndEvent(hEndEvent),
      m_ullLastUse(GetTickCount64())
{
    s_pServer = this;
}

TraceServer::~TraceServer()
{
    if (m_hWnd != nullptr) {
        DestroyWindow(m_hWnd);
        Note("trace server " + m_sName + " ended");
    }
    for (const auto& client : m_Clients)
        if (client.second.hMutex != nullptr)
            CloseHandle(client.second.hMutex);
    if (m_hNameMutex != nullptr) {
        ReleaseMutex(m_hNameMutex);
        CloseHandle(m_hNameMutex);
    }
    s_pServer = nullptr;
}

// The mutex decides between two servers of one name, since windows of one name can well be two.
bool TraceServer::Open()
{
    std::string sMutex = "orvextraceserver." + m_sName;
    std::replace(sMutex.begin(), sMutex.end(), '\\', '_');
    const HANDLE hMutex = CreateMutexA(nullptr, FALSE, sMutex.c_str());
    if (hMutex == nullptr)
        return false;
    const DWORD dwWait = WaitForSingleObject(hMutex, 0);
    if (dwWait != WAIT_OBJECT_0 && dwWait != WAIT_ABANDONED) {
        CloseHandle(hMutex);
        return false;
    }
    m_hNameMutex = hMutex;

    WNDCLASSA windowClass = {};
    windowClass.lpfnWndProc = &WindowProc;
    windowClass.lpszClassName = m_sName.c_str();
    if (RegisterClassA(&windowClass) == 0)
        return false;
    // A folder that cannot be written shows before a client can find the window.
    if (!m_File.Write(
            Record("---- trace server " + m_sName + " started, process " + std::to_string(_getpid()))))
        return false;
    m_hWnd = CreateWindowExA(0, m_sName.c_str(), m_sName.c_str(), WS_OVERLAPPED, 0, 0, 0, 0, nullptr, nullptr,
                             nullptr, nullptr);
    if (m_hWnd == nullptr)
        return false;
    SetTimer(m_hWnd, 1, LOOK_MS, nullptr);
    return true;
}

void TraceServer::Run()
{
    for (;;) {
        MSG message;
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageA(&message);
        if (m_Clients.empty() && GetTickCount64() - m_ullLastUse >= m_ullLinger)
            return;
        if (MsgWaitForMultipleObjects(1, &m_hEndEvent, FALSE, INFINITE, QS_ALLINPUT) != WAIT_OBJECT_0 + 1)
            return;
    }
}

LRESULT TraceServer::WindowProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    if (nMessage == WM_COPYDATA)
        return s_pServer->Take(*reinterpret_cast<const COPYDATASTRUCT*>(lParam));
    if (nMessage == WM_NULL && lParam == SERVER_QUESTION)
        return s_pServer->Answer(static_cast<DWORD>(wParam));
    if (nMessage == WM_CLOSE) {
        SetEvent(s_pServer->m_hEndEvent);  // the window goes last
        return 0;
    }
    if (nMessage == WM_TIMER)
        s_pServer->LookAfterClients();
    return DefWindowProcA(hWnd, nMessage, wParam, lParam);
}

LRESULT TraceServer::Take(const COPYDATASTRUCT& data)
{
    const char* const text = static_cast<const char*>(data.lpData);
    const char* const end =
        static_cast<const char*>(text == nullptr ? nullptr : memchr(text, '\0', data.cbData));
    if (end == nullptr)
        return FALSE;
    const std::string sText(text, end);
    m_ullLastUse = GetTickCount64();
    if (data.dwData == SERVER_REGISTRATION) {
        Register(sText);
    } else {
        Write(sText);
        const auto it = m_Processes.find(NumberAt(sText, 0));
        if (it != m_Processes.end()) {
            ++it->second.nLines;
            it->second.ullLastLine = m_ullLastUse;
        }
    }
    return TRUE;
}

LRESULT TraceServer::Answer(DWORD dwProcessId) const
{
    const auto it = m_Processes.find(dwProcessId);
    if (it == m_Processes.end())
        return SERVER_NO_CLIENT;
    return it->second.nClients == 1 ? static_cast<LRESULT>(ServerCount(it->second.nLines)) : 0;
}

void TraceServer::Register(const std::string& sClientId)
{
    const auto known = m_Clients.find(sClientId);
    if (known != m_Clients.end())
        Forget(known);
    const Client client = {ProcessOfClient(sClientId), OpenMutexA(SYNCHRONIZE, FALSE, sClientId.c_str())};
    m_Clients.emplace(sClientId, client);
    Process& process = m_Processes[client.dwProcessId];
    ++process.nClients;
    process.nLines = 0;
    process.ullLastLine = m_ullLastUse;
    Note("client " + sClientId + " registered");
}

void TraceServer::LookAfterClients()
{
    m_File.Check();
    for (auto it = m_Clients.begin(); it != m_Clients.end();) {
        const auto client = it++;
        if (!HasGone(client->second))
            continue;
        Note("client " + client->first + " has gone");
        Forget(client);
        m_ullLastUse = GetTickCount64();
    }
}

bool TraceServer::HasGone(const Client& client) const
{
    if (client.hMutex == nullptr)
        return GetTickCount64() - m_Processes.at(client.dwProcessId).ullLastLine >= m_ullLinger;
    const DWORD dwWait = WaitForSingleObject(client.hMutex, 0);
    if (dwWait != WAIT_OBJECT_0 && dwWait != WAIT_ABANDONED)
        return false;
    ReleaseMutex(client.hMutex);
    return true;
}

void TraceServer::Forget(std::map<std::string, Client>::iterator it)
{
    if (it->second.hMutex != nullptr)
        CloseHandle(it->second.hMutex);
    const auto process = m_Processes.find(it->second.dwProcessId);
    if (--process->second.nClients == 0)
        m_Processes.erase(process);
    m_Clients.erase(it);
}

// Does not come back before the text is in the file. When the server is told to end meanwhile it ends on the
// spot: an answer would say that the line was taken.
void TraceServer::Write(const std::string& sText)
{
    const std::string sRecord = Record(sText);
    while (!m_File.Write(sRecord))
        if (WaitForSingleObject(m_hEndEvent, WRITE_AGAIN_MS) == WAIT_OBJECT_0)
            std::_Exit(1);
}
