// The type library of the module, read back through the type library services and told as text.
#include "tests/component/Support.h"

namespace {

std::string NameOf(ITypeInfo* pInfo, MEMBERID memid)
{
    String name;
    return pInfo->GetDocumentation(memid, &name, nullptr, nullptr, nullptr) == S_OK ? name.Text() : "(none)";
}

std::string HelpOf(ITypeInfo* pInfo, MEMBERID memid)
{
    String help;
    return pInfo->GetDocumentation(memid, nullptr, &help, nullptr, nullptr) == S_OK ? '"' + help.Text() + '"'
                                                                                    : "(none)";
}

std::string TypeText(ITypeInfo* pInfo, const TYPEDESC& t)
{
    Ref<ITypeInfo> pOther;
    switch (t.vt) {
    case VT_PTR: return TypeText(pInfo, *t.lptdesc) + '*';
    case VT_INT: return "int";
    case VT_BOOL: return "VARIANT_BOOL";
    case VT_BSTR: return "BSTR";
    case VT_VARIANT: return "VARIANT";
    case VT_HRESULT: return "HRESULT";
    case VT_USERDEFINED:
        return pInfo->GetRefTypeInfo(t.hreftype, pOther.Out()) == S_OK ? NameOf(pOther.Get(), MEMBERID_NIL)
                                                                       : "(none)";
    default: return "type " + std::to_string(t.vt);
    }
}

std::string FlagsText(USHORT wFlags)
{
    switch (wFlags) {
    case PARAMFLAG_FIN: return "[in] ";
    case PARAMFLAG_FOUT | PARAMFLAG_FRETVAL: return "[out,retval] ";
    default: return "[" + std::to_string(wFlags) + "] ";
    }
}

// As in "1 SetValue([in] VARIANT* pValue) "method SetValue"", with whatever is not as with all the others in
// front.
std::string MethodText(ITypeInfo* pInfo, const FUNCDESC& f)
{
    std::string s;
    if (f.oVft != static_cast<SHORT>((6 + f.memid) * static_cast<LONG>(sizeof(void*))))
        s += "slot " + std::to_string(f.oVft / sizeof(void*)) + ' ';
    if (f.callconv != CC_STDCALL || f.invkind != INVOKE_FUNC || f.funckind != FUNC_PUREVIRTUAL ||
        f.wFuncFlags != 0)
        s += "kind " + std::to_string(f.callconv) + ' ' + std::to_string(f.invkind) + ' ' +
             std::to_string(f.funckind) + ' ';
    if (TypeText(pInfo, f.elemdescFunc.tdesc) != "HRESULT")
        s += TypeText(pInfo, f.elemdescFunc.tdesc) + ' ';
    BSTR names[8] = {};
    UINT n = 0;
    EXPECT_EQ(pInfo->GetNames(f.memid, names, 8, &n), S_OK);
    EXPECT_EQ(n, static_cast<UINT>(f.cParams) + 1);
    s += std::to_string(f.memid) + ' ' + ToText(names[0]) + '(';
    for (SHORT i = 0; i < f.cParams; ++i) {
        const ELEMDESC& r = f.lprgelemdescParam[i];
        s += (i > 0 ? ", " : "") + FlagsText(r.paramdesc.wParamFlags) + TypeText(pInfo, r.tdesc) + ' ' +
             ToText(names[i + 1]);
    }
    for (UINT i = 0; i < n; ++i)
        SysFreeString(names[i]);
    return s + ") " + HelpOf(pInfo, f.memid) + '\n';
}

// The side of a dual interface that compiled clients call.
std::string MethodsText(ITypeInfo* pDispatch)
{
    HREFTYPE href = 0;
    Ref<ITypeInfo> pInfo;
    if (pDispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &href) != S_OK ||
        pDispatch->GetRefTypeInfo(href, pInfo.Out()) != S_OK)
        return "(none)\n";
    std::string s;
    FUNCDESC* p = nullptr;
    for (UINT i = 0; pInfo->GetFuncDesc(i, &p) == S_OK; ++i) {
        s += MethodText(pInfo.Get(), *p);
        pInfo->ReleaseFuncDesc(p);
    }
    return s;
}

