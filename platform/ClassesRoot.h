// Inside of the platform folder: texts under HKEY_CLASSES_ROOT.
#pragma once

#include <string>

#pragma GCC visibility push(hidden)

// The text of a key's value, its default value where none is named; empty where there is none.
std::string PlatformReadClassesText(const std::string& sKey, const char* valueName = nullptr);
// Makes the key where it is not there.
bool PlatformWriteClassesText(const std::string& sKey, const std::string& sText,
                              const char* valueName = nullptr);

#pragma GCC visibility pop
