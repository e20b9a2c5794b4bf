// Changes made with orvexreg while a client runs.
#include "tests/logging/Stage.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using Lines = std::vector<std::string>;

class LoggingSettings : public testing::Test
{
protected:
    void SetUp() override
    {
        m_Stage.SetText("TraceFileName", "Client.log");
        m_Stage.SetText("TraceServer", "");
        m_pClient = m_Stage.Client("client");
        m_nSeen = m_Stage.Said("client", *m_pClient).size();
    }

    // What the client says within a second; a second more would be a fault, and shows in the next call.
    Lines Said(size_t nLines)
    {
        EXPECT_TRUE(
            Eventually([&] { return m_Stage.Said("client", *m_pClient).size() >= m_nSeen + nLines; }, 1000));
        const Lines all = m_Stage.Said("client", *m_pClient);
        const Lines lines(all.begin() + static_cast<long>(m_nSeen), all.end());
        m_nSeen = all.size();
        return lines;
    }

    // A change that is followed after all that came before it: whatever those said is in front of its line.
    Lines SaidBeforeMark()
    {
        m_nMark ^= 0x100;
        m_Stage.SetNumber("ConsoleTraceMask", m_nMark);
        char mark[80];
        snprintf(mark, sizeof mark, "TIME  Console TraceMask changed: New TraceMask is 0x%x.", m_nMark);
        EXPECT_TRUE(Eventually([&] {
            const Lines all = m_Stage.Said("client", *m_pClient);
            return all.size() > m_nSeen && all.back() == mark;
        }));
        Lines lines = Said(1);
        lines.pop_back();
        return lines;
    }

    Stage m_Stage;
    std::unique_ptr<ChildProcess> m_pClient;
    size_t m_nSeen = 0;
    unsigned int m_nMark = 3;
};

const char KEY[] = "HKLM\\Software\\Zelko Systems\\Orvex\\Logging";

}  // namespace

TEST_F(LoggingSettings, ChangesAreFollowedWithinASecond)
{
    struct Row
    {
        std::vector<std::string> words;
        Lines lines;
    };
    const auto number = [](const char* name, const char* data) {
        return std::vector<std::string>{"add", KEY, "/v", name, "/t", "REG_DWORD", "/d", data, "/f"};
    };
    const auto gone = [](const char* name) {
        return std::vector<std::string>{"delete", KEY, "/v", name, "/f"};
    };
    const Row rows[] = {
        {number("TraceMask", "0x17"), {"TIME  TraceMask changed: New TraceMask is 0x17."}},
        {number("TraceMask", "0x17"), {}},
        {number("ConsoleTraceMask", "7"), {"TIME  Console TraceMask changed: New TraceMask is 0x7."}},
        {number("UseScreenOutput", "1"), {}},
        {number("UseScreenOutput", "0"), {"TIME  Screen Output Turned OFF"}},
        {number("UseScreenOutput", "2"), {"TIME  Screen Output Turned ON"}},
        {number("UseScreenOutput", "0"), {"TIME  Screen Output Turned OFF"}},
        {number("UseScreenOutput", "0xFFFFFFFF"), {"TIME  Screen Output Turned ON"}},
        {number("UseScreenOutput", "0"), {"TIME  Screen Output Turned OFF"}},
        {gone("UseScreenOutput"), {"TIME  Screen Output Turned ON"}},
        {number("UseDebugOutput", "0"), {"TIME  Debug Output Turned OFF"}},
        {gone("UseDebugOutput"), {"TIME  Debug Output Turned ON"}},
        {gone("TraceMask"), {}},
        {number("TraceMask", "0x17"), {}},
        {{"add", KEY, "/v", "TraceMask", "/t", "REG_SZ", "/d", "a text too long for a mask", "/f"}, {}},
        // The bytes of a short text go over those of the number.
        {{"add", KEY, "/v", "TraceMask", "/t", "REG_SZ", "/d", "7", "/f"},
         {"TIME  TraceMask changed: New TraceMask is 0x37."}},
        {{"add", KEY, "/v", "TraceMask", "/t", "REG_BINARY", "/d", "", "/f"}, {}},
        {number("TraceMask", "0x40000007"), {"TIME  TraceMask changed: New TraceMask is 0x40000007."}},
        {{"add", KEY, "/v", "UseScreenOutput", "/t", "REG_SZ", "/d", "too long", "/f"}, {}},
        {gone("UseScreenOutput"), {}},
        {number("Unknown", "1"), {}},
        {{"add", std::string(KEY) + "\\Below", "/v", "TraceMask", "/t", "REG_DWORD", "/d", "1", "/f"}, {}},
        {{"delete", std::string(KEY) + "\\Below", "/f"}, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.words));
        m_Stage.Registry(row.words);
        if (row.lines.empty())
            EXPECT_EQ(SaidBeforeMark(), Lines());
        else
            EXPECT_EQ(Said(row.lines.size()), row.lines);
    }
}

TEST_F(LoggingSettings, TwoChangesInOneStepKeepTheirOrder)
{
    // The watch wakes for the first of them at the earliest when both are there.
    ChildProcess::Freeze(m_pClient->Id());
    m_Stage.SetNumber("UseDebugOutput", 0);
    m_Stage.SetNumber("TraceMask", 0x11);
    ChildProcess::Thaw(m_pClient->Id());
    const Lines expected = {"TIME  TraceMask changed: New TraceMask is 0x11.",
                            "TIME  Debug Output Turned OFF"};
    EXPECT_EQ(Said(2), expected);
}

TEST_F(LoggingSettings, DeletedKeyLeavesEverythingAsItIs)
{
    m_Stage.SetNumber("UseScreenOutput", 1);
    m_Stage.SetNumber("TraceMask", 0x1F);
    EXPECT_EQ(Said(1), Lines{"TIME  TraceMask changed: New TraceMask is 0x1f."});
    m_Stage.Registry({"delete", KEY, "/f"});
    // Made anew it is another key: nobody watches that one.
    m_Stage.SetNumber("TraceMask", 1);
    EXPECT_EQ(m_pClient->Ask("mask"), "mask 0x1f");
    m_pClient->Ask("trace 1 still here");
    EXPECT_EQ(Said(1), Lines{"TIME  still here"});
    EXPECT_EQ(m_pClient->Ask("release").substr(0, 7), "count 0");
    EXPECT_EQ(m_pClient->Ask("cpu").substr(0, 4), "cpu ");
}

TEST_F(LoggingSettings, MasksOfARunningClientDecide)
{
    EXPECT_EQ(m_pClient->Ask("trace 8 hidden").substr(0, 9), "traced -1");
    m_Stage.SetNumber("ConsoleTraceMask", 0xB);
    EXPECT_EQ(Said(1), Lines{"TIME  Console TraceMask changed: New TraceMask is 0xb."});
    m_pClient->Ask("trace 8 shown");
    EXPECT_EQ(Said(1), Lines{"TIME  shown"});
}
