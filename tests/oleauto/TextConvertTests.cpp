#include "tests/oleauto/Support.h"

namespace {

struct Row
{
    const char* what;
    std::string narrow;
    Wide wide;
};

// Texts that survive both ways, around the widths where the coding changes.
const Row s_rows[] = {
    {"ascii", "InvokeID", OLESTR("InvokeID")},
    {"ascii across a block", "a text of 26 characters.. ", OLESTR("a text of 26 characters.. ")},
    {"last of one byte", "\x7F", OLESTR("\u007F")},
    {"first and last of two", "\xC2\x80\xDF\xBF", OLESTR("\u0080\u07FF")},
    {"first and last of three", "\xE0\xA0\x80\xEF\xBF\xBF", OLESTR("\u0800\uFFFF")},
    {"around the surrogates", "\xED\x9F\xBF\xEE\x80\x80", OLESTR("\uD7FF\uE000")},
    {"first and last pair", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", OLESTR("\U00010000\U0010FFFF")},
    {"mixed behind ascii", "12345678Jos\xC3\xA9", OLESTR("12345678Jos\u00E9")},
};

// Broken texts, one way: what cannot be read becomes U+FFFD and the rest stays.
const Row s_brokenNarrow[] = {
    {"stray byte", "a\x80z", OLESTR("a\uFFFDz")},
    {"never a first byte", "a\xFFz", OLESTR("a\uFFFDz")},
    {"longer form of a slash", "\xC0\xAF", OLESTR("\uFFFD\uFFFD")},
    {"cut in the middle", "a\xE2\x82z", OLESTR("a\uFFFDz")},
    {"cut at the end", "a\xF0\x9F\x98", OLESTR("a\uFFFD")},
};
const Row s_brokenWide[] = {
    {"high surrogate alone", "a\xEF\xBF\xBDz", {'a', 0xD800, 'z'}},
    {"low surrogate alone", "a\xEF\xBF\xBDz", {'a', 0xDC00, 'z'}},
    {"high surrogate at the end", "a\xEF\xBF\xBD", {'a', 0xDBFF}},
};

Wide ToWide(const std::string& s)
{
    const int n = MultiByteToWideChar(CP_UTF8, 0, s.data(), static_cast<int>(s.size()), nullptr, 0);
    Wide w(static_cast<std::size_t>(n), 0);
    EXPECT_EQ(n, MultiByteToWideChar(CP_UTF8, 0, s.data(), static_cast<int>(s.size()), &w[0], n));
    return w;
}

std::string ToNarrow(const Wide& w)
{
    const int n =
        WideCharToMultiByte(CP_UTF8, 0, w.data(), static_cast<int>(w.size()), nullptr, 0, nullptr, nullptr);
    std::string s(static_cast<std::size_t>(n), 0);
    EXPECT_EQ(
        n, WideCharToMultiByte(CP_UTF8, 0, w.data(), static_cast<int>(w.size()), &s[0], n, nullptr, nullptr));
    return s;
}

TEST(TextConvert, EveryWidthOfCharacterBothWays)
{
    for (const Row& row : s_rows) {
        EXPECT_TRUE(ToWide(row.narrow) == row.wide) << row.what;
        EXPECT_EQ(ToNarrow(row.wide), row.narrow) << row.what;
    }
}

TEST(TextConvert, BrokenTextBecomesReplacementCharacters)
{
    for (const Row& row : s_brokenNarrow)
        EXPECT_TRUE(ToWide(row.narrow) == row.wide) << row.what;
    for (const Row& row : s_brokenWide)
        EXPECT_EQ(ToNarrow(row.wide), row.narrow) << row.what;
}

// No surrogate comes out of them and nothing above the last character, however many replacements do.
TEST(TextConvert, BytesOfWhatIsNoCharacter)
{
    for (const char* p :
         {"\xED\xA0\x80", "\xED\xBF\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80"}) {
        const Wide wide = ToWide(p);
        EXPECT_TRUE(!wide.empty() && wide == Wide(wide.size(), 0xFFFD)) << testing::PrintToString(p);
    }
}

TEST(TextConvert, LengthMinusOneCountsTheTerminator)
{
    for (const UINT uPage : {UINT{CP_ACP}, UINT{CP_THREAD_ACP}, UINT{CP_UTF8}}) {
        WCHAR wide[8] = {1, 1, 1, 1, 1, 1, 1, 1};
        EXPECT_EQ(MultiByteToWideChar(uPage, 0, "abc", -1, nullptr, 0), 4);
        EXPECT_EQ(MultiByteToWideChar(uPage, 0, "abc", -1, wide, 8), 4);
        EXPECT_TRUE(Wide(wide, 5) == Wide({'a', 'b', 'c', 0, 1}));
        char narrow[8] = {1, 1, 1, 1, 1, 1, 1, 1};
        EXPECT_EQ(WideCharToMultiByte(uPage, 0, OLESTR("abc"), -1, nullptr, 0, nullptr, nullptr), 4);
        EXPECT_EQ(WideCharToMultiByte(uPage, 0, OLESTR("abc"), -1, narrow, 8, nullptr, nullptr), 4);
        EXPECT_EQ(std::string(narrow, 5), std::string("abc\0\1", 5));
        EXPECT_EQ(MultiByteToWideChar(uPage, 0, "", -1, nullptr, 0), 1);
        EXPECT_EQ(WideCharToMultiByte(uPage, 0, OLESTR(""), -1, nullptr, 0, nullptr, nullptr), 1);
    }
}

TEST(TextConvert, ZeroCharactersInsideAGivenLengthGoThrough)
{
    EXPECT_TRUE(ToWide(std::string("a\0b", 3)) == Wide({'a', 0, 'b'}));
    EXPECT_EQ(ToNarrow(Wide({'a', 0, 'b'})), std::string("a\0b", 3));
}

// 0, the last error, and nothing behind the end.
TEST(TextConvert, BufferTooShort)
{
    for (const Row& row : s_rows) {
        SCOPED_TRACE(row.what);
        const int nWide = static_cast<int>(row.wide.size());
        const int nNarrow = static_cast<int>(row.narrow.size());
        if (nWide > 1) {
            Wide wide(64, 0x1234);
            SetLastError(0);
            EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, row.narrow.data(), nNarrow, &wide[0], nWide / 2), 0);
            EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
            EXPECT_EQ(wide[static_cast<std::size_t>(nWide / 2)], 0x1234);
        }
        if (nNarrow > 1) {
            std::string narrow(64, 'Z');
            SetLastError(0);
            EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, row.wide.data(), nWide, &narrow[0], nNarrow - 1,
                                          nullptr, nullptr),
                      0);
            EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
            EXPECT_EQ(narrow[static_cast<std::size_t>(nNarrow - 1)], 'Z');
        }
    }
}

