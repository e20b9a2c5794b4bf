// What stands behind a HANDLE, inside this folder: the table of handles, the objects that can be waited for,
// and the one wait over them. Objects are shared by their handles and by the calls that are under way with
// them, so a handle may be closed at any time.
#pragma once

#include "platform/WinTypes.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#pragma GCC visibility push(hidden)

class HandleObject
{
public:
    HandleObject() = default;
    virtual ~HandleObject() = default;
    HandleObject(const HandleObject&) = delete;
    HandleObject& operator=(const HandleObject&) = delete;
};

class Waitable : public HandleObject
{
public:
    enum Taken
    {
        TAKEN_NOT,
        TAKEN,
        TAKEN_ABANDONED
    };

    // Takes the object for the calling thread if it is free. GiveBack undoes it, Free only looks.
    virtual Taken Take() = 0;
    virtual void GiveBack(Taken) {}
    virtual bool Free() = 0;

    // Behind a Take that failed: the descriptor that becomes readable when another is worth trying; -1 where
    // there is none and the wait has to look again by and by.
    virtual int WakeDescriptor() = 0;
};

// A flag that wakes: an eventfd that is readable as long as the flag is set. Tests of the flag cost no system
// call.
class Signal
{
public:
    ~Signal();
    bool Open(bool bManualReset, bool bSet);  // false: last error
    void Set();
    void Reset();
    bool Take();  // resets a flag that is not reset by hand
    bool IsSet() const { return m_bSet.load(std::memory_order_acquire); }
    int Descriptor() const { return m_fd; }

private:
    void ResetLocked();

    std::mutex m_Lock;
    std::atomic<bool> m_bSet{false};
    bool m_bManualReset = true;
    int m_fd = -1;
};

class Event final : public Waitable
{
public:
    Signal m_Signal;
    Taken Take() override { return m_Signal.Take() ? TAKEN : TAKEN_NOT; }
    void GiveBack(Taken) override { m_Signal.Set(); }
    bool Free() override { return m_Signal.IsSet(); }
    int WakeDescriptor() override { return m_Signal.Descriptor(); }
};

// A file descriptor that closes itself.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept : m_fd(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor() { Close(); }

    explicit operator bool() const { return m_fd >= 0; }
    int Get() const { return m_fd; }
    int Release();
    void Close();

private:
    int m_fd = -1;
};

HANDLE NewHandle(std::shared_ptr<HandleObject> pObject);
std::shared_ptr<HandleObject> FindHandle(HANDLE h);  // null, and the last error, for one that is not open

// The object if it is of that kind, else null and ERROR_INVALID_HANDLE.
template <class T> std::shared_ptr<T> HandleTo(HANDLE h)
{
    std::shared_ptr<T> p = std::dynamic_pointer_cast<T>(FindHandle(h));
    if (p == nullptr)
        SetLastError(ERROR_INVALID_HANDLE);
    return p;
}

// WaitForMultipleObjects; with a descriptor it waits for that too, as for one more object behind the others.
DWORD WaitForHandles(DWORD nCount, const HANDLE* pHandles, BOOL bWaitAll, DWORD dwMilliseconds,
                     int iDescriptor);

// The end of a thread as far as it concerns others: what it owned is abandoned, its windows go.
void AbandonMutexesOfThread();
void CloseWindowsOfThread();

// A thread of this folder's own, in which no signals are handled. Nobody waits for its end. False: last
// error.
bool StartThread(std::function<void()> body);

DWORD ErrorOf(int iErrno);
bool FailWithErrno();  // false, and the last error from errno

// Nanoseconds of the clock that all processes of the machine share.
std::int64_t MonotonicNow();

#pragma GCC visibility pop
