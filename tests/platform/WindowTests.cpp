#include "tests/platform/Child.h"

#include <atomic>
#include <list>
#include <map>
#include <mutex>

namespace {

using std::string;

const char CLASS_NAME[] = "orvexplatformtests.Class";
const char TITLE[] = "orvexplatformtests Title";

// What the window does is in the number of a message: dwData of WM_COPYDATA.
constexpr ULONG_PTR CHECK = 1;    // answers with the length of the text, 0 if it is not "0123456789012..."
constexpr ULONG_PTR ECHO = 2;     // answers with the number that is the text
constexpr ULONG_PTR HANG = 3;     // passes the door before it answers 3
constexpr ULONG_PTR DESTROY = 4;  // destroys the window and answers 4
constexpr ULONG_PTR EXIT = 5;     // ends the process in the middle
constexpr ULONG_PTR COUNT = 6;    // answers with how many of these there were so far
const char DOOR[] = "orvexplatformtests window door";

string Pattern(size_t length)
{
    string s(length, ' ');
    for (size_t i = 0; i < length; ++i)
        s[i] = static_cast<char>('0' + i % 10);
    return s;
}

LRESULT OnCopyData(HWND hWnd, const COPYDATASTRUCT& data)
{
    static std::atomic<int> s_iCount{0};
    const string s(static_cast<const char*>(data.lpData), data.cbData);
    switch (data.dwData) {
    case CHECK: return s == Pattern(s.size()) ? static_cast<LRESULT>(s.size()) : 0;
    case ECHO: return static_cast<LRESULT>(std::stoll(s));
    case HANG: return Door::Pass(DOOR) ? 3 : 0;
    case DESTROY: DestroyWindow(hWnd); return 4;
    case EXIT:
        TerminateProcess(Handle(OpenProcess(PROCESS_TERMINATE, FALSE, GetCurrentProcessId())), 5);
        return 5;
    case COUNT: return ++s_iCount;
    default: return -1;
    }
}

LRESULT CALLBACK OnMessage(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    switch (uMsg) {
    case WM_COPYDATA: return OnCopyData(hWnd, *reinterpret_cast<const COPYDATASTRUCT*>(lParam));
    case WM_DESTROY: PostQuitMessage(17); return 0;
    case WM_APP: return static_cast<LRESULT>(wParam) + lParam;
    case WM_APP + 1: PostMessageA(hWnd, WM_CLOSE, 0, 0); return 1;
    default: return DefWindowProcA(hWnd, uMsg, wParam, lParam);
    }
}

void RegisterOnce()
{
    WNDCLASSA wc{};
    wc.lpfnWndProc = OnMessage;
    wc.lpszClassName = CLASS_NAME;
    RegisterClassA(&wc);
}

HWND Create(const string& title = TITLE)
{
    RegisterOnce();
    return CreateWindowExA(0, CLASS_NAME, title.c_str(), WS_OVERLAPPED, 0, 0, 0, 0, nullptr, nullptr, nullptr,
                           nullptr);
}

int RunMessages()
{
    MSG msg;
    while (GetMessageA(&msg, nullptr, 0, 0) > 0)
        DispatchMessageA(&msg);
    return static_cast<int>(msg.wParam);
}

// A server in a process of its own, until its window is destroyed: 17. 1 if there is such a window already.
int Serve(const ChildArguments& arguments) { return Create(arguments.at(0)) != nullptr ? RunMessages() : 1; }
const ChildProgram s_Serve("window", Serve);

LRESULT Send(HWND hWnd, ULONG_PTR dwData, string text, UINT uTimeout = LONG_ENOUGH)
{
    COPYDATASTRUCT data{dwData, static_cast<DWORD>(text.size()), &text[0]};
    DWORD_PTR dwResult = 0;
    SetLastError(4711);
    return SendMessageTimeoutA(hWnd, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data), SMTO_NORMAL, uTimeout,
                               &dwResult) != 0
               ? static_cast<LRESULT>(dwResult)
               : -static_cast<LRESULT>(GetLastError());
}

// Sends numbers and gets each of them back: 0.
int SendNumbers(const ChildArguments& arguments)
{
    const HWND hWnd = FindWindowA(CLASS_NAME, arguments.at(0).c_str());
    for (int i = 1, n = std::stoi(arguments.at(1)); i <= n; ++i)
        if (Send(hWnd, ECHO, std::to_string(i)) != i)
            return 1;
    return hWnd != nullptr ? 0 : 2;
}
const ChildProgram s_SendNumbers("numbers", SendNumbers);

