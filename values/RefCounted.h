// The reference count under every value: starts at 1, which is the creator's. Whoever keeps a pointer holds a
// reference. The thread that gives back the last one destroys the object. Counts are atomic and need no lock.
#pragma once

#include "values/Locks.h"

class RefCounted
{
public:
    RefCounted() : m_refCount(1) {}
    virtual ~RefCounted() = default;
    RefCounted(const RefCounted&) = delete;
    RefCounted& operator=(const RefCounted&) = delete;

    // Both return the new count.
    virtual long AddRef() { return InterlockedIncrement(&m_refCount); }
    virtual long Release()
    {
        const LONG n = GiveBack();
        if (n == 0)
            delete this;
        return n;
    }

protected:
    LONG GiveBack() { return InterlockedDecrement(&m_refCount); }

private:
    LONG m_refCount;
};

// A counted object with a lock of its own.
class LockingRefCounted : public RefCounted
{
public:
    ~LockingRefCounted() override = default;
    long AddRef() override { return RefCounted::AddRef(); }
    long Release() override { return RefCounted::Release(); }

protected:
    CritSecLock m_lock;
};
