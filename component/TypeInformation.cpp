#include "component/TypeInformation.h"

#include "component/ComObject.h"
#include "component/Interfaces.h"
#include "component/Module.h"

namespace {

constexpr WORD MAJOR_VERSION = 7;
constexpr WORD MINOR_VERSION = 0;
constexpr LCID LIBRARY_LANGUAGE = 0x409;

CritSecLock s_lock;  // of all interfaces

}  // namespace

HRESULT TypeInformation::GetTypeInfoCount(UINT* pctinfo)
{
    if (pctinfo == nullptr)
        return E_POINTER;
    *pctinfo = 1;
    return S_OK;
}

HRESULT TypeInformation::GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo)
{
    if (ppTInfo == nullptr)
        return E_POINTER;
    *ppTInfo = nullptr;
    if (iTInfo != 0)
        return DISP_E_BADINDEX;
    const HRESULT hr = Obtain(lcid);
    if (FAILED(hr))
        return hr;
    *ppTInfo = m_pTypeInfo;
    (*ppTInfo)->AddRef();
    return S_OK;
}

HRESULT TypeInformation::GetIDsOfNames(LPOLESTR* rgszNames, UINT cNames, LCID lcid, DISPID* rgDispId)
{
    if (rgszNames == nullptr || rgDispId == nullptr)
        return E_POINTER;
    const HRESULT hr = Obtain(lcid);
    return FAILED(hr) ? hr : m_pTypeInfo.load()->GetIDsOfNames(rgszNames, cNames, rgDispId);
}

HRESULT TypeInformation::Invoke(IDispatch* pObject, DISPID dispIdMember, LCID lcid, WORD wFlags,
                                DISPPARAMS* pDispParams, VARIANT* pVarResult, EXCEPINFO* pExcepInfo,
                                UINT* puArgErr)
{
    if (pDispParams == nullptr)
        return E_INVALIDARG;
    const HRESULT hr = Obtain(lcid);
    if (FAILED(hr))
        return hr;
    return m_pTypeInfo.load(std::memory_order_acquire)
        ->Invoke(pObject, dispIdMember, wFlags, pDispParams, pVarResult, pExcepInfo, puArgErr);
}

void TypeInformation::Forget()
{
    if (ITypeInfo* pTypeInfo = m_pTypeInfo.exchange(nullptr))
        pTypeInfo->Release();
}

HRESULT TypeInformation::Obtain(LCID lcid)
{
    if (m_pTypeInfo.load(std::memory_order_acquire) != nullptr)
        return S_OK;
    ScopedLock lock(&s_lock);
    return m_pTypeInfo.load() != nullptr ? S_OK : Load(lcid);
}

HRESULT TypeInformation::Load(LCID lcid)
{
    ITypeLib* pTypeLib = nullptr;
    HRESULT hr = LoadRegTypeLib(LIBID_ORVEXARGUMENTSLib, MAJOR_VERSION, MINOR_VERSION, lcid, &pTypeLib);
    // There is one library, in one language; its names are the same for clients of any.
    if (FAILED(hr) && lcid != LIBRARY_LANGUAGE)
        hr = LoadRegTypeLib(LIBID_ORVEXARGUMENTSLib, MAJOR_VERSION, MINOR_VERSION, LIBRARY_LANGUAGE,
                            &pTypeLib);
    if (FAILED(hr))
        return hr;
    ITypeInfo* pTypeInfo = nullptr;
    hr = pTypeLib->GetTypeInfoOfGuid(*m_pIid, &pTypeInfo);
    pTypeLib->Release();
    if (SUCCEEDED(hr))
        m_pTypeInfo.store(pTypeInfo, std::memory_order_release);
    return hr;
}
