// The registry's files, as people and scripts see and write them.
#include "platform/Faults.h"
#include "tests/platform/Support.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using std::string;

class RegistryFiles : public testing::Test
{
protected:
    void SetUp() override
    {
        fs::remove_all(m_Folder);
        ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExA(HKEY_LOCAL_MACHINE, "Software\\Test", 0, nullptr, 0,
                                                 KEY_ALL_ACCESS, nullptr, &m_hKey, nullptr));
    }
    void TearDown() override
    {
        Faults::Clear();
        RegCloseKey(m_hKey);
        fs::remove_all(m_Folder);
    }
    LONG Set(const char* name, DWORD dwType, const string& data)
    {
        return RegSetValueExA(m_hKey, name, 0, dwType, reinterpret_cast<const BYTE*>(data.data()),
                              static_cast<DWORD>(data.size()));
    }
    string File(const string& name) const
    {
        std::ifstream file(m_Folder / name, std::ios::binary);
        return string(std::istreambuf_iterator<char>(file), {});
    }
    void WriteFile(const string& name, const string& text) const
    {
        std::ofstream(m_Folder / name, std::ios::binary) << text;
    }

    const fs::path m_Folder = fs::path(getenv("ORVEX_REGISTRY")) / "HKLM" / "Software" / "Test";
    HKEY m_hKey = nullptr;
};

TEST_F(RegistryFiles, HoldOneValueEach)
{
    const struct
    {
        const char* name;
        DWORD dwType;
        string sData;
        const char* file;
        const char* text;
    } rows[] = {
        {"TraceMask", REG_DWORD, string("\x0F\0\0\x40", 4), "TraceMask", "dword:4000000f\n"},
        {"TraceServer", REG_SZ, string("/opt/trace server\0", 18), "TraceServer", "sz:/opt/trace server\n"},
        {"", REG_SZ, string("\0", 1), "@", "sz:\n"},
        {"a/b%", REG_BINARY, string("\0\xAB", 2), "a%2fb%25", "hex(3):00ab\n"},
        {".x", REG_SZ, "open", "%2ex", "hex(1):6f70656e\n"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ERROR_SUCCESS, Set(row.name, row.dwType, row.sData));
        EXPECT_EQ(row.text, File(row.file));
    }
    EXPECT_EQ(5, std::distance(fs::directory_iterator(m_Folder), {}))
        << "something is left beside the values";
}

TEST_F(RegistryFiles, WrittenByHandAreRead)
{
    const struct
    {
        const char* text;
        LONG lResult;
        DWORD dwType;
        string sData;
    } rows[] = {
        {"dword:7", ERROR_SUCCESS, REG_DWORD, string("\7\0\0\0", 4)},
        {"dword:FFFFFFFF \r\n", ERROR_SUCCESS, REG_DWORD, "\xFF\xFF\xFF\xFF"},
        {"sz:text", ERROR_SUCCESS, REG_SZ, string("text\0", 5)},
        {"sz:two\nlines\n\n", ERROR_SUCCESS, REG_SZ, string("two\nlines\n\0", 11)},
        {"sz:", ERROR_SUCCESS, REG_SZ, string("\0", 1)},
        {"hex(7):6100", ERROR_SUCCESS, REG_MULTI_SZ, string("a\0", 2)},
        {"", ERROR_BADDB, 0, ""},
        {"7", ERROR_BADDB, 0, ""},
        {"dword:", ERROR_BADDB, 0, ""},
        {"dword:123456789", ERROR_BADDB, 0, ""},
        {"dword:0x7", ERROR_BADDB, 0, ""},
        {"hex(3):0", ERROR_BADDB, 0, ""},
        {"hex(x):00", ERROR_BADDB, 0, ""},
        {"hex(3", ERROR_BADDB, 0, ""},
    };
    for (const auto& row : rows) {
        WriteFile("Value", row.text);
        char data[64];
        DWORD cb = sizeof data, dwType = 0;
        EXPECT_EQ(row.lResult,
                  RegQueryValueExA(m_hKey, "value", nullptr, &dwType, reinterpret_cast<BYTE*>(data), &cb))
            << row.text;
        EXPECT_TRUE(row.lResult != ERROR_SUCCESS || (dwType == row.dwType && row.sData == string(data, cb)))
            << row.text;
    }
}

