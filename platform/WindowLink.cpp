#include "platform/WindowLink.h"

#include "platform/Faults.h"
#include "platform/RuntimeFolder.h"
#include "platform/Sync.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t LARGEST_DATA_BYTES = 256 << 20;

int MillisecondsLeft(std::int64_t nDeadline)
{
    if (nDeadline < 0)
        return -1;
    const std::int64_t left = (nDeadline - MonotonicNow() + 999999) / 1000000;
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, INT_MAX));
}

// Zero when the socket is ready.
DWORD WaitFor(int fd, short events, std::int64_t nDeadline)
{
    for (;;) {
        pollfd polled{fd, events, 0};
        const int n = poll(&polled, 1, MillisecondsLeft(nDeadline));
        if (n > 0)
            return ERROR_SUCCESS;
        if (n == 0)
            return ERROR_TIMEOUT;
        if (errno != EINTR)
            return ErrorOf(errno);
    }
}

// A message with at most one descriptor beside it.
struct Packet
{
    Packet(void* pHeader, size_t cbHeader, void* pData, size_t cbData)
        : Parts{{pHeader, cbHeader}, {pData, cbData}}
    {
        Message.msg_iov = Parts;
        Message.msg_iovlen = 2;
    }
    void Attach(int fd)
    {
        Message.msg_control = Control;
        Message.msg_controllen = sizeof Control;
        cmsghdr* p = CMSG_FIRSTHDR(&Message);
        p->cmsg_level = SOL_SOCKET;
        p->cmsg_type = SCM_RIGHTS;
        p->cmsg_len = CMSG_LEN(sizeof fd);
        memcpy(CMSG_DATA(p), &fd, sizeof fd);
    }

    msghdr Message{};
    iovec Parts[2];
    alignas(cmsghdr) char Control[CMSG_SPACE(sizeof(int))];
};

Descriptor InMemory(const void* pData, size_t cbData)
{
    Descriptor file(Faults::Hit("memfd_create") ? -1 : memfd_create("message", MFD_CLOEXEC));
    const char* p = static_cast<const char*>(pData);
    for (size_t done = 0; file && done < cbData;) {
        const ssize_t n = write(file.Get(), p + done, cbData - done);
        if (n <= 0)
            return Descriptor();
        done += static_cast<size_t>(n);
    }
    return file;
}

