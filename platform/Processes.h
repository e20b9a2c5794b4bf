// Processes, modules, and what a process knows of itself.
#pragma once

#include "platform/WinTypes.h"

#define PROCESS_TERMINATE         0x0001
#define PROCESS_QUERY_INFORMATION 0x0400
#define STILL_ACTIVE              259

struct STARTUPINFOA
{
    DWORD cb;
    char* lpReserved;
    char* lpDesktop;
    char* lpTitle;
    DWORD dwX, dwY, dwXSize, dwYSize;
    DWORD dwXCountChars, dwYCountChars;
    DWORD dwFillAttribute;
    DWORD dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    BYTE* lpReserved2;
    HANDLE hStdInput, hStdOutput, hStdError;
};

struct PROCESS_INFORMATION
{
    HANDLE hProcess;
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
};

// The new process has a session of its own and /dev/null for its standard streams, so it outlives the
// terminal of its parent and keeps none of its pipes open. The command line is split into arguments by the
// rules of the language runtime of Windows; without an application name its first argument is looked for
// along PATH. An application name that begins with a backslash is one of GetModuleFileNameA. No flags, no
// inherited handles, no environment or folder of its own: such a call gives ERROR_NOT_SUPPORTED. The thread's
// handle stands for the process. Children that end are reaped whether or not anyone waits for them.
BOOL CreateProcessA(const char* applicationName, char* commandLine, SECURITY_ATTRIBUTES* pProcessSecurity,
                    SECURITY_ATTRIBUTES* pThreadSecurity, BOOL bInheritHandles, DWORD dwFlags,
                    void* pEnvironment, const char* currentDirectory, STARTUPINFOA* pStartupInfo,
                    PROCESS_INFORMATION* pInformation);
HANDLE OpenProcess(DWORD dwAccess, BOOL bInherit, DWORD dwProcessId);
BOOL TerminateProcess(HANDLE hProcess, UINT uExitCode);

// Exit codes have 8 bits, unless they come from TerminateProcess; a process that died of signal n gives 128 +
// n. That of a process which is not a child of this one is not to be had (ERROR_NOT_SUPPORTED).
BOOL GetExitCodeProcess(HANDLE hProcess, DWORD* pdwExitCode);

DWORD GetCurrentProcessId();

// Where the executable or a loaded module is. The path has backslashes for its slashes, since code written
// for Windows takes what follows the last of them as the file's name; calls that take a file's path take such
// ones.
DWORD GetModuleFileNameA(HMODULE hModule, char* fileName, DWORD nSize);

BOOL GetUserNameA(char* buffer, DWORD* pcbBuffer);

#define GET_MODULE_HANDLE_EX_FLAG_PIN          0x1
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 0x4

// Only with both flags: the module that holds the address stays loaded until the process ends.
BOOL GetModuleHandleExA(DWORD dwFlags, const char* address, HMODULE* phModule);

#define CTRL_C_EVENT        0
#define CTRL_BREAK_EVENT    1
#define CTRL_CLOSE_EVENT    2
#define CTRL_SHUTDOWN_EVENT 6

using PHANDLER_ROUTINE = BOOL(WINAPI*)(DWORD);
// Handlers run in a thread of their own, the latest first: SIGINT is CTRL_C_EVENT, SIGQUIT CTRL_BREAK_EVENT,
// SIGHUP CTRL_CLOSE_EVENT and SIGTERM CTRL_SHUTDOWN_EVENT. Where none returns TRUE the process ends by that
// signal; a handler that does return TRUE ends nothing, whatever the event.
BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE pHandler, BOOL bAdd);
