#include "arguments/TokenString.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

const char* const DEFAULT_CLASSES[] = {
    "_.", ",;:[]{}!@#$^()\\", "", "+ - * / %", "| & || && <= => <> == != << >> < > = ~ or and not", "*?",
};

// Classes of the text form.
const char TEXT_FORM_WORDS[] = ".<>/?[]{}+-|!@#$%^&()*_\\~";

// All tokens of a text as "type:token type:token".
std::string Scan(const std::string& text, int nFlags = TokenString::FLAG_POINT)
{
    TokenString source;
    source = text;
    source.SetFlags(nFlags);
    TokenString token;
    std::string result;
    unsigned int position = 0;
    int type = 0;
    while (source.NextToken(&position, &type, &token))
        result += (result.empty() ? "" : " ") + std::to_string(type) + ":" + token;
    return result;
}

// Before main nobody has set a class.
const std::string s_sScannedBeforeMain = Scan("a_b.c+-*/% | && <= =>or order and not ~ {x}");

class TokenStringTest : public testing::Test
{
protected:
    TokenStringTest() { SetDefaults(); }
    ~TokenStringTest() override { SetDefaults(); }

    static void SetDefaults()
    {
        for (int i = 0; i < 6; ++i)
            TokenString::SetTokenClass(i + 1, DEFAULT_CLASSES[i]);
    }
};

TEST_F(TokenStringTest, DefaultClassesServeBeforeMain)
{
    EXPECT_EQ(s_sScannedBeforeMain,
              "-1:a_b.c -4:+ -4:- -4:* -4:/ -4:% -5:| -5:& -5:& -5:<= -5:=> -5:or -1:order "
              "-5:and -5:not -5:~ 123:{ -1:x 125:}");
}

