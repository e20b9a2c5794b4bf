#include "benchmarks/HeapCount.h"

#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

// Of the calling thread: counting must not make threads wait for each other.
thread_local std::int64_t t_nBytes = 0;
thread_local std::int64_t t_nAllocations = 0;

}  // namespace

HeapCount::HeapCount() : m_nBytes(t_nBytes), m_nAllocations(t_nAllocations) {}
std::int64_t HeapCount::Bytes() const { return t_nBytes - m_nBytes; }
std::int64_t HeapCount::Allocations() const { return t_nAllocations - m_nAllocations; }

void* operator new(std::size_t n)
{
    void* p = malloc(n);
    if (p == nullptr)
        throw std::bad_alloc();
    t_nBytes += static_cast<std::int64_t>(malloc_usable_size(p));
    ++t_nAllocations;
    return p;
}

void operator delete(void* p) noexcept
{
    t_nBytes -= static_cast<std::int64_t>(malloc_usable_size(p));
    free(p);
}

void operator delete(void* p, std::size_t) noexcept { operator delete(p); }
