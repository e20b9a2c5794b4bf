// The Win32 names for plain types, in their real widths: LONG, DWORD and ULONG are 32 bits everywhere.
#pragma once

#include <cstdint>

using BOOL = int;
using BYTE = unsigned char;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using LONG64 = std::int64_t;
using ULONGLONG = std::uint64_t;
using INT_PTR = std::intptr_t;
using UINT_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using DWORD_PTR = std::uintptr_t;
using TCHAR = char;
using WCHAR = char16_t;
using OLECHAR = WCHAR;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using LCID = DWORD;
using LPSTR = char*;
using LPCSTR = const char*;
using PVOID = void*;
using LPVOID = void*;
using LPDWORD = DWORD*;
using HANDLE = void*;
using HINSTANCE = struct HINSTANCE__*;
using HMODULE = HINSTANCE;
using HKEY = struct HKEY__*;
using HWND = struct HWND__*;

// The calling conventions of 32-bit Windows.
#define __stdcall
#define WINAPI
#define CALLBACK

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

#define MAX_PATH 260

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))

#define ERROR_SUCCESS                 0
#define ERROR_FILE_NOT_FOUND          2
#define ERROR_PATH_NOT_FOUND          3
#define ERROR_TOO_MANY_OPEN_FILES     4
#define ERROR_ACCESS_DENIED           5
#define ERROR_INVALID_HANDLE          6
#define ERROR_NOT_ENOUGH_MEMORY       8
#define ERROR_GEN_FAILURE             31
#define ERROR_NOT_SUPPORTED           50
#define ERROR_INVALID_PARAMETER       87
#define ERROR_DISK_FULL               112
#define ERROR_INSUFFICIENT_BUFFER     122
#define ERROR_MOD_NOT_FOUND           126
#define ERROR_PROC_NOT_FOUND          127
#define ERROR_ALREADY_EXISTS          183
#define ERROR_BAD_EXE_FORMAT          193
#define ERROR_MORE_DATA               234
#define ERROR_NO_MORE_ITEMS           259
#define ERROR_NOT_OWNER               288
#define ERROR_INVALID_FLAGS           1004
#define ERROR_BADDB                   1009
#define ERROR_KEY_DELETED             1018
#define ERROR_NONE_MAPPED             1332
#define ERROR_INVALID_WINDOW_HANDLE   1400
#define ERROR_CANNOT_FIND_WND_CLASS   1407
#define ERROR_CLASS_ALREADY_EXISTS    1410
#define ERROR_CLASS_DOES_NOT_EXIST    1411
#define ERROR_NO_SYSTEM_RESOURCES     1450
#define ERROR_TIMEOUT                 1460
#define ERROR_RESOURCE_NAME_NOT_FOUND 1814

#define SYNCHRONIZE 0x00100000

struct SECURITY_ATTRIBUTES;  // never filled: the default security is the only one

DWORD GetLastError();
void SetLastError(DWORD dwError);
