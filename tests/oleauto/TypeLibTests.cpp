#include "tests/oleauto/Probe.h"
#include "tests/oleauto/Support.h"

#include <vector>

namespace {

constexpr DISPID NUMBERS = 1, JOIN = 2, TAKE = 3, FAIL = 4, SELF = 50, NEGATE = 6, NOT = 7, NOTHING = 8;

Wide ToWide(const std::string& s) { return Wide(s.begin(), s.end()); }

// The library for tests; what it handed out must all have come back when it goes.
class TypeLib : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(LoadTypeLibEx(ToWide(ORVEX_PROBE_LIBRARY).c_str(), REGKIND_NONE, &m_pLibrary), S_OK);
        ASSERT_EQ(m_pLibrary->GetTypeInfoOfGuid(IID_IProbe, &m_pInfo), S_OK);
    }
    void TearDown() override
    {
        m_pInfo->Release();
        EXPECT_EQ(m_pLibrary->Release(), 0u);
    }

    std::string Name(ITypeInfo* pInfo, MEMBERID memid = MEMBERID_NIL)
    {
        String name;
        return pInfo->GetDocumentation(memid, &name, nullptr, nullptr, nullptr) == S_OK ? name.Text() : "";
    }
    std::string Help(ITypeInfo* pInfo, MEMBERID memid = MEMBERID_NIL)
    {
        String help;
        return pInfo->GetDocumentation(memid, nullptr, &help, nullptr, nullptr) == S_OK ? help.Text() : "";
    }
    static std::string Told(const TYPEDESC& t)
    {
        return t.vt == VT_PTR ? Told(*t.lptdesc) + '*' : std::to_string(t.vt);
    }
    // A method's return type, name, and parameters with their types and flags.
    std::string Method(ITypeInfo* pInfo, UINT index)
    {
        FUNCDESC* p = nullptr;
        if (pInfo->GetFuncDesc(index, &p) != S_OK)
            return "";
        BSTR names[8] = {};
        UINT n = 0;
        EXPECT_EQ(pInfo->GetNames(p->memid, names, 8, &n), S_OK);
        std::string s = Told(p->elemdescFunc.tdesc) + ' ' + Narrow(names[0], SysStringLen(names[0])) + '(';
        for (SHORT i = 0; i < p->cParams; ++i) {
            const ELEMDESC& r = p->lprgelemdescParam[i];
            s += Told(r.tdesc) + ' ' + Narrow(names[i + 1], SysStringLen(names[i + 1])) + '/' +
                 std::to_string(r.paramdesc.wParamFlags) + ' ';
        }
        EXPECT_EQ(n, static_cast<UINT>(p->cParams) + 1);
        for (UINT i = 0; i < n; ++i)
            SysFreeString(names[i]);
        pInfo->ReleaseFuncDesc(p);
        return s + ')';
    }
    // Place of a method in GetFuncDesc: the real system lists those of IDispatch before it.
    UINT IndexOf(ITypeInfo* pInfo, MEMBERID memid)
    {
        FUNCDESC* p = nullptr;
        for (UINT i = 0; pInfo->GetFuncDesc(i, &p) == S_OK; ++i) {
            const bool bFound = p->memid == memid;
            pInfo->ReleaseFuncDesc(p);
            if (bFound)
                return i;
        }
        return static_cast<UINT>(-1);
    }

    ITypeLib* m_pLibrary = nullptr;
    ITypeInfo* m_pInfo = nullptr;
};

TEST_F(TypeLib, LibraryTellsItself)
{
    TLIBATTR* p = nullptr;
    ASSERT_EQ(m_pLibrary->GetLibAttr(&p), S_OK);
    EXPECT_TRUE(IsEqualGUID(p->guid, LIBID_Probe));
    EXPECT_EQ(p->lcid, 0x409u);
    EXPECT_EQ(p->wMajorVerNum, 2);
    EXPECT_EQ(p->wMinorVerNum, 3);
    m_pLibrary->ReleaseTLibAttr(p);
    String name, help, file;
    DWORD dwContext = 1;
    EXPECT_EQ(m_pLibrary->GetDocumentation(-1, &name, &help, &dwContext, &file), S_OK);
    EXPECT_EQ(name.Text(), "ProbeLib");
    EXPECT_EQ(help.Text(), "A library for tests");
    EXPECT_EQ(dwContext, 0u);
    EXPECT_EQ(file.Text(), "(null)");
}

