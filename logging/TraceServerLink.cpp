// The link to the trace server: ServerMonitorThread finds or starts the server, registers and mends; the
// callers of Trace send.
//
//   down     the monitor searches, launches, registers. m_hServerReadyEvent is unset until the first attempt
//   ends. up       registered. The monitor waits for stop, loss, the end of the server's process, or work in
//   the queue. gone     m_bUseTraceServer is false: no program, none that came up, no rights. The monitor
//   ends, for good.
//
// Every line for the server goes through m_Queue, under m_Lock, so it leaves in the order of the other
// outputs. A caller waits for its own line, and whoever finds no send going on has the turn: it sends the
// head of the queue, with the lock free. So a line is usually queued, sent and answered by the thread that
// traced it. Who has waited HOLD_MS for a server that is there leaves its line behind and makes a backlog:
// from then on callers leave their lines and go, and the monitor sends, until the queue is empty or goes out
// fast enough to be waited for.
//
// A send that times out leaves its line in doubt: the system takes back a message that the server had not
// begun to work on, but what was begun goes on. So nothing is sent until the server has answered a question
// (AskServer): our own says how many lines it has taken, and the count tells. Any other server gets the line
// once more; when that times out too it is slow rather than stuck, and from then on its lines count as taken
// once it has answered.
#include "logging/LogWrapper.h"
#include "logging/ScreenOutput.h"
#include "logging/ServerProtocol.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

// In ms. A caller is held for 3.5 seconds at most; the rest of that is for being woken.
constexpr DWORD HOLD_MS = 3300;
constexpr DWORD SEEK_HOLD_MS = 6000;  // and so long on top while a server is sought and launched
constexpr DWORD SEND_MS = 1000;
constexpr DWORD ASK_MS = 500;
// What ServerMonitorThread may spend in one call, since Stop ends it within a second.
constexpr DWORD MONITOR_SEND_MS = 800;
constexpr DWORD FLUSH_MS = 700;  // from the stop event on

// Pause before something is tried again: doubled each time, up to the second.
constexpr DWORD FIRST_PAUSE_MS = 100;
constexpr DWORD LONGEST_PAUSE_MS = 2000;

constexpr DWORD SEARCH_STEP_MS = 10;
constexpr int SEARCH_SECONDS = 1;
constexpr int LAUNCH_SECONDS = 3;

constexpr int DOUBTS_BEFORE_BELIEF = 2;

// A backlog ends when, by the pace of so many lines, the rest is out within that time.
constexpr DWORD PACE_LINES = 20;
constexpr DWORD PACE_MS = 1000;

constexpr char DROPPED_TEXT[] = "LogWrapper::Trace, %u lines for the trace server were dropped.";

DWORD NextPause(DWORD dwPause)
{
    return dwPause == 0 ? FIRST_PAUSE_MS : std::min(2 * dwPause, LONGEST_PAUSE_MS);
}

void WriteScreenText(const char* text) { WriteScreen(text, strlen(text)); }

// A line of the link's own on standard output, whatever the settings say.
void TellScreen(const std::string& sText)
{
    char szTime[9];
    _strtime(szTime);
    const std::string sLine = szTime + ("  " + sText) + '\n';
    WriteScreen(sLine.data(), sLine.size());
}

}  // namespace

// The mutex is there, and held, from here to the end of this thread, whatever becomes of the link.
unsigned int LogWrapper::ServerMonitorThread(void* pThis)
{
    LogWrapper* const p = static_cast<LogWrapper*>(pThis);
    p->SetThreadId();
    p->CreateClientMutex();
    try {
        p->MonitorServer();
    } catch (const std::exception& e) {
        WriteScreenText("LogWrapper::ServerMonitorThread, caught exception: ");
        TellScreen(e.what());
    }
    p->Abandon();
    if (p->m_hClientMutex != nullptr) {
        ReleaseMutex(p->m_hClientMutex);
        CloseHandle(p->m_hClientMutex);
        p->m_hClientMutex = nullptr;
    }
    return 0;
}

void LogWrapper::MonitorServer()
{
    DWORD dwPause = 0;
    while (UsesTraceServer() && !Pause(dwPause)) {
        SetSeeking(true);
        const bool bUp = LaunchTraceServer();
        SetSeeking(false);
        const bool bRegistered = bUp && RegisterWithTraceServer();
        if (bRegistered)
            LinkUp();
        else
            LinkDown();
        SetEvent(m_hServerReadyEvent);
        if (bRegistered && !WatchServer())
            break;
        dwPause = bRegistered ? FIRST_PAUSE_MS : NextPause(dwPause);
    }
}

