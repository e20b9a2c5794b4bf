#include "component/Registrar.h"

#include <cctype>
#include <vector>

namespace {

// A key of the script, with all below it.
struct ScriptKey
{
    std::string sName;
    bool bNoRemove = false;
    bool bForceRemove = false;
    bool bHasDefault = false;
    std::string sDefault;
    std::vector<std::pair<std::string, std::string>> values;
    std::vector<ScriptKey> keys;
};

// Reads a script. A word is anything between blanks that is not quoted; in front of a quoted text stands a
// quote.
class ScriptReader
{
public:
    ScriptReader(const std::string& sScript, const std::string& sModulePath)
        : m_sScript(sScript), m_sModulePath(sModulePath), m_bGood(true)
    {
        Advance();
    }

    bool Read(ScriptKey* pRoot)
    {
        *pRoot = ReadKey(0);
        return m_bGood && m_sWord.empty() && pRoot->sName == "HKCR" && !pRoot->bHasDefault;
    }

private:
    static constexpr int DEEPEST = 32;

    ScriptKey ReadKey(int nDepth)
    {
        ScriptKey key;
        key.bNoRemove = Take("NoRemove");
        key.bForceRemove = !key.bNoRemove && Take("ForceRemove");
        key.sName = TakeName();
        key.bHasDefault = m_sWord == "=";
        if (key.bHasDefault)
            key.sDefault = TakeText();
        m_bGood = m_bGood && nDepth < DEEPEST;
        if (!Take("{"))
            return key;
        while (m_bGood && !Take("}")) {
            if (Take("val")) {
                const std::string sName = TakeName();
                key.values.emplace_back(sName, TakeText());
            } else {
                key.keys.push_back(ReadKey(nDepth + 1));
            }
        }
        return key;
    }

    bool Take(const char* word)
    {
        if (m_sWord != word)
            return false;
        Advance();
        return true;
    }

    std::string TakeName()
    {
        std::string sName = m_sWord;
        m_bGood =
            m_bGood && !sName.empty() && sName[0] != '\'' && sName != "{" && sName != "}" && sName != "=";
        Advance();
        return sName;
    }

    // "= s 'text'"
    std::string TakeText()
    {
        m_bGood = Take("=") && Take("s") && m_bGood && m_sWord[0] == '\'';
        std::string sText = m_bGood ? m_sWord.substr(1) : std::string();
        const std::string sPlace = "%MODULE%";
        for (std::size_t i = 0; (i = sText.find(sPlace, i)) != std::string::npos; i += m_sModulePath.size())
            sText.replace(i, sPlace.size(), m_sModulePath);
        Advance();
        return sText;
    }

    void Advance()
    {
        m_sWord.clear();
        m_i = m_sScript.find_first_not_of(" \t\r\n", m_i);
        if (m_i == std::string::npos) {
            m_i = m_sScript.size();
        } else if (m_sScript[m_i] == '\'') {
            AdvanceQuoted();
        } else {
            const std::size_t iEnd = m_sScript.find_first_of(" \t\r\n", m_i);
            m_sWord = m_sScript.substr(m_i, iEnd - m_i);
            m_i = iEnd == std::string::npos ? m_sScript.size() : iEnd;
        }
    }

    void AdvanceQuoted()
    {
        m_sWord = "'";
        for (++m_i;; ++m_i) {
            if (m_i >= m_sScript.size()) {
                m_bGood = false;
                return;
            }
            if (m_sScript[m_i] == '\'' && m_sScript[++m_i] != '\'')
                return;
            m_sWord += m_sScript[m_i];
        }
    }

    const std::string& m_sScript;
    const std::string& m_sModulePath;
    std::size_t m_i = 0;
    std::string m_sWord;  // the next one, empty at the end
    bool m_bGood;
};

LONG SetText(HKEY hKey, const char* name, const std::string& sText)
{
    return RegSetValueExA(hKey, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(sText.c_str()),
                          static_cast<DWORD>(sText.size() + 1));
}

LONG RemoveTree(HKEY hParent, const std::string& sName)
{
    const LONG lResult = RegDeleteTreeA(hParent, sName.c_str());
    return lResult == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : lResult;
}

LONG Make(HKEY hParent, const ScriptKey& key);

LONG MakeBelow(HKEY hKey, const ScriptKey& key)
{
    LONG lResult = key.bHasDefault ? SetText(hKey, nullptr, key.sDefault) : ERROR_SUCCESS;
    for (std::size_t i = 0; lResult == ERROR_SUCCESS && i < key.values.size(); ++i)
        lResult = SetText(hKey, key.values[i].first.c_str(), key.values[i].second);
    for (std::size_t i = 0; lResult == ERROR_SUCCESS && i < key.keys.size(); ++i)
        lResult = Make(hKey, key.keys[i]);
    return lResult;
}

LONG Make(HKEY hParent, const ScriptKey& key)
{
    LONG lResult = key.bForceRemove ? RemoveTree(hParent, key.sName) : ERROR_SUCCESS;
    HKEY hKey = nullptr;
    if (lResult == ERROR_SUCCESS)
        lResult = RegCreateKeyExA(hParent, key.sName.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                  KEY_READ | KEY_WRITE, nullptr, &hKey, nullptr);
    if (lResult != ERROR_SUCCESS)
        return lResult;
    lResult = MakeBelow(hKey, key);
    RegCloseKey(hKey);
    return lResult;
}

LONG RemoveBelow(HKEY hKey, const ScriptKey& key);

LONG Remove(HKEY hParent, const ScriptKey& key)
{
    if (!key.bNoRemove)
        return RemoveTree(hParent, key.sName);
    HKEY hKey = nullptr;
    LONG lResult = RegOpenKeyExA(hParent, key.sName.c_str(), 0, KEY_READ | KEY_WRITE, &hKey);
    if (lResult != ERROR_SUCCESS)
        return lResult == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : lResult;
    lResult = RemoveBelow(hKey, key);
    RegCloseKey(hKey);
    return lResult;
}

LONG RemoveBelow(HKEY hKey, const ScriptKey& key)
{
    LONG lResult = ERROR_SUCCESS;
    for (std::size_t i = 0; lResult == ERROR_SUCCESS && i < key.keys.size(); ++i)
        lResult = Remove(hKey, key.keys[i]);
    return lResult;
}

}  // namespace

HRESULT Registrar::Run(const std::string& sScript, bool bRegister)
{
    ScriptKey root;
    if (!ScriptReader(sScript, m_sModulePath).Read(&root))
        return E_FAIL;
    const LONG lResult =
        bRegister ? MakeBelow(HKEY_CLASSES_ROOT, root) : RemoveBelow(HKEY_CLASSES_ROOT, root);
    return HRESULT_FROM_WIN32(static_cast<ULONG>(lResult));
}
