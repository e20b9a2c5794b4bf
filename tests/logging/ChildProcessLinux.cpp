#include "tests/logging/ChildProcess.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned int NOBODY = 65534;

int MillisecondsUntil(Clock::time_point end)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command, const Environment& environment,
                           const std::string& sOutputFile, Rights rights)
{
    signal(SIGPIPE, SIG_IGN);
    int aIn[2], aAnswers[2];
    if (pipe2(aIn, O_CLOEXEC) != 0 || pipe2(aAnswers, O_CLOEXEC) != 0)
        abort();
    const int fdOut = open(sOutputFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    std::vector<char*> arguments;
    for (const std::string& s : command)
        arguments.push_back(const_cast<char*>(s.c_str()));
    arguments.push_back(nullptr);
    std::vector<std::string> variables;
    for (char** p = environ; *p != nullptr; ++p) {
        const std::string sVariable(*p);
        if (environment.count(sVariable.substr(0, sVariable.find('='))) == 0)
            variables.push_back(sVariable);
    }
    for (const auto& variable : environment)
        variables.push_back(variable.first + '=' + variable.second);
    std::vector<char*> pointers;
    for (std::string& s : variables)
        pointers.push_back(&s[0]);
    pointers.push_back(nullptr);

    const pid_t pid = fork();
    if (pid == 0) {
        dup2(aIn[0], 0);
        dup2(fdOut, 1);
        dup2(aAnswers[1], 2);
        if (rights == Rights::Unprivileged && geteuid() == 0 && setresuid(NOBODY, NOBODY, NOBODY) != 0)
            _exit(127);
        signal(SIGPIPE, SIG_DFL);
        execve(arguments[0], arguments.data(), pointers.data());
        _exit(127);
    }
    close(aIn[0]);
    close(aAnswers[1]);
    close(fdOut);
    m_nId = static_cast<unsigned int>(pid);
    m_fdIn = aIn[1];
    m_fdAnswers = aAnswers[0];
}

ChildProcess::~ChildProcess()
{
    if (!m_bEnded) {
        Kill();
        Wait();
    }
    close(m_fdIn);
    close(m_fdAnswers);
}

void ChildProcess::Say(const std::string& sLine)
{
    const std::string s = sLine + '\n';
    for (size_t done = 0; done < s.size();) {
        const ssize_t n = write(m_fdIn, s.data() + done, s.size() - done);
        if (n <= 0) {
            ADD_FAILURE() << "process " << m_nId << " hears no more: " << sLine.substr(0, 80);
            return;
        }
        done += static_cast<size_t>(n);
    }
}

std::string ChildProcess::Hear(int iMilliseconds)
{
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(iMilliseconds);
    for (;;) {
        const size_t feed = m_sHeard.find('\n');
        if (feed != std::string::npos) {
            const std::string sLine = m_sHeard.substr(0, feed);
            m_sHeard.erase(0, feed + 1);
            return sLine;
        }
        pollfd wait = {m_fdAnswers, POLLIN, 0};
        char buffer[4096];
        const bool bReady = poll(&wait, 1, MillisecondsUntil(end)) > 0;
        const ssize_t n = bReady ? read(m_fdAnswers, buffer, sizeof buffer) : 0;
        if (n <= 0) {
            ADD_FAILURE() << "process " << m_nId << (bReady ? " has ended" : " does not answer") << ": "
                          << m_sHeard;
            return std::string();
        }
        m_sHeard.append(buffer, static_cast<size_t>(n));
    }
}

std::string ChildProcess::Ask(const std::string& sLine, int iMilliseconds)
{
    Say(sLine);
    return Hear(iMilliseconds);
}

int ChildProcess::Wait(int iMilliseconds)
{
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(iMilliseconds);
    while (!m_bEnded) {
        m_bEnded = waitpid(static_cast<pid_t>(m_nId), &m_iStatus, WNOHANG) != 0;
        if (!m_bEnded && MillisecondsUntil(end) == 0)
            return -1;
        if (!m_bEnded)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return WIFSIGNALED(m_iStatus) ? 128 + WTERMSIG(m_iStatus) : WEXITSTATUS(m_iStatus);
}

void ChildProcess::Kill(unsigned int nId) { kill(static_cast<pid_t>(nId), SIGKILL); }
void ChildProcess::End(unsigned int nId) { kill(static_cast<pid_t>(nId), SIGTERM); }
void ChildProcess::Freeze(unsigned int nId) { kill(static_cast<pid_t>(nId), SIGSTOP); }
void ChildProcess::Thaw(unsigned int nId) { kill(static_cast<pid_t>(nId), SIGCONT); }

// One that has ended but was not waited for runs no more.
bool ChildProcess::Runs(unsigned int nId)
{
    FILE* const pFile = fopen(("/proc/" + std::to_string(nId) + "/stat").c_str(), "r");
    if (pFile == nullptr)
        return false;
    char cState = 'X';
    const int n = fscanf(pFile, "%*d (%*[^)]) %c", &cState);
    fclose(pFile);
    return n == 1 && cState != 'Z' && cState != 'X';
}

bool ChildProcess::WaitForEnd(unsigned int nId, int iMilliseconds)
{
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(iMilliseconds);
    while (Runs(nId)) {
        if (MillisecondsUntil(end) == 0)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

TestFolder::TestFolder()
{
    std::string sName = (std::filesystem::temp_directory_path() / "orvexlogXXXXXX").string();
    if (mkdtemp(&sName[0]) == nullptr)
        abort();
    m_sPath = sName;
}

TestFolder::~TestFolder()
{
    std::error_code error;
    std::filesystem::remove_all(m_sPath, error);
}

std::string UserName()
{
    const passwd* const p = getpwuid(geteuid());
    return p == nullptr ? "" : p->pw_name;
}

void OpenToAll(const std::string& sPath) { chmod(sPath.c_str(), 0777); }
