#include "component/CComArg.h"

#include "arguments/Arguments.h"
#include "component/CComArguments.h"

#include <atomic>
#include <new>
#include <utility>

namespace {

std::atomic<const void*> s_pTable{nullptr};  // that of every CComArg, once there is one

}  // namespace

TypeInformation CComArg::s_typeInformation(&IID_IArg);

HRESULT CComArg::CreateInstance(IUnknown* pOuter, REFIID riid, void** ppv)
{
    return HandOut(std::make_unique<CComArg>(pOuter), riid, ppv);
}

HRESULT CComArg::Create(CComArg** ppComArg)
{
    *ppComArg = nullptr;
    void* pv = nullptr;
    const HRESULT hr = CoCreateInstance(CLSID_Arg, nullptr, CLSCTX_ALL, IID_IArg, &pv);
    if (FAILED(hr) || pv == nullptr)
        return FAILED(hr) ? hr : E_FAIL;
    IArg* pArg = static_cast<IArg*>(pv);
    *ppComArg = OwnObject(pArg);
    if (*ppComArg == nullptr) {
        pArg->Release();
        return E_FAIL;
    }
    return hr;
}

CComArg* CComArg::OwnObject(IUnknown* pArg)
{
    if (TableOf(pArg) != s_pTable.load(std::memory_order_relaxed))
        return nullptr;
    return static_cast<CComArg*>(static_cast<IArg*>(pArg));
}

HRESULT CComArg::GetArgOf(IArg* pComArg, Arg** ppArg)
{
    CComArg* pOwn = OwnObject(pComArg);
    return pOwn != nullptr ? pOwn->GetArg(ppArg) : E_POINTER;
}

CComArg::CComArg(IUnknown* pOuter) : ComObject(pOuter), m_pArg(nullptr)
{
    s_pTable.store(TableOf(static_cast<IArg*>(this)), std::memory_order_relaxed);
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::CComArg()", this);
    bool bCreated = false;
    try {
        bCreated = Arg::Create(&m_pArg);
    } catch (const std::bad_alloc&) {
    }
    if (!bCreated)
        ORVEX_TRACE(&m_Logger, TRACE_STEP_FAILED, "CComArg(%p)::CComArg: Memory allocation failure)",
                    this);  // sic
}

CComArg::~CComArg()
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::~CComArg()", this);
    if (m_pArg != nullptr)
        m_pArg->Release();
}

IUnknown* CComArg::FindInterface(REFIID riid)
{
    if (IsEqualIID(riid, IID_IArg) || IsEqualIID(riid, IID_IDispatch))
        return static_cast<IArg*>(this);
    if (IsEqualIID(riid, IID_ISupportErrorInfo))
        return static_cast<ISupportErrorInfo*>(this);
    return nullptr;
}

HRESULT CComArg::GetArg(Arg** ppArg)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::GetArg()", this);
    if (ppArg != nullptr)
        *ppArg = nullptr;
    if (ppArg == nullptr || m_pArg == nullptr) {
        Failed("GetArg. Invalid pointer.");
        return E_POINTER;
    }
    m_pArg->AddRef();
    *ppArg = m_pArg;
    return S_OK;
}

HRESULT CComArg::SetArg(Arg* pArg)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::SetArg()", this);
    if (pArg == nullptr) {
        Failed("SetArg. Invalid pointer.");
        return E_INVALIDARG;
    }
    pArg->AddRef();
    const ArgHolder old(m_pArg);
    m_pArg = pArg;
    return S_OK;
}

STDMETHODIMP CComArg::GetTypeInfoCount(UINT* pctinfo) { return s_typeInformation.GetTypeInfoCount(pctinfo); }

STDMETHODIMP CComArg::GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo)
{
    return s_typeInformation.GetTypeInfo(iTInfo, lcid, ppTInfo);
}

