// orvexreg and orvexdebugview.
#include "tests/logging/Stage.h"

#include <gtest/gtest.h>

namespace {

struct Row
{
    std::vector<std::string> words;
    int iStatus;
    std::vector<std::string> output;
};

}  // namespace

TEST(LoggingTools, RegSpeaksTheWordsOfWindows)
{
    const std::vector<std::string> done = {"The operation completed successfully."};
    const std::vector<std::string> nothing;
    const Row rows[] = {
        {{"add", "HKCU\\Software\\T", "/v", "Number", "/t", "REG_DWORD", "/d", "0x1F", "/f"}, 0, done},
        {{"add", "HKEY_CURRENT_USER\\software\\t", "-v", "Text", "-t", "reg_sz", "-d", "/f two words", "-f"},
         0,
         done},
        {{"add", "HKCU\\Software\\T", "/ve", "/d", "default", "/f"}, 0, done},
        {{"add", "HKCU\\Software\\T", "/v", "Empty", "/d", "", "/f"}, 0, done},
        {{"add", "HKCU\\Software\\T", "/v", "Bytes", "/t", "REG_BINARY", "/d", "00fF10", "/f"}, 0, done},
        {{"add", "HKCU\\Software\\T", "/v", "List", "/t", "REG_MULTI_SZ", "/d", "a\\0b", "/f"}, 0, done},
        {{"add", "HKCU\\Software\\T\\Below"}, 0, done},
        {{"query", "HKCU\\Software\\T"},
         0,
         {"", "HKEY_CURRENT_USER\\Software\\T", "    (Default)    REG_SZ    default",
          "    Bytes    REG_BINARY    00FF10", "    Empty    REG_SZ    ", "    List    REG_MULTI_SZ    a\\0b",
          "    Number    REG_DWORD    0x1f", "    Text    REG_SZ    /f two words", "",
          "HKEY_CURRENT_USER\\Software\\T\\Below"}},
        {{"query", "HKCU\\Software\\T", "/v", "Number"},
         0,
         {"", "HKEY_CURRENT_USER\\Software\\T", "    Number    REG_DWORD    0x1f"}},
        {{"query", "HKCU\\Software\\T", "/v", "None"}, 1, nothing},
        {{"query", "HKCU\\Software\\None"}, 1, nothing},
        {{"query", "HKXX\\Software"}, 1, nothing},
        {{"add", "HKCU\\Software\\T", "/v", "Number", "/t", "REG_DWORD", "/d", "seven", "/f"}, 1, nothing},
        {{"add", "HKCU\\Software\\T", "/v", "Number", "/t", "REG_DWORD", "/d", "-1", "/f"}, 1, nothing},
        {{"add", "HKCU\\Software\\T", "/v", "Number", "/t", "REG_FLOAT", "/d", "7", "/f"}, 1, nothing},
        {{"delete", "HKCU\\Software\\T", "/v", "Text", "/f"}, 0, done},
        {{"delete", "HKCU\\Software\\T", "/v", "Text", "/f"}, 1, nothing},
        {{"delete", "HKCU\\Software\\T", "/va", "/f"}, 0, done},
        {{"query", "HKCU\\Software\\T"},
         0,
         {"", "HKEY_CURRENT_USER\\Software\\T", "", "HKEY_CURRENT_USER\\Software\\T\\Below"}},
        {{"delete", "HKCU\\Software\\T", "/f"}, 0, done},
        {{"query", "HKCU\\Software\\T"}, 1, nothing},
        {{"delete", "HKCU", "/f"}, 1, nothing},
        {{"frobnicate"}, 2, nothing},
        {{}, 2, nothing},
    };
    Stage stage;
    const std::map<std::string, std::string> environment = {{"ORVEX_REGISTRY", stage.Path("registry")}};
    int i = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.words));
        std::vector<std::string> command = {ORVEX_REG};
        command.insert(command.end(), row.words.begin(), row.words.end());
        const std::string sOutput = stage.Path("row" + std::to_string(i++));
        ChildProcess reg(command, environment, sOutput);
        EXPECT_EQ(reg.Wait(), row.iStatus);
        EXPECT_EQ(ReadLines(sOutput), row.output);
    }
}

TEST(LoggingTools, RegAsksBeforeItOverwrites)
{
    Stage stage;
    stage.SetNumber("TraceMask", 1);
    const auto add = [&](const char* data, const char* answer) {
        const auto pReg = stage.Start(
            "asked", {ORVEX_REG, "add", LOGGING_KEY, "/v", "TraceMask", "/t", "REG_DWORD", "/d", data});
        pReg->Say(answer);
        EXPECT_EQ(pReg->Wait(), 0);
    };
    add("2", "no");
    stage.Registry({"query", LOGGING_KEY, "/v", "TraceMask"});
    EXPECT_EQ(ReadLines(stage.Path("reg.out")).back(), "    TraceMask    REG_DWORD    0x1");
    add("2", "y");
    stage.Registry({"query", LOGGING_KEY, "/v", "TraceMask"});
    EXPECT_EQ(ReadLines(stage.Path("reg.out")).back(), "    TraceMask    REG_DWORD    0x2");
}

TEST(LoggingTools, DebugViewShowsTheLinesOfEveryProcess)
{
    Stage stage;
    stage.SetText("TraceFileName", "Client.log");
    stage.SetText("TraceServer", "");
    stage.SetNumber("TraceMask", 0xF);
    stage.SetNumber("UseScreenOutput", 0);
    const auto pView = stage.Start("view", {ORVEX_DEBUG_VIEW});
    const auto pOne = stage.Client("one");
    const auto pTwo = stage.Client("two");
    const auto shows = [&](const ChildProcess& client, const std::string& sText) {
        for (const std::string& sLine : stage.Said("view", client))
            if (sLine.compare(0, 6, "[PID] ") == 0 && sLine.find(sText) != std::string::npos)
                return true;
        return false;
    };
    // A listener is noticed with a little delay, and what came before is lost.
    EXPECT_TRUE(Eventually([&] {
        pOne->Ask("trace 8 from one");
        pTwo->Ask("trace 8 from two");
        return shows(*pOne, "  from one") && shows(*pTwo, "  from two");
    }));
    const auto pSecond = stage.Start("second", {ORVEX_DEBUG_VIEW});
    EXPECT_EQ(pSecond->Wait(), 1) << "one listens at a time";
}
