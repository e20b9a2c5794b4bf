#include "platform/Text.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <langinfo.h>
#include <string>

// What is ASCII at the start goes at once; UTF-8 is coded here, other encodings by the C library.

namespace {

constexpr char32_t REPLACEMENT = 0xFFFD;

// Where converted characters go: into the buffer as far as it reaches, or nowhere when only the size is
// asked.
template <class Char> class Output
{
public:
    Output(Char* p, int n) : m_p(p), m_nRoom(p == nullptr || n == 0 ? 0 : n), m_bCount(n == 0) {}
    void Put(Char c)
    {
        if (m_n < m_nRoom)
            m_p[m_n] = c;
        ++m_n;
    }
    // Characters that are the same on both sides.
    template <class From> void PutAll(const From* p, int n)
    {
        const int nFit =
            static_cast<int>(std::min<std::int64_t>(n, std::max<std::int64_t>(m_nRoom - m_n, 0)));
        for (int i = 0; i < nFit; ++i)
            m_p[m_n + i] = static_cast<Char>(p[i]);
        m_n += n;
    }
    int Result() const
    {
        if (m_bCount || m_n <= m_nRoom)
            return static_cast<int>(m_n);
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }

private:
    Char* m_p;
    std::int64_t m_n = 0;
    int m_nRoom;
    bool m_bCount;
};

// How many characters of 7 bits the text starts with.
int AsciiLength(const char* p, int n)
{
    int i = 0;
    for (std::uint64_t u; n - i >= 8; i += 8) {
        std::memcpy(&u, p + i, sizeof u);
        if ((u & 0x8080808080808080u) != 0)
            break;
    }
    while (i < n && static_cast<signed char>(p[i]) >= 0)
        ++i;
    return i;
}

int AsciiLength(const WCHAR* p, int n)
{
    int i = 0;
    for (std::uint64_t u[2]; n - i >= 8; i += 8) {
        std::memcpy(u, p + i, sizeof u);
        if (((u[0] | u[1]) & 0xFF80FF80FF80FF80u) != 0)
            break;
    }
    while (i < n && p[i] < 0x80)
        ++i;
    return i;
}

// The UTF-8 character at the start of the text, REPLACEMENT for a broken one, and its bytes: for a broken one
// those that could have begun a whole character, so that the next starts where a reader would look for it.
char32_t FromUtf8(const char* pText, int n, int* pnBytes)
{
    const unsigned char* p = reinterpret_cast<const unsigned char*>(pText);
    const unsigned c = p[0];
    *pnBytes = 1;
    if (c < 0x80)
        return c;
    const int nMore = c >= 0xF0 && c <= 0xF4 ? 3 : c >= 0xE0 && c < 0xF0 ? 2 : c >= 0xC2 && c < 0xE0 ? 1 : 0;
    if (nMore == 0)
        return REPLACEMENT;
    // The second byte is bounded where a longer form of a short character, a surrogate or a number above
    // 0x10FFFF would arise.
    unsigned low = c == 0xE0 ? 0xA0 : c == 0xF0 ? 0x90 : 0x80;
    unsigned high = c == 0xED ? 0x9F : c == 0xF4 ? 0x8F : 0xBF;
    char32_t character = c & (0x3Fu >> nMore);
    for (int i = 1; i <= nMore; ++i) {
        if (i >= n || p[i] < low || p[i] > high)
            return REPLACEMENT;
        low = 0x80;
        high = 0xBF;
        character = (character << 6) | (p[i] & 0x3Fu);
        *pnBytes = i + 1;
    }
    return character;
}

void PutUtf8(char32_t c, Output<char>* pOut)
{
    if (c < 0x80) {
        pOut->Put(static_cast<char>(c));
        return;
    }
    const int nMore = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    pOut->Put(static_cast<char>((0xF80u >> nMore & 0xFFu) | (c >> (6 * nMore))));
    for (int i = nMore - 1; i >= 0; --i)
        pOut->Put(static_cast<char>(0x80 | (c >> (6 * i) & 0x3F)));
}

char32_t FromUtf16(const WCHAR* p, int n, int* pnUnits)
{
    *pnUnits = 1;
    if (p[0] < 0xD800 || p[0] > 0xDFFF)
        return p[0];
    if (p[0] > 0xDBFF || n < 2 || p[1] < 0xDC00 || p[1] > 0xDFFF)
        return REPLACEMENT;
    *pnUnits = 2;
    return 0x10000 + ((p[0] - 0xD800u) << 10) + (p[1] - 0xDC00u);
}

void PutUtf16(char32_t c, Output<WCHAR>* pOut)
{
    if (c < 0x10000) {
        pOut->Put(static_cast<WCHAR>(c));
        return;
    }
    pOut->Put(static_cast<WCHAR>(0xD800 + ((c - 0x10000) >> 10)));
    pOut->Put(static_cast<WCHAR>(0xDC00 + ((c - 0x10000) & 0x3FF)));
}

// The C library's encodings: a character at a time, wchar_t being UCS-4.
char32_t FromLocale(const char* p, int n, std::mbstate_t* pState, int* pnBytes)
{
    wchar_t wc = 0;
    const std::size_t nBytes = std::mbrtowc(&wc, p, static_cast<std::size_t>(n), pState);
    if (nBytes == static_cast<std::size_t>(-1) || nBytes == static_cast<std::size_t>(-2)) {
        *pState = std::mbstate_t();
        *pnBytes = 1;
        return REPLACEMENT;
    }
    *pnBytes = nBytes == 0 ? 1 : static_cast<int>(nBytes);
    return static_cast<char32_t>(wc);
}

void PutLocale(char32_t c, std::mbstate_t* pState, Output<char>* pOut)
{
    char bytes[MB_LEN_MAX];
    const std::size_t n = std::wcrtomb(bytes, static_cast<wchar_t>(c), pState);
    if (n == static_cast<std::size_t>(-1)) {
        *pState = std::mbstate_t();
        pOut->Put('?');
        return;
    }
    for (std::size_t i = 0; i < n; ++i)
        pOut->Put(bytes[i]);
}

const char* Codeset() { return nl_langinfo(CODESET); }

bool IsUtf8(const char* codeset)
{
    return std::strcmp(codeset, "UTF-8") == 0 || std::strcmp(codeset, "ANSI_X3.4-1968") == 0;
}

// True for UTF-8, false for the encoding of the locale.
bool WantsUtf8(UINT uCodePage) { return uCodePage == CP_UTF8 || IsUtf8(Codeset()); }

bool IsKnown(UINT uCodePage)
{
    return uCodePage == CP_ACP || uCodePage == CP_THREAD_ACP || uCodePage == CP_UTF8 || uCodePage == GetACP();
}

// What both directions refuse.
bool IsRefused(UINT uCodePage, DWORD dwFlags, const void* pFrom, int nFrom, const void* pTo, int nTo)
{
    if (pFrom == nullptr || nFrom == 0 || nTo < 0 || (pTo == nullptr && nTo != 0) || (pTo == pFrom) ||
        !IsKnown(uCodePage)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return true;
    }
    if (dwFlags != 0) {
        SetLastError(ERROR_INVALID_FLAGS);
        return true;
    }
    return false;
}

template <class Char> int WithTerminator(const Char* p)
{
    return static_cast<int>(std::char_traits<Char>::length(p)) + 1;
}

}  // namespace