TEST_F(TypeLib, TypesInOrder)
{
    const struct
    {
        const char* name;
        TYPEKIND kind;
        WORD wFlags;
    } rows[] = {{"enumProbe", TKIND_ENUM, 0},
                {"Probe", TKIND_COCLASS, TYPEFLAG_FCANCREATE},
                {"IProbe", TKIND_DISPATCH, TYPEFLAG_FDUAL | TYPEFLAG_FDISPATCHABLE}};
    ASSERT_EQ(m_pLibrary->GetTypeInfoCount(), 3u);
    for (UINT i = 0; i < 3; ++i) {
        ITypeInfo* pInfo = nullptr;
        ASSERT_EQ(m_pLibrary->GetTypeInfo(i, &pInfo), S_OK);
        TYPEKIND kind = TKIND_MAX;
        EXPECT_EQ(m_pLibrary->GetTypeInfoType(i, &kind), S_OK);
        TYPEATTR* p = nullptr;
        ASSERT_EQ(pInfo->GetTypeAttr(&p), S_OK);
        EXPECT_EQ(Name(pInfo), rows[i].name);
        EXPECT_EQ(kind, rows[i].kind);
        EXPECT_EQ(p->typekind, rows[i].kind);
        EXPECT_EQ(p->wTypeFlags, rows[i].wFlags);
        pInfo->ReleaseTypeAttr(p);
        ITypeLib* pLibrary = nullptr;
        UINT index = 99;
        EXPECT_EQ(pInfo->GetContainingTypeLib(&pLibrary, &index), S_OK);
        EXPECT_EQ(index, i);
        pLibrary->Release();
        pInfo->Release();
    }
    ITypeInfo* pInfo = nullptr;
    EXPECT_EQ(m_pLibrary->GetTypeInfo(3, &pInfo), TYPE_E_ELEMENTNOTFOUND);
    EXPECT_EQ(m_pLibrary->GetTypeInfoOfGuid(IID_IUnknown, &pInfo), TYPE_E_ELEMENTNOTFOUND);
}

TEST_F(TypeLib, EnumerationHasItsConstants)
{
    const struct
    {
        const char* name;
        LONG l;
    } rows[] = {{"PROBE_NONE", 0}, {"PROBE_LOW", -5}, {"PROBE_NEXT", -4}, {"PROBE_HIGH", 0x7F}};
    ITypeInfo* pInfo = nullptr;
    ASSERT_EQ(m_pLibrary->GetTypeInfo(0, &pInfo), S_OK);
    for (UINT i = 0; i < 4; ++i) {
        VARDESC* p = nullptr;
        ASSERT_EQ(pInfo->GetVarDesc(i, &p), S_OK);
        EXPECT_EQ(Name(pInfo, p->memid), rows[i].name);
        EXPECT_EQ(p->varkind, VAR_CONST);
        EXPECT_EQ(p->lpvarValue->vt, VT_I4);
        EXPECT_EQ(p->lpvarValue->lVal, rows[i].l);
        BSTR name = nullptr;
        UINT n = 0;
        EXPECT_EQ(pInfo->GetNames(p->memid, &name, 1, &n), S_OK);
        EXPECT_EQ(Narrow(name, SysStringLen(name)), rows[i].name);
        SysFreeString(name);
        pInfo->ReleaseVarDesc(p);
    }
    VARDESC* p = nullptr;
    EXPECT_EQ(pInfo->GetVarDesc(4, &p), TYPE_E_ELEMENTNOTFOUND);
    pInfo->Release();
}

