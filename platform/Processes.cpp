#include "platform/Processes.h"

#include "platform/Faults.h"
#include "platform/Handles.h"
#include "platform/ModuleFile.h"
#include "platform/Sync.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <map>
#include <poll.h>
#include <pwd.h>
#include <spawn.h>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

// The C library's own declarations of these two are not usable from C++ everywhere.
int PidFdOpen(pid_t id) { return static_cast<int>(syscall(SYS_pidfd_open, id, 0)); }
bool PidFdKill(int fd) { return syscall(SYS_pidfd_send_signal, fd, SIGKILL, nullptr, 0) == 0; }

// A process, shared by its handles. A child is reaped by a thread of its own, or by whoever asks for its exit
// code first; the lock of the children is held while that happens, so a process id is never used after it is
// free.
class Process
{
public:
    Process(Descriptor pidfd, DWORD dwId, bool bChild)
        : m_PidFd(std::move(pidfd)), m_dwId(dwId), m_bChild(bChild)
    {
    }

    int PidFd() const { return m_PidFd.Get(); }
    bool Ended() const
    {
        pollfd polled{m_PidFd.Get(), POLLIN, 0};
        return poll(&polled, 1, 0) > 0;
    }
    bool Terminate(UINT uExitCode);
    bool ExitCode(DWORD* pdw);
    void WaitAndReap();

private:
    void ReapLocked();

    const Descriptor m_PidFd;
    const DWORD m_dwId;
    const bool m_bChild;
    bool m_bReaped = false;
    bool m_bCodeKnown = false;
    DWORD m_dwExitCode = 0;
    DWORD m_dwTerminateCode = 128 + SIGKILL;
};

struct Children
{
    std::mutex Lock;
    std::map<DWORD, std::shared_ptr<Process>> Running;
};

Children& AllChildren()
{
    static Children* p = new Children;
    return *p;
}

void Process::ReapLocked()
{
    siginfo_t info{};
    if (m_bReaped)
        return;
    const int iResult = waitid(P_PIDFD, static_cast<id_t>(m_PidFd.Get()), &info, WEXITED | WNOHANG);
    if (iResult == 0 && info.si_pid == 0)
        return;
    if (iResult == 0) {
        m_bCodeKnown = true;
        m_dwExitCode = info.si_code == CLD_EXITED  ? static_cast<DWORD>(info.si_status)
                       : info.si_status == SIGKILL ? m_dwTerminateCode
                                                   : 128 + static_cast<DWORD>(info.si_status);
    }
    m_bReaped = true;
    AllChildren().Running.erase(m_dwId);
}

