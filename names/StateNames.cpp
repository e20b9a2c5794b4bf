#include "names/Names.h"

#include <cstdio>
#include <iterator>

namespace {

constexpr const char* AGENT_STATES[] = {
    "eLogin",     "eLogout",    "eNotReady", "eAvailable", "eTalking", "eWorkNotReady",
    "eWorkReady", "eBusyOther", "eReserved", "eUnknown",   "eHold",
};
static_assert(std::size(AGENT_STATES) == 11, "agent states run from 0 to 10");

constexpr const char* CONNECTION_STATES[] = {
    "eCallConnectionNull", "eCallConnectionInitiate", "eCallConnectionAlerting", "eCallConnectionConnect",
    "eCallConnectionHold", "eCallConnectionQueued",   "eCallConnectionFail",
};
static_assert(std::size(CONNECTION_STATES) == 7, "connection states run from 0 to 6");
constexpr int CONNECTION_NONE = 0xFFFF;

thread_local char t_szAgentStateName[32];

}  // namespace

const char* ConnectionStateName(int state)
{
    if (state == CONNECTION_NONE)
        return "eCallConnectionNone";
    if (state < 0 || state >= static_cast<int>(std::size(CONNECTION_STATES)))
        return "LCS: Unknown";
    return CONNECTION_STATES[state];
}

char* AgentStateName(int state)
{
    if (state < 0 || state >= static_cast<int>(std::size(AGENT_STATES)))
        snprintf(t_szAgentStateName, sizeof t_szAgentStateName, "%d, ?", state);
    else
        snprintf(t_szAgentStateName, sizeof t_szAgentStateName, "%s", AGENT_STATES[state]);
    return t_szAgentStateName;
}
