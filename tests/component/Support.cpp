#include "tests/component/Support.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace {

template <class Function> void Bind(HMODULE hModule, const char* name, Function* pFunction)
{
    const FARPROC p = GetProcAddress(hModule, name);
    if (p == nullptr)
        std::abort();
    *pFunction = reinterpret_cast<Function>(reinterpret_cast<void (*)()>(p));
}

// Every test gives back all it took.
class NothingLeft : public testing::EmptyTestEventListener
{
    void OnTestEnd(const testing::TestInfo&) override { EXPECT_EQ(Module().CanUnloadNow(), S_OK); }
};

class Session : public testing::Environment
{
    void SetUp() override
    {
        ASSERT_EQ(CoInitialize(nullptr), S_OK);
        ASSERT_EQ(Module().RegisterServer(), S_OK);
    }
    void TearDown() override
    {
        EXPECT_EQ(Module().UnregisterServer(), S_OK);
        CoUninitialize();
    }
};

std::string Text(const VARIANT& v)
{
    if (v.vt != VT_DISPATCH)
        return v.vt == VT_BSTR ? "8:" + ToText(v.bstrVal) : Told(v);
    Ref<IArguments> pArguments;
    if (SUCCEEDED(v.pdispVal->QueryInterface(IID_IArguments, pArguments.Any())))
        return "(" + Content(pArguments.Get()) + ")";
    Ref<IArg> pArg;
    int nType = -1;
    if (FAILED(v.pdispVal->QueryInterface(IID_IArg, pArg.Any())) || FAILED(pArg->GetType(&nType)))
        return "stranger";
    return "arg " + std::to_string(nType);
}

std::string Text(Arg& rArg)
{
    switch (rArg.GetType()) {
    case ARG_INT: return "22:" + std::to_string(rArg.GetValueInt());
    case ARG_UINT: return "23:" + std::to_string(rArg.GetValueUInt());
    case ARG_USHORT: return "18:" + std::to_string(rArg.GetValueUShort());
    case ARG_SHORT: return "2:" + std::to_string(rArg.GetValueShort());
    case ARG_BOOL: return rArg.GetValueBool() ? "11:-1" : "11:0";
    case ARG_STRING: return "8:" + rArg.GetValueString();
    case ARG_ARGARRAY: {
        const ArgumentsHolder pNested(rArg.GetValueArray());
        return "(" + Content(*pNested) + ")";
    }
    default: return "arg " + std::to_string(rArg.GetType());
    }
}

void SetLogging(const char* name, DWORD dwType, const void* pData, DWORD cb)
{
    HKEY hKey = nullptr;
    if (RegCreateKeyExA(HKEY_LOCAL_MACHINE, "Software\\Zelko Systems\\Orvex\\Logging", 0, nullptr, 0,
                        KEY_WRITE, nullptr, &hKey, nullptr) != ERROR_SUCCESS ||
        RegSetValueExA(hKey, name, 0, dwType, static_cast<const BYTE*>(pData), cb) != ERROR_SUCCESS)
        std::abort();
    RegCloseKey(hKey);
}

}  // namespace

TestModule& Module()
{
    static TestModule s_module;
    return s_module;
}

void SetLogging(const char* name, const char* text)
{
    SetLogging(name, REG_SZ, text, static_cast<DWORD>(std::strlen(text) + 1));
}

void SetLogging(const char* name, DWORD dw) { SetLogging(name, REG_DWORD, &dw, sizeof dw); }

int RunWithModule(int argc, char** argv, void (*prepare)())
{
    testing::InitGoogleTest(&argc, argv);
    TestModule& m = Module();
    m.sRegistry = TakeRegistry();
    prepare();

    m.sPath = ORVEX_TEST_MODULE;
    const HMODULE hModule = LoadLibraryA(m.sPath.c_str());
    if (hModule == nullptr)
        std::abort();
    Bind(hModule, "DllGetClassObject", &m.GetClassObject);
    Bind(hModule, "DllCanUnloadNow", &m.CanUnloadNow);
    Bind(hModule, "DllRegisterServer", &m.RegisterServer);
    Bind(hModule, "DllUnregisterServer", &m.UnregisterServer);

    testing::AddGlobalTestEnvironment(new Session);
    testing::UnitTest::GetInstance()->listeners().Append(new NothingLeft);
    const int iResult = RUN_ALL_TESTS();
    if (!m.sRegistry.empty())
        std::filesystem::remove_all(m.sRegistry);
    return iResult;
}

Ref<IArguments> NewArguments()
{
    Ref<IArguments> p;
    EXPECT_EQ(CoCreateInstance(CLSID_Arguments, nullptr, CLSCTX_ALL, IID_IArguments, p.Any()), S_OK);
    return p;
}

Ref<IArg> NewArg()
{
    Ref<IArg> p;
    EXPECT_EQ(CoCreateInstance(CLSID_Arg, nullptr, CLSCTX_ALL, IID_IArg, p.Any()), S_OK);
    return p;
}

Variant Number(int i) { return Variant::Of(VT_I4, i); }
Variant Short(int i) { return Variant::Of(VT_I2, i); }
Variant Bool(int i) { return Variant::Of(VT_BOOL, i); }

std::string GuidText(REFGUID guid)
{
    OLECHAR sz[40];
    return Narrow(sz, static_cast<UINT>(StringFromGUID2(guid, sz, 40) - 1));
}

std::string ToText(BSTR bstr)
{
    if (bstr == nullptr)
        return "(null)";
    const int n = WideCharToMultiByte(CP_UTF8, 0, bstr, static_cast<int>(SysStringLen(bstr)), nullptr, 0,
                                      nullptr, nullptr);
    std::string s(static_cast<std::size_t>(n), '\0');
    WideCharToMultiByte(CP_UTF8, 0, bstr, static_cast<int>(SysStringLen(bstr)), s.data(), n, nullptr,
                        nullptr);
    return s;
}

bool Add(IArguments* p, const OLECHAR* key, VARIANT value)
{
    Variant k = Variant::Text(key);
    VARIANT_BOOL b = 7;
    EXPECT_EQ(p->AddItem(&k, &value, &b), S_OK);
    EXPECT_TRUE(b == VARIANT_TRUE || b == VARIANT_FALSE);
    return b == VARIANT_TRUE;
}

int IntOf(IArguments* p, const OLECHAR* key, int iMissing)
{
    Variant k = Variant::Text(key);
    EXPECT_EQ(p->GetValueInt(&k, &iMissing), S_OK);
    return iMissing;
}

int Count(IArguments* p)
{
    int n = -1;
    EXPECT_EQ(p->NumElements(&n), S_OK);
    return n;
}

std::string Content(IArguments* p)
{
    std::string s;
    for (int i = 1; i <= Count(p); ++i) {
        String key;
        Variant value;
        EXPECT_EQ(p->GetElementKey(i, &key), S_OK);
        EXPECT_EQ(p->GetElement(i, &value), S_OK);
        s += ToText(key) + "=" + Text(value) + ";";
    }
    return s;
}

std::string Content(Arguments& rArgs)
{
    std::string s;
    for (int i = 1; i <= rArgs.NumElements(); ++i) {
        const ArgHolder pArg(rArgs.GetElement(i));
        s += rArgs.GetElementKey(i) + "=" + Text(*pArg) + ";";
    }
    return s;
}
