#include "tests/oleauto/Probe.h"
#include "tests/oleauto/Support.h"

#include <thread>
#include <vector>

namespace {

const CLSID CLSID_Nobody = {0x5B1C36A0, 0x3B2F, 0x4D5E, {0x9A, 0x70, 0x6E, 0x1C, 0x0C, 0x9D, 0x1E, 0x7F}};
constexpr char PROBE_CLASS[] = "CLSID\\{5B1C36A0-3B2F-4D5E-9A70-6E1C0C9D1E02}";
constexpr char NOBODY_CLASS[] = "CLSID\\{5B1C36A0-3B2F-4D5E-9A70-6E1C0C9D1E7F}";
constexpr char PROBE_LIBRARY[] = "TypeLib\\{5B1C36A0-3B2F-4D5E-9A70-6E1C0C9D1E01}";
constexpr char PROBE_INTERFACE[] = "Interface\\{5B1C36A0-3B2F-4D5E-9A70-6E1C0C9D1E03}";

Wide ToWide(const std::string& s) { return Wide(s.begin(), s.end()); }

void WriteText(const std::string& sKey, const std::string& sText, const char* valueName = nullptr)
{
    HKEY hKey;
    ASSERT_EQ(RegCreateKeyExA(HKEY_CLASSES_ROOT, sKey.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE,
                              nullptr, &hKey, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExA(hKey, valueName, 0, REG_SZ, reinterpret_cast<const BYTE*>(sText.c_str()),
                             static_cast<DWORD>(sText.size() + 1)),
              ERROR_SUCCESS);
    RegCloseKey(hKey);
}

std::string ReadText(const std::string& sKey, const char* valueName = nullptr)
{
    HKEY hKey;
    if (RegOpenKeyExA(HKEY_CLASSES_ROOT, sKey.c_str(), 0, KEY_READ, &hKey) != ERROR_SUCCESS)
        return "(no key)";
    char text[1024] = "";
    DWORD cb = sizeof text;
    const LONG l = RegQueryValueExA(hKey, valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &cb);
    RegCloseKey(hKey);
    return l == ERROR_SUCCESS ? text : "(no value)";
}

// With the class of the module for tests registered, and this thread initialised.
class ComRuntime : public testing::Test
{
protected:
    void SetUp() override
    {
        WriteText(std::string(PROBE_CLASS), "Probe Class");
        WriteText(std::string(PROBE_CLASS) + "\\InprocServer32", ORVEX_PROBE_MODULE);
        WriteText(std::string(PROBE_CLASS) + "\\InprocServer32", "Both", "ThreadingModel");
        WriteText(std::string(PROBE_CLASS) + "\\ProgID", "OrvexTests.Probe.1");
        WriteText("OrvexTests.Probe.1\\CLSID", "{5b1c36a0-3b2f-4d5e-9a70-6e1c0c9d1e02}");
        ASSERT_EQ(CoInitialize(nullptr), S_OK);
    }
    void TearDown() override
    {
        CoFreeUnusedLibraries();
        CoUninitialize();
        RegDeleteTreeA(HKEY_CLASSES_ROOT, PROBE_CLASS);
        RegDeleteTreeA(HKEY_CLASSES_ROOT, NOBODY_CLASS);
        RegDeleteTreeA(HKEY_CLASSES_ROOT, "OrvexTests.Probe.1");
    }

    static IProbe* Create()
    {
        void* p = nullptr;
        EXPECT_EQ(CoCreateInstance(CLSID_Probe, nullptr, CLSCTX_ALL, IID_IProbe, &p), S_OK);
        return static_cast<IProbe*>(p);
    }
    static HRESULT ResultOf(REFCLSID rclsid, DWORD dwContext = CLSCTX_ALL, REFIID riid = IID_IUnknown,
                            IUnknown* pOuter = nullptr)
    {
        void* p = &p;
        const HRESULT hr = CoCreateInstance(rclsid, pOuter, dwContext, riid, &p);
        EXPECT_EQ(p, nullptr);
        return hr;
    }
};

TEST_F(ComRuntime, ObjectIsMadeByTheModuleThatIsRegistered)
{
    IProbe* p = Create();
    ASSERT_NE(p, nullptr);
    INT n = 0;
    EXPECT_EQ(p->Negate(7, &n), S_OK);
    EXPECT_EQ(n, -7);
    EXPECT_EQ(p->Release(), 0u);
}

TEST_F(ComRuntime, ClassObjectMakesObjects)
{
    void* p = nullptr;
    ASSERT_EQ(CoGetClassObject(CLSID_Probe, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory, &p), S_OK);
    IClassFactory* pFactory = static_cast<IClassFactory*>(p);
    ASSERT_EQ(pFactory->CreateInstance(nullptr, IID_IUnknown, &p), S_OK);
    EXPECT_EQ(static_cast<IUnknown*>(p)->Release(), 0u);
    pFactory->Release();
}

TEST_F(ComRuntime, CreationsThatFail)
{
    Probe outer;
    EXPECT_EQ(ResultOf(CLSID_Nobody), REGDB_E_CLASSNOTREG);
    EXPECT_TRUE(FAILED(ResultOf(CLSID_Probe, CLSCTX_LOCAL_SERVER)));  // in words that differ by system
    EXPECT_EQ(ResultOf(CLSID_Probe, CLSCTX_ALL, IID_ISupportErrorInfo), E_NOINTERFACE);
    EXPECT_EQ(ResultOf(CLSID_Probe, CLSCTX_ALL, IID_IUnknown, &outer), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(CoCreateInstance(CLSID_Probe, nullptr, CLSCTX_ALL, IID_IUnknown, nullptr), E_POINTER);

    const std::string sServer = std::string(NOBODY_CLASS) + "\\InprocServer32";
    WriteText(sServer, ORVEX_PROBE_MODULE);
    EXPECT_EQ(ResultOf(CLSID_Nobody, CLSCTX_INPROC_SERVER), CLASS_E_CLASSNOTAVAILABLE);
}

TEST_F(ComRuntime, ThreadIsToBeInitialised)
{
    CoUninitialize();
    EXPECT_EQ(ResultOf(CLSID_Probe), CO_E_NOTINITIALIZED);
    EXPECT_EQ(CoInitialize(nullptr), S_OK);
    EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
    CoUninitialize();
    Create()->Release();
}

TEST_F(ComRuntime, OneMultithreadedThreadInitialisesAllOthers)
{
    CoUninitialize();
    const HANDLE hReady = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const HANDLE hDone = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::thread other([&] {
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        SetEvent(hReady);
        WaitForSingleObject(hDone, INFINITE);
        CoUninitialize();
    });
    WaitForSingleObject(hReady, INFINITE);
    Create()->Release();
    SetEvent(hDone);
    other.join();
    CloseHandle(hReady);
    CloseHandle(hDone);
    EXPECT_EQ(ResultOf(CLSID_Probe), CO_E_NOTINITIALIZED);
    EXPECT_EQ(CoInitialize(nullptr), S_OK);
}

TEST_F(ComRuntime, ModuleStaysWhileAnObjectLives)
{
    IProbe* p = Create();
    CoFreeUnusedLibraries();
    INT n = 0;
    EXPECT_EQ(p->Negate(7, &n), S_OK);
    p->Release();
}

// Threads that make objects, and unloading in between.
TEST_F(ComRuntime, UnloadingNeverTakesAModuleFromUnderACall)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            EXPECT_EQ(CoInitialize(nullptr), S_OK);
            for (int k = 0; k < 100; ++k) {
                void* p = nullptr;
                EXPECT_EQ(CoGetClassObject(CLSID_Probe, CLSCTX_ALL, nullptr, IID_IUnknown, &p), S_OK);
                if (k % 10 == i)
                    CoFreeUnusedLibraries();
            }
            CoUninitialize();
        });
    for (std::thread& rThread : threads)
        rThread.join();
}

