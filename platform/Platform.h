// The operating system as the code above sees it: Win32, as far as it is called.
//
// This is the one include for everything the system offers, and the only file that asks which system it is
// on. On Windows it is the real headers, less a macro that would eat our names. On Linux it is the
// stand-ins of this folder: the same names, types, widths, results and last errors.
#pragma once

#ifdef _WIN32

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <objbase.h>
#include <oleauto.h>

#include <fcntl.h>
#include <io.h>
#include <mbctype.h>
#include <mbstring.h>
#include <process.h>
#include <string.h>
#include <sys/timeb.h>
#include <tchar.h>
#include <time.h>

// A macro that would eat our names; as a function it is still there for a client's message loop.
#undef GetMessage
inline BOOL WINAPI GetMessage(LPMSG pMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax)
{
#ifdef UNICODE
    return GetMessageW(pMsg, hWnd, wMsgFilterMin, wMsgFilterMax);
#else
    return GetMessageA(pMsg, hWnd, wMsgFilterMin, wMsgFilterMax);
#endif
}

#else

#include "platform/ComRuntime.h"
#include "platform/DebugOutput.h"
#include "platform/Modules.h"
#include "platform/OleAuto.h"
#include "platform/Processes.h"
#include "platform/Registry.h"
#include "platform/Sync.h"
#include "platform/Text.h"
#include "platform/TypeLib.h"
#include "platform/WinTypes.h"
#include "platform/WindowMessages.h"

#endif