TEST_F(TokenStringTest, CutsByDefaultClasses)
{
    const struct
    {
        const char* text;
        const char* tokens;
    } rows[] = {
        {"", ""},
        {" \t ", ""},
        {"abc def", "-1:abc -1:def"},
        {"  abc\t", "-1:abc"},
        {"a-b[1].c_", "-1:a-b[1].c_"},
        {"[a]", "91:[ -1:a]"},
        {"a\nb", "-1:a 10:\n -1:b"},
        {"12", "-2:12"},
        {"12a", "-1:12a"},
        {"12-5", "-1:12-5"},
        {"1.5", "-3:1.5"},
        {"1.", "-3:1."},
        {".5", "-3:.5"},
        {".", "-3:."},
        {"..", "-1:.."},
        {"1.2.3", "-1:1.2.3"},
        {"-5", "-4:- -2:5"},
        {"||", "-5:| -5:|"},
        {"&&", "-5:& -5:&"},
        {"<=", "-5:<="},
        {"<>==!=<<>>", "-5:<> -5:== -5:!= -5:<< -5:>>"},
        {"=>=", "-5:=> -5:="},
        {"or", "-5:or"},
        {"order", "-1:order"},
        {"or1", "-5:or -2:1"},
        {"OR", "-1:OR"},
        {"a,b", "-1:a 44:, -1:b"},
        {"\"a b\"c", "-8:a b -1:c"},
        {"'a b'`c\"d`", "-9:a b -9:c\"d"},
        {"\" a \"", "-8: a "},
        {"\"\" x", "-8: -1:x"},
        {"\"a\\\"b\"", "-8:a\\\"b"},
        {"\"open", "-8:open"},
        {"\"open\\", "-8:open\\"},
        {"\"", "-8:"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Scan(row.text), row.tokens) << row.text;
}

TEST_F(TokenStringTest, NumbersFollowTheFlags)
{
    const struct
    {
        int nFlags;
        const char* text;
        const char* tokens;
    } rows[] = {
        {0, "12", "-2:12"},       {0, "1.5", "-1:1.5"},     {0, ".5", "-1:.5"},
        {2 | 4, "12", "-1:12"},   {4, "-5", "-1:-5"},       {8, "-5", "-2:-5"},
        {8, "+5", "-2:+5"},       {8, "-1.5", "-1:-1.5"},   {8 | 4, "-1.5", "-3:-1.5"},
        {8 | 4, "-.5", "-3:-.5"}, {8 | 4, "--5", "-1:--5"}, {8 | 4, "-", "-1:-"},
        {8 | 4, "-x", "-1:-x"},   {8, "-.", "-1:-."},
    };
    TokenString::SetTokenClass(1, "_.+-");
    TokenString::SetTokenClass(4, "");
    for (const auto& row : rows)
        EXPECT_EQ(Scan(row.text, row.nFlags), row.tokens) << row.text << " with flags " << row.nFlags;
}

TEST_F(TokenStringTest, ClassesChangeTheScan)
{
    const struct
    {
        int nCode;
        const char* characters;
        const char* text;
        const char* tokens;
    } rows[] = {
        {1, "", ".5_a", "46:. -1:5_a"},
        {1, "#", "#a#1 #", "-1:#a#1 -1:#"},
        {2, "a", "abc", "-1:abc"},
        {3, "\r\nx", "xa\r\nxx bxc", "-1:a -1:bxc"},
        {3, "\u00A0", "\u00A0a \u00A0b\u00A1", "-1:a -1:b\u00A1"},
        {4, "", "+", "43:+"},
        {4, "<< mod  m ", "<<mod modx m", "-4:<< -4:mod -1:modx -4:m"},
        {4, "= or", "= or", "-4:= -4:or"},
        {4, "1", "12", "-4:1 -2:2"},
        {4, "m\u00E9", "m\u00E9 m\u00E9x", "-4:m\u00E9 -1:m\u00E9x"},
        {5, "=== =", "====", "-5:=== -5:="},
        {5, "", "or=", "-1:or 61:="},
    };
    for (const auto& row : rows) {
        SetDefaults();
        TokenString::SetTokenClass(row.nCode, row.characters);
        EXPECT_EQ(Scan(row.text), row.tokens) << row.nCode << " is " << row.characters << ": " << row.text;
    }
}

TEST_F(TokenStringTest, OtherCodesAndNullChangeNoClass)
{
    for (int nCode : {0, -1, 7, 1000})
        TokenString::SetTokenClass(nCode, "a");
    for (int nCode = 1; nCode <= 6; ++nCode)
        TokenString::SetTokenClass(nCode, nullptr);
    EXPECT_EQ(Scan("a_b+or(*?"), "-1:a_b -4:+ -5:or 40:( -4:* 63:?");
}

TEST_F(TokenStringTest, Utf8IsLettersAndStrayBytesStandAlone)
{
    const struct
    {
        const char* text;
        const char* tokens;
    } rows[] = {
        {"Jos\u00E9 \u00C9cole", "-1:Jos\u00E9 -1:\u00C9cole"},
        {"\u20AC5 \U0001F4DE1", "-1:\u20AC5 -1:\U0001F4DE1"},
        {"or\u00E9", "-1:or\u00E9"},
        {"Jos\xE9", "-1:Jos -23:\xE9"},
        {"\xC3", "-61:\xC3"},
        {"\xC3x", "-61:\xC3 -1:x"},
        {"\xA9", "-87:\xA9"},
        {"\xE2\x82", "-30:\xE2 -126:\x82"},
        {"\xC0\xAF", "-64:\xC0 -81:\xAF"},                              // longer than its code needs
        {"\xE0\x80\xAF", "-32:\xE0 -128:\x80 -81:\xAF"},                // the same in three bytes
        {"\xF0\x80\x80\xAF", "-16:\xF0 -128:\x80 -128:\x80 -81:\xAF"},  // and in four
        {"\xED\xA0\x80", "-19:\xED -96:\xA0 -128:\x80"},                // a surrogate
        {"\xED\x9F\xBF", "-1:\xED\x9F\xBF"},
        {"\xF4\x8F\xBF\xBF", "-1:\xF4\x8F\xBF\xBF"},
        {"\xF4\x90\x80\x80", "-12:\xF4 -112:\x90 -128:\x80 -128:\x80"},  // above the last code point
        {"\xFE\xFF", "-2:\xFE -1:\xFF"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Scan(row.text), row.tokens) << testing::PrintToString(row.text);
}

TEST_F(TokenStringTest, ZeroByteIsATokenOfTypeZero)
{
    EXPECT_EQ(Scan(std::string("a\0b", 3)), std::string("-1:a 0:\0 -1:b", 13));
}

TEST_F(TokenStringTest, EndOfTextStaysTheEnd)
{
    TokenString source("a  ");
    TokenString token;
    unsigned int position = 0;
    int type = 99;
    ASSERT_TRUE(source.NextToken(&position, &type, &token));
    EXPECT_EQ(position, 1u);
    for (int i = 0; i < 2; ++i) {
        token = "left over";
        type = 99;
        EXPECT_FALSE(source.NextToken(&position, &type, &token));
        EXPECT_EQ(position, 3u);
        EXPECT_EQ(type, 0);
        EXPECT_EQ(token.GetType(), 0);
        EXPECT_EQ(token, "");
    }
    position = 1000;
    EXPECT_FALSE(source.NextToken(&position, &type, &token));
    EXPECT_EQ(position, 1000u);
}

TEST_F(TokenStringTest, WildIsAskedOfTheWholeEntry)
{
    const struct
    {
        const char* entries;
        const char* text;
        bool bWild;
    } rows[] = {
        {"*?", "a*?b", true},      {"*?", "a*b?", false},   {"*? %", "a%", true},
        {"* ?", "\"why?\"", true}, {"* ?", "plain", false}, {"", "*?", false},
    };
    TokenString::SetTokenClass(1, TEXT_FORM_WORDS);
    TokenString::SetTokenClass(4, "");
    for (const auto& row : rows) {
        TokenString::SetTokenClass(6, row.entries);
        TokenString source(row.text);
        TokenString token;
        unsigned int position = 0;
        int type = 0;
        ASSERT_TRUE(source.NextToken(&position, &type, &token));
        EXPECT_EQ(token.IsWild(), row.bWild) << row.text << " with " << row.entries;
    }
}

TEST_F(TokenStringTest, FormatCutsAtItsBuffer)
{
    TokenString text("before");
    EXPECT_STREQ(text.Format("%s:0x%x", "key", 255u), "key:0xff");
    EXPECT_EQ(text, "key:0xff");

    const std::string sLong(20000, 'x');
    EXPECT_EQ(std::string(text.Format("%s", sLong.c_str())), sLong.substr(0, 16383));
    text.Format("%s%s", sLong.substr(0, 16382).c_str(), "y");
    EXPECT_EQ(text.size(), 16383u);

    EXPECT_EQ(text.Format(nullptr), nullptr);
    EXPECT_EQ(text, "");
}

TEST_F(TokenStringTest, TrimTakesBlanksAlone)
{
    TokenString text("  \ta b \t ");
    EXPECT_EQ(text.TrimLeft(), 7);
    EXPECT_EQ(text.TrimRight(), 6);
    EXPECT_EQ(text, "\ta b \t");
    text = "   ";
    EXPECT_EQ(text.TrimRight(), 0);
    text += "  ";
    EXPECT_EQ(text.TrimLeft(), 0);
}

std::string FirstToken(const char* text)
{
    TokenString source(text);
    TokenString token;
    unsigned int position = 0;
    int type = 0;
    source.NextToken(&position, &type, &token);
    return token;
}

// Each of two threads changes a class of its own, so it always finds its last change in place; a third scans.
TEST_F(TokenStringTest, ThreadsSeeWholeClassesAndLoseNoChange)
{
    constexpr int ROUNDS = 3000;
    std::atomic<int> nWriting{2};
    std::atomic<int> nLost{0};
    const auto alternate = [&](int nCode, const char* characters, const char* text, const char* token) {
        for (int i = 0; i < ROUNDS; ++i) {
            TokenString::SetTokenClass(nCode, "_");
            TokenString::SetTokenClass(nCode, characters);
            if (FirstToken(text) != token)
                ++nLost;
        }
        --nWriting;
    };
    std::thread words(alternate, 1, "#$@", "#b", "#b");
    std::thread spaces(alternate, 3, "\r", "\rb", "b");
    std::vector<std::string> unexpected;
    do {
        const std::string s = FirstToken("a#$@1");
        if (s != "a#$@1" && s != "a")
            unexpected.push_back(s);
    } while (nWriting > 0);
    words.join();
    spaces.join();
    EXPECT_EQ(unexpected, std::vector<std::string>());
    EXPECT_EQ(nLost, 0) << "changes undone by the other thread";
}

}  // namespace
