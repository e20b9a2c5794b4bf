#include "tests/logging/ClientSystem.h"

#include "platform/Platform.h"

void Fault(std::istream&) {}

long ProcessorMilliseconds()
{
    FILETIME unused, kernel, user;
    GetProcessTimes(GetCurrentProcess(), &unused, &unused, &kernel, &user);
    return static_cast<long>((kernel.dwLowDateTime + user.dwLowDateTime) / 10000);  // of 100 ns each
}