STDMETHODIMP CComArg::GetIDsOfNames(REFIID, LPOLESTR* rgszNames, UINT cNames, LCID lcid, DISPID* rgDispId)
{
    return s_typeInformation.GetIDsOfNames(rgszNames, cNames, lcid, rgDispId);
}

STDMETHODIMP CComArg::Invoke(DISPID dispIdMember, REFIID, LCID lcid, WORD wFlags, DISPPARAMS* pDispParams,
                             VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr)
{
    return s_typeInformation.Invoke(static_cast<IArg*>(this), dispIdMember, lcid, wFlags, pDispParams,
                                    pVarResult, pExcepInfo, puArgErr);
}

STDMETHODIMP CComArg::InterfaceSupportsErrorInfo(REFIID riid)
{
    return IsEqualIID(riid, IID_IArg) ? S_OK : S_FALSE;
}

STDMETHODIMP CComArg::SetValue(VARIANT* pValue, VARIANT_BOOL* bSuccess)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::SetValue()", this);
    if (bSuccess == nullptr)
        return E_POINTER;
    *bSuccess = VARIANT_FALSE;
    if (pValue == nullptr) {
        InvalidPointer();
        return E_POINTER;
    }
    bool b = false;
    ReferencedString string;
    // clang-format off
    switch (pValue->vt) {
    case VT_BOOL:            b = m_pArg != nullptr ? m_pArg->SetValue(pValue->boolVal == VARIANT_TRUE)     : InvalidPointer(); break;
    case VT_I2:              b = m_pArg != nullptr ? m_pArg->SetValue(pValue->iVal)                        : InvalidPointer(); break;
    case VT_I4:              b = m_pArg != nullptr ? m_pArg->SetValue(static_cast<int>(pValue->lVal))      : InvalidPointer(); break;
    case VT_INT:             b = m_pArg != nullptr ? m_pArg->SetValue(pValue->intVal)                      : InvalidPointer(); break;
    case VT_UI2:             b = m_pArg != nullptr ? m_pArg->SetValue(pValue->uiVal)                       : InvalidPointer(); break;
    case VT_UINT:            b = m_pArg != nullptr ? m_pArg->SetValue(pValue->uintVal)                     : InvalidPointer(); break;
    case VT_BSTR:            b = SetString(pValue->bstrVal); break;
    case VT_DISPATCH:        b = SetObject(pValue->pdispVal); break;
    case VT_BYREF | VT_BSTR: if (string.Read(pValue)) { b = SetString(string.Get()); break; } [[fallthrough]];
    default:                 Failed("SetValue. Unexpected vt, invalid argument."); break;
    }
    // clang-format on
    *bSuccess = VariantBool(b);
    return S_OK;
} catch (...) {
    return Caught("CComArg", this, "SetValue");
}

bool CComArg::SetString(BSTR bstr)
{
    if (!IsAcceptable(bstr)) {
        Failed("SetValue. Unexpected BSTR, invalid argument.");
        return false;
    }
    const NarrowBuffer text = NarrowCopy(bstr);
    if (text == nullptr) {
        Failed("SetValue. Error converting from BSTR to string.");
        return false;
    }
    return m_pArg != nullptr ? m_pArg->SetValue(static_cast<const char*>(text.get())) : InvalidPointer();
}

// The value of another object of this class, copied.
bool CComArg::SetObject(IDispatch* pDispatch)
{
    void* pv = nullptr;
    if (pDispatch == nullptr || FAILED(pDispatch->QueryInterface(IID_IArg, &pv)) || pv == nullptr)
        return InvalidPointer();
    const std::unique_ptr<IArg, ReleaseInterface> pComArg(static_cast<IArg*>(pv));
    Arg* p = nullptr;
    if (FAILED(GetArgOf(pComArg.get(), &p)) || p == nullptr)
        return InvalidPointer();
    const ArgHolder pArg(p);
    if (m_pArg == nullptr)
        return InvalidPointer();
    if (m_pArg->SetValue(*pArg))
        return true;
    Failed("SetValue. Failed to Add a string key and Argument value");  // sic
    return false;
}

