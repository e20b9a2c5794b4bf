// Narrow text as the language runtime of Windows offers it, and its conversion from and to wide text.
//
// The _ismbc family classifies 7-bit characters; anything else belongs to no class.
#pragma once

#include "platform/WinTypes.h"

#include <cstdarg>
#include <cstddef>

int _stricmp(const char* a, const char* b);

// Writes the terminator only where there is room for it. Text that fills the count bytes gives count, longer
// text is cut and gives -1.
int _vsnprintf(char* buffer, std::size_t count, const char* format, va_list args)
    __attribute__((format(printf, 3, 0)));

// Every file is binary: there is nothing to set, and the answer is that it was so.
#define _O_BINARY 0x8000
int _setmode(int fd, int mode);

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

#define CP_ACP        0
#define CP_THREAD_ACP 3
#define CP_UTF8       65001

#define LOCALE_IDEFAULTANSICODEPAGE 0x1004
#define VER_PLATFORM_WIN32_NT       2

// CP_ACP and CP_THREAD_ACP are both the narrow encoding of the C library's current locale. A locale of 7
// bits, that of a process that never chose one, counts as UTF-8. Flags are 0, and no default character is
// taken: what has no counterpart becomes U+FFFD, and a question mark in an encoding that lacks it.
int WideCharToMultiByte(UINT uCodePage, DWORD dwFlags, const WCHAR* wide, int cchWide, char* narrow,
                        int cbNarrow, const char* defaultChar, BOOL* pbUsedDefaultChar);
int MultiByteToWideChar(UINT uCodePage, DWORD dwFlags, const char* narrow, int cbNarrow, WCHAR* wide,
                        int cchWide);

UINT GetACP();
LCID GetThreadLocale();
// LOCALE_IDEFAULTANSICODEPAGE alone.
int GetLocaleInfoA(LCID lcid, DWORD dwType, char* data, int cbData);

struct OSVERSIONINFOA
{
    DWORD dwOSVersionInfoSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    char szCSDVersion[128];
};
// The version whose behaviour the stand-ins follow.
BOOL GetVersionExA(OSVERSIONINFOA* pVersion);
