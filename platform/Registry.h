// The registry: a tree of folders (keys) and small text files (values).
//
// HKEY_LOCAL_MACHINE and HKEY_CLASSES_ROOT are the folders HKLM and HKCR in /etc/orvex/registry,
// HKEY_CURRENT_USER is the folder HKCU in $XDG_CONFIG_HOME/orvex/registry (else ~/.config/orvex/registry).
// ORVEX_REGISTRY names one folder for all three. Rights are those of the folders.
//
// A value's file holds "dword:00000007", "sz:text" or, for every other type and for data that are not a
// proper text, "hex(TYPE):0a0b", each with a line feed behind it. The default value is the file "@". In names
// '/', '%', control characters and a leading '.' or '@' are written as %xx; where a key and a value have the
// same name the later one has a '%' behind it. Files whose names begin with '.' are no part of the tree. A
// value is replaced by rename and a key goes by rename, so nobody sees half of either. What is in a file but
// cannot be read as a value gives ERROR_BADDB.
//
// Names are found without regard to the case of A to Z.
#pragma once

#include "platform/WinTypes.h"

using REGSAM = DWORD;

#define HKEY_CLASSES_ROOT (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(static_cast<LONG_PTR>(INT32_MIN))))
#define HKEY_CURRENT_USER                                                                                    \
    (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(static_cast<LONG_PTR>(INT32_MIN + 1))))
#define HKEY_LOCAL_MACHINE                                                                                   \
    (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(static_cast<LONG_PTR>(INT32_MIN + 2))))

#define DELETE                 0x00010000
#define KEY_QUERY_VALUE        0x0001
#define KEY_SET_VALUE          0x0002
#define KEY_CREATE_SUB_KEY     0x0004
#define KEY_ENUMERATE_SUB_KEYS 0x0008
#define KEY_NOTIFY             0x0010
#define KEY_READ               0x20019
#define KEY_WRITE              0x20006
#define KEY_ALL_ACCESS         0xF003F

#define REG_OPTION_NON_VOLATILE 0
#define REG_CREATED_NEW_KEY     1
#define REG_OPENED_EXISTING_KEY 2

#define REG_NONE      0
#define REG_SZ        1
#define REG_EXPAND_SZ 2
#define REG_BINARY    3
#define REG_DWORD     4
#define REG_MULTI_SZ  7

#define REG_NOTIFY_CHANGE_NAME     0x1
#define REG_NOTIFY_CHANGE_LAST_SET 0x4

LONG RegCreateKeyExA(HKEY hKey, const char* subKey, DWORD dwReserved, char* className, DWORD dwOptions,
                     REGSAM samDesired, const SECURITY_ATTRIBUTES* pSecurity, HKEY* phResult,
                     DWORD* pdwDisposition);
LONG RegOpenKeyExA(HKEY hKey, const char* subKey, DWORD dwOptions, REGSAM samDesired, HKEY* phResult);
LONG RegCloseKey(HKEY hKey);

LONG RegQueryValueExA(HKEY hKey, const char* valueName, DWORD* pReserved, DWORD* pdwType, BYTE* pData,
                      DWORD* pcbData);
LONG RegSetValueExA(HKEY hKey, const char* valueName, DWORD dwReserved, DWORD dwType, const BYTE* pData,
                    DWORD cbData);
LONG RegDeleteValueA(HKEY hKey, const char* valueName);

// A key with subkeys is not deleted by RegDeleteKeyA (ERROR_ACCESS_DENIED). RegDeleteTreeA wants a subkey.
LONG RegDeleteKeyA(HKEY hKey, const char* subKey);
LONG RegDeleteTreeA(HKEY hKey, const char* subKey);

// In the order of the names. No class names and no times.
LONG RegEnumKeyExA(HKEY hKey, DWORD dwIndex, char* name, DWORD* pcchName, DWORD* pReserved, char* className,
                   DWORD* pcchClass, void* pftLastWriteTime);
LONG RegEnumValueA(HKEY hKey, DWORD dwIndex, char* valueName, DWORD* pcchValueName, DWORD* pReserved,
                   DWORD* pdwType, BYTE* pData, DWORD* pcbData);

// Only asynchronous. What changes between the event and the next call is not lost: that call sets the event
// at once. Where the user's number of inotify instances is used up the result is ERROR_NO_SYSTEM_RESOURCES.
LONG RegNotifyChangeKeyValue(HKEY hKey, BOOL bWatchSubtree, DWORD dwNotifyFilter, HANDLE hEvent,
                             BOOL bAsynchronous);
