// Objects of other makers, as a client may hand them in.
#pragma once

#include "tests/component/Support.h"

// Counts its references. Answers the interfaces that it is told to with itself, whatever it is.
class Stranger
{
public:
    ULONG m_ulCount = 1;
    bool m_bAnswersAll = false;
    bool m_bAnswersNull = false;       // S_OK, and no pointer
    bool m_bFailsWithPointer = false;  // a failure, and a pointer that is not for use

protected:
    HRESULT Answer(IUnknown* p, bool bKnown, void** ppv)
    {
        *ppv = m_bAnswersNull ? nullptr : p;
        if (m_bFailsWithPointer)
            return E_FAIL;
        if (m_bAnswersNull)
            return S_OK;
        if (!bKnown && !m_bAnswersAll) {
            *ppv = nullptr;
            return E_NOINTERFACE;
        }
        ++m_ulCount;
        return S_OK;
    }
};

// An IArg of another module.
class ForeignArg final : public IArg, public Stranger
{
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override
    {
        return Answer(this, riid == IID_IUnknown || riid == IID_IDispatch || riid == IID_IArg, ppv);
    }
    // clang-format off
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_ulCount; }
    STDMETHODIMP_(ULONG) Release() override { return --m_ulCount; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP SetValue(VARIANT*, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP GetClassID(int*) override { return E_NOTIMPL; }
    STDMETHODIMP GetValue(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetValueInt(int*) override { return E_NOTIMPL; }
    STDMETHODIMP GetValueString(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP GetValueArray(IArguments**) override { return E_NOTIMPL; }
    STDMETHODIMP GetValueBool(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP GetType(int*) override { return E_NOTIMPL; }
    STDMETHODIMP DumpArg(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IArg**) override { return E_NOTIMPL; }
    // clang-format on
};

// An IArguments of another module.
class ForeignArguments final : public IArguments, public Stranger
{
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override
    {
        return Answer(this, riid == IID_IUnknown || riid == IID_IDispatch || riid == IID_IArguments, ppv);
    }
    // clang-format off
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_ulCount; }
    STDMETHODIMP_(ULONG) Release() override { return --m_ulCount; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP AddItem(VARIANT*, VARIANT*, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP RemoveItem(VARIANT*, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP IsValid(VARIANT*, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP SetElement(int, VARIANT*, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP SetValue(VARIANT*, VARIANT*, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP GetElement(int, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetElementKey(int, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP GetValue(VARIANT*, IArg**) override { return E_NOTIMPL; }
    STDMETHODIMP NumElements(int*) override { return E_NOTIMPL; }
    STDMETHODIMP GetClassID(int*) override { return E_NOTIMPL; }
    STDMETHODIMP DumpArgs(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP GetValueInt(VARIANT*, int*) override { return E_NOTIMPL; }
    STDMETHODIMP GetValueString(VARIANT*, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP GetValueArray(VARIANT*, IArguments**) override { return E_NOTIMPL; }
    STDMETHODIMP GetValueBool(VARIANT*, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IArguments**) override { return E_NOTIMPL; }
    STDMETHODIMP Clear() override { return E_NOTIMPL; }
    STDMETHODIMP Initialize() override { return E_NOTIMPL; }
    // clang-format on
};

// Takes an object of the module into itself, and fails the n-th QueryInterface it is asked. Whoever asks for
// an interface of the object gets the object's own.
class Outer final : public Object
{
public:
    explicit Outer(REFCLSID clsid, int nFails = 0) : m_nFails(nFails)
    {
        EXPECT_EQ(CoCreateInstance(clsid, this, CLSCTX_ALL, IID_IUnknown, m_pInner.Any()), S_OK);
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override
    {
        *ppv = nullptr;
        if (++m_nAsked == m_nFails)
            return E_FAIL;
        if (riid == IID_IUnknown)
            return Object::QueryInterface(riid, ppv);
        return m_pInner->QueryInterface(riid, ppv);
    }

    int m_nAsked = 0;
    int m_nFails;
    Ref<IUnknown> m_pInner;
};
