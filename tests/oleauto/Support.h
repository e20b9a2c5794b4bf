// What the tests of automation calls share: variants that clear themselves, strings that free themselves, and
// an object that counts its references and answers as its default value what it is told.
#pragma once

#include "platform/Platform.h"

#include <gtest/gtest.h>

#include <string>

using Wide = std::basic_string<OLECHAR>;

inline std::string Narrow(const OLECHAR* p, UINT n)
{
    std::string s;
    for (UINT i = 0; i < n; ++i)
        s += p[i] < 0x80 ? static_cast<char>(p[i]) : '?';
    return s;
}

class String
{
public:
    String() = default;
    explicit String(const OLECHAR* psz) : m_bstr(SysAllocString(psz)) {}
    ~String() { SysFreeString(m_bstr); }
    String(const String&) = delete;
    String& operator=(const String&) = delete;

    operator BSTR() const { return m_bstr; }
    BSTR* operator&() { return &m_bstr; }
    std::string Text() const { return m_bstr == nullptr ? "(null)" : Narrow(m_bstr, SysStringLen(m_bstr)); }

private:
    BSTR m_bstr = nullptr;
};

class Variant : public VARIANT
{
public:
    Variant() { VariantInit(this); }
    ~Variant() { VariantClear(this); }
    Variant(const Variant& other) : VARIANT()
    {
        EXPECT_EQ(VariantCopy(this, const_cast<Variant*>(&other)), S_OK);
    }
    Variant& operator=(const Variant&) = delete;

    static Variant Of(VARTYPE vt, LONG64 ll)
    {
        Variant v;
        v.vt = vt;
        v.llVal = ll;
        return v;
    }
    static Variant Real(double d)
    {
        Variant v;
        v.vt = VT_R8;
        v.dblVal = d;
        return v;
    }
    static Variant Float(float f)
    {
        Variant v;
        v.vt = VT_R4;
        v.fltVal = f;
        return v;
    }
    static Variant Text(const OLECHAR* psz)
    {
        Variant v;
        v.vt = VT_BSTR;
        v.bstrVal = SysAllocString(psz);
        return v;
    }
    static Variant Object(IDispatch* p)
    {
        Variant v;
        v.vt = VT_DISPATCH;
        v.pdispVal = p;
        p->AddRef();
        return v;
    }
};

// Type and value as text, as in "3:5" or "8:abc".
inline std::string Told(const VARIANT& v)
{
    const std::string type = std::to_string(v.vt) + ":";
    switch (v.vt) {
    case VT_I1: return type + std::to_string(static_cast<signed char>(v.cVal));
    case VT_UI1: return type + std::to_string(v.bVal);
    case VT_I2:
    case VT_BOOL: return type + std::to_string(v.iVal);
    case VT_UI2: return type + std::to_string(v.uiVal);
    case VT_I4:
    case VT_INT:
    case VT_ERROR: return type + std::to_string(v.lVal);
    case VT_UI4:
    case VT_UINT: return type + std::to_string(v.ulVal);
    case VT_I8: return type + std::to_string(v.llVal);
    case VT_UI8: return type + std::to_string(v.ullVal);
    case VT_R4: return type + testing::PrintToString(v.fltVal);
    case VT_R8: return type + testing::PrintToString(v.dblVal);
    case VT_BSTR: return type + Narrow(v.bstrVal, SysStringLen(v.bstrVal));
    default: return type;
    }
}

class Object : public IDispatch
{
public:
    virtual ~Object() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override
    {
        const bool bOurs = IsEqualIID(riid, IID_IUnknown) || (m_bDispatch && IsEqualIID(riid, IID_IDispatch));
        *ppv = bOurs ? this : nullptr;
        if (bOurs)
            AddRef();
        return bOurs ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_ulCount; }
    ULONG STDMETHODCALLTYPE Release() override { return --m_ulCount; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* pResult, EXCEPINFO*,
                                     UINT*) override
    {
        return id == DISPID_VALUE && m_pValue != nullptr ? VariantCopy(pResult, m_pValue)
                                                         : DISP_E_MEMBERNOTFOUND;
    }

    ULONG m_ulCount = 1;
    bool m_bDispatch = true;
    VARIANT* m_pValue = nullptr;  // of the default property; null: there is none
};
