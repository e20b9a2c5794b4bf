#include "logging/LogWrapper.h"

#include "logging/Logger.h"
#include "tests/TestSupport.h"
#include "values/RawArg.h"

#include <cstdlib>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

std::string Times(const std::string& s, int n)
{
    std::string text;
    while (n-- > 0)
        text += s;
    return text;
}

class LogWrapperTest : public testing::Test
{
protected:
    std::string Line(const std::string& text)
    {
        return Traced([&] { EXPECT_EQ(m_pLog->Trace(TRACE_ALWAYS, "%s", text.c_str()), -1); });
    }
    std::string Multiline(const std::string& text)
    {
        return Traced([&] {
            EXPECT_EQ(m_pLog->TraceMultiline(TRACE_ALWAYS, text.c_str(), static_cast<int>(text.size())), -1);
        });
    }
    static int CountOf(LogWrapper& rLog)
    {
        rLog.AddRef();
        return rLog.Release();
    }

    LogWrapper* const m_pLog = LogWrapper::InstanceForGood();
};

TEST_F(LogWrapperTest, TextIsWrappedAboveEightyCharacters)
{
    const std::string a78(78, 'a'), b80(80, 'b'), e("\xC3\xA9"), euro("\xE2\x82\xAC"),
        clef("\xF0\x9D\x84\x9E");
    const struct
    {
        const char* name;
        std::string text;
        std::string written;
    } rows[] = {
        {"nothing", "", ""},
        {"80 characters", b80, b80},
        {"80 characters of two bytes", Times(e, 80), Times(e, 80)},
        {"81 without a blank", b80 + "b", std::string(78, 'b') + "\n\tbbb"},
        {"81 with a late blank", std::string(79, 'b') + " c", std::string(78, 'b') + "\n\tb c"},
        {"200 without a blank", std::string(200, 'b'),
         std::string(78, 'b') + "\n\t" + std::string(78, 'b') + "\n\t" + std::string(44, 'b')},
        {"156 without a blank", a78 + a78, a78 + "\n\t" + a78},
        {"blank at 70", std::string(70, 'a') + " " + b80,
         std::string(70, 'a') + "\n\t " + std::string(77, 'b') + "\n\tbbb"},
        {"blank at 78", a78 + " bbb", a78 + "\n\t bbb"},
        {"blank at 77", std::string(77, 'a') + " bbb", std::string(77, 'a') + "\n\t bbb"},
        {"blank at 79 is too late", a78 + "a bbb", a78 + "\n\ta bbb"},
        {"the nearer of two blanks", "a b " + std::string(78, 'c'),
         "a b\n\t " + std::string(77, 'c') + "\n\tc"},
        {"blank at the cursor alone", " " + b80, " " + std::string(77, 'b') + "\n\tbbb"},
        {"blank at 1", "a " + b80, "a\n\t " + std::string(77, 'b') + "\n\tbbb"},
        {"blanks alone", std::string(81, ' '), std::string(78, ' ') + "\n\t   "},
        {"own feeds and tabs", std::string(40, 'a') + "\n\t" + std::string(40, 'b'),
         std::string(40, 'a') + "\n\t" + std::string(36, 'b') + "\n\tbbbb"},
        {"two bytes at the cut", std::string(77, 'a') + e + "bbb", std::string(77, 'a') + "\n\t" + e + "bbb"},
        {"two bytes before the cut", std::string(76, 'a') + e + "bbbbbb",
         std::string(76, 'a') + e + "\n\tbbbbbb"},
        {"three bytes at the cut", std::string(76, 'a') + euro + "bbbbbb",
         std::string(76, 'a') + "\n\t" + euro + "bbbbbb"},
        {"four bytes at the cut", std::string(75, 'a') + clef + "bbbbbb",
         std::string(75, 'a') + "\n\t" + clef + "bbbbbb"},
        {"characters of three bytes alone", Times(euro, 81),
         Times(euro, 26) + "\n\t" + Times(euro, 26) + "\n\t" + Times(euro, 26) + "\n\t" + Times(euro, 3)},
        {"stray bytes alone", std::string(81, '\xA9'),
         std::string(78, '\xA9') + "\n\t" + std::string(3, '\xA9')},
        {"percent signs", "100% %s %n", "100% %s %n"},
        {"percent signs in a wrapped text", Times("%s%n", 25),
         Times("%s%n", 19) + "%s\n\t%n" + Times("%s%n", 5)},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Line(row.text), "TIME  " + row.written + "\n") << row.name;
}

