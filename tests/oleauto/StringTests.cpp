#include "tests/oleauto/Support.h"

#include <cstring>

namespace {

TEST(AutomationString, LengthInBytesStandsInFrontAndAZeroBehind)
{
    const String s(OLESTR("abc"));
    DWORD cb = 0;
    std::memcpy(&cb, reinterpret_cast<const char*>(static_cast<BSTR>(s)) - 4, 4);
    EXPECT_EQ(cb, 6u);
    EXPECT_EQ(static_cast<BSTR>(s)[3], 0);
    EXPECT_EQ(sizeof(OLECHAR), 2u);
}

TEST(AutomationString, NullIsEmptyAndStaysNull)
{
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysStringByteLen(nullptr), 0u);
    SysFreeString(nullptr);
}

TEST(AutomationString, LengthsOfWhatIsAllocated)
{
    String empty, room, zeros, bytes;
    *&empty = SysAllocStringLen(nullptr, 0);
    *&room = SysAllocStringLen(nullptr, 20);
    *&zeros = SysAllocStringLen(OLESTR("a\0b"), 3);
    *&bytes = SysAllocStringByteLen("abc", 3);
    ASSERT_NE(static_cast<BSTR>(empty), nullptr);
    EXPECT_EQ(SysStringLen(empty), 0u);
    EXPECT_EQ(static_cast<BSTR>(empty)[0], 0);
    EXPECT_EQ(SysStringLen(room), 20u);
    EXPECT_EQ(static_cast<BSTR>(room)[20], 0);
    EXPECT_EQ(SysStringLen(zeros), 3u);
    EXPECT_EQ(static_cast<BSTR>(zeros)[2], 'b');
    EXPECT_EQ(SysStringByteLen(bytes), 3u);
    EXPECT_EQ(SysStringLen(bytes), 1u);
    EXPECT_EQ(std::memcmp(bytes, "abc", 3), 0);
}

TEST(AutomationString, ReallocationTakesTheNewTextAlsoFromTheOldOne)
{
    String s(OLESTR("abcdef"));
    EXPECT_TRUE(SysReAllocString(&s, static_cast<BSTR>(s) + 4));
    EXPECT_EQ(s.Text(), "ef");
    EXPECT_TRUE(SysReAllocStringLen(&s, OLESTR("xyz"), 2));
    EXPECT_EQ(s.Text(), "xy");
}

}  // namespace
