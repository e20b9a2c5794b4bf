// The link between clients and trace servers: found, launched, shared, late, stuck, slow, refusing and gone.
#include "tests/logging/TraceServerLinkTest.h"

#include <sstream>

TEST_F(TraceServerLink, RunningServerIsShared)
{
    m_Stage.UseServer(m_Stage.RealServer());
    const auto pServer = StartServer(m_Stage.RealServer());
    const auto pOne = m_Stage.BareClient("one");
    EXPECT_LT(Ask(*pOne, std::string("instance ") + LOGGING_KEY).llResult, 900) << "found without a launch";
    const auto pTwo = m_Stage.Client("two");
    EXPECT_EQ(Ask(*pOne, "trace 1 from one").llResult, 1);
    EXPECT_EQ(Ask(*pTwo, "trace 4 from two").llResult, 1);
    EXPECT_EQ(Ask(*pTwo, "write 8 ready text").llResult, 1);
    EXPECT_EQ(Ask(*pTwo, "trace 80000000 masked out").llResult, -1);

    const std::vector<std::string> records = m_Stage.Records();
    EXPECT_EQ(CountOf(records, "started, process"), 1);
    for (const auto* const p : {pOne.get(), pTwo.get()}) {
        const std::string sClient = Stage::ClientName() + '_' + std::to_string(p->Id()) + '_';
        EXPECT_EQ(CountOf(records, "  ---- client " + sClient), 1);
        EXPECT_EQ(CountOf(records, "  ********* Started logging facility for " + sClient), 1);
    }
    EXPECT_EQ(Texts(*pOne).back(), "from one");
    EXPECT_EQ(Texts(*pTwo).back(), "ready text");
    EXPECT_EQ(Texts(*pTwo)[0], "LogWrapper::Start, ServerMonitorThread started successfully.");

    pOne->Kill();
    EXPECT_TRUE(m_Stage.WaitForRecord("client " + Stage::ClientName() + '_' + std::to_string(pOne->Id())))
        << "note";
    EXPECT_TRUE(Eventually([&] { return CountOf(m_Stage.Records(), " has gone") == 1; }));
    EXPECT_EQ(Ask(*pTwo, "trace 1 still served").llResult, 1);
    EXPECT_EQ(Ask(*pTwo, "release").llResult, 0);
    EXPECT_TRUE(Eventually([&] { return CountOf(m_Stage.Records(), " has gone") == 2; }));
}

TEST_F(TraceServerLink, MessagesOfAClient)
{
    m_Stage.UseServer(m_Stage.TestServer());
    const auto pClient = m_Stage.Client("client");
    m_Stage.SetNumber("TraceMask", 0x40000007);
    const std::string sId = std::to_string(pClient->Id());
    EXPECT_TRUE(Eventually([&] { return CountOf(m_Stage.Messages(), "TraceMask changed") == 1; }));
    EXPECT_EQ(Ask(*pClient, "trace 1 ten bytes.").llResult, 1);

    const std::vector<std::string> messages = m_Stage.Messages();
    ASSERT_GE(messages.size(), 3u);
    std::istringstream first(messages[0]);
    std::string sKind, sBytes, sClientId;
    first >> sKind >> sBytes >> sClientId;
    EXPECT_EQ(sKind, "1");
    EXPECT_EQ(sBytes, std::to_string(sClientId.size() + 1));
    EXPECT_EQ(sClientId.find(Stage::ClientName() + '_' + sId + '_'), 0u) << sClientId;
    const std::string sStarted = "********* Started logging facility for " + sClientId + " *********";
    EXPECT_EQ(messages[1], "0 " + std::to_string(sStarted.size() + 1) + ' ' + sStarted);
    char szLine[80];
    snprintf(szLine, sizeof szLine, "%4u  orvextraceclient  Thd(%4lld)  ten bytes.", pClient->Id(),
             Ask(*pClient, "thread").llResult);
    const std::string sLine(szLine);
    EXPECT_EQ(messages.back(), "0 " + std::to_string(sLine.size() + 1) + ' ' + sLine);
}

TEST_F(TraceServerLink, ServerThatIsLate)
{
    struct Row
    {
        int iDelay;
        bool bUsed;
    };
    for (const Row& row : {Row{1000, true}, Row{4000, false}}) {
        SCOPED_TRACE(row.iDelay);
        Stage stage;
        stage.UseServer(stage.TestServer());
        stage.SetTestServer("delay=" + std::to_string(row.iDelay));
        const auto pClient = stage.BareClient("client");
        const Answer answer = Ask(*pClient, std::string("instance ") + LOGGING_KEY);
        const unsigned int nServer = stage.ServerId();
        ASSERT_NE(nServer, 0u);
        if (row.bUsed) {
            EXPECT_LT(answer.llResult, 3500);
            EXPECT_EQ(Ask(*pClient, "trace 1 taken").llResult, 1);
        } else {
            EXPECT_LT(answer.llResult, 5500);
            EXPECT_TRUE(ChildProcess::WaitForEnd(nServer, 500)) << "too late, so terminated";
            ExpectAbandoned(*pClient);
        }
    }
}

