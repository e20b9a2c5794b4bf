// What a thread with windows listens to, inside this folder: one epoll over the sockets of its windows, the
// connections to them, what is posted, and its timers. All of it is the thread's own but for Post.
#pragma once

#include "platform/Handles.h"
#include "platform/WindowLink.h"
#include "platform/WindowMessages.h"

#include <deque>
#include <map>
#include <unordered_map>
#include <vector>

#pragma GCC visibility push(hidden)

class MessageQueue;

// A window as this process knows it: its own, or another's that it has found.
struct Window
{
    HWND hWnd = nullptr;
    std::string sFileName;
    DWORD dwProcessId = 0;
    DWORD dwThreadId = 0;
    std::atomic<bool> bGone{false};

    // Of this process.
    WNDPROC pProcedure = nullptr;
    std::shared_ptr<MessageQueue> pQueue;

    // Of another: a connection that hangs up when the window goes.
    Descriptor Link;
    bool bThisUser = true;

    // Connections that wait for their next message; a sender has one for itself meanwhile.
    std::mutex Lock;
    std::vector<WindowLink> IdleLinks;
};

class MessageQueue
{
public:
    static std::shared_ptr<MessageQueue> OfThread();  // made if need be; null: last error
    static std::shared_ptr<MessageQueue> OfThreadIfAny();

    bool AddWindow(std::shared_ptr<Window> pWindow, Descriptor socket);  // false: last error
    void RemoveWindow(HWND hWnd);
    std::vector<HWND> Windows() const;

    void Post(const MSG& msg);
    void PostQuit(int iExitCode);
    bool SetTimer(HWND hWnd, UINT_PTR nId, UINT uElapse);
    bool KillTimer(HWND hWnd, UINT_PTR nId);

    // Waits so long for anything to come, and answers what was sent.
    void Pump(int iMilliseconds);
    // The next message for the thread: posted, else the quit, else a timer's. False: none.
    bool Next(MSG* pMsg, bool bRemove);
    bool HasPosted();
    int WakeDescriptor() const { return m_Epoll.Get(); }  // readable when there is something to do

private:
    struct Listener
    {
        std::shared_ptr<Window> pWindow;
        Descriptor Socket;
    };
    struct Connection
    {
        std::shared_ptr<Window> pWindow;
        Descriptor Socket;
    };
    struct Timer
    {
        HWND hWnd;
        UINT_PTR nId;
        std::int64_t nPeriod;
        std::int64_t nDue;
    };

    bool Open();
    bool Watch(int fd, std::uint64_t nKey, unsigned int events, int iOperation);
    void Accept(const Listener& listener);
    void Pause(std::int64_t nUntil);
    void Receive(std::uint64_t nKey);
    void Close(std::uint64_t nKey);
    void ArmTimer();

    Descriptor m_Epoll;
    Descriptor m_Timer;
    Signal m_Posted;
    std::uint64_t m_nLastKey;
    std::map<std::uint64_t, Listener> m_Listeners;
    std::unordered_map<std::uint64_t, std::shared_ptr<Connection>> m_Connections;
    std::vector<Timer> m_Timers;
    std::int64_t m_nPausedUntil = 0;  // no connections are accepted while there are no descriptors
    std::vector<char> m_Buffer;       // empty while a message is in work

    std::mutex m_Lock;
    std::deque<MSG> m_Messages;
    bool m_bQuit = false;
    int m_iExitCode = 0;
};

#pragma GCC visibility pop
