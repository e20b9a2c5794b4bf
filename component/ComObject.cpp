#include "component/ComObject.h"

#include "component/Module.h"

#include <cstring>
#include <new>

HRESULT ComObject::HandOut(std::unique_ptr<ComObject> pNew, REFIID riid, void** ppv)
{
    Inner& rInner = pNew.release()->m_inner;
    rInner.AddRef();
    const HRESULT hr = rInner.QueryInterface(riid, ppv);
    rInner.Release();
    return hr;
}

HRESULT ComObject::ResultOfException() noexcept
{
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}

ComObject::ComObject(IUnknown* pOuter)
    : m_inner(this), m_pController(pOuter != nullptr ? pOuter : static_cast<IUnknown*>(&m_inner))
{
    Module::Lock();
}

ComObject::~ComObject() { Module::Unlock(); }

const void* ComObject::TableOf(const IUnknown* pInterface)
{
    const void* pTable;
    std::memcpy(&pTable, static_cast<const void*>(pInterface), sizeof pTable);
    return pTable;
}

STDMETHODIMP ComObject::Inner::QueryInterface(REFIID riid, void** ppv)
{
    if (ppv == nullptr)
        return E_POINTER;
    *ppv = nullptr;
    IUnknown* p = IsEqualIID(riid, IID_IUnknown) ? this : m_pObject->FindInterface(riid);
    if (p == nullptr)
        return E_NOINTERFACE;
    p->AddRef();
    *ppv = p;
    return S_OK;
}

STDMETHODIMP_(ULONG) ComObject::Inner::AddRef()
{
    return static_cast<ULONG>(InterlockedIncrement(&m_lRefCount));
}

STDMETHODIMP_(ULONG) ComObject::Inner::Release()
{
    const LONG l = InterlockedDecrement(&m_lRefCount);
    if (l == 0)
        delete m_pObject;
    return static_cast<ULONG>(l);
}