std::string ConstantsText(ITypeInfo* pInfo)
{
    std::string s;
    VARDESC* p = nullptr;
    for (UINT i = 0; pInfo->GetVarDesc(i, &p) == S_OK; ++i) {
        s += NameOf(pInfo, p->memid) + ' ' + Told(*p->lpvarValue) + '\n';
        pInfo->ReleaseVarDesc(p);
    }
    return s;
}

std::string DefaultText(ITypeInfo* pInfo)
{
    HREFTYPE href = 0;
    INT iFlags = 0;
    Ref<ITypeInfo> pDefault;
    EXPECT_EQ(pInfo->GetRefTypeOfImplType(0, &href), S_OK);
    EXPECT_EQ(pInfo->GetImplTypeFlags(0, &iFlags), S_OK);
    EXPECT_EQ(pInfo->GetRefTypeInfo(href, pDefault.Out()), S_OK);
    return "implements " + std::to_string(iFlags) + ' ' + NameOf(pDefault.Get(), MEMBERID_NIL) + '\n';
}

std::string TypeInfoText(ITypeInfo* pInfo)
{
    TYPEATTR* p = nullptr;
    if (pInfo->GetTypeAttr(&p) != S_OK)
        return "(none)\n";
    const TYPEKIND kind = p->typekind;
    const std::string flags =
        std::to_string(p->wTypeFlags & (TYPEFLAG_FCANCREATE | TYPEFLAG_FDUAL | TYPEFLAG_FDISPATCHABLE));
    std::string s = NameOf(pInfo, MEMBERID_NIL);
    switch (kind) {
    case TKIND_ENUM:
        s = "enum " + s + ' ' + std::to_string(p->cbSizeInstance) + " bytes\n" + ConstantsText(pInfo);
        break;
    case TKIND_COCLASS:
        s = "class " + s + ' ' + GuidText(p->guid) + ' ' + HelpOf(pInfo, MEMBERID_NIL) + ' ' + flags + '\n' +
            DefaultText(pInfo);
        break;
    case TKIND_DISPATCH:
        s = "interface " + s + ' ' + GuidText(p->guid) + ' ' + HelpOf(pInfo, MEMBERID_NIL) + ' ' + flags +
            '\n' + MethodsText(pInfo);
        break;
    default: s += " kind " + std::to_string(kind) + '\n';
    }
    pInfo->ReleaseTypeAttr(p);
    return s;
}

constexpr const char* LIBRARY =
    R"(library ORVEXARGUMENTSLib {E06D9943-E730-11D4-9D3C-0010B5522A44} 7.0 1033 " Zelko COM ORVEX Arguments Library"
