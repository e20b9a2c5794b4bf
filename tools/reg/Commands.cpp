#include "tools/reg/Commands.h"

#include "platform/Platform.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <vector>

namespace {

struct Root
{
    const char* shortName;
    const char* name;
    HKEY hKey;
};

const Root* FindRoot(const std::string& sName)
{
    static const Root roots[] = {{"HKLM", "HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
                                 {"HKCU", "HKEY_CURRENT_USER", HKEY_CURRENT_USER},
                                 {"HKCR", "HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT}};
    for (const Root& root : roots)
        if (_stricmp(sName.c_str(), root.shortName) == 0 || _stricmp(sName.c_str(), root.name) == 0)
            return &root;
    return nullptr;
}

struct TypeName
{
    DWORD dwType;
    const char* name;
};

const TypeName TYPE_NAMES[] = {{REG_NONE, "REG_NONE"},           {REG_SZ, "REG_SZ"},
                               {REG_EXPAND_SZ, "REG_EXPAND_SZ"}, {REG_BINARY, "REG_BINARY"},
                               {REG_DWORD, "REG_DWORD"},         {REG_MULTI_SZ, "REG_MULTI_SZ"}};

int Fail(const std::string& sText)
{
    fprintf(stderr, "ERROR: %s\n", sText.c_str());
    return 1;
}

int FailWith(LONG lError)
{
    if (lError == ERROR_FILE_NOT_FOUND || lError == ERROR_PATH_NOT_FOUND)
        return Fail("The system was unable to find the specified registry key or value.");
    if (lError == ERROR_ACCESS_DENIED)
        return Fail("Access is denied.");
    return Fail("System error " + std::to_string(lError) + '.');
}

int Succeed()
{
    printf("The operation completed successfully.\n");
    return 0;
}

// An open key, and what it is called in what is printed.
class Key
{
public:
    explicit Key(const std::string& sPath)
    {
        const size_t separator = sPath.find('\\');
        m_pRoot = FindRoot(sPath.substr(0, separator));
        m_sBelow = separator == std::string::npos ? "" : sPath.substr(separator + 1);
    }
    ~Key()
    {
        if (m_hKey != nullptr)
            RegCloseKey(m_hKey);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    bool IsValid() const { return m_pRoot != nullptr; }
    HKEY RootKey() const { return m_pRoot->hKey; }
    const std::string& Below() const { return m_sBelow; }
    HKEY Handle() const { return m_hKey; }
    std::string Name() const { return m_sBelow.empty() ? m_pRoot->name : m_pRoot->name + ('\\' + m_sBelow); }

    LONG Open(REGSAM access) { return RegOpenKeyExA(RootKey(), m_sBelow.c_str(), 0, access, &m_hKey); }
    LONG Create()
    {
        return RegCreateKeyExA(RootKey(), m_sBelow.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                               KEY_READ | KEY_WRITE, nullptr, &m_hKey, nullptr);
    }

private:
    const Root* m_pRoot;
    std::string m_sBelow;
    HKEY m_hKey = nullptr;
};

int BadKey() { return Fail("Invalid key name."); }

bool Confirm(const std::string& sQuestion)
{
    printf("%s (Yes/No)? ", sQuestion.c_str());
    fflush(stdout);
    std::string sAnswer;
    std::getline(std::cin, sAnswer);
    if (_stricmp(sAnswer.c_str(), "y") == 0 || _stricmp(sAnswer.c_str(), "yes") == 0)
        return true;
    printf("The operation was canceled by the user.\n");
    return false;
}

int HexDigit(char c)
{
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}

// The bytes of a value as it is written on the command line. False: the text is none of that type.
bool BytesOf(const std::string& sText, DWORD dwType, std::vector<BYTE>* pBytes)
{
    if (dwType == REG_DWORD) {
        char* end = nullptr;
        const unsigned long long ull = strtoull(sText.c_str(), &end, 0);
        if (sText.empty() || *end != '\0' || sText[0] == '-' || ull > UINT_MAX)
            return false;
        const DWORD dw = static_cast<DWORD>(ull);
        pBytes->resize(sizeof dw);
        memcpy(pBytes->data(), &dw, sizeof dw);
        return true;
    }
    if (dwType == REG_BINARY || dwType == REG_NONE) {
        for (size_t i = 0; i < sText.size(); i += 2) {
            const int iHigh = HexDigit(sText[i]);
            const int iLow = i + 1 < sText.size() ? HexDigit(sText[i + 1]) : -1;
            if (iHigh < 0 || iLow < 0)
                return false;
            pBytes->push_back(static_cast<BYTE>(iHigh * 16 + iLow));
        }
        return true;
    }
    pBytes->assign(sText.begin(), sText.end());
    pBytes->push_back('\0');
    if (dwType == REG_MULTI_SZ) {
        // Parts are told apart by "\0", typed so; another zero ends the list.
        std::string sParts(sText);
        for (size_t i = sParts.find("\\0"); i != std::string::npos; i = sParts.find("\\0", i))
            sParts.replace(i, 2, 1, '\0');
        pBytes->assign(sParts.begin(), sParts.end());
        pBytes->insert(pBytes->end(), 2, BYTE(0));
    }
    return true;
}

std::string TextOf(const std::vector<BYTE>& bytes, DWORD dwType)
{
    char szNumber[16];
    if (dwType == REG_DWORD && bytes.size() == sizeof(DWORD)) {
        DWORD dw = 0;
        memcpy(&dw, bytes.data(), sizeof dw);
        snprintf(szNumber, sizeof szNumber, "0x%x", static_cast<unsigned int>(dw));
        return szNumber;
    }
    std::string s;
    if (dwType == REG_SZ || dwType == REG_EXPAND_SZ || dwType == REG_MULTI_SZ) {
        size_t n = bytes.size();
        while (n > 0 && bytes[n - 1] == 0)
            --n;
        for (size_t i = 0; i < n; ++i)
            s += bytes[i] == 0 ? std::string("\\0") : std::string(1, static_cast<char>(bytes[i]));
        return s;
    }
    for (const BYTE b : bytes) {
        snprintf(szNumber, sizeof szNumber, "%02X", b);
        s += szNumber;
    }
    return s;
}

void PrintValue(const std::string& sName, DWORD dwType, const std::vector<BYTE>& bytes)
{
    const char* typeName = "REG_NONE";
    for (const TypeName& type : TYPE_NAMES)
        if (type.dwType == dwType)
            typeName = type.name;
    printf("    %s    %s    %s\n", sName.empty() ? "(Default)" : sName.c_str(), typeName,
           TextOf(bytes, dwType).c_str());
}

LONG ReadValue(HKEY hKey, const std::string& sName, DWORD* pdwType, std::vector<BYTE>* pBytes)
{
    DWORD dwBytes = 0;
    LONG lResult = RegQueryValueExA(hKey, sName.c_str(), nullptr, pdwType, nullptr, &dwBytes);
    do {
        pBytes->resize(dwBytes + 1);
        dwBytes = static_cast<DWORD>(pBytes->size());
        if (lResult == ERROR_SUCCESS || lResult == ERROR_MORE_DATA)
            lResult = RegQueryValueExA(hKey, sName.c_str(), nullptr, pdwType, pBytes->data(), &dwBytes);
    } while (lResult == ERROR_MORE_DATA);
    pBytes->resize(lResult == ERROR_SUCCESS ? dwBytes : 0);
    return lResult;
}

using EnumCall = LONG (*)(HKEY hKey, DWORD dwIndex, char* name, DWORD* pcchName);

LONG EnumKey(HKEY hKey, DWORD dwIndex, char* name, DWORD* pcchName)
{
    return RegEnumKeyExA(hKey, dwIndex, name, pcchName, nullptr, nullptr, nullptr, nullptr);
}

LONG EnumValue(HKEY hKey, DWORD dwIndex, char* name, DWORD* pcchName)
{
    return RegEnumValueA(hKey, dwIndex, name, pcchName, nullptr, nullptr, nullptr, nullptr);
}

std::vector<std::string> Names(HKEY hKey, EnumCall pEnum)
{
    std::vector<std::string> names;
    std::vector<char> buffer(16384);
    for (DWORD dwIndex = 0;; ++dwIndex) {
        DWORD dwName = static_cast<DWORD>(buffer.size());
        if (pEnum(hKey, dwIndex, buffer.data(), &dwName) != ERROR_SUCCESS)
            return names;
        names.emplace_back(buffer.data(), dwName);
    }
}

LONG PrintKey(const std::string& sPath, bool bSubtree)
{
    Key key(sPath);
    const LONG lResult = key.Open(KEY_READ);
    if (lResult != ERROR_SUCCESS)
        return lResult;
    printf("\n%s\n", key.Name().c_str());
    for (const std::string& sName : Names(key.Handle(), &EnumValue)) {
        DWORD dwType = 0;
        std::vector<BYTE> bytes;
        if (ReadValue(key.Handle(), sName, &dwType, &bytes) == ERROR_SUCCESS)
            PrintValue(sName, dwType, bytes);
    }
    const std::vector<std::string> subkeys = Names(key.Handle(), &EnumKey);
    if (!bSubtree && !subkeys.empty())
        printf("\n");
    for (const std::string& sName : subkeys) {
        if (bSubtree)
            PrintKey(sPath + '\\' + sName, true);
        else
            printf("%s\\%s\n", key.Name().c_str(), sName.c_str());
    }
    return ERROR_SUCCESS;
}

}  // namespace

int RegistryCommand::Add() const
{
    Key key(sKey);
    if (!key.IsValid() || key.Below().empty())
        return BadKey();
    LONG lResult = key.Create();
    if (lResult != ERROR_SUCCESS)
        return FailWith(lResult);
    if (!bNamed && !bDefaultValue)
        return Succeed();

    const TypeName* pType = nullptr;
    for (const TypeName& type : TYPE_NAMES)
        if (_stricmp(sType.c_str(), type.name) == 0)
            pType = &type;
    if (pType == nullptr)
        return Fail("Invalid type specified for '/t'.");
    std::vector<BYTE> bytes;
    if (!BytesOf(sData, pType->dwType, &bytes))
        return Fail("Invalid data specified for '/d'.");
    if (!bForce &&
        RegQueryValueExA(key.Handle(), sValueName.c_str(), nullptr, nullptr, nullptr, nullptr) ==
            ERROR_SUCCESS &&
        !Confirm("Value " + sValueName + " exists, overwrite"))
        return 0;
    lResult = RegSetValueExA(key.Handle(), sValueName.c_str(), 0, pType->dwType, bytes.data(),
                             static_cast<DWORD>(bytes.size()));
    return lResult == ERROR_SUCCESS ? Succeed() : FailWith(lResult);
}

int RegistryCommand::Query() const
{
    Key key(sKey);
    if (!key.IsValid())
        return BadKey();
    if (!bNamed && !bDefaultValue) {
        const LONG lResult = PrintKey(sKey, bSubtree);
        return lResult == ERROR_SUCCESS ? 0 : FailWith(lResult);
    }
    LONG lResult = key.Open(KEY_READ);
    DWORD dwType = 0;
    std::vector<BYTE> bytes;
    if (lResult == ERROR_SUCCESS)
        lResult = ReadValue(key.Handle(), sValueName, &dwType, &bytes);
    if (lResult != ERROR_SUCCESS)
        return FailWith(lResult);
    printf("\n%s\n", key.Name().c_str());
    PrintValue(sValueName, dwType, bytes);
    return 0;
}

int RegistryCommand::Delete() const
{
    Key key(sKey);
    if (!key.IsValid() || key.Below().empty())
        return BadKey();
    LONG lResult = key.Open(KEY_READ | KEY_WRITE);
    if (lResult != ERROR_SUCCESS)
        return FailWith(lResult);
    if (bAllValues) {
        if (!bForce && !Confirm("Delete all values under the registry key " + key.Name()))
            return 0;
        for (const std::string& sName : Names(key.Handle(), &EnumValue))
            lResult = lResult != ERROR_SUCCESS ? lResult : RegDeleteValueA(key.Handle(), sName.c_str());
    } else if (bNamed || bDefaultValue) {
        if (!bForce && !Confirm("Delete the registry value " + sValueName))
            return 0;
        lResult = RegDeleteValueA(key.Handle(), sValueName.c_str());
    } else {
        if (!bForce && !Confirm("Permanently delete the registry key " + key.Name()))
            return 0;
        lResult = RegDeleteTreeA(key.RootKey(), key.Below().c_str());
    }
    return lResult == ERROR_SUCCESS ? Succeed() : FailWith(lResult);
}
