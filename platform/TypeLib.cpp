#include "platform/TypeLibModel.h"

#include "platform/ModuleFile.h"

#include <atomic>
#include <deque>
#include <fstream>
#include <iterator>
#include <memory>

const IID IID_ITypeLib = {0x00020402, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_ITypeInfo = {0x00020401, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

namespace {

constexpr MEMBERID FIRST_CONSTANT = 0x40000000;

BSTR ToBstr(const std::string& s)
{
    BSTR bstr = SysAllocStringLen(nullptr, static_cast<UINT>(s.size()));
    if (bstr != nullptr)
        for (std::size_t i = 0; i < s.size(); ++i)
            bstr[i] = static_cast<unsigned char>(s[i]);
    return bstr;
}

OLECHAR Lower(OLECHAR c) { return c >= 'A' && c <= 'Z' ? static_cast<OLECHAR>(c + ('a' - 'A')) : c; }

bool IsSameName(const OLECHAR* psz, const std::string& s)
{
    std::size_t i = 0;
    while (i < s.size() && Lower(psz[i]) == Lower(static_cast<OLECHAR>(s[i])))
        ++i;
    return i == s.size() && psz[i] == 0;
}

// Name and help as a caller asks for them; there are no help files.
HRESULT GiveDocumentation(const std::string& sName, const std::string& sHelp, BSTR* pName, BSTR* pHelp,
                          DWORD* pdwHelpContext, BSTR* pHelpFile)
{
    if (pName != nullptr)
        *pName = ToBstr(sName);
    if (pHelp != nullptr)
        *pHelp = sHelp.empty() ? nullptr : ToBstr(sHelp);
    if (pdwHelpContext != nullptr)
        *pdwHelpContext = 0;
    if (pHelpFile != nullptr)
        *pHelpFile = nullptr;
    return S_OK;
}

// A reference to a type: its entry's place, and which side of an interface is meant.
HREFTYPE MakeReference(std::size_t iEntry, bool bVtable)
{
    return static_cast<HREFTYPE>(iEntry * 2 + (bVtable ? 1 : 0));
}

class Library;

// One side of an entry. It lives in its library and is counted with it; what it describes is made once.
class Info final : public ITypeInfo
{
public:
    Info(Library& rLibrary, const TypeLibModel& rModel, std::size_t iEntry, bool bVtable);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE GetTypeAttr(TYPEATTR** ppTypeAttr) override
    {
        if (ppTypeAttr == nullptr)
            return E_INVALIDARG;
        *ppTypeAttr = &m_attr;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeComp(ITypeComp**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetFuncDesc(UINT index, FUNCDESC** ppFuncDesc) override
    {
        if (ppFuncDesc == nullptr)
            return E_INVALIDARG;
        *ppFuncDesc = index < m_functions.size() ? &m_functions[index] : nullptr;
        return *ppFuncDesc != nullptr ? S_OK : TYPE_E_ELEMENTNOTFOUND;
    }
    HRESULT STDMETHODCALLTYPE GetVarDesc(UINT index, VARDESC** ppVarDesc) override
    {
        if (ppVarDesc == nullptr)
            return E_INVALIDARG;
        *ppVarDesc = index < m_variables.size() ? &m_variables[index] : nullptr;
        return *ppVarDesc != nullptr ? S_OK : TYPE_E_ELEMENTNOTFOUND;
    }
    HRESULT STDMETHODCALLTYPE GetNames(MEMBERID memid, BSTR* rgBstrNames, UINT cMaxNames,
                                       UINT* pcNames) override;
    HRESULT STDMETHODCALLTYPE GetRefTypeOfImplType(UINT index, HREFTYPE* pRefType) override;
    HRESULT STDMETHODCALLTYPE GetImplTypeFlags(UINT index, INT* pImplTypeFlags) override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(LPOLESTR* rgszNames, UINT cNames, MEMBERID* pMemId) override;
    HRESULT STDMETHODCALLTYPE Invoke(void* pvInstance, MEMBERID memid, WORD wFlags, DISPPARAMS* pDispParams,
                                     VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr) override;
    HRESULT STDMETHODCALLTYPE GetDocumentation(MEMBERID memid, BSTR* pBstrName, BSTR* pBstrDocString,
                                               DWORD* pdwHelpContext, BSTR* pBstrHelpFile) override;
    HRESULT STDMETHODCALLTYPE GetDllEntry(MEMBERID, INVOKEKIND, BSTR*, BSTR*, WORD*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetRefTypeInfo(HREFTYPE hRefType, ITypeInfo** ppTInfo) override;
    HRESULT STDMETHODCALLTYPE AddressOfMember(MEMBERID, INVOKEKIND, void**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID, void**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMops(MEMBERID, BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetContainingTypeLib(ITypeLib** ppTLib, UINT* pIndex) override;
    void STDMETHODCALLTYPE ReleaseTypeAttr(TYPEATTR*) override {}
    void STDMETHODCALLTYPE ReleaseFuncDesc(FUNCDESC*) override {}
    void STDMETHODCALLTYPE ReleaseVarDesc(VARDESC*) override {}

private:
    void DescribeEntry(const TypeLibModel& rModel);
    void DescribeMethod(std::size_t iMethod);
    void DescribeConstant(const TypeLibConstant& rConstant);
    TYPEDESC Describe(const TypeLibType& rType, int nPointers);
    const TypeLibMethod* FindMethod(MEMBERID memid) const;
    std::size_t FindConstant(MEMBERID memid) const
    {
        return static_cast<std::size_t>(memid - FIRST_CONSTANT);
    }

    Library& m_rLibrary;
    const TypeLibEntry& m_rEntry;
    std::size_t m_iEntry;
    bool m_bVtable;
    TYPEATTR m_attr = {};
    std::vector<FUNCDESC> m_functions;
    std::vector<VARDESC> m_variables;
    // What the descriptions point to.
    std::deque<TYPEDESC> m_targets;
    std::deque<std::vector<ELEMDESC>> m_params;
    std::deque<VARIANT> m_values;
};

class Library final : public ITypeLib
{
public:
    explicit Library(TypeLibModel&& model) : m_model(std::move(model))
    {
        for (std::size_t i = 0; i < m_model.entries.size(); ++i)
            for (const bool bVtable : {false, true})
                m_infos.emplace_back(*this, m_model, i, bVtable);
        m_attr.guid = m_model.guid;
        m_attr.lcid = m_model.lcid;
        m_attr.syskind = SYS_WIN64;
        m_attr.wMajorVerNum = m_model.wMajor;
        m_attr.wMinorVerNum = m_model.wMinor;
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override
    {
        if (ppvObject == nullptr)
            return E_POINTER;
        *ppvObject = nullptr;
        if (riid != IID_IUnknown && riid != IID_ITypeLib)
            return E_NOINTERFACE;
        AddRef();
        *ppvObject = static_cast<ITypeLib*>(this);
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_ulCount; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG ul = --m_ulCount;
        if (ul == 0)
            delete this;
        return ul;
    }

    UINT STDMETHODCALLTYPE GetTypeInfoCount() override { return static_cast<UINT>(m_model.entries.size()); }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, ITypeInfo** ppTInfo) override
    {
        if (ppTInfo == nullptr)
            return E_INVALIDARG;
        *ppTInfo = nullptr;
        return index < m_model.entries.size() ? Give(MakeReference(index, false), ppTInfo)
                                              : TYPE_E_ELEMENTNOTFOUND;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfoType(UINT index, TYPEKIND* pTKind) override
    {
        if (pTKind == nullptr)
            return E_INVALIDARG;
        if (index >= m_model.entries.size())
            return TYPE_E_ELEMENTNOTFOUND;
        *pTKind = m_model.entries[index].kind;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** ppTinfo) override
    {
        if (ppTinfo == nullptr)
            return E_INVALIDARG;
        *ppTinfo = nullptr;
        for (std::size_t i = 0; i < m_model.entries.size(); ++i)
            if (m_model.entries[i].guid == guid && guid != GUID_NULL)
                return Give(MakeReference(i, false), ppTinfo);
        return TYPE_E_ELEMENTNOTFOUND;
    }
    HRESULT STDMETHODCALLTYPE GetLibAttr(TLIBATTR** ppTLibAttr) override
    {
        if (ppTLibAttr == nullptr)
            return E_INVALIDARG;
        *ppTLibAttr = &m_attr;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeComp(ITypeComp**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDocumentation(INT index, BSTR* pBstrName, BSTR* pBstrDocString,
                                               DWORD* pdwHelpContext, BSTR* pBstrHelpFile) override
    {
        if (index == -1)
            return GiveDocumentation(m_model.sName, m_model.sHelp, pBstrName, pBstrDocString, pdwHelpContext,
                                     pBstrHelpFile);
        if (index < 0 || static_cast<std::size_t>(index) >= m_model.entries.size())
            return TYPE_E_ELEMENTNOTFOUND;
        const TypeLibEntry& rEntry = m_model.entries[static_cast<std::size_t>(index)];
        return GiveDocumentation(rEntry.sName, rEntry.sHelp, pBstrName, pBstrDocString, pdwHelpContext,
                                 pBstrHelpFile);
    }
    HRESULT STDMETHODCALLTYPE IsName(LPOLESTR, ULONG, BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE FindName(LPOLESTR, ULONG, ITypeInfo**, MEMBERID*, USHORT*) override
    {
        return E_NOTIMPL;
    }
    void STDMETHODCALLTYPE ReleaseTLibAttr(TLIBATTR*) override {}

    HRESULT Give(HREFTYPE hRefType, ITypeInfo** ppTInfo)
    {
        if (hRefType >= m_infos.size())
            return TYPE_E_ELEMENTNOTFOUND;
        AddRef();
        *ppTInfo = &m_infos[hRefType];
        return S_OK;
    }

private:
    std::atomic<ULONG> m_ulCount{1};
    const TypeLibModel m_model;
    TLIBATTR m_attr = {};
    std::deque<Info> m_infos;  // by reference
};

Info::Info(Library& rLibrary, const TypeLibModel& rModel, std::size_t iEntry, bool bVtable)
    : m_rLibrary(rLibrary), m_rEntry(rModel.entries[iEntry]), m_iEntry(iEntry), m_bVtable(bVtable)
{
    m_functions.reserve(m_rEntry.methods.size());
    for (std::size_t i = 0; i < m_rEntry.methods.size(); ++i)
        DescribeMethod(i);
    for (const TypeLibConstant& rConstant : m_rEntry.constants)
        DescribeConstant(rConstant);
    DescribeEntry(rModel);
}

void Info::DescribeEntry(const TypeLibModel& rModel)
{
    m_attr.guid = m_rEntry.guid;
    m_attr.lcid = rModel.lcid;
    m_attr.memidConstructor = MEMBERID_NIL;
    m_attr.memidDestructor = MEMBERID_NIL;
    m_attr.typekind = m_rEntry.kind;
    m_attr.cFuncs = static_cast<WORD>(m_functions.size());
    m_attr.cVars = static_cast<WORD>(m_variables.size());
    switch (m_rEntry.kind) {
    case TKIND_ENUM:
        m_attr.cbSizeInstance = sizeof(LONG);
        m_attr.cbAlignment = alignof(LONG);
        break;
    case TKIND_COCLASS:
        m_attr.cImplTypes = 1;
        m_attr.cbSizeInstance = sizeof(void*);
        m_attr.cbAlignment = alignof(LONG);
        m_attr.wTypeFlags = TYPEFLAG_FCANCREATE;
        break;
    default:
        m_attr.typekind = m_bVtable ? TKIND_INTERFACE : TKIND_DISPATCH;
        m_attr.cbSizeInstance = sizeof(void*);
        m_attr.cbAlignment = alignof(void*);
        m_attr.cbSizeVft = static_cast<WORD>(MethodOffset(m_bVtable ? m_functions.size() : 0));
        m_attr.wTypeFlags = TYPEFLAG_FDUAL | TYPEFLAG_FDISPATCHABLE;
        if (m_bVtable)
            m_attr.wTypeFlags |= TYPEFLAG_FOLEAUTOMATION;
        break;
    }
}

void Info::DescribeMethod(std::size_t iMethod)
{
    const TypeLibMethod& rMethod = m_rEntry.methods[iMethod];
    const std::size_t nParams = m_bVtable ? rMethod.params.size() : rMethod.InParams();
    std::vector<ELEMDESC>& rParams = m_params.emplace_back(nParams);
    for (std::size_t i = 0; i < nParams; ++i) {
        const TypeLibType& rType = rMethod.params[i].type;
        rParams[i].tdesc = Describe(rType, rType.nPointers);
        rParams[i].paramdesc.wParamFlags = rMethod.params[i].wFlags;
    }
    FUNCDESC& r = m_functions.emplace_back();
    r.memid = rMethod.memid;
    r.lprgelemdescParam = rParams.data();
    r.funckind = m_bVtable ? FUNC_PUREVIRTUAL : FUNC_DISPATCH;
    r.invkind = INVOKE_FUNC;
    r.callconv = CC_STDCALL;
    r.cParams = static_cast<SHORT>(nParams);
    r.oVft = MethodOffset(iMethod);
    if (m_bVtable)
        r.elemdescFunc.tdesc.vt = VT_HRESULT;
    else if (!rMethod.HasResult())
        r.elemdescFunc.tdesc.vt = VT_VOID;
    else
        r.elemdescFunc.tdesc = Describe(rMethod.params.back().type, rMethod.params.back().type.nPointers - 1);
}

void Info::DescribeConstant(const TypeLibConstant& rConstant)
{
    VARIANT& rValue = m_values.emplace_back();
    rValue = VARIANT{};
    rValue.vt = VT_I4;
    rValue.lVal = rConstant.lValue;
    VARDESC& r = m_variables.emplace_back();
    r.memid = FIRST_CONSTANT + static_cast<MEMBERID>(m_variables.size() - 1);
    r.lpvarValue = &rValue;
    r.elemdescVar.tdesc.vt = VT_INT;
    r.varkind = VAR_CONST;
}

TYPEDESC Info::Describe(const TypeLibType& rType, int nPointers)
{
    TYPEDESC t{};
    t.vt = rType.vt;
    if (rType.vt == VT_USERDEFINED)
        t.hreftype = MakeReference(rType.iEntry, false);
    for (int i = 0; i < nPointers; ++i) {
        TYPEDESC pointer{};
        pointer.vt = VT_PTR;
        pointer.lptdesc = &m_targets.emplace_back(t);
        t = pointer;
    }
    return t;
}

const TypeLibMethod* Info::FindMethod(MEMBERID memid) const
{
    for (const TypeLibMethod& rMethod : m_rEntry.methods)
        if (rMethod.memid == memid)
            return &rMethod;
    return nullptr;
}

HRESULT Info::QueryInterface(REFIID riid, void** ppvObject)
{
    if (ppvObject == nullptr)
        return E_POINTER;
    *ppvObject = nullptr;
    if (riid != IID_IUnknown && riid != IID_ITypeInfo)
        return E_NOINTERFACE;
    AddRef();
    *ppvObject = static_cast<ITypeInfo*>(this);
    return S_OK;
}

ULONG Info::AddRef() { return m_rLibrary.AddRef(); }
ULONG Info::Release() { return m_rLibrary.Release(); }

HRESULT Info::GetNames(MEMBERID memid, BSTR* rgBstrNames, UINT cMaxNames, UINT* pcNames)
{
    if (rgBstrNames == nullptr || pcNames == nullptr)
        return E_INVALIDARG;
    *pcNames = 0;
    const auto give = [&](const std::string& s) {
        if (*pcNames < cMaxNames)
            rgBstrNames[(*pcNames)++] = ToBstr(s);
    };
    if (FindConstant(memid) < m_rEntry.constants.size()) {
        give(m_rEntry.constants[FindConstant(memid)].sName);
        return S_OK;
    }
    const TypeLibMethod* pMethod = FindMethod(memid);
    if (pMethod == nullptr)
        return TYPE_E_ELEMENTNOTFOUND;
    give(pMethod->sName);
    for (const TypeLibParam& rParam : pMethod->params)
        if (m_bVtable || !rParam.IsResult())
            give(rParam.sName);
    return S_OK;
}

HRESULT Info::GetRefTypeOfImplType(UINT index, HREFTYPE* pRefType)
{
    if (pRefType == nullptr)
        return E_INVALIDARG;
    if (m_rEntry.kind == TKIND_COCLASS && index == 0)
        *pRefType = MakeReference(m_rEntry.iDefault, false);
    else if (m_rEntry.kind == TKIND_DISPATCH && index == static_cast<UINT>(-1))
        *pRefType = MakeReference(m_iEntry, !m_bVtable);
    else
        return TYPE_E_ELEMENTNOTFOUND;
    return S_OK;
}

HRESULT Info::GetImplTypeFlags(UINT index, INT* pImplTypeFlags)
{
    if (pImplTypeFlags == nullptr)
        return E_INVALIDARG;
    if (m_rEntry.kind != TKIND_COCLASS || index != 0)
        return TYPE_E_ELEMENTNOTFOUND;
    *pImplTypeFlags = IMPLTYPEFLAG_FDEFAULT;
    return S_OK;
}

// The first name is a member's, the others are those of its parameters.
HRESULT Info::GetIDsOfNames(LPOLESTR* rgszNames, UINT cNames, MEMBERID* pMemId)
{
    if (rgszNames == nullptr || cNames == 0 || pMemId == nullptr)
        return E_INVALIDARG;
    for (UINT i = 0; i < cNames; ++i)
        pMemId[i] = MEMBERID_NIL;
    for (std::size_t i = 0; i < m_rEntry.constants.size(); ++i)
        if (IsSameName(rgszNames[0], m_rEntry.constants[i].sName)) {
            pMemId[0] = FIRST_CONSTANT + static_cast<MEMBERID>(i);
            return cNames == 1 ? S_OK : DISP_E_UNKNOWNNAME;
        }
    for (const TypeLibMethod& rMethod : m_rEntry.methods) {
        if (!IsSameName(rgszNames[0], rMethod.sName))
            continue;
        pMemId[0] = rMethod.memid;
        HRESULT hr = S_OK;
        for (UINT i = 1; i < cNames; ++i) {
            for (std::size_t iParam = 0; iParam < rMethod.params.size(); ++iParam)
                if (IsSameName(rgszNames[i], rMethod.params[iParam].sName))
                    pMemId[i] = static_cast<MEMBERID>(iParam);
            if (pMemId[i] == MEMBERID_NIL)
                hr = DISP_E_UNKNOWNNAME;
        }
        return hr;
    }
    return DISP_E_UNKNOWNNAME;
}

HRESULT Info::Invoke(void* pvInstance, MEMBERID memid, WORD wFlags, DISPPARAMS* pDispParams,
                     VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr)
{
    if (pvInstance == nullptr || pDispParams == nullptr || pDispParams->cNamedArgs > pDispParams->cArgs)
        return E_INVALIDARG;
    if (pVarResult != nullptr)
        VariantInit(pVarResult);
    const TypeLibMethod* pMethod = (wFlags & DISPATCH_METHOD) != 0 ? FindMethod(memid) : nullptr;
    if (pMethod == nullptr)
        return DISP_E_MEMBERNOTFOUND;
    const SHORT oVft = MethodOffset(static_cast<std::size_t>(pMethod - m_rEntry.methods.data()));
    return PlatformInvokeMethod(*pMethod, oVft, pvInstance, pDispParams, pVarResult, pExcepInfo, puArgErr);
}

HRESULT Info::GetDocumentation(MEMBERID memid, BSTR* pBstrName, BSTR* pBstrDocString, DWORD* pdwHelpContext,
                               BSTR* pBstrHelpFile)
{
    const TypeLibMethod* pMethod = FindMethod(memid);
    if (memid == MEMBERID_NIL)
        return GiveDocumentation(m_rEntry.sName, m_rEntry.sHelp, pBstrName, pBstrDocString, pdwHelpContext,
                                 pBstrHelpFile);
    if (pMethod != nullptr)
        return GiveDocumentation(pMethod->sName, pMethod->sHelp, pBstrName, pBstrDocString, pdwHelpContext,
                                 pBstrHelpFile);
    if (FindConstant(memid) < m_rEntry.constants.size())
        return GiveDocumentation(m_rEntry.constants[FindConstant(memid)].sName, {}, pBstrName, pBstrDocString,
                                 pdwHelpContext, pBstrHelpFile);
    return TYPE_E_ELEMENTNOTFOUND;
}

HRESULT Info::GetRefTypeInfo(HREFTYPE hRefType, ITypeInfo** ppTInfo)
{
    if (ppTInfo == nullptr)
        return E_INVALIDARG;
    *ppTInfo = nullptr;
    return m_rLibrary.Give(hRefType, ppTInfo);
}

HRESULT Info::GetContainingTypeLib(ITypeLib** ppTLib, UINT* pIndex)
{
    if (ppTLib == nullptr)
        return E_INVALIDARG;
    m_rLibrary.AddRef();
    *ppTLib = &m_rLibrary;
    if (pIndex != nullptr)
        *pIndex = static_cast<UINT>(m_iEntry);
    return S_OK;
}

// Of a module the first library among its resources; of any other file what is in it.
std::string ReadLibraryFile(const std::string& sPath)
{
    std::string sText;
    if (PlatformReadResource(sPath, "TYPELIB.1", &sText))
        return sText;
    std::ifstream file(sPath, std::ios::binary);
    sText.assign(std::istreambuf_iterator<char>(file), {});
    return sText;
}

}  // namespace

HRESULT LoadTypeLibEx(LPCOLESTR szFile, REGKIND regkind, ITypeLib** pptlib)
{
    if (szFile == nullptr || pptlib == nullptr)
        return E_INVALIDARG;
    *pptlib = nullptr;
    TypeLibModel model;
    if (!PlatformReadTypeLibText(ReadLibraryFile(PlatformFilePath(PlatformNarrow(szFile))), &model))
        return TYPE_E_CANTLOADLIBRARY;
    *pptlib = new Library(std::move(model));
    const HRESULT hr =
        regkind == REGKIND_REGISTER ? RegisterTypeLib(*pptlib, const_cast<LPOLESTR>(szFile), nullptr) : S_OK;
    if (FAILED(hr)) {
        (*pptlib)->Release();
        *pptlib = nullptr;
    }
    return hr;
}

HRESULT LoadTypeLib(const OLECHAR* szFile, ITypeLib** pptlib)
{
    return LoadTypeLibEx(szFile, REGKIND_DEFAULT, pptlib);
}
