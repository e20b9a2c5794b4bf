// From a line's text to the outputs. A text above LINE_CHARACTERS is wrapped into pieces that travel as one;
// nothing that goes wrong on the way reaches the caller.
//
// A line is put together once, where its text is formatted, with room in front for the time stamp, which goes
// in under the lock: so times rise from line to line. Every line is one write to standard output and one text
// to the debug output, behind which it is queued for the trace server under the same lock.
#include "failures/OrvexException.h"
#include "logging/LogWrapper.h"
#include "logging/ScreenOutput.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr size_t FORMAT_BYTES = 16384;
constexpr size_t STAMP_BYTES = 14;      // "12:34:56.789  "
constexpr size_t END_BYTES = 2;         // the line feed and the terminator
constexpr size_t LINE_CHARACTERS = 80;  // a text of so many characters is still one line
constexpr size_t PIECE_BYTES = 78;

// Of the character at the start of the text: 1 where it is no whole UTF-8 character.
size_t CharacterBytes(const char* text)
{
    const auto byte = [text](size_t i) { return static_cast<unsigned char>(text[i]); };
    const size_t n = byte(0) < 0xC2 || byte(0) > 0xF4 ? 1 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
    for (size_t i = 1; i < n; ++i)
        if ((byte(i) & 0xC0) != 0x80)
            return 1;
    return n;
}

// A cut text without the first bytes of a character whose others are gone.
size_t WithoutHalfCharacter(const char* text, size_t nText)
{
    for (size_t i = 1; i <= 3 && i <= nText; ++i) {
        const auto c = static_cast<unsigned char>(text[nText - i]);
        if ((c & 0xC0) != 0x80)
            return (c >= 0xF0 ? 4U : c >= 0xE0 ? 3U : c >= 0xC2 ? 2U : 1U) > i ? nText - i : nText;
    }
    return nText;
}

size_t BytesOf(const char* text, int nCharacters)
{
    size_t nBytes = 0;
    for (; nCharacters > 0 && text[nBytes] != '\0'; --nCharacters)
        nBytes += CharacterBytes(text + nBytes);
    return nBytes;
}

// Where the piece at the start of the text ends: at the blank nearest to its full size, else at the full
// size, drawn back to the start of a character that would be cut.
size_t PieceLength(const char* text, size_t nRemaining)
{
    if (nRemaining <= PIECE_BYTES)
        return nRemaining;
    for (size_t i = PIECE_BYTES; i > 0; --i)
        if (text[i] == ' ')
            return i;
    for (size_t i = 1; i <= 3; ++i)
        if (CharacterBytes(text + PIECE_BYTES - i) > i)
            return PIECE_BYTES - i;
    return PIECE_BYTES;
}

// Of what was caught in the writer: on standard output, whatever the settings say.
void Report(const char* fmt, ...) ORVEX_PRINTF(1, 2);
void Report(const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    vprintf(fmt, args);
    va_end(args);
    fflush(stdout);
}

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
        char szLine[STAMP_BYTES + FORMAT_BYTES + END_BYTES];
        char* const pText = szLine + STAMP_BYTES;
        const int n = _vsnprintf(pText, FORMAT_BYTES, fmt, args);
        pText[FORMAT_BYTES - 1] = '\0';
        const bool bCut = n < 0 || static_cast<size_t>(n) >= FORMAT_BYTES;
        const size_t nText = bCut ? WithoutHalfCharacter(pText, FORMAT_BYTES - 1) : static_cast<size_t>(n);
        pText[nText] = '\0';
        if (nText > LINE_CHARACTERS) {
            const size_t nCharacters = _mbslen(reinterpret_cast<const unsigned char*>(pText));
            if (nCharacters > LINE_CHARACTERS)
                return TraceMultiline(mask, pText, static_cast<int>(nCharacters));
        }
        return Write(mask, szLine, nText, Wait::May);
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
        const size_t nWhole = _mbslen(reinterpret_cast<const unsigned char*>(text));
        const bool bWhole = length >= 0 && static_cast<size_t>(length) >= nWhole;
        size_t nRemaining = bWhole ? strlen(text) : BytesOf(text, length);
        std::string sLine(STAMP_BYTES, ' ');
        sLine.reserve(STAMP_BYTES + nRemaining + nRemaining / PIECE_BYTES * 4 + 10);
        for (const char* cursor = text; nRemaining > 0;) {
            if (cursor != text)
                sLine += '\t';
            const size_t nPiece = PieceLength(cursor, nRemaining);
            sLine.append(cursor, nPiece);
            cursor += nPiece;
            nRemaining -= nPiece;
            if (nRemaining > 0)
                sLine += '\n';
        }
        return Write(mask, sLine, Wait::May);
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
    try {
        std::string sLine(STAMP_BYTES, ' ');
        sLine += text == nullptr ? "(null)" : text;
        return Write(mask, sLine, Wait::May);
    } catch (const std::exception& e) {
        Report("CRITICAL: LogWrapper::Trace(TCHAR*) Caught exception: %s, continuing...", e.what());
        return -1;
    }
}

