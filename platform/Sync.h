// Critical sections, interlocked operations, threads, events, mutexes and the wait for them.
//
// A handle that is closed or of another kind gives ERROR_INVALID_HANDLE, and its number does not come back
// soon.
#pragma once

#include "platform/WinTypes.h"

#include <pthread.h>
#include <sys/single_threaded.h>

// As long as the process has one thread no bus-locked instruction is needed; the C library says so, and
// clears the flag before the second thread can run.
inline bool PlatformSingleThreaded() { return __libc_single_threaded != 0; }

// Interlocked operations: full barriers, as on Windows.
inline LONG InterlockedIncrement(LONG volatile* p)
{
    if (PlatformSingleThreaded()) {
        const LONG l = __atomic_load_n(p, __ATOMIC_RELAXED) + 1;
        __atomic_store_n(p, l, __ATOMIC_RELAXED);
        return l;
    }
    return __atomic_add_fetch(p, 1, __ATOMIC_SEQ_CST);
}

inline LONG InterlockedDecrement(LONG volatile* p)
{
    if (PlatformSingleThreaded()) {
        const LONG l = __atomic_load_n(p, __ATOMIC_RELAXED) - 1;
        __atomic_store_n(p, l, __ATOMIC_RELAXED);
        return l;
    }
    return __atomic_sub_fetch(p, 1, __ATOMIC_SEQ_CST);
}

inline LONG64 InterlockedExchangeAdd64(LONG64 volatile* p, LONG64 ll)
{
    if (PlatformSingleThreaded()) {
        const LONG64 was = __atomic_load_n(p, __ATOMIC_RELAXED);
        __atomic_store_n(p, was + ll, __ATOMIC_RELAXED);
        return was;
    }
    return __atomic_fetch_add(p, ll, __ATOMIC_SEQ_CST);
}

inline LONG InterlockedExchange(LONG volatile* p, LONG l)
{
    return __atomic_exchange_n(p, l, __ATOMIC_SEQ_CST);
}

inline void* InterlockedExchangePointer(void* volatile* p, void* pv)
{
    return __atomic_exchange_n(p, pv, __ATOMIC_SEQ_CST);
}

DWORD PlatformThreadId();

// Each module of the process keeps a copy of its own; a place in the static block makes it one load.
inline DWORD GetCurrentThreadId()
{
    static thread_local DWORD t_dwId __attribute__((tls_model("initial-exec"))) = 0;
    if (t_dwId == 0)
        t_dwId = PlatformThreadId();
    return t_dwId;
}

// What tells the calling thread from every other that lives: pthread_self() without the call where there is a
// way.
inline pthread_t PlatformSelf()
{
#ifdef __x86_64__
    return reinterpret_cast<pthread_t>(__builtin_thread_pointer());
#else
    return pthread_self();
#endif
}

// A recursive lock in 16 bytes. State: 0 free, 1 held, 2 held with sleepers in the kernel. Owner is written
// by the holder alone, so a thread that reads itself there holds the lock.
struct CRITICAL_SECTION
{
    LONG State;
    LONG RecursionCount;
    pthread_t OwningThread;
};

void InitializeCriticalSection(CRITICAL_SECTION* p);
void DeleteCriticalSection(CRITICAL_SECTION* p);

void PlatformEnterContended(CRITICAL_SECTION* p);
void PlatformWakeOne(CRITICAL_SECTION* p);

inline void EnterCriticalSection(CRITICAL_SECTION* p)
{
    const pthread_t self = PlatformSelf();
    if (__atomic_load_n(&p->OwningThread, __ATOMIC_RELAXED) == self) {
        ++p->RecursionCount;
        return;
    }
    LONG expected = 0;
    if (PlatformSingleThreaded())
        __atomic_store_n(&p->State, 1, __ATOMIC_RELAXED);
    else if (!__atomic_compare_exchange_n(&p->State, &expected, 1, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED))
        PlatformEnterContended(p);
    __atomic_store_n(&p->OwningThread, self, __ATOMIC_RELAXED);
    p->RecursionCount = 1;
}

inline void LeaveCriticalSection(CRITICAL_SECTION* p)
{
    if (--p->RecursionCount != 0)
        return;
    __atomic_store_n(&p->OwningThread, pthread_t{}, __ATOMIC_RELAXED);
    if (PlatformSingleThreaded())
        __atomic_store_n(&p->State, 0, __ATOMIC_RELAXED);
    else if (__atomic_exchange_n(&p->State, 0, __ATOMIC_RELEASE) == 2)
        PlatformWakeOne(p);
}

#define INFINITE       0xFFFFFFFF
#define WAIT_OBJECT_0  0u
#define WAIT_ABANDONED 0x80u
#define WAIT_TIMEOUT   258u
#define WAIT_FAILED    0xFFFFFFFFu

#define WAIT_ABANDONED_0     WAIT_ABANDONED
#define MAXIMUM_WAIT_OBJECTS 64

#define MUTEX_ALL_ACCESS 0x001F0001

// Events have no names here: a name gives ERROR_NOT_SUPPORTED.
HANDLE CreateEventA(SECURITY_ATTRIBUTES* pSecurity, BOOL bManualReset, BOOL bInitialState, const char* name);
BOOL SetEvent(HANDLE hEvent);
BOOL ResetEvent(HANDLE hEvent);

// A mutex is a file in the runtime folder and two locks on it: one says that it exists, one that it is owned.
// Both go with their process, however that ends; the file that a killed one leaves says nothing. A wait for a
// mutex that another process owns looks again every 10 ms. Names tell upper from lower case, as on Windows.
HANDLE CreateMutexA(SECURITY_ATTRIBUTES* pSecurity, BOOL bInitialOwner, const char* name);
HANDLE OpenMutexA(DWORD dwAccess, BOOL bInherit, const char* name);
BOOL ReleaseMutex(HANDLE hMutex);

using _beginthreadex_proc_type = unsigned int(__stdcall*)(void*);
// Only iInitFlag 0: the thread runs at once.
std::uintptr_t _beginthreadex(void* pSecurity, unsigned int nStackSize, _beginthreadex_proc_type pStart,
                              void* pArg, unsigned int iInitFlag, unsigned int* pThreadId);

DWORD WaitForSingleObject(HANDLE hObject, DWORD dwMilliseconds);
// Where all are waited for, they are taken one after the other as soon as all were seen free; what turned out
// to be taken meanwhile is given back.
DWORD WaitForMultipleObjects(DWORD nCount, const HANDLE* pHandles, BOOL bWaitAll, DWORD dwMilliseconds);
BOOL CloseHandle(HANDLE hObject);

void Sleep(DWORD dwMilliseconds);
ULONGLONG GetTickCount64();
