#include "arguments/Arguments.h"
#include "arguments/TokenString.h"
#include "values/ArgTypes.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <thread>
#include <vector>

namespace {

// Every entry by position with its type to be seen: a=1 b="x" c=(1=1 2="x").
std::string Show(Arguments& rArgs)
{
    std::string s;
    for (int i = 1; i <= rArgs.NumElements(); ++i) {
        const ArgHolder value(rArgs.GetElement(i));
        s += (i > 1 ? " " : "") + rArgs.GetElementKey(i) + "=";
        switch (value->GetType()) {
        case ARG_INT: s += std::to_string(value->GetValueInt()); break;
        case ARG_STRING: s += '"' + value->GetValueString() + '"'; break;
        case ARG_ARGARRAY: s += '(' + Show(dynamic_cast<Arguments&>(*value)) + ')'; break;
        default: s += "type " + std::to_string(value->GetType()); break;
        }
    }
    return s;
}

// A literal would take the overload that stores it.
bool Parse(Arguments& rArgs, const std::string& text) { return rArgs.SetValue(text); }

std::string Parsed(const std::string& text)
{
    const ArgumentsHolder args(Arguments::CreateInstance());
    return Parse(*args, text) ? Show(*args) : "false: " + Show(*args);
}

TEST(ArgumentsTextTest, TextsBecomeEntries)
{
    const struct
    {
        const char* text;
        const char* entries;
    } rows[] = {
        {"", ""},
        {" \t ", ""},
        {"a=1", "a=1"},
        {"a=1;b=2;", "a=1 b=2"},
        {" a\t=  1 ; b = 2 ; ", "a=1 b=2"},
        {"a=x y", "a=(1=\"x\" 2=\"y\")"},
        {"a=\"x y\"", "a=\"x y\""},
        {"a=1,2,3", "a=(1=1 2=2 3=3)"},
        {"a=1,,2", "a=(1=1 2=\"\" 3=2)"},
        {"a=1,", "a=(1=1 2=\"\")"},
        {"a=1,;b=2", "a=(1=1 2=\"\") b=2"},
        {"a=,1", "a=1"},
        {"a=,,1", "a=(1=\"\" 2=1)"},
        {"a=,", "a=\"\""},
        {"a=,,", "a=(1=\"\" 2=\"\")"},
        {"a=1 b=2", "a=(1=1 2=\"b\" 3=\"=\" 4=2)"},
        {"a=;", ""},
        {"a=", ""},
        {"a=;b=2", "b=2"},
        {"a", "false: "},
        {"a=1;b", "false: a=1"},
        {"=1", "false: "},
        {";", "false: "},
        {"a:1", "false: "},
        {"a=1:2", "false: "},
        {"a=1,2,x,:;b=2", "false: "},
        {"a=1;;b=2", "false: a=1"},
        {"a=1;,", "false: a=1"},
        {"a=1\nb=2", "false: "},
        {"a=1;\r\n", "false: a=1"},
        {"a \"\" 1", "false: "},

        // What is a number, what a text.
        {"a=-5", "a=\"-5\""},
        {"a=+5", "a=\"+5\""},
        {"a=1.5", "a=\"1.5\""},
        {"a=12b", "a=\"12b\""},
        {"a=\"12\"", "a=\"12\""},
        {"a=007", "a=7"},
        {"a=2147483647,2147483648,99999999999999999999", "a=(1=2147483647 2=2147483647 3=2147483647)"},
        {"a='x';b=`y`;c=\"it's\"", "a=\"x\" b=\"y\" c=\"it's\""},
        {"a=\"\"", "a=\"\""},
        {"a=\"x\\\"y\"", "a=\"x\\\"y\""},
        {"a=\"open;b=2", "a=\"open;b=2\""},

        // What stands for an equal sign, and what is a word.
        {"a==5", "a=5"},
        {"a=>5", "a=5"},
        {"a \"=\" 5", "a=5"},
        {"a=b=c", "a=(1=\"b\" 2=\"=\" 3=\"c\")"},
        {"===1", "===1"},
        {"1=2", "1=2"},
        {"\"a b\"=1;\"\"=2", "=2 a b=1"},
        {"a.b-c/d=[1]", "a.b-c/d=\"[1]\""},
        {"a=<b>", "a=(1=\"<\" 2=\"b>\")"},
        {"or=and", "or=\"and\""},
        {"a=not_ready", "a=(1=\"not\" 2=\"_ready\")"},
        {"a=Jos\u00E9", "a=\"Jos\u00E9\""},
        {"a=Jos\xE9", "a=(1=\"Jos\" 2=\"\xE9\")"},
        {"a=\xFE", "a=\"\xFE\""},  // its type is that of a number

        // Which keys are one.
        {"messageid=9;MESSAGEID=10;x=1", "MessageID=10 x=1"},
        {"Foo=1;foo=2", "Foo=2"},
        {"a=1,2,3,4,5,6,7,8,9,10,11", "a=(1=1 10=10 11=11 2=2 3=3 4=4 5=5 6=6 7=7 8=8 9=9)"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Parsed(row.text), row.entries) << row.text;
}

TEST(ArgumentsTextTest, ZeroByteIsNoPartOfAnEntry)
{
    EXPECT_EQ(Parsed(std::string("a=1;b=2\0", 8)), "false: a=1");
    EXPECT_EQ(Parsed(std::string("a=1;\0=2", 7)), "false: a=1");
}

TEST(ArgumentsTextTest, ClassesSetByOthersAreReplaced)
{
    const struct
    {
        int nCode;
        const char* characters;
        const char* text;
        const char* entries;
    } rows[] = {
        {1, "_.", "a/b=1", "a/b=1"},
        {3, "\n", "a=1;\nb=2", "false: a=1"},
        {4, "+ - * / %", "a=-5", "a=\"-5\""},
    };
    for (const auto& row : rows) {
        TokenString::SetTokenClass(row.nCode, row.characters);
        EXPECT_EQ(Parsed(row.text), row.entries) << row.text << " with class " << row.nCode;
    }
}

TEST(ArgumentsTextTest, TextsMerge)
{
    const ArgumentsHolder args(Arguments::CreateInstance());
    EXPECT_TRUE(Parse(*args, "a=1;b=2;InvokeID=5"));
    EXPECT_FALSE(Parse(*args, "B=3,4;c=x;:"));
    EXPECT_EQ(Show(*args), "InvokeID=5 a=1 b=(1=3 2=4) c=\"x\"");
}

TEST(ArgumentsTextTest, KeywordsAreStoredUnderTheirIds)
{
    const ArgumentsHolder args(Arguments::CreateInstance());
    EXPECT_TRUE(Parse(*args, "agentstate=3;CallVariable1=\"gold customer\""));
    EXPECT_EQ(args->GetValueInt(Keyword::AgentState), 3);
    EXPECT_EQ(args->GetValueString(Keyword::CallVariable1), "gold customer");
}

TEST(ArgumentsTextTest, ContainerOwnsTheOnlyReferences)
{
    const ArgumentsHolder args(Arguments::CreateInstance());
    ASSERT_TRUE(Parse(*args, "one=1;several=x,,2"));
    for (int i = 1; i <= args->NumElements(); ++i)
        EXPECT_EQ(args->GetElement(i)->Release(), 1) << args->GetElementKey(i);
    const ArgumentsHolder list(args->GetValueArray("several"));
    ASSERT_EQ(list->NumElements(), 3);
    for (int i = 1; i <= 3; ++i)
        EXPECT_EQ(list->GetElement(i)->Release(), 1) << i;
}

// A text that reaches a container by another way is parsed, unless the overload is one that stores it.
TEST(ArgumentsTextTest, OnlyTheConstStringFormParses)
{
    const ArgumentsHolder outer(Arguments::CreateInstance());
    const ArgumentsHolder inner(Arguments::CreateInstance());
    ASSERT_TRUE(outer->AddItem("inner", inner.get()));
    EXPECT_TRUE(outer->SetValue("inner", std::string("a=1;b=2")));
    EXPECT_EQ(Show(*inner), "a=1 b=2");

    const ArgHolder source(Arg::Create());
    source->SetValue("c=3");
    EXPECT_TRUE(inner->SetValue(*source));
    EXPECT_EQ(Show(*inner), "a=1 b=2 c=3");

    std::string sStored = "d=4";
    EXPECT_TRUE(inner->SetValue(sStored));
    EXPECT_EQ(inner->GetType(), ARG_STRING);
    EXPECT_EQ(inner->Arg::GetValueString(), "d=4");
    EXPECT_EQ(Show(*inner), "a=1 b=2 c=3");
}

TEST(ArgumentsTextTest, LongTextsAreReadWhole)
{
    constexpr int ENTRIES = 5000;
    std::string text;
    for (int i = 0; i < ENTRIES; ++i)
        text += "Field" + std::to_string(i) + "=" + std::to_string(i) + ";";
    text += "Text=\"" + std::string(100000, 'x') + "\";List=";
    for (int i = 0; i < ENTRIES; ++i)
        text += std::to_string(i) + ",";
    const ArgumentsHolder args(Arguments::CreateInstance());
    ASSERT_TRUE(Parse(*args, text));
    EXPECT_EQ(args->NumElements(), ENTRIES + 2);
    EXPECT_EQ(args->GetValueInt("field4999"), 4999);
    EXPECT_EQ(args->GetValueString("Text").size(), 100000u);
    const ArgumentsHolder list(args->GetValueArray("List"));
    EXPECT_EQ(list->NumElements(), ENTRIES + 1);
    EXPECT_EQ(list->GetValueInt("5000"), 4999);
}

std::string Entry(const std::string& name, int i)
{
    return name + std::to_string(i) + "=" + std::to_string(i);
}

TEST(ArgumentsTextTest, ThreadsParseAtOnce)
{
    TokenString::SetTokenClass(1, "_.");
    TokenString::SetTokenClass(4, "+ - * / %");
    const ArgumentsHolder shared(Arguments::CreateInstance());
    const auto parse = [&](const std::string& name, std::string* pWrong) {
        for (int i = 0; i < 300; ++i) {
            const std::string sNumber = std::to_string(i);
            const std::string s = Parsed("MessageID=9;+a%b=-x," + sNumber);
            if (s != "MessageID=9 +a%b=(1=\"-x\" 2=" + sNumber + ")")
                *pWrong = s;
            if (!Parse(*shared, Entry(name, i)))
                *pWrong = "shared container: false";
        }
    };
    std::string asWrong[2];
    std::thread first(parse, "first", &asWrong[0]);
    std::thread second(parse, "second", &asWrong[1]);
    first.join();
    second.join();
    EXPECT_EQ(asWrong[0], "");
    EXPECT_EQ(asWrong[1], "");
    EXPECT_EQ(shared->NumElements(), 600);
    EXPECT_EQ(shared->GetValueInt("second299"), 299);
}

}  // namespace
