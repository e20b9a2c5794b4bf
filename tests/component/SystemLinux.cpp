// A registry of the tests' own, and the leak check of the sanitizers, where they are linked in.
#include "tests/component/Support.h"

#include <cstdlib>
#include <filesystem>

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

std::string TakeRegistry()
{
    std::string sFolder = (std::filesystem::temp_directory_path() / "orvex-component-XXXXXX").string();
    if (mkdtemp(sFolder.data()) == nullptr)
        std::abort();
    setenv("ORVEX_REGISTRY", sFolder.c_str(), 1);
    return sFolder;
}
