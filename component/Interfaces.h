// The two dual interfaces and the identifiers of the component module, for the module and for its C++
// clients.
//
// A client compiles Interfaces.cpp into itself; it needs nothing else of the module. The order of the methods
// is the order of their slots and of their dispatch ids, from 1. OrvexArguments.idl tells scripts the same.
//
// What every method answers for which input is told in docs/component.md. Out-strings belong to the caller,
// who frees them with SysFreeString; out-interfaces come with a reference for the caller.
#pragma once

#include "platform/Platform.h"

struct IArguments;

// One value: its own, or one that it shares with a container. A read of the wrong kind is E_FAIL.
struct IArg : IDispatch
{
    virtual HRESULT STDMETHODCALLTYPE SetValue(VARIANT* pValue, VARIANT_BOOL* bSuccess) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetClassID(int* pClassID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValue(VARIANT* pValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValueInt(int* nValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValueString(BSTR* pValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValueArray(IArguments** pArguments) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValueBool(VARIANT_BOOL* bValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetType(int* pnType) = 0;
    virtual HRESULT STDMETHODCALLTYPE DumpArg(BSTR* pString) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IArg** pClonedArg) = 0;
};

// A container: keys are keyword numbers or texts, positions count from 1. A missing key is S_OK: writes and
// tests tell it by their boolean, reads by leaving the out-parameter as it was.
struct IArguments : IDispatch
{
    virtual HRESULT STDMETHODCALLTYPE AddItem(VARIANT* pKey, VARIANT* pValue, VARIANT_BOOL* bSuccess) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveItem(VARIANT* pKey, VARIANT_BOOL* bSuccess) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsValid(VARIANT* pKey, VARIANT_BOOL* bIsvalid) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetElement(int iIndex, VARIANT* pValue, VARIANT_BOOL* bSuccess) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetValue(VARIANT* pKey, VARIANT* pValue, VARIANT_BOOL* bSuccess) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetElement(int iIndex, VARIANT* pValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetElementKey(int iIndex, BSTR* pKey) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValue(VARIANT* pKey, IArg** pValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE NumElements(int* pElements) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetClassID(int* pClassID) = 0;
    virtual HRESULT STDMETHODCALLTYPE DumpArgs(BSTR* pString) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValueInt(VARIANT* pKey, int* nValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValueString(VARIANT* pKey, BSTR* pValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValueArray(VARIANT* pKey, IArguments** pArguments) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValueBool(VARIANT* pKey, VARIANT_BOOL* bValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IArguments** pClonedArguments) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clear() = 0;
    virtual HRESULT STDMETHODCALLTYPE Initialize() = 0;
};

extern const IID LIBID_ORVEXARGUMENTSLib;  // the type library, version 7.0
extern const CLSID CLSID_Arg;              // OrVexComArguments.ComArg
extern const IID IID_IArg;
extern const CLSID CLSID_Arguments;  // OrVexComArguments.ComArguments
extern const IID IID_IArguments;