TEST_F(ComRuntime, NamesOfClasses)
{
    CLSID clsid = {};
    EXPECT_EQ(CLSIDFromProgID(OLESTR("OrvexTests.Probe.1"), &clsid), S_OK);
    EXPECT_TRUE(IsEqualCLSID(clsid, CLSID_Probe));
    clsid = CLSID_Probe;
    EXPECT_EQ(CLSIDFromProgID(OLESTR("OrvexTests.Nobody"), &clsid), CO_E_CLASSSTRING);
    EXPECT_TRUE(IsEqualCLSID(clsid, CLSID_NULL));
    LPOLESTR psz = nullptr;
    ASSERT_EQ(ProgIDFromCLSID(CLSID_Probe, &psz), S_OK);
    EXPECT_TRUE(Wide(psz) == OLESTR("OrvexTests.Probe.1"));
    CoTaskMemFree(psz);
    EXPECT_EQ(ProgIDFromCLSID(CLSID_Nobody, &psz), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(psz, nullptr);
}

// As the vendor's manual has it; not every system that runs Windows programs keeps to these.
using ComRuntimeManual = ComRuntime;

TEST_F(ComRuntimeManual, ModuleThatIsNotThere)
{
    WriteText(std::string(NOBODY_CLASS) + "\\InprocServer32", std::string(ORVEX_PROBE_MODULE) + ".gone");
    EXPECT_EQ(ResultOf(CLSID_Nobody, CLSCTX_INPROC_SERVER), HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND));
}

