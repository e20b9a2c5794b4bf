// The keyword vocabulary: the fields that a message can carry, each with a small integer and a name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// A signed 32-bit integer in every signature. Rows of the table have 0 to 731.
using enum_Keywords = int;

constexpr enum_Keywords NO_KEYWORD = -1;
constexpr enum_Keywords KEYWORD_COUNT = 732;

// The ids by name: Keyword::MessageID is 474. The field "user." is user_.
namespace Keyword {
enum : enum_Keywords
{
#define KEYWORD(id, identifier, name) identifier = id,
#include "arguments/KeywordRows.inc"
#undef KEYWORD
};
}  // namespace Keyword

// The name of a keyword, constant text that lives as long as the process; null for an id that is no row.
const char* KeywordName(int id);

// The id of a name in any case, NO_KEYWORD where it is none. Takes no lock and allocates nothing.
int KeywordId(const std::string& name);

// The order of keys, and by its zero their sameness: bytes from 0 to 255, the letters A to Z as a to z. It is
// the same in every locale and on every system, so that the same entries have the same positions everywhere.
int CompareKeys(const char* a, const char* b);

// A key with all that looking it up needs: the id of the keyword that it spells, and a hash that does not see
// case. The text ends at its first zero byte and is the caller's.
struct Key
{
    explicit Key(const char* sz);
    explicit Key(const std::string& s) : Key(s.c_str()) {}
    explicit Key(enum_Keywords eKey) : text(nullptr), length(0), hash(HashId(eKey)), id(eKey) {}

    bool IsKeyword() const { return text == nullptr; }

    const char* text;  // null for a keyword
    std::size_t length;
    std::uint32_t hash;
    int id;

private:
    static std::uint32_t HashId(enum_Keywords eKey)
    {
        const std::uint32_t hash = static_cast<std::uint32_t>(eKey) * 0x9E3779B1;
        return hash ^ hash >> 16;
    }
};