// A process with a window; the window of the last one must be gone.
class Server
{
public:
    explicit Server(const string& title = TITLE) : m_Title(title), m_Child("window", "\"" + title + "\"")
    {
        EXPECT_TRUE(Eventually([&] { return Find() != nullptr; }));
    }
    HWND Find() const { return FindWindowA(CLASS_NAME, m_Title.c_str()); }
    Child& Process() { return m_Child; }

private:
    const string m_Title;
    Child m_Child;
};

// The same in a thread of this process.
class ServerThread
{
public:
    ServerThread()
        : m_Ready(ManualEvent()), m_Thread([this] {
              m_hWnd = Create();
              SetEvent(m_Ready);
              EXPECT_EQ(17, RunMessages());
          })
    {
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(m_Ready, LONG_ENOUGH));
    }
    ~ServerThread() { SendMessageTimeoutA(m_hWnd, WM_CLOSE, 0, 0, SMTO_NORMAL, LONG_ENOUGH, nullptr); }
    HWND Get() const { return m_hWnd; }

private:
    const Handle m_Ready;
    HWND m_hWnd = nullptr;
    TestThread m_Thread;
};

TEST(Windows, AreFoundByClassAndTitleWithoutRegardToCase)
{
    const struct
    {
        const char* className;
        string title;
    } missing[] = {
        {CLASS_NAME, "orvexplatformtests"},
        {"orvexplatformtests", TITLE},
        {TITLE, CLASS_NAME},
        {CLASS_NAME, ""},
        {CLASS_NAME, string(300, 'x') + "y"},
    };
    for (const string& title : {string(TITLE), string(300, 'x'), string("a/b\n..")}) {
        const HWND hWnd = Create(title);
        ASSERT_NE(nullptr, hWnd) << GetLastError();
        string upper = title;
        for (char& c : upper)
            c = static_cast<char>(toupper(c));
        EXPECT_EQ(hWnd, FindWindowA("ORVEXPLATFORMTESTS.class", upper.c_str()));
        for (const auto& row : missing)
            EXPECT_EQ(nullptr, FindWindowA(row.className, row.title.c_str())) << row.className << row.title;
        DWORD dwProcess = 0;
        EXPECT_TRUE(IsWindow(hWnd));
        EXPECT_EQ(GetCurrentThreadId(), GetWindowThreadProcessId(hWnd, &dwProcess));
        EXPECT_EQ(GetCurrentProcessId(), dwProcess);
        EXPECT_TRUE(DestroyWindow(hWnd));
        EXPECT_FALSE(IsWindow(hWnd));
        EXPECT_EQ(nullptr, FindWindowA(CLASS_NAME, title.c_str()));
        MSG msg;
        while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE))
            EXPECT_EQ(UINT(WM_QUIT), msg.message);
    }
}

TEST(Windows, NeedTheirClass)
{
    RegisterOnce();
    EXPECT_EQ(nullptr, CreateWindowExA(0, "orvexplatformtests.none", TITLE, 0, 0, 0, 0, 0, nullptr, nullptr,
                                       nullptr, nullptr));
    WNDCLASSA wc{};
    wc.lpfnWndProc = OnMessage;
    wc.lpszClassName = CLASS_NAME;
    EXPECT_EQ(0, RegisterClassA(&wc));
    EXPECT_EQ(DWORD(ERROR_CLASS_ALREADY_EXISTS), GetLastError());
    wc.lpszClassName = "orvexplatformtests.Other";
    EXPECT_NE(0, RegisterClassA(&wc));
    EXPECT_TRUE(UnregisterClassA("ORVEXplatformtests.Other", nullptr));
    EXPECT_FALSE(UnregisterClassA("orvexplatformtests.Other", nullptr));
}

