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
// The same object from the moment on when a reference was taken that nobody gives back: then it is never
// deleted, and may be looked at without the lock.
std::atomic<LogWrapper*> s_pForGood{nullptr};

// The threads run code of this module for as long as the logger lives, which is to the end of most processes,
// so the module stays loaded from the first of them on.
HANDLE StartThread(_beginthreadex_proc_type pStart, LogWrapper* pThis, unsigned int* pnThreadId)
{
    HMODULE hModule = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<const char*>(&s_pInstance), &hModule);
    return reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, pStart, pThis, 0, pnThreadId));
}

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
    LogWrapper* p = s_pForGood.load(std::memory_order_acquire);
    if (p == nullptr) {
        ScopedLock lock(&StaticLock());
        p = s_pInstance.load(std::memory_order_acquire);
        if (p != nullptr) {
            p->TakeReference();
            return p;
        }
        p = Construct(DEFAULT_REGISTRY_PATH);
        p->TakeReference();
        s_pForGood.store(p, std::memory_order_release);
    }
    p->TakeReference();
    return p;
}

LogWrapper* LogWrapper::InstanceForGood()
{
    LogWrapper* p = s_pForGood.load(std::memory_order_acquire);
    if (p == nullptr) {
        ScopedLock lock(&StaticLock());
        p = Instance();
        s_pForGood.store(p, std::memory_order_release);
        return p;
    }
    p->TakeReference();
    return p;
}

LogWrapper::LogWrapper(const std::string& sRegistryPath)
    : m_nTraceMask(7), m_nConsoleTraceMask(3), m_nWaitThreadId(0), m_hWaitThread(nullptr), m_hKey(nullptr),
      m_hStopEvent(CreateEventA(nullptr, TRUE, FALSE, nullptr)), m_sRegistryPath(sRegistryPath),
      m_hServerWnd(nullptr), m_bUseTraceServer(true),
      m_hServerLostEvent(CreateEventA(nullptr, TRUE, TRUE, nullptr)), m_nServerProcessId(0),
      m_hServerProcess(nullptr), m_hMonitorThread(nullptr), m_nMonitorThreadId(0), m_hClientMutex(nullptr),
      m_hServerReadyEvent(CreateEventA(nullptr, TRUE, FALSE, nullptr)), m_bScreenOutput(true),
      m_bDebugOutput(true), m_bStarting(true), m_bStopping(false), m_ullStop(0), m_llStampSecond(-1),
      m_szStampTime(), m_hTurnEvent(CreateEventA(nullptr, FALSE, FALSE, nullptr)),
      m_hWorkEvent(CreateEventA(nullptr, FALSE, FALSE, nullptr)), m_nWaiters(0), m_nSenderThreadId(0),
      m_bSeeking(false), m_bLinked(false), m_nLink(0), m_bBacklog(false), m_nPaceLines(0), m_ullPaceStart(0),
      m_ullNextAttempt(0), m_dwRefusedPause(0), m_bHeadInDoubt(false), m_nDoubts(0), m_nRegistrationDoubts(0),
      m_bSlow(false), m_nTaken(0)
{
    try {
        SetProcessId();
        SetProcessName();
        std::string sPath(sRegistryPath);
        OpenRegistryPath(sPath);
        Start();
    } catch (...) {
        Stop();
        CloseHandles();
        throw;
    }
}

LogWrapper::~LogWrapper()
{
    Trace(TRACE_REFS, "LogWrapper::~LogWrapper()");
    Stop();
    CloseHandles();
}

// m_Lock is not held: no other thread knows this object yet but the two that are started here, and what they
// share with Start they take the lock for. A line is written before a change of the outputs takes effect, so
// the lines up to the states of the outputs reach the screen whatever the settings say.
bool LogWrapper::Start()
{
    if (!ReadTraceFileName()) {
        m_bUseTraceServer = false;
        m_bStarting = false;
        SetEvent(m_hServerReadyEvent);
        return false;
    }
    ReadTraceMask();
    ReadConsoleTraceMask();
    const bool bScreen = ReadUseScreenOutput() != 0;
    const bool bDebug = ReadUseDebugOutput() != 0;
    ReadTraceServer();

    if (m_bUseTraceServer) {
        m_hMonitorThread = StartThread(&ServerMonitorThread, this, &m_nMonitorThreadId);
        if (m_hMonitorThread != nullptr) {
            WaitForSingleObject(m_hServerReadyEvent, INFINITE);
            Trace(TRACE_ALWAYS, "LogWrapper::Start, ServerMonitorThread started successfully.");
        } else {
            m_bUseTraceServer = false;
            SetEvent(m_hServerReadyEvent);
            Trace(TRACE_ALWAYS, "LogWrapper::Start, ServerMonitorThread failed to start.");
        }
    }
    Trace(TRACE_ALWAYS,
          bDebug ? "LogWrapper::Start, Debug Output is ON." : "LogWrapper::Start, Debug Output is OFF.");
    Trace(TRACE_ALWAYS,
          bScreen ? "LogWrapper::Start, Screen Output is ON." : "LogWrapper::Start, Screen Output is OFF.");
    m_bScreenOutput.store(bScreen, std::memory_order_relaxed);
    m_bDebugOutput.store(bDebug, std::memory_order_relaxed);

    m_hWaitThread = StartThread(&WaitThread, this, &m_nWaitThreadId);
    Trace(TRACE_ALWAYS, m_hWaitThread != nullptr
                            ? "LogWrapper::Start, WaitThread started successfully."
                            : "LogWrapper::Start, WaitThread did not start successfully.");
    ScopedLock lock(&m_Lock);
    m_bStarting = false;
    return true;
}

// The key is closed behind the threads, one of which reads it. Everything that either waits for ends on the
// event.
bool LogWrapper::Stop()
{
    {
        ScopedLock lock(&m_Lock);
        m_bStopping = true;
        m_ullStop = GetTickCount64();
        if (m_hStopEvent != nullptr)
            SetEvent(m_hStopEvent);
    }
    HANDLE ahThreads[2];
    DWORD nThreads = 0;
    for (HANDLE hThread : {m_hMonitorThread, m_hWaitThread})
        if (hThread != nullptr)
            ahThreads[nThreads++] = hThread;
    if (nThreads != 0)
        WaitForMultipleObjects(nThreads, ahThreads, TRUE, INFINITE);
    if (m_hKey != nullptr)
        RegCloseKey(m_hKey);
    m_hKey = nullptr;
    return true;
}

void LogWrapper::CloseHandles()
{
    for (HANDLE hObject : {m_hStopEvent, m_hServerReadyEvent, m_hServerLostEvent, m_hTurnEvent, m_hWorkEvent,
                           m_hWaitThread, m_hMonitorThread})
        if (hObject != nullptr)
            CloseHandle(hObject);
}

void LogWrapper::SetProcessName()
{
    char szPath[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, szPath, sizeof szPath - 1);
    const std::string sPath(szPath);
    m_sExeName = sPath.substr(sPath.rfind('\\') + 1);
    m_sProcessName = m_sExeName.substr(0, m_sExeName.rfind('.'));
}

void LogWrapper::SetProcessId() { m_sProcessId = std::to_string(_getpid()); }

void LogWrapper::SetThreadId() { m_sThreadId = std::to_string(GetCurrentThreadId()); }

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
    if (s_pForGood.load(std::memory_order_relaxed) != this)
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