bool ReadFrom(const Descriptor& file, std::vector<char>* pData)
{
    struct stat status;
    if (fstat(file.Get(), &status) != 0 || static_cast<size_t>(status.st_size) != pData->size())
        return false;
    for (size_t done = 0; done < pData->size();) {
        const ssize_t n =
            pread(file.Get(), pData->data() + done, pData->size() - done, static_cast<off_t>(done));
        if (n <= 0)
            return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

bool SetPatience(WindowLink* pLink, UINT uTimeout)
{
    if (pLink->uPatience == uTimeout)
        return true;
    timeval patience{};
    if (uTimeout != INFINITE) {
        patience.tv_sec = uTimeout / 1000;
        patience.tv_usec = static_cast<suseconds_t>(uTimeout % 1000) * 1000;
    }
    if (setsockopt(pLink->Socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) != 0)
        return false;
    pLink->uPatience = uTimeout;
    return true;
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

}  // namespace

std::string WindowFileName(const char* className, const char* windowName)
{
    std::string s = std::string(className) + '\n' + windowName;
    std::transform(s.begin(), s.end(), s.begin(), Lower);
    return RuntimeFileName("window", s);
}

Descriptor ConnectToWindow(const std::string& sFileName)
{
    const Descriptor folder = OpenRuntimeFolder();
    if (!folder)
        return Descriptor();
    Descriptor link(
        Faults::Hit("socket") ? -1 : socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_un address = RuntimeAddress(folder, sFileName);
    if (!link || (Faults::Hit("connect") ? -1
                                         : connect(link.Get(), reinterpret_cast<const sockaddr*>(&address),
                                                   sizeof address)) != 0) {
        if (errno == ECONNREFUSED)
            errno = ENOENT;
        FailWithErrno();
        return Descriptor();
    }
    fcntl(link.Get(), F_SETFL, 0);
    return link;
}

bool HungUp(int fd)
{
    pollfd polled{fd, POLLRDHUP, 0};
    return poll(&polled, 1, 0) > 0;
}

DWORD SendRequest(WindowLink* pLink, WindowRequest* pRequest, const void* pData, UINT uTimeout,
                  LRESULT* plResult, bool* pbBroken)
{
    const int fd = pLink->Socket.Get();
    const bool bLarge = pRequest->cbData > PACKET_DATA_BYTES;
    Packet packet(pRequest, sizeof *pRequest, const_cast<void*>(pData), bLarge ? 0 : pRequest->cbData);
    Descriptor large;
    *pbBroken = false;
    if (bLarge) {
        large = InMemory(pData, pRequest->cbData);
        if (!large)
            return ERROR_NOT_ENOUGH_MEMORY;
        packet.Attach(large.Get());
    }
    // A read that blocks is one call less than a poll in front of it. It is good for the first answer of a
    // message that went out at once; whatever else comes about, the deadline has the say.
    bool bBlocking = uTimeout != 0 && SetPatience(pLink, uTimeout);
    while ((Faults::Hit("sendmsg") ? -1 : sendmsg(fd, &packet.Message, MSG_DONTWAIT | MSG_NOSIGNAL)) < 0) {
        if (errno == EAGAIN) {
            bBlocking = false;
            const DWORD dwError = WaitFor(fd, POLLOUT, pRequest->nDeadline);
            if (dwError != ERROR_SUCCESS)
                return dwError;
        } else if (errno != EINTR) {
            *pbBroken = errno == EPIPE || errno == ECONNRESET;
            return *pbBroken ? ERROR_INVALID_WINDOW_HANDLE : ErrorOf(errno);
        }
    }
    for (;; bBlocking = false) {
        const DWORD dwError = bBlocking ? ERROR_SUCCESS : WaitFor(fd, POLLIN, pRequest->nDeadline);
        if (dwError != ERROR_SUCCESS)
            return dwError;
        WindowAnswer answer;
        const ssize_t n =
            Faults::Hit("recv") ? -1 : recv(fd, &answer, sizeof answer, bBlocking ? 0 : MSG_DONTWAIT);
        if (n < 0 && (errno == EAGAIN || errno == EINTR))
            continue;
        if (n != static_cast<ssize_t>(sizeof answer)) {
            *pbBroken = true;
            return NO_ANSWER;
        }
        if (answer.nNumber == pRequest->nNumber) {
            *plResult = static_cast<LRESULT>(answer.lResult);
            return ERROR_SUCCESS;
        }
    }
}

Received ReceiveRequest(int fd, std::vector<char>* pBuffer, std::vector<char>* pLarge,
                        WindowRequest* pRequest, char** ppData)
{
    pBuffer->resize(PACKET_DATA_BYTES);
    Packet packet(pRequest, sizeof *pRequest, pBuffer->data(), pBuffer->size());
    packet.Message.msg_control = packet.Control;
    packet.Message.msg_controllen = sizeof packet.Control;
    const ssize_t n =
        Faults::Hit("recvmsg") ? -1 : recvmsg(fd, &packet.Message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (n < 0 && (errno == EAGAIN || errno == EINTR))
        return Received::NOTHING;
    Descriptor large;
    const cmsghdr* p = n < 0 ? nullptr : CMSG_FIRSTHDR(&packet.Message);
    if (p != nullptr && p->cmsg_type == SCM_RIGHTS) {
        int iLarge;
        memcpy(&iLarge, CMSG_DATA(p), sizeof iLarge);
        large = Descriptor(iLarge);
    }
    if (n < static_cast<ssize_t>(sizeof *pRequest))
        return Received::CLOSED;
    *ppData = pBuffer->data();
    const size_t cbPacket = static_cast<size_t>(n) - sizeof *pRequest;
    if (!large)
        return cbPacket == pRequest->cbData ? Received::REQUEST : Received::CLOSED;
    if (cbPacket != 0 || pRequest->cbData > LARGEST_DATA_BYTES)
        return Received::CLOSED;
    pLarge->resize(pRequest->cbData);
    *ppData = pLarge->data();
    return ReadFrom(large, pLarge) ? Received::REQUEST : Received::CLOSED;
}

bool SendAnswer(int fd, const WindowAnswer& answer)
{
    return (Faults::Hit("send") ? -1 : send(fd, &answer, sizeof answer, MSG_DONTWAIT | MSG_NOSIGNAL)) ==
           static_cast<ssize_t>(sizeof answer);
}