TEST_F(TypeLib, MethodsOfBothSides)
{
    const struct
    {
        MEMBERID memid;
        const char* dispatch;
        const char* vtable;
    } rows[] = {
        {NUMBERS, "8 Numbers(2 i/1 18 ui/1 22 n/1 23 u/1 11 b/1 )",
         "25 Numbers(2 i/1 18 ui/1 22 n/1 23 u/1 11 b/1 8* pText/10 )"},
        {JOIN, "8 Join(8 first/1 8 second/1 )", "25 Join(8 first/1 8 second/1 8* pText/10 )"},
        {TAKE, "12 Take(12* pValue/1 )", "25 Take(12* pValue/1 12* pResult/10 )"},
        {FAIL, "24 Fail(22 nResult/1 )", "25 Fail(22 nResult/1 )"},
        {SELF, "29* Self()", "25 Self(29** ppSelf/10 )"},
        {NOTHING, "24 Nothing()", "25 Nothing()"},
    };
    HREFTYPE hOther = 0;
    ITypeInfo* pOther = nullptr;
    ASSERT_EQ(m_pInfo->GetRefTypeOfImplType(static_cast<UINT>(-1), &hOther), S_OK);
    ASSERT_EQ(m_pInfo->GetRefTypeInfo(hOther, &pOther), S_OK);
    for (const auto& row : rows) {
        EXPECT_EQ(Method(m_pInfo, IndexOf(m_pInfo, row.memid)), row.dispatch);
        EXPECT_EQ(Method(pOther, IndexOf(pOther, row.memid)), row.vtable);
    }
    TYPEATTR* p = nullptr;
    ASSERT_EQ(pOther->GetTypeAttr(&p), S_OK);
    EXPECT_EQ(p->typekind, TKIND_INTERFACE);
    EXPECT_TRUE(IsEqualGUID(p->guid, IID_IProbe));
    EXPECT_EQ(p->cFuncs, 8);
    EXPECT_EQ(p->cbSizeVft, (7 + 8) * sizeof(void*));
    pOther->ReleaseTypeAttr(p);
    FUNCDESC* pFunction = nullptr;
    ASSERT_EQ(pOther->GetFuncDesc(4, &pFunction), S_OK);
    EXPECT_EQ(pFunction->memid, SELF);
    EXPECT_EQ(pFunction->oVft, static_cast<SHORT>((7 + 4) * sizeof(void*)));
    EXPECT_EQ(pFunction->funckind, FUNC_PUREVIRTUAL);
    EXPECT_EQ(pFunction->invkind, INVOKE_FUNC);
    EXPECT_EQ(pFunction->callconv, CC_STDCALL);
    pOther->ReleaseFuncDesc(pFunction);
    pOther->Release();
    EXPECT_EQ(Help(m_pInfo, NUMBERS), "all the numbers");
    EXPECT_EQ(Help(m_pInfo, JOIN), "(null)");
}

TEST_F(TypeLib, ReferencesLeadToTheInterface)
{
    ITypeInfo* pClass = nullptr;
    ASSERT_EQ(m_pLibrary->GetTypeInfoOfGuid(CLSID_Probe, &pClass), S_OK);
    HREFTYPE h = 0;
    INT iFlags = 0;
    EXPECT_EQ(pClass->GetRefTypeOfImplType(0, &h), S_OK);
    EXPECT_EQ(pClass->GetImplTypeFlags(0, &iFlags), S_OK);
    EXPECT_EQ(iFlags, IMPLTYPEFLAG_FDEFAULT);
    ITypeInfo* pDefault = nullptr;
    ASSERT_EQ(pClass->GetRefTypeInfo(h, &pDefault), S_OK);
    EXPECT_EQ(Name(pDefault), "IProbe");
    pDefault->Release();
    pClass->Release();

    FUNCDESC* p = nullptr;
    ASSERT_EQ(m_pInfo->GetFuncDesc(IndexOf(m_pInfo, SELF), &p), S_OK);
    ITypeInfo* pResult = nullptr;
    ASSERT_EQ(m_pInfo->GetRefTypeInfo(p->elemdescFunc.tdesc.lptdesc->hreftype, &pResult), S_OK);
    EXPECT_EQ(Name(pResult), "IProbe");
    pResult->Release();
    m_pInfo->ReleaseFuncDesc(p);
}

