// The debug output: one text at a time to whoever listens.
//
// On Linux it is a datagram to the socket "debug" in the runtime folder ($XDG_RUNTIME_DIR/orvex, else
// /tmp/orvex-UID). Nobody listening, or a listener that does not keep up, loses the text and holds up nobody.
#pragma once

void OutputDebugStringA(const char* text);