bool CComArg::InvalidPointer()
{
    Failed("SetValue. Invalid pointer.");
    return false;
}

STDMETHODIMP CComArg::GetClassID(int* pClassID)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::GetClassID()", this);
    if (pClassID == nullptr)
        return E_POINTER;
    *pClassID = 0;
    if (m_pArg == nullptr) {
        Failed("GetClassID. Invalid pointer.");
        return E_POINTER;
    }
    *pClassID = m_pArg->GetClassID();
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::GetClassID. Class ID %d", this, *pClassID);
    return S_OK;
}

STDMETHODIMP CComArg::GetValue(VARIANT* pValue)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::GetValue()", this);
    if (pValue != nullptr)
        VariantInit(pValue);
    if (pValue == nullptr || m_pArg == nullptr) {
        Failed("GetValue. Invalid pointer.");
        return E_POINTER;
    }
    const HRESULT hr = ReadValue(pValue);
    if (FAILED(hr))
        pValue->vt = VT_EMPTY;
    return hr;
} catch (...) {
    return Caught("CComArg", this, "GetValue");
}

HRESULT CComArg::ReadValue(VARIANT* pValue)
{
    bool b = false;
    // clang-format off
    switch (m_pArg->GetType()) {
    case ARG_INT:      pValue->vt = VT_INT;  return m_pArg->GetValueInt(&pValue->intVal)    ? S_OK : Failed("GetValue. Failed to get a integer value");
    case ARG_UINT:     pValue->vt = VT_UINT; return m_pArg->GetValueUInt(&pValue->uintVal)  ? S_OK : Failed("GetValue. Failed to get a unsigned integer value");
    case ARG_USHORT:   pValue->vt = VT_UI2;  return m_pArg->GetValueUShort(&pValue->uiVal)  ? S_OK : Failed("GetValue. Failed to get a unsigned short value");
    case ARG_SHORT:    pValue->vt = VT_I2;   return m_pArg->GetValueShort(&pValue->iVal)    ? S_OK : Failed("GetValue. Failed to get a short value");
    case ARG_BOOL:     if (!m_pArg->GetValueBool(&b)) return Failed("GetValue. Failed to get a boolean value"); break;
    case ARG_STRING:   return ReadString(pValue);
    case ARG_ARGARRAY: return ReadArray(pValue);
    default:           return Failed("GetValue. Invalid type.");
    }
    // clang-format on
    pValue->vt = VT_BOOL;
    pValue->boolVal = VariantBool(b);
    return S_OK;
}

HRESULT CComArg::ReadString(VARIANT* pValue)
{
    std::string s;
    BSTR bstr = m_pArg->GetValueString(&s) ? A2WBSTR_ORVEX(s.c_str(), -1) : nullptr;
    if (bstr == nullptr)
        return Failed("GetValue. Failed to get a string");
    pValue->vt = VT_BSTR;
    pValue->bstrVal = bstr;
    return S_OK;
}

HRESULT CComArg::ReadArray(VARIANT* pValue)
{
    Arguments* p = nullptr;
    if (!m_pArg->GetValueArray(&p))
        return Failed("GetValue. Failed to get an array value");
    const ArgumentsHolder pArray(p);
    CComArguments* pNew = nullptr;
    if (FAILED(CComArguments::Create(&pNew)))
        return Failed("GetValue. CoCreateInstance failed.");
    if (FAILED(pNew->SetArguments(p))) {
        pNew->Release();
        return Failed("GetValue. SetArguments failed.");
    }
    pValue->vt = VT_DISPATCH;
    pValue->pdispVal = pNew;
    return S_OK;
}

STDMETHODIMP CComArg::GetValueInt(int* nValue)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::GetValueInt()", this);
    if (nValue == nullptr)
        return E_POINTER;
    *nValue = 0;
    if (m_pArg != nullptr && m_pArg->GetValueInt(nValue))
        return S_OK;
    return Failed("GetValueInt. Failed to get a integer value");
} catch (...) {
    return Caught("CComArg", this, "GetValueInt");
}

