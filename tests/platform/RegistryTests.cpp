#include "tests/platform/Support.h"

#include <string>
#include <vector>

namespace {

using std::string;

const char ROOT[] = "Software\\orvexplatformtests";

class Registry : public testing::Test
{
protected:
    void SetUp() override
    {
        RegDeleteTreeA(HKEY_CURRENT_USER, ROOT);
        ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExA(HKEY_CURRENT_USER, ROOT, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                                 KEY_ALL_ACCESS, nullptr, &m_hKey, &m_dwDisposition));
    }
    void TearDown() override
    {
        RegCloseKey(m_hKey);
        RegDeleteTreeA(HKEY_CURRENT_USER, ROOT);
    }

    HKEY Create(const string& path, HKEY hParent = nullptr)
    {
        HKEY hKey = nullptr;
        EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExA(hParent != nullptr ? hParent : m_hKey, path.c_str(), 0,
                                                 nullptr, 0, KEY_ALL_ACCESS, nullptr, &hKey, nullptr))
            << path;
        return hKey;
    }
    void CreateOnly(const string& path) { RegCloseKey(Create(path)); }
    static LONG Open(HKEY hParent, const string& path, REGSAM access = KEY_READ)
    {
        HKEY hKey = nullptr;
        const LONG lResult = RegOpenKeyExA(hParent, path.c_str(), 0, access, &hKey);
        if (lResult == ERROR_SUCCESS)
            RegCloseKey(hKey);
        return lResult;
    }
    static LONG Set(HKEY hKey, const string& name, DWORD dwType, const string& data)
    {
        // Windows takes a zero behind a text for part of it, whatever the size says.
        const string sFenced = data + 'x';
        return RegSetValueExA(hKey, name.c_str(), 0, dwType, reinterpret_cast<const BYTE*>(sFenced.data()),
                              static_cast<DWORD>(data.size()));
    }
    static LONG SetNumber(HKEY hKey, const string& name, DWORD dw)
    {
        return Set(hKey, name, REG_DWORD, string(reinterpret_cast<const char*>(&dw), sizeof dw));
    }
    // The value's bytes; "error N" where it can't be read.
    static string Get(HKEY hKey, const string& name, DWORD* pdwType = nullptr)
    {
        DWORD dwType = 0, cb = 0;
        LONG lResult = RegQueryValueExA(hKey, name.c_str(), nullptr, &dwType, nullptr, &cb);
        string data(cb + 1, '?');
        cb = static_cast<DWORD>(data.size());
        if (lResult == ERROR_SUCCESS)
            lResult = RegQueryValueExA(hKey, name.c_str(), nullptr, &dwType,
                                       reinterpret_cast<BYTE*>(&data[0]), &cb);
        if (pdwType != nullptr)
            *pdwType = dwType;
        return lResult == ERROR_SUCCESS ? data.substr(0, cb) : "error " + std::to_string(lResult);
    }
    static std::vector<string> Keys(HKEY hKey)
    {
        std::vector<string> names;
        char name[256];
        DWORD cch = sizeof name;
        LONG lResult;
        while ((lResult = RegEnumKeyExA(hKey, static_cast<DWORD>(names.size()), name, &cch, nullptr, nullptr,
                                        nullptr, nullptr)) == ERROR_SUCCESS) {
            names.emplace_back(name, cch);
            cch = sizeof name;
        }
        EXPECT_EQ(ERROR_NO_MORE_ITEMS, lResult);
        return names;
    }

    HKEY m_hKey = nullptr;
    DWORD m_dwDisposition = 0;
};

const char* const NAMES[] = {"Plain", "with blank", "a/b",       ".hidden", "..",    "@",      "100%",
                             "%41",   "José",       "tab\there", "~",       "name.", "dword:1"};

