#include "platform/Faults.h"
#include "tests/platform/Child.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The number of its open descriptors beside the standard ones and the one that counts; 100 and more where
// something else is wrong.
int CountDescriptors(const ChildArguments&)
{
    if (getsid(0) != getpid())
        return 100;
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    if (sigismember(&blocked, SIGTERM) || signal(SIGPIPE, SIG_DFL) != SIG_DFL)
        return 101;
    int i = -4;
    DIR* pFolder = opendir("/proc/self/fd");
    while (const dirent* p = readdir(pFolder))
        i += p->d_name[0] != '.';
    closedir(pFolder);
    return i;
}
const ChildProgram s_CountDescriptors("descriptors", CountDescriptors);

HANDLE s_hShutdown;
std::atomic<bool> s_bTaken{true};
BOOL WINAPI OnControl(DWORD dwEvent)
{
    if (dwEvent == CTRL_SHUTDOWN_EVENT)
        SetEvent(s_hShutdown);
    return s_bTaken ? TRUE : FALSE;
}

// Ends with 0 after a SIGTERM that its handler takes, and then by one that the handler does not take.
int TakeSignals(const ChildArguments& arguments)
{
    s_hShutdown = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    SetConsoleCtrlHandler(OnControl, TRUE);
    kill(getpid(), SIGTERM);
    if (WaitForSingleObject(s_hShutdown, LONG_ENOUGH) != WAIT_OBJECT_0)
        return 1;
    if (arguments.at(0) == "one")
        return 0;
    s_bTaken = false;
    kill(getpid(), SIGTERM);
    Sleep(LONG_ENOUGH);
    return 2;
}
const ChildProgram s_TakeSignals("signals", TakeSignals);

class ProcessFaults : public testing::Test
{
protected:
    void TearDown() override { Faults::Clear(); }
};

bool Running(DWORD dwId) { return std::filesystem::exists("/proc/" + std::to_string(dwId)); }

TEST(ProcessesLinux, StartWithNothingOfTheirParents)
{
    const int fd = open("/dev/null", O_RDONLY);
    sigset_t set, before;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &set, &before);
    const auto pBefore = signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(0u, Child("descriptors").Wait());
    signal(SIGPIPE, pBefore);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    close(fd);
}

int HoldForever(const ChildArguments&)
{
    const HANDLE hMutex = CreateMutexA(nullptr, TRUE, "orvexplatformtests killed");
    Sleep(hMutex != nullptr ? INFINITE : 0);
    return 1;
}
const ChildProgram s_HoldForever("hold-forever", HoldForever);

int Mutex(const ChildArguments&)
{
    return Handle(CreateMutexA(nullptr, FALSE, "orvexplatformtests next")) == nullptr;
}
const ChildProgram s_Mutex("mutex", Mutex);

TEST(ProcessesLinux, WhatAKilledOneLeftIsClearedAwayByTheNext)
{
    const auto count = [] {
        int i = 0;
        for (const auto& entry :
             std::filesystem::directory_iterator(std::string(getenv("XDG_RUNTIME_DIR")) + "/orvex"))
            i += entry.path().filename().string().find("killed") != std::string::npos;
        return i;
    };
    {
        Child child("hold-forever");
        ASSERT_TRUE(Eventually(
            [] { return Handle(OpenMutexA(SYNCHRONIZE, FALSE, "orvexplatformtests killed")) != nullptr; }));
        EXPECT_EQ(0u, Child("mutex").Wait());
        EXPECT_EQ(1, count()) << "it lives";
    }
    EXPECT_EQ(1, count());
    EXPECT_EQ(0u, Child("mutex").Wait());
    EXPECT_EQ(0, count());
}

TEST(ProcessesLinux, AreNoZombiesWhetherOrNotAnybodyWaits)
{
    STARTUPINFOA startup{};
    PROCESS_INFORMATION information{};
    std::string sCommandLine = CommandLine("exit", "3");
    ASSERT_TRUE(CreateProcessA(Executable().c_str(), &sCommandLine[0], nullptr, nullptr, FALSE, 0, nullptr,
                               nullptr, &startup, &information));
    EXPECT_TRUE(Eventually([&] { return !Running(information.dwProcessId); }));
    DWORD dwCode = 0;
    EXPECT_TRUE(GetExitCodeProcess(information.hProcess, &dwCode));
    EXPECT_EQ(3u, dwCode);
    CloseHandle(information.hProcess);
    CloseHandle(information.hThread);
}

TEST(ProcessesLinux, ThatHaveEndedAreNeitherTerminatedNorOpened)
{
    DWORD dwId = 0;
    {
        Child child("exit", "0");
        dwId = child.Id();
        child.Wait();
        EXPECT_FALSE(TerminateProcess(child.Get(), 2));
        EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), GetLastError());
        EXPECT_EQ(0u, child.Wait());
    }
    EXPECT_EQ(nullptr, OpenProcess(SYNCHRONIZE, FALSE, dwId));
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), GetLastError());
}

TEST(ProcessesLinux, OfAnotherUserAreNotOpened)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    const pid_t child = fork();
    if (child == 0) {
        const bool bAsExpected = setresuid(65534, 65534, 65534) == 0 &&
                                 OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(getppid())) == nullptr &&
                                 GetLastError() == ERROR_ACCESS_DENIED;
        _exit(bAsExpected ? 0 : 1);
    }
    // Not a child of CreateProcessA: its end is seen, its code is not to be had.
    const Handle process(
        OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION, FALSE, static_cast<DWORD>(child)));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(process, LONG_ENOUGH));
    DWORD dwCode = 0;
    EXPECT_FALSE(GetExitCodeProcess(process, &dwCode));
    EXPECT_EQ(DWORD(ERROR_NOT_SUPPORTED), GetLastError());
    int iStatus = -1;
    waitpid(child, &iStatus, 0);
    EXPECT_EQ(0, iStatus);
}

TEST(ProcessesLinux, SignalsGoToTheHandlersOrEndTheProcess)
{
    EXPECT_EQ(0u, Child("signals", "one").Wait());
    EXPECT_EQ(128u + SIGTERM, Child("signals", "two").Wait());
}

TEST_F(ProcessFaults, LeaveNoProcessBehind)
{
    const struct
    {
        const char* call;
        int iError;
        DWORD dwError;
    } rows[] = {
        {"posix_spawn", EACCES, ERROR_ACCESS_DENIED},
        {"posix_spawn", ENOEXEC, ERROR_BAD_EXE_FORMAT},
        {"pidfd_open", EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    };
    for (const auto& row : rows) {
        STARTUPINFOA startup{};
        PROCESS_INFORMATION information{};
        std::string sCommandLine = CommandLine("exit", "0");
        Faults::Fail(row.call, 1, row.iError);
        EXPECT_FALSE(CreateProcessA(Executable().c_str(), &sCommandLine[0], nullptr, nullptr, FALSE, 0,
                                    nullptr, nullptr, &startup, &information));
        EXPECT_EQ(row.dwError, GetLastError()) << row.call;
        EXPECT_TRUE(information.dwProcessId == 0 || !Running(information.dwProcessId));
    }
}

}  // namespace
