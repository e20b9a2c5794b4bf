#include "platform/Handles.h"

#include "platform/Faults.h"
#include "platform/Sync.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::int64_t NANOSECONDS_A_MILLISECOND = 1000000;
constexpr int LOOK_AGAIN_MILLISECONDS = 10;

struct HandleSlot
{
    std::shared_ptr<HandleObject> pObject;
    UINT_PTR nGeneration = 0;
};

// A handle is the slot's generation and its index plus one, above two bits that are zero.
constexpr int INDEX_BITS = 24;
constexpr int FREE_BITS = 2;

struct HandleTable
{
    std::mutex Lock;
    std::vector<HandleSlot> Slots;
    std::vector<size_t> FreeSlots;

    // Null for a handle that is not open.
    HandleSlot* Find(HANDLE h)
    {
        const UINT_PTR n = reinterpret_cast<UINT_PTR>(h);
        const size_t index = ((n >> FREE_BITS) & ((1u << INDEX_BITS) - 1)) - 1;
        if ((n & ((1u << FREE_BITS) - 1)) != 0 || index >= Slots.size())
            return nullptr;
        HandleSlot& slot = Slots[index];
        return slot.pObject != nullptr && slot.nGeneration == n >> (FREE_BITS + INDEX_BITS) ? &slot : nullptr;
    }
};

// Never destroyed: threads use it until the process is gone.
HandleTable& Table()
{
    static HandleTable* p = new HandleTable;
    return *p;
}

// What is left of a wait, rounded up; -1 for ever.
int MillisecondsUntil(std::int64_t nDeadline)
{
    if (nDeadline < 0)
        return -1;
    const std::int64_t left = nDeadline - MonotonicNow();
    return left <= 0 ? 0
                     : static_cast<int>(std::min<std::int64_t>(
                           (left + NANOSECONDS_A_MILLISECOND - 1) / NANOSECONDS_A_MILLISECOND, INT32_MAX));
}

class Wait
{
public:
    Wait(DWORD dwMilliseconds, int iDescriptor)
        : m_nDeadline(dwMilliseconds == INFINITE
                          ? -1
                          : MonotonicNow() +
                                static_cast<std::int64_t>(dwMilliseconds) * NANOSECONDS_A_MILLISECOND),
          m_iDescriptor(iDescriptor)
    {
    }

    bool Add(HANDLE h)
    {
        m_Objects.push_back(HandleTo<Waitable>(h));
        return m_Objects.back() != nullptr;
    }

    DWORD ForAny()
    {
        for (bool bLast = false;; bLast = MillisecondsUntil(m_nDeadline) == 0) {
            for (DWORD i = 0; i < m_Objects.size(); ++i) {
                const Waitable::Taken taken = m_Objects[i]->Take();
                if (taken != Waitable::TAKEN_NOT)
                    return Result(i, taken);
            }
            if (m_bDescriptorReady)
                return WAIT_OBJECT_0 + static_cast<DWORD>(m_Objects.size());
            if (bLast)
                return WAIT_TIMEOUT;
            Sleep(0, m_Objects.size());
        }
    }

    // Sleeps on one object that is not free, so that those that are do not wake it for nothing.
    DWORD ForAll()
    {
        for (bool bLast = false;; bLast = MillisecondsUntil(m_nDeadline) == 0) {
            size_t i = 0;
            while (i < m_Objects.size() && m_Objects[i]->Free())
                ++i;
            DWORD dwResult = WAIT_OBJECT_0;
            if (i == m_Objects.size() && TakeAll(&dwResult, &i))
                return dwResult;
            if (bLast)
                return WAIT_TIMEOUT;
            Sleep(i, i + 1);
        }
    }

private:
    static DWORD Result(DWORD dwIndex, Waitable::Taken taken)
    {
        return (taken == Waitable::TAKEN_ABANDONED ? WAIT_ABANDONED_0 : WAIT_OBJECT_0) + dwIndex;
    }