TEST_F(ComRuntimeManual, ModuleWithoutTheExport)
{
    WriteText(std::string(NOBODY_CLASS) + "\\InprocServer32", ORVEX_OTHER_MODULE);
    EXPECT_EQ(ResultOf(CLSID_Nobody, CLSCTX_INPROC_SERVER), CO_E_ERRORINDLL);
}

TEST(Identifiers, TextAndBack)
{
    const OLECHAR* text = OLESTR("{E06D9954-E730-11D4-9D3C-0010B5522A44}");
    const GUID expected = {0xE06D9954, 0xE730, 0x11D4, {0x9D, 0x3C, 0x00, 0x10, 0xB5, 0x52, 0x2A, 0x44}};
    GUID guid = {};
    EXPECT_EQ(CLSIDFromString(text, &guid), S_OK);
    EXPECT_TRUE(IsEqualGUID(guid, expected));
    EXPECT_EQ(CLSIDFromString(OLESTR("{e06d9954-e730-11d4-9d3c-0010b5522a44}"), &guid), S_OK);
    EXPECT_TRUE(IsEqualGUID(guid, expected));
    OLECHAR buffer[39];
    EXPECT_EQ(StringFromGUID2(expected, buffer, 39), 39);
    EXPECT_TRUE(Wide(buffer) == text);
    EXPECT_EQ(StringFromGUID2(expected, buffer, 38), 0);
    LPOLESTR psz = nullptr;
    ASSERT_EQ(StringFromCLSID(expected, &psz), S_OK);
    EXPECT_TRUE(Wide(psz) == text);
    CoTaskMemFree(psz);
    for (const OLECHAR* bad :
         {OLESTR(""), OLESTR("E06D9954-E730-11D4-9D3C-0010B5522A44"),
          OLESTR("{E06D9954-E730-11D4-9D3C-0010B5522A4}"), OLESTR("{E06D9954-E730-11D4-9D3C"),
          OLESTR("{G06D9954-E730-11D4-9D3C-0010B5522A44}"),
          OLESTR("{E06D9954-E730-11D4-9D3C-0010B5522A44}x")})
        EXPECT_EQ(CLSIDFromString(bad, &guid), CO_E_CLASSSTRING) << Narrow(bad, 39);
}

TEST(Modules, LoadedFoundAndFreed)
{
    const HMODULE hModule = LoadLibraryA(ORVEX_PROBE_MODULE);
    ASSERT_NE(hModule, nullptr);
    const auto instance = reinterpret_cast<HINSTANCE(STDAPICALLTYPE*)()>(
        reinterpret_cast<void*>(GetProcAddress(hModule, "ProbeInstance")));
    const auto calls = [&] {
        return reinterpret_cast<int(STDAPICALLTYPE*)()>(
            reinterpret_cast<void*>(GetProcAddress(hModule, "ProbeCalls")))();
    };
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(instance(), hModule);
    EXPECT_EQ(calls(), 1);
    EXPECT_EQ(LoadLibraryA(ORVEX_PROBE_MODULE), hModule);
    EXPECT_TRUE(FreeLibrary(hModule));
    EXPECT_EQ(calls(), 2);  // still loaded
    char path[4096];
    const DWORD dw = GetModuleFileNameA(hModule, path, sizeof path);
    ASSERT_LT(dw, sizeof path);
    EXPECT_EQ(LoadLibraryA(path), hModule);
    EXPECT_TRUE(FreeLibrary(hModule));
    SetLastError(0);
    EXPECT_EQ(GetProcAddress(hModule, "NoSuchExport"), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PROC_NOT_FOUND});
    EXPECT_TRUE(FreeLibrary(hModule));

    const HMODULE hAgain = LoadLibraryA(ORVEX_PROBE_MODULE);
    ASSERT_NE(hAgain, nullptr);
    EXPECT_EQ(reinterpret_cast<int(STDAPICALLTYPE*)()>(
                  reinterpret_cast<void*>(GetProcAddress(hAgain, "ProbeCalls")))(),
              1);  // it was unloaded
    EXPECT_TRUE(FreeLibrary(hAgain));
    SetLastError(0);
    EXPECT_EQ(LoadLibraryA("no-such-module.dll"), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
}

