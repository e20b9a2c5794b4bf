#include "arguments/Keywords.h"

#include "platform/Platform.h"

#include <array>
#include <cstring>

namespace {

constexpr const char* KEYWORD_NAMES[] = {
#define KEYWORD(id, identifier, name) name,
#include "arguments/KeywordRows.inc"
#undef KEYWORD
};
static_assert(sizeof KEYWORD_NAMES / sizeof *KEYWORD_NAMES == KEYWORD_COUNT, "row n has id n, without a gap");

constexpr std::uint64_t Load4(const char* p)
{
    return static_cast<std::uint64_t>(static_cast<unsigned char>(p[0])) |
           static_cast<std::uint64_t>(static_cast<unsigned char>(p[1])) << 8 |
           static_cast<std::uint64_t>(static_cast<unsigned char>(p[2])) << 16 |
           static_cast<std::uint64_t>(static_cast<unsigned char>(p[3])) << 24;
}

constexpr std::uint64_t Load8(const char* p) { return Load4(p) | Load4(p + 4) << 32; }

constexpr std::uint64_t Mix(std::uint64_t hash, std::uint64_t bytes)
{
    constexpr std::uint64_t LOWER = 0x2020202020202020;  // merges cases, and a few characters that are none
    hash = (hash ^ (bytes | LOWER)) * 0x9E3779B97F4A7C15;
    return hash ^ hash >> 32;
}

// Eight bytes a step; the last step overlaps the one before it. The same while compiling and while running,
// which is what lets the keyword index stand ready in the program.
constexpr std::uint32_t HashText(const char* p, std::size_t length)
{
    std::uint64_t hash = length;
    if (length >= 8) {
        for (std::size_t i = 0; i + 8 < length; i += 8)
            hash = Mix(hash, Load8(p + i));
        hash = Mix(hash, Load8(p + length - 8));
    } else if (length >= 4) {
        hash = Mix(hash, Load4(p) | Load4(p + length - 4) << 32);
    } else {
        std::uint64_t bytes = 0;
        for (std::size_t i = 0; i < length; ++i)
            bytes = bytes << 8 | static_cast<unsigned char>(p[i]);
        hash = Mix(hash, bytes);
    }
    // The last characters stand in the high bits, and an index is taken from the low ones.
    return static_cast<std::uint32_t>(hash * 0xC2B2AE3D27D4EB4F >> 32);
}

constexpr std::size_t Length(const char* p)
{
    std::size_t n = 0;
    while (p[n] != '\0')
        ++n;
    return n;
}

// Open addressing over the rows' ids, at most three eighths full.
constexpr std::size_t SLOTS = 2048;
constexpr std::uint16_t FREE = 0xFFFF;

struct Index
{
    std::uint16_t slots[SLOTS];
    std::uint8_t lengths[KEYWORD_COUNT];
};

constexpr Index BuildIndex()
{
    Index index{};
    for (std::uint16_t& slot : index.slots)
        slot = FREE;
    for (std::uint16_t id = 0; id < KEYWORD_COUNT; ++id) {
        const std::size_t length = Length(KEYWORD_NAMES[id]);
        index.lengths[id] = static_cast<std::uint8_t>(length);
        std::size_t i = HashText(KEYWORD_NAMES[id], length) % SLOTS;
        while (index.slots[i] != FREE)
            i = (i + 1) % SLOTS;
        index.slots[i] = id;
    }
    return index;
}

constexpr Index KEYWORD_INDEX = BuildIndex();

bool SameText(const char* a, const char* b, std::size_t length)
{
    return memcmp(a, b, length) == 0 || CompareKeys(a, b) == 0;
}

// The text ends with a zero at its length.
int FindKeyword(const char* text, std::size_t length, std::uint32_t hash)
{
    for (std::size_t i = hash % SLOTS; KEYWORD_INDEX.slots[i] != FREE; i = (i + 1) % SLOTS) {
        const std::uint16_t id = KEYWORD_INDEX.slots[i];
        if (KEYWORD_INDEX.lengths[id] == length && SameText(text, KEYWORD_NAMES[id], length))
            return id;
    }
    return NO_KEYWORD;
}

}  // namespace

int CompareKeys(const char* a, const char* b)
{
    const auto Lower = [](char c) {
        const int n = static_cast<unsigned char>(c);
        return n >= 'A' && n <= 'Z' ? n + ('a' - 'A') : n;
    };
    for (; *a != '\0' && (*a == *b || Lower(*a) == Lower(*b)); ++a)
        ++b;
    return Lower(*a) - Lower(*b);
}

const char* KeywordName(int id) { return id >= 0 && id < KEYWORD_COUNT ? KEYWORD_NAMES[id] : nullptr; }

int KeywordId(const std::string& name)
{
    const std::size_t length = strlen(name.c_str());
    return FindKeyword(name.c_str(), length, HashText(name.c_str(), length));
}

Key::Key(const char* sz)
    : text(sz), length(strlen(sz)), hash(HashText(sz, length)), id(FindKeyword(sz, length, hash))
{
    if (id != NO_KEYWORD)
        *this = Key(id);
}
