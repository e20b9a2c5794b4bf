// What every operation on an entry begins with: the container's lock, held as long as the object lives, and
// the value of one key or position, found, or made where it is missing. Inside of the container only.
#pragma once

#include "arguments/Arguments.h"

// An entry's place, told from a keyword's id by its type.
struct Position
{
    int iIndex;
};

// The value of an entry, or null: for a missing entry, a null key, and where there is nothing to read into.
class Arguments::Found
{
public:
    Found(Arguments& rArgs, const char* key, const void* pTarget)
        : m_lock(&rArgs.m_lock), m_pArg(key != nullptr && pTarget != nullptr ? rArgs.Find(Key(key)) : nullptr)
    {
    }
    Found(Arguments& rArgs, const std::string& key, const void* pTarget) : Found(rArgs, key.c_str(), pTarget)
    {
    }
    Found(Arguments& rArgs, enum_Keywords eKey, const void* pTarget)
        : m_lock(&rArgs.m_lock), m_pArg(pTarget != nullptr ? rArgs.Find(Key(eKey)) : nullptr)
    {
    }
    Found(Arguments& rArgs, Position position, const void* pTarget) : m_lock(&rArgs.m_lock), m_pArg(nullptr)
    {
        if (const EntryTable::Entry* pEntry = pTarget != nullptr ? rArgs.EntryAt(position.iIndex) : nullptr)
            m_pArg = pEntry->pArg;
    }

    explicit operator bool() const { return m_pArg != nullptr; }
    Arg* operator->() const { return m_pArg; }
    // The value itself with a reference for the caller.
    bool HandOut(Arg** ppArg) const;

private:
    ScopedLock m_lock;
    Arg* m_pArg;
};

// The value of an entry that is made if it is missing; null for a null key and for a position out of range.
class Arguments::Made
{
public:
    Made(Arguments& rArgs, const char* key)
        : m_lock(&rArgs.m_lock), m_pArg(key != nullptr ? rArgs.Provide(Key(key)) : nullptr)
    {
    }
    Made(Arguments& rArgs, const std::string& key) : Made(rArgs, key.c_str()) {}
    Made(Arguments& rArgs, enum_Keywords eKey) : m_lock(&rArgs.m_lock), m_pArg(rArgs.Provide(Key(eKey))) {}
    Made(Arguments& rArgs, Position position) : m_lock(&rArgs.m_lock), m_pArg(nullptr)
    {
        if (const EntryTable::Entry* pEntry = rArgs.EntryAt(position.iIndex))
            m_pArg = pEntry->pArg;
    }

    explicit operator bool() const { return m_pArg != nullptr; }
    Arg* operator->() const { return m_pArg; }
    Arg* Get() const { return m_pArg; }

private:
    ScopedLock m_lock;
    Arg* m_pArg;
};
