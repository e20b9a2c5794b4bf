// ChildProcess: a program under test as a process of its own, spoken to by lines. It hears what is said on
// its standard input and answers on its standard error; what it writes to standard output goes to a file.
//
// Everything that a test does with the system's own means, such as stopping a process in its tracks, is in
// here; it is done in the source of the system's name.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

class ChildProcess
{
public:
    using Environment = std::map<std::string, std::string>;  // added to that of the test

    // An unprivileged process has no more rights than any user, whoever runs the test.
    enum class Rights
    {
        OfTest,
        Unprivileged
    };

    ChildProcess(const std::vector<std::string>& command, const Environment& environment,
                 const std::string& sOutputFile, Rights rights = Rights::OfTest);
    ~ChildProcess();  // kills it if it still runs
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    void Say(const std::string& sLine);
    // The next answer; a test fails with an empty one when none comes in time.
    std::string Hear(int iMilliseconds = 30000);
    std::string Ask(const std::string& sLine, int iMilliseconds = 30000);

    unsigned int Id() const { return m_nId; }
    void Kill() { Kill(m_nId); }
    // The exit status; 137 of one that was killed. -1 when it still runs when the time is up.
    int Wait(int iMilliseconds = 30000);

    static void Kill(unsigned int nId);
    static void End(unsigned int nId);  // asks it to, as the system's users do
    static void Freeze(unsigned int nId);
    static void Thaw(unsigned int nId);
    static bool Runs(unsigned int nId);
    static bool WaitForEnd(unsigned int nId, int iMilliseconds);

private:
    struct System;  // what the system holds of it

    bool Write(const std::string& sBytes);
    // Waits for bytes and takes them. False: there are none in time, or the process has ended.
    bool Read(std::string* psBytes, int iMilliseconds);

    std::unique_ptr<System> m_pSystem;
    unsigned int m_nId = 0;
    std::string m_sHeard;
};

// A folder that is gone with the object.
class TestFolder
{
public:
    TestFolder();
    ~TestFolder();
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    const std::string& Path() const { return m_sPath; }

private:
    std::string m_sPath;
};

// The registry below Software, of the machine and of the user, of this process and those that are started
// with these variables. It begins empty, and leaves nothing behind.
class TestRegistry
{
public:
    explicit TestRegistry(const std::string& sFolder);  // to use if it needs one
    ~TestRegistry();
    TestRegistry(const TestRegistry&) = delete;
    TestRegistry& operator=(const TestRegistry&) = delete;
    static ChildProcess::Environment Variables(const std::string& sFolder);
};

std::string UserName();
void OpenToAll(const std::string& sPath);  // everybody may write there
