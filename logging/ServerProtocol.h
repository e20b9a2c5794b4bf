// What passes between the logger and a trace server.
//
// Texts go as WM_COPYDATA, zero-terminated, the kind in dwData; wParam is 0 and the answer is not looked at.
// The first text of a client is its registration, whose text is its identity, EXE_PROCESSID_THREADID, and the
// name of a mutex that the client holds for as long as it lives.
//
// After a time-out the client asks how many lines the server has taken from it since its registration. The
// question is WM_NULL, which any other window leaves alone, with the client's process id in wParam. A line
// belongs to the process whose id stands in front of it. A server that cannot tell, as for two clients in one
// process, answers 0, and so does any other window.
#pragma once

#include "platform/Platform.h"

constexpr ULONG_PTR SERVER_LINE = 0;
constexpr ULONG_PTR SERVER_REGISTRATION = 1;

constexpr LPARAM SERVER_QUESTION = 0x4F525651;

constexpr DWORD_PTR SERVER_COUNT_MARK = 0x4F000000;  // in front of the count's low 24 bits
constexpr DWORD_PTR SERVER_COUNT_BITS = 0x00FFFFFF;

constexpr DWORD_PTR SERVER_NO_CLIENT = 0x4E4F4E45;  // no client of that process is registered

constexpr DWORD_PTR ServerCount(DWORD nLines) { return SERVER_COUNT_MARK | (nLines & SERVER_COUNT_BITS); }
constexpr bool IsServerCount(DWORD_PTR dwAnswer)
{
    return (dwAnswer & ~SERVER_COUNT_BITS) == SERVER_COUNT_MARK;
}
