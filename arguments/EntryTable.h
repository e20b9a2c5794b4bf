// EntryTable: the storage of a container. Entries stand in a vector as they came; beside it a hash index finds one by
// key in constant time, and an order gives the n-th by position: keywords by id, then strings without regard to case.
//
// The order is kept up lazily. Entries that arrive in order, as a stream brings them, extend it; others wait behind
// its sorted part until a position is asked for. A small table is searched in place and has no index.
//
// It knows nothing of locks and references: the container holds its lock around every call and owns the values.
#pragma once

#include "arguments/Keywords.h"

#include <algorithm>
#include <cstddef>
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
        // Null for an id without a name.
        const char* KeyText() const { return IsKeyword() ? KeywordName(id) : key; }
    };

    EntryTable();
    ~EntryTable();
    EntryTable(const EntryTable&) = delete;
    EntryTable& operator=(const EntryTable&) = delete;

    std::size_t Size() const { return m_order.size(); }
    void Reserve(std::size_t n);

    // The key's entry, or null. Good until the next Add or Remove.
    Entry* Find(const Key& key);
    // Adds a key that is not there. Out of memory it throws and the table is as it was.
    void Add(const Key& key, Arg* pArg);
    void Remove(Entry* pEntry);
    void Clear();

    // The entry at a position from 1 to Size().
    Entry& At(std::size_t position)
    {
        if (m_nSorted != m_order.size())
            Sort();
        return m_entries[m_order[position - 1]];
    }

private:
    static constexpr std::uint32_t EMPTY = 0xFFFFFFFF;
    static constexpr std::size_t SMALL = 8;

    std::size_t FindSlot(std::uint32_t hash, std::uint32_t place) const;
    void Rehash();
    void RemoveFromIndex(std::size_t slot);
    void Sort();

    std::vector<Entry> m_entries;
    std::vector<std::uint32_t> m_index;  // open addressing over places, a power of two, at most half full; or empty
    std::vector<std::uint32_t> m_order;  // places; the first m_nSorted stand in order of position
    std::uint32_t m_nFree;               // first free place, each holding the next in its id; or EMPTY
    std::size_t m_nSorted;
};
