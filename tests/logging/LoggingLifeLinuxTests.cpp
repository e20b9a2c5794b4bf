// Starts of the logger with troubles that only Linux has, or only there can be made.
#include "tests/logging/Stage.h"

#include <gtest/gtest.h>

#include <filesystem>

TEST(LoggingLife, NoRightsOnTheKey)
{
    Stage stage;
    stage.SetText("TraceFileName", "Client.log");
    stage.SetText("TraceServer", "");
    OpenToAll(stage.Path(""));
    std::filesystem::permissions(stage.Path("registry"), std::filesystem::perms::none);
    const auto pClient = stage.BareClient("client", ChildProcess::Rights::Unprivileged);
    EXPECT_EQ(pClient->Ask(std::string("instance ") + LOGGING_KEY).substr(0, 8), "instance");
    pClient->Ask("trace 1 text");
    EXPECT_EQ(stage.Said("client", *pClient), std::vector<std::string>{"TIME  text"});
    std::filesystem::permissions(stage.Path("registry"), std::filesystem::perms::owner_all);
}

TEST(LoggingLife, ThreadThatCannotStartIsTold)
{
    Stage stage;
    stage.SetText("TraceFileName", "Client.log");
    stage.SetText("TraceServer", "/no/such/program");
    const auto pClient = stage.BareClient("client");
    pClient->Ask("fault pthread_create 1 11 100");
    pClient->Ask(std::string("instance ") + LOGGING_KEY);
    const std::vector<std::string> expected = {
        "TIME  LogWrapper::Start, ServerMonitorThread failed to start.",
        "TIME  LogWrapper::Start, Debug Output is ON.",
        "TIME  LogWrapper::Start, Screen Output is ON.",
        "TIME  LogWrapper::Start, WaitThread did not start successfully.",
    };
    EXPECT_EQ(stage.Said("client", *pClient), expected);
    EXPECT_EQ(pClient->Ask("release").substr(0, 8), "count 0 ")
        << "threads that never started are not waited for";
}
