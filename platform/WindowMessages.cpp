#include "platform/WindowMessages.h"

#include "platform/Faults.h"
#include "platform/MessageQueue.h"
#include "platform/Processes.h"
#include "platform/RuntimeFolder.h"
#include "platform/Sync.h"
#include "platform/Text.h"

#include <cerrno>
#include <map>
#include <unistd.h>

namespace {

struct LessNoCase
{
    bool operator()(const std::string& a, const std::string& b) const
    {
        return _stricmp(a.c_str(), b.c_str()) < 0;
    }
};

struct WindowClass
{
    WNDPROC pProcedure;
    ATOM atom;
};

// The windows and window classes that this process knows. A number is never given twice.
struct WindowTable
{
    std::mutex Lock;
    std::map<HWND, std::shared_ptr<Window>> Windows;
    std::map<std::string, HWND> ByFileName;
    UINT_PTR nLast = 0x10000;
    std::map<std::string, WindowClass, LessNoCase> Classes;
    ATOM LastAtom = 0xC000;

    void AddLocked(const std::shared_ptr<Window>& pWindow)
    {
        pWindow->hWnd = reinterpret_cast<HWND>(nLast += 2);
        Windows[pWindow->hWnd] = pWindow;
        ByFileName[pWindow->sFileName] = pWindow->hWnd;
    }
    void RemoveLocked(const Window& window)
    {
        Windows.erase(window.hWnd);
        const auto it = ByFileName.find(window.sFileName);
        if (it != ByFileName.end() && it->second == window.hWnd)
            ByFileName.erase(it);
    }
};

WindowTable& Table()
{
    static WindowTable* p = new WindowTable;
    return *p;
}

bool IsGone(const Window& window)
{
    return window.pQueue != nullptr ? window.bGone.load() : HungUp(window.Link.Get());
}

std::shared_ptr<Window> KnownWindow(HWND hWnd)
{
    WindowTable& table = Table();
    std::lock_guard<std::mutex> lock(table.Lock);
    const auto it = table.Windows.find(hWnd);
    return it != table.Windows.end() ? it->second : nullptr;
}

// The window if there still is one, else null and the last error.
std::shared_ptr<Window> LivingWindow(HWND hWnd)
{
    std::shared_ptr<Window> pWindow = KnownWindow(hWnd);
    if (pWindow != nullptr && IsGone(*pWindow)) {
        std::lock_guard<std::mutex> lock(Table().Lock);
        Table().RemoveLocked(*pWindow);
        pWindow = nullptr;
    }
    if (pWindow == nullptr)
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return pWindow;
}

// The window if it is the calling thread's own.
std::shared_ptr<Window> OwnWindow(HWND hWnd)
{
    std::shared_ptr<Window> pWindow = LivingWindow(hWnd);
    if (pWindow == nullptr || (pWindow->pQueue != nullptr && pWindow->dwThreadId == GetCurrentThreadId()))
        return pWindow;
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

// A connection for one message at a time. A new one leads to the same window as long as that has not gone:
// only then can another have its name.
WindowLink TakeLink(Window& window, std::int64_t nDeadline)
{
    {
        std::lock_guard<std::mutex> lock(window.Lock);
        if (!window.IdleLinks.empty()) {
            WindowLink link = std::move(window.IdleLinks.back());
            window.IdleLinks.pop_back();
            return link;
        }
    }
    for (;;) {
        WindowLink link{ConnectToWindow(window.sFileName)};
        if (link.Socket && !IsGone(window))
            return link;
        if (link.Socket || GetLastError() != ERROR_NO_SYSTEM_RESOURCES) {
            if (link.Socket || GetLastError() == ERROR_FILE_NOT_FOUND)
                SetLastError(ERROR_INVALID_WINDOW_HANDLE);
            return WindowLink();
        }
        if (nDeadline >= 0 && MonotonicNow() > nDeadline) {
            SetLastError(ERROR_TIMEOUT);
            return WindowLink();
        }
        Sleep(1);  // a server that hangs has as many waiting as the system allows
    }
}

void RemoveWindow(Window& window)
{
    window.bGone = true;
    {
        std::lock_guard<std::mutex> lock(Table().Lock);
        Table().RemoveLocked(window);
    }
    // First the name, then the socket: while somebody listens nobody else takes the name.
    const Descriptor folder = OpenRuntimeFolder();
    if (folder)
        unlinkat(folder.Get(), window.sFileName.c_str(), 0);
    window.pQueue->RemoveWindow(window.hWnd);
}

bool ForThread(HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax)
{
    if (hWnd == nullptr && wMsgFilterMin == 0 && wMsgFilterMax == 0)
        return true;
    SetLastError(ERROR_NOT_SUPPORTED);
    return false;
}

}  // namespace

ATOM RegisterClassA(const WNDCLASSA* pClass)
{
    WindowTable& table = Table();
    std::lock_guard<std::mutex> lock(table.Lock);
    if (pClass == nullptr || pClass->lpszClassName == nullptr || pClass->lpfnWndProc == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const auto added = table.Classes.insert({pClass->lpszClassName, {pClass->lpfnWndProc, 0}});
    if (!added.second) {
        SetLastError(ERROR_CLASS_ALREADY_EXISTS);
        return 0;
    }
    return added.first->second.atom = ++table.LastAtom;
}

BOOL UnregisterClassA(const char* className, HINSTANCE)
{
    WindowTable& table = Table();
    std::lock_guard<std::mutex> lock(table.Lock);
    if (className != nullptr && table.Classes.erase(className) != 0)
        return TRUE;
    SetLastError(ERROR_CLASS_DOES_NOT_EXIST);
    return FALSE;
}

HWND CreateWindowExA(DWORD, const char* className, const char* windowName, DWORD, int, int, int, int, HWND,
                     struct HMENU__*, HINSTANCE, void*)
{
    WindowTable& table = Table();
    const auto pWindow = std::make_shared<Window>();
    pWindow->pQueue = MessageQueue::OfThread();
    if (pWindow->pQueue == nullptr)
        return nullptr;
    {
        std::lock_guard<std::mutex> lock(table.Lock);
        const auto it = className != nullptr ? table.Classes.find(className) : table.Classes.end();
        if (it == table.Classes.end()) {
            SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
            return nullptr;
        }
        pWindow->pProcedure = it->second.pProcedure;
    }
    pWindow->sFileName = WindowFileName(className, windowName != nullptr ? windowName : "");
    pWindow->dwProcessId = GetCurrentProcessId();
    pWindow->dwThreadId = GetCurrentThreadId();
    Descriptor socket = BindRuntimeSocket(pWindow->sFileName, SOCK_SEQPACKET);
    if (!socket)
        return nullptr;
    {
        std::lock_guard<std::mutex> lock(table.Lock);
        table.AddLocked(pWindow);
    }
    if (!pWindow->pQueue->AddWindow(pWindow, std::move(socket)) ||
        pWindow->pProcedure(pWindow->hWnd, WM_CREATE, 0, 0) == -1) {
        RemoveWindow(*pWindow);
        return nullptr;
    }
    return pWindow->hWnd;
}

BOOL DestroyWindow(HWND hWnd)
{
    const auto pWindow = OwnWindow(hWnd);
    if (pWindow == nullptr)
        return FALSE;
    pWindow->pProcedure(hWnd, WM_DESTROY, 0, 0);
    RemoveWindow(*pWindow);
    return TRUE;
}

void CloseWindowsOfThread()
{
    const auto pQueue = MessageQueue::OfThreadIfAny();
    for (const HWND hWnd : pQueue != nullptr ? pQueue->Windows() : std::vector<HWND>())
        if (const auto pWindow = LivingWindow(hWnd))
            RemoveWindow(*pWindow);
}

LRESULT DefWindowProcA(HWND hWnd, UINT uMsg, WPARAM, LPARAM)
{
    if (uMsg == WM_CLOSE)
        DestroyWindow(hWnd);
    return 0;
}

HWND FindWindowA(const char* className, const char* windowName)
{
    if (className == nullptr || windowName == nullptr) {
        SetLastError(ERROR_NOT_SUPPORTED);
        return nullptr;
    }
    WindowTable& table = Table();
    const std::string sFileName = WindowFileName(className, windowName);
    std::lock_guard<std::mutex> lock(table.Lock);
    const auto it = table.ByFileName.find(sFileName);
    if (it != table.ByFileName.end()) {
        const std::shared_ptr<Window> pKnown = table.Windows[it->second];
        if (!IsGone(*pKnown))
            return pKnown->hWnd;
        table.RemoveLocked(*pKnown);
    }
    const auto pWindow = std::make_shared<Window>();
    pWindow->Link = ConnectToWindow(sFileName);
    if (!pWindow->Link)
        return nullptr;
    pWindow->sFileName = sFileName;
    pWindow->bThisUser = PeerIsThisUser(pWindow->Link.Get(), &pWindow->dwProcessId);
    pWindow->dwThreadId = pWindow->dwProcessId;
    table.AddLocked(pWindow);
    return pWindow->hWnd;
}

BOOL IsWindow(HWND hWnd) { return LivingWindow(hWnd) != nullptr; }

DWORD GetWindowThreadProcessId(HWND hWnd, DWORD* pdwProcessId)
{
    const auto pWindow = LivingWindow(hWnd);
    if (pWindow == nullptr)
        return 0;
    if (pdwProcessId != nullptr)
        *pdwProcessId = pWindow->dwProcessId;
    return pWindow->dwThreadId;
}

LRESULT SendMessageTimeoutA(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam, UINT, UINT uTimeout,
                            DWORD_PTR* pdwResult)
{
    static std::atomic<std::uint64_t> s_nLastNumber{0};
    // That another's window has gone shows when it is sent to.
    const auto pWindow = KnownWindow(hWnd);
    if (pWindow == nullptr) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return 0;
    }
    LRESULT lResult = 0;
    if (pWindow->pQueue != nullptr && pWindow->dwThreadId == GetCurrentThreadId()) {
        lResult = pWindow->pProcedure(hWnd, uMsg, wParam, lParam);
    } else {
        if (!pWindow->bThisUser) {
            SetLastError(ERROR_ACCESS_DENIED);
            return 0;
        }
        WindowRequest request{};
        request.nNumber = ++s_nLastNumber;
        request.nDeadline =
            uTimeout == INFINITE ? -1 : MonotonicNow() + static_cast<std::int64_t>(uTimeout) * 1000000;
        request.uMessage = uMsg;
        request.wParam = wParam;
        request.lParam = lParam;
        const COPYDATASTRUCT* pCopy =
            uMsg == WM_COPYDATA ? reinterpret_cast<const COPYDATASTRUCT*>(lParam) : nullptr;
        if (pCopy != nullptr) {
            request.dwData = pCopy->dwData;
            request.cbData = pCopy->cbData;
        }
        WindowLink link = TakeLink(*pWindow, request.nDeadline);
        if (!link.Socket)
            return 0;
        bool bBroken = false;
        const DWORD dwError = SendRequest(&link, &request, pCopy != nullptr ? pCopy->lpData : nullptr,
                                          uTimeout, &lResult, &bBroken);
        if (!bBroken) {
            std::lock_guard<std::mutex> lock(pWindow->Lock);
            pWindow->IdleLinks.push_back(std::move(link));
        }
        if (dwError != ERROR_SUCCESS) {
            SetLastError(dwError == NO_ANSWER ? ERROR_SUCCESS : dwError);
            return 0;
        }
    }
    if (pdwResult != nullptr)
        *pdwResult = static_cast<DWORD_PTR>(lResult);
    return 1;
}

BOOL PostMessageA(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    const auto pWindow = LivingWindow(hWnd);
    if (pWindow == nullptr)
        return FALSE;
    if (pWindow->pQueue == nullptr) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    MSG msg{};
    msg.hwnd = hWnd;
    msg.message = uMsg;
    msg.wParam = wParam;
    msg.lParam = lParam;
    pWindow->pQueue->Post(msg);
    return TRUE;
}

void PostQuitMessage(int nExitCode)
{
    if (const auto pQueue = MessageQueue::OfThread())
        pQueue->PostQuit(nExitCode);
}

// Sent messages come before posted ones, but do not keep them waiting for longer than a round.
BOOL GetMessageA(MSG* pMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax)
{
    const auto pQueue = MessageQueue::OfThread();
    if (pQueue == nullptr || !ForThread(hWnd, wMsgFilterMin, wMsgFilterMax))
        return -1;
    if (pQueue->HasPosted())
        pQueue->Pump(0);
    while (!pQueue->Next(pMsg, true))
        pQueue->Pump(-1);
    return pMsg->message != WM_QUIT;
}

BOOL PeekMessageA(MSG* pMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax, UINT wRemoveMsg)
{
    const auto pQueue = MessageQueue::OfThread();
    if (pQueue == nullptr || !ForThread(hWnd, wMsgFilterMin, wMsgFilterMax))
        return FALSE;
    pQueue->Pump(0);
    return pQueue->Next(pMsg, (wRemoveMsg & PM_REMOVE) != 0);
}

LRESULT DispatchMessageA(const MSG* pMsg)
{
    const auto pWindow = pMsg->hwnd != nullptr ? OwnWindow(pMsg->hwnd) : nullptr;
    return pWindow != nullptr ? pWindow->pProcedure(pMsg->hwnd, pMsg->message, pMsg->wParam, pMsg->lParam)
                              : 0;
}

UINT_PTR SetTimer(HWND hWnd, UINT_PTR nIDEvent, UINT uElapse, TIMERPROC pTimerFunc)
{
    const auto pWindow = OwnWindow(hWnd);
    if (pWindow == nullptr)
        return 0;
    if (pTimerFunc != nullptr) {
        SetLastError(ERROR_NOT_SUPPORTED);
        return 0;
    }
    pWindow->pQueue->SetTimer(hWnd, nIDEvent, uElapse);
    return nIDEvent != 0 ? nIDEvent : 1;
}

BOOL KillTimer(HWND hWnd, UINT_PTR uIDEvent)
{
    const auto pWindow = OwnWindow(hWnd);
    if (pWindow == nullptr)
        return FALSE;
    if (pWindow->pQueue->KillTimer(hWnd, uIDEvent))
        return TRUE;
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
}

DWORD MsgWaitForMultipleObjects(DWORD nCount, const HANDLE* pHandles, BOOL bWaitAll, DWORD dwMilliseconds,
                                DWORD)
{
    const auto pQueue = MessageQueue::OfThread();
    if (pQueue == nullptr)
        return WAIT_FAILED;
    if (bWaitAll || nCount >= MAXIMUM_WAIT_OBJECTS) {
        SetLastError(bWaitAll ? ERROR_NOT_SUPPORTED : ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    return WaitForHandles(nCount, pHandles, FALSE, dwMilliseconds, pQueue->WakeDescriptor());
}
