#include "arguments/EntryTable.h"

#include "platform/Platform.h"

#include <algorithm>
#include <cstring>

namespace {

bool SameKey(const EntryTable::Entry& e, const Key& key)
{
    if (e.pArg == nullptr || e.hash != key.hash || e.id != key.id || e.IsKeyword() != key.IsKeyword())
        return false;
    return e.IsKeyword() || strcmp(e.key, key.text) == 0 || _stricmp(e.key, key.text) == 0;
}

bool Before(const EntryTable::Entry& a, const EntryTable::Entry& b)
{
    if (a.IsKeyword() || b.IsKeyword())
        return a.IsKeyword() && (!b.IsKeyword() || a.id < b.id);
    return _stricmp(a.key, b.key) < 0;
}

char* CopyKey(const Key& key)
{
    if (key.IsKeyword())
        return nullptr;
    char* copy = new char[key.length + 1];
    memcpy(copy, key.text, key.length + 1);
    return copy;
}

}  // namespace

EntryTable::EntryTable() : m_nFree(EMPTY), m_nSorted(0) {}

EntryTable::~EntryTable() { Clear(); }

void EntryTable::Reserve(std::size_t n)
{
    m_entries.reserve(n);
    m_order.reserve(n);
}

std::size_t EntryTable::FindSlot(std::uint32_t hash, std::uint32_t place) const
{
    const std::size_t mask = m_index.size() - 1;
    std::size_t i = hash & mask;
    while (m_index[i] != place)
        i = (i + 1) & mask;
    return i;
}

EntryTable::Entry* EntryTable::Find(const Key& key)
{
    if (m_index.empty()) {
        for (Entry& e : m_entries)
            if (SameKey(e, key))
                return &e;
        return nullptr;
    }
    const std::size_t mask = m_index.size() - 1;
    for (std::size_t i = key.hash & mask; m_index[i] != EMPTY; i = (i + 1) & mask)
        if (SameKey(m_entries[m_index[i]], key))
            return &m_entries[m_index[i]];
    return nullptr;
}

// Everything that can run out of memory comes first, so that a failure leaves the table as it was.
void EntryTable::Add(const Key& key, Arg* pArg)
{
    if (m_order.size() == m_order.capacity())
        Reserve(std::max(SMALL, 2 * m_order.size()));
    if (m_entries.size() >= SMALL && m_index.size() < 2 * (m_order.size() + 1))
        Rehash();
    const Entry entry{pArg, CopyKey(key), key.hash, key.id};

    std::uint32_t place = m_nFree;
    if (place != EMPTY) {
        m_nFree = static_cast<std::uint32_t>(m_entries[place].id);
        m_entries[place] = entry;
    } else {
        place = static_cast<std::uint32_t>(m_entries.size());
        m_entries.push_back(entry);
    }
    if (!m_index.empty())
        m_index[FindSlot(entry.hash, EMPTY)] = place;
    if (m_nSorted == m_order.size() && (m_order.empty() || Before(m_entries[m_order.back()], entry)))
        ++m_nSorted;
    m_order.push_back(place);
}

void EntryTable::Rehash()
{
    std::vector<std::uint32_t> index(std::max<std::size_t>(4 * SMALL, 2 * m_index.size()), EMPTY);
    m_index.swap(index);
    for (const std::uint32_t place : m_order)
        m_index[FindSlot(m_entries[place].hash, EMPTY)] = place;
}

void EntryTable::Remove(Entry* pEntry)
{
    const std::uint32_t place = static_cast<std::uint32_t>(pEntry - m_entries.data());
    const auto sortedEnd = m_order.begin() + static_cast<std::ptrdiff_t>(m_nSorted);
    auto it = std::lower_bound(m_order.begin(), sortedEnd, place,
                               [this](std::uint32_t a, std::uint32_t b) { return Before(m_entries[a], m_entries[b]); });
    if (it != sortedEnd && *it == place)
        --m_nSorted;
    else
        it = std::find(sortedEnd, m_order.end(), place);
    m_order.erase(it);

    if (!m_index.empty())
        RemoveFromIndex(FindSlot(pEntry->hash, place));
    delete[] pEntry->key;
    *pEntry = Entry{nullptr, nullptr, 0, static_cast<int>(m_nFree)};
    m_nFree = place;
}

// Closes the gap: an entry behind it moves into it unless it would then stand before the slot of its hash.
void EntryTable::RemoveFromIndex(std::size_t slot)
{
    const std::size_t mask = m_index.size() - 1;
    for (std::size_t i = (slot + 1) & mask; m_index[i] != EMPTY; i = (i + 1) & mask) {
        const std::size_t home = m_entries[m_index[i]].hash & mask;
        if (((i - home) & mask) >= ((i - slot) & mask)) {
            m_index[slot] = m_index[i];
            slot = i;
        }
    }
    m_index[slot] = EMPTY;
}

void EntryTable::Clear()
{
    for (Entry& e : m_entries)
        delete[] e.key;
    m_entries.clear();
    m_index.clear();
    m_order.clear();
    m_nFree = EMPTY;
    m_nSorted = 0;
}

// A few late entries are put in one by one, many are sorted and merged.
void EntryTable::Sort()
{
    const auto before = [this](std::uint32_t a, std::uint32_t b) { return Before(m_entries[a], m_entries[b]); };
    const auto middle = m_order.begin() + static_cast<std::ptrdiff_t>(m_nSorted);
    if (16 * (m_order.size() - m_nSorted) < m_nSorted) {
        for (auto it = middle; it != m_order.end(); ++it)
            std::rotate(std::upper_bound(m_order.begin(), it, *it, before), it, it + 1);
    } else {
        std::sort(middle, m_order.end(), before);
        std::inplace_merge(m_order.begin(), middle, m_order.end(), before);
    }
    m_nSorted = m_order.size();
}
