#include "tests/platform/Child.h"

#include <cstdlib>
#include <cstring>

namespace {

const char DOOR[] = "orvexplatformtests door";
const char HELD[] = "orvexplatformtests held by a child";

int Exit(const ChildArguments& arguments) { return atoi(arguments.at(0).c_str()); }
const ChildProgram s_Exit("exit", Exit);

int PassDoor(const ChildArguments&) { return Door::Pass(DOOR) ? 7 : 1; }
const ChildProgram s_PassDoor("door", PassDoor);

// Its arguments, each in angle brackets, against what it was told to expect in a value.
int Compare(const ChildArguments& arguments)
{
    std::string s;
    for (const std::string& sArgument : arguments)
        s += "<" + sArgument + ">";
    HKEY hKey = nullptr;
    char expected[256] = "";
    DWORD cb = sizeof expected;
    RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\orvexplatformtests", 0, KEY_READ, &hKey);
    RegQueryValueExA(hKey, "Expected", nullptr, nullptr, reinterpret_cast<BYTE*>(expected), &cb);
    return s == expected ? 0 : 1;
}
const ChildProgram s_Compare("compare", Compare);

// Takes the mutex and waits until it is killed, or ends with the mutex held.
int Hold(const ChildArguments& arguments)
{
    const HANDLE hMutex = CreateMutexA(nullptr, TRUE, HELD);
    if (WaitForSingleObject(hMutex, LONG_ENOUGH) != WAIT_OBJECT_0)
        return 1;
    if (arguments.at(0) == "forever")
        Sleep(INFINITE);
    return 0;
}
const ChildProgram s_Hold("hold", Hold);

TEST(Processes, ComeToAnExitCode)
{
    Door door(DOOR);
    Child waiting("door");
    DWORD dwCode = 0;
    EXPECT_EQ(TIMED_OUT, WaitForSingleObject(waiting.Get(), A_WHILE));
    EXPECT_TRUE(GetExitCodeProcess(waiting.Get(), &dwCode));
    EXPECT_EQ(DWORD(STILL_ACTIVE), dwCode);
    door.Open();
    EXPECT_EQ(7u, waiting.Wait());
    for (const DWORD dw : {DWORD(0), DWORD(1), DWORD(255)})
        EXPECT_EQ(dw, Child("exit", std::to_string(dw)).Wait());
}

TEST(Processes, GetTheirArgumentsByTheRulesOfTheLanguageRuntime)
{
    const struct
    {
        const char* commandLine;
        const char* expected;
    } rows[] = {
        {"", ""},
        {"a b\tc ", "<a><b><c>"},
        {R"("HKLM\Software\Zelko Systems\Orvex")", R"(<HKLM\Software\Zelko Systems\Orvex>)"},
        {R"(Client.user1 "HKLM\A B")", R"(<Client.user1><HKLM\A B>)"},
        {R"("" a"b c"d)", R"(<><ab cd>)"},
        {R"(\\server\share a\b\ c)", R"(<\\server\share><a\b\><c>)"},
        {R"("a\\" b)", R"(<a\><b>)"},
        {R"("a\" b)", R"(<a" b>)"},
        {R"(a\"b \\\"c \\"d e")", R"(<a"b><\"c><\d e>)"},
        {R"("a ""b"" c")", R"(<a "b" c>)"},
    };
    HKEY hKey = nullptr;
    RegCreateKeyExA(HKEY_CURRENT_USER, "Software\\orvexplatformtests", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                    &hKey, nullptr);
    for (const auto& row : rows) {
        RegSetValueExA(hKey, "Expected", 0, REG_SZ, reinterpret_cast<const BYTE*>(row.expected),
                       static_cast<DWORD>(strlen(row.expected) + 1));
        EXPECT_EQ(0u, Child("compare", row.commandLine).Wait()) << row.commandLine;
    }
    RegCloseKey(hKey);
    RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\orvexplatformtests");
}

TEST(Processes, AreEndedWithTheCodeGiven)
{
    Door door(DOOR);
    Child child("door");
    {
        const Handle toWait(OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION, FALSE, child.Id()));
        EXPECT_FALSE(TerminateProcess(toWait, 1));
        EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), GetLastError());
        EXPECT_EQ(TIMED_OUT, WaitForSingleObject(toWait, A_WHILE));
        child.Kill(0x5555);
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(toWait, LONG_ENOUGH));
        DWORD dwCode = 0;
        EXPECT_TRUE(GetExitCodeProcess(toWait, &dwCode));
        EXPECT_EQ(0x5555u, dwCode);
    }
    EXPECT_EQ(0x5555u, child.Wait());
}

