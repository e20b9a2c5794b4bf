// EntryTable: the storage of a container. Entries stand in a vector as they came; beside it a hash index
// finds one by key in constant time, and an order gives the n-th by position: keywords by id, then strings
// without regard to case.
//
// The order is kept up lazily. Entries that arrive in order, as a stream brings them, extend it; others wait
// behind its sorted part until a position is asked for.
//
// It knows nothing of locks and references: the container holds its lock around every call and owns the
// values.
#pragma once

#include "arguments/Keywords.h"

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
    Entry* Find(const Key& key)
    {
        if (m_index.empty())
            return nullptr;
        const Slot* slots = m_index.data();
        for (std::size_t i = key.hash & m_nMask; slots[i].place != EMPTY; i = (i + 1) & m_nMask)
            if (slots[i].hash == key.hash && IsOf(m_entries[slots[i].place], key))
                return &m_entries[slots[i].place];
        return nullptr;
    }
    // Adds a key that is not there. Out of memory it throws and the table is as it was.
    void Add(const Key& key, Arg* pArg);
    void Remove(Entry* pEntry);
    void Clear();

    // All entries in no order, free places among them.
    const std::vector<Entry>& Places() const { return m_entries; }

    // The entry at a position from 1 to Size().
    Entry& At(std::size_t position)
    {
        if (m_nSorted != m_order.size())
            Sort();
        return m_entries[m_order[position - 1]];
    }

private:
    static constexpr std::uint32_t EMPTY = 0xFFFFFFFF;

    struct Slot
    {
        std::uint32_t hash;
        std::uint32_t place;  // or EMPTY
    };

    static bool IsOf(const Entry& e, const Key& key)
    {
        return key.IsKeyword() ? e.id == key.id && e.IsKeyword()
                               : !e.IsKeyword() && SameText(e.key, key.text);
    }
    static bool SameText(const char* a, const char* b);
    void Rehash(std::size_t n);
    void PutInIndex(std::uint32_t hash, std::uint32_t place);
    void RemoveFromIndex(std::uint32_t hash, std::uint32_t place);
    void Sort();

    std::vector<Entry> m_entries;
    std::vector<Slot> m_index;           // open addressing, a power of two, at most half full
    std::size_t m_nMask;                 // slots of m_index less 1
    std::vector<std::uint32_t> m_order;  // places; the first m_nSorted stand in order of position
    std::size_t m_nSorted;
    std::uint32_t m_nFree;  // first free place, each holding the next in its id; or EMPTY
};
