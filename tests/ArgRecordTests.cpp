#include "tests/TestSupport.h"

namespace {

struct RecordRow
{
    std::function<void(Arg&)> store;
    const char* full;
    const char* compact;
};

// The boundaries of every narrowed tag.
TEST(ArgRecordTest, WorkedBytes)
{
    const RecordRow rows[] = {
        {[](Arg&) {}, "0000 0000", "00"},
        {Set(-32769), "0400 0100 ff7fffff", "01 ff7fffff"},
        {Set(-32768), "0400 0100 0080ffff", "0b 0080"},
        {Set(-129), "0400 0100 7fffffff", "0b 7fff"},
        {Set(-128), "0400 0100 80ffffff", "0e 80"},
        {Set(-1), "0400 0100 ffffffff", "0e ff"},
        {Set(0), "0400 0100 00000000", "0f 00"},
        {Set(255), "0400 0100 ff000000", "0f ff"},
        {Set(256), "0400 0100 00010000", "0c 0001"},
        {Set(65535), "0400 0100 ffff0000", "0c ffff"},
        {Set(65536), "0400 0100 00000100", "01 00000100"},
        {Set(0u), "0400 0200 00000000", "10 00"},
        {Set(255u), "0400 0200 ff000000", "10 ff"},
        {Set(256u), "0400 0200 00010000", "0d 0001"},
        {Set(65535u), "0400 0200 ffff0000", "0d ffff"},
        {Set(65536u), "0400 0200 00000100", "02 00000100"},
        {Set(4294967295u), "0400 0200 ffffffff", "02 ffffffff"},
        {Set<unsigned short>(255), "0200 0300 ff00", "13 ff"},
        {Set<unsigned short>(256), "0200 0300 0001", "03 0001"},
        {Set<unsigned short>(65535), "0200 0300 ffff", "03 ffff"},
        {Set<short>(-129), "0200 0400 7fff", "04 7fff"},
        {Set<short>(-128), "0200 0400 80ff", "11 80"},
        {Set<short>(-1), "0200 0400 ffff", "11 ff"},
        {Set<short>(0), "0200 0400 0000", "12 00"},
        {Set<short>(255), "0200 0400 ff00", "12 ff"},
        {Set<short>(256), "0200 0400 0001", "04 0001"},
        {Set(true), "0100 0500 01", "05 01"},
        {Set(false), "0100 0500 00", "05 00"},
        {Set("abc"), "0400 0600 61626300", "06 0400 61626300"},
        {Set(""), "0100 0600 00", "06 0100 00"},
    };
    for (const RecordRow& row : rows) {
        const ArgHolder arg(Arg::Create());
        row.store(*arg);
        ExpectRecord(*arg, row.full, row.compact);
    }
}

TEST(ArgRecordTest, RecordsThatNoWriterOfTodayMakes)
{
    ExpectReads(
        {
            {FULL, "unset, nothing behind", "0000", 1, "NOTSET", 0},
            {FULL, "unset, one byte behind", "0000 00", 1, "NOTSET", 1},
            {FULL, "unset without tag, a number behind", "0000 0400 0100 05000000", 1, "NOTSET", 8},
            {FULL, "unset without tag, a high byte behind", "0000 0001", 1, "NOTSET", 2},
            {FULL, "unset with a size", "0400 0000 01020304", 1, "NOTSET", 4},
            {FULL, "size that is not the number's", "0900 0100 05000000", 1, "INT 5", 0},
            {FULL, "text cut by a zero inside", "0500 0600 61006200 00 ff", 1, "\"a\"", 1},
            {FULL, "text without zero in its size", "0300 0600 616263 00", -1, "\"\"", 4},
            {FULL, "text size beyond the end", "0500 0600 61626300", -1, "\"\"", 4},
            {FULL, "text size negative", "ffff 0600 61626300", -1, "\"\"", 4},
            {FULL, "container's tag", "0c00 0700 000102030405060708090a0b ff", -1, "TYPE 7", 1},
            {FULL, "narrowed tag", "0100 0f00 05 ff", -1, "TYPE 15", 1},
            {FULL, "negative tag", "0200 ffff 0102 ff", -1, "TYPE -1", 1},
            {FULL, "unknown tag, size negative", "feff 0700 0102", -1, "TYPE 7", 2},
            {FULL, "unknown tag, size beyond the end", "0300 0700 0102", -1, "TYPE 7", 2},
            {COMPACT, "wide tag of a small int", "01 05000000", 1, "INT 5", 0},
            {COMPACT, "wide tag of a small uint", "02 05000000", 1, "UINT 5", 0},
            {COMPACT, "wide tag of a small ushort", "03 0500", 1, "USHORT 5", 0},
            {COMPACT, "wide tag of a small short", "04 0500", 1, "SHORT 5", 0},
            {COMPACT, "short field of a small int", "0b ffff", 1, "INT -1", 0},
            {COMPACT, "byte field of a positive int", "0e 7f", 1, "INT 127", 0},
            {COMPACT, "byte field of a positive short", "11 7f", 1, "SHORT 127", 0},
            {COMPACT, "text cut by a zero inside", "06 0500 6100620000 ff", 1, "\"a\"", 1},
            {COMPACT, "text without zero in its size", "06 0300 616263 00", -1, "\"\"", 4},
            {COMPACT, "text size beyond the end", "06 ffff 61626300", -1, "\"\"", 4},
            {COMPACT, "text size zero", "06 0000 00", -1, "\"\"", 1},
            {COMPACT, "tag 7", "07 0102", -1, "TYPE 7", 2},
            {COMPACT, "tag 10", "0a 0102", -1, "TYPE 10", 2},
            {COMPACT, "tag 20", "14 0102", -1, "TYPE 20", 2},
            {COMPACT, "tag 200", "c8 0102", -1, "TYPE 200", 2},
        },
        [] { return Arg::Create(); });
}

// Into a value that was in use. In a new one that leaves an unpacked short of -1 at 65535 for the wider
// reads.
TEST(ArgRecordTest, NarrowFieldsKeepTheHighBits)
{
    const struct
    {
        const Form& form;
        const char* bytes;
        int iFromZero, iFromUsed;
    } rows[] = {
        {FULL, "0200 0300 0500", 5, 0x12340005},
        {FULL, "0200 0400 ffff", 65535, 0x1234FFFF},
        {FULL, "0100 0500 01", 1, 0x12345601},
        {COMPACT, "03 0500", 5, 0x12340005},
        {COMPACT, "04 ffff", 65535, 0x1234FFFF},
        {COMPACT, "05 01", 1, 0x12345601},
        {COMPACT, "11 ff", 65535, 0x1234FFFF},
        {COMPACT, "12 05", 5, 0x12340005},
        {COMPACT, "13 05", 5, 0x12340005},
        {COMPACT, "0e ff", -1, -1},
        {COMPACT, "0f 05", 5, 5},
        {COMPACT, "10 05", 5, 5},
    };
    for (const auto& row : rows) {
        const ArgHolder fresh(Arg::Create()), used(Arg::Create());
        used->SetValue(0x12345678);
        MemoryStream stream = FromHex(row.bytes);
        EXPECT_EQ(row.form.Unpack(*fresh, stream), 1) << row.bytes;
        EXPECT_EQ(fresh->GetValueInt(), row.iFromZero) << row.bytes;
        stream.Rewind();
        EXPECT_EQ(row.form.Unpack(*used, stream), 1) << row.bytes;
        EXPECT_EQ(used->GetValueInt(), row.iFromUsed) << row.bytes;
    }
}

TEST(ArgRecordTest, TextOnlyUpToWhatItsSizeHolds)
{
    const std::pair<const Form&, std::size_t> rows[] = {{FULL, 32766}, {COMPACT, 65534}};
    for (const auto& [form, most] : rows) {
        SCOPED_TRACE(form.name);
        const ArgHolder arg(Arg::Create()), back(Arg::Create());
        arg->SetValue(std::string(most, 'x'));
        MemoryStream stream, untouched;
        EXPECT_EQ(form.Pack(*arg, stream), 1);
        EXPECT_EQ(form.Unpack(*back, stream), 1);
        EXPECT_EQ(back->GetValueString(), arg->GetValueString());
        arg->SetValue(std::string(most + 1, 'x'));
        EXPECT_EQ(form.Pack(*arg, untouched), -1);
        EXPECT_EQ(untouched.Size(), 0u);
    }
}

TEST(ArgRecordTest, TagThatIsNoPlainValueIsNotWritten)
{
    const ArgHolder arg(Arg::Create());
    for (const char* bytes : {"0100 0700 00", "0100 ffff 00"}) {
        MemoryStream record = FromHex(bytes);
        EXPECT_EQ(arg->Unpack(record), -1);
        for (const Form& form : FORMS) {
            MemoryStream untouched;
            EXPECT_EQ(form.Pack(*arg, untouched), -1) << form.name << ' ' << bytes;
            EXPECT_EQ(untouched.Size(), 0u);
        }
    }
}

TEST(ArgRecordTest, ResultZeroFailsTheCompactTag)
{
    const ArgHolder arg(Arg::Create());
    for (const auto& store : {Set(5), Set("x"), Set(true)}) {
        store(*arg);
        FailingStream stream(1, {}, 0);
        EXPECT_EQ(arg->Pack2(stream), -1) << Show(*arg);
        EXPECT_EQ(stream.Bytes().Size(), 0u) << Show(*arg);
    }
}

}  // namespace
