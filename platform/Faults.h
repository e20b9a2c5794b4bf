// Faults: makes the n-th call of a system call fail, for tests of what comes after.
//
//     Faults::Fail("pthread_create", 1, EAGAIN);
//
// Counts from the moment of the call, over all threads of this process. Names are those of the C library, and
// only calls made by this folder's own sources are counted. Unused it costs the test of one flag.
#pragma once

#include <atomic>

class Faults
{
public:
    // The n-th call from now on fails with that error, and so do the iTimes - 1 calls behind it.
    static void Fail(const char* name, int n, int iError, int iTimes = 1);
    static void Clear();

    // For the stand-ins, in front of the system call: true, and errno set, where it is to fail.
    static bool Hit(const char* name) { return s_bArmed.load(std::memory_order_relaxed) && Count(name); }

private:
    static bool Count(const char* name);
    static std::atomic<bool> s_bArmed;
};
