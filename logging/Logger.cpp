#include "logging/Logger.h"

Logger::Logger() : m_pLogWrapper(LogWrapper::Instance())
{
    if (m_pLogWrapper == nullptr)
        // clang-format off
        throw "Cannot create Logger object without registry path. Use LogWrapper::Instance(std::string& sRegistryPath) the first time Instance is called. ";
    // clang-format on
}

Logger::~Logger()
{
    if (!m_pLogWrapper->GiveBackReference())
        m_pLogWrapper->ReleaseLast();
}

int Logger::Trace(unsigned int mask, const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    int iResult = -1;
    try {
        iResult = m_pLogWrapper->Trace(mask, fmt, args);
    } catch (...) {
        try {
            m_pLogWrapper->Trace(TRACE_WARNING, "Logger::Trace(uint, TCHAR*), caught exception.");
        } catch (...) {
        }
    }
    va_end(args);
    return iResult;
}
