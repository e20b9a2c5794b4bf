#include "platform/DebugOutput.h"

#include "platform/Faults.h"
#include "platform/Handles.h"
#include "platform/RuntimeFolder.h"
#include "platform/Sync.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr char LISTENER[] = "debug";
constexpr size_t LONGEST_TEXT = 64 * 1024;
constexpr std::int64_t PAUSE = 100;  // milliseconds between two looks for a listener
constexpr int PATIENCE = 20;         // milliseconds for a listener to make room

// Precise to some milliseconds, and cheap.
std::int64_t CoarseMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return now.tv_sec * 1000 + now.tv_nsec / 1000000;
}

// A socket of this process, connected while somebody listens.
class Sender
{
public:
    void Send(const char* text)
    {
        if (!m_bConnected.load(std::memory_order_acquire) &&
            (CoarseMilliseconds() < m_nNextLook.load(std::memory_order_relaxed) || !Connect()))
            return;
        const size_t length = std::min(strlen(text), LONGEST_TEXT);
        bool bSent = TrySend(text, length);
        if (!bSent && errno == EAGAIN && !m_bLosing.load(std::memory_order_relaxed)) {
            pollfd polled{m_Socket.Get(), POLLOUT, 0};
            poll(&polled, 1, PATIENCE);
            bSent = TrySend(text, length);
        }
        m_bLosing.store(!bSent, std::memory_order_relaxed);
        if (!bSent && errno != EAGAIN && errno != EINTR)
            Disconnect();
    }

private:
    bool TrySend(const char* text, size_t length)
    {
        return (Faults::Hit("send") ? -1 : send(m_Socket.Get(), text, length, MSG_DONTWAIT | MSG_NOSIGNAL)) >=
               0;
    }

    bool Connect()
    {
        std::lock_guard<std::mutex> lock(m_Lock);
        if (m_bConnected.load(std::memory_order_relaxed))
            return true;
        m_nNextLook.store(CoarseMilliseconds() + PAUSE, std::memory_order_relaxed);
        const Descriptor folder = OpenRuntimeFolder();
        if (!folder)
            return false;
        if (!m_Socket)
            m_Socket = Descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        const sockaddr_un address = RuntimeAddress(folder, LISTENER);
        if (!m_Socket ||
            connect(m_Socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            return false;
        m_bConnected.store(true, std::memory_order_release);
        return true;
    }

    void Disconnect()
    {
        std::lock_guard<std::mutex> lock(m_Lock);
        m_bConnected.store(false, std::memory_order_relaxed);
        m_nNextLook.store(CoarseMilliseconds() + PAUSE, std::memory_order_relaxed);
    }

    std::atomic<bool> m_bConnected{false};
    std::atomic<bool> m_bLosing{false};  // the listener does not keep up, and is not waited for
    std::atomic<std::int64_t> m_nNextLook{0};
    std::mutex m_Lock;
    Descriptor m_Socket;  // made once, and then only connected anew
};

Descriptor& ListenerSocket()
{
    static Descriptor* p = new Descriptor;
    return *p;
}

}  // namespace

// Leaves errno and the last error alone: it is called in the middle of everything.
void OutputDebugStringA(const char* text)
{
    static Sender* pSender = new Sender;
    if (text == nullptr)
        return;
    const int iErrno = errno;
    const DWORD dwLastError = GetLastError();
    pSender->Send(text);
    SetLastError(dwLastError);
    errno = iErrno;
}

BOOL PlatformOpenDebugOutput()
{
    Descriptor listener = BindRuntimeSocket(LISTENER, SOCK_DGRAM);
    const int iOn = 1;
    if (!listener)
        return FALSE;
    if (setsockopt(listener.Get(), SOL_SOCKET, SO_PASSCRED, &iOn, sizeof iOn) != 0)
        return FailWithErrno();
    ListenerSocket() = std::move(listener);
    return TRUE;
}

BOOL PlatformReadDebugOutput(DWORD* pdwProcessId, std::string* psText)
{
    const int fd = ListenerSocket().Get();
    psText->resize(LONGEST_TEXT);
    for (;;) {
        pollfd polled{fd, POLLIN, 0};
        iovec text{&(*psText)[0], psText->size()};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred))];
        msghdr message{};
        message.msg_iov = &text;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        if (poll(&polled, 1, -1) < 0 && errno != EINTR)
            return FailWithErrno();
        const ssize_t n = recvmsg(fd, &message, MSG_DONTWAIT);
        if (n < 0 && errno != EAGAIN && errno != EINTR)
            return FailWithErrno();
        const cmsghdr* p = n < 0 ? nullptr : CMSG_FIRSTHDR(&message);
        ucred sender{};
        if (p == nullptr || p->cmsg_type != SCM_CREDENTIALS)
            continue;
        memcpy(&sender, CMSG_DATA(p), sizeof sender);
        if (sender.uid != geteuid())
            continue;
        *pdwProcessId = static_cast<DWORD>(sender.pid);
        psText->resize(static_cast<size_t>(n));
        return TRUE;
    }
}
