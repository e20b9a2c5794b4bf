// The folders and files behind the registry, inside this folder. A key is the open folder; results are those
// of the registry calls.
#pragma once

#include "platform/Handles.h"
#include "platform/Registry.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

struct RegistryValue
{
    DWORD dwType = REG_NONE;
    std::string sData;  // as the caller gave it, with the text's closing zero
};

constexpr char DELETED_PREFIX[] = ".deleted-";

// The file's name of a name, and back. A value's may be empty, which is the default value.
std::string FileNameOf(const std::string& sName);
std::string NameOf(const std::string& sFileName);

std::string TextOf(const RegistryValue& value);
bool ParseValue(const std::string& sText, RegistryValue* pValue);

// The entry's file name; empty where there is none.
enum EntryKind
{
    ENTRY_KEY,
    ENTRY_VALUE
};
std::string FindEntry(int iFolder, const std::string& sName, EntryKind kind);
// A file name for an entry that is not there yet. A key and a value may have the same name.
std::string NewEntry(int iFolder, const std::string& sName);

// Names in their order.
std::vector<std::string> ListEntries(int iFolder, EntryKind kind);

LONG ReadValue(int iFolder, const std::string& sName, RegistryValue* pValue);
LONG WriteValue(int iFolder, const std::string& sName, const RegistryValue& value);
LONG RemoveValue(int iFolder, const std::string& sName);

// Takes the key out of the tree in one step, then empties it.
LONG RemoveKey(int iFolder, const std::string& sName);

// Whether the key, or one above it, is no longer in the tree.
bool KeyDeleted(int iFolder);
// A failed step on an open key.
LONG KeyError(int iFolder, int iErrno);

#pragma GCC visibility pop
