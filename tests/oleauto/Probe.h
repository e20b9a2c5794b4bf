// The interface of Probe.idl and an object that tells what it was called with.
#pragma once

#include "platform/Platform.h"

#include <atomic>
#include <string>

const CLSID CLSID_Probe = {0x5B1C36A0, 0x3B2F, 0x4D5E, {0x9A, 0x70, 0x6E, 0x1C, 0x0C, 0x9D, 0x1E, 0x02}};
const IID IID_IProbe = {0x5B1C36A0, 0x3B2F, 0x4D5E, {0x9A, 0x70, 0x6E, 0x1C, 0x0C, 0x9D, 0x1E, 0x03}};
const GUID LIBID_Probe = {0x5B1C36A0, 0x3B2F, 0x4D5E, {0x9A, 0x70, 0x6E, 0x1C, 0x0C, 0x9D, 0x1E, 0x01}};

struct IProbe : IDispatch
{
    virtual HRESULT STDMETHODCALLTYPE Numbers(SHORT i, USHORT ui, INT n, UINT u, VARIANT_BOOL b,
                                              BSTR* pText) = 0;
    virtual HRESULT STDMETHODCALLTYPE Join(BSTR first, BSTR second, BSTR* pText) = 0;
    virtual HRESULT STDMETHODCALLTYPE Take(VARIANT* pValue, VARIANT* pResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE Fail(INT nResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE Self(IProbe** ppSelf) = 0;
    virtual HRESULT STDMETHODCALLTYPE Negate(INT n, INT* pResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE Not(VARIANT_BOOL b, VARIANT_BOOL* pResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE Nothing() = 0;
};

class Probe : public IProbe
{
public:
    virtual ~Probe() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override
    {
        *ppv = nullptr;
        if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, IID_IDispatch) &&
            !IsEqualIID(riid, IID_IProbe))
            return E_NOINTERFACE;
        AddRef();
        *ppv = static_cast<IProbe*>(this);
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_ulCount; }
    ULONG STDMETHODCALLTYPE Release() override { return --m_ulCount; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                     UINT*) override
    {
        return E_NOTIMPL;
    }

    HRESULT STDMETHODCALLTYPE Numbers(SHORT i, USHORT ui, INT n, UINT u, VARIANT_BOOL b, BSTR* pText) override
    {
        const std::string s = std::to_string(i) + ' ' + std::to_string(ui) + ' ' + std::to_string(n) + ' ' +
                              std::to_string(u) + ' ' + std::to_string(b);
        *pText = SysAllocString(std::basic_string<OLECHAR>(s.begin(), s.end()).c_str());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Join(BSTR first, BSTR second, BSTR* pText) override
    {
        std::basic_string<OLECHAR> s(first, SysStringLen(first));
        s += OLECHAR{'+'};
        s.append(second, SysStringLen(second));
        *pText = SysAllocString(s.c_str());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Take(VARIANT* pValue, VARIANT* pResult) override
    {
        m_pTaken = pValue;
        return VariantCopy(pResult, pValue);
    }
    HRESULT STDMETHODCALLTYPE Fail(INT nResult) override { return nResult; }
    HRESULT STDMETHODCALLTYPE Self(IProbe** ppSelf) override
    {
        AddRef();
        *ppSelf = this;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Negate(INT n, INT* pResult) override
    {
        *pResult = -n;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Not(VARIANT_BOOL b, VARIANT_BOOL* pResult) override
    {
        *pResult = b ? VARIANT_FALSE : VARIANT_TRUE;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Nothing() override { return S_FALSE; }

    std::atomic<ULONG> m_ulCount{1};
    VARIANT* m_pTaken = nullptr;  // the place of the last value given to Take
};