TEST_F(TypeLib, NamesInAnyCaseAndTheirParameters)
{
    const struct
    {
        std::vector<const char*> names;
        HRESULT hr;
        std::vector<MEMBERID> ids;
    } rows[] = {
        {{"Numbers"}, S_OK, {NUMBERS}},
        {{"sELF"}, S_OK, {SELF}},
        {{"numbers", "B", "i", "U"}, S_OK, {NUMBERS, 4, 0, 3}},
        {{"Numbers", "q", "n"}, DISP_E_UNKNOWNNAME, {NUMBERS, DISPID_UNKNOWN, 2}},
        {{"Number"}, DISP_E_UNKNOWNNAME, {DISPID_UNKNOWN}},
        {{"Numbersx"}, DISP_E_UNKNOWNNAME, {DISPID_UNKNOWN}},
        {{""}, DISP_E_UNKNOWNNAME, {DISPID_UNKNOWN}},
    };
    for (const auto& row : rows) {
        std::vector<Wide> names;
        for (const char* name : row.names)
            names.push_back(ToWide(name));
        std::vector<LPOLESTR> pointers;
        for (Wide& rName : names)
            pointers.push_back(&rName[0]);
        std::vector<MEMBERID> ids(names.size(), 4711);
        EXPECT_EQ(m_pInfo->GetIDsOfNames(pointers.data(), static_cast<UINT>(names.size()), ids.data()),
                  row.hr)
            << row.names[0];
        EXPECT_EQ(ids, row.ids) << row.names[0];
    }
}

// Calls a method as an automation client does.
class TypeLibInvoke : public TypeLib
{
protected:
    // Arguments stand in the order of a call; the last ones are those with a name, in the order of the names.
    HRESULT Invoke(DISPID id, const std::vector<Variant>& arguments, const std::vector<DISPID>& names = {},
                   WORD wFlags = DISPATCH_METHOD)
    {
        std::vector<VARIANT> reversed;
        for (std::size_t i = 0; i < names.size(); ++i)
            reversed.push_back(arguments[arguments.size() - names.size() + i]);
        for (std::size_t i = arguments.size() - names.size(); i-- > 0;)
            reversed.push_back(arguments[i]);
        std::vector<DISPID> ids(names);
        DISPPARAMS params{};
        params.rgvarg = reversed.data();
        params.cArgs = static_cast<UINT>(reversed.size());
        params.rgdispidNamedArgs = ids.data();
        params.cNamedArgs = static_cast<UINT>(ids.size());
        VariantClear(&m_result);
        m_uArgErr = 99;
        m_exception = EXCEPINFO{};
        return m_pInfo->Invoke(static_cast<IProbe*>(&m_probe), id, wFlags, &params, &m_result, &m_exception,
                               &m_uArgErr);
    }
    void TearDown() override
    {
        VariantClear(&m_result);
        EXPECT_EQ(m_probe.m_ulCount, 1u);
        TypeLib::TearDown();
    }

    Probe m_probe;
    Variant m_result;
    EXCEPINFO m_exception = {};
    UINT m_uArgErr = 0;
};

TEST_F(TypeLibInvoke, ArgumentsArriveInTheirTypes)
{
    const struct
    {
        std::vector<Variant> arguments;
        const char* told;
    } rows[] = {
        {{Variant::Of(VT_I2, -2), Variant::Of(VT_UI2, 65535), Variant::Of(VT_INT, -70000),
          Variant::Of(VT_UINT, 0xFFFFFFFF), Variant::Of(VT_BOOL, -1)},
         "-2 65535 -70000 4294967295 -1"},
        {{Variant::Of(VT_I4, 7), Variant::Of(VT_I4, 8), Variant::Of(VT_I2, -9), Variant::Real(10.0),
          Variant::Of(VT_I4, 2)},
         "7 8 -9 10 -1"},
        {{Variant::Text(OLESTR("7")), Variant::Text(OLESTR(" 8 ")), Variant::Real(2.5),
          Variant::Of(VT_EMPTY, 0), Variant::Text(OLESTR("true"))},
         "7 8 2 0 -1"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Invoke(NUMBERS, row.arguments), S_OK);
        EXPECT_EQ(::Told(m_result), std::string("8:") + row.told);
    }
}

