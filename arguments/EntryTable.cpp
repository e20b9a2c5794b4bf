#include "arguments/EntryTable.h"

#include <algorithm>
#include <cstring>

namespace {

bool Before(const EntryTable::Entry& a, const EntryTable::Entry& b)
{
    if (a.IsKeyword() || b.IsKeyword())
        return a.IsKeyword() && (!b.IsKeyword() || a.id < b.id);
    return CompareKeys(a.key, b.key) < 0;
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

EntryTable::EntryTable() : m_nMask(0), m_nSorted(0), m_nFree(EMPTY) {}

EntryTable::~EntryTable() { Clear(); }

void EntryTable::Reserve(std::size_t n)
{
    m_entries.reserve(n);
    m_order.reserve(n);
    if (m_index.size() < 2 * n)
        Rehash(n);
}

bool EntryTable::SameText(const char* a, const char* b)
{
    return strcmp(a, b) == 0 || CompareKeys(a, b) == 0;
}

// Everything that can run out of memory comes first, so that a failure leaves the table as it was.
void EntryTable::Add(const Key& key, Arg* pArg)
{
    if (m_order.size() == m_order.capacity())
        Reserve(std::max<std::size_t>(8, 2 * m_order.size()));
    const Entry entry{pArg, CopyKey(key), key.hash, key.id};

    std::uint32_t place = m_nFree;
    if (place != EMPTY) {
        m_nFree = static_cast<std::uint32_t>(m_entries[place].id);
        m_entries[place] = entry;
    } else {
        place = static_cast<std::uint32_t>(m_entries.size());
        m_entries.push_back(entry);
    }
    PutInIndex(entry.hash, place);
    if (m_nSorted == m_order.size() && (m_order.empty() || Before(m_entries[m_order.back()], entry)))
        ++m_nSorted;
    m_order.push_back(place);
}

// Room for n entries.
void EntryTable::Rehash(std::size_t n)
{
    std::size_t nSlots = 16;
    while (nSlots < 2 * n)
        nSlots *= 2;
    std::vector<Slot> index(nSlots, Slot{0, EMPTY});
    m_index.swap(index);
    m_nMask = nSlots - 1;
    for (const std::uint32_t place : m_order)
        PutInIndex(m_entries[place].hash, place);
}

void EntryTable::PutInIndex(std::uint32_t hash, std::uint32_t place)
{
    std::size_t i = hash & m_nMask;
    while (m_index[i].place != EMPTY)
        i = (i + 1) & m_nMask;
    m_index[i] = Slot{hash, place};
}

void EntryTable::Remove(Entry* pEntry)
{
    const std::uint32_t place = static_cast<std::uint32_t>(pEntry - m_entries.data());
    const auto sortedEnd = m_order.begin() + static_cast<std::ptrdiff_t>(m_nSorted);
    auto it = std::lower_bound(m_order.begin(), sortedEnd, place, [this](std::uint32_t a, std::uint32_t b) {
        return Before(m_entries[a], m_entries[b]);
    });
    if (it != sortedEnd && *it == place)
        --m_nSorted;
    else
        it = std::find(sortedEnd, m_order.end(), place);
    m_order.erase(it);

    RemoveFromIndex(pEntry->hash, place);
    delete[] pEntry->key;
    *pEntry = Entry{nullptr, nullptr, 0, static_cast<int>(m_nFree)};
    m_nFree = place;
}

// Closes the gap: an entry behind it moves into it unless it would then stand before the slot of its hash.
void EntryTable::RemoveFromIndex(std::uint32_t hash, std::uint32_t place)
{
    std::size_t gap = hash & m_nMask;
    while (m_index[gap].place != place)
        gap = (gap + 1) & m_nMask;
    for (std::size_t i = (gap + 1) & m_nMask; m_index[i].place != EMPTY; i = (i + 1) & m_nMask) {
        const std::size_t home = m_index[i].hash & m_nMask;
        if (((i - home) & m_nMask) >= ((i - gap) & m_nMask)) {
            m_index[gap] = m_index[i];
            gap = i;
        }
    }
    m_index[gap].place = EMPTY;
}

void EntryTable::Clear()
{
    for (Entry& e : m_entries)
        delete[] e.key;
    m_entries.clear();
    std::fill(m_index.begin(), m_index.end(), Slot{0, EMPTY});
    m_order.clear();
    m_nFree = EMPTY;
    m_nSorted = 0;
}

// A few late entries are put in one by one, many are sorted and merged.
void EntryTable::Sort()
{
    const auto before = [this](std::uint32_t a, std::uint32_t b) {
        return Before(m_entries[a], m_entries[b]);
    };
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
