// LogWrapper: the one logging object of a process. Traces go to standard output, the debug output and a trace
// server under bit masks; a trace never fails, and never throws at, its caller.
//
// A line's mask passes a held mask when all of its bits are set there. The trace mask decides with the
// console mask whether a line is written at all, the console mask alone whether it reaches standard output.
//
// One line is one unit: its outputs are not mixed with another thread's. Masks and output flags are relaxed
// atomics, so a test of them costs no lock.
//
// Settings come from a registry key and are followed while the process runs, by a thread that watches the
// key. A second thread finds or starts the trace server and mends the link to it. Both run from construction
// to deletion, which most processes never see, and only where the key names a trace file.
#pragma once

#include "logging/LineQueue.h"
#include "logging/StripedCount.h"
#include "logging/TraceMask.h"
#include "values/Locks.h"

#include <atomic>
#include <cstdarg>
#include <string>

#ifdef __GNUC__
#define ORVEX_PRINTF(fmtIndex, firstArg) __attribute__((format(printf, fmtIndex, firstArg)))
#else
#define ORVEX_PRINTF(fmtIndex, firstArg)
#endif

class LogWrapper final
{
public:
    // A counted reference to the logger, which the first call makes: with the given registry path, or with
    // the default one. A path given later is ignored. The reference is given back by Release.
    //
    // The form without a path leaves one reference over when it makes the logger, so that such a logger lives
    // until the process ends. The making waits for the trace server, if there is to be one: up to four
    // seconds.
    static LogWrapper* Instance(std::string& sRegistryPath);
    static LogWrapper* Instance();
    // Instance() for those that never give their reference back, as values do: from the first of them on the
    // logger lives until the process ends, and a reference takes no lock and no line shared between threads.
    static LogWrapper* InstanceForGood();

    // Writes a line if its mask passes. The formatting forms take a printf format; text beyond 16383 bytes is
    // cut, and text above 80 characters is wrapped into pieces. length counts characters. The last form is
    // the writer: its text is ready and its mask is tested for standard output alone.
    //
    // Results: 1 when the trace server took the line, -1 otherwise; the form with an ellipsis always gives
    // -1. A trace server that hangs holds a caller for 3.5 seconds at most. What it has not taken by then
    // follows in order when it answers again.
    virtual int Trace(unsigned int mask, const char* fmt, va_list args) ORVEX_PRINTF(3, 0);
    virtual int Trace(unsigned int mask, const char* fmt, ...) ORVEX_PRINTF(3, 4);
    virtual int TraceMultiline(unsigned int mask, const char* text, int length);
    virtual int Trace(unsigned int mask, char* text);

    virtual unsigned int GetTraceMask();
    virtual bool IsTraceEnabled(unsigned int mask)
    {
        const unsigned int nTrace = m_nTraceMask.load(std::memory_order_relaxed);
        const unsigned int nConsole = m_nConsoleTraceMask.load(std::memory_order_relaxed);
        if (((nTrace | nConsole) & mask) != mask)
            return false;
        return (nTrace & mask) == mask || (nConsole & mask) == mask;
    }
    virtual bool IsConsoleTraceEnabled(unsigned int mask)
    {
        return (m_nConsoleTraceMask.load(std::memory_order_relaxed) & mask) == mask;
    }

    // Both return the new count. The last reference given back deletes the object.
    virtual int AddRef();
    virtual int Release();

    virtual ~LogWrapper();

private:
    // The logger's own machinery. These stand in slot order behind the destructor.
    //
    // The path is hive, backslash, key path: "HKCU" in any case, and HKEY_LOCAL_MACHINE for everything else.
    // Below five characters it throws std::out_of_range.
    virtual bool OpenRegistryPath(std::string& sRegistryPath);
    virtual bool Start();
    virtual bool Stop();

    virtual bool ReadTraceMask();         // true: the mask changed
    virtual bool ReadConsoleTraceMask();  // true: the mask changed
    virtual bool ReadTraceServer();
    virtual int ReadUseScreenOutput();  // 0 is off, all else is on; the flag is left to the caller
    virtual int ReadUseDebugOutput();

    virtual bool LaunchTraceServer();
    virtual bool CreateClientMutex();
    virtual bool RegisterWithTraceServer();
    virtual bool WaitForServerWindowHandle(int seconds);

    virtual void SetProcessName();
    virtual void SetProcessId();
    virtual void SetThreadId();

    enum class SendResult  // of one message to the server
    {
        Answered,
        TimedOut,
        Refused,     // not delivered, for a reason that may pass
        NoRights,    // not delivered, nor will the next be
        WindowGone,  // no such window any more
    };

    explicit LogWrapper(const std::string& sRegistryPath);

    static LogWrapper* Construct(const std::string& sRegistryPath);
    friend class Logger;  // takes and gives back without asking for the count
    void TakeReference();
    void CloseHandles();
    bool GiveBackReference();  // false where the reference may be the last and ReleaseLast must see to it
    int ReleaseLast();

    // TraceWriter.cpp. Write takes a line with room for its stamp in front of the text; MayWait is false for
    // the logger's own thread that nothing may hold.
    enum class Wait
    {
        May,
        MayNot
    };
    int Write(unsigned int mask, std::string& sLine, Wait wait);
    int Write(unsigned int mask, char* pLine, size_t nText, Wait wait);
    void StampTime(char* pStamp);

