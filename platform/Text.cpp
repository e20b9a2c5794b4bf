#include "platform/Text.h"

#include <cstdio>
#include <ctime>
#include <string>
#include <unistd.h>

namespace {

unsigned char Lower(char c)
{
    const unsigned char b = static_cast<unsigned char>(c);
    return b >= 'A' && b <= 'Z' ? static_cast<unsigned char>(b + ('a' - 'A')) : b;
}

bool IsDigit(unsigned int c) { return c >= '0' && c <= '9'; }
bool IsAlpha(unsigned int c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

// Bytes of the well-formed UTF-8 character at the start of the text, 1 where there is none.
std::size_t CharacterBytes(const unsigned char* p)
{
    std::size_t n = p[0] >= 0xF0 && p[0] <= 0xF4 ? 4 : p[0] >= 0xE0 ? 3 : p[0] >= 0xC2 ? 2 : 1;
    if (p[0] > 0xF4)
        n = 1;
    for (std::size_t i = 1; i < n; ++i)
        if ((p[i] & 0xC0) != 0x80)
            return 1;
    return n;
}

}  // namespace

int _stricmp(const char* a, const char* b)
{
    while (*a != '\0' && (*a == *b || Lower(*a) == Lower(*b))) {
        ++a;
        ++b;
    }
    return Lower(*a) - Lower(*b);
}

int _vsnprintf(char* buffer, std::size_t count, const char* format, va_list args)
{
    va_list again;
    va_copy(again, args);
    const int n = vsnprintf(buffer, count, format, args);
    if (n >= 0 && static_cast<std::size_t>(n) >= count) {
        std::string sAll(static_cast<std::size_t>(n) + 1, '\0');
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it is a copy
        vsnprintf(&sAll[0], sAll.size(), format, again);
        sAll.copy(buffer, count);
    }
    va_end(again);
    return n < 0 || static_cast<std::size_t>(n) > count ? -1 : n;
}

int _setmode(int, int) { return _O_BINARY; }

int _ismbcdigit(unsigned int c) { return IsDigit(c); }
int _ismbcalpha(unsigned int c) { return IsAlpha(c); }
int _ismbcalnum(unsigned int c) { return IsDigit(c) || IsAlpha(c); }
int _ismbcpunct(unsigned int c) { return c > 0x20 && c < 0x7F && !_ismbcalnum(c); }

std::size_t _mbslen(const unsigned char* text)
{
    std::size_t n = 0;
    for (; *text != 0; text += CharacterBytes(text))
        ++n;
    return n;
}

char* _strtime(char* buffer)
{
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    strftime(buffer, 9, "%H:%M:%S", &local);
    return buffer;
}

void _ftime(_timeb* p)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    p->time = now.tv_sec;
    p->millitm = static_cast<unsigned short>(now.tv_nsec / 1000000);
    p->timezone = 0;
    p->dstflag = 0;
}

void GetLocalTime(SYSTEMTIME* p)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    p->wYear = static_cast<WORD>(local.tm_year + 1900);
    p->wMonth = static_cast<WORD>(local.tm_mon + 1);
    p->wDayOfWeek = static_cast<WORD>(local.tm_wday);
    p->wDay = static_cast<WORD>(local.tm_mday);
    p->wHour = static_cast<WORD>(local.tm_hour);
    p->wMinute = static_cast<WORD>(local.tm_min);
    p->wSecond = static_cast<WORD>(local.tm_sec);
    p->wMilliseconds = static_cast<WORD>(now.tv_nsec / 1000000);
}

int _getpid() { return static_cast<int>(getpid()); }
