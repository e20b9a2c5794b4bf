// Opening and reading registry keys by path.
#pragma once

#include "platform/Platform.h"

#include <string>

// Opens the key at the path below hRoot for reading and for notification, making level by level what is
// missing. The path has two components at least. False: nothing is handed out, and what was made on the way
// stays. The key is the caller's to close. The disposition, which may be null, is that of the last component.
bool CreateRegistryPath(HKEY hRoot, const std::string& path, HKEY* phKey, DWORD* pdwDisposition);

// A string value, or a number as decimal text, of at most 4096 bytes. False when there is no such key or
// value, or no right to open the key for reading and writing. True with value as it was for one that cannot
// be read as text.
bool ReadRegistryString(HKEY hRoot, const std::string& keyPath, const std::string& valueName,
                        std::string& value);
