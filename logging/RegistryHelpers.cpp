#include "logging/RegistryHelpers.h"

#include <cstring>

namespace {

constexpr REGSAM READ_WRITE = KEY_READ | KEY_SET_VALUE | KEY_CREATE_SUB_KEY;
constexpr DWORD VALUE_BYTES = 4096;

}  // namespace

bool CreateRegistryPath(HKEY hRoot, const std::string& path, HKEY* phKey, DWORD* pdwDisposition)
{
    if (path.empty() || phKey == nullptr)
        return false;
    HKEY hCurrent = hRoot;
    for (size_t start = 0;;) {
        const size_t end = path.find('\\', start);
        const bool bLast = end == std::string::npos;
        if (bLast && hCurrent == hRoot)
            return false;
        const std::string sComponent = path.substr(start, bLast ? end : end - start);
        HKEY hNext = nullptr;
        DWORD dwDisposition = 0;
        const LONG lResult =
            RegCreateKeyExA(hCurrent, sComponent.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ,
                            nullptr, &hNext, &dwDisposition);
        if (hCurrent != hRoot)
            RegCloseKey(hCurrent);
        if (lResult != ERROR_SUCCESS)
            return false;
        hCurrent = hNext;
        if (bLast) {
            *phKey = hCurrent;
            if (pdwDisposition != nullptr)
                *pdwDisposition = dwDisposition;
            return true;
        }
        start = end + 1;
    }
}

bool ReadRegistryString(HKEY hRoot, const std::string& keyPath, const std::string& valueName,
                        std::string& value)
{
    if (keyPath.empty())
        return false;
    HKEY hKey = nullptr;
    if (RegOpenKeyExA(hRoot, keyPath.c_str(), 0, READ_WRITE, &hKey) != ERROR_SUCCESS)
        return false;
    char szData[VALUE_BYTES + 1] = {};
    DWORD dwType = 0;
    DWORD dwBytes = VALUE_BYTES;
    const LONG lResult = RegQueryValueExA(hKey, valueName.c_str(), nullptr, &dwType,
                                          reinterpret_cast<BYTE*>(szData), &dwBytes);
    if (lResult == ERROR_SUCCESS && dwType == REG_DWORD) {
        DWORD dwNumber = 0;
        memcpy(&dwNumber, szData, sizeof dwNumber);
        value = std::to_string(dwNumber);
    } else if (lResult == ERROR_SUCCESS && dwType == REG_SZ) {
        szData[dwBytes] = '\0';
        value = szData;
    }
    RegCloseKey(hKey);
    return lResult != ERROR_FILE_NOT_FOUND;
}
