// CComArg: the class behind OrVexComArguments.ComArg, a client's handle on one value.
//
// It owns one reference to its value, which can be of any kind, also a container, and which it may share with
// a container and with other handles: a change through one shows in all. No lock of its own: the value
// protects itself.
#pragma once

#include "component/CCommonArguments.h"
#include "component/ComObject.h"
#include "component/Interfaces.h"
#include "component/TypeInformation.h"

#include <string>

class Arg;

class CComArg final : public IArg, public ISupportErrorInfo, public CCommonArguments, public ComObject
{
public:
    static HRESULT CreateInstance(IUnknown* pOuter, REFIID riid, void** ppv);

    // A new object the way a client makes one, with a reference for the caller; or a failure.
    static HRESULT Create(CComArg** ppComArg);

    // The object behind what was given out as its IArg, if it is one of this class in this module; else null.
    static CComArg* OwnObject(IUnknown* pArg);

    // The value that an interface stands for, with a reference; E_POINTER for an object of anyone else.
    static HRESULT GetArgOf(IArg* pComArg, Arg** ppArg);

    explicit CComArg(IUnknown* pOuter);
    ~CComArg() override;

    // The value with a reference for the caller; and sharing of a value, of which a reference is taken.
    HRESULT GetArg(Arg** ppArg);
    HRESULT SetArg(Arg* pArg);

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override { return QueryController(riid, ppv); }
    STDMETHODIMP_(ULONG) AddRef() override { return AddRefController(); }
    STDMETHODIMP_(ULONG) Release() override { return ReleaseController(); }

    STDMETHODIMP GetTypeInfoCount(UINT* pctinfo) override;
    STDMETHODIMP GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo) override;
    STDMETHODIMP GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID lcid,
                               DISPID* rgDispId) override;
    STDMETHODIMP Invoke(DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags, DISPPARAMS* pDispParams,
                        VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr) override;

    STDMETHODIMP SetValue(VARIANT* pValue, VARIANT_BOOL* bSuccess) override;
    STDMETHODIMP GetClassID(int* pClassID) override;
    STDMETHODIMP GetValue(VARIANT* pValue) override;
    STDMETHODIMP GetValueInt(int* nValue) override;
    STDMETHODIMP GetValueString(BSTR* pValue) override;
    STDMETHODIMP GetValueArray(IArguments** pArguments) override;
    STDMETHODIMP GetValueBool(VARIANT_BOOL* bValue) override;
    STDMETHODIMP GetType(int* pnType) override;
    STDMETHODIMP DumpArg(BSTR* pString) override;
    STDMETHODIMP Clone(IArg** pClonedArg) override;

    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID riid) override;

    static TypeInformation s_typeInformation;

protected:
    IUnknown* FindInterface(REFIID riid) override;

private:
    bool SetString(BSTR bstr);
    bool SetObject(IDispatch* pDispatch);
    bool InvalidPointer();
    HRESULT ReadValue(VARIANT* pValue);
    HRESULT ReadString(VARIANT* pValue);
    HRESULT ReadArray(VARIANT* pValue);
    HRESULT Failed(const char* text);

    Arg* m_pArg;  // one reference; null only when there was no memory for it
};
