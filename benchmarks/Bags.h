// The bags that are measured, and the floor beside them: the same fields in a plain map, with a compact
// encoding written by hand. The floor has no locks, no traces, no shared values and no keyword numbers.
#pragma once

#include "arguments/Arguments.h"

#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

struct Field;
using Fields = std::vector<Field>;

// One field of a message as a client would write it down: its name, its id where it is a keyword, and its
// value.
struct Field
{
    std::string name;
    int id;  // or NO_KEYWORD
    std::variant<int, unsigned int, bool, std::string, Fields> value;
};

Fields CallEvent();          // 26 keyword fields: 18 ints of all sizes, 2 booleans, 6 short strings
Fields Statistics();         // 120 keyword ints
Fields Nested();             // 20 containers of 10 keyword fields
Fields FreeKeys(int nKeys);  // ints under free strings

struct FloorBag
{
    using Value = std::variant<int, unsigned int, bool, std::string, std::unique_ptr<FloorBag>>;
    std::map<std::string, Value> fields;
};

// The caller's one reference.
Arguments* BuildBag(const Fields& fields);
FloorBag BuildFloor(const Fields& fields);

std::string PackFloor(const FloorBag& bag);
// False for bytes that are no such bag.
bool UnpackFloor(const std::string& bytes, FloorBag* pBag);
FloorBag CloneFloor(const FloorBag& bag);
std::string DumpFloor(const FloorBag& bag);