STDMETHODIMP CComArg::GetValueString(BSTR* pValue)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::GetValueString()", this);
    if (pValue == nullptr)
        return E_POINTER;
    *pValue = nullptr;
    std::string s;
    if (m_pArg == nullptr || !m_pArg->GetValueString(&s))
        return Failed("GetValueString. Failed to get a string value");
    *pValue = WideText(s);
    return S_OK;
} catch (...) {
    return Caught("CComArg", this, "GetValueString");
}

STDMETHODIMP CComArg::GetValueArray(IArguments** pArguments)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::GetValueArray()", this);
    if (pArguments == nullptr)
        return E_POINTER;
    *pArguments = nullptr;
    Arguments* p = nullptr;
    if (m_pArg == nullptr || m_pArg->GetType() != ARG_ARGARRAY || !m_pArg->GetValueArray(&p))
        return Failed("GetValueArray. Failed to get an array value");
    const ArgumentsHolder pArray(p);
    CComArguments* pNew = nullptr;
    if (FAILED(CComArguments::Create(&pNew)))
        return Failed("GetValueArray. CoCreateInstance failed.");
    const HRESULT hr = pNew->SetArguments(p);
    if (FAILED(hr)) {
        pNew->Release();
        return Failed("GetValueArray. SetArguments failed.");
    }
    *pArguments = pNew;
    return hr;
} catch (...) {
    return Caught("CComArg", this, "GetValueArray");
}

STDMETHODIMP CComArg::GetValueBool(VARIANT_BOOL* bValue)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::GetValueBool()", this);
    if (bValue == nullptr)
        return E_POINTER;
    *bValue = VARIANT_FALSE;
    bool b = false;
    if (m_pArg == nullptr || !m_pArg->GetValueBool(&b))
        return Failed("GetValueBool. Failed to get a bool value");
    *bValue = VariantBool(b);
    return S_OK;
} catch (...) {
    return Caught("CComArg", this, "GetValueBool");
}

STDMETHODIMP CComArg::GetType(int* pnType)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::GetType()", this);
    if (pnType == nullptr)
        return E_POINTER;
    *pnType = m_pArg != nullptr ? m_pArg->GetType() : static_cast<int>(ARG_NOTSET);
    return S_OK;
}

STDMETHODIMP CComArg::DumpArg(BSTR* pString)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::DumpArg()", this);
    if (pString == nullptr)
        return E_POINTER;
    *pString = nullptr;
    const std::string s = m_pArg != nullptr ? m_pArg->DumpArg() : std::string();
    *pString = WideText(s);
    return S_OK;
} catch (...) {
    return Caught("CComArg", this, "DumpArg");
}

STDMETHODIMP CComArg::Clone(IArg** pClonedArg)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::Clone()", this);
    if (pClonedArg != nullptr)
        *pClonedArg = nullptr;
    CComArg* p = nullptr;
    const HRESULT hr = pClonedArg != nullptr ? Create(&p) : E_POINTER;
    if (FAILED(hr)) {
        ORVEX_TRACE(&m_Logger, TRACE_STEP, "CComArgs(%p)::Clone. CoCreateInstance failed.", this);  // sic
        return E_FAIL;
    }
    std::unique_ptr<CComArg, ReleaseInterface> pNew(p);
    if (m_pArg == nullptr)
        return Failed("Clone. Invalid pointer.");
    const ArgHolder made(std::exchange(pNew->m_pArg, m_pArg->Clone()));
    *pClonedArg = pNew.release();
    return hr;
} catch (...) {
    return Caught("CComArg", this, "Clone");
}

HRESULT CComArg::Failed(const char* text)
{
    ORVEX_TRACE(&m_Logger, TRACE_STEP, "CComArg(%p)::%s", this, text);
    return E_FAIL;
}
