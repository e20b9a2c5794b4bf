// What the program takes from the heap while an object of this lives: bytes still held, and allocations made.
#pragma once

#include <cstdint>

class HeapCount
{
public:
    HeapCount();
    std::int64_t Bytes() const;
    std::int64_t Allocations() const;

private:
    std::int64_t m_nBytes;
    std::int64_t m_nAllocations;
};