TEST(Windows, TakeDataOfAnySizeAndAnswer)
{
    Server server;
    const HWND hWnd = server.Find();
    DWORD dwProcess = 0;
    EXPECT_NE(0u, GetWindowThreadProcessId(hWnd, &dwProcess));
    EXPECT_EQ(server.Process().Id(), dwProcess);
    EXPECT_EQ(hWnd, server.Find());
    for (const size_t size : {1u, 11u, 16384u, 61439u, 61440u, 61441u, 300000u, 1000000u})
        EXPECT_EQ(static_cast<LRESULT>(size), Send(hWnd, CHECK, Pattern(size))) << size;
    EXPECT_EQ(0, Send(hWnd, CHECK, ""));
    DWORD_PTR dwResult = 0;
    EXPECT_TRUE(SendMessageTimeoutA(hWnd, WM_APP, 40, 2, SMTO_NORMAL, LONG_ENOUGH, &dwResult));
    EXPECT_EQ(42u, dwResult);
    EXPECT_FALSE(DestroyWindow(hWnd));
    EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), GetLastError());
    EXPECT_EQ(4, Send(hWnd, DESTROY, "")) << "the answer of a window that goes with it";
    EXPECT_EQ(17u, server.Process().Wait());
    EXPECT_EQ(-ERROR_INVALID_WINDOW_HANDLE, Send(hWnd, CHECK, "0"));
    EXPECT_EQ(0u, GetWindowThreadProcessId(hWnd, &dwProcess));
}

TEST(Windows, OfAKilledProcessAreGoneAndTheirNameIsFree)
{
    HWND hBefore = nullptr;
    for (int i = 0; i < 3; ++i) {
        Server server;
        const HWND hWnd = server.Find();
        EXPECT_NE(hBefore, hWnd);
        EXPECT_FALSE(IsWindow(hBefore));
        EXPECT_EQ(1, Send(hWnd, COUNT, ""));
        server.Process().Kill();
        server.Process().Wait();
        EXPECT_FALSE(IsWindow(hWnd));
        EXPECT_EQ(nullptr, server.Find());
        hBefore = hWnd;
    }
    Server server;
    EXPECT_LE(Send(server.Find(), EXIT, ""), 0) << "ends in the middle of a message";
    server.Process().Wait();
    EXPECT_EQ(nullptr, server.Find());
}

TEST(Windows, ASendThatTimedOutLeavesNothingForTheNext)
{
    Door door(DOOR);
    Server server;
    const HWND hWnd = server.Find();
    const ULONGLONG start = GetTickCount64();
    EXPECT_EQ(-ERROR_TIMEOUT, Send(hWnd, HANG, "", 200));
    EXPECT_EQ(-ERROR_TIMEOUT, Send(hWnd, COUNT, "", 200)) << "it is busy still";
    const ULONGLONG elapsed = GetTickCount64() - start;
    EXPECT_TRUE(elapsed >= 390 && elapsed < LONG_ENOUGH) << elapsed;
    EXPECT_TRUE(IsWindow(hWnd));
    door.Open();
    EXPECT_EQ(77, Send(hWnd, ECHO, "77")) << "another one's answer";
    EXPECT_EQ(1, Send(hWnd, COUNT, "")) << "the message that nobody waits for was worked off";
    EXPECT_EQ(78, Send(hWnd, ECHO, "78"));
}

TEST(Windows, AnswerManyThreadsAndProcesses)
{
    Server server;
    const HWND hWnd = server.Find();
    std::list<Child> children;
    for (int i = 0; i < 3; ++i)
        children.emplace_back("numbers", "\"" + string(TITLE) + "\" 300");
    {
        std::list<TestThread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&, t] {
                for (int i = 0; i < 300; ++i)
                    ASSERT_EQ(t * 1000 + i, Send(hWnd, ECHO, std::to_string(t * 1000 + i)));
            });
    }
    for (Child& child : children)
        EXPECT_EQ(0u, child.Wait());
}

TEST(Windows, OfAnotherThreadAreSentToAndPostedTo)
{
    ServerThread server;
    EXPECT_EQ(server.Get(), FindWindowA(CLASS_NAME, TITLE));
    for (const size_t size : {5u, 100000u})
        EXPECT_EQ(static_cast<LRESULT>(size), Send(server.Get(), CHECK, Pattern(size)));
    EXPECT_FALSE(DestroyWindow(server.Get()));
    EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), GetLastError());
    EXPECT_TRUE(PostMessageA(server.Get(), WM_CLOSE, 0, 0));
    EXPECT_TRUE(Eventually([&] { return !IsWindow(server.Get()); }));
    EXPECT_FALSE(PostMessageA(server.Get(), WM_CLOSE, 0, 0));
    EXPECT_EQ(DWORD(ERROR_INVALID_WINDOW_HANDLE), GetLastError());
}

TEST(Windows, GoWithTheirThread)
{
    HWND hWnd = nullptr;
    TestThread([&] { hWnd = Create(); });
    EXPECT_NE(nullptr, hWnd);
    EXPECT_FALSE(IsWindow(hWnd));
    EXPECT_EQ(nullptr, FindWindowA(CLASS_NAME, TITLE));
}

