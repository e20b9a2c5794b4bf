// Narrow text as the language runtime of Windows offers it.
//
// The _ismbc family classifies 7-bit characters; anything else belongs to no class.
#pragma once

#include "platform/WinTypes.h"

#include <cstdarg>
#include <cstddef>

int _stricmp(const char* a, const char* b);

// -1 when the text was cut. Unlike the real call it ends a cut text with a zero in the last of the count
// bytes.
int _vsnprintf(char* buffer, std::size_t count, const char* format, va_list args)
    __attribute__((format(printf, 3, 0)));

int _ismbcdigit(unsigned int c);
int _ismbcalpha(unsigned int c);
int _ismbcalnum(unsigned int c);
int _ismbcpunct(unsigned int c);

// Characters of a text in the narrow encoding; a byte that starts no whole character counts as one.
std::size_t _mbslen(const unsigned char* text);

// Local time as hh:mm:ss, into a buffer of 9 bytes.
char* _strtime(char* buffer);

struct _timeb
{
    long long time;
    unsigned short millitm;
    short timezone;
    short dstflag;
};
void _ftime(_timeb* p);

struct SYSTEMTIME
{
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
void GetLocalTime(SYSTEMTIME* p);

int _getpid();