TEST_F(LogWrapperTest, ReadyTextIsWrappedAboveAPiece)
{
    const std::string a78(78, 'a');
    EXPECT_EQ(Multiline("short %s"), "TIME  short %s\n");
    EXPECT_EQ(Multiline(a78), "TIME  " + a78 + "\n");
    EXPECT_EQ(Multiline(a78 + "b"), "TIME  " + a78 + "\n\tb\n");
    EXPECT_EQ(Multiline(""), "TIME  \n");
}

TEST_F(LogWrapperTest, WriterTakesItsTextAsItIs)
{
    const auto Written = [&](char* text) {
        return Traced([&] { EXPECT_EQ(m_pLog->Trace(TRACE_ALWAYS, text), -1); });
    };
    std::string text = "100% %s " + std::string(300, 'x');
    EXPECT_EQ(Written(&text[0]), "TIME  " + text + "\n");
    EXPECT_EQ(Written(nullptr), "TIME  (null)\n");
}

TEST_F(LogWrapperTest, FormattedTextIsCutAtItsRoom)
{
    const struct
    {
        int nCharacters, nLeft;
    } rows[] = {{16383, 16383}, {16384, 16383}, {20000, 16383}};
    for (const auto& row : rows) {
        std::string text(static_cast<std::size_t>(row.nLeft), 'x');
        for (std::size_t i = 78; i < text.size(); i += 80)
            text.insert(i, "\n\t");
        EXPECT_TRUE(Line(std::string(static_cast<std::size_t>(row.nCharacters), 'x')) ==
                    "TIME  " + text + "\n")
            << row.nCharacters;
    }
}

TEST_F(LogWrapperTest, CutAtTheRoomLeavesNoHalfCharacter)
{
    const std::string e("\xC3\xA9");
    const std::string line = Line(std::string(16382, 'x') + e);
    EXPECT_EQ(line.substr(line.size() - 3), "xx\n");
    const std::string fits = Line(std::string(16381, 'x') + e);
    EXPECT_EQ(fits.substr(fits.size() - 4), "x" + e + "\n");
}

TEST_F(LogWrapperTest, FormatsByTheListToo)
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
    EXPECT_EQ(m_pLog->GetTraceMask(), 7u);
    const struct
    {
        unsigned int mask;
        bool bTraced, bScreen;
    } rows[] = {{0, true, true},
                {1, true, true},
                {2, true, true},
                {3, true, true},
                {4, true, false},
                {5, true, false},
                {7, true, false},
                {8, false, false},
                {9, false, false},
                {0x200, false, false},
                {TRACE_STEP, false, false},
                {TRACE_STEP_FAILED, false, false},
                {TRACE_THREAD_ID, false, false},
                {0xFFFFFFFF, false, false}};
    for (const auto& row : rows) {
        EXPECT_EQ(m_pLog->IsTraceEnabled(row.mask), row.bTraced) << row.mask;
        EXPECT_EQ(m_pLog->IsConsoleTraceEnabled(row.mask), row.bScreen) << row.mask;
        EXPECT_EQ(Traced([&] { m_pLog->Trace(row.mask, "%s", "x"); }), row.bScreen ? "TIME  x\n" : "")
            << row.mask;
        char text[] = "x";
        EXPECT_EQ(Traced([&] { m_pLog->Trace(row.mask, text); }), row.bScreen ? "TIME  x\n" : "") << row.mask;
    }
}

