// LogWrapper: the one logging object of a process. Traces go to standard output and the debug output under
// bit masks; a trace never fails, and never throws at, its caller.
//
// A line's mask passes a held mask when all of its bits are set there. The trace mask decides with the
// console mask whether a line is written at all, the console mask alone whether it reaches standard output.
//
// One line is one unit: its outputs are not mixed with another thread's. Masks and output flags are relaxed
// atomics, so a test of them costs no lock.
#pragma once

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
    // until the process ends.
    static LogWrapper* Instance(std::string& sRegistryPath);
    static LogWrapper* Instance();
    // Instance() for those that never give their reference back, as values do: from the first of them on the
    // logger lives until the process ends, and a reference takes no lock and no line shared between threads.
    static LogWrapper* InstanceForGood();

    // Writes a line if its mask passes. The formatting forms take a printf format; text beyond 16383 bytes is
    // cut, and text above 80 characters is wrapped into pieces. The last form is the writer: its text is
    // ready and its mask is tested for standard output alone. Results: 1 when the trace server took the line,
    // -1 otherwise.
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
    explicit LogWrapper(const std::string& sRegistryPath);

    static LogWrapper* Construct(const std::string& sRegistryPath);
    friend class Logger;  // takes and gives back without asking for the count
    void TakeReference();
    bool GiveBackReference();  // false where the reference may be the last and ReleaseLast must see to it
    int ReleaseLast();

    std::atomic<unsigned int> m_nTraceMask;
    std::atomic<unsigned int> m_nConsoleTraceMask;
    StripedCount m_nRefCount;
    std::atomic<bool>
        m_bForGood;      // a reference was taken that nobody gives back: this object is never deleted
    CritSecLock m_Lock;  // held for the writing of a line
    std::string m_sRegistryPath;
    std::atomic<bool> m_bScreenOutput;
    std::atomic<bool> m_bDebugOutput;
};
