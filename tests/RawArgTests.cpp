#include "values/RawArg.h"

#include "tests/TestSupport.h"

#include <cstring>

namespace {

class RawArgTest : public testing::Test
{
protected:
    void Fill(const std::string& bytes) { m_raw->SetValue(bytes.data(), static_cast<int>(bytes.size())); }

    const Holder<RawArg> m_raw{RawArg::Create()};
};

TEST_F(RawArgTest, BlockIsReadAsFarAsBothHaveBytes)
{
    const struct
    {
        int iRoom, nCopied;
        const char* buffer;
    } rows[] = {{4, 4, "0123........"},
                {10, 10, "0123456789.."},
                {12, 10, "0123456789.."},
                {0, 0, "............"},
                {-1, 0, "............"}};
    char buffer[13] = "............";
    EXPECT_EQ(m_raw->GetValue(buffer, 12), 0);
    EXPECT_STREQ(buffer, "............");
    Fill("0123456789");
    for (const auto& row : rows) {
        strcpy(buffer, "............");
        EXPECT_EQ(m_raw->GetValue(buffer, row.iRoom), row.nCopied);
        EXPECT_STREQ(buffer, row.buffer) << row.iRoom;
    }
    EXPECT_EQ(m_raw->GetValue(nullptr, 10), 0);
}

TEST_F(RawArgTest, BlockIsReplacedAndEmptied)
{
    const struct
    {
        const char* bytes;
        int iLength;
        const char* shown;
    } rows[] = {{"abc", 3, "RAW 616263"}, {"a", 2, "RAW 6100"}, {nullptr, 5, "NOTSET"},
                {"abc", 1, "RAW 61"},     {"abc", 0, "NOTSET"}, {"abc", -1, "NOTSET"}};
    for (const auto& row : rows) {
        EXPECT_TRUE(m_raw->SetValue(row.bytes, row.iLength)) << row.shown;
        EXPECT_EQ(Show(*m_raw), row.shown);
    }
}

TEST_F(RawArgTest, BlockStandsBesideTheInheritedValue)
{
    Fill("12");
    int i;
    EXPECT_FALSE(m_raw->GetValueInt(&i));
    EXPECT_EQ(m_raw->GetType(), ARG_NOTSET);
    EXPECT_EQ(m_raw->DumpArg(), "");
    EXPECT_TRUE(m_raw->SetValue(7));
    const ArgHolder clone(m_raw->Clone());
    Fill("other");
    EXPECT_EQ(clone->GetClassID(), CLASS_ID_RAWARG);
    EXPECT_EQ(Show(*clone), "RAW 3132");
    EXPECT_EQ(clone->GetValueInt(), 7);
}

TEST_F(RawArgTest, WorkedBytes)
{
    ExpectRecord(*m_raw, "00000000", "00");
    Fill(std::string("\0\1\0", 3));
    ExpectRecord(*m_raw, "03000000 000100", "06 0400 000100 00");
}

TEST_F(RawArgTest, ReadsLeaveNothingOfTheOldBlock)
{
    const auto Used = [] {
        RawArg* pRaw = RawArg::Create();
        pRaw->SetValue("old", 3);
        return pRaw;
    };
    ExpectReads(
        {
            {FULL, "half a length", "0300", -1, "NOTSET", 2},
            {FULL, "negative length", "ffffffff 01", 1, "NOTSET", 1},
            {FULL, "length beyond the end", "04000000 010203", -1, "NOTSET", 3},
            {FULL, "length beyond all memory", "ffffff7f 010203", -1, "NOTSET", 3},
            {FULL, "block and a byte behind", "02000000 010203", 1, "RAW 0102", 1},
            {COMPACT, "nothing", "", -1, "NOTSET", 0},
            {COMPACT, "size zero", "06 0000 00", -1, "NOTSET", 1},
            {COMPACT, "size of the closing zero", "06 0100 00 01", 1, "NOTSET", 1},
            {COMPACT, "size beyond the end", "06 0500 01020300", -1, "NOTSET", 4},
            {COMPACT, "another tag", "0f 05 01", 1, "INT 5", 1},
            {COMPACT, "unset", "00 01", 1, "NOTSET", 1},
            {COMPACT, "unknown tag", "07 01", -1, "TYPE 7", 1},
        },
        Used);
}

TEST_F(RawArgTest, LengthBeyondTheEndIsSeenBeforeAnyByteIsRead)
{
    FailingStream full(2, FromHex("ffffff7f 010203")), compact(3, FromHex("06 ffff 010203"));
    EXPECT_EQ(m_raw->Unpack(full), -1);
    EXPECT_FALSE(full.HasRefused());
    EXPECT_EQ(m_raw->Unpack2(compact), -1);
    EXPECT_FALSE(compact.HasRefused());
}

TEST_F(RawArgTest, CompactBlockOnlyUpToWhatItsSizeHolds)
{
    const Holder<RawArg> back(RawArg::Create());
    MemoryStream stream, untouched, whole;
    Fill(std::string(65534, '\0'));
    EXPECT_EQ(m_raw->Pack2(stream), 1);
    EXPECT_EQ(back->Unpack2(stream), 1);
    EXPECT_EQ(back->GetLength(), 65534);
    Fill(std::string(65535, '\0'));
    EXPECT_EQ(m_raw->Pack2(untouched), -1);
    EXPECT_EQ(untouched.Size(), 0u);
    EXPECT_EQ(m_raw->Pack(whole), 1);
    EXPECT_EQ(back->Unpack(whole), 1);
    EXPECT_EQ(back->GetLength(), 65535);
}

// It makes a plain value of class 2 and takes the block for a text, cut at its first zero.
TEST_F(RawArgTest, ReaderWithoutBlocksStaysInStep)
{
    Fill(std::string("ab\0cd", 5));
    MemoryStream stream;
    m_raw->Pack2(stream);
    const ArgHolder plain(Arg::Create());
    EXPECT_EQ(plain->Unpack2(stream), 1);
    EXPECT_EQ(Show(*plain), "\"ab\"");
    EXPECT_EQ(stream.BytesRemaining(), 0);
}

}  // namespace
