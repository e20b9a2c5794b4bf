// Logger: a counted handle on the process's logger, for objects that hold it for their own lifetime.
#pragma once

#include "logging/LogWrapper.h"

class Logger
{
public:
    // Throws a plain const char* when no logger can be had.
    Logger();
    virtual ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    bool IsTraceEnabled(unsigned int mask) const { return m_pLogWrapper->IsTraceEnabled(mask); }

    // LogWrapper::Trace, from which nothing is ever thrown at the caller. Result: that of the trace, or -1.
    int Trace(unsigned int mask, const char* fmt, ...) ORVEX_PRINTF(3, 4);

private:
    LogWrapper* m_pLogWrapper;  // one reference; null only while the constructor runs
};
