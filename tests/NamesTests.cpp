#include "names/Names.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <thread>

namespace {

// Both ends of every run of ids, and the nearest ids that have no name.
TEST(NamesTest, MessageNamesEndWhereTheirRunsEnd)
{
    const struct
    {
        int first;
        const char* firstName;
        int last;
        const char* lastName;
    } runs[] = {
        {0x00000001, "eFailureConf", 0x00000041, "eTransferCallConf"},
        {0x00000052, "eSnapshotCallRequest", 0x00000056, "eCallDequeuedEvent"},
        {0x0000005B, "eSendDTMFRequest", 0x0000005C, "eSendDTMFConf"},
        {0x00000065, "eSessionMonitorStartRequest", 0x0000006D, "eUserMessageEvent"},
        {0x00000070, "eQueryAgentStatisticsRequest", 0x00000077, "eSupervisorAssistConf"},
        {0x00000079, "eEmergencyCallRequest", 0x0000008E, "eSetDeviceAttributesConf"},
        {0x00000093, "eStartRecordingRequest", 0x00000096, "eCallStopRecordingConf"},
        {0x000000E6, "eConfigRequestKeyEvent", 0x000000EE, "eConfigDeviceEvent"},
        {0x10000001, "eOpenConnection", 0x10000005, "eSnapshotObjectRequest"},
        {0x10000009, "eGetAllSupervisedAgentsRequest", 0x10000013, "eStopTimerRequest"},
        {0x10000016, "eSnapshotAllCallsRequest", 0x10000018, "eSnapshotAllAgentsRequest"},
        {0x1000006B, "eSendChatMessageReq", 0x1000006B, "eSendChatMessageReq"},
        {0x20000001, "eOnConnection", 0x20000015, "eRemoveFilterEvent"},
        {0x20000017, "eGlobalSettingsDownloadConf", 0x20000017, "eGlobalSettingsDownloadConf"},
        {0x2000001C, "eGetAgentNameRequest", 0x2000001D, "eAgentInfoEvent"},
        {0x2000001F, "eOnLastSessionClosedEvent", 0x2000002F, "eSnapshotTeamConf"},
        {0x2000006C, "eSendChatMessageConf", 0x2000006D, "eChatMessageEvent"},
        {0x20000071, "eOnNewAgentStatisticsEvent", 0x20000071, "eOnNewAgentStatisticsEvent"},
        {0x20000073, "eOnNewSkillGroupStatisticsEvent", 0x20000073, "eOnNewSkillGroupStatisticsEvent"},
        {0x30000009, "eMonitoredCallDeliveredEvent", 0x30000019, "eMonitoredCallDataUpdateEvent"},
        {0x3000001E, "eMonitoredAgentStateEvent", 0x3000001E, "eMonitoredAgentStateEvent"},
        {0x30000022, "eMonitoredCallReachedNetworkEvent", 0x30000022, "eMonitoredCallReachedNetworkEvent"},
        {0x30000056, "eMonitoredCallDequeuedEvent", 0x30000056, "eMonitoredCallDequeuedEvent"},
        {0x30000069, "eMonitoredAgentPrecallEvent", 0x3000006A, "eMonitoredAgentPrecallAbortEvent"},
        {0x40000000, "eStartSilentMonitorRequest", 0x40000008, "eReportSilentMonitorStatusConf"},
        {0x5000001E, "eSkillInfoEvent", 0x5000001E, "eSkillInfoEvent"},
    };
    const auto fallback = [](int id) { return "Unrecognized MessageID: " + std::to_string(id) + "?"; };
    for (const auto& run : runs) {
        EXPECT_STREQ(MessageName(run.first), run.firstName);
        EXPECT_STREQ(MessageName(run.last), run.lastName);
        EXPECT_EQ(MessageName(run.first - 1), fallback(run.first - 1));
        EXPECT_EQ(MessageName(run.last + 1), fallback(run.last + 1));
    }
    for (int id : {0, -1, INT_MAX, INT_MIN})
        EXPECT_EQ(MessageName(id), fallback(id));
}

// Inside a run a name that stands twice, is missing or out of place shows here.
TEST(NamesTest, MonitoredCopiesFollowTheBaseEvents)
{
    int nCopies = 0;
    for (int id = 0; id <= 0xFF; ++id) {
        const std::string sMonitored = MessageName(id + 0x30000000);
        if (sMonitored[0] != 'e')
            continue;
        ++nCopies;
        EXPECT_EQ(sMonitored, "eMonitored" + std::string(MessageName(id)).substr(1)) << id;
    }
    EXPECT_EQ(nCopies, 22);
}

TEST(NamesTest, StatesHaveNamesAndFallbacks)
{
    const struct
    {
        int state;
        const char* agent;
        const char* connection;
    } rows[] = {
        {INT_MIN, "-2147483648, ?", "LCS: Unknown"},
        {-1, "-1, ?", "LCS: Unknown"},
        {0, "eLogin", "eCallConnectionNull"},
        {1, "eLogout", "eCallConnectionInitiate"},
        {2, "eNotReady", "eCallConnectionAlerting"},
        {3, "eAvailable", "eCallConnectionConnect"},
        {4, "eTalking", "eCallConnectionHold"},
        {5, "eWorkNotReady", "eCallConnectionQueued"},
        {6, "eWorkReady", "eCallConnectionFail"},
        {7, "eBusyOther", "LCS: Unknown"},
        {8, "eReserved", "LCS: Unknown"},
        {9, "eUnknown", "LCS: Unknown"},
        {10, "eHold", "LCS: Unknown"},
        {11, "11, ?", "LCS: Unknown"},
        {65534, "65534, ?", "LCS: Unknown"},
        {65535, "65535, ?", "eCallConnectionNone"},
        {65536, "65536, ?", "LCS: Unknown"},
    };
    for (const auto& row : rows) {
        EXPECT_STREQ(AgentStateName(row.state), row.agent);
        EXPECT_STREQ(ConnectionStateName(row.state), row.connection) << row.state;
    }
}

TEST(NamesTest, OtherThreadsLeaveAThreadsNamesAlone)
{
    const char* const message = MessageName(9);
    const char* const agent = AgentStateName(3);
    std::thread([] {
        EXPECT_STREQ(MessageName(-9), "Unrecognized MessageID: -9?");
        EXPECT_STREQ(AgentStateName(-3), "-3, ?");
    }).join();
    EXPECT_STREQ(message, "eCallDeliveredEvent");
    EXPECT_STREQ(agent, "eAvailable");
}

}  // namespace
