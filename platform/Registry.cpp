#include "platform/Registry.h"

#include "platform/Faults.h"
#include "platform/RegistryStore.h"
#include "platform/RegistryWatch.h"
#include "platform/Sync.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class Key final : public HandleObject
{
public:
    Key(Descriptor folder, REGSAM access) : m_Folder(std::move(folder)), m_Access(access) {}
    ~Key() override
    {
        if (m_pWatch != nullptr)
            m_pWatch->Close();
    }

    int Folder() const { return m_Folder.Get(); }
    bool Grants(REGSAM wanted) const { return (m_Access & wanted) == wanted; }
    LONG Watch(bool bSubtree, DWORD dwFilter, std::shared_ptr<Event> pEvent);

private:
    const Descriptor m_Folder;
    const REGSAM m_Access;
    std::mutex m_Lock;
    std::shared_ptr<RegistryWatch> m_pWatch;
};

LONG Key::Watch(bool bSubtree, DWORD dwFilter, std::shared_ptr<Event> pEvent)
{
    std::lock_guard<std::mutex> lock(m_Lock);
    if (KeyDeleted(Folder()))
        return ERROR_KEY_DELETED;
    if (m_pWatch == nullptr)
        m_pWatch = RegistryWatch::Open(Folder(), bSubtree, dwFilter);
    if (m_pWatch == nullptr)
        return static_cast<LONG>(GetLastError());
    m_pWatch->Arm(std::move(pEvent));
    return ERROR_SUCCESS;
}

// The folder of a hive; empty for anything else. Without a place for the user's hive the result is empty too.
std::string HiveFolder(HKEY hKey)
{
    const char* hive = hKey == HKEY_LOCAL_MACHINE  ? "/HKLM"
                       : hKey == HKEY_CLASSES_ROOT ? "/HKCR"
                       : hKey == HKEY_CURRENT_USER ? "/HKCU"
                                                   : nullptr;
    if (hive == nullptr)
        return "";
    const auto setting = [](const char* name) {
        const char* value = getenv(name);
        return std::string(value != nullptr ? value : "");
    };
    const std::string sAll = setting("ORVEX_REGISTRY");
    if (!sAll.empty())
        return sAll + hive;
    if (hKey != HKEY_CURRENT_USER)
        return std::string("/etc/orvex/registry") + hive;
    const std::string sConfig = setting("XDG_CONFIG_HOME");
    const std::string sHome = setting("HOME");
    return !sConfig.empty() ? sConfig + "/orvex/registry" + hive
           : !sHome.empty() ? sHome + "/.config/orvex/registry" + hive
                            : "";
}

constexpr int OPEN_FOLDER = O_PATH | O_DIRECTORY | O_CLOEXEC;

std::vector<std::string> Components(const char* path)
{
    std::vector<std::string> components(1);
    for (; path != nullptr && *path != '\0'; ++path) {
        if (*path != '\\')
            components.back() += *path;
        else if (!components.back().empty())
            components.emplace_back();
    }
    if (components.back().empty())
        components.pop_back();
    return components;
}

// The open key behind a handle, or the folder of a hive, which bCreate makes if need be.
LONG KeyOf(HKEY hKey, bool bCreate, std::shared_ptr<Key>* ppKey)
{
    const std::string sHive = HiveFolder(hKey);
    if (sHive.empty()) {
        *ppKey = HandleTo<Key>(reinterpret_cast<HANDLE>(hKey));
        return *ppKey != nullptr ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
    }
    std::error_code error;
    if (bCreate && !std::filesystem::create_directories(sHive, error) && error)
        return static_cast<LONG>(ErrorOf(error.value()));
    Descriptor folder(open(sHive.c_str(), OPEN_FOLDER));
    if (!folder)
        return static_cast<LONG>(ErrorOf(errno));
    *ppKey = std::make_shared<Key>(std::move(folder), KEY_ALL_ACCESS);
    return ERROR_SUCCESS;
}

// A step down from the open folder, which it replaces.
LONG Descend(Descriptor* pFolder, const std::string& sName, bool bCreate, bool* pbCreated)
{
    *pbCreated = false;
    std::string sFileName = FindEntry(pFolder->Get(), sName, ENTRY_KEY);
    if (sFileName.empty()) {
        if (!bCreate)
            return KeyError(pFolder->Get(), ENOENT);
        sFileName = NewEntry(pFolder->Get(), sName);
        *pbCreated = (Faults::Hit("mkdirat") ? -1 : mkdirat(pFolder->Get(), sFileName.c_str(), 0777)) == 0;
        if (!*pbCreated && errno != EEXIST)
            return KeyError(pFolder->Get(), errno);
    }
    Descriptor next(openat(pFolder->Get(), sFileName.c_str(), OPEN_FOLDER));
    if (!next)
        return KeyError(pFolder->Get(), errno);
    *pFolder = std::move(next);
    return ERROR_SUCCESS;
}

