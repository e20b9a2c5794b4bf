// The lock that every value and every shared piece of this library uses, and the guard that holds it.
#pragma once

#include "platform/Platform.h"

// A lock, whatever it is made of.
class Lockable
{
public:
    virtual ~Lockable() = default;
    virtual void Lock() = 0;
    virtual void Unlock() = 0;
};

// A recursive lock: the thread that holds it can take it again and leaves it as often.
class CritSecLock final : public Lockable
{
public:
    CritSecLock() { InitializeCriticalSection(&m_section); }
    ~CritSecLock() override { DeleteCriticalSection(&m_section); }
    CritSecLock(const CritSecLock&) = delete;
    CritSecLock& operator=(const CritSecLock&) = delete;

    void Lock() override { EnterCriticalSection(&m_section); }
    void Unlock() override { LeaveCriticalSection(&m_section); }

private:
    CRITICAL_SECTION m_section;
};

// Holds a lock for a scope. Unlock and Lock let go and take it again in between; a second call of either in a
// row does nothing. The lock is not owned and outlives the guard.
class ScopedLock
{
public:
    explicit ScopedLock(Lockable* pLock) : m_pLock(pLock), m_bLocked(false) { ScopedLock::Lock(); }
    virtual ~ScopedLock()
    {
        if (m_bLocked)
            m_pLock->Unlock();
    }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

    virtual void Lock()
    {
        if (!m_bLocked) {
            m_pLock->Lock();
            m_bLocked = true;
        }
    }
    virtual void Unlock()
    {
        if (m_bLocked) {
            m_pLock->Unlock();
            m_bLocked = false;
        }
    }

private:
    Lockable* m_pLock;
    bool m_bLocked;
};