bool LogWrapper::UsesTraceServer()
{
    ScopedLock lock(&m_Lock);
    return m_bUseTraceServer;
}

void LogWrapper::SetSeeking(bool bSeeking)
{
    ScopedLock lock(&m_Lock);
    m_bSeeking = bSeeking;
}

// True when the stop event has come.
bool LogWrapper::Pause(DWORD dwMilliseconds)
{
    return WaitForSingleObject(m_hStopEvent, dwMilliseconds) == WAIT_OBJECT_0;
}

bool LogWrapper::CreateClientMutex()
{
    m_sClientId = m_sExeName + '_' + m_sProcessId + '_' + m_sThreadId;
    m_hClientMutex = CreateMutexA(nullptr, TRUE, m_sClientId.c_str());
    return true;
}

bool LogWrapper::LaunchTraceServer()
{
    TellScreen("LogWrapper::LaunchTraceServer, started");
    if (!UsesTraceServer() || m_sTraceServer.empty()) {
        Abandon();
        return false;
    }
    if (WaitForServerWindowHandle(SEARCH_SECONDS))
        return true;
    return !Pause(0) && LaunchNewServer();
}

bool LogWrapper::LaunchNewServer()
{
    // The program's path is given by itself too, so that blanks in it do no harm.
    std::string sCommand = m_sTraceServer + ' ' + m_sTraceFileName + " \"" + m_sRegistryPath + '"';
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessA(m_sTraceServer.c_str(), &sCommand[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process)) {
        Abandon();
        return false;
    }
    const bool bUp = WaitForServerWindowHandle(LAUNCH_SECONDS);
    if (!bUp)
        TerminateProcess(process.hProcess, 0);
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
    if (!bUp && !Pause(0))
        Abandon();
    TellScreen("LogWrapper::LaunchTraceServer, finished");
    return bUp;
}

// Window and process are looked for afresh in each step: a window whose process went meanwhile is no find.
bool LogWrapper::WaitForServerWindowHandle(int seconds)
{
    const ULONGLONG ullStart = GetTickCount64();
    TellScreen("LogWrapper::WaitForServerWindowHandle(" + std::to_string(seconds) + ")");
    HWND hWnd = nullptr;
    DWORD dwProcessId = 0;
    HANDLE hProcess = nullptr;
    bool bTimedOut = false;
    do {
        bTimedOut = GetTickCount64() - ullStart >= static_cast<ULONGLONG>(seconds) * 1000;
        hWnd = FindWindowA(m_sTraceFileName.c_str(), m_sTraceFileName.c_str());
        dwProcessId = 0;
        if (hWnd != nullptr)
            GetWindowThreadProcessId(hWnd, &dwProcessId);
        if (dwProcessId > 0)
            hProcess = OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION, FALSE, dwProcessId);
    } while (hProcess == nullptr && !bTimedOut && !Pause(SEARCH_STEP_MS));
    TellScreen("LogWrapper::WaitForServerWindowHandle(" + std::to_string(seconds) + "), finished");

    if (hProcess == nullptr || bTimedOut) {
        if (hProcess != nullptr)
            CloseHandle(hProcess);
        SetEvent(m_hServerLostEvent);
        return false;
    }
    ScopedLock lock(&m_Lock);
    m_hServerWnd = hWnd;
    m_nServerProcessId = dwProcessId;
    m_hServerProcess = hProcess;
    ResetEvent(m_hServerLostEvent);
    return true;
}

// A registration that timed out may have been taken: a server that answers afterwards knows its clients, or
// has, at the second time, shown that it is slow.
bool LogWrapper::RegisterWithTraceServer()
{
    TellScreen("LogWrapper::RegisterWithTraceServer, sending registration");
    if (!IsWindow(m_hServerWnd))
        return false;
    SendResult result = SendText(m_hServerWnd, SERVER_REGISTRATION, m_sClientId, MONITOR_SEND_MS);
    if (result == SendResult::TimedOut) {
        DWORD_PTR dwAnswer = 0;
        for (int i = 0; i < 2 && result == SendResult::TimedOut && !Pause(0); ++i)
            result = AskServer(m_hServerWnd, ASK_MS, &dwAnswer);
        const bool bKnown = IsServerCount(dwAnswer);
        if (result == SendResult::Answered && !bKnown &&
            (dwAnswer == SERVER_NO_CLIENT || ++m_nRegistrationDoubts < DOUBTS_BEFORE_BELIEF))
            result = SendResult::TimedOut;
    }
    if (result != SendResult::Answered) {
        WriteScreenText("Failed to register with trace server.\n");
        if (result == SendResult::NoRights)
            Abandon();
        return false;
    }
    if (!Pause(0))
        SendText(m_hServerWnd, SERVER_LINE,
                 "********* Started logging facility for " + m_sClientId + " *********", MONITOR_SEND_MS);
    return true;
}