int MultiByteToWideChar(UINT uCodePage, DWORD dwFlags, const char* narrow, int cbNarrow, WCHAR* wide,
                        int cchWide)
{
    if (IsRefused(uCodePage, dwFlags, narrow, cbNarrow, wide, cchWide))
        return 0;
    const int n = cbNarrow < 0 ? WithTerminator(narrow) : cbNarrow;
    Output<WCHAR> out(wide, cchWide);
    int i = AsciiLength(narrow, n);
    out.PutAll(narrow, i);
    if (i == n)
        return out.Result();
    const bool bUtf8 = WantsUtf8(uCodePage);
    std::mbstate_t state{};
    for (int nBytes = 1; i < n; i += nBytes)
        PutUtf16(bUtf8 ? FromUtf8(narrow + i, n - i, &nBytes)
                       : FromLocale(narrow + i, n - i, &state, &nBytes),
                 &out);
    return out.Result();
}

int WideCharToMultiByte(UINT uCodePage, DWORD dwFlags, const WCHAR* wide, int cchWide, char* narrow,
                        int cbNarrow, const char* defaultChar, BOOL* pbUsedDefaultChar)
{
    if (IsRefused(uCodePage, dwFlags, wide, cchWide, narrow, cbNarrow))
        return 0;
    if (defaultChar != nullptr || pbUsedDefaultChar != nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const int n = cchWide < 0 ? WithTerminator(wide) : cchWide;
    Output<char> out(narrow, cbNarrow);
    int i = AsciiLength(wide, n);
    out.PutAll(wide, i);
    if (i == n)
        return out.Result();
    const bool bUtf8 = WantsUtf8(uCodePage);
    std::mbstate_t state{};
    for (int nUnits = 1; i < n; i += nUnits) {
        const char32_t c = FromUtf16(wide + i, n - i, &nUnits);
        if (bUtf8)
            PutUtf8(c, &out);
        else
            PutLocale(c, &state, &out);
    }
    return out.Result();
}

UINT GetACP()
{
    const char* codeset = Codeset();
    if (std::strncmp(codeset, "ISO-8859-", 9) == 0)
        return static_cast<UINT>(28590 + std::atoi(codeset + 9));
    if (std::strncmp(codeset, "CP", 2) == 0)
        return static_cast<UINT>(std::atoi(codeset + 2));
    return IsUtf8(codeset) ? CP_UTF8 : CP_ACP;  // an encoding without a number: what CP_ACP is
}

LCID GetThreadLocale() { return 0x0409; }

int GetLocaleInfoA(LCID, DWORD dwType, char* data, int cbData)
{
    if (dwType != LOCALE_IDEFAULTANSICODEPAGE) {
        SetLastError(ERROR_INVALID_FLAGS);
        return 0;
    }
    const std::string text = std::to_string(GetACP());
    const int cb = static_cast<int>(text.size()) + 1;
    if (cbData != 0 && cbData < cb) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    if (cbData != 0)
        std::memcpy(data, text.c_str(), static_cast<std::size_t>(cb));
    return cb;
}

BOOL GetVersionExA(OSVERSIONINFOA* pVersion)
{
    if (pVersion->dwOSVersionInfoSize < sizeof(OSVERSIONINFOA)) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    pVersion->dwMajorVersion = 10;
    pVersion->dwMinorVersion = 0;
    pVersion->dwBuildNumber = 0;
    pVersion->dwPlatformId = VER_PLATFORM_WIN32_NT;
    pVersion->szCSDVersion[0] = '\0';
    return TRUE;
}
