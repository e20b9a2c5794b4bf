#include "tests/logging/Stage.h"

#include <gtest/gtest.h>

namespace {

std::string CountOf(const std::string& sAnswer) { return sAnswer.substr(0, sAnswer.rfind(' ')); }

}  // namespace

TEST(LoggingLife, CountsAndDeletion)
{
    Stage stage;
    {
        // By path: the last reference deletes, and the next call starts anew.
        const auto pClient = stage.Client("path");
        EXPECT_EQ(CountOf(pClient->Ask("addref")), "count 2");
        EXPECT_EQ(CountOf(pClient->Ask(std::string("instance ") + LOGGING_KEY)).substr(0, 8), "instance");
        EXPECT_EQ(CountOf(pClient->Ask("release")), "count 2");
        EXPECT_EQ(CountOf(pClient->Ask("release")), "count 1");
        EXPECT_EQ(CountOf(pClient->Ask("release")), "count 0");
        EXPECT_EQ(pClient->Ask("instance HKCU\\Software\\Other").substr(0, 8), "instance");
        EXPECT_EQ(CountOf(pClient->Ask("release")), "count 0");
    }
    {
        // By default: one reference is left over, for good.
        const auto pClient = stage.BareClient("default");
        pClient->Ask("default");
        EXPECT_EQ(CountOf(pClient->Ask("addref")), "count 3");
        EXPECT_EQ(CountOf(pClient->Ask("release")), "count 2");
        EXPECT_EQ(CountOf(pClient->Ask("release")), "count 1");
        EXPECT_EQ(CountOf(pClient->Ask("addref")), "count 2");
    }
    {
        // A value's reference keeps a logger made by path too.
        const auto pClient = stage.Client("value");
        EXPECT_EQ(pClient->Ask("value"), "count 2");
        EXPECT_EQ(CountOf(pClient->Ask("release")), "count 1");
        EXPECT_EQ(CountOf(pClient->Ask("release")), "count 0");
        EXPECT_EQ(CountOf(pClient->Ask("addref")), "count 1")
            << "deleted though a reference was taken for good";
    }
}

TEST(LoggingLife, CountsAreTraced)
{
    Stage stage;
    stage.SetText("TraceFileName", "Client.log");
    stage.SetNumber("ConsoleTraceMask", 0x800200);
    stage.SetText("TraceServer", "");
    const auto pClient = stage.Client("client");
    pClient->Ask("addref");
    pClient->Ask("release");
    pClient->Ask("release");
    const std::vector<std::string> expected = {
        "TIME  LogWrapper::Start, Debug Output is ON.",
        "TIME  LogWrapper::Start, Screen Output is ON.",
        "TIME  LogWrapper::Start, WaitThread started successfully.",
        "TIME  LogWrapper::AddRef() 0 -> 1",
        "TIME  LogWrapper::AddRef() 1 -> 2",
        "TIME  LogWrapper::Release() 2 -> 1",
        "TIME  LogWrapper::Release() 1 -> 0",
        "TIME  LogWrapper::Release() 1 -> 0. Deleting object.",
        "TIME  LogWrapper::~LogWrapper()",
    };
    EXPECT_EQ(stage.Said("client", *pClient), expected);
}

