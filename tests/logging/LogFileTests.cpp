#include "tests/logging/Stage.h"
#include "tools/traceserver/LogFile.h"

#include <gtest/gtest.h>

#include <fstream>

namespace fs = std::filesystem;

namespace {

std::string Content(const fs::path& path)
{
    std::string s;
    for (const std::string& sLine : ReadLines(path.string()))
        s += sLine + '|';
    return s;
}

}  // namespace

TEST(LogFile, CutsBySizeAndKeepsTheLatest)
{
    const TestFolder folder;
    const fs::path path = folder.Path();
    LogFile file(path / "a" / "b", "Name.user", {10, 3});
    for (const char* const record : {"1111\n", "2222\n", "3333\n", "4444\n", "5555\n", "6666\n", "7777\n"})
        ASSERT_TRUE(file.Write(record));
    EXPECT_EQ(Content(path / "a/b/Name.user.log"), "7777|");
    EXPECT_EQ(Content(path / "a/b/Name.user.1.log"), "5555|6666|");
    EXPECT_EQ(Content(path / "a/b/Name.user.2.log"), "3333|4444|");
    EXPECT_FALSE(fs::exists(path / "a/b/Name.user.3.log"));
    ASSERT_TRUE(file.Write("longer than a file\n"));
    EXPECT_EQ(Content(path / "a/b/Name.user.log"), "longer than a file|");
}

TEST(LogFile, NameCannotLeaveTheFolder)
{
    const TestFolder folder;
    for (const char* const name : {"../../up", "C:\\Logs\\x", "..", "a/b"}) {
        LogFile file(folder.Path(), name, {1000, 2});
        ASSERT_TRUE(file.Write("x\n")) << name;
        EXPECT_TRUE(fs::equivalent(file.Path().parent_path(), folder.Path())) << name;
    }
}

TEST(LogFile, RecordThatAKilledServerTore)
{
    struct Row
    {
        const char* left;
        const char* kept;
    };
    for (const Row& row :
         {Row{"", ""}, Row{"whole\n", "whole|"}, Row{"whole\nto", "whole|"}, Row{"torn", ""}}) {
        const TestFolder folder;
        std::ofstream(folder.Path() + "/n.log", std::ios::binary) << row.left;
        LogFile file(folder.Path(), "n", {1000, 2});
        ASSERT_TRUE(file.Write("next\n"));
        EXPECT_EQ(Content(file.Path()), row.kept + std::string("next|")) << row.left;
    }
}

// Here a folder in the place of the file that cannot be moved.
TEST(LogFile, OlderFileThatCannotBeMovedStopsTheCutting)
{
    const TestFolder folder;
    const fs::path path = folder.Path();
    LogFile file(path, "n", {5, 4});
    for (const char* const record : {"1111\n", "2222\n"})
        ASSERT_TRUE(file.Write(record));
    fs::create_directories(path / "n.2.log/in the way");
    fs::create_directories(path / "n.3.log/in the way");
    for (const char* const record : {"3333\n", "4444\n"})
        ASSERT_TRUE(file.Write(record));
    EXPECT_EQ(Content(path / "n.log"), "2222|3333|4444|");
    EXPECT_EQ(Content(path / "n.1.log"), "1111|") << "and nothing is lost";
    fs::remove_all(path / "n.2.log");
    ASSERT_TRUE(file.Write("5555\n"));
    EXPECT_EQ(Content(path / "n.log"), "5555|");
    EXPECT_EQ(Content(path / "n.1.log"), "2222|3333|4444|");
    EXPECT_EQ(Content(path / "n.2.log"), "1111|");
}

TEST(LogFile, FolderThatCannotBe)
{
    const TestFolder folder;
    std::ofstream(folder.Path() + "/file") << "in the way";
    LogFile file(folder.Path() + "/file/below", "n", {1000, 2});
    EXPECT_FALSE(file.Write("x\n"));
    fs::remove(folder.Path() + "/file");
    EXPECT_TRUE(file.Write("x\n")) << "and then can";
}
