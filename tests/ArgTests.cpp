#include "values/Arg.h"

#include "failures/OrvexException.h"
#include "tests/TestSupport.h"
#include "values/ArgArguments.h"
#include "values/RawArg.h"

#include <climits>
#include <optional>

namespace {

using std::nullopt;

// A stored value, what it reads as an int, of which the shorter reads take the low bits, and as a boolean;
// nullopt where it does not convert.
struct ConversionRow
{
    std::function<void(Arg&)> store;
    int type;
    std::optional<int> i;
    std::optional<bool> b;
    std::string text;
    const char* dump = nullptr;  // where it is not the text
};

ConversionRow Text(const char* text, std::optional<int> i, std::optional<bool> b)
{
    return {Set(text), ARG_STRING, i, b, text};
}

const ConversionRow CONVERSIONS[] = {
    {[](Arg&) {}, ARG_NOTSET, nullopt, false, ""},
    {Set(70000), ARG_INT, 70000, true, "70000"},
    {Set(40000), ARG_INT, 40000, true, "40000"},
    {Set(256), ARG_INT, 256, false, "256"},
    {Set(257), ARG_INT, 257, true, "257"},
    {Set(INT_MIN), ARG_INT, INT_MIN, false, "-2147483648"},
    {Set(4294967295u), ARG_UINT, -1, true, "-1"},
    {Set<unsigned short>(65535), ARG_USHORT, 65535, true, "65535"},
    {Set<short>(-1), ARG_SHORT, -1, true, "-1"},
    {Set(true), ARG_BOOL, 1, true, "1", "True"},
    {Set(false), ARG_BOOL, 0, false, "0", "False"},
    Text("12", 12, nullopt),
    Text("-1", -1, nullopt),
    Text("+1", 1, true),
    Text("0001", 1, true),
    Text("-", 0, false),
    Text("+", 0, false),
    Text("2147483648", INT_MAX, nullopt),
    Text("4294967297", INT_MAX, nullopt),
    Text("-99999999999999999999999", INT_MIN, nullopt),
    Text("", nullopt, false),
    Text("true", nullopt, true),
    Text("false", nullopt, false),
    Text("True", nullopt, false),
    Text(" 1", nullopt, true),
    Text("\t+1x", nullopt, true),
    Text("2x", nullopt, nullopt),
    Text("7.0", nullopt, nullopt),
    Text("--1", nullopt, false),
    Text("\xC3\xA9", nullopt, false),
};

template <class T, class E>
void ExpectRead(Arg& rArg, bool (Arg::*read)(T*), T (Arg::*value)(), const std::optional<E>& expected)
{
    const T mark = static_cast<T>(77), wanted = expected ? static_cast<T>(*expected) : mark;
    T target = mark;
    EXPECT_EQ((rArg.*read)(&target), expected.has_value());
    EXPECT_EQ(target, wanted);
    EXPECT_FALSE((rArg.*read)(nullptr));
    try {
        EXPECT_EQ((rArg.*value)(), wanted);
        EXPECT_TRUE(expected.has_value());
    } catch (const COrvexException& e) {
        EXPECT_FALSE(expected.has_value());
        EXPECT_STREQ(e.what(), "OrvexException: No value set., Code: -1, Status: -1");
    }
}

TEST(ArgTest, EveryTypeByEveryRead)
{
    for (const ConversionRow& row : CONVERSIONS) {
        const ArgHolder arg(Arg::Create());
        row.store(*arg);
        SCOPED_TRACE(Show(*arg));
        for (int nRound = 1; nRound <= 2; ++nRound) {  // the second with the texts of the first in the cache
            ExpectRead<int>(*arg, &Arg::GetValueInt, &Arg::GetValueInt, row.i);
            ExpectRead<unsigned int>(*arg, &Arg::GetValueUInt, &Arg::GetValueUInt, row.i);
            ExpectRead<unsigned short>(*arg, &Arg::GetValueUShort, &Arg::GetValueUShort, row.i);
            ExpectRead<short>(*arg, &Arg::GetValueShort, &Arg::GetValueShort, row.i);
            ExpectRead<bool>(*arg, &Arg::GetValueBool, &Arg::GetValueBool, row.b);
            EXPECT_EQ(arg->GetValueString(), row.text);
            EXPECT_EQ(arg->DumpArg(), row.dump != nullptr ? row.dump : row.text);
            std::string text = "mark";
            EXPECT_TRUE(arg->GetValueString(&text));
            EXPECT_EQ(text, row.text);
            EXPECT_FALSE(arg->GetValueString(nullptr));
            EXPECT_EQ(arg->GetType(), row.type);
        }
    }
}

// Whatever a value held before, and whatever texts its reads left behind, the next write leaves nothing of
// it.
TEST(ArgTest, EveryTypeReplacesEveryOther)
{
    for (const ConversionRow& before : CONVERSIONS) {
        for (const ConversionRow& after : CONVERSIONS) {
            const ArgHolder arg(Arg::Create()), source(Arg::Create());
            before.store(*arg);
            arg->DumpArg();
            after.store(*source);
            SCOPED_TRACE(Show(*arg) + " becomes " + Show(*source));
            EXPECT_TRUE(arg->SetValue(*source));
            EXPECT_EQ(Show(*arg), Show(*source));
            ExpectRead<int>(*arg, &Arg::GetValueInt, &Arg::GetValueInt, after.i);
        }
    }
}

TEST(ArgTest, CloneSharesNothing)
{
    for (const ConversionRow& row : CONVERSIONS) {
        const ArgHolder arg(Arg::Create());
        row.store(*arg);
        const std::string shown = Show(*arg);
        const ArgHolder clone(arg->Clone());
        arg->SetValue("other");
        EXPECT_EQ(Show(*clone), shown);
        EXPECT_EQ(CountOf(*clone), 1) << shown;
    }
}

TEST(ArgTest, TextsAreKeptWhole)
{
    std::string text("a\0b", 3);
    const ArgHolder arg(Arg::Create());
    EXPECT_TRUE(arg->SetValue(text));  // not const: an overload of its own
    EXPECT_EQ(arg->GetValueString(), text);
    EXPECT_TRUE(arg->SetValue(arg->GetValueString()));  // its own text
    EXPECT_EQ(arg->GetValueString(), text);
}

// A null text, the value itself, and what is no plain value.
TEST(ArgTest, SourcesThatLeaveTheTarget)
{
    const ArgHolder arg(Arg::Create()), unknown(Arg::Create());
    arg->SetValue(5);
    MemoryStream stream = FromHex("0a");
    unknown->Unpack2(stream);
    const ArgumentsHolder args(Arguments::CreateInstance()), changed(Arguments::CreateInstance());
    static_cast<Arg&>(*changed).SetValue(6);
    const Holder<ArgArguments> holding(ArgArguments::Create());
    EXPECT_FALSE(arg->SetValue(static_cast<const char*>(nullptr)));
    EXPECT_TRUE(arg->SetValue(*arg));
    for (Arg* pSource : {static_cast<Arg*>(args.get()), static_cast<Arg*>(changed.get()),
                         static_cast<Arg*>(holding.get()), unknown.get()}) {
        EXPECT_FALSE(arg->SetValue(*pSource)) << Show(*pSource);
        EXPECT_EQ(Show(*arg), "INT 5") << Show(*pSource);
    }
}

TEST(ArgTest, OnlyAContainerIsAnArray)
{
    const ArgHolder arg(Arg::Create());
    Arguments* pArgs = nullptr;
    EXPECT_FALSE(arg->GetValueArray(&pArgs));
    EXPECT_EQ(pArgs, nullptr);
    try {
        arg->GetValueArray();
        ADD_FAILURE() << "no exception";
    } catch (const COrvexException& e) {
        EXPECT_STREQ(e.what(), "OrvexException: Not an Arguments array., Code: -1, Status: -1");
    }
    const ArgumentsHolder args(Arguments::CreateInstance());
    Arg& rArg = *args;
    EXPECT_FALSE(rArg.GetValueArray(nullptr));
    EXPECT_TRUE(rArg.GetValueArray(&pArgs));
    EXPECT_EQ(pArgs, args.get());
    EXPECT_EQ(rArg.GetValueArray(), args.get());
    EXPECT_EQ(args->Release(), 2);
    EXPECT_EQ(args->Release(), 1);
}

TEST(ArgTest, CreatorsRefuseANullPlace)
{
    EXPECT_FALSE(Arg::Create(nullptr));
    EXPECT_FALSE(Arguments::CreateInstance(nullptr));
    Arg* pArg = nullptr;
    Arguments* pArgs = nullptr;
    ASSERT_TRUE(Arg::Create(&pArg));
    ASSERT_TRUE(Arguments::CreateInstance(&pArgs));
    EXPECT_EQ(pArg->Release(), 0);
    EXPECT_EQ(pArgs->Release(), 0);
}

}  // namespace
