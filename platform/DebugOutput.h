// The debug output: one text at a time to whoever listens.
//
// On Linux it is a datagram to the socket "debug" in the runtime folder. A listener that comes is noticed
// within 100 milliseconds; without one the call costs a look at the clock. A listener that does not keep up
// holds a text up for 20 ms, then texts are lost until it goes on. A text is cut at 64 KB.
#pragma once

#include "platform/WinTypes.h"

#include <string>

void OutputDebugStringA(const char* text);

// The listener's side, which on Windows is a matter of debuggers: one a user at a time. Both give FALSE and a
// last error: ERROR_ALREADY_EXISTS when another listens. Texts of other users are not given out.
BOOL PlatformOpenDebugOutput();
BOOL PlatformReadDebugOutput(DWORD* pdwProcessId, std::string* psText);