TEST_F(TraceServerLink, ServersThatAreNone)
{
    struct Row
    {
        const char* name;
        std::string sServer;
        const char* behaviour;
        int iLatest;  // ms for the logger's making
    };
    const Row rows[] = {
        {"no program", "/no/such/program", "", 2000},
        {"a number", "123", "", 2000},
        {"a folder", "/", "", 2000},
        {"a program that ends at once", m_Stage.TestServer(), "exit", 5500},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Stage stage;
        stage.UseServer(row.sServer);
        stage.SetTestServer(row.behaviour);
        const auto pClient = stage.BareClient("client");
        EXPECT_LT(Ask(*pClient, std::string("instance ") + LOGGING_KEY).llResult, row.iLatest);
        ExpectAbandoned(*pClient);
        ExpectIdle(*pClient, 1);
        EXPECT_LT(Ask(*pClient, "release").llMilliseconds, 1000);
    }
}

TEST_F(TraceServerLink, StuckServerHoldsNobodyLongAndGetsEveryLine)
{
    constexpr int THREADS = 4, LINES = 1000;
    m_Stage.UseServer(m_Stage.RealServer());
    const auto pClient = m_Stage.Client("client");
    const unsigned int nServer = m_Stage.ServerId();
    const long long llFrozen = MillisecondsNow();
    ChildProcess::Freeze(nServer);
    pClient->Ask("lines " + std::to_string(THREADS) + ' ' + std::to_string(LINES));
    pClient->Say("join");
    std::istringstream joined(pClient->Hear());
    std::string sWord;
    long long llTraced = 0, llTaken = 0, llLongest = 0;
    joined >> sWord >> llTraced >> llTaken >> llLongest;
    EXPECT_EQ(llTraced, THREADS * LINES);
    EXPECT_LE(llLongest, HELD_MS);
    EXPECT_LT(MillisecondsNow() - llFrozen, 2 * HELD_MS) << "held once, not once a line";
    ExpectIdle(*pClient, static_cast<int>((10000 - (MillisecondsNow() - llFrozen)) / 1000));
    ChildProcess::Thaw(nServer);

    EXPECT_TRUE(Eventually([&] { return CountOf(Texts(*pClient), "line ") >= THREADS * LINES; }));
    int aiNext[THREADS + 1] = {};
    for (const std::string& sText : Texts(*pClient)) {
        int iThread = 0, iNumber = 0;
        if (sscanf(sText.c_str(), "line %d %d", &iThread, &iNumber) == 2) {
            ASSERT_EQ(iNumber, ++aiNext[iThread]) << "thread " << iThread;
        }
    }
    EXPECT_EQ(CountOf(Texts(*pClient), "dropped"), 0);
    EXPECT_EQ(Ask(*pClient, "trace 1 as before").llResult, 1);
}

TEST_F(TraceServerLink, LinesBeyondTheBoundAreCountedInOneLine)
{
    constexpr int THREADS = 2, LINES = 15000;
    m_Stage.UseServer(m_Stage.RealServer());
    const auto pClient = m_Stage.Client("client");
    ChildProcess::Freeze(m_Stage.ServerId());
    pClient->Ask("lines " + std::to_string(THREADS) + ' ' + std::to_string(LINES));
    pClient->Ask("join");
    ChildProcess::Thaw(m_Stage.ServerId());
    EXPECT_TRUE(m_Stage.WaitForRecord("were dropped.", 30000));
    EXPECT_TRUE(Eventually([&] { return Ask(*pClient, "trace 1 as before").llResult == 1; }));

    const std::vector<std::string> texts = Texts(*pClient);
    unsigned int nDropped = 0;
    for (const std::string& sText : texts)
        sscanf(sText.c_str(), "LogWrapper::Trace, %u lines for the trace server were dropped.", &nDropped);
    EXPECT_EQ(CountOf(texts, "were dropped."), 1);
    EXPECT_EQ(CountOf(texts, "line ") + nDropped, THREADS * LINES);
    EXPECT_GE(CountOf(texts, "line "), 10000);
}

TEST_F(TraceServerLink, SlowServerGetsEveryLine)
{
    m_Stage.UseServer(m_Stage.TestServer());
    m_Stage.SetTestServer("line=1500");
    const auto pClient = m_Stage.Client("client");
    for (int i = 1; i <= 4; ++i)
        EXPECT_LE(Ask(*pClient, "trace 1 slow " + std::to_string(i)).llMilliseconds, HELD_MS);
    ExpectIdle(*pClient);
    EXPECT_TRUE(Eventually([&] { return CountOf(m_Stage.Messages(), "slow 4") > 0; }, 20000));
    const std::vector<std::string> messages = m_Stage.Messages();
    for (int i = 1; i <= 4; ++i)
        EXPECT_GE(CountOf(messages, "slow " + std::to_string(i)), 1) << i;
    EXPECT_LE(CountOf(messages, "slow "), 5) << "a repeat is the exception";
    EXPECT_LT(Ask(*pClient, "release").llMilliseconds, 1000);
}

