// Windows without a face: found by class and title across the processes of a user, and spoken to by messages.
//
// A window is a socket in the runtime folder, named after its class and title. Processes of other users are
// refused on both sides (ERROR_ACCESS_DENIED), and so is a runtime folder that is another user's or open to
// others. A window ends with its thread or process, however that ends.
//
// Unlike on Windows there is one window of a class and title at a time: the second to be created gives
// ERROR_ALREADY_EXISTS. A thread that waits for the answer to its message runs none of its own window
// procedures meanwhile. A message whose sender has given up waiting before its turn came is dropped.
#pragma once

#include "platform/WinTypes.h"

using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;
using ATOM = WORD;
using WNDPROC = LRESULT(CALLBACK*)(HWND, UINT, WPARAM, LPARAM);
using TIMERPROC = void(CALLBACK*)(HWND, UINT, UINT_PTR, DWORD);

struct WNDCLASSA
{
    UINT style;
    WNDPROC lpfnWndProc;
    int cbClsExtra;
    int cbWndExtra;
    HINSTANCE hInstance;
    struct HICON__* hIcon;
    struct HICON__* hCursor;
    struct HBRUSH__* hbrBackground;
    const char* lpszMenuName;
    const char* lpszClassName;
};

struct POINT
{
    LONG x;
    LONG y;
};

struct MSG
{
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
};

struct COPYDATASTRUCT
{
    ULONG_PTR dwData;
    DWORD cbData;
    void* lpData;
};

#define WM_NULL     0x0000
#define WM_CREATE   0x0001
#define WM_DESTROY  0x0002
#define WM_CLOSE    0x0010
#define WM_QUIT     0x0012
#define WM_COPYDATA 0x004A
#define WM_TIMER    0x0113
#define WM_USER     0x0400
#define WM_APP      0x8000

#define WS_OVERLAPPED 0

#define SMTO_NORMAL 0
#define PM_NOREMOVE 0
#define PM_REMOVE   1
#define QS_ALLINPUT 0x04FF

ATOM RegisterClassA(const WNDCLASSA* pClass);
BOOL UnregisterClassA(const char* className, HINSTANCE hInstance);

// Style, place, size, parent, menu and parameter are not looked at. WM_CREATE comes with lParam 0.
HWND CreateWindowExA(DWORD dwExStyle, const char* className, const char* windowName, DWORD dwStyle, int x,
                     int y, int nWidth, int nHeight, HWND hWndParent, struct HMENU__* hMenu,
                     HINSTANCE hInstance, void* pParam);
BOOL DestroyWindow(HWND hWnd);
LRESULT DefWindowProcA(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);

// Both names are wanted.
HWND FindWindowA(const char* className, const char* windowName);
BOOL IsWindow(HWND hWnd);
// For a window of another process the thread is that process's first one.
DWORD GetWindowThreadProcessId(HWND hWnd, DWORD* pdwProcessId);

// To another thread or process only WM_COPYDATA carries data; lParam of other messages goes as the number it
// is. A window that ends before it has answered gives last error 0. Flags are not looked at: all sends are
// SMTO_NORMAL.
LRESULT SendMessageTimeoutA(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam, UINT fuFlags, UINT uTimeout,
                            DWORD_PTR* pdwResult);
// To a window of this process; to another's it is ERROR_ACCESS_DENIED.
BOOL PostMessageA(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);
void PostQuitMessage(int nExitCode);

// For all windows of the thread and all messages: hWnd null, both filters 0.
BOOL GetMessageA(MSG* pMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax);
BOOL PeekMessageA(MSG* pMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax, UINT wRemoveMsg);
LRESULT DispatchMessageA(const MSG* pMsg);

// With a window and without a procedure: the timer is the message WM_TIMER.
UINT_PTR SetTimer(HWND hWnd, UINT_PTR nIDEvent, UINT uElapse, TIMERPROC pTimerFunc);
BOOL KillTimer(HWND hWnd, UINT_PTR uIDEvent);

// Waits for any of the handles or for messages, whichever those are; input that was seen but left counts as
// new.
DWORD MsgWaitForMultipleObjects(DWORD nCount, const HANDLE* pHandles, BOOL bWaitAll, DWORD dwMilliseconds,
                                DWORD dwWakeMask);
