// Linked into a module: calls its DllMain when it is loaded and before it goes.
#include "platform/ModuleFile.h"

namespace {

char s_cHere;  // an address in the module

__attribute__((constructor)) void Attach()
{
    DllMain(PlatformModuleOf(&s_cHere), DLL_PROCESS_ATTACH, nullptr);
}

// The reserved parameter is null in an unload and not at the end of the process.
__attribute__((destructor)) void Detach()
{
    DllMain(PlatformModuleOf(&s_cHere), DLL_PROCESS_DETACH, PlatformIsFreeingLibrary() ? nullptr : &s_cHere);
}

}  // namespace