TEST_F(TraceServerLink, WindowGoneWhileItsProcessLives)
{
    m_Stage.UseServer(m_Stage.RealServer());
    m_Stage.SetTestServer("hide=6");
    const auto pOther = StartServer(m_Stage.TestServer());
    const auto pClient = m_Stage.Client("client");
    EXPECT_TRUE(Eventually([&] {
        Ask(*pClient, "trace 1 more");
        return m_Stage.Messages().size() >= 6;
    }));
    EXPECT_EQ(Ask(*pClient, "trace 1 to the next").llResult, 1) << "through the server that was launched";
    EXPECT_EQ(Texts(*pClient).back(), "to the next");
    EXPECT_TRUE(ChildProcess::Runs(pOther->Id()));
}

TEST_F(TraceServerLink, ProcessWithoutAWindowIsNoServer)
{
    m_Stage.UseServer(m_Stage.RealServer());
    m_Stage.SetTestServer("delay=600000");
    const auto pOther = StartServer(m_Stage.TestServer());
    const auto pClient = m_Stage.Client("client");
    EXPECT_EQ(Ask(*pClient, "trace 1 text").llResult, 1);
    EXPECT_EQ(Texts(*pClient).back(), "text");
}

TEST_F(TraceServerLink, StopEndsTheThreadsWithinASecondInEveryState)
{
    using Step = std::function<void(Stage&, ChildProcess&)>;
    struct Row
    {
        const char* name;
        Step reach;
    };
    const auto pause = [](int iMilliseconds) { Eventually([] { return false; }, iMilliseconds); };
    const auto loseServer = [](Stage& s) {
        // From now on servers are launched, but none shows its window.
        s.SetTestServer("delay=600000");
        ChildProcess::Kill(s.ServerId());
    };
    const Row rows[] = {
        {"linked", [](Stage&, ChildProcess&) {}},
        {"linked, server stuck", [](Stage& s, ChildProcess&) { ChildProcess::Freeze(s.ServerId()); }},
        {"linked, server stuck, lines queued",
         [](Stage& s, ChildProcess& c) {
             ChildProcess::Freeze(s.ServerId());
             c.Ask("trace 1 one");
             c.Ask("trace 1 two");
         }},
        {"searching", [&](Stage& s, ChildProcess&) { loseServer(s); }},
        {"searching, a line waiting",
         [&](Stage& s, ChildProcess& c) {
             loseServer(s);
             c.Ask("lines 1 1");
             pause(200);
         }},
        {"waiting for the window",
         [&](Stage& s, ChildProcess&) {
             const unsigned int nWas = s.ServerId();
             loseServer(s);
             s.WaitForServer(nWas);
         }},
        {"abandoned",
         [&](Stage& s, ChildProcess&) {
             loseServer(s);
             pause(5000);
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Stage stage;
        stage.UseServer(stage.TestServer());
        const auto pClient = stage.Client("client");
        ASSERT_NE(stage.ServerId(), 0u);
        row.reach(stage, *pClient);
        const Answer answer = Ask(*pClient, "release");
        EXPECT_EQ(answer.llResult, 0);
        EXPECT_LE(answer.llMilliseconds, 1000);
    }
}

TEST_F(TraceServerLink, ServerStuckFromTheStart)
{
    m_Stage.UseServer(m_Stage.RealServer());
    const auto pServer = StartServer(m_Stage.RealServer());
    EXPECT_TRUE(Eventually([&] {
        const auto pClient = m_Stage.Client("first");
        return Ask(*pClient, "trace 1 it is up").llResult == 1;
    }));
    ChildProcess::Freeze(pServer->Id());
    for (const bool bThaw : {false, true}) {
        const auto pClient = m_Stage.BareClient("client");
        EXPECT_LE(Ask(*pClient, std::string("instance ") + LOGGING_KEY).llResult, HELD_MS);
        const Answer held = Ask(*pClient, "trace 1 while stuck");
        EXPECT_EQ(held.llResult, -1);
        EXPECT_LE(held.llMilliseconds, HELD_MS);
        ExpectIdle(*pClient);
        if (bThaw) {
            ChildProcess::Thaw(pServer->Id());
            EXPECT_TRUE(Eventually([&] { return CountOf(Texts(*pClient), "while stuck") == 1; }));
        }
        EXPECT_LE(Ask(*pClient, "release").llMilliseconds, 1000) << "registering";
    }
}

TEST_F(TraceServerLink, KilledClientDisturbsNobody)
{
    m_Stage.UseServer(m_Stage.RealServer());
    m_Stage.SetNumber("TraceServerLinger", 1);
    for (int i = 0; i < 3; ++i) {
        const auto pClient = m_Stage.BareClient("client");
        EXPECT_LT(Ask(*pClient, std::string("instance ") + LOGGING_KEY).llResult, 3000);
        pClient->Ask("lines 4 0 1000");
        EXPECT_TRUE(Eventually([&] { return CountOf(Texts(*pClient), "line 4 ") > 20; }));
        pClient->Kill();
        pClient->Wait();
        if (i == 1) {
            EXPECT_TRUE(ChildProcess::WaitForEnd(m_Stage.ServerId(), 10000)) << "its last client has gone";
        }
    }
}
