#include "platform/MessageQueue.h"

#include "platform/Faults.h"
#include "platform/RuntimeFolder.h"
#include "platform/Sync.h"

#include <algorithm>
#include <cerrno>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace {

constexpr std::uint64_t POSTED = 0;
constexpr std::uint64_t TIMER = 1;
constexpr std::uint64_t FIRST_KEY = 2;
constexpr int EVENTS_AT_ONCE = 64;
constexpr std::int64_t NANOSECONDS_A_MILLISECOND = 1000000;
constexpr std::int64_t PAUSE = 100 * NANOSECONDS_A_MILLISECOND;

// The thread's windows go with it.
struct ThreadQueue
{
    std::shared_ptr<MessageQueue> p;
    ~ThreadQueue() { CloseWindowsOfThread(); }
};
thread_local ThreadQueue t_Queue;

// A server of many clients has a descriptor for each; the limit that a shell sets is far below the system's.
bool RaiseDescriptorLimit()
{
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == limit.rlim_max)
        return false;
    limit.rlim_cur = limit.rlim_max;
    return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

}  // namespace

std::shared_ptr<MessageQueue> MessageQueue::OfThreadIfAny() { return t_Queue.p; }

std::shared_ptr<MessageQueue> MessageQueue::OfThread()
{
    if (t_Queue.p == nullptr) {
        const auto p = std::make_shared<MessageQueue>();
        if (!p->Open())
            return nullptr;
        t_Queue.p = p;
    }
    return t_Queue.p;
}

