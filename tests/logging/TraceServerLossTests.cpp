// Trace servers that are killed under the hands of their clients.
#include "tests/logging/Stage.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <random>
#include <sstream>

namespace {

struct Joined
{
    long long llTraced = 0;
    long long llTaken = 0;
    long long llLongest = 0;
};

Joined JoinLines(ChildProcess& client)
{
    Joined joined;
    std::string sWord;
    std::istringstream(client.Ask("join", 120000)) >> sWord >> joined.llTraced >> joined.llTaken >>
        joined.llLongest;
    return joined;
}

// Every thread's lines in order, each at least once; a repeat is the line before or one in doubt when a
// server died.
class LineCheck
{
public:
    void Take(const std::string& sRecord)
    {
        unsigned int nProcess = 0;
        int iThread = 0, iEnd = 0;
        long long llNumber = 0;
        if (sRecord.find("  line ") == std::string::npos)
            return;
        const int n = sscanf(sRecord.c_str(), "%*10s %*12s %u orvextraceclient line %d %lld%n", &nProcess,
                             &iThread, &llNumber, &iEnd);
        if (n != 3 || iEnd != static_cast<int>(sRecord.size())) {
            ADD_FAILURE() << "torn: " << sRecord;
            return;
        }
        long long& llLast = m_Last[{nProcess, iThread}];
        if (llNumber == llLast)
            ++m_nRepeats;
        else if (llNumber != llLast + 1)
            ADD_FAILURE() << "process " << nProcess << " thread " << iThread << ": " << llNumber << " behind "
                          << llLast;
        llLast = llNumber;
    }
    long long Sum(unsigned int nProcess) const
    {
        long long ll = 0;
        for (const auto& entry : m_Last)
            ll += entry.first.first == nProcess ? entry.second : 0;
        return ll;
    }
    int Repeats() const { return m_nRepeats; }

private:
    std::map<std::pair<unsigned int, int>, long long> m_Last;
    int m_nRepeats = 0;
};

}  // namespace

TEST(TraceServerLoss, NothingIsLostWhileServersAreKilledThreads)
{
    constexpr int KILLS = 50, THREADS = 4;
    constexpr unsigned long long LINES = 200000, BYTES = 70;  // a line has less
    Stage stage;
    stage.UseServer(stage.RealServer());
    stage.SetNumber("TraceFileKilobytes", 256);
    stage.SetNumber("TraceFileCount", 1000);
    std::unique_ptr<ChildProcess> apClients[] = {stage.Client("one"), stage.Client("two")};
    for (const auto& pClient : apClients)
        pClient->Ask("lines " + std::to_string(THREADS) + " 0");

    std::mt19937 random(20011);
    unsigned int nServer = 0;
    for (int i = 0; i < KILLS; ++i) {
        nServer = stage.WaitForLink(nServer, 20000);
        ASSERT_NE(nServer, 0u);
        Eventually([] { return false; }, static_cast<int>(random() % 150));
        ChildProcess::Kill(nServer);
    }
    stage.WaitForLink(nServer, 20000);
    EXPECT_TRUE(Eventually([&] { return stage.RecordBytes() > LINES * BYTES; }, 240000));

    long long allTraced[2] = {};
    for (int i = 0; i < 2; ++i) {
        apClients[i]->Ask("enough");
        const Joined joined = JoinLines(*apClients[i]);
        allTraced[i] = joined.llTraced;
        // Every line goes out before one that is taken.
        EXPECT_EQ(apClients[i]->Ask("trace 1 the end").substr(0, 8), "traced 1");
        printf("client %d: %lld lines, %lld taken while their callers waited, held %lld ms at most\n", i,
               joined.llTraced, joined.llTaken, joined.llLongest);
    }
    LineCheck check;
    for (const std::string& sRecord : stage.Records())
        check.Take(sRecord);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(check.Sum(apClients[i]->Id()), allTraced[i]);
    EXPECT_GE(static_cast<unsigned long long>(allTraced[0] + allTraced[1]), LINES);
    EXPECT_LE(check.Repeats(), 2 * KILLS) << "at most the line of each client that a server had in hand";
    printf("%d repeats in %d kills\n", check.Repeats(), KILLS);
}

TEST(TraceServerLoss, SettingsLossAndStopAtOnceThreads)
{
    Stage stage;
    stage.UseServer(stage.RealServer());
    for (int iRound = 0; iRound < 3; ++iRound) {
        const auto pClient = stage.Client("client");
        const unsigned int nServer = stage.ServerId();
        pClient->Ask("lines 4 0");
        for (unsigned int n = 0; n < 4; ++n) {
            stage.SetNumber("TraceMask", 0x40000007 ^ n);
            stage.SetNumber("UseDebugOutput", n % 2);
        }
        ChildProcess::Kill(nServer);
        for (unsigned int n = 0; n < 4; ++n) {
            stage.SetNumber("TraceMask", 0x7 ^ (n << 4));
            stage.SetNumber("ConsoleTraceMask", n);
        }
        pClient->Ask("enough");
        if (iRound != 2)
            stage.WaitForServer(nServer);
        EXPECT_EQ(pClient->Ask("join", 60000).substr(0, 6), "joined");
        EXPECT_EQ(pClient->Ask("release").substr(0, 7), "count 0");
        pClient->Kill();
    }
}