TEST(Processes, AreOpenedByTheirId)
{
    const Handle self(OpenProcess(SYNCHRONIZE, FALSE, GetCurrentProcessId()));
    EXPECT_EQ(TIMED_OUT, WaitForSingleObject(self, 0));
    EXPECT_EQ(nullptr, OpenProcess(SYNCHRONIZE, FALSE, 0));
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), GetLastError());
    EXPECT_FALSE(TerminateProcess(ManualEvent(), 0));
    EXPECT_EQ(DWORD(ERROR_INVALID_HANDLE), GetLastError());
}

TEST(Processes, OfNoProgramAreNotCreated)
{
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION information;
    const std::string sNoFile = Executable() + ".missing";
    std::string sCommandLine = sNoFile;
    EXPECT_FALSE(CreateProcessA(sNoFile.c_str(), &sCommandLine[0], nullptr, nullptr, FALSE, 0, nullptr,
                                nullptr, &startup, &information));
    EXPECT_EQ(DWORD(ERROR_FILE_NOT_FOUND), GetLastError());
}

TEST(Processes, LeaveTheirMutexAbandonedHoweverTheyEnd)
{
    for (const char* how : {"killed", "ended"}) {
        const Handle mutex(CreateMutexA(nullptr, FALSE, HELD));
        Child child("hold", how[0] == 'k' ? "forever" : "shortly");
        if (how[0] == 'k') {
            ASSERT_TRUE(Eventually([&] {
                const bool bHeld = WaitForSingleObject(mutex, 0) == WAIT_TIMEOUT;
                return bHeld || !ReleaseMutex(mutex);
            }));
            child.Kill();
        }
        child.Wait();
        EXPECT_EQ(WAIT_ABANDONED, WaitForSingleObject(mutex, LONG_ENOUGH)) << how;
        ReleaseMutex(mutex);
    }
    EXPECT_EQ(nullptr, OpenMutexA(SYNCHRONIZE, FALSE, HELD));
}

// Adds one to a value so often, each time under the mutex.
int Add(const ChildArguments& arguments)
{
    HKEY hKey = nullptr;
    RegCreateKeyExA(HKEY_CURRENT_USER, "Software\\orvexplatformtests", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                    &hKey, nullptr);
    for (int i = 0, n = std::stoi(arguments.at(0)); i < n; ++i) {
        const Handle mutex(CreateMutexA(nullptr, FALSE, HELD));
        if (WaitForSingleObject(mutex, LONG_ENOUGH) != WAIT_OBJECT_0)
            return 1;
        DWORD dw = 0;
        DWORD cb = sizeof dw;
        RegQueryValueExA(hKey, "Sum", nullptr, nullptr, reinterpret_cast<BYTE*>(&dw), &cb);
        ++dw;
        RegSetValueExA(hKey, "Sum", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&dw), sizeof dw);
        ReleaseMutex(mutex);
    }
    RegCloseKey(hKey);
    return 0;
}
const ChildProgram s_Add("add", Add);