void LogWrapper::LinkUp()
{
    ScopedLock lock(&m_Lock);
    m_bLinked = true;
    ++m_nLink;
    m_nTaken = 0;
    m_nDoubts = 0;
    m_nRegistrationDoubts = 0;
    m_bSlow = false;
    m_dwRefusedPause = 0;
    m_ullNextAttempt = 0;
    PassTurn();
}

// What is in doubt is sent again on the next link: the server that could tell is gone.
void LogWrapper::LinkDown()
{
    ScopedLock lock(&m_Lock);
    ResetEvent(m_hServerReadyEvent);
    if (m_hServerProcess != nullptr)
        CloseHandle(m_hServerProcess);
    m_hServerProcess = nullptr;
    m_nServerProcessId = 0;
    m_hServerWnd = nullptr;
    m_bLinked = false;
    ++m_nLink;
    m_bHeadInDoubt = false;
}

// For good, by the monitor or by a caller whose send was refused for want of rights.
void LogWrapper::Abandon()
{
    ScopedLock lock(&m_Lock);
    m_bUseTraceServer = false;
    m_bLinked = false;
    ++m_nLink;
    const unsigned int nLost = m_Queue.Clear();
    SetEvent(m_hServerReadyEvent);
    SetEvent(m_hServerLostEvent);
    PassTurn();
    if (nLost != 0)
        Trace(TRACE_ALWAYS, DROPPED_TEXT, nLost);
}

// The monitor while the link is up. It sends what no caller sends: lines of a backlog, and of threads that do
// not wait. Result: false after the stop event, else the link is down.
bool LogWrapper::WatchServer()
{
    const HANDLE ahEvents[] = {m_hStopEvent, m_hServerLostEvent, m_hServerProcess, m_hWorkEvent};
    DWORD dwResult = WAIT_TIMEOUT;
    while (dwResult == WAIT_TIMEOUT || dwResult == WAIT_OBJECT_0 + 3) {
        DWORD dwWait = INFINITE;
        ScopedLock lock(&m_Lock);
        if (m_bLinked && !m_Queue.IsEmpty() && m_nWaiters == 0 && m_nSenderThreadId == 0) {
            const ULONGLONG ullNow = GetTickCount64();
            if (ullNow >= m_ullNextAttempt) {
                TryHead(lock, MONITOR_SEND_MS);
                PassTurn();
                dwWait = 0;
            } else {
                dwWait = static_cast<DWORD>(m_ullNextAttempt - ullNow);
            }
        }
        lock.Unlock();
        dwResult = WaitForMultipleObjects(4, ahEvents, FALSE, dwWait);
    }
    const bool bStop = dwResult == WAIT_OBJECT_0;
    if (bStop) {
        ScopedLock lock(&m_Lock);
        FlushQueue(lock);
    }
    LinkDown();
    return !bStop;
}

// What stands in the queue when the logger stops goes out as far as the server takes it at once.
void LogWrapper::FlushQueue(ScopedLock& lock)
{
    const ULONGLONG ullEnd = m_ullStop + FLUSH_MS;
    bool bTaken = true;
    while (bTaken && m_bLinked && !m_Queue.IsEmpty() && m_nSenderThreadId == 0) {
        const ULONGLONG ullNow = GetTickCount64();
        bTaken = ullNow < ullEnd && TryHead(lock, static_cast<DWORD>(ullEnd - ullNow));
    }
}

