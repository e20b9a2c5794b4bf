#include "platform/Platform.h"
#include "tests/logging/ChildProcess.h"
#include "tests/logging/Stage.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <tlhelp32.h>

namespace {

constexpr UINT KILLED = 137;

struct Pipe
{
    Pipe(bool bChildReads)
    {
        CreatePipe(&hRead, &hWrite, nullptr, 1 << 20);
        SetHandleInformation(bChildReads ? hRead : hWrite, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    }
    HANDLE hRead = nullptr;
    HANDLE hWrite = nullptr;
};

std::string Quoted(const std::string& sWord)
{
    const bool bPlain = !sWord.empty() && sWord.find(' ') == std::string::npos;
    return bPlain ? sWord : '"' + sWord + '"';
}

// As CreateProcessA wants it: a zero behind each and one behind all.
std::string Block(ChildProcess::Environment variables)
{
    char* const pBlock = GetEnvironmentStringsA();
    for (const char* p = pBlock; *p != '\0'; p += strlen(p) + 1) {
        const std::string s(p);
        const size_t equals = s.find('=', 1);
        variables.emplace(s.substr(0, equals), s.substr(equals + 1));
    }
    FreeEnvironmentStringsA(pBlock);
    std::string sBlock;
    for (const auto& variable : variables)
        sBlock += variable.first + '=' + variable.second + '\0';
    return sBlock + '\0';
}

class Process
{
public:
    Process(DWORD dwRights, unsigned int nId) : m_h(OpenProcess(dwRights, FALSE, nId)) {}
    ~Process()
    {
        if (m_h != nullptr)
            CloseHandle(m_h);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    HANDLE Handle() const { return m_h; }

private:
    const HANDLE m_h;
};

template <typename Action> void WithEveryThread(unsigned int nId, Action action)
{
    const HANDLE hThreads = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL b = Thread32First(hThreads, &entry); b; b = Thread32Next(hThreads, &entry)) {
        const HANDLE hThread =
            entry.th32OwnerProcessID == nId
                ? OpenThread(THREAD_SUSPEND_RESUME | THREAD_QUERY_INFORMATION, FALSE, entry.th32ThreadID)
                : nullptr;
        if (hThread != nullptr) {
            action(hThread);
            CloseHandle(hThread);
        }
    }
    CloseHandle(hThreads);
}

void ClearRegistry()
{
    for (const HKEY hHive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER})
        for (const char* const tree : {"Software\\Zelko Systems", "Software\\Other", "Software\\T", "One"})
            RegDeleteTreeA(hHive, tree);
}

BOOL CALLBACK CloseIfOf(HWND hWnd, LPARAM lParam)
{
    DWORD dwProcess = 0;
    GetWindowThreadProcessId(hWnd, &dwProcess);
    if (dwProcess == static_cast<DWORD>(lParam))
        PostMessageA(hWnd, WM_CLOSE, 0, 0);
    return TRUE;
}

}  // namespace

struct ChildProcess::System
{
    HANDLE hProcess;
    HANDLE hIn;
    HANDLE hAnswers;
};

ChildProcess::ChildProcess(const std::vector<std::string>& command, const Environment& environment,
                           const std::string& sOutputFile, Rights rights)
{
    EXPECT_EQ(rights, Rights::OfTest);
    Pipe in(true), answers(false);
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = in.hRead;
    startup.hStdOutput = CreateFileA(sOutputFile.c_str(), FILE_APPEND_DATA,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inherit,
                                     OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    startup.hStdError = answers.hWrite;
    std::string sCommand;
    for (const std::string& sWord : command)
        sCommand += (sCommand.empty() ? "" : " ") + Quoted(sWord);
    std::string sBlock = Block(environment);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessA(nullptr, &sCommand[0], nullptr, nullptr, TRUE, 0, &sBlock[0], nullptr, &startup,
                        &process))
        ADD_FAILURE() << sCommand << ": error " << GetLastError();
    for (const HANDLE h : {in.hRead, answers.hWrite, startup.hStdOutput, process.hThread})
        CloseHandle(h);
    m_nId = process.dwProcessId;
    m_pSystem.reset(new System{process.hProcess, in.hWrite, answers.hRead});
}

ChildProcess::~ChildProcess()
{
    TerminateProcess(m_pSystem->hProcess, KILLED);
    WaitForSingleObject(m_pSystem->hProcess, 10000);
    for (const HANDLE h : {m_pSystem->hProcess, m_pSystem->hIn, m_pSystem->hAnswers})
        CloseHandle(h);
}

bool ChildProcess::Write(const std::string& sBytes)
{
    DWORD dwWritten = 0;
    return WriteFile(m_pSystem->hIn, sBytes.data(), static_cast<DWORD>(sBytes.size()), &dwWritten, nullptr) &&
           dwWritten == sBytes.size();
}

bool ChildProcess::Read(std::string* psBytes, int iMilliseconds)
{
    DWORD dwThere = 0;
    bool bOpen = true;
    const auto isReady = [&] {
        bOpen = PeekNamedPipe(m_pSystem->hAnswers, nullptr, 0, nullptr, &dwThere, nullptr) != 0;
        return dwThere != 0 || !bOpen;
    };
    if (!Eventually(isReady, iMilliseconds) || !bOpen)
        return false;
    psBytes->resize(dwThere);
    DWORD dwRead = 0;
    ReadFile(m_pSystem->hAnswers, &(*psBytes)[0], dwThere, &dwRead, nullptr);
    psBytes->resize(dwRead);
    return true;
}

int ChildProcess::Wait(int iMilliseconds)
{
    DWORD dwStatus = 0;
    const bool bEnded =
        WaitForSingleObject(m_pSystem->hProcess, static_cast<DWORD>(iMilliseconds)) == WAIT_OBJECT_0 &&
        GetExitCodeProcess(m_pSystem->hProcess, &dwStatus);
    return bEnded ? static_cast<int>(dwStatus) : -1;
}

void ChildProcess::Kill(unsigned int nId)
{
    TerminateProcess(Process(PROCESS_TERMINATE, nId).Handle(), KILLED);
}

void ChildProcess::End(unsigned int nId) { EnumWindows(&CloseIfOf, static_cast<LPARAM>(nId)); }
void ChildProcess::Freeze(unsigned int nId) { WithEveryThread(nId, &SuspendThread); }
void ChildProcess::Thaw(unsigned int nId) { WithEveryThread(nId, &ResumeThread); }

bool ChildProcess::Runs(unsigned int nId)
{
    const Process process(SYNCHRONIZE, nId);
    return process.Handle() != nullptr && WaitForSingleObject(process.Handle(), 0) == WAIT_TIMEOUT;
}

TestRegistry::TestRegistry(const std::string&) { ClearRegistry(); }
TestRegistry::~TestRegistry() { ClearRegistry(); }

ChildProcess::Environment TestRegistry::Variables(const std::string&) { return {}; }

std::string UserName()
{
    char szName[256] = {};
    DWORD dwSize = sizeof szName;
    GetUserNameA(szName, &dwSize);
    return szName;
}

void OpenToAll(const std::string&) {}
