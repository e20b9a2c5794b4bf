// The form of a line, read back from the standard output of a client.
#include "tests/logging/LoggingLineTest.h"

#include <algorithm>

TEST_F(LoggingLine, EightyCharactersAreOneLineAndMoreAreWrapped)
{
    const std::string sWord70 = Of(70, 'a');
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

TEST_F(LoggingLine, LengthOfWrap)
{
    EXPECT_EQ(Told("wrap 0 4 four and more"), "TIME  four|");
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