TEST(LoggingLife, StartTellsWhatItFinds)
{
    const std::vector<std::string> nothing;
    const std::vector<std::string> noServer = {"TIME  LogWrapper::Start, Debug Output is ON.",
                                               "TIME  LogWrapper::Start, Screen Output is ON.",
                                               "TIME  LogWrapper::Start, WaitThread started successfully."};
    const std::vector<std::string> abandoned = {
        "TIME  LogWrapper::LaunchTraceServer, started",
        "TIME  LogWrapper::Start, ServerMonitorThread started successfully.",
        "TIME  LogWrapper::Start, Debug Output is ON.",
        "TIME  LogWrapper::Start, Screen Output is ON.",
        "TIME  LogWrapper::Start, WaitThread started successfully.",
    };
    const std::vector<std::string> screenOff = {"TIME  LogWrapper::Start, Debug Output is OFF.",
                                                "TIME  LogWrapper::Start, Screen Output is OFF."};
    using Setup = std::function<void(Stage&)>;
    struct Row
    {
        const char* name;
        Setup setup;
        const char* path;
        std::vector<std::string> lines;
    };
    const std::string sOther = "HKCU\\Software\\Other";
    const Row rows[] = {
        {"no key", [](Stage&) {}, LOGGING_KEY, nothing},
        {"no TraceFileName", [](Stage& s) { s.SetNumber("TraceMask", 1); }, LOGGING_KEY, nothing},
        {"no TraceServer", [](Stage& s) { s.SetText("TraceFileName", "n"); }, LOGGING_KEY, abandoned},
        {"empty TraceServer",
         [](Stage& s) {
             s.SetText("TraceFileName", "n");
             s.SetText("TraceServer", "");
         },
         LOGGING_KEY, noServer},
        {"TraceFileName of 300 bytes", [](Stage& s) { s.SetText("TraceFileName", std::string(300, 'x')); },
         LOGGING_KEY, nothing},
        {"TraceFileName of 255 bytes",
         [](Stage& s) {
             s.SetText("TraceFileName", std::string(255, 'x'));
             s.SetText("TraceServer", "");
         },
         LOGGING_KEY, noServer},
        {"outputs off",
         [](Stage& s) {
             s.SetText("TraceFileName", "n");
             s.SetText("TraceServer", "");
             s.SetNumber("UseScreenOutput", 0);
             s.SetNumber("UseDebugOutput", 0);
         },
         LOGGING_KEY, screenOff},
        {"hkcu in small letters",
         [&](Stage& s) {
             s.SetText("TraceFileName", "n", sOther);
             s.SetText("TraceServer", "");
         },
         "hkcu\\Software\\Other", noServer},
        {"any other four letters are HKLM",
         [&](Stage& s) {
             s.SetText("TraceFileName", "n");
             s.SetText("TraceServer", "");
         },
         "XXXX\\Software\\Zelko Systems\\Orvex\\Logging", noServer},
        {"the server is sought in HKLM alone",
         [&](Stage& s) {
             s.SetText("TraceFileName", "n", sOther);
             s.SetText("TraceServer", "", sOther);
         },
         "HKCU\\Software\\Other", abandoned},
        {"one component", [](Stage&) {}, "HKLM\\Software", nothing},
        {"no component", [](Stage&) {}, "HKLM\\", nothing},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Stage stage;
        row.setup(stage);
        const auto pClient = stage.Client("client", row.path);
        EXPECT_EQ(stage.Said("client", *pClient), row.lines);
        EXPECT_EQ(CountOf(pClient->Ask("release")), "count 0");
        pClient->Ask(std::string("instance ") + row.path);
        EXPECT_EQ(pClient->Ask("trace 3 text").substr(0, 9), "traced -1");
    }
}

TEST(LoggingLife, PathBelowFiveCharactersThrows)
{
    Stage stage;
    const auto pClient = stage.BareClient("client");
    EXPECT_EQ(pClient->Ask("instance HKLM"), "thrown out_of_range");
    EXPECT_EQ(pClient->Ask(std::string("instance ") + LOGGING_KEY).substr(0, 8), "instance")
        << "and leaves no logger";
}

TEST(LoggingLife, LastReleaseAgainstInstanceThreads)
{
    Stage stage;
    stage.SetText("TraceFileName", "Client.log");
    stage.SetText("TraceServer", "");
    stage.SetNumber("UseScreenOutput", 0);
    const auto pClient = stage.BareClient("client");
    EXPECT_EQ(pClient->Ask(std::string("churn 4 200 ") + LOGGING_KEY, 120000), "churned");
    pClient->Ask(std::string("instance ") + LOGGING_KEY);
    EXPECT_EQ(CountOf(pClient->Ask("addref")), "count 2");
}