LONG OpenOrCreate(HKEY hKey, const char* subKey, bool bCreate, REGSAM access, HKEY* phResult,
                  DWORD* pdwDisposition)
{
    if (phResult == nullptr)
        return ERROR_INVALID_PARAMETER;
    std::shared_ptr<Key> pKey;
    LONG lResult = KeyOf(hKey, bCreate, &pKey);
    if (lResult != ERROR_SUCCESS)
        return lResult;
    Descriptor folder(openat(pKey->Folder(), ".", OPEN_FOLDER));
    if (!folder)
        return KeyError(pKey->Folder(), errno);
    bool bCreated = false;
    for (const std::string& sName : Components(subKey))
        if ((lResult = Descend(&folder, sName, bCreate, &bCreated)) != ERROR_SUCCESS)
            return lResult;
    const int iMode =
        ((access & (KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS | KEY_NOTIFY)) != 0 ? R_OK | X_OK : 0) |
        ((access & (KEY_SET_VALUE | KEY_CREATE_SUB_KEY)) != 0 ? W_OK | X_OK : 0);
    if (faccessat(folder.Get(), ".", iMode, AT_EACCESS) != 0)
        return KeyError(folder.Get(), errno);
    const HANDLE h = NewHandle(std::make_shared<Key>(std::move(folder), access));
    if (h == nullptr)
        return static_cast<LONG>(GetLastError());
    *phResult = reinterpret_cast<HKEY>(h);
    if (pdwDisposition != nullptr)
        *pdwDisposition = bCreated ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return ERROR_SUCCESS;
}

// The key, if it was opened with the rights.
LONG KeyWith(REGSAM access, HKEY hKey, std::shared_ptr<Key>* ppKey)
{
    const LONG lResult = KeyOf(hKey, (access & KEY_SET_VALUE) != 0, ppKey);
    if (lResult != ERROR_SUCCESS)
        return lResult;
    return (*ppKey)->Grants(access) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

// Data into the caller's buffer; the size wanted in either case.
LONG HandOut(const RegistryValue& value, DWORD* pdwType, BYTE* pData, DWORD* pcbData)
{
    const DWORD cbRoom = pcbData != nullptr ? *pcbData : 0;
    const DWORD cbValue = static_cast<DWORD>(value.sData.size());
    if (pdwType != nullptr)
        *pdwType = value.dwType;
    if (pcbData != nullptr)
        *pcbData = cbValue;
    if (pData == nullptr)
        return ERROR_SUCCESS;
    if (cbRoom < cbValue)
        return ERROR_MORE_DATA;
    // NOLINTNEXTLINE(bugprone-not-null-terminated-result): a text's zero is part of its data
    memcpy(pData, value.sData.data(), cbValue);
    return ERROR_SUCCESS;
}

// A name into a buffer of *pcch characters, the closing zero included; the length comes back without it.
LONG HandOutName(const std::string& s, char* buffer, DWORD* pcch)
{
    if (*pcch <= s.size())
        return ERROR_MORE_DATA;
    memcpy(buffer, s.c_str(), s.size() + 1);
    *pcch = static_cast<DWORD>(s.size());
    return ERROR_SUCCESS;
}

LONG Delete(HKEY hKey, const char* subKey, bool bTree)
{
    std::vector<std::string> components = Components(subKey);
    if (components.empty())
        return ERROR_INVALID_PARAMETER;
    std::shared_ptr<Key> pKey;
    LONG lResult = KeyOf(hKey, false, &pKey);
    if (lResult != ERROR_SUCCESS)
        return lResult;
    const std::string sLast = components.back();
    components.pop_back();
    Descriptor parent(openat(pKey->Folder(), ".", OPEN_FOLDER));
    if (!parent)
        return KeyError(pKey->Folder(), errno);
    bool bCreated;
    for (const std::string& sName : components)
        if ((lResult = Descend(&parent, sName, false, &bCreated)) != ERROR_SUCCESS)
            return lResult;
    if (!bTree) {
        Descriptor folder(openat(parent.Get(), ".", OPEN_FOLDER));
        if ((lResult = Descend(&folder, sLast, false, &bCreated)) != ERROR_SUCCESS)
            return lResult;
        if (!ListEntries(folder.Get(), ENTRY_KEY).empty())
            return ERROR_ACCESS_DENIED;
    }
    return RemoveKey(parent.Get(), sLast);
}

}  // namespace

LONG RegCreateKeyExA(HKEY hKey, const char* subKey, DWORD, char*, DWORD, REGSAM samDesired,
                     const SECURITY_ATTRIBUTES*, HKEY* phResult, DWORD* pdwDisposition)
{
    return OpenOrCreate(hKey, subKey, true, samDesired, phResult, pdwDisposition);
}

LONG RegOpenKeyExA(HKEY hKey, const char* subKey, DWORD, REGSAM samDesired, HKEY* phResult)
{
    return OpenOrCreate(hKey, subKey, false, samDesired, phResult, nullptr);
}

