#include "values/ArgArguments.h"

#include "failures/OrvexException.h"
#include "tests/TestSupport.h"

namespace {

// Flag and container (InvokeID=5) in its frame.
const char FULL_HOLDING[] = "01 0600 1900 0100 0900 496e766f6b65494400 0100 0800 0400 0100 05000000";
const char COMPACT_HOLDING[] = "01 06 0100 ffff 0000 01 0f05";

Holder<ArgArguments> Holding()
{
    Holder<ArgArguments> arg(ArgArguments::Create());
    MemoryStream stream = FromHex(COMPACT_HOLDING);
    EXPECT_EQ(arg->Unpack2(stream), 1);
    return arg;
}

TEST(ArgArgumentsTest, HoldsNothingAtFirst)
{
    const Holder<ArgArguments> arg(ArgArguments::Create());
    Arguments* pArgs = nullptr;
    EXPECT_EQ(arg->GetArguments(), nullptr);
    EXPECT_FALSE(arg->GetValueArray(&pArgs));
    EXPECT_THROW(static_cast<Arg&>(*arg).GetValueArray(), COrvexException);
    EXPECT_EQ(arg->GetType(), ARG_ARGUMENT);
    EXPECT_EQ(arg->DumpArg(), "");
    ExpectRecord(*arg, "00", "00");
}

TEST(ArgArgumentsTest, WorkedBytes) { ExpectRecord(*Holding(), FULL_HOLDING, COMPACT_HOLDING); }

TEST(ArgArgumentsTest, HandsOutItsContainerWithAReference)
{
    Holder<ArgArguments> arg = Holding();
    const ArgumentsHolder args(arg->GetArguments());
    EXPECT_EQ(CountOf(*args), 2);
    Arguments* pArgs = nullptr;
    EXPECT_FALSE(arg->GetValueArray(nullptr));
    EXPECT_TRUE(arg->GetValueArray(&pArgs));
    EXPECT_EQ(pArgs, args.get());
    EXPECT_EQ(pArgs->Release(), 2);
    arg.reset();
    EXPECT_EQ(CountOf(*args), 1);
}

TEST(ArgArgumentsTest, CloneCarriesTheContainerOver)
{
    const Holder<ArgArguments> arg = Holding();
    const ArgHolder clone(arg->Clone()), empty(Holder<ArgArguments>(ArgArguments::Create())->Clone());
    ArgumentsHolder(arg->GetArguments())->SetValue("InvokeID", 6);
    EXPECT_EQ(Show(*clone), "ARGUMENT (InvokeID=INT 5)");
    EXPECT_EQ(Show(*empty), "ARGUMENT");
}

TEST(ArgArgumentsTest, AnythingButAContainerBehindTheFlagFails)
{
    ExpectReads(
        {
            {FULL, "number", "01 0100 0800 0400 0100 05000000", -1, "ARGUMENT", 0},
            {FULL, "block", "01 0200 0400 00000000", -1, "ARGUMENT", 0},
            {FULL, "another flag", "01 0500 0100 00", -1, "ARGUMENT", 0},
            {FULL, "unknown class", "01 0400 0200 0000", -1, "ARGUMENT", 0},
            {FULL, "container without its frame", "01 0000", -1, "ARGUMENT", 0},
            {COMPACT, "number", "01 01 0f05", -1, "ARGUMENT", 0},
            {COMPACT, "block", "01 02 00", -1, "ARGUMENT", 0},
            {COMPACT, "another flag", "01 05 00", -1, "ARGUMENT", 0},
            {COMPACT, "unknown class", "01 04 00", -1, "ARGUMENT", 1},
        },
        [] { return Holding().release(); });
}

TEST(ArgArgumentsTest, AnyFlagButOneIsNoContainer)
{
    for (const Form& form : FORMS) {
        for (const char* flag : {"00", "02", "81", "ff"}) {
            const Holder<ArgArguments> arg = Holding();
            const ArgumentsHolder args(arg->GetArguments());
            MemoryStream stream = FromHex(std::string(flag) + "06");
            EXPECT_EQ(form.Unpack(*arg, stream), 1) << flag;
            EXPECT_EQ(Show(*arg), "ARGUMENT") << flag;
            EXPECT_EQ(stream.BytesRemaining(), 1) << flag;
            EXPECT_EQ(CountOf(*args), 1) << flag;
        }
    }
}

TEST(ArgArgumentsTest, MillionFlagsInARowFail)
{
    for (const Form& form : FORMS) {
        const MemoryStream flag = FromHex(form.bFull ? "01 0500 0000" : "01 05");
        MemoryStream stream;
        for (int i = 0; i < 1000000; ++i)
            stream.WriteBytes(flag.Data(), static_cast<int>(flag.Size()));
        EXPECT_EQ(form.Unpack(*Holder<ArgArguments>(ArgArguments::Create()), stream), -1) << form.name;
    }
}

}  // namespace
