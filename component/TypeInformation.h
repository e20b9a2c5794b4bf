// TypeInformation: the type information of one dual interface, from which its IDispatch runs. It comes from
// the registered library on first use, in the language of that first use, and is held for the life of the
// module.
#pragma once

#include "platform/Platform.h"

#include <atomic>

class TypeInformation
{
public:
    constexpr explicit TypeInformation(const IID* pIid) : m_pIid(pIid), m_pTypeInfo(nullptr) {}

    // The operations of IDispatch, but for those of IUnknown. pObject: the interface to be called.
    HRESULT GetTypeInfoCount(UINT* pctinfo);
    HRESULT GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo);
    HRESULT GetIDsOfNames(LPOLESTR* rgszNames, UINT cNames, LCID lcid, DISPID* rgDispId);
    HRESULT Invoke(IDispatch* pObject, DISPID dispIdMember, LCID lcid, WORD wFlags, DISPPARAMS* pDispParams,
                   VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr);

    // What is held goes; called when the module is unloaded.
    void Forget();

private:
    HRESULT Obtain(LCID lcid);
    HRESULT Load(LCID lcid);

    const IID* m_pIid;
    std::atomic<ITypeInfo*> m_pTypeInfo;  // one reference, or null
};
