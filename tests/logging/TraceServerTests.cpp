#include "tests/logging/Stage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

std::unique_ptr<ChildProcess> StartServer(Stage& stage, const std::string& sName)
{
    return stage.Start("server", {stage.RealServer(), sName, LOGGING_KEY});
}

}  // namespace

TEST(TraceServer, OfServersThatRaceForANameOneWins)
{
    Stage stage;
    for (int iRound = 0; iRound < 3; ++iRound) {
        std::vector<std::unique_ptr<ChildProcess>> servers;
        for (int i = 0; i < 5; ++i)
            servers.push_back(StartServer(stage, stage.ServerName()));
        const auto running = [&] {
            return std::count_if(servers.begin(), servers.end(),
                                 [](const auto& p) { return ChildProcess::Runs(p->Id()); });
        };
        EXPECT_TRUE(Eventually([&] { return running() == 1; }));
        for (const auto& pServer : servers) {
            if (ChildProcess::Runs(pServer->Id())) {
                EXPECT_EQ(stage.WaitForServer(), pServer->Id());
            } else {
                EXPECT_EQ(pServer->Wait(), 1);
            }
        }
    }
}

TEST(TraceServer, SignalEndsItAndNothingItTookIsLost)
{
    Stage stage;
    stage.UseServer(stage.RealServer());
    const auto pClient = stage.Client("client");
    pClient->Ask("lines 2 0 500");
    unsigned int nServer = stage.ServerId();
    for (int i = 0; i < 3; ++i) {
        ChildProcess::End(nServer);
        EXPECT_TRUE(ChildProcess::WaitForEnd(nServer, 2000));
        nServer = stage.WaitForLink(nServer);
    }
    pClient->Ask("enough");
    pClient->Ask("join");
    int aiNext[3] = {};
    int nEnded = 0;
    for (const std::string& sRecord : stage.Records()) {
        int iThread = 0, iNumber = 0;
        if (sscanf(sRecord.c_str(), "%*s %*s %*u orvextraceclient line %d %d", &iThread, &iNumber) == 2) {
            EXPECT_EQ(iNumber, ++aiNext[iThread]) << "each line once: an orderly end leaves none in doubt";
        }
        nEnded += sRecord.find(" ended") != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(nEnded, 3);
}

TEST(TraceServer, EndsWhenNobodyNeedsIt)
{
    Stage stage;
    stage.UseServer(stage.RealServer());
    stage.SetNumber("TraceServerLinger", 2);
    const auto pServer = StartServer(stage, stage.ServerName());
    EXPECT_EQ(pServer->Wait(10000), 0) << "nobody came";

    const auto pClient = stage.Client("client");
    const unsigned int nServer = stage.WaitForServer(pServer->Id());
    EXPECT_FALSE(ChildProcess::WaitForEnd(nServer, 4000)) << "a client that says nothing keeps it";
    pClient->Ask("release");
    EXPECT_TRUE(ChildProcess::WaitForEnd(nServer, 10000));
}

TEST(TraceServer, BlanksInNameAndPath)
{
    Stage stage;
    fs::create_directory(stage.Path("a folder  of servers"));
    const std::string sServer = stage.Path("a folder of servers/trace server");
    fs::create_directory(stage.Path("a folder of servers"));
    fs::copy_file(stage.RealServer(), sServer);
    stage.UseServer(sServer);
    stage.SetText("TraceFileName", "My Client.log");
    const auto pClient = stage.Client("client");
    EXPECT_EQ(pClient->Ask("trace 1 text").substr(0, 8), "traced 1");
    const std::string sFile = stage.Path("state/orvex/My Client." + UserName() + ".log");
    const std::vector<std::string> lines = ReadLines(sFile);
    ASSERT_FALSE(lines.empty());
    EXPECT_NE(lines.back().find("  orvextraceclient  text"), std::string::npos);
    const size_t i = lines[0].find(", process ");
    ASSERT_NE(i, std::string::npos);
    ChildProcess::Kill(static_cast<unsigned int>(std::stoul(lines[0].substr(i + 10))));
}

TEST(TraceServer, SettingsOfItsOwn)
{
    Stage stage;
    stage.UseServer(stage.RealServer());
    stage.SetText("TraceFolder", stage.Path("elsewhere"));
    stage.SetNumber("TraceFileKilobytes", 16);
    stage.SetNumber("TraceFileCount", 3);
    const auto pClient = stage.Client("client");
    pClient->Ask("lines 1 2000");
    EXPECT_EQ(pClient->Ask("join").substr(0, 16), "joined 2000 2000");
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(stage.Path("elsewhere"))) {
        names.push_back(entry.path().filename().string());
        EXPECT_LE(entry.file_size(), 16u * 1024u) << names.back();
    }
    std::sort(names.begin(), names.end());
    const std::string sStem = stage.ServerName();
    EXPECT_EQ(names, (std::vector<std::string>{sStem + ".1.log", sStem + ".2.log", sStem + ".log"}));
    EXPECT_TRUE(stage.Records().empty());
    ChildProcess::Kill(pClient->Id());
}

TEST(TraceServer, FolderThatCannotBeWritten)
{
    Stage stage;
    std::ofstream(stage.Path("file")) << "in the way";
    stage.SetText("TraceFolder", stage.Path("file/below"));
    EXPECT_EQ(StartServer(stage, stage.ServerName())->Wait(), 1);
}

TEST(TraceServer, UnusableArguments)
{
    Stage stage;
    EXPECT_EQ(stage.Start("server", {stage.RealServer()})->Wait(), 2);
    EXPECT_EQ(stage.Start("server", {stage.RealServer(), "name"})->Wait(), 2);
}
