#include "platform/Faults.h"
#include "tests/platform/Child.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <list>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using std::string;

const char NAME[] = "orvexplatformtests.Linux";

int s_iCount = 0;
LRESULT CALLBACK Count(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    switch (uMsg) {
    case WM_COPYDATA: return ++s_iCount;
    case WM_DESTROY: PostQuitMessage(0); return 0;
    default: return DefWindowProcA(hWnd, uMsg, wParam, lParam);
    }
}

HWND Create()
{
    WNDCLASSA wc{};
    wc.lpfnWndProc = Count;
    wc.lpszClassName = NAME;
    RegisterClassA(&wc);
    return CreateWindowExA(0, NAME, NAME, 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
}

int Serve(const ChildArguments&)
{
    if (Create() == nullptr)
        return static_cast<int>(GetLastError());
    MSG msg;
    while (GetMessageA(&msg, nullptr, 0, 0) > 0)
        DispatchMessageA(&msg);
    return static_cast<int>(msg.wParam);
}
const ChildProgram s_Serve("count", Serve);

// The server's count, or the last error below zero.
LRESULT Send(HWND hWnd, UINT uTimeout = LONG_ENOUGH, DWORD cb = 5)
{
    string text(cb, 'x');
    COPYDATASTRUCT data{0, cb, &text[0]};
    DWORD_PTR dwResult = 0;
    return SendMessageTimeoutA(hWnd, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data), SMTO_NORMAL, uTimeout,
                               &dwResult) != 0
               ? static_cast<LRESULT>(dwResult)
               : -static_cast<LRESULT>(GetLastError());
}

HWND Find() { return FindWindowA(NAME, NAME); }

// Sends until it is killed.
int Flood(const ChildArguments&)
{
    for (HWND hWnd = Find();;)
        Send(hWnd);
}
const ChildProgram s_Flood("flood", Flood);

class WindowsLinux : public testing::Test
{
protected:
    void TearDown() override
    {
        Faults::Clear();
        fs::permissions(m_Folder, fs::perms::owner_all);
        for (const auto& entry : fs::directory_iterator(m_Folder))
            EXPECT_NE(0u, entry.path().filename().string().find("window="))
                << "left behind: " << entry.path();
    }
    static HWND WaitForWindow()
    {
        EXPECT_TRUE(Eventually([] { return Find() != nullptr; }));
        return Find();
    }
    static void Close(HWND hWnd, Child& child)
    {
        SendMessageTimeoutA(hWnd, WM_CLOSE, 0, 0, SMTO_NORMAL, LONG_ENOUGH, nullptr);
        EXPECT_EQ(0u, child.Wait());
    }

    const fs::path m_Folder = fs::path(getenv("XDG_RUNTIME_DIR")) / "orvex";
};

TEST_F(WindowsLinux, AStoppedServerTimesOutOnTimeAndGoesOnInStep)
{
    Child child("count");
    const HWND hWnd = WaitForWindow();
    EXPECT_EQ(1, Send(hWnd));
    const pid_t id = static_cast<pid_t>(child.Id());
    kill(id, SIGSTOP);
    waitid(P_PID, child.Id(), nullptr, WSTOPPED | WNOWAIT);
    // More than a socket holds, so that the later ones find no room either.
    for (const DWORD cb : {5u, 50000u, 50000u, 50000u, 50000u, 50000u, 50000u, 200000u, 5u}) {
        const ULONGLONG start = GetTickCount64();
        EXPECT_EQ(-ERROR_TIMEOUT, Send(hWnd, 100, cb));
        const ULONGLONG elapsed = GetTickCount64() - start;
        EXPECT_TRUE(elapsed >= 95 && elapsed < 1500) << elapsed;
    }
    EXPECT_TRUE(IsWindow(hWnd));
    EXPECT_EQ(hWnd, Find());
    kill(id, SIGCONT);
    EXPECT_EQ(2, Send(hWnd)) << "given-up messages were worked off";
    EXPECT_EQ(3, Send(hWnd));
    Close(hWnd, child);
}

TEST_F(WindowsLinux, OfServersThatRaceForANameOneWins)
{
    for (int i = 0; i < 5; ++i) {
        {
            Child dead("count");
            WaitForWindow();
            kill(static_cast<pid_t>(dead.Id()), SIGKILL);
        }
        std::list<Child> children;
        for (int n = 0; n < 4; ++n)
            children.emplace_back("count");
        int iLost = 0;
        const HWND hWnd = WaitForWindow();
        EXPECT_TRUE(Eventually([&] {
            iLost = 0;
            for (Child& child : children)
                iLost += WaitForSingleObject(child.Get(), 0) == WAIT_OBJECT_0;
            return iLost == 3;
        }));
        DWORD dwWinner = 0;
        GetWindowThreadProcessId(hWnd, &dwWinner);
        for (Child& child : children)
            if (child.Id() == dwWinner)
                Close(hWnd, child);
            else
                EXPECT_EQ(DWORD(ERROR_ALREADY_EXISTS), child.Wait());
    }
}

