#include "logging/RegistryHelpers.h"
#include "tests/logging/Stage.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

class LoggingRegistry : public testing::Test
{
protected:
    static void Set(HKEY hKey, const char* valueName, DWORD dwType, const std::string& sBytes)
    {
        ASSERT_EQ(RegSetValueExA(hKey, valueName, 0, dwType, reinterpret_cast<const BYTE*>(sBytes.data()),
                                 static_cast<DWORD>(sBytes.size())),
                  ERROR_SUCCESS);
    }

private:
    TestFolder m_Folder;
    TestRegistry m_Registry{m_Folder.Path()};
};

}  // namespace

TEST_F(LoggingRegistry, PathIsMadeLevelByLevel)
{
    HKEY hKey = nullptr;
    DWORD dwDisposition = 0;
    ASSERT_TRUE(CreateRegistryPath(HKEY_CURRENT_USER, "One\\Two\\Three", &hKey, &dwDisposition));
    EXPECT_EQ(dwDisposition, static_cast<DWORD>(REG_CREATED_NEW_KEY));
    RegCloseKey(hKey);
    ASSERT_TRUE(CreateRegistryPath(HKEY_CURRENT_USER, "one\\two", &hKey, &dwDisposition));
    EXPECT_EQ(dwDisposition, static_cast<DWORD>(REG_OPENED_EXISTING_KEY));
    RegCloseKey(hKey);
    ASSERT_TRUE(CreateRegistryPath(HKEY_CURRENT_USER, "One\\Four", &hKey, nullptr));
    RegCloseKey(hKey);

    EXPECT_FALSE(CreateRegistryPath(HKEY_CURRENT_USER, "", &hKey, nullptr));
    EXPECT_FALSE(CreateRegistryPath(HKEY_CURRENT_USER, "One\\Two", nullptr, nullptr));
    EXPECT_FALSE(CreateRegistryPath(HKEY_CURRENT_USER, "One", &hKey, nullptr)) << "one component";
}

TEST_F(LoggingRegistry, StringsAreReadAsFarAsTheyAreText)
{
    HKEY hKey = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, "Software\\T", 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr,
                              &hKey, nullptr),
              ERROR_SUCCESS);
    const DWORD dwNumber = 4000000000u;
    char number[sizeof dwNumber];
    memcpy(number, &dwNumber, sizeof dwNumber);
    Set(hKey, "text", REG_SZ, std::string("some text") + '\0');
    Set(hKey, "empty", REG_SZ, std::string(1, '\0'));
    Set(hKey, "open", REG_SZ, "no terminator");
    Set(hKey, "number", REG_DWORD, std::string(number, sizeof number));
    Set(hKey, "long", REG_SZ, std::string(5000, 'x') + '\0');
    Set(hKey, "bytes", REG_BINARY, "abc");
    RegCloseKey(hKey);

    struct Row
    {
        const char* key;
        const char* valueName;
        bool bResult;
        const char* value;
    };
    const Row rows[] = {
        {"Software\\T", "text", true, "some text"},
        {"Software\\T", "empty", true, ""},
        {"Software\\T", "open", true, "no terminator"},
        {"Software\\T", "number", true, "4000000000"},
        {"Software\\T", "long", true, "as it was"},
        {"Software\\T", "bytes", true, "as it was"},
        {"Software\\T", "missing", false, "as it was"},
        {"Software\\None", "text", false, "as it was"},
        {"", "text", false, "as it was"},
    };
    for (const Row& row : rows) {
        std::string sValue = "as it was";
        EXPECT_EQ(ReadRegistryString(HKEY_LOCAL_MACHINE, row.key, row.valueName, sValue), row.bResult)
            << row.valueName;
        EXPECT_EQ(sValue, row.value) << row.valueName;
    }
}
