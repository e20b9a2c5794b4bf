#include "logging/LogWrapper.h"

#include <climits>

namespace {

const char DEFAULT_REGISTRY_PATH[] = "HKLM\\Software\\Zelko Systems\\Orvex\\Logging";

// Guards the making and the deletion of the logger. Made on first use, so that static objects of clients can
// log, and never destroyed, so that they still can at the end of the process.
CritSecLock& StaticLock()
{
    static CritSecLock* pLock = new CritSecLock;
    return *pLock;
}

std::atomic<LogWrapper*> s_pInstance{nullptr};

}  // namespace

int StripedCount::Sum() const
{
    LONG64 ll = 0;
    for (const Stripe& stripe : m_aStripes)
        ll += InterlockedExchangeAdd64(const_cast<LONG64*>(&stripe.ll), 0);
    return ll > INT_MAX ? INT_MAX : static_cast<int>(ll);
}

LogWrapper* LogWrapper::Construct(const std::string& sRegistryPath)
{
    LogWrapper* p = new LogWrapper(sRegistryPath);
    s_pInstance.store(p, std::memory_order_release);
    return p;
}

LogWrapper* LogWrapper::Instance(std::string& sRegistryPath)
{
    ScopedLock lock(&StaticLock());
    LogWrapper* p = s_pInstance.load(std::memory_order_acquire);
    if (p == nullptr)
        p = Construct(sRegistryPath);
    p->AddRef();
    return p;
}

// Once a reference has been taken for good nothing deletes the object, and the static lock has nothing to
// guard.
LogWrapper* LogWrapper::Instance()
{
    LogWrapper* p = s_pInstance.load(std::memory_order_acquire);
    if (p != nullptr && p->m_bForGood.load(std::memory_order_relaxed)) {
        p->TakeReference();
        return p;
    }
    ScopedLock lock(&StaticLock());
    p = s_pInstance.load(std::memory_order_acquire);
    if (p == nullptr) {
        p = Construct(DEFAULT_REGISTRY_PATH);
        p->TakeReference();
        p->m_bForGood.store(true, std::memory_order_relaxed);
    }
    p->TakeReference();
    return p;
}

LogWrapper* LogWrapper::InstanceForGood()
{
    LogWrapper* p = s_pInstance.load(std::memory_order_acquire);
    if (p == nullptr || !p->m_bForGood.load(std::memory_order_relaxed)) {
        ScopedLock lock(&StaticLock());
        p = s_pInstance.load(std::memory_order_acquire);
        if (p == nullptr)
            return Instance();
        p->m_bForGood.store(true, std::memory_order_relaxed);
    }
    p->TakeReference();
    return p;
}

LogWrapper::LogWrapper(const std::string& sRegistryPath)
    : m_nTraceMask(7), m_nConsoleTraceMask(3), m_bForGood(false), m_sRegistryPath(sRegistryPath),
      m_bScreenOutput(true), m_bDebugOutput(true)
{
}

LogWrapper::~LogWrapper() { Trace(TRACE_REFS, "LogWrapper::~LogWrapper()"); }

unsigned int LogWrapper::GetTraceMask() { return m_nTraceMask.load(std::memory_order_relaxed); }

void LogWrapper::TakeReference()
{
    if (IsTraceEnabled(TRACE_REFS)) {
        const int n = m_nRefCount.Sum();
        Trace(TRACE_REFS, "LogWrapper::AddRef() %d -> %d", n, n + 1);
    }
    m_nRefCount.Add(1);
}

int LogWrapper::AddRef()
{
    TakeReference();
    return m_nRefCount.Sum();
}

bool LogWrapper::GiveBackReference()
{
    if (IsTraceEnabled(TRACE_REFS)) {
        const int n = m_nRefCount.Sum();
        Trace(TRACE_REFS, "LogWrapper::Release() %d -> %d", n, n - 1);
    }
    if (!m_bForGood.load(std::memory_order_relaxed))
        return false;
    m_nRefCount.Add(-1);
    return true;
}

int LogWrapper::Release()
{
    if (GiveBackReference())
        return m_nRefCount.Sum();
    return ReleaseLast();
}

// A reference that may be the last: the lock keeps Instance away until that is known.
int LogWrapper::ReleaseLast()
{
    ScopedLock lock(&StaticLock());
    m_nRefCount.Add(-1);
    const int n = m_nRefCount.Sum();
    if (n != 0)
        return n;
    Trace(TRACE_DELETE, "LogWrapper::Release() %d -> %d. Deleting object.", n + 1, n);
    s_pInstance.store(nullptr, std::memory_order_release);
    delete this;
    return 0;
}