    // False: the object at *pIndex was taken by somebody else, and nothing is held.
    bool TakeAll(DWORD* pdwResult, size_t* pIndex)
    {
        std::vector<Waitable::Taken> taken;
        for (DWORD i = 0; i < m_Objects.size(); ++i) {
            taken.push_back(m_Objects[i]->Take());
            if (taken.back() == Waitable::TAKEN_NOT) {
                *pIndex = i;
                while (i-- > 0)
                    m_Objects[i]->GiveBack(taken[i]);
                return false;
            }
            if (taken.back() == Waitable::TAKEN_ABANDONED)
                *pdwResult = WAIT_ABANDONED_0;  // of all, without saying which
        }
        return true;
    }

    void Sleep(size_t begin, size_t end)
    {
        m_Polled.clear();
        int iTimeout = MillisecondsUntil(m_nDeadline);
        for (size_t i = begin; i < end; ++i) {
            const int fd = m_Objects[i]->WakeDescriptor();
            if (fd >= 0)
                m_Polled.push_back({fd, POLLIN, 0});
            else if (iTimeout < 0 || iTimeout > LOOK_AGAIN_MILLISECONDS)
                iTimeout = LOOK_AGAIN_MILLISECONDS;
        }
        if (m_iDescriptor >= 0)
            m_Polled.push_back({m_iDescriptor, POLLIN, 0});
        if (poll(m_Polled.data(), m_Polled.size(), iTimeout) > 0 && m_iDescriptor >= 0)
            m_bDescriptorReady = m_Polled.back().revents != 0;
    }

    const std::int64_t m_nDeadline;
    const int m_iDescriptor;
    bool m_bDescriptorReady = false;
    std::vector<std::shared_ptr<Waitable>> m_Objects;
    std::vector<pollfd> m_Polled;
};

}  // namespace

Signal::~Signal()
{
    if (m_fd >= 0)
        close(m_fd);
}

bool Signal::Open(bool bManualReset, bool bSet)
{
    m_bManualReset = bManualReset;
    m_fd = Faults::Hit("eventfd") ? -1 : eventfd(bSet ? 1 : 0, EFD_CLOEXEC | EFD_NONBLOCK);
    m_bSet.store(bSet, std::memory_order_release);
    return m_fd >= 0 || FailWithErrno();
}

void Signal::Set()
{
    std::lock_guard<std::mutex> lock(m_Lock);
    if (m_bSet.load(std::memory_order_relaxed))
        return;
    m_bSet.store(true, std::memory_order_release);
    eventfd_write(m_fd, 1);
}

void Signal::ResetLocked()
{
    if (!m_bSet.load(std::memory_order_relaxed))
        return;
    m_bSet.store(false, std::memory_order_release);
    eventfd_t n;
    eventfd_read(m_fd, &n);
}

void Signal::Reset()
{
    std::lock_guard<std::mutex> lock(m_Lock);
    ResetLocked();
}