TEST_F(WindowsLinux, ClientsThatDieInTheMiddleDisturbNobody)
{
    Child server("count");
    const HWND hWnd = WaitForWindow();
    for (int i = 0; i < 10; ++i) {
        const LRESULT before = Send(hWnd);
        Child flood("flood");
        EXPECT_TRUE(Eventually([&] { return Send(hWnd) > before + 20; }));
        flood.Kill();
    }
    EXPECT_GT(Send(hWnd), 0);
    Close(hWnd, server);
}

// What is no request ends its connection and nothing else.
TEST_F(WindowsLinux, GarbageIsRefused)
{
    Child server("count");
    const HWND hWnd = WaitForWindow();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    for (const auto& entry : fs::directory_iterator(m_Folder))
        if (entry.is_socket())
            snprintf(address.sun_path, sizeof address.sun_path, "%s", entry.path().c_str());
    for (const size_t size : {1u, 47u, 49u, 5000u, 100000u}) {
        const int fd = socket(AF_UNIX, SOCK_SEQPACKET, 0);
        ASSERT_EQ(0, connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address))
            << address.sun_path;
        const string garbage(size, '\x7F');
        EXPECT_EQ(static_cast<ssize_t>(size), send(fd, garbage.data(), size, 0));
        char c;
        EXPECT_EQ(0, recv(fd, &c, 1, 0)) << size;
        close(fd);
    }
    EXPECT_EQ(1, Send(hWnd));
    Close(hWnd, server);
}

TEST_F(WindowsLinux, AFolderThatIsNotOursAloneIsRefused)
{
    Child server("count");
    WaitForWindow();
    for (const auto perms : {fs::perms::group_read, fs::perms::others_exec}) {
        fs::permissions(m_Folder, fs::perms::owner_all | perms);
        // An unknown name, since what was found once stays found.
        EXPECT_EQ(nullptr, FindWindowA(NAME, "unknown"));
        EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), GetLastError());
        EXPECT_EQ(nullptr, Create());
        EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), GetLastError());
        EXPECT_EQ(nullptr, CreateMutexA(nullptr, FALSE, NAME));
        EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), GetLastError());
        fs::permissions(m_Folder, fs::perms::owner_all);
    }
    if (geteuid() == 0) {
        ASSERT_EQ(0, chown(m_Folder.c_str(), 65534, 65534));
        EXPECT_EQ(nullptr, FindWindowA(NAME, "unknown"));
        EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), GetLastError());
        ASSERT_EQ(0, chown(m_Folder.c_str(), 0, 0));
    }
    Close(Find(), server);
}

// A socket in our folder behind which another user listens: found, but not spoken to.
TEST_F(WindowsLinux, AServerOfAnotherUserIsRefused)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    string sFile;
    {
        Child server("count");
        const HWND hWnd = WaitForWindow();
        for (const auto& entry : fs::directory_iterator(m_Folder))
            if (entry.is_socket())
                sFile = entry.path();
        Close(hWnd, server);
    }
    int pair[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, pair));
    const pid_t child = fork();
    if (child == 0) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        snprintf(address.sun_path, sizeof address.sun_path, "%s", sFile.c_str());
        const int fd = socket(AF_UNIX, SOCK_SEQPACKET, 0);
        if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            setresuid(65534, 65534, 65534) != 0 || listen(fd, 5) != 0 || write(pair[1], "x", 1) != 1)
            _exit(1);
        char buffer[100];
        const int client = accept(fd, nullptr, nullptr);
        if (read(pair[1], buffer, 1) != 1)
            _exit(2);
        _exit(recv(client, buffer, sizeof buffer, MSG_DONTWAIT) == -1 && errno == EAGAIN ? 0 : 3);
    }
    char c;
    ASSERT_EQ(1, read(pair[0], &c, 1));
    const HWND hWnd = Find();
    ASSERT_NE(nullptr, hWnd);
    EXPECT_TRUE(IsWindow(hWnd));
    EXPECT_EQ(-ERROR_ACCESS_DENIED, Send(hWnd));
    EXPECT_EQ(nullptr, Create());
    EXPECT_EQ(DWORD(ERROR_ALREADY_EXISTS), GetLastError());
    DWORD dwProcess = 0;
    GetWindowThreadProcessId(hWnd, &dwProcess);
    EXPECT_EQ(static_cast<DWORD>(child), dwProcess);
    EXPECT_EQ(1, write(pair[0], "x", 1));
    int iStatus = -1;
    waitpid(child, &iStatus, 0);
    EXPECT_EQ(0, iStatus) << "it was sent something";
    close(pair[0]);
    close(pair[1]);
    fs::remove(sFile);
}