TEST_F(LogWrapperTest, ValuesTakeReferencesForGood)
{
    const struct
    {
        const char* name;
        std::function<void()> work;
        int nMore;
    } rows[] = {
        {"Arg", [] { ArgHolder(Arg::Create()); }, 1},
        {"RawArg", [] { ArgHolder(RawArg::Create()); }, 1},
        {"Arguments", [] { ArgHolder(Arguments::CreateInstance()); }, 2},
        {"clone of an Arg", [] { ArgHolder(ArgHolder(Arg::Create())->Clone()); }, 2},
        {"Logger", [] { Logger(); }, 0},
        {"ArgPackager", [] { ArgPackager(); }, 0},
        {"Instance", [] { LogWrapper::Instance(); }, 1},
        {"Instance, given back", [] { LogWrapper::Instance()->Release(); }, 0},
    };
    for (const auto& row : rows) {
        const int nBefore = CountOf(*m_pLog);
        row.work();
        EXPECT_EQ(CountOf(*m_pLog), nBefore + row.nMore) << row.name;
    }
    std::string path = "HKLM\\Software\\Other";
    EXPECT_EQ(LogWrapper::Instance(path), m_pLog);
    EXPECT_EQ(m_pLog->AddRef() - 2, m_pLog->Release() - 1);
    m_pLog->Release();
}

// Each in a process of its own: the logger of this one is there for good.
class LogWrapperDeathTest : public testing::Test
{
protected:
    LogWrapperDeathTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

    // Ends the process with the first expectation that fails, counted from 1, or 0.
    [[noreturn]] static void Exit(std::initializer_list<bool> expectations)
    {
        int n = 0;
        for (const bool b : expectations) {
            ++n;
            if (!b)
                _exit(n);
        }
        _exit(0);
    }
    static int Count(LogWrapper* p)
    {
        p->AddRef();
        return p->Release();
    }
};

TEST_F(LogWrapperDeathTest, FirstInstanceLeavesAReferenceOver)
{
    EXPECT_EXIT(
        {
            LogWrapper* const p = LogWrapper::Instance();
            const int nFirst = Count(p);
            const bool bSame = LogWrapper::Instance() == p;
            const int nSecond = Count(p);
            Exit({nFirst == 2, bSame, nSecond == 3, p->Release() == 2, p->Release() == 1,
                  LogWrapper::Instance() == p});
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(LogWrapperDeathTest, LoggerMadeWithAPathGoesWithItsLastReference)
{
    EXPECT_EXIT(
        {
            std::string path = "HKLM\\Software\\Some";
            LogWrapper* p = LogWrapper::Instance(path);
            const int nFirst = Count(p);
            int nMore = 0;
            {
                Logger logger;
                nMore = Count(p);
            }
            const bool bGone = p->Release() == 0;
            p = LogWrapper::Instance(path);
            const int nAgain = Count(p);
            Exit({nFirst == 1, nMore == 2, bGone, nAgain == 1, p->Release() == 0,
                  Count(LogWrapper::Instance()) == 2});
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(LogWrapperDeathTest, ValueKeepsALoggerMadeWithAPath)
{
    EXPECT_EXIT(
        {
            std::string path = "HKLM\\Software\\Some";
            LogWrapper* const p = LogWrapper::Instance(path);
            const bool bReleased = Arg::Create()->Release() == 0;
            Exit({bReleased, Count(p) == 2, p->Release() == 1, LogWrapper::Instance() == p, Count(p) == 2});
        },
        testing::ExitedWithCode(0), "");
}

// Whoever listens to the debug output gets every line that passes either mask, as the screen would show it.
TEST_F(LogWrapperDeathTest, DebugOutputHasNoMaskOfItsOwn)
{
    EXPECT_EXIT(
        {
            char folder[] = "/tmp/debug-output-XXXXXX";
            const std::string sFolder = mkdtemp(folder);
            setenv("XDG_RUNTIME_DIR", folder, 1);
            mkdir((sFolder + "/orvex").c_str(), 0700);
            sockaddr_un address{};
            address.sun_family = AF_UNIX;
            (sFolder + "/orvex/debug").copy(address.sun_path, sizeof address.sun_path - 1);
            const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0);
            const int nBound = bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
            LogWrapper* const p = LogWrapper::Instance();
            Traced([&] {
                for (unsigned int mask : {0u, 3u, 7u, 8u, TRACE_STEP})
                    p->Trace(mask, "mask %u", mask);
            });
            std::string lines;
            char line[200];
            for (ssize_t n; (n = recv(fd, line, sizeof line, 0)) > 0;)
                lines += std::string(line, static_cast<std::size_t>(n)).substr(12);
            unlink(address.sun_path);
            rmdir((sFolder + "/orvex").c_str());
            rmdir(folder);
            Exit({nBound == 0, lines == "  mask 0\n  mask 3\n  mask 7\n"});
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