    // LoggingSettings.cpp
    bool ReadTraceFileName();
    bool ReadMask(const char* valueName, std::atomic<unsigned int>& nMask);
    int ReadSwitch(const char* valueName, const std::atomic<bool>& bFlag);
    static unsigned int __stdcall WaitThread(void* pThis);
    void WatchSettings();
    void FollowSettings();
    void Tell(const char* fmt, ...) ORVEX_PRINTF(2, 3);

    // TraceServerLink.cpp. Those that take the guard are called with m_Lock held and hold it on return.
    static unsigned int __stdcall ServerMonitorThread(void* pThis);
    void MonitorServer();
    bool LaunchNewServer();
    bool WatchServer();
    void LinkUp();
    void LinkDown();
    void LoseLink();
    void Abandon();
    void FlushQueue(ScopedLock& lock);
    bool UsesTraceServer();
    void SetSeeking(bool bSeeking);
    bool Pause(DWORD dwMilliseconds);
    int Deliver(ScopedLock& lock, const char* text, size_t nText, const std::string& sNotes, Wait wait);
    bool TryHead(ScopedLock& lock, DWORD dwTimeout);
    void SettleDoubt(DWORD_PTR dwAnswer);
    void StartBacklog();
    void HeadDone();
    void TellDropped();
    void PassTurn();
    std::string ServerLine(const char* text, size_t nText, const std::string& sNotes) const;
    SendResult SendText(HWND hWnd, ULONG_PTR nKind, const std::string& sText, DWORD dwTimeout);
    SendResult AskServer(HWND hWnd, DWORD dwTimeout, DWORD_PTR* pdwAnswer);
    SendResult Send(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam, DWORD dwTimeout,
                    DWORD_PTR* pdwAnswer);

    // The masks are read by every thread and written once in a while. The count's stripes, each a cache
    // line of its own, keep them apart from the lock, which changes with every line.
    std::atomic<unsigned int> m_nTraceMask;
    std::atomic<unsigned int> m_nConsoleTraceMask;
    StripedCount m_nRefCount;
    CritSecLock m_Lock;  // held for the writing of a line; guards all below that changes after Start
    unsigned int m_nWaitThreadId;
    HANDLE m_hWaitThread;  // WaitThread; null until started
    HKEY m_hKey;           // the open logging key
    HANDLE m_hStopEvent;   // manual reset; set once, by Stop
    std::string m_sThreadId;
    std::string m_sProcessId;
    std::string m_sProcessName;  // the executable's file name without its last extension
    std::string m_sExeName;
    std::string m_sRegistryPath;
    std::string m_sTraceServer;    // path of the server program
    std::string m_sTraceFileName;  // names the server instance
    HWND m_hServerWnd;
    bool m_bUseTraceServer;     // a link is wanted and still possible; never true again
    HANDLE m_hServerLostEvent;  // manual reset; set: the link is known to be down
    DWORD m_nServerProcessId;
    HANDLE m_hServerProcess;
    HANDLE m_hMonitorThread;  // ServerMonitorThread; null until started
    unsigned int m_nMonitorThreadId;
    std::string m_sClientId;
    HANDLE m_hClientMutex;       // held by ServerMonitorThread; tells the server that this client lives
    HANDLE m_hServerReadyEvent;  // manual reset; set when an attempt to link has ended, either way
    std::atomic<bool> m_bScreenOutput;
    std::atomic<bool> m_bDebugOutput;

    bool m_bStarting;  // lines skip the server until the link is up
    bool m_bStopping;
    ULONGLONG m_ullStop;        // when Stop was called, of GetTickCount64
    long long m_llStampSecond;  // the second that m_szStampTime shows, since 1970
    char m_szStampTime[9];

    // The link and the lines on their way; TraceServerLink.cpp tells how they work together.
    LineQueue m_Queue;
    HANDLE m_hTurnEvent;         // auto reset: one of the callers that wait may try
    HANDLE m_hWorkEvent;         // auto reset: lines wait that no caller sends
    int m_nWaiters;              // callers that wait for m_hTurnEvent
    DWORD m_nSenderThreadId;     // the thread that is in a send; 0: none
    std::string m_sSending;      // the text of that send, of that thread alone
    bool m_bSeeking;             // a server is being sought or launched
    bool m_bLinked;              // registered with the server behind m_hServerWnd
    unsigned int m_nLink;        // counts the times that m_bLinked changed
    bool m_bBacklog;             // a caller has given up: lines queue and nobody waits
    DWORD m_nPaceLines;          // lines of the backlog gone out since m_ullPaceStart
    ULONGLONG m_ullPaceStart;    // this and the next time: of GetTickCount64
    ULONGLONG m_ullNextAttempt;  // not before, after a refused one
    DWORD m_dwRefusedPause;      // in ms, the pause it took; 0: none
    bool m_bHeadInDoubt;         // the head was sent, and nobody knows whether it was taken
    int m_nDoubts;               // how often the head has come out of doubt unknown
    int m_nRegistrationDoubts;   // the same of registrations; ServerMonitorThread's alone
    bool m_bSlow;                // a server that takes its lines, but late
    DWORD m_nTaken;              // lines that the server has taken on this link
};