bool Signal::Take()
{
    if (m_bManualReset)
        return IsSet();
    if (!IsSet())
        return false;
    std::lock_guard<std::mutex> lock(m_Lock);
    const bool bSet = m_bSet.load(std::memory_order_relaxed);
    ResetLocked();
    return bSet;
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept
{
    if (this != &other) {
        Close();
        m_fd = other.Release();
    }
    return *this;
}

int Descriptor::Release()
{
    const int fd = m_fd;
    m_fd = -1;
    return fd;
}

void Descriptor::Close()
{
    if (m_fd >= 0)
        close(m_fd);
    m_fd = -1;
}

HANDLE NewHandle(std::shared_ptr<HandleObject> pObject)
{
    HandleTable& table = Table();
    std::lock_guard<std::mutex> lock(table.Lock);
    if (table.FreeSlots.empty()) {
        if (table.Slots.size() + 1 >= 1u << INDEX_BITS) {
            SetLastError(ERROR_NO_SYSTEM_RESOURCES);
            return nullptr;
        }
        table.Slots.emplace_back();
        table.FreeSlots.push_back(table.Slots.size() - 1);
    }
    const size_t index = table.FreeSlots.back();
    table.FreeSlots.pop_back();
    HandleSlot& slot = table.Slots[index];
    slot.pObject = std::move(pObject);
    return reinterpret_cast<HANDLE>(((slot.nGeneration << INDEX_BITS) + index + 1) << FREE_BITS);
}

std::shared_ptr<HandleObject> FindHandle(HANDLE h)
{
    HandleTable& table = Table();
    {
        std::lock_guard<std::mutex> lock(table.Lock);
        if (const HandleSlot* p = table.Find(h))
            return p->pObject;
    }
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

BOOL CloseHandle(HANDLE hObject)
{
    HandleTable& table = Table();
    std::shared_ptr<HandleObject> pClosed;  // destroyed when the table is free again
    std::lock_guard<std::mutex> lock(table.Lock);
    HandleSlot* p = table.Find(hObject);
    if (p == nullptr) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    pClosed.swap(p->pObject);
    ++p->nGeneration;
    table.FreeSlots.push_back(static_cast<size_t>(p - table.Slots.data()));
    return TRUE;
}

DWORD WaitForHandles(DWORD nCount, const HANDLE* pHandles, BOOL bWaitAll, DWORD dwMilliseconds,
                     int iDescriptor)
{
    Wait wait(dwMilliseconds, iDescriptor);
    for (DWORD i = 0; i < nCount; ++i)
        if (!wait.Add(pHandles[i]))
            return WAIT_FAILED;
    return bWaitAll ? wait.ForAll() : wait.ForAny();
}

DWORD WaitForMultipleObjects(DWORD nCount, const HANDLE* pHandles, BOOL bWaitAll, DWORD dwMilliseconds)
{
    if (nCount == 0 || nCount > MAXIMUM_WAIT_OBJECTS || pHandles == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    return WaitForHandles(nCount, pHandles, bWaitAll, dwMilliseconds, -1);
}

DWORD WaitForSingleObject(HANDLE hObject, DWORD dwMilliseconds)
{
    const std::shared_ptr<Waitable> p = HandleTo<Waitable>(hObject);
    if (p == nullptr)
        return WAIT_FAILED;
    switch (p->Take()) {
    case Waitable::TAKEN: return WAIT_OBJECT_0;
    case Waitable::TAKEN_ABANDONED: return WAIT_ABANDONED_0;
    case Waitable::TAKEN_NOT: break;
    }
    return dwMilliseconds == 0 ? WAIT_TIMEOUT : WaitForHandles(1, &hObject, FALSE, dwMilliseconds, -1);
}

bool StartThread(std::function<void()> body)
{
    auto pBody = std::make_unique<std::function<void()>>(std::move(body));
    const auto run = [](void* p) -> void* {
        const std::unique_ptr<std::function<void()>> pOwned(static_cast<std::function<void()>*>(p));
        (*pOwned)();
        return nullptr;
    };
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread;
    errno = Faults::Hit("pthread_create") ? errno : pthread_create(&thread, nullptr, run, pBody.get());
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (errno != 0)
        return FailWithErrno();
    static_cast<void>(pBody.release());  // the thread's now
    pthread_detach(thread);
    return true;
}

DWORD ErrorOf(int iErrno)
{
    switch (iErrno) {
    case 0: return ERROR_SUCCESS;
    case ENOENT: return ERROR_FILE_NOT_FOUND;
    case ENOTDIR: return ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE: return ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EPERM:
    case EROFS: return ERROR_ACCESS_DENIED;
    case ENOMEM:
    case ENOBUFS: return ERROR_NOT_ENOUGH_MEMORY;
    case EAGAIN: return ERROR_NO_SYSTEM_RESOURCES;
    case EINVAL:
    case ENAMETOOLONG: return ERROR_INVALID_PARAMETER;
    case EEXIST: return ERROR_ALREADY_EXISTS;
    case ENOSPC: return ERROR_DISK_FULL;
    case ENOEXEC: return ERROR_BAD_EXE_FORMAT;
    case ETIMEDOUT: return ERROR_TIMEOUT;
    default: return ERROR_GEN_FAILURE;
    }
}

bool FailWithErrno()
{
    SetLastError(ErrorOf(errno));
    return false;
}

std::int64_t MonotonicNow()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000 * NANOSECONDS_A_MILLISECOND + now.tv_nsec;
}