TEST_F(Registry, ValuesComeBackAsTheyWereSet)
{
    const struct
    {
        DWORD dwType;
        string sData;
    } rows[] = {
        {REG_DWORD, string("\7\0\0\0", 4)},
        {REG_DWORD, string("\xFF\xFF\xFF\xFF", 4)},
        {REG_DWORD, "ab"},
        {REG_SZ, string("text\0", 5)},
        {REG_SZ, string("\0", 1)},
        {REG_SZ, ""},
        {REG_SZ, "no zero behind it"},
        {REG_SZ, string("two\0texts\0", 10)},
        {REG_SZ, string("line\nline\r\n\n\0", 13)},
        {REG_SZ, string("dword:00000001 \0", 16)},
        {REG_SZ, string(5000, 'x') + '\0'},
        {REG_EXPAND_SZ, string("%PATH%\0", 7)},
        {REG_BINARY, string("\0\x80\n", 3)},
        {REG_MULTI_SZ, string("a\0b\0\0", 5)},
        {77, "odd type"},
    };
    for (const auto& row : rows)
        for (const string& name : {string(""), string("Value")}) {
            DWORD dwType = 0;
            ASSERT_EQ(ERROR_SUCCESS, Set(m_hKey, name, row.dwType, row.sData));
            EXPECT_EQ(row.sData, Get(m_hKey, name, &dwType));
            EXPECT_EQ(row.dwType, dwType) << row.sData;
        }
}

TEST_F(Registry, KeysAndValuesMayHaveAnyNameAndTheSameName)
{
    for (const char* name : NAMES) {
        EXPECT_EQ(ERROR_SUCCESS, Set(m_hKey, name, REG_SZ, name));
        CreateOnly(name);
        EXPECT_EQ(ERROR_SUCCESS, Set(m_hKey, name, REG_SZ, string("again ") + name));
    }
    EXPECT_EQ(std::size(NAMES), Keys(m_hKey).size());
    for (const char* name : NAMES) {
        EXPECT_EQ(string("again ") + name, Get(m_hKey, name));
        EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueA(m_hKey, name)) << name;
        EXPECT_EQ(ERROR_SUCCESS, Open(m_hKey, name)) << name;
        EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyA(m_hKey, name)) << name;
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, Open(m_hKey, name)) << name;
    }
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, Open(m_hKey, "@")) << "the default value is no key";
}

TEST_F(Registry, NamesAreFoundWithoutRegardToCase)
{
    RegCloseKey(Create("Deep\\Level"));
    HKEY hKey = Create("DEEP\\level");
    SetNumber(hKey, "TraceMask", 1);
    SetNumber(hKey, "TRACEMASK", 2);
    EXPECT_EQ(string("\2\0\0\0", 4), Get(hKey, "tracemask"));
    RegCloseKey(hKey);
    EXPECT_EQ(std::vector<string>{"Deep"}, Keys(m_hKey));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyA(m_hKey, "deep\\LEVEL"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, Open(m_hKey, "Deep\\Level"));
}

TEST_F(Registry, TellsWhetherItCreated)
{
    EXPECT_EQ(DWORD(REG_CREATED_NEW_KEY), m_dwDisposition);
    HKEY hKey = nullptr;
    EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExA(HKEY_CURRENT_USER, ROOT, 0, nullptr, 0, KEY_READ, nullptr, &hKey,
                                             &m_dwDisposition));
    EXPECT_EQ(DWORD(REG_OPENED_EXISTING_KEY), m_dwDisposition);
    RegCloseKey(hKey);
}

