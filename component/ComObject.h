// ComObject: what every component object stands on: its reference count, aggregation, and its place in the
// module's count of living objects.
//
// An object is alone or part of an outer one. Its interfaces always answer QueryInterface, AddRef and Release
// by the controlling object: the outer one, or itself. The inner IUnknown is the one side that does not
// delegate, and holds the count. Counts are atomic. A new object has a count of 0.
#pragma once

#include "platform/Platform.h"

#include <memory>

class ComObject
{
public:
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    // What a class object does with a new object: gives out the interface asked for with the object's one
    // reference, or destroys the object.
    static HRESULT HandOut(std::unique_ptr<ComObject> pNew, REFIID riid, void** ppv);

    // Memory exhausted, or anything else, thrown out of an operation on the way to a client. Called in a
    // catch clause.
    static HRESULT ResultOfException() noexcept;

    virtual ~ComObject();

protected:
    explicit ComObject(IUnknown* pOuter);

    // The interface without a reference, or null where the object does not have it. Not asked for IUnknown.
    virtual IUnknown* FindInterface(REFIID riid) = 0;

    HRESULT QueryController(REFIID riid, void** ppv) { return m_pController->QueryInterface(riid, ppv); }
    ULONG AddRefController() { return m_pController->AddRef(); }
    ULONG ReleaseController() { return m_pController->Release(); }

    // What tells the objects of one class of this module from all others: their table of virtual operations.
    static const void* TableOf(const IUnknown* pInterface);

private:
    class Inner final : public IUnknown
    {
    public:
        explicit Inner(ComObject* pObject) : m_pObject(pObject) {}
        STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
        STDMETHODIMP_(ULONG) AddRef() override;
        STDMETHODIMP_(ULONG) Release() override;

    private:
        ComObject* m_pObject;
        LONG m_lRefCount = 0;
    };

    Inner m_inner;
    IUnknown* m_pController;  // without a reference
};

// Owns one reference to an interface for a scope.
struct ReleaseInterface
{
    void operator()(IUnknown* p) const { p->Release(); }
    void operator()(IDispatch* p) const { p->Release(); }
};
