#include "logging/LogWrapper.h"

#include "logging/Logger.h"
#include "tests/TestSupport.h"
#include "values/RawArg.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <sstream>
#include <unistd.h>

namespace {

// A text from runs such as "a78 _1 e3": a letter and how often it stands; _ is a blank, e, E and F are
// characters of two, three and four bytes, x a stray byte, and | the cut between two pieces.
std::string Runs(const std::string& runs)
{
    const std::map<char, std::string> letters = {
        {'_', " "}, {'e', "\xC3\xA9"}, {'E', "\xE2\x82\xAC"}, {'F', "\xF0\x9D\x84\x9E"}, {'x', "\xA9"}};
    std::istringstream in(runs);
    std::string text;
    for (char letter; in >> letter;) {
        if (letter == '|') {
            text += "\n\t";
            continue;
        }
        int n = 0;
        for (in >> n; n > 0; --n)
            text += letters.count(letter) != 0 ? letters.at(letter) : std::string(1, letter);
    }
    return text;
}

class LogWrapperTest : public testing::Test
{
protected:
    std::string Line(const std::string& text)
    {
        return Traced([&] { EXPECT_EQ(m_pLog->Trace(TRACE_ALWAYS, "%s", text.c_str()), -1); });
    }

    LogWrapper* const m_pLog = LogWrapper::InstanceForGood();
};

TEST_F(LogWrapperTest, TextIsWrappedAboveEightyCharacters)
{
    // The encoding of the system tells how many characters 160 bytes are.
    const bool bUtf8 = _mbslen(reinterpret_cast<const unsigned char*>("\xC3\xA9")) == 1;
    const std::pair<const char*, const char*> rows[] = {
        {"", ""},
        {"b80", "b80"},
        {"e80", bUtf8 ? "e80" : "e39 | e39 | e2"},
        {"b81", "b78 | b3"},
        {"b79 _1 c1", "b78 | b1 _1 c1"},
        {"b200", "b78 | b78 | b44"},
        {"b156", "b78 | b78"},
        {"a70 _1 b80", "a70 | _1 b77 | b3"},
        {"a78 _1 b3", "a78 | _1 b3"},
        {"a77 _1 b3", "a77 | _1 b3"},
        {"a79 _1 b3", "a78 | a1 _1 b3"},
        {"a1 _1 b1 _1 c78", "a1 _1 b1 | _1 c77 | c1"},
        {"_1 b80", "_1 b77 | b3"},
        {"a1 _1 b80", "a1 | _1 b77 | b3"},
        {"_81", "_78 | _3"},
        {"a77 e1 b3", "a77 | e1 b3"},
        {"a76 e1 b6", "a76 e1 | b6"},
        {"a76 E1 b6", "a76 | E1 b6"},
        {"a75 F1 b6", "a75 | F1 b6"},
        {"E81", "E26 | E26 | E26 | E3"},
        {"x81", "x78 | x3"},
        {"%40 s41", "%40 s38 | s3"},
    };
    for (const auto& [text, written] : rows)
        EXPECT_EQ(Line(Runs(text)), "TIME  " + Runs(written) + "\n") << text;
    const std::string own = std::string(40, 'a') + "\n\t" + std::string(40, 'b');
    EXPECT_EQ(Line(own), "TIME  " + own.substr(0, 78) + "\n\tbbbb\n");
}

TEST_F(LogWrapperTest, ReadyTextIsWrappedAboveAPiece)
{
    for (const auto& [text, written] :
         {std::pair("%3 s3", "%3 s3"), {"a78", "a78"}, {"a79", "a78 | a1"}, {"", ""}}) {
        const std::string s = Runs(text);
        EXPECT_EQ(
            Traced([&] { m_pLog->TraceMultiline(TRACE_ALWAYS, s.c_str(), static_cast<int>(s.size())); }),
            "TIME  " + Runs(written) + "\n");
    }
}

TEST_F(LogWrapperTest, WriterTakesItsTextAsItIs)
{
    std::string text = "100% %s " + std::string(300, 'x');
    EXPECT_EQ(Traced([&] { m_pLog->Trace(TRACE_ALWAYS, &text[0]); }), "TIME  " + text + "\n");
    EXPECT_EQ(Traced([&] { m_pLog->Trace(TRACE_ALWAYS, static_cast<char*>(nullptr)); }), "TIME  (null)\n");
}

TEST_F(LogWrapperTest, FormattedTextIsCutAtItsRoom)
{
    std::string pieces(16383, 'x');
    for (std::size_t i = 78; i < pieces.size(); i += 80)
        pieces.insert(i, "\n\t");
    for (int n : {16383, 16384, 20000})
        EXPECT_TRUE(Line(std::string(static_cast<std::size_t>(n), 'x')) == "TIME  " + pieces + "\n") << n;
}

TEST_F(LogWrapperTest, CutAtTheRoomLeavesNoHalfCharacter)
{
    const std::string cut = Line(Runs("a16382 e1")), fits = Line(Runs("a16381 e1"));
    EXPECT_EQ(cut.substr(cut.size() - 3), "aa\n");
    EXPECT_EQ(fits.substr(fits.size() - 4), Runs("a1 e1") + "\n");
}

TEST_F(LogWrapperTest, FormatsByTheListAndTheHandleToo)
{
    const auto Forward = [&](unsigned int mask, ...) {
        va_list args;
        va_start(args, mask);
        const std::string s = Traced([&] { EXPECT_EQ(m_pLog->Trace(mask, "%d and %s", args), -1); });
        va_end(args);
        return s;
    };
    EXPECT_EQ(Forward(TRACE_ERROR, 5, "text"), "TIME  5 and text\n");
    EXPECT_EQ(Forward(TRACE_STEP, 5, "text"), "");
    EXPECT_EQ(Traced([] { Logger().Trace(TRACE_WARNING, "%d%%", 7); }), "TIME  7%\n");
    EXPECT_EQ(Traced([] { Logger().Trace(TRACE_ENTRY, "%d%%", 7); }), "");
}

// By the masks that hold without settings: 7 for a trace, 3 for the screen.
TEST_F(LogWrapperTest, LinePassesWhenAllBitsOfItsMaskAreHeld)
{
    const auto Expect = [&](unsigned int mask, bool bTraced, bool bScreen) {
        char text[] = "x";
        EXPECT_EQ(m_pLog->IsTraceEnabled(mask), bTraced) << mask;
        EXPECT_EQ(m_pLog->IsConsoleTraceEnabled(mask), bScreen) << mask;
        EXPECT_EQ(Traced([&] { m_pLog->Trace(mask, "%s", static_cast<const char*>(text)); }),
                  bScreen ? "TIME  x\n" : "")
            << mask;
        EXPECT_EQ(Traced([&] { m_pLog->Trace(mask, text); }), bScreen ? "TIME  x\n" : "") << mask;
    };
    EXPECT_EQ(m_pLog->GetTraceMask(), 7u);
    for (unsigned int mask : {0u, 1u, 2u, 3u})
        Expect(mask, true, true);
    for (unsigned int mask : {4u, 5u, 7u})
        Expect(mask, true, false);
    for (unsigned int mask : {8u, 9u, 0x2000000u, 0x2000001u, 0x40000000u, 0xFFFFFFFFu})
        Expect(mask, false, false);
}

int CountOf(LogWrapper& rLog)
{
    rLog.AddRef();
    return rLog.Release();
}

TEST_F(LogWrapperTest, ValuesTakeReferencesForGood)
{
    std::string path = "HKLM\\Software\\Other";  // ignored: there is a logger
    const struct
    {
        const char* name;
        std::function<void()> work;
        int nMore;
    } rows[] = {
        {"Arg", [] { ArgHolder(Arg::Create()); }, 1},
        {"RawArg", [] { ArgHolder(RawArg::Create()); }, 1},
        {"Arguments", [] { ArgHolder(Arguments::CreateInstance()); }, 2},
        {"Arg and its clone", [] { ArgHolder(ArgHolder(Arg::Create())->Clone()); }, 2},
        {"Logger", [] { Logger(); }, 0},
        {"ArgPackager", [] { ArgPackager(); }, 0},
        {"Instance", [&] { EXPECT_EQ(LogWrapper::Instance(), m_pLog); }, 1},
        {"Instance with a path", [&] { EXPECT_EQ(LogWrapper::Instance(path), m_pLog); }, 1},
        {"Instance, given back", [] { LogWrapper::Instance()->Release(); }, 0},
    };
    for (const auto& row : rows) {
        const int nBefore = CountOf(*m_pLog);
        row.work();
        EXPECT_EQ(CountOf(*m_pLog), nBefore + row.nMore) << row.name;
    }
}

// Each piece in a process of its own, since the logger of this one is there for good. It ends the process
// with the place of the first expectation that fails, or 0.
class LogWrapperDeathTest : public testing::Test
{
protected:
    LogWrapperDeathTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