TEST(Processes, AreKeptApartByAMutex)
{
    {
        Child a("add", "100"), b("add", "100"), c("add", "100");
        EXPECT_EQ(0u, a.Wait() + b.Wait() + c.Wait());
    }
    HKEY hKey = nullptr;
    DWORD dw = 0;
    DWORD cb = sizeof dw;
    EXPECT_EQ(ERROR_SUCCESS,
              RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\orvexplatformtests", 0, KEY_READ, &hKey));
    EXPECT_EQ(ERROR_SUCCESS,
              RegQueryValueExA(hKey, "Sum", nullptr, nullptr, reinterpret_cast<BYTE*>(&dw), &cb));
    EXPECT_EQ(300u, dw);
    RegCloseKey(hKey);
    RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\orvexplatformtests");
}

TEST(Processes, AKilledOnesMutexIsNewToTheNext)
{
    {
        Child child("hold", "forever");
        ASSERT_TRUE(Eventually([] { return Handle(OpenMutexA(SYNCHRONIZE, FALSE, HELD)) != nullptr; }));
        child.Kill();
        child.Wait();
    }
    EXPECT_EQ(nullptr, OpenMutexA(SYNCHRONIZE, FALSE, HELD));
    EXPECT_EQ(DWORD(ERROR_FILE_NOT_FOUND), GetLastError());
    const Handle mutex(CreateMutexA(nullptr, FALSE, HELD));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), GetLastError());
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(mutex, 0));
    ReleaseMutex(mutex);
}

TEST(Processes, AreWaitedForTogetherWithOtherThings)
{
    Door door(DOOR);
    Child child("door");
    const Handle event = ManualEvent(), mutex(CreateMutexA(nullptr, TRUE, nullptr));
    const HANDLE handles[] = {event, child.Get(), mutex};
    const HANDLE first[] = {event, child.Get()};
    EXPECT_EQ(WAIT_OBJECT_0 + 2, WaitForMultipleObjects(3, handles, FALSE, 0));
    EXPECT_EQ(TIMED_OUT, WaitForMultipleObjects(2, first, FALSE, A_WHILE));
    door.Open();
    EXPECT_EQ(WAIT_OBJECT_0 + 1, WaitForMultipleObjects(2, first, FALSE, LONG_ENOUGH));
    EXPECT_EQ(TIMED_OUT, WaitForMultipleObjects(3, handles, TRUE, 0));
    SetEvent(event);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForMultipleObjects(3, handles, TRUE, 0));
}

TEST(Names, OfTheExecutableFollowTheLastBackslash)
{
    const std::string sPath = Executable();
    const std::string sName = sPath.substr(sPath.rfind('\\') + 1);
    EXPECT_EQ(0u, sName.find("orvexplatformtests")) << sPath;
    char buffer[8];
    EXPECT_EQ(sizeof buffer, GetModuleFileNameA(nullptr, buffer, sizeof buffer));
    EXPECT_EQ(DWORD(ERROR_INSUFFICIENT_BUFFER), GetLastError());
    EXPECT_EQ(sPath.substr(0, 7), std::string(buffer, 7));
}

TEST(Names, OfTheUserComeWithTheirSize)
{
    char name[257];
    DWORD cb = sizeof name;
    ASSERT_TRUE(GetUserNameA(name, &cb));
    EXPECT_EQ(strlen(name) + 1, cb);
    EXPECT_NE('\0', name[0]);
    const DWORD cbNeeded = cb;
    cb = 1;
    EXPECT_FALSE(GetUserNameA(name, &cb));
    EXPECT_EQ(DWORD(ERROR_INSUFFICIENT_BUFFER), GetLastError());
    EXPECT_EQ(cbNeeded, cb);
}

TEST(Modules, ArePinnedByAnAddressInThem)
{
    constexpr DWORD FLAGS = GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS;
    HMODULE hModule = nullptr;
    int iNoModule = 0;
    EXPECT_TRUE(GetModuleHandleExA(FLAGS, reinterpret_cast<const char*>(&CommandLine), &hModule));
    EXPECT_NE(nullptr, hModule);
    EXPECT_FALSE(GetModuleHandleExA(FLAGS, reinterpret_cast<const char*>(&iNoModule), &hModule));
    EXPECT_EQ(DWORD(ERROR_MOD_NOT_FOUND), GetLastError());
    EXPECT_EQ(nullptr, hModule);
}

}  // namespace