enum enumArgTypes 4 bytes
ARG_NOTSET 3:0
ARG_INT 3:1
ARG_UINT 3:2
ARG_USHORT 3:3
ARG_SHORT 3:4
ARG_BOOL 3:5
ARG_STRING 3:6
ARG_ARGARRAY 3:7
ARG_ARGUMENT 3:8
ARG_REFERENCE 3:9
ARG_OBJFACTORY 3:10
ARG_SERIAL_INT_AS_SHORT 3:11
ARG_SERIAL_INT_AS_USHORT 3:12
ARG_SERIAL_UINT_AS_USHORT 3:13
ARG_SERIAL_INT_AS_BYTE 3:14
ARG_SERIAL_INT_AS_UBYTE 3:15
ARG_SERIAL_UINT_AS_UBYTE 3:16
ARG_SERIAL_SHORT_AS_BYTE 3:17
ARG_SERIAL_SHORT_AS_UBYTE 3:18
ARG_SERIAL_USHORT_AS_UBYTE 3:19
class Arg {E06D9952-E730-11D4-9D3C-0010B5522A44} "Arg Class" 2
implements 1 IArg
interface IArg {E06D9951-E730-11D4-9D3C-0010B5522A44} "IArg Interface" 4160
1 SetValue([in] VARIANT* pValue, [out,retval] VARIANT_BOOL* bSuccess) "method SetValue"
2 GetClassID([out,retval] int* pClassID) "method GetClassID"
3 GetValue([out,retval] VARIANT* pValue) "method GetValue"
4 GetValueInt([out,retval] int* nValue) "method GetValueInt"
5 GetValueString([out,retval] BSTR* pValue) "method GetValueString"
6 GetValueArray([out,retval] IArguments** pArguments) "method GetValueArray"
7 GetValueBool([out,retval] VARIANT_BOOL* bValue) "method GetValueBool"
8 GetType([out,retval] int* pnType) "method GetType"
9 DumpArg([out,retval] BSTR* pString) "method DumpArg"
10 Clone([out,retval] IArg** pClonedArg) "method Clone"
interface IArguments {E06D9954-E730-11D4-9D3C-0010B5522A44} "IArguments Interface" 4160
1 AddItem([in] VARIANT* pKey, [in] VARIANT* pValue, [out,retval] VARIANT_BOOL* bSuccess) "method AddItem"
2 RemoveItem([in] VARIANT* pKey, [out,retval] VARIANT_BOOL* bSuccess) "method RemoveItem"
3 IsValid([in] VARIANT* pKey, [out,retval] VARIANT_BOOL* bIsvalid) "method IsValid"
4 SetElement([in] int iIndex, [in] VARIANT* pValue, [out,retval] VARIANT_BOOL* bSuccess) "method SetElement"
5 SetValue([in] VARIANT* pKey, [in] VARIANT* pValue, [out,retval] VARIANT_BOOL* bSuccess) "method SetValue"
6 GetElement([in] int iIndex, [out,retval] VARIANT* pValue) "method GetElement"
7 GetElementKey([in] int iIndex, [out,retval] BSTR* pKey) "method GetElementKey"
8 GetValue([in] VARIANT* pKey, [out,retval] IArg** pValue) "method GetValue"
9 NumElements([out,retval] int* pElements) "method NumElements"
10 GetClassID([out,retval] int* pClassID) "method GetClassID"
11 DumpArgs([out,retval] BSTR* pString) "method DumpArgs"
12 GetValueInt([in] VARIANT* pKey, [out,retval] int* nValue) "method GetValueInt"
13 GetValueString([in] VARIANT* pKey, [out,retval] BSTR* pValue) "method GetValueString"
14 GetValueArray([in] VARIANT* pKey, [out,retval] IArguments** pArguments) "method GetValueArray"
15 GetValueBool([in] VARIANT* pKey, [out,retval] VARIANT_BOOL* bValue) "method GetValueBool"
16 Clone([out,retval] IArguments** pClonedArguments) "method Clone"
17 Clear() "method Clear"
18 Initialize() "method Initialize"
class Arguments {E06D9955-E730-11D4-9D3C-0010B5522A44} "Arguments Class" 2
implements 1 IArguments
)";

TEST(TypeLibrary, TellsWhatClientsKnow)
{
    const std::string& rPath = Module().sPath;
    Ref<ITypeLib> pLibrary;
    ASSERT_EQ(LoadTypeLibEx(Wide(rPath.begin(), rPath.end()).c_str(), REGKIND_NONE, pLibrary.Out()), S_OK);
    TLIBATTR* p = nullptr;
    ASSERT_EQ(pLibrary->GetLibAttr(&p), S_OK);
    String name, help;
    EXPECT_EQ(pLibrary->GetDocumentation(-1, &name, &help, nullptr, nullptr), S_OK);
    std::string s = "library " + name.Text() + ' ' + GuidText(p->guid) + ' ' +
                    std::to_string(p->wMajorVerNum) + '.' + std::to_string(p->wMinorVerNum) + ' ' +
                    std::to_string(p->lcid) + " \"" + help.Text() + "\"\n";
    pLibrary->ReleaseTLibAttr(p);
    for (UINT i = 0; i < pLibrary->GetTypeInfoCount(); ++i) {
        Ref<ITypeInfo> pInfo;
        ASSERT_EQ(pLibrary->GetTypeInfo(i, pInfo.Out()), S_OK);
        s += TypeInfoText(pInfo.Get());
    }
    EXPECT_EQ(s, LIBRARY);
}

}  // namespace