std::string LogWrapper::ServerLine(const char* text, size_t nText, const std::string& sNotes) const
{
    char szNumber[24];
    std::string sLine;
    sLine.reserve(m_sProcessName.size() + nText + sNotes.size() + 40);
    snprintf(szNumber, sizeof szNumber, "%4s  ", m_sProcessId.c_str());
    sLine += szNumber;
    sLine += m_sProcessName;
    sLine += "  ";
    if ((m_nTraceMask.load(std::memory_order_relaxed) & TRACE_THREAD_ID) != 0) {
        snprintf(szNumber, sizeof szNumber, "Thd(%4u)  ", static_cast<unsigned int>(GetCurrentThreadId()));
        sLine += szNumber;
    }
    sLine.append(text, nText);
    sLine += sNotes;
    return sLine;
}

// Queues the line and waits for the server to take it. Lines of Start that find no link skip the server.
int LogWrapper::Deliver(ScopedLock& lock, const char* text, size_t nText, const std::string& sNotes,
                        Wait wait)
{
    if (m_bStarting && !m_bLinked)
        return -1;
    TellDropped();
    const LineQueue::Ticket ticket = m_Queue.Append(ServerLine(text, nText, sNotes));
    // A thread whose window is called in the midst of its own send traces too, and must not wait for itself.
    const bool bInSend = m_nSenderThreadId == GetCurrentThreadId();
    if (ticket == 0 || m_bBacklog || bInSend || wait == Wait::MayNot) {
        PassTurn();
        return -1;
    }

    ULONGLONG ullNow = GetTickCount64();
    ULONGLONG ullEnd = ullNow + HOLD_MS;
    const ULONGLONG ullLatestEnd = ullEnd + SEEK_HOLD_MS;
    const HANDLE ahEvents[] = {m_hStopEvent, m_hTurnEvent};
    while (!m_Queue.IsDone(ticket) && m_bUseTraceServer && !m_bStopping) {
        if (ullNow >= ullEnd) {
            StartBacklog();
            break;
        }
        DWORD dwLeft = static_cast<DWORD>(ullEnd - ullNow);
        if (m_bLinked && m_nSenderThreadId == 0 && ullNow >= m_ullNextAttempt) {
            if (!TryHead(lock, std::min(dwLeft, SEND_MS)))
                WriteScreenText(
                    "CRITICAL: LogWrapper::Trace(TCHAR*) Failed to write message to trace server.\n");
            ullNow = GetTickCount64();
            continue;
        }
        if (m_bLinked && m_ullNextAttempt > ullNow)
            dwLeft = std::min(dwLeft, static_cast<DWORD>(m_ullNextAttempt - ullNow));
        const bool bSought = m_bSeeking;
        const ULONGLONG ullWas = ullNow;
        ++m_nWaiters;
        lock.Unlock();
        WaitForMultipleObjects(2, ahEvents, FALSE, dwLeft);
        lock.Lock();
        --m_nWaiters;
        ullNow = GetTickCount64();
        if (bSought)
            ullEnd = std::min(ullEnd + (ullNow - ullWas), ullLatestEnd);
    }
    PassTurn();
    return m_Queue.IsDone(ticket) ? 1 : -1;
}

// To the next caller that waits, or to the monitor when none does and something is left.
void LogWrapper::PassTurn()
{
    if (m_nSenderThreadId != 0)
        return;
    if (m_nWaiters > 0)
        SetEvent(m_hTurnEvent);
    else if (!m_Queue.IsEmpty())
        SetEvent(m_hWorkEvent);
}

// One attempt at the head of the queue, with the lock free while it lasts. False: it failed, the head is
// still there.
bool LogWrapper::TryHead(ScopedLock& lock, DWORD dwTimeout)
{
    const bool bAsk = m_bHeadInDoubt;
    const LineQueue::Ticket ticket = m_Queue.HeadTicket();
    const unsigned int nLink = m_nLink;
    const HWND hWnd = m_hServerWnd;
    m_sSending = m_Queue.Head();
    m_nSenderThreadId = GetCurrentThreadId();
    lock.Unlock();
    DWORD_PTR dwAnswer = 0;
    const SendResult result = bAsk ? AskServer(hWnd, std::min(dwTimeout, ASK_MS), &dwAnswer)
                                   : SendText(hWnd, SERVER_LINE, m_sSending, dwTimeout);
    lock.Lock();
    m_nSenderThreadId = 0;

    const bool bTaken = result == SendResult::Answered && !bAsk;
    if (nLink != m_nLink) {
        // What a server that is gone by now has taken it has taken; of anything else it tells nothing.
        if (bTaken && !m_Queue.IsEmpty() && m_Queue.HeadTicket() == ticket)
            HeadDone();
        return bTaken;
    }
    switch (result) {
    case SendResult::Answered:
        m_dwRefusedPause = 0;
        if (bAsk) {
            SettleDoubt(dwAnswer);
        } else {
            m_bSlow = false;
            ++m_nTaken;
            HeadDone();
        }
        return true;
    case SendResult::TimedOut: m_bHeadInDoubt = true; break;
    case SendResult::Refused:
        m_dwRefusedPause = NextPause(m_dwRefusedPause);
        m_ullNextAttempt = GetTickCount64() + m_dwRefusedPause;
        break;
    case SendResult::NoRights: Abandon(); break;
    case SendResult::WindowGone: LoseLink(); break;
    }
    return false;
}

