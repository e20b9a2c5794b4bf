// The leak check of this system's sanitizers, where they are linked in.
#include "tests/component/Support.h"

extern "C" void __lsan_disable() __attribute__((weak));
extern "C" void __lsan_enable() __attribute__((weak));

LeakAllowed::LeakAllowed()
{
    if (__lsan_disable != nullptr)
        __lsan_disable();
}

LeakAllowed::~LeakAllowed()
{
    if (__lsan_enable != nullptr)
        __lsan_enable();
}