TEST_F(TypeLibInvoke, TextsAreMadeOfNumbersAndGoAgain)
{
    EXPECT_EQ(Invoke(JOIN, {Variant::Text(OLESTR("a")), Variant::Text(OLESTR("b"))}), S_OK);
    EXPECT_EQ(::Told(m_result), "8:a+b");
    EXPECT_EQ(Invoke(JOIN, {Variant::Of(VT_I4, 12), Variant::Real(0.5)}), S_OK);
    EXPECT_EQ(::Told(m_result), "8:12+0.5");
}

TEST_F(TypeLibInvoke, ReferencesAreUnwrapped)
{
    LONG l = 12;
    Variant number = Variant::Of(VT_BYREF | VT_I4, 0);
    number.plVal = &l;
    Variant text = Variant::Text(OLESTR("x"));
    Variant reference = Variant::Of(VT_BYREF | VT_VARIANT, 0);
    reference.pvarVal = &text;
    EXPECT_EQ(Invoke(JOIN, {number, reference}), S_OK);
    EXPECT_EQ(::Told(m_result), "8:12+x");
    // A variant by reference reaches a variant parameter as itself; no result comes out as a reference.
    EXPECT_EQ(Invoke(TAKE, {reference}), S_OK);
    EXPECT_EQ(m_probe.m_pTaken, &text);
    EXPECT_EQ(::Told(m_result), "8:x");
    EXPECT_EQ(Invoke(TAKE, {number}), S_OK);
    EXPECT_EQ(::Told(m_result), "3:12");
}

TEST_F(TypeLibInvoke, ResultsOfEveryType)
{
    EXPECT_EQ(Invoke(NEGATE, {Variant::Of(VT_I4, 5)}), S_OK);
    EXPECT_EQ(m_result.vt, VT_I4);
    EXPECT_EQ(m_result.lVal, -5);
    EXPECT_EQ(Invoke(NOT, {Variant::Of(VT_BOOL, 0)}), S_OK);
    EXPECT_EQ(::Told(m_result), "11:-1");
    EXPECT_EQ(Invoke(TAKE, {Variant::Of(VT_UI2, 60000)}), S_OK);
    EXPECT_EQ(::Told(m_result), "18:60000");
    EXPECT_EQ(Invoke(SELF, {}), S_OK);
    EXPECT_EQ(m_result.vt, VT_DISPATCH);
    EXPECT_EQ(m_result.pdispVal, &m_probe);
    EXPECT_EQ(Invoke(NOTHING, {}), S_OK);
    EXPECT_EQ(m_result.vt, VT_EMPTY);
}

TEST_F(TypeLibInvoke, ResultThatNobodyWantsGoes)
{
    Variant a = Variant::Text(OLESTR("a"));
    VARIANT reversed[] = {a, a};
    DISPPARAMS params = {reversed, nullptr, 2, 0};
    EXPECT_EQ(m_pInfo->Invoke(static_cast<IProbe*>(&m_probe), JOIN, DISPATCH_METHOD, &params, nullptr,
                              nullptr, nullptr),
              S_OK);
    DISPPARAMS none{};
    EXPECT_EQ(m_pInfo->Invoke(static_cast<IProbe*>(&m_probe), SELF, DISPATCH_METHOD, &none, nullptr, nullptr,
                              nullptr),
              S_OK);
}