TEST_F(Registry, ABufferTooSmallLearnsTheSize)
{
    Set(m_hKey, "Text", REG_SZ, string("123456\0", 7));
    BYTE data[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    DWORD cb = 4, dwType = 0;
    EXPECT_EQ(ERROR_MORE_DATA, RegQueryValueExA(m_hKey, "Text", nullptr, &dwType, data, &cb));
    EXPECT_EQ(7u, cb);
    EXPECT_EQ(DWORD(REG_SZ), dwType);
    EXPECT_EQ(1, data[4]) << "written beyond the room there was";
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(m_hKey, "Text", nullptr, nullptr, data, &cb));
    EXPECT_EQ(1, data[7]);
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegQueryValueExA(m_hKey, "Text", nullptr, nullptr, data, nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(m_hKey, "Text", nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExA(m_hKey, "Missing", nullptr, nullptr, data, &cb));
}

TEST_F(Registry, ListsKeysAndValues)
{
    for (const char* name : {"b", "C", "a"}) {
        CreateOnly(name);
        SetNumber(m_hKey, string("v") + name, 5);
    }
    EXPECT_EQ((std::vector<string>{"a", "b", "C"}), Keys(m_hKey));
    std::vector<string> values;
    char name[3];
    for (DWORD cch = sizeof name, dw = 0, cb = sizeof dw, dwType = 0;
         RegEnumValueA(m_hKey, static_cast<DWORD>(values.size()), name, &cch, nullptr, &dwType,
                       reinterpret_cast<BYTE*>(&dw), &cb) == ERROR_SUCCESS;
         cch = sizeof name, cb = sizeof dw) {
        EXPECT_TRUE(dw == 5 && cb == 4 && dwType == REG_DWORD && cch == 2) << name;
        values.push_back(name);
    }
    EXPECT_EQ(3u, values.size());
    DWORD cch = 1;
    EXPECT_EQ(ERROR_MORE_DATA, RegEnumKeyExA(m_hKey, 0, name, &cch, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(Registry, AKeyWithSubkeysGoesOnlyAsATree)
{
    CreateOnly("Upper\\Lower\\Lowest");
    SetNumber(m_hKey, "Value", 1);
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteKeyA(m_hKey, "Upper"));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteTreeA(m_hKey, "Upper"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteTreeA(m_hKey, "Upper"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteValueA(m_hKey, "Missing"));
    EXPECT_TRUE(Keys(m_hKey).empty());
}

TEST_F(Registry, AnOpenKeyKnowsThatItWasDeleted)
{
    HKEY hKey = Create("Gone");
    CreateOnly("Gone\\Sub");
    SetNumber(hKey, "Value", 1);
    RegDeleteTreeA(m_hKey, "Gone");
    CreateOnly("Gone");
    DWORD dw;
    DWORD cb = sizeof dw;
    const Handle event = ManualEvent();
    EXPECT_EQ(ERROR_KEY_DELETED,
              RegQueryValueExA(hKey, "Value", nullptr, nullptr, reinterpret_cast<BYTE*>(&dw), &cb));
    EXPECT_EQ(ERROR_KEY_DELETED, SetNumber(hKey, "Value", 1));
    EXPECT_EQ(ERROR_KEY_DELETED, Open(hKey, "Sub"));
    EXPECT_EQ(ERROR_KEY_DELETED,
              RegNotifyChangeKeyValue(hKey, TRUE, REG_NOTIFY_CHANGE_LAST_SET, event, TRUE));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(hKey));
}

TEST_F(Registry, AHandleIsGoodForWhatItWasOpenedFor)
{
    HKEY hRead = nullptr, hWrite = nullptr;
    SetNumber(m_hKey, "Value", 1);
    RegOpenKeyExA(HKEY_CURRENT_USER, ROOT, 0, KEY_READ, &hRead);
    RegOpenKeyExA(HKEY_CURRENT_USER, ROOT, 0, KEY_WRITE, &hWrite);
    const Handle event = ManualEvent();
    EXPECT_EQ(ERROR_ACCESS_DENIED, SetNumber(hRead, "Value", 2));
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteValueA(hRead, "Value"));
    EXPECT_EQ("error 5", Get(hWrite, "Value"));
    EXPECT_EQ(ERROR_ACCESS_DENIED,
              RegNotifyChangeKeyValue(hWrite, TRUE, REG_NOTIFY_CHANGE_LAST_SET, event, TRUE));
    RegCloseKey(Create("Child", hRead));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(hRead));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(hWrite));
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(hRead));
    EXPECT_EQ(ERROR_INVALID_HANDLE, Open(nullptr, "Software"));
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegNotifyChangeKeyValue(m_hKey, TRUE, 4, nullptr, TRUE));
}

class RegistryWatch : public Registry
{
protected:
    void Arm(DWORD dwFilter = REG_NOTIFY_CHANGE_LAST_SET, BOOL bSubtree = TRUE)
    {
        ResetEvent(m_Event);
        ASSERT_EQ(ERROR_SUCCESS, RegNotifyChangeKeyValue(m_hKey, bSubtree, dwFilter, m_Event, TRUE));
    }
    void ExpectChange(const char* what)
    {
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(m_Event, LONG_ENOUGH)) << what;
    }
    void ExpectNone(const char* what) { EXPECT_EQ(TIMED_OUT, WaitForSingleObject(m_Event, A_WHILE)) << what; }

    const Handle m_Event = ManualEvent();
};

