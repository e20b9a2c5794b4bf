// The module from outside: identifiers, entry points, class objects, what registration leaves, and type
// information.
#include "component/Registrar.h"
#include "tests/component/Doubles.h"

#include <cstring>

namespace {

bool IsOfATest(const std::string& sName)
{
    return sName.find("{E06D99") == 0 || sName.find("{00000000-1111") == 0;
}

// A key with everything below it, a line a value; of the many classes of others the names.
std::string Snapshot(HKEY hParent, const std::string& sName, const std::string& sIndent = "")
{
    HKEY hKey = nullptr;
    if (sName[0] == '{' && sIndent.size() == 4 && !IsOfATest(sName))
        return sIndent + "[" + sName + "]\n";
    if (RegOpenKeyExA(hParent, sName.c_str(), 0, KEY_READ, &hKey) != ERROR_SUCCESS)
        return "";
    std::string s = sIndent + "[" + sName + "]\n";
    for (DWORD i = 0;; ++i) {
        char name[256], data[1024];
        DWORD cchName = sizeof name, cbData = sizeof data, dwType = 0;
        if (RegEnumValueA(hKey, i, name, &cchName, nullptr, &dwType, reinterpret_cast<BYTE*>(data),
                          &cbData) != ERROR_SUCCESS)
            break;
        s += sIndent + " " + name + "=" + std::to_string(dwType) + ":" + std::string(data, cbData).c_str() +
             "\n";
    }
    for (DWORD i = 0;; ++i) {
        char name[256];
        DWORD cchName = sizeof name;
        if (RegEnumKeyExA(hKey, i, name, &cchName, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            break;
        s += Snapshot(hKey, name, sIndent + "  ");
    }
    RegCloseKey(hKey);
    return s;
}

std::string Snapshot() { return Snapshot(HKEY_CLASSES_ROOT, ""); }

std::string ValueOf(const std::string& sKey, const char* name)
{
    HKEY hKey = nullptr;
    if (RegOpenKeyExA(HKEY_CLASSES_ROOT, sKey.c_str(), 0, KEY_READ, &hKey) != ERROR_SUCCESS)
        return "no key";
    char data[1024];
    DWORD cb = sizeof data;
    const LONG l = RegQueryValueExA(hKey, name, nullptr, nullptr, reinterpret_cast<BYTE*>(data), &cb);
    RegCloseKey(hKey);
    return l == ERROR_SUCCESS ? std::string(data) : "no value";
}

void SetValueOf(const std::string& sKey, const char* text)
{
    HKEY hKey = nullptr;
    ASSERT_EQ(
        RegCreateKeyExA(HKEY_CLASSES_ROOT, sKey.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &hKey, nullptr),
        ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExA(hKey, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                             static_cast<DWORD>(std::strlen(text) + 1)),
              ERROR_SUCCESS);
    RegCloseKey(hKey);
}

std::string ModulePath()
{
    char path[1024];
    const HMODULE hModule = LoadLibraryA(Module().sPath.c_str());
    const DWORD n = GetModuleFileNameA(hModule, path, sizeof path);
    FreeLibrary(hModule);
    return std::string(path, n);
}

TEST(Module, IdentifiersAreAsKnown)
{
    EXPECT_EQ(GuidText(LIBID_ORVEXARGUMENTSLib), "{E06D9943-E730-11D4-9D3C-0010B5522A44}");
    EXPECT_EQ(GuidText(CLSID_Arg), "{E06D9952-E730-11D4-9D3C-0010B5522A44}");
    EXPECT_EQ(GuidText(IID_IArg), "{E06D9951-E730-11D4-9D3C-0010B5522A44}");
    EXPECT_EQ(GuidText(CLSID_Arguments), "{E06D9955-E730-11D4-9D3C-0010B5522A44}");
    EXPECT_EQ(GuidText(IID_IArguments), "{E06D9954-E730-11D4-9D3C-0010B5522A44}");
}

TEST(Module, AnswersTheInterfacesOfItsClassesAlone)
{
    const IID all[] = {IID_IUnknown, IID_IDispatch,  IID_ISupportErrorInfo,
                       IID_IArg,     IID_IArguments, IID_IClassFactory};
    struct
    {
        const CLSID& clsid;
        const IID& iid;
        const IID& other;
    } const rows[] = {{CLSID_Arg, IID_IArg, IID_IArguments}, {CLSID_Arguments, IID_IArguments, IID_IArg}};
    for (const auto& row : rows)
        for (const IID& iid : all) {
            SCOPED_TRACE(GuidText(row.clsid) + " " + GuidText(iid));
            const bool bHas = iid != row.other && iid != IID_IClassFactory;
            Ref<IUnknown> p, pDispatch;
            EXPECT_EQ(CoCreateInstance(row.clsid, nullptr, CLSCTX_ALL, iid, p.Any()),
                      bHas ? S_OK : E_NOINTERFACE);
            EXPECT_EQ(p.Get() != nullptr, bHas);
            EXPECT_EQ(Module().CanUnloadNow(), bHas ? S_FALSE : S_OK);
            if (!bHas)
                continue;
            EXPECT_EQ(p->QueryInterface(iid, nullptr), E_POINTER);
            // Every interface leads to every other, and IUnknown is one object.
            EXPECT_EQ(p->QueryInterface(IID_IDispatch, pDispatch.Any()), S_OK);
            Ref<IUnknown> pOne, pTwo;
            EXPECT_EQ(p->QueryInterface(IID_IUnknown, pOne.Any()), S_OK);
            EXPECT_EQ(pDispatch->QueryInterface(IID_IUnknown, pTwo.Any()), S_OK);
            EXPECT_EQ(pOne.Get(), pTwo.Get());
            Ref<ISupportErrorInfo> pInfo;
            EXPECT_EQ(p->QueryInterface(IID_ISupportErrorInfo, pInfo.Any()), S_OK);
            EXPECT_EQ(pInfo->InterfaceSupportsErrorInfo(row.iid), S_OK);
            EXPECT_EQ(pInfo->InterfaceSupportsErrorInfo(row.other), S_FALSE);
        }
}

TEST(Module, ClassObjects)
{
    Ref<IUnknown> p;
    EXPECT_EQ(Module().GetClassObject(CLSID_Arg, IID_IClassFactory, nullptr), E_POINTER);
    void* pNone = &p;
    EXPECT_EQ(Module().GetClassObject(IID_IArg, IID_IClassFactory, &pNone), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(pNone, nullptr);
    for (const CLSID& clsid : {CLSID_Arg, CLSID_Arguments}) {
        EXPECT_EQ(Module().GetClassObject(clsid, IID_IDispatch, p.Any()), E_NOINTERFACE);
        EXPECT_EQ(p.Get(), nullptr);
        Ref<IClassFactory> pOne, pTwo;
        EXPECT_EQ(Module().GetClassObject(clsid, IID_IClassFactory, pOne.Any()), S_OK);
        EXPECT_EQ(Module().GetClassObject(clsid, IID_IClassFactory, pTwo.Any()), S_OK);
        EXPECT_EQ(pOne.Get(), pTwo.Get());
        EXPECT_EQ(pOne->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
        EXPECT_EQ(pOne->CreateInstance(nullptr, IID_IUnknown, p.Any()), S_OK);
        p.Reset();
    }
}

TEST(Module, StaysWhileItIsInUse)
{
    EXPECT_EQ(Module().CanUnloadNow(), S_OK);
    Ref<IClassFactory> pFactory;
    EXPECT_EQ(Module().GetClassObject(CLSID_Arg, IID_IClassFactory, pFactory.Any()), S_OK);
    EXPECT_EQ(Module().CanUnloadNow(), S_FALSE);
    EXPECT_EQ(pFactory->LockServer(TRUE), S_OK);
    pFactory.Reset();
    EXPECT_EQ(Module().CanUnloadNow(), S_FALSE);
    EXPECT_EQ(Module().GetClassObject(CLSID_Arg, IID_IClassFactory, pFactory.Any()), S_OK);
    EXPECT_EQ(pFactory->LockServer(FALSE), S_OK);
    pFactory.Reset();
    EXPECT_EQ(Module().CanUnloadNow(), S_OK);
    Ref<IArguments> p = NewArguments();
    EXPECT_EQ(Module().CanUnloadNow(), S_FALSE);
    p.Reset();
    EXPECT_EQ(Module().CanUnloadNow(), S_OK);
}

TEST(Module, RegistrationLeavesTheClassesAndTheLibrary)
{
    struct
    {
        const char* name;
        const char* clsid;
    } const classes[] = {{"ComArg", "{E06D9952-E730-11D4-9D3C-0010B5522A44}"},
                         {"ComArguments", "{E06D9955-E730-11D4-9D3C-0010B5522A44}"}};
    for (const auto& row : classes) {
        const std::string sName = std::string(row.name) + " Class",
                          sProgId = std::string("OrVexComArguments.") + row.name;
        const std::string sClass = std::string("CLSID\\") + row.clsid;
        EXPECT_EQ(Snapshot(HKEY_CLASSES_ROOT, sProgId),
                  "[" + sProgId + "]\n =1:" + sName + "\n  [CLSID]\n   =1:" + row.clsid + "\n");
        EXPECT_EQ(Snapshot(HKEY_CLASSES_ROOT, sProgId + ".1"),
                  "[" + sProgId + ".1]\n =1:" + sName + "\n  [CLSID]\n   =1:" + row.clsid + "\n");
        EXPECT_EQ(Snapshot(HKEY_CLASSES_ROOT, sClass),
                  "[" + sClass + "]\n =1:" + sName + "\n  [InprocServer32]\n   =1:" + ModulePath() +
                      "\n   ThreadingModel=1:Both\n  [ProgID]\n   =1:" + sProgId +
                      ".1\n  [VersionIndependentProgID]\n   =1:" + sProgId + "\n");
    }
    EXPECT_EQ(ValueOf("TypeLib\\{E06D9943-E730-11D4-9D3C-0010B5522A44}\\7.0", nullptr),
              " Zelko COM ORVEX Arguments Library");
}

TEST(Module, RegisteringTwiceIsRegisteringOnce)
{
    const std::string sOnce = Snapshot();
    SetValueOf("CLSID\\{E06D9952-E730-11D4-9D3C-0010B5522A44}\\Stale", "from an older version");
    EXPECT_EQ(Module().RegisterServer(), S_OK);
    EXPECT_EQ(Snapshot(), sOnce);
}

TEST(Module, UnregisteringLeavesWhatWasThereBefore)
{
    EXPECT_EQ(Module().UnregisterServer(), S_OK);
    SetValueOf("CLSID\\{00000000-1111-2222-3333-444444444444}", "Somebody else's class");
    SetValueOf("OrVexComArguments.Other", "Somebody else's name");
    SetValueOf("TypeLib\\{00000000-1111-2222-3333-444444444444}", "Somebody else's library");
    SetValueOf("Interface\\{00000000-1111-2222-3333-444444444444}", "Somebody else's interface");
    const std::string sBefore = Snapshot();
    EXPECT_EQ(Module().RegisterServer(), S_OK);
    EXPECT_NE(Snapshot(), sBefore);
    EXPECT_EQ(Module().UnregisterServer(), S_OK);
    EXPECT_EQ(Snapshot(), sBefore);
    EXPECT_EQ(Module().RegisterServer(), S_OK);
}

TEST(Module, ScriptsAreReadWholeBeforeAnythingIsDone)
{
    Registrar registrar("the path");
    const std::string sBefore = Snapshot();
    for (const char* script : {
             "",
             "HKLM { A }",
             "HKCR = s 'x' { A }",
             "HKCR { A",
             "HKCR { A } }",
             "HKCR { A = s }",
             "HKCR { A = d '1' }",
             "HKCR { A = s 'unclosed }",
             "HKCR { A { val } }",
             "HKCR { A { val B } }",
             "HKCR { 'A' }",
             "HKCR { NoRemove }",
             "HKCR { = s 'x' }",
         }) {
        EXPECT_EQ(registrar.Register(script), E_FAIL) << script;
        EXPECT_EQ(registrar.Unregister(script), E_FAIL) << script;
    }
    EXPECT_EQ(Snapshot(), sBefore);
    std::string sDeep = "HKCR ";
    for (int i = 0; i < 100000; ++i)
        sDeep += "{ A ";
    EXPECT_EQ(registrar.Register(sDeep), E_FAIL);
}

TEST(Module, ScriptsRunTheirKeywords)
{
    Registrar registrar("C:\\It's here\\%MODULE%.dll");
    const std::string sScript =
        "HKCR { NoRemove OrvexKept { ForceRemove Fresh = s 'it''s %MODULE%' { val V = s '' } } OrvexGone { Sub } }";
    SetValueOf("OrvexKept\\Fresh\\Stale", "x");
    SetValueOf("OrvexGone\\Added", "x");
    EXPECT_EQ(registrar.Register(sScript), S_OK);
    EXPECT_EQ(Snapshot(HKEY_CLASSES_ROOT, "OrvexKept"),
              "[OrvexKept]\n  [Fresh]\n   =1:it's C:\\It's here\\%MODULE%.dll\n   V=1:\n");
    EXPECT_EQ(registrar.Unregister(sScript), S_OK);
    EXPECT_EQ(Snapshot(HKEY_CLASSES_ROOT, "OrvexKept"), "[OrvexKept]\n");
    EXPECT_EQ(Snapshot(HKEY_CLASSES_ROOT, "OrvexGone"), "");
    EXPECT_EQ(registrar.Unregister(sScript), S_OK);  // nothing there is no failure
    RegDeleteKeyA(HKEY_CLASSES_ROOT, "OrvexKept");
}

TEST(Module, TheTypeInformationIsThatOfTheInterface)
{
    const Ref<IArguments> pArguments = NewArguments();
    const Ref<IArg> pArg = NewArg();
    const std::pair<IDispatch*, const IID*> rows[] = {{pArguments.Get(), &IID_IArguments},
                                                      {pArg.Get(), &IID_IArg}};
    for (const auto& [p, pIid] : rows) {
        UINT n = 9;
        EXPECT_EQ(p->GetTypeInfoCount(&n), S_OK);
        EXPECT_EQ(n, 1u);
        EXPECT_EQ(p->GetTypeInfoCount(nullptr), E_POINTER);
        Ref<ITypeInfo> pInfo;
        EXPECT_EQ(p->GetTypeInfo(1, 0, pInfo.Out()), DISP_E_BADINDEX);
        EXPECT_EQ(pInfo.Get(), nullptr);
        EXPECT_EQ(p->GetTypeInfo(0, 0, nullptr), E_POINTER);
        ASSERT_EQ(p->GetTypeInfo(0, 0, pInfo.Out()), S_OK);
        TYPEATTR* pAttr = nullptr;
        ASSERT_EQ(pInfo->GetTypeAttr(&pAttr), S_OK);
        EXPECT_EQ(GuidText(pAttr->guid), GuidText(*pIid));
        pInfo->ReleaseTypeAttr(pAttr);
    }
}

}  // namespace
