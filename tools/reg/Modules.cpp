#include "tools/reg/Modules.h"

#include "platform/Platform.h"

#include <cstdio>
#include <filesystem>

namespace {

int Fail(const char* what, const std::string& sPath, unsigned int uCode)
{
    fprintf(stderr, "ERROR: %s %s: 0x%08x\n", sPath.c_str(), what, uCode);
    return 1;
}

int CallEntryPoint(const std::string& sPath, const char* name)
{
    // A bare name is a file in this folder, not one that the loader would look for.
    const HMODULE hModule = LoadLibraryA(std::filesystem::absolute(sPath).string().c_str());
    if (hModule == nullptr)
        return Fail("cannot be loaded", sPath, GetLastError());
    const auto pEntryPoint = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(
        reinterpret_cast<void (*)()>(GetProcAddress(hModule, name)));
    if (pEntryPoint == nullptr) {
        FreeLibrary(hModule);
        return Fail((std::string("has no ") + name).c_str(), sPath, GetLastError());
    }
    const HRESULT hrInitialized = CoInitialize(nullptr);
    const HRESULT hr = pEntryPoint();
    if (SUCCEEDED(hrInitialized))
        CoUninitialize();
    FreeLibrary(hModule);
    if (FAILED(hr))
        return Fail((std::string(name) + " failed").c_str(), sPath, static_cast<unsigned int>(hr));
    printf("%s in %s succeeded.\n", name, sPath.c_str());
    return 0;
}

}  // namespace

int RegisterModule(const std::string& sPath) { return CallEntryPoint(sPath, "DllRegisterServer"); }
int UnregisterModule(const std::string& sPath) { return CallEntryPoint(sPath, "DllUnregisterServer"); }
