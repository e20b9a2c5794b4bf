// A reference count that threads change without getting in each other's way: every thread adds to a stripe of
// its own, as far as there are stripes, and the count is their sum. A stripe alone means nothing and may be
// negative.
//
// The sum is exact when nobody is changing it. It saturates at the largest 32-bit count.
#pragma once

#include "platform/Platform.h"

class StripedCount
{
public:
    void Add(int n) { InterlockedExchangeAdd64(&m_aStripes[Mine()].ll, n); }
    int Sum() const;

private:
    static constexpr unsigned int STRIPES = 16;

    // Thread ids of one process differ in their low bits; Windows gives multiples of 4.
    static unsigned int Mine() { return (GetCurrentThreadId() >> 2) % STRIPES; }

    struct alignas(64) Stripe
    {
        LONG64 ll = 0;
    };
    Stripe m_aStripes[STRIPES];
};