bool MessageQueue::Open()
{
    m_nLastKey = FIRST_KEY;
    m_Epoll = Descriptor(Faults::Hit("epoll_create1") ? -1 : epoll_create1(EPOLL_CLOEXEC));
    m_Timer = Descriptor(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    if (!m_Epoll || !m_Timer || !m_Posted.Open(true, false))
        return FailWithErrno();
    return Watch(m_Posted.Descriptor(), POSTED, EPOLLIN, EPOLL_CTL_ADD) &&
           Watch(m_Timer.Get(), TIMER, EPOLLIN, EPOLL_CTL_ADD);
}

bool MessageQueue::Watch(int fd, std::uint64_t nKey, unsigned int events, int iOperation)
{
    epoll_event event{};
    event.events = events;
    event.data.u64 = nKey;
    return (Faults::Hit("epoll_ctl") ? -1 : epoll_ctl(m_Epoll.Get(), iOperation, fd, &event)) == 0 ||
           FailWithErrno();
}

bool MessageQueue::AddWindow(std::shared_ptr<Window> pWindow, Descriptor socket)
{
    const std::uint64_t nKey = ++m_nLastKey;
    if (!Watch(socket.Get(), nKey, EPOLLIN, EPOLL_CTL_ADD))
        return false;
    m_Listeners[nKey] = {std::move(pWindow), std::move(socket)};
    return true;
}

void MessageQueue::RemoveWindow(HWND hWnd)
{
    for (auto it = m_Listeners.begin(); it != m_Listeners.end();)
        it = it->second.pWindow->hWnd == hWnd ? m_Listeners.erase(it) : std::next(it);
    for (auto it = m_Connections.begin(); it != m_Connections.end();)
        it = it->second->pWindow->hWnd == hWnd ? m_Connections.erase(it) : std::next(it);
    m_Timers.erase(std::remove_if(m_Timers.begin(), m_Timers.end(),
                                  [hWnd](const Timer& timer) { return timer.hWnd == hWnd; }),
                   m_Timers.end());
    ArmTimer();
}

std::vector<HWND> MessageQueue::Windows() const
{
    std::vector<HWND> windows;
    for (const auto& entry : m_Listeners)
        windows.push_back(entry.second.pWindow->hWnd);
    return windows;
}

void MessageQueue::Post(const MSG& msg)
{
    std::lock_guard<std::mutex> lock(m_Lock);
    m_Messages.push_back(msg);
    m_Posted.Set();
}

void MessageQueue::PostQuit(int iExitCode)
{
    std::lock_guard<std::mutex> lock(m_Lock);
    m_bQuit = true;
    m_iExitCode = iExitCode;
    m_Posted.Set();
}

bool MessageQueue::HasPosted() { return m_Posted.IsSet(); }

bool MessageQueue::Next(MSG* pMsg, bool bRemove)
{
    std::lock_guard<std::mutex> lock(m_Lock);
    *pMsg = MSG{};
    if (!m_Messages.empty()) {
        *pMsg = m_Messages.front();
        if (bRemove)
            m_Messages.pop_front();
    } else if (m_bQuit) {
        pMsg->message = WM_QUIT;
        pMsg->wParam = static_cast<WPARAM>(m_iExitCode);
        m_bQuit = !bRemove;
    } else {
        const std::int64_t now = m_Timers.empty() ? 0 : MonotonicNow();
        const auto it = std::find_if(m_Timers.begin(), m_Timers.end(),
                                     [now](const Timer& timer) { return timer.nDue <= now; });
        if (it == m_Timers.end())
            return false;
        pMsg->hwnd = it->hWnd;
        pMsg->message = WM_TIMER;
        pMsg->wParam = it->nId;
        if (bRemove) {
            it->nDue = now + it->nPeriod;
            ArmTimer();
        }
    }
    pMsg->time = static_cast<DWORD>(GetTickCount64());
    if (m_Messages.empty() && !m_bQuit)
        m_Posted.Reset();
    return true;
}

bool MessageQueue::SetTimer(HWND hWnd, UINT_PTR nId, UINT uElapse)
{
    KillTimer(hWnd, nId);
    const std::int64_t nPeriod = std::max<std::int64_t>(uElapse, 1) * NANOSECONDS_A_MILLISECOND;
    m_Timers.push_back({hWnd, nId, nPeriod, MonotonicNow() + nPeriod});
    ArmTimer();
    return true;
}

bool MessageQueue::KillTimer(HWND hWnd, UINT_PTR nId)
{
    const auto it = std::find_if(m_Timers.begin(), m_Timers.end(), [hWnd, nId](const Timer& timer) {
        return timer.hWnd == hWnd && timer.nId == nId;
    });
    if (it == m_Timers.end())
        return false;
    m_Timers.erase(it);
    ArmTimer();
    return true;
}

// Never read: it stays readable until it is set for the next time.
void MessageQueue::ArmTimer()
{
    std::int64_t nDue = m_nPausedUntil;
    for (const Timer& timer : m_Timers)
        nDue = nDue == 0 ? timer.nDue : std::min(nDue, timer.nDue);
    itimerspec when{};
    when.it_value.tv_sec = nDue / (1000 * NANOSECONDS_A_MILLISECOND);
    when.it_value.tv_nsec = nDue % (1000 * NANOSECONDS_A_MILLISECOND);
    timerfd_settime(m_Timer.Get(), TFD_TIMER_ABSTIME, &when, nullptr);
}

void MessageQueue::Pump(int iMilliseconds)
{
    epoll_event events[EVENTS_AT_ONCE];
    const int n = epoll_wait(m_Epoll.Get(), events, EVENTS_AT_ONCE, iMilliseconds);
    if (m_nPausedUntil != 0 && MonotonicNow() >= m_nPausedUntil)
        Pause(0);
    for (int i = 0; i < n; ++i) {
        const std::uint64_t nKey = events[i].data.u64;
        const auto it = m_Listeners.find(nKey);
        if (it != m_Listeners.end())
            Accept(it->second);
        else if (nKey > TIMER)
            Receive(nKey);
    }
}

// Zero: goes on.
void MessageQueue::Pause(std::int64_t nUntil)
{
    m_nPausedUntil = nUntil;
    for (const auto& entry : m_Listeners)
        Watch(entry.second.Socket.Get(), entry.first, nUntil != 0 ? 0u : static_cast<unsigned int>(EPOLLIN),
              EPOLL_CTL_MOD);
    ArmTimer();
}

void MessageQueue::Accept(const Listener& listener)
{
    for (int i = 0; i < EVENTS_AT_ONCE; ++i) {
        Descriptor socket(Faults::Hit("accept4") ? -1
                                                 : accept4(listener.Socket.Get(), nullptr, nullptr,
                                                           SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!socket && errno == EMFILE && RaiseDescriptorLimit())
            continue;
        if (!socket) {
            if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED)
                Pause(MonotonicNow() + PAUSE);
            return;
        }
        const std::uint64_t nKey = ++m_nLastKey;
        if (!PeerIsThisUser(socket.Get(), nullptr) ||
            !Watch(socket.Get(), nKey, EPOLLIN | EPOLLRDHUP, EPOLL_CTL_ADD))
            continue;
        m_Connections[nKey] = std::make_shared<Connection>(Connection{listener.pWindow, std::move(socket)});
    }
}

void MessageQueue::Close(std::uint64_t nKey)
{
    m_Connections.erase(nKey);
    if (m_nPausedUntil != 0)
        Pause(0);
}

// The connection outlives its entry here: the procedure may destroy the window and still has its answer sent.
void MessageQueue::Receive(std::uint64_t nKey)
{
    const auto it = m_Connections.find(nKey);
    if (it == m_Connections.end())
        return;
    const std::shared_ptr<Connection> pConnection = it->second;
    const std::shared_ptr<Window> pWindow = pConnection->pWindow;
    std::vector<char> buffer = std::move(m_Buffer);
    std::vector<char> large;
    WindowRequest request;
    char* pData = nullptr;
    switch (ReceiveRequest(pConnection->Socket.Get(), &buffer, &large, &request, &pData)) {
    case Received::NOTHING: break;
    case Received::CLOSED: Close(nKey); break;
    case Received::REQUEST: {
        if (request.nDeadline >= 0 && MonotonicNow() > request.nDeadline)
            break;
        COPYDATASTRUCT data{static_cast<ULONG_PTR>(request.dwData), request.cbData,
                            request.cbData != 0 ? pData : nullptr};
        const LPARAM lParam = request.uMessage == WM_COPYDATA ? reinterpret_cast<LPARAM>(&data)
                                                              : static_cast<LPARAM>(request.lParam);
        const LRESULT lResult =
            pWindow->pProcedure(pWindow->hWnd, request.uMessage, static_cast<WPARAM>(request.wParam), lParam);
        if (!SendAnswer(pConnection->Socket.Get(), {request.nNumber, lResult}))
            Close(nKey);
        break;
    }
    }
    m_Buffer = std::move(buffer);
}