TEST_F(RegistryFiles, ThatAreNoValuesAreNotTakenForSome)
{
    WriteFile(".swp", "dword:1");
    mkfifo((m_Folder / "Pipe").c_str(), 0600);
    fs::create_directory(m_Folder / "Folder");
    DWORD cb = 0;
    for (const char* name : {".swp", "Pipe", "Folder"})
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExA(m_hKey, name, nullptr, nullptr, nullptr, &cb))
            << name;
    char name[32];
    DWORD cch = sizeof name;
    EXPECT_EQ(ERROR_NO_MORE_ITEMS, RegEnumValueA(m_hKey, 0, name, &cch, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(RegistryFiles, ChangedByHandWakeTheWatch)
{
    const Handle event = ManualEvent();
    const struct
    {
        const char* what;
        std::function<void()> change;
    } rows[] = {
        {"written", [&] { WriteFile("Value", "dword:1"); }},
        {"moved in", [&] { fs::rename(m_Folder / "Value", m_Folder / "Other"); }},
        {"removed", [&] { fs::remove(m_Folder / "Other"); }},
        {"a tree moved in",
         [&] {
             fs::create_directories(m_Folder / ".hidden" / "Deep");
             WriteFile(".hidden/Deep/Value", "dword:1");
             fs::rename(m_Folder / ".hidden", m_Folder / "Shown");
         }},
        {"written in that tree", [&] { WriteFile("Shown/Deep/Value", "dword:2"); }},
        {"written after the tree was renamed",
         [&] {
             fs::rename(m_Folder / "Shown", m_Folder / "Renamed");
             WriteFile("Renamed/Deep/Value", "dword:3");
         }},
    };
    for (const auto& row : rows) {
        do {
            ResetEvent(event);
            ASSERT_EQ(ERROR_SUCCESS,
                      RegNotifyChangeKeyValue(m_hKey, TRUE, REG_NOTIFY_CHANGE_LAST_SET, event, TRUE));
        } while (WaitForSingleObject(event, A_WHILE) == WAIT_OBJECT_0);
        row.change();
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(event, LONG_ENOUGH)) << row.what;
    }
}

TEST_F(RegistryFiles, AChangeBetweenTwoCallsIsNotLostNorOneToTheSameNorTheEndOfTheKey)
{
    const Handle event = ManualEvent();
    const auto arm = [&](HKEY hKey) {
        ResetEvent(event);
        EXPECT_EQ(ERROR_SUCCESS,
                  RegNotifyChangeKeyValue(hKey, TRUE, REG_NOTIFY_CHANGE_LAST_SET, event, TRUE));
    };
    const string sOne("\1\0\0\0", 4);
    arm(m_hKey);
    for (const char* what : {"first", "the same again"}) {
        Set("Value", REG_DWORD, sOne);
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(event, LONG_ENOUGH)) << what;
        Set("Value", REG_DWORD, sOne);
        arm(m_hKey);
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(event, LONG_ENOUGH)) << "between, after " << what;
        arm(m_hKey);
        EXPECT_EQ(TIMED_OUT, WaitForSingleObject(event, A_WHILE)) << "nothing more";
    }
    for (const char* deleted : {"Upper\\Lower", "Upper"}) {
        HKEY hKey = nullptr;
        RegCreateKeyExA(m_hKey, "Upper\\Lower", 0, nullptr, 0, KEY_READ, nullptr, &hKey, nullptr);
        arm(hKey);
        RegDeleteTreeA(m_hKey, deleted);
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(event, LONG_ENOUGH)) << deleted;
        RegCloseKey(hKey);
    }
}