// A line of the logger's thread that nothing may hold up.
void LogWrapper::Tell(const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    char szLine[STAMP_BYTES + 2 * LINE_CHARACTERS + END_BYTES];
    const int n = vsnprintf(szLine + STAMP_BYTES, 2 * LINE_CHARACTERS, fmt, args);
    va_end(args);
    Write(TRACE_ALWAYS, szLine, static_cast<size_t>(n), Wait::MayNot);
}

int LogWrapper::Write(unsigned int mask, std::string& sLine, Wait wait)
{
    const size_t nText = sLine.size() - STAMP_BYTES;
    sLine.append(END_BYTES, '\0');
    return Write(mask, &sLine[0], nText, wait);
}

int LogWrapper::Write(unsigned int mask, char* pLine, size_t nText, Wait wait)
{
    ScopedLock lock(&m_Lock);
    try {
        char* const pText = pLine + STAMP_BYTES;
        std::string sNotes;
        const bool bScreen = m_bScreenOutput.load(std::memory_order_relaxed);
        const bool bDebug = m_bDebugOutput.load(std::memory_order_relaxed);
        if (bScreen || bDebug) {
            StampTime(pLine);
            pText[nText] = '\n';
            pText[nText + 1] = '\0';
            if (bScreen && IsConsoleTraceEnabled(mask)) {
                try {
                    WriteScreen(pLine, STAMP_BYTES + nText + 1);
                } catch (...) {
                    sNotes += "\nCRITICAL: LogWrapper::Trace(TCHAR*), Exception thrown by printf().";
                }
            }
            if (bDebug) {
                try {
                    OutputDebugStringA(pLine);
                } catch (...) {
                    sNotes +=
                        "\nCRITICAL: LogWrapper::Trace(TCHAR*), Exception thrown by OutputDebugString().";
                }
            }
        }
        if (m_bUseTraceServer)
            return Deliver(lock, pText, nText, sNotes, wait);
    } catch (const std::exception& e) {
        Report("CRITICAL: LogWrapper::Trace(TCHAR*) Caught exception: %s, continuing...", e.what());
    } catch (const CSystemException& e) {
        Report(
            "CRITICAL: LogWrapper::Trace(TCHAR*) Caught system exception, Code: %i(0x%x), %s, continuing...",
            e.GetCode(), static_cast<unsigned int>(e.GetCode()), e.GetText());
    } catch (...) {
        Report("LogWrapper::Trace(TCHAR*), Exception thrown.\n");
    }
    return -1;
}

// The text of a second is kept for the lines of that second. It is taken by a second look at the clock, which
// may show the second before: then it serves one line.
void LogWrapper::StampTime(char* pStamp)
{
    _timeb now;
    _ftime(&now);
    if (now.time != m_llStampSecond) {
        _strtime(m_szStampTime);
        const bool bSame = m_szStampTime[7] - '0' == now.time % 10;
        m_llStampSecond = bSame ? static_cast<long long>(now.time) : -1;
    }
    memcpy(pStamp, m_szStampTime, 8);
    pStamp[8] = '.';
    pStamp[9] = static_cast<char>('0' + now.millitm / 100);
    pStamp[10] = static_cast<char>('0' + now.millitm / 10 % 10);
    pStamp[11] = static_cast<char>('0' + now.millitm % 10);
    pStamp[12] = ' ';
    pStamp[13] = ' ';
}