TEST_F(RegistryWatch, SeesValuesInTheWholeTree)
{
    CreateOnly("Old\\Deep");
    Arm();
    const struct
    {
        const char* what;
        std::function<void()> change;
    } rows[] = {
        {"set", [&] { SetNumber(m_hKey, "Value", 1); }},
        {"deleted", [&] { RegDeleteValueA(m_hKey, "Value"); }},
        {"set in a subkey",
         [&] {
             HKEY hKey = Create("Old\\Deep");
             SetNumber(hKey, "Value", 1);
             RegCloseKey(hKey);
         }},
        {"set in a key made since",
         [&] {
             HKEY hKey = Create("New\\Deep\\Deeper");
             SetNumber(hKey, "Value", 1);
             RegCloseKey(hKey);
         }},
        {"set in a key made in the place of a deleted one",
         [&] {
             RegDeleteTreeA(m_hKey, "New");
             HKEY hKey = Create("New\\Deep\\Deeper");
             SetNumber(hKey, "Value", 1);
             RegCloseKey(hKey);
         }},
    };
    for (const auto& row : rows) {
        row.change();
        ExpectChange(row.what);
        // What is still on its way of this change is not to be taken for the next.
        do
            Arm();
        while (WaitForSingleObject(m_Event, A_WHILE) == WAIT_OBJECT_0);
    }
}

TEST_F(RegistryWatch, TellsOnlyWhatWasAskedFor)
{
    CreateOnly("Sub");
    Arm(REG_NOTIFY_CHANGE_LAST_SET, FALSE);
    CreateOnly("Other");
    RegDeleteKeyA(m_hKey, "Other");
    HKEY hSub = Create("Sub");
    SetNumber(hSub, "Value", 1);
    DWORD cb = 0;
    RegQueryValueExA(hSub, "Value", nullptr, nullptr, nullptr, &cb);
    RegCloseKey(hSub);
    ExpectNone("neither keys nor what is below");
    SetNumber(m_hKey, "Value", 1);
    ExpectChange("a value of its own");
}

TEST_F(RegistryWatch, SeesKeysComeAndGo)
{
    Arm(REG_NOTIFY_CHANGE_NAME);
    CreateOnly("Sub");
    ExpectChange("made");
    Arm(REG_NOTIFY_CHANGE_NAME);
    SetNumber(m_hKey, "Value", 1);
    ExpectNone("a value");
    RegDeleteKeyA(m_hKey, "Sub");
    ExpectChange("deleted");
}

TEST_F(RegistryWatch, IsGoodForOneChange)
{
    Arm();
    SetNumber(m_hKey, "Value", 1);
    ExpectChange("first");
    ResetEvent(m_Event);
    SetNumber(m_hKey, "Value", 2);
    ExpectNone("not armed");
}

TEST_F(RegistryWatch, EndsWithAnEventWhenTheKeyIsClosed)
{
    HKEY hKey = Create("Sub");
    const Handle second = ManualEvent();
    RegNotifyChangeKeyValue(hKey, TRUE, REG_NOTIFY_CHANGE_LAST_SET, m_Event, TRUE);
    RegNotifyChangeKeyValue(hKey, TRUE, REG_NOTIFY_CHANGE_LAST_SET, second, TRUE);
    ExpectNone("armed");
    RegCloseKey(hKey);
    ExpectChange("closed");
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(second, LONG_ENOUGH));
}

// A reader sees the old or the new, never nothing, and the last word is always told.
TEST_F(RegistryWatch, AReaderNeverSeesHalfAChange)
{
    constexpr DWORD CHANGES = 300;
    Set(m_hKey, "Value", REG_DWORD, string(4, '\0'));
    TestThread writer([&] {
        for (DWORD dw = 1; dw <= CHANGES; ++dw) {
            SetNumber(m_hKey, "Value", dw);
            CreateOnly("Sub\\Deep");
            RegDeleteTreeA(m_hKey, "Sub");
        }
    });
    for (DWORD dwSeen = 0; dwSeen != CHANGES;) {
        Arm();
        DWORD dw = 0;
        DWORD cb = sizeof dw;
        ASSERT_EQ(ERROR_SUCCESS,
                  RegQueryValueExA(m_hKey, "Value", nullptr, nullptr, reinterpret_cast<BYTE*>(&dw), &cb));
        ASSERT_LE(dwSeen, dw);
        dwSeen = dw;
        ASSERT_TRUE(dw == CHANGES || WaitForSingleObject(m_Event, LONG_ENOUGH) == WAIT_OBJECT_0) << dw;
    }
}

}  // namespace