LONG RegCloseKey(HKEY hKey)
{
    if (!HiveFolder(hKey).empty())
        return ERROR_SUCCESS;
    const auto pKey = HandleTo<Key>(reinterpret_cast<HANDLE>(hKey));
    return pKey != nullptr && CloseHandle(reinterpret_cast<HANDLE>(hKey)) ? ERROR_SUCCESS
                                                                          : ERROR_INVALID_HANDLE;
}

LONG RegQueryValueExA(HKEY hKey, const char* valueName, DWORD*, DWORD* pdwType, BYTE* pData, DWORD* pcbData)
{
    if (pData != nullptr && pcbData == nullptr)
        return ERROR_INVALID_PARAMETER;
    std::shared_ptr<Key> pKey;
    RegistryValue value;
    LONG lResult = KeyWith(KEY_QUERY_VALUE, hKey, &pKey);
    if (lResult == ERROR_SUCCESS)
        lResult = ReadValue(pKey->Folder(), valueName != nullptr ? valueName : "", &value);
    return lResult == ERROR_SUCCESS ? HandOut(value, pdwType, pData, pcbData) : lResult;
}

LONG RegSetValueExA(HKEY hKey, const char* valueName, DWORD, DWORD dwType, const BYTE* pData, DWORD cbData)
{
    if (pData == nullptr && cbData != 0)
        return ERROR_INVALID_PARAMETER;
    std::shared_ptr<Key> pKey;
    const LONG lResult = KeyWith(KEY_SET_VALUE, hKey, &pKey);
    if (lResult != ERROR_SUCCESS)
        return lResult;
    const std::string sData(cbData != 0 ? reinterpret_cast<const char*>(pData) : "", cbData);
    return WriteValue(pKey->Folder(), valueName != nullptr ? valueName : "", {dwType, sData});
}

LONG RegDeleteValueA(HKEY hKey, const char* valueName)
{
    std::shared_ptr<Key> pKey;
    const LONG lResult = KeyWith(KEY_SET_VALUE, hKey, &pKey);
    return lResult == ERROR_SUCCESS ? RemoveValue(pKey->Folder(), valueName != nullptr ? valueName : "")
                                    : lResult;
}

LONG RegDeleteKeyA(HKEY hKey, const char* subKey) { return Delete(hKey, subKey, false); }
LONG RegDeleteTreeA(HKEY hKey, const char* subKey) { return Delete(hKey, subKey, true); }

LONG RegEnumKeyExA(HKEY hKey, DWORD dwIndex, char* name, DWORD* pcchName, DWORD*, char*, DWORD*, void*)
{
    if (name == nullptr || pcchName == nullptr)
        return ERROR_INVALID_PARAMETER;
    std::shared_ptr<Key> pKey;
    const LONG lResult = KeyWith(KEY_ENUMERATE_SUB_KEYS, hKey, &pKey);
    if (lResult != ERROR_SUCCESS)
        return lResult;
    const std::vector<std::string> names = ListEntries(pKey->Folder(), ENTRY_KEY);
    return dwIndex < names.size() ? HandOutName(names[dwIndex], name, pcchName) : ERROR_NO_MORE_ITEMS;
}

LONG RegEnumValueA(HKEY hKey, DWORD dwIndex, char* valueName, DWORD* pcchValueName, DWORD*, DWORD* pdwType,
                   BYTE* pData, DWORD* pcbData)
{
    if (valueName == nullptr || pcchValueName == nullptr || (pData != nullptr && pcbData == nullptr))
        return ERROR_INVALID_PARAMETER;
    std::shared_ptr<Key> pKey;
    LONG lResult = KeyWith(KEY_QUERY_VALUE, hKey, &pKey);
    if (lResult != ERROR_SUCCESS)
        return lResult;
    const std::vector<std::string> names = ListEntries(pKey->Folder(), ENTRY_VALUE);
    if (dwIndex >= names.size())
        return ERROR_NO_MORE_ITEMS;
    RegistryValue value;
    if ((lResult = HandOutName(names[dwIndex], valueName, pcchValueName)) != ERROR_SUCCESS ||
        (lResult = ReadValue(pKey->Folder(), names[dwIndex], &value)) != ERROR_SUCCESS)
        return lResult;
    return HandOut(value, pdwType, pData, pcbData);
}

LONG RegNotifyChangeKeyValue(HKEY hKey, BOOL bWatchSubtree, DWORD dwNotifyFilter, HANDLE hEvent,
                             BOOL bAsynchronous)
{
    if (!bAsynchronous)
        return ERROR_NOT_SUPPORTED;
    std::shared_ptr<Key> pKey;
    const LONG lResult = KeyWith(KEY_NOTIFY, hKey, &pKey);
    if (lResult != ERROR_SUCCESS)
        return lResult;
    auto pEvent = HandleTo<Event>(hEvent);
    if (pEvent == nullptr)
        return ERROR_INVALID_HANDLE;
    return pKey->Watch(bWatchSubtree != FALSE, dwNotifyFilter, std::move(pEvent));
}