// By a sender; the monitor mends it.
void LogWrapper::LoseLink()
{
    m_bLinked = false;
    ++m_nLink;
    m_bHeadInDoubt = false;
    SetEvent(m_hServerLostEvent);
}

// The server has answered: the line in doubt was taken before, or never will be.
void LogWrapper::SettleDoubt(DWORD_PTR dwAnswer)
{
    m_bHeadInDoubt = false;
    if (dwAnswer == SERVER_NO_CLIENT) {
        LoseLink();
    } else if (IsServerCount(dwAnswer)) {
        const bool bTaken = dwAnswer == ServerCount(m_nTaken + 1);
        m_nTaken = static_cast<DWORD>(dwAnswer - ServerCount(0));
        if (bTaken)
            HeadDone();
    } else if (m_bSlow || ++m_nDoubts >= DOUBTS_BEFORE_BELIEF) {
        m_bSlow = true;
        HeadDone();
    }
}

void LogWrapper::StartBacklog()
{
    m_bBacklog = true;
    m_nPaceLines = 0;
}

void LogWrapper::HeadDone()
{
    m_Queue.HeadDone();
    m_nDoubts = 0;
    if (m_bBacklog) {
        const ULONGLONG ullNow = GetTickCount64();
        if (m_nPaceLines++ == 0)
            m_ullPaceStart = ullNow;
        if (m_nPaceLines > PACE_LINES) {
            if ((ullNow - m_ullPaceStart) * m_Queue.Size() <= PACE_MS * PACE_LINES)
                m_bBacklog = false;
            m_nPaceLines = 0;
        }
    }
    if (m_Queue.IsEmpty()) {
        m_bBacklog = false;
        TellDropped();
    }
}

// In the place where the lines are missing.
void LogWrapper::TellDropped()
{
    const unsigned int nDropped = m_Queue.TakeDropped();
    if (nDropped == 0)
        return;
    char szText[80];
    const int n = snprintf(szText, sizeof szText, DROPPED_TEXT, nDropped);
    m_Queue.Append(ServerLine(szText, static_cast<size_t>(n), std::string()));
}

LogWrapper::SendResult LogWrapper::SendText(HWND hWnd, ULONG_PTR nKind, const std::string& sText,
                                            DWORD dwTimeout)
{
    COPYDATASTRUCT data = {};
    data.dwData = nKind;
    data.cbData = static_cast<DWORD>(sText.size() + 1);
    data.lpData = const_cast<char*>(sText.c_str());
    return Send(hWnd, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data), dwTimeout, nullptr);
}

// A message that every window takes and none acts on, but for a trace server of ours.
LogWrapper::SendResult LogWrapper::AskServer(HWND hWnd, DWORD dwTimeout, DWORD_PTR* pdwAnswer)
{
    return Send(hWnd, WM_NULL, static_cast<WPARAM>(_getpid()), SERVER_QUESTION, dwTimeout, pdwAnswer);
}

LogWrapper::SendResult LogWrapper::Send(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam,
                                        DWORD dwTimeout, DWORD_PTR* pdwAnswer)
{
    SetLastError(ERROR_SUCCESS);
    if (SendMessageTimeoutA(hWnd, nMessage, wParam, lParam, SMTO_NORMAL, dwTimeout, pdwAnswer) != 0)
        return SendResult::Answered;
    const DWORD dwError = GetLastError();
    // First, since a window that goes while it has the message may count as one that may not be sent to.
    if (!IsWindow(hWnd))
        return SendResult::WindowGone;
    if (dwError == ERROR_ACCESS_DENIED)
        return SendResult::NoRights;
    // A system that tells no error means the time.
    return dwError == ERROR_TIMEOUT || dwError == ERROR_SUCCESS ? SendResult::TimedOut : SendResult::Refused;
}