    [[noreturn]] static void Exit(const std::vector<bool>& expectations)
    {
        const auto failed = std::find(expectations.begin(), expectations.end(), false);
        _exit(failed == expectations.end() ? 0 : static_cast<int>(failed - expectations.begin()) + 1);
    }

    std::string m_sPath = "HKLM\\Software\\Some";
};

TEST_F(LogWrapperDeathTest, FirstInstanceLeavesAReferenceOver)
{
    const auto work = [] {
        LogWrapper* const p = LogWrapper::Instance();
        Exit({CountOf(*p) == 2, LogWrapper::Instance() == p, CountOf(*p) == 3, p->Release() == 2,
              p->Release() == 1, LogWrapper::Instance() == p});
    };
    EXPECT_EXIT(work(), testing::ExitedWithCode(0), "");
}

TEST_F(LogWrapperDeathTest, LoggerMadeWithAPathGoesWithItsLastReference)
{
    const auto work = [&] {
        LogWrapper* const p = LogWrapper::Instance(m_sPath);
        const auto logger = std::make_unique<Logger>();
        Exit({CountOf(*p) == 2, p->Release() == 1, p->Release() == 0, CountOf(*LogWrapper::Instance()) == 2});
    };
    EXPECT_EXIT(work(), testing::ExitedWithCode(0), "");
}

TEST_F(LogWrapperDeathTest, ValueKeepsALoggerMadeWithAPath)
{
    const auto work = [&] {
        LogWrapper* const p = LogWrapper::Instance(m_sPath);
        Exit({Arg::Create()->Release() == 0, CountOf(*p) == 2, p->Release() == 1,
              LogWrapper::Instance() == p});
    };
    EXPECT_EXIT(work(), testing::ExitedWithCode(0), "");
}

}  // namespace
