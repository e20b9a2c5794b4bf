// From a line's text to the outputs. A text above LINE_CHARACTERS is wrapped into pieces that travel as one;
// nothing that goes wrong on the way reaches the caller.
#include "failures/OrvexException.h"
#include "logging/LogWrapper.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr int FORMAT_BYTES = 16384;
constexpr size_t LINE_CHARACTERS = 80;  // a text of so many characters is still one line
constexpr int PIECE_BYTES = 78;

bool IsContinuationByte(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// Where the piece at the start of the text ends: at the blank nearest to its full size, else at the full
// size, drawn back to the start of a UTF-8 character that would be cut.
int PieceLength(const char* text, int remaining)
{
    if (remaining <= PIECE_BYTES)
        return remaining;
    for (int i = PIECE_BYTES; i > 0; --i)
        if (text[i] == ' ')
            return i;
    int length = PIECE_BYTES;
    while (length > PIECE_BYTES - 3 && IsContinuationByte(text[length]))
        --length;
    return IsContinuationByte(text[length]) ? PIECE_BYTES : length;
}

std::string LocalLine(const char* text)
{
    char szTime[9];
    _timeb now;
    _strtime(szTime);
    _ftime(&now);
    char szStamp[16];
    snprintf(szStamp, sizeof szStamp, "%s.%03hu", szTime, now.millitm);
    std::string sLine(szStamp);
    sLine += "  ";
    sLine += text;
    sLine += '\n';
    return sLine;
}

void WriteScreen(const char* text, size_t length)
{
    fwrite(text, 1, length, stdout);
    fflush(stdout);
}

void WriteScreen(const std::string& s) { WriteScreen(s.data(), s.size()); }

}  // namespace

int LogWrapper::Trace(unsigned int mask, const char* fmt, ...)
{
    if (!IsTraceEnabled(mask))
        return -1;
    va_list args;
    va_start(args, fmt);
    try {
        Trace(mask, fmt, args);
    } catch (...) {
        try {
            Trace(TRACE_ALWAYS, "LogWrapper::Trace(uint, TCHAR, ...), caught exception.");
        } catch (...) {
        }
    }
    va_end(args);
    return -1;
}

int LogWrapper::Trace(unsigned int mask, const char* fmt, va_list args)
{
    if (!IsTraceEnabled(mask))
        return -1;
    try {
        char szBuffer[FORMAT_BYTES];
        _vsnprintf(szBuffer, sizeof szBuffer, fmt, args);
        szBuffer[sizeof szBuffer - 1] = '\0';
        if (_mbslen(reinterpret_cast<const unsigned char*>(szBuffer)) > LINE_CHARACTERS)
            return TraceMultiline(mask, szBuffer, static_cast<int>(strlen(szBuffer)));
        return Trace(mask, szBuffer);
    } catch (...) {
        try {
            char szCaught[] = "LogWrapper::Trace(uint, TCHAR, va_list), caught exception.";
            Trace(TRACE_ALWAYS, szCaught);
        } catch (...) {
        }
        return -1;
    }
}

int LogWrapper::TraceMultiline(unsigned int mask, const char* text, int length)
{
    try {
        std::string sOutput;
        sOutput.reserve(static_cast<size_t>(length) * 2);
        for (const char* cursor = text; length > 0;) {
            if (cursor != text)
                sOutput += '\t';
            const int piece = PieceLength(cursor, length);
            sOutput.append(cursor, static_cast<size_t>(piece));
            cursor += piece;
            length -= piece;
            if (length > 0)
                sOutput += '\n';
        }
        return Trace(mask, &sOutput[0]);
    } catch (...) {
        try {
            char szCaught[] = "*e* Logger::TraceMultiline, caught exception.";
            Trace(TRACE_ALWAYS, szCaught);
        } catch (...) {
        }
        return -1;
    }
}

int LogWrapper::Trace(unsigned int mask, char* text)
{
    ScopedLock lock(&m_Lock);
    try {
        const bool bScreen = m_bScreenOutput.load(std::memory_order_relaxed);
        const bool bDebug = m_bDebugOutput.load(std::memory_order_relaxed);
        if (!bScreen && !bDebug)
            return -1;
        const std::string sLine = LocalLine(text == nullptr ? "(null)" : text);
        if (bScreen && IsConsoleTraceEnabled(mask))
            WriteScreen(sLine);
        if (bDebug)
            OutputDebugStringA(sLine.c_str());
    } catch (const std::exception& e) {
        WriteScreen(std::string("CRITICAL: LogWrapper::Trace(TCHAR*) Caught exception: ") + e.what() +
                    ", continuing...");
    } catch (const CSystemException& e) {
        char szReport[400];
        snprintf(
            szReport, sizeof szReport,
            "CRITICAL: LogWrapper::Trace(TCHAR*) Caught system exception, Code: %i(0x%x), %s, continuing...",
            e.GetCode(), static_cast<unsigned int>(e.GetCode()), e.GetText());
        WriteScreen(szReport, strlen(szReport));
    } catch (...) {
        WriteScreen("LogWrapper::Trace(TCHAR*), Exception thrown.\n");
    }
    return -1;
}