TEST(Modules, ResourceByTypeAndNumber)
{
    const HMODULE hModule = LoadLibraryA(ORVEX_PROBE_MODULE);
    ASSERT_NE(hModule, nullptr);
    const HRSRC hResource = FindResourceA(hModule, MAKEINTRESOURCEA(102), "REGISTRY");
    ASSERT_NE(hResource, nullptr);
    const HGLOBAL hData = LoadResource(hModule, hResource);
    EXPECT_EQ(std::string(static_cast<const char*>(LockResource(hData)), SizeofResource(hModule, hResource)),
              "a resource of the module for tests\n");
    EXPECT_EQ(FindResourceA(hModule, MAKEINTRESOURCEA(103), "REGISTRY"), nullptr);
    EXPECT_TRUE(FreeLibrary(hModule));
}

TEST(TypeLibRegistry, RegisteredFoundAndGoneAgain)
{
    Wide path = ToWide(ORVEX_PROBE_MODULE);
    ITypeLib* pLibrary = nullptr;
    EXPECT_EQ(LoadRegTypeLib(LIBID_Probe, 2, 3, 0x409, &pLibrary), TYPE_E_LIBNOTREGISTERED);
    ASSERT_EQ(LoadTypeLib(path.c_str(), &pLibrary), S_OK);  // from the module's resource
    TLIBATTR* pAttr = nullptr;
    ASSERT_EQ(pLibrary->GetLibAttr(&pAttr), S_OK);
    const SYSKIND system = pAttr->syskind;
    pLibrary->ReleaseTLibAttr(pAttr);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(RegisterTypeLib(pLibrary, &path[0], nullptr), S_OK);
    EXPECT_EQ(pLibrary->Release(), 0u);

    EXPECT_EQ(ReadText(std::string(PROBE_LIBRARY) + "\\2.3"), "A library for tests");
    EXPECT_EQ(ReadText(std::string(PROBE_LIBRARY) + "\\2.3\\409\\win" + std::to_string(8 * sizeof(void*))),
              ORVEX_PROBE_MODULE);
    EXPECT_EQ(ReadText(PROBE_INTERFACE), "IProbe");
    EXPECT_EQ(ReadText(std::string(PROBE_INTERFACE) + "\\TypeLib"), "{5B1C36A0-3B2F-4D5E-9A70-6E1C0C9D1E01}");
    EXPECT_EQ(ReadText(std::string(PROBE_INTERFACE) + "\\TypeLib", "Version"), "2.3");

    const struct
    {
        WORD wMajor;
        WORD wMinor;
        HRESULT hr;
    } rows[] = {{2, 3, S_OK}, {2, 1, S_OK}, {2, 4, TYPE_E_LIBNOTREGISTERED}, {1, 3, TYPE_E_LIBNOTREGISTERED}};
    for (const auto& row : rows) {
        EXPECT_EQ(LoadRegTypeLib(LIBID_Probe, row.wMajor, row.wMinor, 0x409, &pLibrary), row.hr)
            << row.wMajor << '.' << row.wMinor;
        if (row.hr == S_OK)
            pLibrary->Release();
    }
    EXPECT_EQ(UnRegisterTypeLib(LIBID_Probe, 2, 3, 0x409, system), S_OK);
    EXPECT_EQ(ReadText(PROBE_LIBRARY), "(no key)");
    EXPECT_EQ(ReadText(PROBE_INTERFACE), "(no key)");
    EXPECT_TRUE(FAILED(UnRegisterTypeLib(LIBID_Probe, 2, 3, 0x409, system)));
}

}  // namespace