TEST_F(RegistryFiles, FailedStepsAreReportedAndTheOldValueStays)
{
    const Handle event = ManualEvent();
    Set("Value", REG_SZ, string("old\0", 4));
    const struct
    {
        const char* call;
        int iError;
        LONG lResult;
    } rows[] = {
        {"openat", EACCES, ERROR_ACCESS_DENIED},
        {"write", ENOSPC, ERROR_DISK_FULL},
        {"renameat", EROFS, ERROR_ACCESS_DENIED},
    };
    for (const auto& row : rows) {
        Faults::Fail(row.call, 1, row.iError);
        EXPECT_EQ(row.lResult, Set("Value", REG_SZ, string("new\0", 4))) << row.call;
    }
    EXPECT_EQ("sz:old\n", File("Value"));
    EXPECT_EQ(1, std::distance(fs::directory_iterator(m_Folder), {})) << "a half value is left";

    for (const char* call : {"inotify_init1", "inotify_add_watch", "eventfd", "pthread_create"}) {
        Faults::Fail(call, 1, call[0] == 'i' ? ENOSPC : EAGAIN);
        EXPECT_EQ(ERROR_NO_SYSTEM_RESOURCES,
                  RegNotifyChangeKeyValue(m_hKey, TRUE, REG_NOTIFY_CHANGE_LAST_SET, event, TRUE))
            << call;
    }
    HKEY hKey = nullptr;
    Faults::Fail("mkdirat", 1, EACCES);
    EXPECT_EQ(ERROR_ACCESS_DENIED,
              RegCreateKeyExA(m_hKey, "Sub", 0, nullptr, 0, KEY_READ, nullptr, &hKey, nullptr));
}

TEST_F(RegistryFiles, TheUsersHiveIsWhereTheSettingsAre)
{
    const string sAll = getenv("ORVEX_REGISTRY");
    const string sHome = getenv("HOME") != nullptr ? getenv("HOME") : "";
    const fs::path base = fs::path(sAll) / "places";
    const struct
    {
        const char* config;
        const char* home;
        const char* folder;
    } rows[] = {
        {"config", "home", "config/orvex/registry/HKCU/Key"},
        {"", "home", "home/.config/orvex/registry/HKCU/Key"},
    };
    unsetenv("ORVEX_REGISTRY");
    for (const auto& row : rows) {
        HKEY hKey = nullptr;
        setenv("XDG_CONFIG_HOME", *row.config != '\0' ? (base / row.config).c_str() : "", 1);
        setenv("HOME", (base / row.home).c_str(), 1);
        EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExA(HKEY_CURRENT_USER, "Key", 0, nullptr, 0, KEY_READ, nullptr,
                                                 &hKey, nullptr));
        EXPECT_TRUE(fs::is_directory(base / row.folder)) << row.folder;
        RegCloseKey(hKey);
    }
    setenv("ORVEX_REGISTRY", sAll.c_str(), 1);
    setenv("HOME", sHome.c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
}

// Rights are those of the folders, and an administrator has all: a child that is nobody asks.
TEST_F(RegistryFiles, RightsAreThoseOfTheFolder)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    Set("Value", REG_SZ, string("x\0", 2));
    for (fs::path p = m_Folder; p != fs::temp_directory_path(); p = p.parent_path())
        chmod(p.c_str(), 0755);
    const pid_t child = fork();
    if (child == 0) {
        HKEY hKey = nullptr;
        DWORD cb = 0;
        const bool bAsExpected =
            setresuid(65534, 65534, 65534) == 0 &&
            RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Software\\Test", 0, KEY_READ | KEY_WRITE, &hKey) ==
                ERROR_ACCESS_DENIED &&
            RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Software\\Test", 0, KEY_READ, &hKey) == ERROR_SUCCESS &&
            RegQueryValueExA(hKey, "Value", nullptr, nullptr, nullptr, &cb) == ERROR_SUCCESS && cb == 2 &&
            RegCreateKeyExA(hKey, "New", 0, nullptr, 0, KEY_READ, nullptr, &hKey, nullptr) ==
                ERROR_ACCESS_DENIED &&
            RegDeleteTreeA(HKEY_LOCAL_MACHINE, "Software\\Test") == ERROR_ACCESS_DENIED;
        _exit(bAsExpected ? 0 : 1);
    }
    int iStatus = -1;
    waitpid(child, &iStatus, 0);
    EXPECT_EQ(0, iStatus);
}

}  // namespace
