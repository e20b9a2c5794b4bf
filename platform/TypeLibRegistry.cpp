#include "platform/TypeLib.h"

#include "platform/ClassesRoot.h"
#include "platform/ModuleFile.h"
#include "platform/Registry.h"

#include <charconv>
#include <vector>

// Under HKEY_CLASSES_ROOT: TypeLib\{library}\version\language\win64 = path, with version and language in
// hexadecimal digits, and for each interface Interface\{interface} with the library it is described in.

namespace {

constexpr char SYSTEM[] = "win64";
constexpr char PROXY_CLASS[] = "{00020424-0000-0000-C000-000000000046}";  // marshals by type library
constexpr LCID PRIMARY_LANGUAGE = 0x3FF;

std::string Hex(unsigned n)
{
    char sz[16];
    return std::string(sz, std::to_chars(sz, sz + sizeof sz, n, 16).ptr);
}

std::string GuidText(REFGUID guid)
{
    OLECHAR sz[39];
    StringFromGUID2(guid, sz, 39);
    return std::string(sz, sz + 38);
}

std::string VersionText(WORD wMajor, WORD wMinor) { return Hex(wMajor) + '.' + Hex(wMinor); }
std::string LibraryKey(REFGUID guid) { return "TypeLib\\" + GuidText(guid); }

class Key
{
public:
    explicit Key(const std::string& sPath)
    {
        if (RegOpenKeyExA(HKEY_CLASSES_ROOT, sPath.c_str(), 0, KEY_READ, &m_hKey) != ERROR_SUCCESS)
            m_hKey = nullptr;
    }
    ~Key()
    {
        if (m_hKey != nullptr)
            RegCloseKey(m_hKey);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    explicit operator bool() const { return m_hKey != nullptr; }
    std::vector<std::string> Subkeys() const
    {
        std::vector<std::string> names;
        char name[256];
        for (DWORD dw = 0;; ++dw) {
            DWORD cch = sizeof name;
            if (m_hKey == nullptr ||
                RegEnumKeyExA(m_hKey, dw, name, &cch, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
                return names;
            names.emplace_back(name, cch);
        }
    }

private:
    HKEY m_hKey = nullptr;
};

bool ParseHex(const std::string& s, unsigned* pn)
{
    const auto [p, error] = std::from_chars(s.data(), s.data() + s.size(), *pn, 16);
    return error == std::errc() && p == s.data() + s.size() && !s.empty();
}

// The version to use: the asked one, or the highest minor version above it. Empty: none.
std::string FindVersion(REFGUID guid, WORD wMajor, WORD wMinor)
{
    std::string sBest;
    unsigned nBest = 0;
    for (const std::string& sVersion : Key(LibraryKey(guid)).Subkeys()) {
        const std::size_t iPoint = sVersion.find('.');
        unsigned nMajor = 0;
        unsigned nMinor = 0;
        if (iPoint == std::string::npos || !ParseHex(sVersion.substr(0, iPoint), &nMajor) ||
            !ParseHex(sVersion.substr(iPoint + 1), &nMinor) || nMajor != wMajor || nMinor < wMinor)
            continue;
        if (nMinor == wMinor)
            return sVersion;
        if (sBest.empty() || nMinor > nBest) {
            sBest = sVersion;
            nBest = nMinor;
        }
    }
    return sBest;
}

std::string FindPath(REFGUID guid, WORD wMajor, WORD wMinor, LCID lcid)
{
    const std::string sVersion = FindVersion(guid, wMajor, wMinor);
    if (sVersion.empty())
        return {};
    const std::string sKey = LibraryKey(guid) + '\\' + sVersion;
    for (const std::string& sLanguage : {Hex(lcid), Hex(lcid & PRIMARY_LANGUAGE), std::string("0")}) {
        std::string sPath = PlatformReadClassesText(sKey + '\\' + sLanguage + '\\' + SYSTEM);
        if (!sPath.empty())
            return sPath;
    }
    return {};
}

// Calls back for each interface of a library with its identifier and name, until one call gives false.
template <class Visit> bool EachInterface(ITypeLib* pTypeLib, Visit visit)
{
    bool bGood = true;
    for (UINT i = 0; bGood && i < pTypeLib->GetTypeInfoCount(); ++i) {
        TYPEKIND kind;
        ITypeInfo* pInfo = nullptr;
        if (FAILED(pTypeLib->GetTypeInfoType(i, &kind)) || kind != TKIND_DISPATCH ||
            FAILED(pTypeLib->GetTypeInfo(i, &pInfo)))
            continue;
        TYPEATTR* pAttr = nullptr;
        BSTR bstrName = nullptr;
        if (SUCCEEDED(pInfo->GetTypeAttr(&pAttr)) &&
            SUCCEEDED(pInfo->GetDocumentation(MEMBERID_NIL, &bstrName, nullptr, nullptr, nullptr)))
            bGood = visit("Interface\\" + GuidText(pAttr->guid), PlatformNarrow(bstrName));
        SysFreeString(bstrName);
        if (pAttr != nullptr)
            pInfo->ReleaseTypeAttr(pAttr);
        pInfo->Release();
    }
    return bGood;
}

void RemoveIfEmpty(const std::string& sPath)
{
    if (Key(sPath).Subkeys().empty())
        RegDeleteTreeA(HKEY_CLASSES_ROOT, sPath.c_str());
}

}  // namespace

HRESULT LoadRegTypeLib(REFGUID rguid, WORD wVerMajor, WORD wVerMinor, LCID lcid, ITypeLib** pptlib)
{
    if (pptlib == nullptr)
        return E_INVALIDARG;
    *pptlib = nullptr;
    const std::string sPath = FindPath(rguid, wVerMajor, wVerMinor, lcid);
    if (sPath.empty())
        return TYPE_E_LIBNOTREGISTERED;
    HRESULT hr = LoadTypeLib(PlatformWiden(sPath).c_str(), pptlib);
    if (FAILED(hr))
        return hr;
    TLIBATTR* pAttr = nullptr;
    hr = (*pptlib)->GetLibAttr(&pAttr);
    const bool bOther = SUCCEEDED(hr) && pAttr->guid != rguid;
    (*pptlib)->ReleaseTLibAttr(pAttr);
    if (bOther) {
        (*pptlib)->Release();
        *pptlib = nullptr;
        return TYPE_E_LIBNOTREGISTERED;
    }
    return hr;
}

HRESULT RegisterTypeLib(ITypeLib* ptlib, LPOLESTR szFullPath, LPOLESTR szHelpDir)
{
    if (ptlib == nullptr || szFullPath == nullptr)
        return E_INVALIDARG;
    TLIBATTR* pAttr = nullptr;
    HRESULT hr = ptlib->GetLibAttr(&pAttr);
    if (FAILED(hr))
        return hr;
    const std::string sLibrary = GuidText(pAttr->guid);
    const std::string sVersion = VersionText(pAttr->wMajorVerNum, pAttr->wMinorVerNum);
    const std::string sLanguage = Hex(pAttr->lcid);
    ptlib->ReleaseTLibAttr(pAttr);
    BSTR bstrHelp = nullptr;
    hr = ptlib->GetDocumentation(-1, nullptr, &bstrHelp, nullptr, nullptr);
    const std::string sHelp = bstrHelp != nullptr ? PlatformNarrow(bstrHelp) : std::string();
    SysFreeString(bstrHelp);
    if (FAILED(hr))
        return hr;

    const std::string sKey = "TypeLib\\" + sLibrary + '\\' + sVersion;
    const bool bGood =
        PlatformWriteClassesText(sKey, sHelp) && PlatformWriteClassesText(sKey + "\\FLAGS", "0") &&
        PlatformWriteClassesText(sKey + '\\' + sLanguage + '\\' + SYSTEM, PlatformNarrow(szFullPath)) &&
        (szHelpDir == nullptr || PlatformWriteClassesText(sKey + "\\HELPDIR", PlatformNarrow(szHelpDir))) &&
        EachInterface(ptlib, [&](const std::string& sInterface, const std::string& sName) {
            return PlatformWriteClassesText(sInterface, sName) &&
                   PlatformWriteClassesText(sInterface + "\\ProxyStubClsid32", PROXY_CLASS) &&
                   PlatformWriteClassesText(sInterface + "\\TypeLib", sLibrary) &&
                   PlatformWriteClassesText(sInterface + "\\TypeLib", sVersion, "Version");
        });
    return bGood ? S_OK : TYPE_E_REGISTRYACCESS;
}

// The library itself says which interfaces go; where its file is gone or another, they stay.
HRESULT UnRegisterTypeLib(REFGUID libID, WORD wVerMajor, WORD wVerMinor, LCID lcid, SYSKIND syskind)
{
    const std::string sLibrary = GuidText(libID);
    const std::string sVersion = VersionText(wVerMajor, wVerMinor);
    const std::string sVersionKey = LibraryKey(libID) + '\\' + sVersion;
    const std::string sLanguageKey = sVersionKey + '\\' + Hex(lcid);
    const std::string sPath = PlatformReadClassesText(sLanguageKey + '\\' + SYSTEM);
    if (syskind != SYS_WIN64 || sPath.empty())
        return TYPE_E_REGISTRYACCESS;
    ITypeLib* pTypeLib = nullptr;
    if (SUCCEEDED(LoadTypeLib(PlatformWiden(sPath).c_str(), &pTypeLib))) {
        EachInterface(pTypeLib, [&](const std::string& sInterface, const std::string&) {
            if (PlatformReadClassesText(sInterface + "\\TypeLib") == sLibrary &&
                PlatformReadClassesText(sInterface + "\\TypeLib", "Version") == sVersion)
                RegDeleteTreeA(HKEY_CLASSES_ROOT, sInterface.c_str());
            return true;
        });
        pTypeLib->Release();
    }
    if (RegDeleteTreeA(HKEY_CLASSES_ROOT, (sLanguageKey + '\\' + SYSTEM).c_str()) != ERROR_SUCCESS)
        return TYPE_E_REGISTRYACCESS;
    RemoveIfEmpty(sLanguageKey);
    bool bOtherLanguage = false;
    unsigned nLanguage;
    for (const std::string& sName : Key(sVersionKey).Subkeys())
        bOtherLanguage = bOtherLanguage || ParseHex(sName, &nLanguage);
    if (!bOtherLanguage)
        RegDeleteTreeA(HKEY_CLASSES_ROOT, sVersionKey.c_str());
    RemoveIfEmpty(LibraryKey(libID));
    return S_OK;
}