// Far beyond the descriptors that a shell allows, and back.
int Crowd(const ChildArguments&)
{
    rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = 256;
    setrlimit(RLIMIT_NOFILE, &limit);
    return Serve({});
}
const ChildProgram s_Crowd("crowd", Crowd);

TEST_F(WindowsLinux, ThousandsOfClientsAreServed)
{
    rlimit before, limit;
    getrlimit(RLIMIT_NOFILE, &before);
    limit = before;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    Child server("crowd");
    const HWND hWnd = WaitForWindow();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    for (const auto& entry : fs::directory_iterator(m_Folder))
        if (entry.is_socket())
            snprintf(address.sun_path, sizeof address.sun_path, "%s", entry.path().c_str());
    std::list<int> crowd;
    for (int i = 0; i < 3000; ++i) {
        crowd.push_back(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
        ASSERT_EQ(0, connect(crowd.back(), reinterpret_cast<const sockaddr*>(&address), sizeof address)) << i;
    }
    EXPECT_EQ(1, Send(hWnd));
    for (const int fd : crowd)
        close(fd);
    EXPECT_EQ(2, Send(hWnd));
    Close(hWnd, server);
    setrlimit(RLIMIT_NOFILE, &before);
}

TEST_F(WindowsLinux, FaultsOnTheWayAreReported)
{
    Child server("count");
    const HWND hWnd = WaitForWindow();
    const struct
    {
        const char* call;
        int iError;
        LRESULT result;
    } rows[] = {
        {"socket", EMFILE, -ERROR_TOO_MANY_OPEN_FILES},
        {"connect", EACCES, -ERROR_ACCESS_DENIED},
        {"sendmsg", EACCES, -ERROR_ACCESS_DENIED},
        {"sendmsg", EINTR, 1},
        {"sendmsg", EPIPE, -ERROR_INVALID_WINDOW_HANDLE},
        {"recv", EINTR, 2},
        {"recv", ECONNRESET, 0},
    };
    for (const auto& row : rows) {
        Faults::Fail(row.call, 1, row.iError);
        EXPECT_EQ(row.result, Send(hWnd)) << row.call;
        Faults::Clear();
    }
    EXPECT_EQ(nullptr, CreateWindowExA(0, "orvexplatformtests.none", NAME, 0, 0, 0, 0, 0, nullptr, nullptr,
                                       nullptr, nullptr));
    EXPECT_EQ(DWORD(ERROR_CANNOT_FIND_WND_CLASS), GetLastError());
    Faults::Fail("memfd_create", 1, ENOMEM);
    EXPECT_EQ(-ERROR_NOT_ENOUGH_MEMORY, Send(hWnd, LONG_ENOUGH, 100000));
    for (const char* call : {"socket", "bind", "epoll_create1", "epoll_ctl"})
        TestThread([&] {
            Faults::Fail(call, 1, ENOMEM);
            WNDCLASSA wc{};
            wc.lpfnWndProc = Count;
            wc.lpszClassName = "orvexplatformtests.Faults";
            RegisterClassA(&wc);
            EXPECT_EQ(nullptr, CreateWindowExA(0, "orvexplatformtests.Faults", NAME, 0, 0, 0, 0, 0, nullptr,
                                               nullptr, nullptr, nullptr));
            EXPECT_EQ(DWORD(ERROR_NOT_ENOUGH_MEMORY), GetLastError()) << call;
        });
    Close(hWnd, server);
}

TEST_F(WindowsLinux, WithoutDescriptorsClientsWaitForTheirTurn)
{
    const HWND hWnd = Create();
    s_iCount = 0;
    Faults::Fail("accept4", 1, ENFILE, 2);
    MSG msg;
    TestThread sender([&] {
        EXPECT_EQ(1, Send(hWnd));
        PostMessageA(hWnd, WM_APP, 0, 0);
    });
    EXPECT_TRUE(GetMessageA(&msg, nullptr, 0, 0));
    EXPECT_EQ(UINT(WM_APP), msg.message);
    DestroyWindow(hWnd);
    EXPECT_FALSE(GetMessageA(&msg, nullptr, 0, 0));
}

}  // namespace
