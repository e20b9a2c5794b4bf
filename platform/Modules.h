// Modules loaded at run time, their exports, and the resources in their files.
//
// A module is a shared object; its handle is the address it is loaded at. A resource is a section of its file
// named TYPE.ID, put there at build time, and DllMain is called if the module links the object library for
// that: both in Modules.cmake. What the loader says of a failure goes to the debug output.
#pragma once

#include "platform/ComRuntime.h"

using HRSRC = struct HRSRC__*;
using HGLOBAL = void*;
using FARPROC = INT_PTR (*)();

#define DLL_PROCESS_ATTACH 1
#define DLL_PROCESS_DETACH 0

#define MAKEINTRESOURCEA(i) reinterpret_cast<LPSTR>(static_cast<ULONG_PTR>(static_cast<WORD>(i)))

HMODULE LoadLibraryA(LPCSTR lpLibFileName);
BOOL FreeLibrary(HMODULE hLibModule);
FARPROC GetProcAddress(HMODULE hModule, LPCSTR lpProcName);
BOOL DisableThreadLibraryCalls(HMODULE hLibModule);  // no such calls are made here anyway

// Memory of a resource stays good until the process ends. Language is not told apart, and a type is a name.
HRSRC FindResourceA(HMODULE hModule, LPCSTR lpName, LPCSTR lpType);
HGLOBAL LoadResource(HMODULE hModule, HRSRC hResInfo);
LPVOID LockResource(HGLOBAL hResData);
DWORD SizeofResource(HMODULE hModule, HRSRC hResInfo);

// Defined by a module.
extern "C" BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD dwReason, LPVOID lpReserved);
