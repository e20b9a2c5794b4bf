#include "values/ArgPackager.h"

#include "tests/TestSupport.h"
#include "values/RawArg.h"

namespace {

TEST(ArgPackagerTest, WorkedFramesAndBack)
{
    const ArgHolder text(Arg::Create()), number(Arg::Create()), unset(Arg::Create());
    text->SetValue("abc");
    number->SetValue(100);
    const Holder<RawArg> raw(RawArg::Create());
    raw->SetValue("\1\2", 2);
    const ArgumentsHolder args(Arguments::CreateInstance());
    const struct
    {
        Arg& rArg;
        const char* full;
        const char* compact;
    } rows[] = {
        {*text, "0100 0800 0400 0600 61626300", "01 06 0400 61626300"},
        {*number, "0100 0800 0400 0100 64000000", "01 0f 64"},
        {*unset, "0100 0400 0000 0000", "01 00"},
        {*raw, "0200 0600 02000000 0102", "02 06 0300 010200"},
        {*args, "0600 0200 0000", "06 0000"},
    };
    for (const auto& row : rows) {
        for (const Form& form : FORMS) {
            SCOPED_TRACE(std::string(form.name) + " " + Show(row.rArg));
            MemoryStream stream;
            EXPECT_EQ(form.PackFrame(&row.rArg, stream), 1);
            EXPECT_EQ(Hex(stream), Plain(form.bFull ? row.full : row.compact));
            EXPECT_EQ(CountOf(row.rArg), 1);
            const ArgHolder back = form.UnpackFrame(stream);
            ASSERT_NE(back, nullptr);
            EXPECT_EQ(CountOf(*back), 1);
            EXPECT_EQ(Show(*back), Show(row.rArg));
            EXPECT_EQ(stream.BytesRemaining(), 0);

            EXPECT_GE(FieldsRefused({}, [&](Serialize& s) { return form.PackFrame(&row.rArg, s); }), 2);
            stream.Rewind();
            EXPECT_GE(
                FieldsRefused(stream, [&](Serialize& s) { return form.UnpackFrame(s) != nullptr ? 1 : -1; }),
                2);
        }
    }
}

TEST(ArgPackagerTest, ResultZeroFailsClassIdAndOuterSize)
{
    const ArgHolder arg(Arg::Create());
    arg->SetValue("abc");
    const struct
    {
        const Form& form;
        int nField;
    } rows[] = {{FULL, 1}, {FULL, 5}, {COMPACT, 1}};
    for (const auto& row : rows) {
        FailingStream stream(row.nField, {}, 0);
        EXPECT_EQ(row.form.PackFrame(arg.get(), stream), -1) << row.form.name << ' ' << row.nField;
    }
}

TEST(ArgPackagerTest, NullIsNotWritten)
{
    for (const Form& form : FORMS) {
        MemoryStream stream;
        EXPECT_EQ(form.PackFrame(nullptr, stream), -1) << form.name;
        EXPECT_EQ(stream.Size(), 0u) << form.name;
    }
}

// A row's frame, whether it gives a value, and how many of the two bytes behind it are left.
TEST(ArgPackagerTest, FramesThatNoWriterOfTodayMakes)
{
    const struct
    {
        const char* name;
        const Form& form;
        const char* bytes;
        const char* shown;
        int nRemaining;
    } rows[] = {
        {"class 3 is a plain value", FULL, "0300 0800 0400 0100 05000000 eeee", "INT 5", 2},
        {"unknown class", FULL, "0400 0a00 00010203040506070809 eeee", "", 2},
        {"unknown class without a record", FULL, "0400 0000 eeee", "", 2},
        {"negative class", FULL, "ffff 0100 00 eeee", "", 2},
        {"unknown class, size beyond the end", FULL, "0400 0300 eeee", "", 2},
        {"unknown class, size negative", FULL, "0400 feff eeee", "", 2},
        {"known class, size too small", FULL, "0100 0000 0400 0100 05000000 eeee", "INT 5", 2},
        {"known class, size too large", FULL, "0100 ff7f 0400 0100 05000000 eeee", "INT 5", 2},
        {"known class, size negative", FULL, "0100 ffff 0400 0100 05000000 eeee", "INT 5", 2},
        {"known class, unknown tag", FULL, "0100 0600 0200 0700 0102 eeee", "", 2},
        {"no size", FULL, "0100 ee", "", 1},
        {"no class", FULL, "", "", 0},
        {"class 3 is a plain value", COMPACT, "03 0f05 eeee", "INT 5", 2},
        {"class 200", COMPACT, "c8 eeee", "", 2},
        {"class 4", COMPACT, "04 eeee", "", 2},
        {"class 0", COMPACT, "00 eeee", "", 2},
        {"no class", COMPACT, "", "", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.form.name) + ", " + row.name);
        MemoryStream stream = FromHex(row.bytes);
        const ArgHolder arg = row.form.UnpackFrame(stream);
        EXPECT_EQ(arg ? Show(*arg) : "", row.shown);
        EXPECT_EQ(stream.BytesRemaining(), row.nRemaining);
    }
}

TEST(ArgPackagerTest, UnknownClassIdSkipsOneFrame)
{
    MemoryStream stream = FromHex("0400 0a00 00010203040506070809 0100 0800 0400 0100 05000000");
    EXPECT_EQ(FULL.UnpackFrame(stream), nullptr);
    const ArgHolder next = FULL.UnpackFrame(stream);
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(Show(*next), "INT 5");
}

// The outer size wraps for a record above 32767 bytes and nobody looks at it.
TEST(ArgPackagerTest, RecordAboveTheOuterSizeComesBack)
{
    const Holder<RawArg> raw(RawArg::Create());
    raw->SetValue(std::string(100000, 'x').data(), 100000);
    MemoryStream stream;
    EXPECT_EQ(FULL.PackFrame(raw.get(), stream), 1);
    const ArgHolder back = FULL.UnpackFrame(stream);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(static_cast<RawArg&>(*back).GetLength(), 100000);
}

}  // namespace
