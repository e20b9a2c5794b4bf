// Troubles of the link that only Linux has, or only there can be made.
#include "tests/logging/TraceServerLinkTest.h"

#include <filesystem>

TEST_F(TraceServerLink, RuntimeFolderThatIsNotOurs)
{
    m_Stage.UseServer(m_Stage.RealServer());
    std::filesystem::create_directory(m_Stage.Path("runtime/orvex"));
    OpenToAll(m_Stage.Path("runtime/orvex"));
    const auto pClient = m_Stage.BareClient("client");
    EXPECT_LT(Ask(*pClient, std::string("instance ") + LOGGING_KEY).llResult, 5500);
    ExpectAbandoned(*pClient);
    ExpectIdle(*pClient, 1);
}

TEST_F(TraceServerLink, RefusedSendsArePacedAndFollowLater)
{
    m_Stage.UseServer(m_Stage.RealServer());
    const auto pClient = m_Stage.Client("client");
    EXPECT_EQ(Ask(*pClient, "trace 1 before").llResult, 1);
    pClient->Ask("fault socket 1 24 1000000");  // no more descriptors
    pClient->Ask("fault connect 1 24 1000000");
    const Answer held = Ask(*pClient, "trace 1 refused");
    if (held.llResult == -1) {
        EXPECT_LE(held.llMilliseconds, HELD_MS);
    }
    ExpectIdle(*pClient);
    pClient->Ask("fault none 1 0 1");
    EXPECT_TRUE(m_Stage.WaitForRecord("refused"));
}