TEST_F(TypeLibInvoke, NamedArguments)
{
    const Variant a = Variant::Text(OLESTR("a"));
    const Variant b = Variant::Text(OLESTR("b"));
    const struct
    {
        std::vector<Variant> arguments;
        std::vector<DISPID> names;
        const char* told;
    } rows[] = {{{a, b}, {0, 1}, "8:a+b"}, {{a, b}, {1, 0}, "8:b+a"}, {{a, b}, {1}, "8:a+b"}};
    for (const auto& row : rows) {
        EXPECT_EQ(Invoke(JOIN, row.arguments, row.names), S_OK);
        EXPECT_EQ(::Told(m_result), row.told);
    }
}

TEST_F(TypeLibInvoke, CallsThatAreRefused)
{
    const Variant a = Variant::Text(OLESTR("a"));
    const Variant one = Variant::Of(VT_I4, 1);
    const struct
    {
        const char* what;
        DISPID id;
        std::vector<Variant> arguments;
        WORD wFlags;
        HRESULT hr;
    } rows[] = {
        {"no such member", 9, {}, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
        {"a property", NOTHING, {}, DISPATCH_PROPERTYGET, DISP_E_MEMBERNOTFOUND},
        {"none of two", JOIN, {}, DISPATCH_METHOD, DISP_E_BADPARAMCOUNT},
        {"one of two", JOIN, {a}, DISPATCH_METHOD, DISP_E_BADPARAMCOUNT},
        {"three of two", JOIN, {a, a, a}, DISPATCH_METHOD, DISP_E_BADPARAMCOUNT},
        {"a word for a number", NEGATE, {a}, DISPATCH_METHOD, DISP_E_TYPEMISMATCH},
        {"too large for the second",
         NUMBERS,
         {one, Variant::Of(VT_I4, 65536), one, one, one},
         DISPATCH_METHOD,
         DISP_E_OVERFLOW},
        {"null for a number", NEGATE, {Variant::Of(VT_NULL, 0)}, DISPATCH_METHOD, DISP_E_TYPEMISMATCH},
        {"left out",
         NEGATE,
         {Variant::Of(VT_ERROR, DISP_E_PARAMNOTFOUND)},
         DISPATCH_METHOD,
         DISP_E_TYPEMISMATCH},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Invoke(row.id, row.arguments, {}, row.wFlags), row.hr) << row.what;
        EXPECT_EQ(m_result.vt, VT_EMPTY) << row.what;
    }
}

TEST_F(TypeLibInvoke, FailureOfTheMethodIsAnException)
{
    EXPECT_EQ(Invoke(FAIL, {Variant::Of(VT_I4, E_POINTER)}), DISP_E_EXCEPTION);
    EXPECT_EQ(m_exception.scode, E_POINTER);
    EXPECT_EQ(Invoke(FAIL, {Variant::Of(VT_I4, S_OK)}), S_OK);
}

TEST_F(TypeLibInvoke, MethodAndPropertyFlagTogether)
{
    EXPECT_EQ(Invoke(NEGATE, {Variant::Of(VT_I4, 5)}, {}, DISPATCH_METHOD | DISPATCH_PROPERTYGET), S_OK);
}

// As the vendor's manual has it; not every system that runs Windows programs keeps to these.
using TypeLibInvokeManual = TypeLibInvoke;

TEST_F(TypeLibInvokeManual, IndexOfTheWrongArgumentIsTold)
{
    const Variant a = Variant::Text(OLESTR("a"));
    const Variant one = Variant::Of(VT_I4, 1);
    EXPECT_EQ(Invoke(NUMBERS, {a, one, one, one, one}), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(m_uArgErr, 4u);
    EXPECT_EQ(Invoke(NUMBERS, {one, one, one, one, a}), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(m_uArgErr, 0u);
    EXPECT_EQ(Invoke(JOIN, {a, a}, {2}), DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(m_uArgErr, 0u);
    EXPECT_EQ(Invoke(NOTHING, {a}), DISP_E_BADPARAMCOUNT);
}

TEST(TypeLibFile, FilesThatAreNoLibrary)
{
    ITypeLib* p = nullptr;
    EXPECT_EQ(LoadTypeLib(OLESTR("no-such-file.tlb"), &p), TYPE_E_CANTLOADLIBRARY);
    EXPECT_EQ(p, nullptr);
}

}  // namespace