TEST(TextConvert, RefusedParameters)
{
    WCHAR wide[4];
    char narrow[4];
    const auto refusedToWide = [&](UINT uPage, const char* p, int n, WCHAR* pTo, int nTo) {
        SetLastError(0);
        return MultiByteToWideChar(uPage, 0, p, n, pTo, nTo) == 0 ? GetLastError() : 0;
    };
    const auto refusedToNarrow = [&](UINT uPage, const WCHAR* p, int n, char* pTo, int nTo) {
        SetLastError(0);
        return WideCharToMultiByte(uPage, 0, p, n, pTo, nTo, nullptr, nullptr) == 0 ? GetLastError() : 0;
    };
    const DWORD dwExpected = ERROR_INVALID_PARAMETER;
    EXPECT_EQ(refusedToWide(CP_ACP, nullptr, 1, wide, 4), dwExpected);
    EXPECT_EQ(refusedToWide(CP_ACP, "a", 0, wide, 4), dwExpected);
    EXPECT_EQ(refusedToWide(CP_ACP, "a", 1, nullptr, 4), dwExpected);
    EXPECT_EQ(refusedToWide(CP_ACP, "a", 1, wide, -1), dwExpected);
    EXPECT_EQ(refusedToWide(4711, "a", 1, wide, 4), dwExpected);
    EXPECT_EQ(refusedToNarrow(CP_ACP, nullptr, 1, narrow, 4), dwExpected);
    EXPECT_EQ(refusedToNarrow(CP_ACP, OLESTR("a"), 0, narrow, 4), dwExpected);
    EXPECT_EQ(refusedToNarrow(CP_ACP, OLESTR("a"), 1, nullptr, 4), dwExpected);
    EXPECT_EQ(refusedToNarrow(CP_ACP, OLESTR("a"), 1, narrow, -1), dwExpected);
    EXPECT_EQ(refusedToNarrow(4711, OLESTR("a"), 1, narrow, 4), dwExpected);
}

TEST(TextConvert, CodePageOfTheThreadIsItsNumberInText)
{
    char digits[7] = "";
    const int n = GetLocaleInfoA(GetThreadLocale(), LOCALE_IDEFAULTANSICODEPAGE, digits, sizeof digits);
    EXPECT_EQ(n, static_cast<int>(std::string(digits).size()) + 1);
    EXPECT_NE(GetACP(), 0u);
    char small[1];
    SetLastError(0);
    EXPECT_EQ(GetLocaleInfoA(GetThreadLocale(), LOCALE_IDEFAULTANSICODEPAGE, small, 1), 0);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
}

}  // namespace
