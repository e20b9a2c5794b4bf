#include "platform/ClassesRoot.h"

#include "platform/Registry.h"

std::string PlatformReadClassesText(const std::string& sKey, const char* valueName)
{
    HKEY hKey;
    if (RegOpenKeyExA(HKEY_CLASSES_ROOT, sKey.c_str(), 0, KEY_READ, &hKey) != ERROR_SUCCESS)
        return {};
    std::string s(4096, '\0');
    DWORD cb = static_cast<DWORD>(s.size());
    DWORD dwType = REG_NONE;
    const LONG l =
        RegQueryValueExA(hKey, valueName, nullptr, &dwType, reinterpret_cast<BYTE*>(s.data()), &cb);
    RegCloseKey(hKey);
    return l == ERROR_SUCCESS && dwType == REG_SZ ? std::string(s.c_str()) : std::string();
}

bool PlatformWriteClassesText(const std::string& sKey, const std::string& sText, const char* valueName)
{
    HKEY hKey;
    if (RegCreateKeyExA(HKEY_CLASSES_ROOT, sKey.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE,
                        nullptr, &hKey, nullptr) != ERROR_SUCCESS)
        return false;
    const LONG l = RegSetValueExA(hKey, valueName, 0, REG_SZ, reinterpret_cast<const BYTE*>(sText.c_str()),
                                  static_cast<DWORD>(sText.size() + 1));
    RegCloseKey(hKey);
    return l == ERROR_SUCCESS;
}