TEST(Messages, AreTakenInTheirOrder)
{
    const HWND hWnd = Create();
    MSG msg;
    EXPECT_FALSE(PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE));
    PostQuitMessage(3);
    PostMessageA(hWnd, WM_APP, 1, 2);
    PostMessageA(hWnd, WM_APP + 2, 0, 0);
    EXPECT_TRUE(PeekMessageA(&msg, nullptr, 0, 0, PM_NOREMOVE));
    EXPECT_EQ(UINT(WM_APP), msg.message);
    EXPECT_TRUE(GetMessageA(&msg, nullptr, 0, 0));
    EXPECT_EQ(UINT(WM_APP), msg.message);
    EXPECT_EQ(hWnd, msg.hwnd);
    EXPECT_EQ(3, DispatchMessageA(&msg));
    EXPECT_TRUE(GetMessageA(&msg, nullptr, 0, 0));
    EXPECT_EQ(UINT(WM_APP + 2), msg.message);
    EXPECT_FALSE(GetMessageA(&msg, nullptr, 0, 0)) << "the quit comes last";
    EXPECT_EQ(3u, msg.wParam);
    EXPECT_FALSE(PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE));
    DWORD_PTR dwResult = 0;
    EXPECT_TRUE(SendMessageTimeoutA(hWnd, WM_APP, 1, 2, SMTO_NORMAL, 0, &dwResult)) << "to oneself: at once";
    EXPECT_EQ(3u, dwResult);
    DestroyWindow(hWnd);
    EXPECT_FALSE(GetMessageA(&msg, nullptr, 0, 0));
}

TEST(Messages, TimersComeAgainUntilTheyAreKilled)
{
    const HWND hWnd = Create();
    MSG msg;
    EXPECT_EQ(9u, SetTimer(hWnd, 9, 20, nullptr));
    EXPECT_EQ(8u, SetTimer(hWnd, 8, 100000, nullptr));
    for (int i = 0; i < 3; ++i) {
        const ULONGLONG start = GetTickCount64();
        ASSERT_TRUE(GetMessageA(&msg, nullptr, 0, 0));
        EXPECT_EQ(UINT(WM_TIMER), msg.message);
        EXPECT_EQ(9u, msg.wParam);
        EXPECT_LT(GetTickCount64() - start, LONG_ENOUGH);
    }
    EXPECT_EQ(WAIT_OBJECT_0, MsgWaitForMultipleObjects(0, nullptr, FALSE, LONG_ENOUGH, QS_ALLINPUT));
    EXPECT_TRUE(KillTimer(hWnd, 9));
    EXPECT_FALSE(KillTimer(hWnd, 9));
    EXPECT_FALSE(PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(TIMED_OUT, MsgWaitForMultipleObjects(0, nullptr, FALSE, A_WHILE, QS_ALLINPUT));
    DestroyWindow(hWnd);
    EXPECT_FALSE(GetMessageA(&msg, nullptr, 0, 0));
}

TEST(Messages, AreWaitedForBehindHandles)
{
    const HWND hWnd = Create();
    const Handle event = AutoEvent(TRUE), never = ManualEvent();
    const HANDLE handles[] = {never, event};
    PostMessageA(hWnd, WM_APP, 0, 0);
    EXPECT_EQ(WAIT_OBJECT_0 + 1, MsgWaitForMultipleObjects(2, handles, FALSE, 0, QS_ALLINPUT));
    EXPECT_EQ(WAIT_OBJECT_0 + 2, MsgWaitForMultipleObjects(2, handles, FALSE, 0, QS_ALLINPUT));
    MSG msg;
    EXPECT_TRUE(PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(TIMED_OUT, MsgWaitForMultipleObjects(2, handles, FALSE, 0, QS_ALLINPUT));
    {
        TestThread sender([&] { EXPECT_EQ(42, Send(hWnd, ECHO, "42")); });
        EXPECT_EQ(WAIT_OBJECT_0 + 2, MsgWaitForMultipleObjects(2, handles, FALSE, LONG_ENOUGH, QS_ALLINPUT));
        while (WaitForSingleObject(sender.Get(), 0) == WAIT_TIMEOUT) {
            EXPECT_FALSE(PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE));
            MsgWaitForMultipleObjects(0, nullptr, FALSE, 1, QS_ALLINPUT);
        }
    }
    DestroyWindow(hWnd);
    EXPECT_FALSE(GetMessageA(&msg, nullptr, 0, 0));
}

}  // namespace
