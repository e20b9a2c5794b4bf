#include "tests/logging/ChildProcess.h"

#include "tests/logging/Stage.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr unsigned int NOBODY = 65534;

}  // namespace

struct ChildProcess::System
{
    ~System()
    {
        close(fdIn);
        close(fdAnswers);
    }
    int fdIn;
    int fdAnswers;
    int iStatus = -1;  // as of waitpid
    bool bEnded = false;
};

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
    m_pSystem.reset(new System{aIn[1], aAnswers[0]});
}

ChildProcess::~ChildProcess()
{
    if (!m_pSystem->bEnded) {
        Kill();
        Wait();
    }
}

bool ChildProcess::Write(const std::string& sBytes)
{
    for (size_t done = 0; done < sBytes.size();) {
        const ssize_t n = write(m_pSystem->fdIn, sBytes.data() + done, sBytes.size() - done);
        if (n <= 0)
            return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

bool ChildProcess::Read(std::string* psBytes, int iMilliseconds)
{
    pollfd wait = {m_pSystem->fdAnswers, POLLIN, 0};
    char buffer[4096];
    const ssize_t n =
        poll(&wait, 1, iMilliseconds) > 0 ? read(m_pSystem->fdAnswers, buffer, sizeof buffer) : 0;
    psBytes->assign(buffer, n > 0 ? static_cast<size_t>(n) : 0);
    return n > 0;
}

int ChildProcess::Wait(int iMilliseconds)
{
    System& system = *m_pSystem;
    const auto hasEnded = [&] {
        system.bEnded = system.bEnded || waitpid(static_cast<pid_t>(m_nId), &system.iStatus, WNOHANG) != 0;
        return system.bEnded;
    };
    if (!Eventually(hasEnded, iMilliseconds))
        return -1;
    return WIFSIGNALED(system.iStatus) ? 128 + WTERMSIG(system.iStatus) : WEXITSTATUS(system.iStatus);
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

TestRegistry::TestRegistry(const std::string& sFolder)
{
    for (const auto& variable : Variables(sFolder))
        setenv(variable.first.c_str(), variable.second.c_str(), 1);
}

TestRegistry::~TestRegistry() { unsetenv("ORVEX_REGISTRY"); }

ChildProcess::Environment TestRegistry::Variables(const std::string& sFolder)
{
    return {{"ORVEX_REGISTRY", sFolder}};
}

std::string UserName()
{
    const passwd* const p = getpwuid(geteuid());
    return p == nullptr ? "" : p->pw_name;
}

void OpenToAll(const std::string& sPath) { chmod(sPath.c_str(), 0777); }
