// A bag from start to end: filled through typed writes, packed in both forms, read back, shown.
#include "arguments/Arguments.h"
#include "failures/OrvexException.h"
#include "tools/MemoryStream.h"

#include <cstdio>

namespace {

ArgumentsHolder FillMessage()
{
    ArgumentsHolder pAgents(Arguments::CreateInstance());
    pAgents->AddItem("1", 1001);
    pAgents->AddItem("2", 1002);

    ArgumentsHolder pMessage(Arguments::CreateInstance());
    pMessage->AddItem(Keyword::MessageID, 9);       // a keyword by its number,
    pMessage->AddItem("agentstate", 3);             // one by its name, in any case,
    pMessage->AddItem("user.crm.ticket", "T-817");  // and a free key
    pMessage->AddItem(Keyword::CallVariable1, "gold customer");
    pMessage->AddItem(Keyword::Agents, pAgents.get());  // shared, not copied
    return pMessage;
}

// Packs the bag, reads the bytes into a new one and compares what both show.
bool GoesThrough(Arguments& rMessage, const char* form, int (Arguments::*pack)(Serialize&),
                 int (Arguments::*unpack)(Serialize&))
{
    MemoryStream stream;
    if ((rMessage.*pack)(stream) < 0)
        return false;
    const ArgumentsHolder pBack(Arguments::CreateInstance());
    const int entries = (pBack.get()->*unpack)(stream);
    printf("%-8s %3zu bytes, %d entries read back\n", form, stream.Size(), entries);
    return entries == rMessage.NumElements() && pBack->DumpArgs() == rMessage.DumpArgs();
}

void ReadValues(Arguments& rMessage)
{
    // A read into a variable tells by its result; one that returns the value throws.
    int iState = 0;
    if (rMessage.GetValueInt(Keyword::AgentState, &iState))
        printf("agent state %d\n", iState);
    try {
        rMessage.GetValueInt("user.crm.owner");
    } catch (const COrvexException& e) {
        printf("%s\n", e.what());
    }
}

}  // namespace

int main()
{
    const ArgumentsHolder pMessage = FillMessage();
    printf("%s\n", pMessage->DumpArgs().c_str());
    ReadValues(*pMessage);
    const bool bFull = GoesThrough(*pMessage, "full", &Arguments::Pack, &Arguments::Unpack);
    const bool bCompact = GoesThrough(*pMessage, "compact", &Arguments::Pack2, &Arguments::Unpack2);
    return bFull && bCompact ? 0 : 1;
}
