#include "arguments/Keywords.h"

#include <gtest/gtest.h>

#include <cctype>
#include <climits>
#include <set>
#include <string>

namespace {

std::string Converted(std::string s, int (*convert)(int))
{
    for (char& c : s)
        c = static_cast<char>(convert(c));
    return s;
}

TEST(KeywordsTest, EveryIdComesBackFromItsNameInAnyCase)
{
    for (int id = 0; id < 732; ++id) {
        const char* const name = KeywordName(id);
        ASSERT_NE(name, nullptr) << id;
        EXPECT_EQ(KeywordId(name), id);
        EXPECT_EQ(KeywordId(Converted(name, tolower)), id) << name;
        EXPECT_EQ(KeywordId(Converted(name, toupper)), id) << name;
        EXPECT_EQ(KeywordId(Converted(name, [](int c) { return c ^ (isalpha(c) ? 32 : 0); })), id) << name;
    }
}

// The ends, and a name from each hundred: one row lost or doubled moves all behind it.
TEST(KeywordsTest, RowsStandInTheirPlaces)
{
    const std::pair<int, const char*> rows[] = {{0, "InvokeID"},
                                                {10, "AgentState"},
                                                {150, "AgentOutCallsTimeSession"},
                                                {216, "NumberOfAgents"},
                                                {350, "InterruptingMRDID"},
                                                {466, "EnablementMask"},
                                                {472, "CallStatus"},
                                                {474, "MessageID"},
                                                {475, "MessageType"},
                                                {538, "Agents"},
                                                {553, "SupervisorBtnEnablementMask"},
                                                {669, "user."},
                                                {670, "user"},
                                                {731, "IsAuthenticated"}};
    for (const auto& [id, name] : rows)
        EXPECT_STREQ(KeywordName(id), name);
    for (int id : {-1, 732, INT_MIN, INT_MAX})
        EXPECT_EQ(KeywordName(id), nullptr) << id;
    EXPECT_EQ(Keyword::MessageID, 474);
    EXPECT_EQ(Keyword::user_, 669);
}

// Every name with a character more, less, or changed by the bit that tells cases apart in letters alone.
TEST(KeywordsTest, NearNamesAreNone)
{
    std::set<std::string> names;
    for (int id = 0; id < 732; ++id)
        names.insert(Converted(KeywordName(id), tolower));
    EXPECT_EQ(names.size(), 732u);
    const auto Expect = [&](const std::string& name) {
        EXPECT_EQ(KeywordId(name) != -1, names.count(Converted(name, tolower)) == 1) << name;
    };
    for (const std::string& name : names) {
        for (const std::string& s : {name + " ", " " + name, name + "."})
            Expect(s);
        for (std::size_t i = 0; i < name.size(); ++i) {
            Expect(std::string(name).erase(i, 1));
            Expect(
                std::string(name).replace(i, 1, 1, static_cast<char>(isalpha(name[i]) ? '?' : name[i] ^ 32)));
        }
    }
    for (const char* name : {"", "\xC3\xA9", "InvokeI\x44", "InvokeI\x24"})
        Expect(name);
}

}  // namespace
