// Numbers of the platform's message vocabulary by their symbolic names, for dumps and traces.
#pragma once

// The name, or "LCS: Unknown". Constant text.
const char* ConnectionStateName(int state);

// The name, or "Unrecognized MessageID: N?". The text stands in a buffer of the calling thread and is good
// until the thread's next call.
char* MessageName(int id);

// The name, or "N, ?". The same, with a buffer of its own.
char* AgentStateName(int state);
