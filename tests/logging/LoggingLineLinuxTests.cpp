// Text in UTF-8, which is the locale's encoding here.
#include "tests/logging/LoggingLineTest.h"

TEST_F(LoggingLine, CharactersAreCountedAndNeverParted)
{
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
        {"80 characters of 160 bytes", sAccents.substr(0, 160), sAccents.substr(0, 160)},
        {"100 characters of 200 bytes", sAccents,
         sAccents.substr(0, 78) + "|\t" + sAccents.substr(0, 78) + "|\t" + sAccents.substr(0, 44)},
        {"a character across place 78", 'x' + sAccents,
         'x' + sAccents.substr(0, 76) + "|\t" + sAccents.substr(0, 78) + "|\t" + sAccents.substr(0, 46)},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Told("trace 0 " + row.sText), "TIME  " + row.sLine + '|') << row.name;
}

TEST_F(LoggingLine, LengthOfWrapCountsCharacters)
{
    EXPECT_EQ(Told("wrap 0 4 \xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9 and more"),
              "TIME  \xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9|");
}
