// orvextestserver NAME "REGISTRY PATH": a trace server with the faults that a test wants. The variable
// ORVEX_TEST_SERVER says which, in words between blanks:
//
//     exit         ends at once
//     delay=MS     shows its window so much later
//     line=MS      takes so long over every message
//     hide=N       takes its window away after N messages, and lives on
//
// Every message is a line "KIND BYTES TEXT" of the file that ORVEX_TEST_SERVER_LOG names, and the process id
// one at its head. Unlike orvextraceserver it cannot say what it has taken.
#include "platform/Platform.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

struct Behaviour
{
    bool bExit = false;
    DWORD dwDelay = 0;
    DWORD dwLine = 0;
    int iHide = -1;
} g_Behaviour;

FILE* g_pLog = nullptr;

void ReadBehaviour()
{
    const char* const text = getenv("ORVEX_TEST_SERVER");
    const std::string s = text == nullptr ? "" : text;
    const auto number = [&s](const char* name, int iDefault) {
        const size_t i = s.find(name);
        return i == std::string::npos ? iDefault : atoi(s.c_str() + i + strlen(name));
    };
    g_Behaviour.bExit = s.find("exit") != std::string::npos;
    g_Behaviour.dwDelay = static_cast<DWORD>(number("delay=", 0));
    g_Behaviour.dwLine = static_cast<DWORD>(number("line=", 0));
    g_Behaviour.iHide = number("hide=", -1);
}

LRESULT CALLBACK WindowProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    if (nMessage != WM_COPYDATA)
        return DefWindowProcA(hWnd, nMessage, wParam, lParam);
    const COPYDATASTRUCT& data = *reinterpret_cast<const COPYDATASTRUCT*>(lParam);
    fprintf(g_pLog, "%u %u %s\n", static_cast<unsigned int>(data.dwData),
            static_cast<unsigned int>(data.cbData), static_cast<const char*>(data.lpData));
    fflush(g_pLog);
    Sleep(g_Behaviour.dwLine);
    if (g_Behaviour.iHide > 0 && --g_Behaviour.iHide == 0)
        PostMessageA(hWnd, WM_APP, 0, 0);
    return TRUE;
}

}  // namespace

int main(int argc, char** argv)
{
    ReadBehaviour();
    const char* const log = getenv("ORVEX_TEST_SERVER_LOG");
    if (argc < 3 || log == nullptr || (g_pLog = fopen(log, "a")) == nullptr)
        return 2;
    fprintf(g_pLog, "process %d\n", _getpid());
    fflush(g_pLog);
    if (g_Behaviour.bExit)
        return 0;
    Sleep(g_Behaviour.dwDelay);

    WNDCLASSA windowClass = {};
    windowClass.lpfnWndProc = &WindowProc;
    windowClass.lpszClassName = argv[1];
    RegisterClassA(&windowClass);
    const HWND hWnd =
        CreateWindowExA(0, argv[1], argv[1], WS_OVERLAPPED, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
    if (hWnd == nullptr)
        return 1;
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
        DispatchMessageA(&message);
        if (message.message == WM_APP)
            DestroyWindow(hWnd);
    }
    return 0;
}
