// CComArguments: life, sharing, the type-driven IDispatch, and what works on the container as a whole.
#include "component/CComArguments.h"

#include "arguments/Arguments.h"

#include <atomic>
#include <new>
#include <utility>

namespace {

std::atomic<const void*> s_pTable{nullptr};  // that of every CComArguments, once there is one

}  // namespace

TypeInformation CComArguments::s_typeInformation(&IID_IArguments);

HRESULT CComArguments::CreateInstance(IUnknown* pOuter, REFIID riid, void** ppv)
{
    return HandOut(std::make_unique<CComArguments>(pOuter), riid, ppv);
}

HRESULT CComArguments::Create(CComArguments** ppComArguments)
{
    *ppComArguments = nullptr;
    void* pv = nullptr;
    const HRESULT hr = CoCreateInstance(CLSID_Arguments, nullptr, CLSCTX_ALL, IID_IArguments, &pv);
    if (FAILED(hr) || pv == nullptr)
        return FAILED(hr) ? hr : E_FAIL;
    IArguments* pArguments = static_cast<IArguments*>(pv);
    *ppComArguments = OwnObject(pArguments);
    if (*ppComArguments == nullptr) {
        pArguments->Release();
        return E_FAIL;
    }
    return hr;
}

CComArguments* CComArguments::OwnObject(IUnknown* pArguments)
{
    if (TableOf(pArguments) != s_pTable.load(std::memory_order_relaxed))
        return nullptr;
    return static_cast<CComArguments*>(static_cast<IArguments*>(pArguments));
}

CComArguments::CComArguments(IUnknown* pOuter) : ComObject(pOuter), m_pArguments(nullptr)
{
    s_pTable.store(TableOf(static_cast<IArguments*>(this)), std::memory_order_relaxed);
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::CComArguments()", this);
    bool bCreated = false;
    try {
        bCreated = Arguments::CreateInstance(&m_pArguments);
    } catch (const std::bad_alloc&) {
    }
    if (!bCreated)
        ORVEX_TRACE(&m_Logger, TRACE_STEP_FAILED,
                    "CComArguments(%p)::CComArguments, Memory allocation failure", this);
}

CComArguments::~CComArguments()
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::~CComArguments()", this);
    if (m_pArguments != nullptr)
        m_pArguments->Release();
}

IUnknown* CComArguments::FindInterface(REFIID riid)
{
    if (IsEqualIID(riid, IID_IArguments) || IsEqualIID(riid, IID_IDispatch))
        return static_cast<IArguments*>(this);
    if (IsEqualIID(riid, IID_ISupportErrorInfo))
        return static_cast<ISupportErrorInfo*>(this);
    return nullptr;
}

HRESULT CComArguments::GetArguments(Arguments** ppArguments)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::GetArguments()", this);  // sic
    if (ppArguments != nullptr)
        *ppArguments = nullptr;
    if (ppArguments == nullptr || m_pArguments == nullptr) {
        Failed("GetArguments. Invalid pointer.");
        return E_POINTER;
    }
    m_pArguments->AddRef();
    *ppArguments = m_pArguments;
    return S_OK;
}

HRESULT CComArguments::SetArguments(Arguments* pArguments)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArg(%p)::SetArguments()", this);  // sic
    if (pArguments == nullptr) {
        Failed("SetArguments. Invalid pointer");
        return E_INVALIDARG;
    }
    pArguments->AddRef();
    const ArgumentsHolder old(std::exchange(m_pArguments, pArguments));
    return S_OK;
}

STDMETHODIMP CComArguments::GetTypeInfoCount(UINT* pctinfo)
{
    return s_typeInformation.GetTypeInfoCount(pctinfo);
}

STDMETHODIMP CComArguments::GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo)
{
    return s_typeInformation.GetTypeInfo(iTInfo, lcid, ppTInfo);
}

STDMETHODIMP CComArguments::GetIDsOfNames(REFIID, LPOLESTR* rgszNames, UINT cNames, LCID lcid,
                                          DISPID* rgDispId)
{
    return s_typeInformation.GetIDsOfNames(rgszNames, cNames, lcid, rgDispId);
}

STDMETHODIMP CComArguments::Invoke(DISPID dispIdMember, REFIID, LCID lcid, WORD wFlags,
                                   DISPPARAMS* pDispParams, VARIANT* pVarResult, EXCEPINFO* pExcepInfo,
                                   UINT* puArgErr)
{
    return s_typeInformation.Invoke(static_cast<IArguments*>(this), dispIdMember, lcid, wFlags, pDispParams,
                                    pVarResult, pExcepInfo, puArgErr);
}

STDMETHODIMP CComArguments::InterfaceSupportsErrorInfo(REFIID riid)
{
    return IsEqualIID(riid, IID_IArguments) ? S_OK : S_FALSE;
}

STDMETHODIMP CComArguments::Clone(IArguments** pClonedArguments)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::Clone()", this);
    if (pClonedArguments != nullptr)
        *pClonedArguments = nullptr;
    CComArguments* p = nullptr;
    const HRESULT hr = pClonedArguments != nullptr ? Create(&p) : E_POINTER;
    if (FAILED(hr))
        return Failed("Clone. CoCreateInstance failed.");
    std::unique_ptr<CComArguments, ReleaseInterface> pNew(p);
    if (m_pArguments == nullptr)
        return Failed("Clone. Invalid pointer.");
    const ArgumentsHolder made(
        std::exchange(pNew->m_pArguments, static_cast<Arguments*>(m_pArguments->Clone())));
    *pClonedArguments = pNew.release();
    return hr;
} catch (...) {
    return Caught("CComArguments", this, "Clone");
}

STDMETHODIMP CComArguments::Clear()
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::Clear()", this);
    if (m_pArguments != nullptr)
        m_pArguments->Clear();
    return S_OK;
} catch (...) {
    return Caught("CComArguments", this, "Clear");
}

STDMETHODIMP CComArguments::Initialize()
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::Initialize()", this);
    if (m_pArguments != nullptr)
        m_pArguments->Initialize();
    return S_OK;
} catch (...) {
    return Caught("CComArguments", this, "Initialize");
}

HRESULT CComArguments::Failed(const char* text)
{
    ORVEX_TRACE(&m_Logger, TRACE_STEP, "CComArguments(%p)::%s", this, text);
    return E_FAIL;
}

HRESULT CComArguments::Told(HRESULT hr, const char* text)
{
    if (FAILED(hr))
        Failed(text);
    return hr;
}
