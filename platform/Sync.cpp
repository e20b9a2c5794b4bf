#include "platform/Sync.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

void Futex(LONG* p, int iOperation, LONG lValue)
{
    syscall(SYS_futex, p, iOperation | FUTEX_PRIVATE_FLAG, lValue, nullptr, nullptr, 0);
}

}  // namespace

DWORD PlatformThreadId() { return static_cast<DWORD>(gettid()); }

void InitializeCriticalSection(CRITICAL_SECTION* p)
{
    p->State = 0;
    p->RecursionCount = 0;
    p->OwningThread = pthread_t{};
}

void DeleteCriticalSection(CRITICAL_SECTION*) {}

// A short spin first: most sections are held for less time than a sleep takes.
void PlatformEnterContended(CRITICAL_SECTION* p)
{
    for (int i = 0; i < 100; ++i) {
        LONG expected = 0;
        if (__atomic_load_n(&p->State, __ATOMIC_RELAXED) == 0 &&
            __atomic_compare_exchange_n(&p->State, &expected, 1, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED))
            return;
    }
    while (__atomic_exchange_n(&p->State, 2, __ATOMIC_ACQUIRE) != 0)
        Futex(&p->State, FUTEX_WAIT, 2);
}

void PlatformWakeOne(CRITICAL_SECTION* p) { Futex(&p->State, FUTEX_WAKE, 1); }