void Process::WaitAndReap()
{
    siginfo_t info;
    while (waitid(P_PIDFD, static_cast<id_t>(m_PidFd.Get()), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR)
        continue;
    std::lock_guard<std::mutex> lock(AllChildren().Lock);
    ReapLocked();
}

bool Process::Terminate(UINT uExitCode)
{
    std::lock_guard<std::mutex> lock(AllChildren().Lock);
    if (Ended() || !PidFdKill(m_PidFd.Get())) {
        SetLastError(ERROR_ACCESS_DENIED);
        return false;
    }
    m_dwTerminateCode = uExitCode;
    return true;
}

bool Process::ExitCode(DWORD* pdw)
{
    std::lock_guard<std::mutex> lock(AllChildren().Lock);
    if (m_bChild)
        ReapLocked();
    if (!m_bCodeKnown && (m_bReaped || Ended())) {
        SetLastError(ERROR_NOT_SUPPORTED);
        return false;
    }
    *pdw = m_bCodeKnown ? m_dwExitCode : STILL_ACTIVE;
    return true;
}

class ProcessHandle final : public Waitable
{
public:
    ProcessHandle(std::shared_ptr<Process> pProcess, DWORD dwAccess)
        : m_pProcess(std::move(pProcess)), m_dwAccess(dwAccess)
    {
    }
    Taken Take() override { return m_pProcess->Ended() ? TAKEN : TAKEN_NOT; }
    bool Free() override { return m_pProcess->Ended(); }
    int WakeDescriptor() override { return m_pProcess->PidFd(); }

    const std::shared_ptr<Process> m_pProcess;
    const DWORD m_dwAccess;
};

// The process behind a handle that has the right; null: last error.
std::shared_ptr<Process> ProcessOf(HANDLE hProcess, DWORD dwRight)
{
    if (const auto pHandle = HandleTo<ProcessHandle>(hProcess)) {
        if ((pHandle->m_dwAccess & dwRight) != 0)
            return pHandle->m_pProcess;
        SetLastError(ERROR_ACCESS_DENIED);
    }
    return nullptr;
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// The first argument ends at a blank or, if quoted, at the quote. In the others a quote opens or closes, two
// in an open one are a quote; backslashes stand for themselves unless a quote follows, then two of them are
// one and the odd one makes the quote plain.
std::vector<std::string> SplitCommandLine(const char* p)
{
    std::vector<std::string> arguments(1);
    if (*p == '"') {
        for (++p; *p != '\0' && *p != '"'; ++p)
            arguments[0] += *p;
        p += *p == '"';
    } else {
        for (; *p != '\0' && !IsBlank(*p); ++p)
            arguments[0] += *p;
    }
    for (;;) {
        while (IsBlank(*p))
            ++p;
        if (*p == '\0')
            return arguments;
        std::string s;
        bool bQuoted = false;
        for (; *p != '\0' && (bQuoted || !IsBlank(*p)); ++p) {
            size_t backslashes = strspn(p, "\\");
            p += backslashes;
            const bool bQuote = *p == '"';
            s.append(bQuote ? backslashes / 2 : backslashes, '\\');
            if (!bQuote) {
                if (backslashes != 0)
                    --p;
                else
                    s += *p;
            } else if (backslashes % 2 != 0) {
                s += '"';
            } else if (bQuoted && p[1] == '"') {
                s += *p++;
            } else {
                bQuoted = !bQuoted;
            }
        }
        arguments.push_back(s);
    }
}

std::string WithSlashes(std::string s)
{
    if (!s.empty() && s[0] == '\\')
        std::replace(s.begin(), s.end(), '\\', '/');
    return s;
}

// 0, or the error.
int Spawn(const char* applicationName, const char* commandLine, pid_t* pId)
{
    std::vector<std::string> arguments =
        SplitCommandLine(commandLine != nullptr ? commandLine : applicationName);
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& s : arguments)
        argv.push_back(s.data());
    argv.push_back(nullptr);
    const std::string sFile = WithSlashes(applicationName != nullptr ? applicationName : arguments[0]);

    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", O_RDWR, 0);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    const auto pSpawn = applicationName != nullptr ? posix_spawn : posix_spawnp;
    const int iError = Faults::Hit("posix_spawn")
                           ? errno
                           : pSpawn(pId, sFile.c_str(), &actions, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return iError;
}

struct ControlHandlers
{
    std::mutex Lock;
    std::vector<PHANDLER_ROUTINE> List;
    bool bStarted = false;
};

ControlHandlers& Handlers()
{
    static ControlHandlers* p = new ControlHandlers;
    return *p;
}

const struct
{
    int iSignal;
    DWORD dwEvent;
} CONTROL_EVENTS[] = {{SIGINT, CTRL_C_EVENT},
                      {SIGQUIT, CTRL_BREAK_EVENT},
                      {SIGHUP, CTRL_CLOSE_EVENT},
                      {SIGTERM, CTRL_SHUTDOWN_EVENT}};

int s_SignalPipe[2];

void OnSignal(int iSignal)
{
    const int iErrno = errno;
    const unsigned char b = static_cast<unsigned char>(iSignal);
    if (write(s_SignalPipe[1], &b, 1) < 0)
        errno = iErrno;
    errno = iErrno;
}

bool Handled(DWORD dwEvent)
{
    std::vector<PHANDLER_ROUTINE> list;
    {
        std::lock_guard<std::mutex> lock(Handlers().Lock);
        list = Handlers().List;
    }
    return std::any_of(list.rbegin(), list.rend(),
                       [dwEvent](PHANDLER_ROUTINE p) { return p(dwEvent) != FALSE; });
}

void RunHandlers()
{
    unsigned char b;
    while (read(s_SignalPipe[0], &b, 1) == 1 || errno == EINTR)
        for (const auto& event : CONTROL_EVENTS)
            if (event.iSignal == b && !Handled(event.dwEvent)) {
                signal(b, SIG_DFL);
                kill(getpid(), b);
            }
}

bool StartHandlersLocked()
{
    if (pipe2(s_SignalPipe, O_CLOEXEC) != 0)
        return FailWithErrno();
    if (!StartThread(RunHandlers)) {
        close(s_SignalPipe[0]);
        close(s_SignalPipe[1]);
        return false;
    }
    struct sigaction action
    {
    };
    action.sa_handler = OnSignal;
    action.sa_flags = SA_RESTART;
    for (const auto& event : CONTROL_EVENTS)
        sigaction(event.iSignal, &action, nullptr);
    return true;
}

}  // namespace

BOOL CreateProcessA(const char* applicationName, char* commandLine, SECURITY_ATTRIBUTES*,
                    SECURITY_ATTRIBUTES*, BOOL bInheritHandles, DWORD dwFlags, void* pEnvironment,
                    const char* currentDirectory, STARTUPINFOA*, PROCESS_INFORMATION* pInformation)
{
    if (bInheritHandles || dwFlags != 0 || pEnvironment != nullptr || currentDirectory != nullptr) {
        SetLastError(ERROR_NOT_SUPPORTED);
        return FALSE;
    }
    if ((applicationName == nullptr && commandLine == nullptr) || pInformation == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    std::shared_ptr<Process> pProcess;
    {
        // From its start to its entry here nobody else may take the child for a stranger.
        std::lock_guard<std::mutex> lock(AllChildren().Lock);
        pid_t id = 0;
        if ((errno = Spawn(applicationName, commandLine, &id)) != 0)
            return FailWithErrno();
        Descriptor pidfd(Faults::Hit("pidfd_open") ? -1 : PidFdOpen(id));
        if (!pidfd) {
            const int iError = errno;
            kill(id, SIGKILL);
            waitpid(id, nullptr, 0);
            errno = iError;
            return FailWithErrno();
        }
        pInformation->dwProcessId = pInformation->dwThreadId = static_cast<DWORD>(id);
        pProcess = std::make_shared<Process>(std::move(pidfd), pInformation->dwProcessId, true);
        AllChildren().Running[pInformation->dwProcessId] = pProcess;
    }
    StartThread([pProcess] { pProcess->WaitAndReap(); });
    const auto pHandle = std::make_shared<ProcessHandle>(pProcess, 0xFFFFFFFF);
    pInformation->hProcess = NewHandle(pHandle);
    pInformation->hThread = NewHandle(pHandle);
    return TRUE;
}

HANDLE OpenProcess(DWORD dwAccess, BOOL, DWORD dwProcessId)
{
    std::shared_ptr<Process> pProcess;
    {
        std::lock_guard<std::mutex> lock(AllChildren().Lock);
        const auto it = AllChildren().Running.find(dwProcessId);
        if (it != AllChildren().Running.end())
            pProcess = it->second;
    }
    if (pProcess == nullptr) {
        const pid_t id = static_cast<pid_t>(dwProcessId);
        Descriptor pidfd(id <= 0 || Faults::Hit("pidfd_open") ? -1 : PidFdOpen(id));
        if (!pidfd || (kill(id, 0) != 0 && errno == EPERM)) {
            SetLastError(pidfd ? ERROR_ACCESS_DENIED : ERROR_INVALID_PARAMETER);
            return nullptr;
        }
        pProcess = std::make_shared<Process>(std::move(pidfd), dwProcessId, false);
    }
    return NewHandle(std::make_shared<ProcessHandle>(pProcess, dwAccess));
}

BOOL TerminateProcess(HANDLE hProcess, UINT uExitCode)
{
    const auto pProcess = ProcessOf(hProcess, PROCESS_TERMINATE);
    return pProcess != nullptr && pProcess->Terminate(uExitCode);
}

BOOL GetExitCodeProcess(HANDLE hProcess, DWORD* pdwExitCode)
{
    const auto pProcess = ProcessOf(hProcess, PROCESS_QUERY_INFORMATION);
    return pProcess != nullptr && pProcess->ExitCode(pdwExitCode);
}

DWORD GetCurrentProcessId() { return static_cast<DWORD>(getpid()); }

static std::string ExecutablePath()
{
    char path[4096];
    const ssize_t n = readlink("/proc/self/exe", path, sizeof path);
    std::string s(path, static_cast<size_t>(std::max<ssize_t>(n, 0)));
    const std::string sDeleted = " (deleted)";  // what the system adds when the file is gone or replaced
    if (s.size() > sDeleted.size() && s.compare(s.size() - sDeleted.size(), sDeleted.size(), sDeleted) == 0)
        s.resize(s.size() - sDeleted.size());
    return s;
}

DWORD GetModuleFileNameA(HMODULE hModule, char* fileName, DWORD nSize)
{
    std::string s = hModule == nullptr ? ExecutablePath() : PlatformModulePath(hModule);
    if (s.empty() || fileName == nullptr || nSize == 0) {
        SetLastError(s.empty() ? ERROR_MOD_NOT_FOUND : ERROR_INVALID_PARAMETER);
        return 0;
    }
    std::replace(s.begin(), s.end(), '/', '\\');
    const DWORD dwCopied = std::min<DWORD>(nSize - 1, static_cast<DWORD>(s.size()));
    memcpy(fileName, s.data(), dwCopied);
    fileName[dwCopied] = '\0';
    SetLastError(dwCopied == s.size() ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER);
    return dwCopied == s.size() ? dwCopied : nSize;
}

BOOL GetUserNameA(char* buffer, DWORD* pcbBuffer)
{
    char text[4096];
    passwd entry;
    passwd* pFound = nullptr;
    if (getpwuid_r(geteuid(), &entry, text, sizeof text, &pFound) != 0 || pFound == nullptr) {
        SetLastError(ERROR_NONE_MAPPED);
        return FALSE;
    }
    const DWORD cbRoom = *pcbBuffer;
    *pcbBuffer = static_cast<DWORD>(strlen(pFound->pw_name)) + 1;
    if (buffer == nullptr || cbRoom < *pcbBuffer) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    memcpy(buffer, pFound->pw_name, *pcbBuffer);
    return TRUE;
}

BOOL GetModuleHandleExA(DWORD dwFlags, const char* address, HMODULE* phModule)
{
    if (phModule == nullptr ||
        dwFlags != (GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    Dl_info info;
    link_map* pMap = nullptr;
    void* p = nullptr;
    if (dladdr1(address, &info, reinterpret_cast<void**>(&pMap), RTLD_DL_LINKMAP) != 0 && pMap != nullptr)
        p = dlopen(*pMap->l_name != '\0' ? pMap->l_name : nullptr, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    if (p == nullptr)
        SetLastError(ERROR_MOD_NOT_FOUND);
    *phModule = p != nullptr ? PlatformModuleOf(address) : nullptr;
    return p != nullptr;
}

BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE pHandler, BOOL bAdd)
{
    ControlHandlers& handlers = Handlers();
    std::lock_guard<std::mutex> lock(handlers.Lock);
    const auto it = std::find(handlers.List.begin(), handlers.List.end(), pHandler);
    if (pHandler == nullptr || (!bAdd && it == handlers.List.end())) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    if (!bAdd) {
        handlers.List.erase(it);
        return TRUE;
    }
    if (!handlers.bStarted && !(handlers.bStarted = StartHandlersLocked()))
        return FALSE;
    handlers.List.push_back(pHandler);
    return TRUE;
}
