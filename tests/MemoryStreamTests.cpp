#include "tools/MemoryStream.h"

#include <climits>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

std::string Bytes(const MemoryStream& stream)
{
    return {reinterpret_cast<const char*>(stream.Data()), stream.Size()};
}

MemoryStream Of(const std::string& sBytes) { return {sBytes.data(), sBytes.size()}; }

// A field: how it is written, the bytes that it makes, and how it is read, with the value as text.
struct FieldRow
{
    const char* name;
    std::function<int(MemoryStream&)> write;
    std::string sBytes;
    std::function<int(MemoryStream&, std::string*)> read;
    std::string sValue;
};

template <class T>
FieldRow Row(const char* name, int (MemoryStream::*write)(T), T value, std::string sBytes,
             int (MemoryStream::*read)(T*))
{
    return {name, [=](MemoryStream& s) { return (s.*write)(value); }, std::move(sBytes),
            [=](MemoryStream& s, std::string* pValue) {
                T back{};
                const int result = (s.*read)(&back);
                if (result > 0)
                    *pValue = std::to_string(back);
                return result;
            },
            std::to_string(value)};
}

std::vector<FieldRow> Fields()
{
    using M = MemoryStream;
    return {
        Row<unsigned int>("uint", &M::WriteUInt, 0x89ABCDEF, "\xEF\xCD\xAB\x89", &M::ReadUInt),
        Row<int>("int", &M::WriteInt, -2, "\xFE\xFF\xFF\xFF", &M::ReadInt),
        Row<unsigned short>("ushort", &M::WriteUShort, 0xFFFE, "\xFE\xFF", &M::ReadUShort),
        Row<short>("short", &M::WriteShort, -32767, std::string("\x01\x80", 2), &M::ReadShort),
        Row<bool>("true", &M::WriteBool, true, "\x01", &M::ReadBool),
        Row<bool>("false", &M::WriteBool, false, std::string(1, '\0'), &M::ReadBool),
        Row<unsigned char>("ubyte", &M::WriteUByte, 200, "\xC8", &M::ReadUByte),
        Row<signed char>("byte", &M::WriteByte, -128, "\x80", &M::ReadByte),
    };
}

}  // namespace

TEST(MemoryStream, FieldsAreLittleEndianAndComeBack)
{
    for (const FieldRow& row : Fields()) {
        SCOPED_TRACE(row.name);
        MemoryStream stream;
        EXPECT_GT(row.write(stream), 0);
        EXPECT_EQ(Bytes(stream), row.sBytes);
        std::string sValue;
        EXPECT_GT(row.read(stream, &sValue), 0);
        EXPECT_EQ(sValue, row.sValue);
        EXPECT_EQ(stream.BytesRemaining(), 0);
    }
}

TEST(MemoryStream, CutFieldFailsAndMovesNothing)
{
    for (const FieldRow& row : Fields()) {
        SCOPED_TRACE(row.name);
        MemoryStream stream = Of("x" + row.sBytes.substr(1));
        stream.SkipRead(1);
        std::string sValue = "as it was";
        EXPECT_EQ(row.read(stream, &sValue), -1);
        EXPECT_EQ(sValue, "as it was");
        EXPECT_EQ(stream.GetReadPosition(), 1);
    }
}

// Every field at every distance from the end of the memory, so that each meets the growing write.
TEST(MemoryStream, GrowsInsideAnyField)
{
    for (const FieldRow& row : Fields()) {
        for (int before = 250; before < 260; ++before) {
            SCOPED_TRACE(row.name + std::to_string(before));
            MemoryStream stream;
            const std::string sBefore(static_cast<size_t>(before), 'b');
            stream.WriteBytes(sBefore.data(), before);
            row.write(stream);
            EXPECT_EQ(Bytes(stream), sBefore + row.sBytes);
        }
    }
}

TEST(MemoryStream, LongRunOfWritesKeepsAll)
{
    MemoryStream stream;
    for (int i = 0; i < 300000; ++i)
        stream.WriteInt(i);
    for (int i = 0; i < 300000; ++i) {
        int back = -1;
        stream.ReadInt(&back);
        ASSERT_EQ(back, i);
    }
}

