// EntryTable: the storage of a container. Entries stand in a vector as they came; beside it a hash index finds one by
// key in constant time, and an order gives the n-th by position: keywords by id, then strings without regard to case.
//
// The order is kept up lazily. Entries that arrive in order, as a stream brings them, extend it; others wait behind
// its sorted part until a position is asked for. A small table is searched in place and has no index.
//
// It knows nothing of locks and references: the container holds its lock around every call and owns the values.
#pragma once

#include "arguments/Keywords.h"

#include <cstdint>
#include <vector>

class Arg;

class EntryTable
{
public:
    struct Entry
    {
        Arg* pArg;           // null in a free place
        char* key;           // owned; null for a keyword
        std::uint32_t hash;  // of the key's text, without regard to case
        int id;              // of the keyword

        bool IsKeyword() const { return key == nullptr; }
    };

    EntryTable();
    ~EntryTable();
    EntryTable(const EntryTable&) = delete;
    EntryTable& operator=(const EntryTable&) = delete;

    int Size() const { return m_nSize; }
    void Reserve(int n);

    // The key's entry, or null. Good until the next Add or Remove.
    Entry* Find(const Key& key);
    // Adds a key that is not there.
    void Add(const Key& key, Arg* pArg);
    void Remove(Entry* pEntry);
    void Clear();
    // The entry at a position from 1 to Size().
    Entry& At(int iPosition);

private:
    static constexpr std::uint32_t EMPTY = 0xFFFFFFFF;

    std::vector<Entry> m_entries;
    std::vector<std::uint32_t> m_index;  // power of two; places of entries, open addressing; empty in a small table
    std::vector<std::uint32_t> m_order;  // places of entries; the first m_nSorted in order of position
    int m_nSorted;
    int m_nSize;
};
