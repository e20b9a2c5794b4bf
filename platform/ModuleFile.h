// Inside of the platform folder: texts and files as callers give them, and resources in module files.
#pragma once

#include "platform/Modules.h"

#include <string>

// In the narrow encoding.
std::string PlatformNarrow(LPCOLESTR p);
std::basic_string<OLECHAR> PlatformWiden(const std::string& s);

// A path that begins with a backslash is one of GetModuleFileNameA and has its slashes put back; others stay.
std::string PlatformFilePath(std::string sPath);

// The file a module was loaded from; empty for what is no module.
std::string PlatformModulePath(HMODULE hModule);

// A resource of a module's file, as in "TYPELIB.1". False where the file or the resource is not there.
bool PlatformReadResource(const std::string& sPath, const std::string& sName, std::string* pBytes);

// The module that holds the address; null for none.
HMODULE PlatformModuleOf(const void* pAddress);

// While FreeLibrary is unloading on this thread; a module's end otherwise is the end of the process.
bool PlatformIsFreeingLibrary();