TEST(MemoryStream, SizesOutOfRangeFailAndMoveNothing)
{
    char buffer[8] = "1234567";
    MemoryStream stream = Of("abcd");
    stream.SkipRead(1);
    for (const int n : {-1, INT_MIN, 4, INT_MAX}) {
        SCOPED_TRACE(n);
        EXPECT_EQ(stream.SkipRead(n), -1);
        EXPECT_EQ(stream.ReadBytes(buffer, n), -1);
    }
    for (const int n : {-1, INT_MIN, INT_MAX, INT_MAX - 3}) {
        SCOPED_TRACE(n);
        EXPECT_EQ(stream.SkipWrite(n), -1);
        EXPECT_EQ(stream.WriteBytes(buffer, n), -1);
    }
    EXPECT_EQ(stream.WriteBytes(nullptr, 1), -1);
    EXPECT_EQ(stream.ReadBytes(nullptr, 1), -1);
    EXPECT_STREQ(buffer, "1234567");
    EXPECT_EQ(stream.GetReadPosition(), 1);
    EXPECT_EQ(Bytes(stream), "abcd");
    EXPECT_THROW(MemoryStream(buffer, static_cast<size_t>(INT_MAX) + 1), std::length_error);
}

TEST(MemoryStream, NothingAtAllCanBeMoved)
{
    MemoryStream stream;
    EXPECT_EQ(stream.Data(), nullptr);
    EXPECT_GT(stream.WriteBytes(nullptr, 0), 0);
    EXPECT_GT(stream.SkipWrite(0), 0);
    EXPECT_GT(stream.ReadBytes(nullptr, 0), 0);
    EXPECT_GT(stream.SkipRead(0), 0);
    EXPECT_EQ(stream.Size(), 0U);
}

TEST(MemoryStream, HoleIsZerosUntilFilled)
{
    MemoryStream stream = Of("ab");
    const int hole = stream.GetWritePosition();
    EXPECT_GT(stream.SkipWrite(2), 0);
    stream.WriteUByte('c');
    EXPECT_EQ(Bytes(stream), std::string("ab\0\0c", 5));
    EXPECT_GT(stream.WriteShortAt(hole, 0x7A79), 0);
    EXPECT_EQ(Bytes(stream), "abyzc");
    EXPECT_EQ(stream.GetWritePosition(), 5);

    EXPECT_GT(stream.WriteShortAt(3, 0x3231), 0);
    for (const int pos : {-1, 4, 5, INT_MAX, INT_MIN})
        EXPECT_EQ(stream.WriteShortAt(pos, 0), -1) << pos;
    EXPECT_EQ(Bytes(stream), "aby12");
}

TEST(MemoryStream, DataStaysPutWhileReadingGoesOn)
{
    MemoryStream stream = Of("key");
    const char* key = stream.DataAt(0);
    EXPECT_GT(stream.SkipRead(3), 0);
    EXPECT_EQ(stream.DataAt(0), key);
    EXPECT_EQ(stream.DataAt(2), key + 2);
    for (const int pos : {-1, 3, INT_MAX, INT_MIN})
        EXPECT_EQ(stream.DataAt(pos), nullptr) << pos;
}

TEST(MemoryStream, AnyByteButZeroIsTrue)
{
    MemoryStream stream = Of("\x02");
    bool b = false;
    EXPECT_GT(stream.ReadBool(&b), 0);
    EXPECT_TRUE(b);
}

TEST(MemoryStream, CopiesAndMovesKeepTheirPlace)
{
    MemoryStream first = Of("abcd");
    first.SkipRead(1);
    MemoryStream copy = first;
    MemoryStream moved = std::move(first);
    for (MemoryStream* p : {&copy, &moved}) {
        EXPECT_EQ(p->GetReadPosition(), 1);
        EXPECT_EQ(Bytes(*p), "abcd");
    }
    EXPECT_NE(copy.Data(), moved.Data());
    copy = Of("z");
    EXPECT_EQ(Bytes(copy), "z");
    EXPECT_EQ(copy.BytesRemaining(), 1);
    EXPECT_GT(copy.WriteUByte('y'), 0);
    EXPECT_EQ(Bytes(copy), "zy");
}

TEST(MemoryStream, ClearForgetsAndRewindReadsAgain)
{
    MemoryStream stream = Of("abcd");
    stream.SkipRead(4);
    stream.Rewind();
    EXPECT_EQ(stream.BytesRemaining(), 4);
    stream.SkipRead(2);
    stream.Clear();
    EXPECT_EQ(stream.BytesRemaining(), 0);
    EXPECT_EQ(stream.GetReadPosition(), 0);
    EXPECT_EQ(stream.DataAt(0), nullptr);
    stream.WriteUByte('e');
    EXPECT_EQ(Bytes(stream), "e");
}
