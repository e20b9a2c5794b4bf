// Processes for the tests to work with: this program again, with an argument that says what it is to do.
#pragma once

#include "tests/platform/Support.h"

#include <string>
#include <utility>
#include <vector>

using ChildArguments = std::vector<std::string>;  // without the program's name and the word for the child
using ChildMain = int (*)(const ChildArguments&);

// At namespace scope: makes a function known by its name.
class ChildProgram
{
public:
    ChildProgram(const char* name, ChildMain pMain);
};

// Whether the command line is a child's, and what it came to.
bool RunChild(int argc, char** argv, int* piResult);

inline std::string Executable()
{
    char path[1024];
    GetModuleFileNameA(nullptr, path, sizeof path);
    return path;
}

inline std::string CommandLine(const std::string& sChild, const std::string& sArguments = "")
{
    return "\"" + Executable() + "\" --child=" + sChild + " " + sArguments;
}

class Child
{
public:
    explicit Child(const std::string& sChild, const std::string& sArguments = "")
    {
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        std::string sCommandLine = CommandLine(sChild, sArguments);
        EXPECT_TRUE(CreateProcessA(Executable().c_str(), &sCommandLine[0], nullptr, nullptr, FALSE, 0,
                                   nullptr, nullptr, &startup, &m_Process))
            << GetLastError();
    }
    ~Child()
    {
        if (WaitForSingleObject(m_Process.hProcess, 0) != WAIT_OBJECT_0)
            TerminateProcess(m_Process.hProcess, 1);
        Wait();
        CloseHandle(m_Process.hProcess);
        CloseHandle(m_Process.hThread);
    }
    Child(const Child&) = delete;

    HANDLE Get() const { return m_Process.hProcess; }
    DWORD Id() const { return m_Process.dwProcessId; }
    void Kill(UINT uExitCode = 1) { EXPECT_TRUE(TerminateProcess(m_Process.hProcess, uExitCode)); }
    DWORD Wait()
    {
        DWORD dwCode = STILL_ACTIVE;
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(m_Process.hProcess, LONG_ENOUGH));
        EXPECT_TRUE(GetExitCodeProcess(m_Process.hProcess, &dwCode));
        return dwCode;
    }

private:
    PROCESS_INFORMATION m_Process{};
};

// A door between processes: it is closed as long as the mutex of that name is held by the thread that made
// it.
class Door
{
public:
    explicit Door(const std::string& sName) : m_h(CreateMutexA(nullptr, TRUE, sName.c_str())) {}
    ~Door() { Open(); }
    void Open()
    {
        if (!std::exchange(m_bOpen, true))
            ReleaseMutex(m_h);
    }
    // The other side: waits until the door has been opened.
    static bool Pass(const std::string& sName)
    {
        const Handle mutex(OpenMutexA(SYNCHRONIZE, FALSE, sName.c_str()));
        const bool bPassed = mutex != nullptr && WaitForSingleObject(mutex, LONG_ENOUGH) == WAIT_OBJECT_0;
        return bPassed && ReleaseMutex(mutex);
    }

private:
    const Handle m_h;
    bool m_bOpen = false;
};

// Asks again every millisecond, for what tells nobody when it comes about.
inline bool Eventually(const std::function<bool()>& condition)
{
    for (const ULONGLONG end = GetTickCount64() + LONG_ENOUGH; GetTickCount64() < end; Sleep(1))
        if (condition())
            return true;
    return false;
}
