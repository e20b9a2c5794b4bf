#include "values/ArgPackager.h"

#include "tests/TestSupport.h"
#include "values/RawArg.h"

namespace {

// A row's frame, the value that comes of it, and how many bytes are left: two stand behind most frames.
TEST(ArgPackagerTest, FramesByTheirBytes)
{
    const struct
    {
        const Form& form;
        const char* name;
        const char* bytes;
        const char* shown;  // null where none is made
        int nRemaining;
        bool bOurs;  // a writer of today makes it
    } rows[] = {
        {FULL, "text", "0100 0800 0400 0600 61626300 eeee", "\"abc\"", 2, true},
        {FULL, "number", "0100 0800 0400 0100 64000000 eeee", "INT 100", 2, true},
        {FULL, "unset", "0100 0400 0000 0000 eeee", "NOTSET", 2, true},
        {FULL, "block", "0200 0600 02000000 0102 eeee", "RAW 0102", 2, true},
        {FULL, "container", "0600 0200 0000 eeee", "()", 2, true},
        {FULL, "class 3 is a plain value", "0300 0800 0400 0100 05000000 eeee", "INT 5", 2, false},
        {FULL, "unknown class", "0400 0a00 00010203040506070809 eeee", nullptr, 2, false},
        {FULL, "unknown class without a record", "0400 0000 eeee", nullptr, 2, false},
        {FULL, "negative class", "ffff 0100 00 eeee", nullptr, 2, false},
        {FULL, "unknown class, size beyond the end", "0400 0300 eeee", nullptr, 2, false},
        {FULL, "unknown class, size negative", "0400 feff eeee", nullptr, 2, false},
        {FULL, "known class, size too small", "0100 0000 0400 0100 05000000 eeee", "INT 5", 2, false},
        {FULL, "known class, size too large", "0100 ff7f 0400 0100 05000000 eeee", "INT 5", 2, false},
        {FULL, "known class, unknown tag", "0100 0600 0200 0700 0102 eeee", nullptr, 2, false},
        {FULL, "half a size", "0100 ee", nullptr, 1, false},
        {COMPACT, "text", "01 06 0400 61626300 eeee", "\"abc\"", 2, true},
        {COMPACT, "number", "01 0f 64 eeee", "INT 100", 2, true},
        {COMPACT, "container", "06 0000 eeee", "()", 2, true},
        {COMPACT, "class 3 is a plain value", "03 0f05 eeee", "INT 5", 2, false},
        {COMPACT, "class 200", "c8 eeee", nullptr, 2, false},
        {COMPACT, "nothing", "", nullptr, 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.form.name) + ": " + row.name);
        MemoryStream stream = FromHex(row.bytes);
        const ArgHolder arg = row.form.UnpackFrame(stream);
        EXPECT_EQ(stream.BytesRemaining(), row.nRemaining);
        ASSERT_EQ(arg != nullptr, row.shown != nullptr);
        if (arg == nullptr)
            continue;
        EXPECT_EQ(Show(*arg), row.shown);
        EXPECT_EQ(CountOf(*arg), 1);
        MemoryStream again;
        EXPECT_EQ(row.form.PackFrame(arg.get(), again), 1);
        EXPECT_EQ(Hex(again) + "eeee" == Plain(row.bytes), row.bOurs);
        bool bRefused = true;
        for (int n = 1; bRefused; ++n) {
            FailingStream writing(n), reading(n, FromHex(row.bytes));
            const bool bWriterFails = row.form.PackFrame(arg.get(), writing) < 0;
            const bool bReaderFails = row.form.UnpackFrame(reading) == nullptr;
            EXPECT_EQ(bWriterFails, writing.HasRefused()) << "field " << n;
            EXPECT_EQ(bReaderFails, reading.HasRefused()) << "field " << n;
            bRefused = writing.HasRefused() || reading.HasRefused();
        }
    }
}

TEST(ArgPackagerTest, UnknownClassIdSkipsOneFrame)
{
    MemoryStream stream = FromHex("0400 0300 000102 0100 0800 0400 0100 05000000");
    EXPECT_EQ(FULL.UnpackFrame(stream), nullptr);
    EXPECT_EQ(Show(*FULL.UnpackFrame(stream)), "INT 5");
}

TEST(ArgPackagerTest, ResultZeroFailsClassIdAndOuterSize)
{
    const ArgHolder arg(Arg::Create());
    arg->SetValue("abc");
    const std::pair<const Form&, int> rows[] = {{FULL, 1}, {FULL, 5}, {COMPACT, 1}};
    for (const auto& [form, nField] : rows) {
        FailingStream stream(nField, {}, 0);
        EXPECT_EQ(form.PackFrame(arg.get(), stream), -1) << form.name << ' ' << nField;
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

// The outer size wraps for a record above 32767 bytes, and nobody looks at it.
TEST(ArgPackagerTest, RecordAboveTheOuterSizeComesBack)
{
    const Holder<RawArg> raw(RawArg::Create());
    raw->SetValue(std::string(100000, 'x').data(), 100000);
    MemoryStream stream;
    EXPECT_EQ(FULL.PackFrame(raw.get(), stream), 1);
    EXPECT_EQ(Show(*FULL.UnpackFrame(stream)), Show(*raw));
}

}  // namespace
