#include "tests/logging/Stage.h"
#include "tools/traceserver/LogFile.h"

#include <gtest/gtest.h>

// Windows does not let go of a file that is written.
TEST(LogFile, MovedAwayUnderIt)
{
    const TestFolder folder;
    LogFile file(folder.Path(), "n", {1000, 2});
    ASSERT_TRUE(file.Write("one\n"));
    std::filesystem::rename(file.Path(), folder.Path() + "/moved");
    file.Check();
    ASSERT_TRUE(file.Write("two\n"));
    EXPECT_EQ(ReadLines(file.Path().string()), std::vector<std::string>{"two"});
}
