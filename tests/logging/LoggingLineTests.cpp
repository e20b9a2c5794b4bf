// The form of a line, read back from the standard output of a client.
#include "tests/logging/Stage.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// A client without settings, so with the masks 7 and 3 and its lines on the screen.
class LoggingLine : public testing::Test
{
protected:
    void SetUp() override { m_pClient = m_Stage.Client("client"); }

    std::string Told(const std::string& sCommand)
    {
        const size_t nBefore = m_Stage.Said("client", *m_pClient).size();
        m_sAnswer = m_pClient->Ask(sCommand);
        m_sAnswer.resize(m_sAnswer.rfind(' '));
        const std::vector<std::string> lines = m_Stage.Said("client", *m_pClient);
        std::string s;
        for (size_t i = nBefore; i < lines.size(); ++i)
            s += lines[i] + '|';
        return s;
    }

    Stage m_Stage;
    std::unique_ptr<ChildProcess> m_pClient;
    std::string m_sAnswer;
};

std::string Of(int n, char c) { return std::string(static_cast<size_t>(n), c); }

}  // namespace

TEST_F(LoggingLine, EightyCharactersAreOneLineAndMoreAreWrapped)
{
    const std::string sWord70 = Of(70, 'a');
    const std::string sTwoBytes = "\xC3\xA9";
    std::string sAccents;
    for (int i = 0; i < 100; ++i)
        sAccents += sTwoBytes;
    struct Row
    {
        const char* name;
        std::string sText;
        std::string sLine;
    };
    const Row rows[] = {
        {"80", Of(80, 'x'), Of(80, 'x')},
        {"81", Of(81, 'x'), Of(78, 'x') + "|\txxx"},
        {"200 without a blank", Of(200, 'x'), Of(78, 'x') + "|\t" + Of(78, 'x') + "|\t" + Of(44, 'x')},
        {"blank at place 70", sWord70 + ' ' + Of(20, 'b'), sWord70 + "|\t " + Of(20, 'b')},
        {"two blanks", Of(30, 'a') + ' ' + Of(40, 'b') + ' ' + Of(30, 'c'),
         Of(30, 'a') + ' ' + Of(40, 'b') + "|\t " + Of(30, 'c')},
        {"percent signs", "100% %s %n done", "100% %s %n done"},
        {"80 characters of 160 bytes", sAccents.substr(0, 160), sAccents.substr(0, 160)},
        {"100 characters of 200 bytes", sAccents,
         sAccents.substr(0, 78) + "|\t" + sAccents.substr(0, 78) + "|\t" + sAccents.substr(0, 44)},
        {"a character across place 78", 'x' + sAccents,
         'x' + sAccents.substr(0, 76) + "|\t" + sAccents.substr(0, 78) + "|\t" + sAccents.substr(0, 46)},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Told("trace 0 " + row.sText), "TIME  " + row.sLine + '|') << row.name;
        EXPECT_EQ(m_sAnswer, "traced -1") << row.name;
    }
}

TEST_F(LoggingLine, BlankAtTheCursorDoesNotCount)
{
    // The writer's own wrapping, since a command's text does not begin with a blank.
    const std::string sTail = Of(70, 'a') + ' ' + Of(100, 'b');
    EXPECT_EQ(Told("trace 0 " + sTail),
              "TIME  " + Of(70, 'a') + "|\t " + Of(77, 'b') + "|\t" + Of(23, 'b') + '|');
}

TEST_F(LoggingLine, LengthOfWrapCountsCharacters)
{
    EXPECT_EQ(Told("wrap 0 4 \xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9 and more"),
              "TIME  \xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9|");
    EXPECT_EQ(Told("wrap 0 400 not so long"), "TIME  not so long|");
}

TEST_F(LoggingLine, TextIsCutAt16383Bytes)
{
    const std::string sLine = Told("trace 0 " + Of(20000, 'x'));
    EXPECT_EQ(std::count(sLine.begin(), sLine.end(), 'x'), 16383);
}

TEST_F(LoggingLine, WriterTakesAnyText)
{
    EXPECT_EQ(Told("write 0 " + Of(20000, 'x')), "TIME  " + Of(20000, 'x') + '|');
    EXPECT_EQ(Told("null 0"), "TIME  (null)|");
}

TEST_F(LoggingLine, MasksDecideWhatReachesTheScreen)
{
    struct Row
    {
        const char* mask;
        bool bScreen;
    };
    // Held: 7 and 3.
    for (const Row& row : {Row{"0", true}, Row{"1", true}, Row{"3", true}, Row{"4", false}, Row{"7", false},
                           Row{"8", false}, Row{"2000001", false}})
        EXPECT_EQ(Told(std::string("trace ") + row.mask + " text"), row.bScreen ? "TIME  text|" : "")
            << row.mask;
    EXPECT_EQ(Told("write 4 text"), "") << "the writer asks the console mask alone";
    EXPECT_EQ(Told("write 2 text"), "TIME  text|");
}
