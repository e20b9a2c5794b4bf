// The wire between windows, inside this folder: packets on a connection to the window's socket. A request is
// a header and, for WM_COPYDATA, the data; data that do not fit a packet go as a memory file along with it.
// The answer carries the request's number, so one that comes too late is not taken for the next one's.
#pragma once

#include "platform/Handles.h"
#include "platform/Sync.h"
#include "platform/WindowMessages.h"

#include <vector>

#pragma GCC visibility push(hidden)

struct WindowRequest
{
    std::uint64_t nNumber;
    std::int64_t nDeadline;  // MonotonicNow of the end of the sender's patience; -1 for ever
    std::uint64_t wParam;
    std::int64_t lParam;
    std::uint64_t dwData;
    std::uint32_t uMessage;
    std::uint32_t cbData;
};

struct WindowAnswer
{
    std::uint64_t nNumber;
    std::int64_t lResult;
};

constexpr size_t PACKET_DATA_BYTES = 60 * 1024;

std::string WindowFileName(const char* className, const char* windowName);

// A connection for one message at a time, by a socket that blocks in reads for so long as was set last.
struct WindowLink
{
    Descriptor Socket;
    UINT uPatience = INFINITE;
};

// Not open: last error.
Descriptor ConnectToWindow(const std::string& sFileName);
bool HungUp(int fd);

// The client's side: sends and waits for the answer, for uTimeout milliseconds from the time that made the
// request's deadline. Zero when it has come; else the last error of the call, where *pbBroken says that the
// connection is of no more use.
constexpr DWORD NO_ANSWER = 0xFFFFFFFF;  // the window went away
DWORD SendRequest(WindowLink* pLink, WindowRequest* pRequest, const void* pData, UINT uTimeout,
                  LRESULT* plResult, bool* pbBroken);

// The server's side. The buffer has room for a packet; *ppData points to the data, in the buffer or in
// *pLarge.
enum class Received
{
    NOTHING,
    REQUEST,
    CLOSED
};
Received ReceiveRequest(int fd, std::vector<char>* pBuffer, std::vector<char>* pLarge,
                        WindowRequest* pRequest, char** ppData);
bool SendAnswer(int fd, const WindowAnswer& answer);

#pragma GCC visibility pop
