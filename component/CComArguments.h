// CComArguments: the class behind OrVexComArguments.ComArguments, a client's handle on one container.
//
// A call of a client is sorted twice: by its key variant into a dispatcher (a text or a number for a key),
// there by its value variant into a typed operation, which makes one call of the container. Below the methods
// of IArguments everything answers by HRESULT; the methods turn that into their boolean.
//
// An object owns one reference to its container, which it may share with other objects and with a container
// that stores it: a change through one shows in all. No lock of its own: the container protects itself, each
// call alone.
#pragma once

#include "arguments/Keywords.h"
#include "component/CCommonArguments.h"
#include "component/ComObject.h"
#include "component/Interfaces.h"
#include "component/TypeInformation.h"

#include <string>

class Arguments;

class CComArguments final : public IArguments,
                            public ISupportErrorInfo,
                            public CCommonArguments,
                            public ComObject
{
public:
    static HRESULT CreateInstance(IUnknown* pOuter, REFIID riid, void** ppv);

    // A new object the way a client makes one, with a reference for the caller; or a failure.
    static HRESULT Create(CComArguments** ppComArguments);

    // The object behind what was given out as its IArguments, if it is one of this class in this module; else
    // null.
    static CComArguments* OwnObject(IUnknown* pArguments);

    explicit CComArguments(IUnknown* pOuter);
    ~CComArguments() override;

    // The container with a reference for the caller; and sharing of a container, of which a reference is
    // taken.
    HRESULT GetArguments(Arguments** ppArguments);
    HRESULT SetArguments(Arguments* pArguments);

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override { return QueryController(riid, ppv); }
    STDMETHODIMP_(ULONG) AddRef() override { return AddRefController(); }
    STDMETHODIMP_(ULONG) Release() override { return ReleaseController(); }

    STDMETHODIMP GetTypeInfoCount(UINT* pctinfo) override;
    STDMETHODIMP GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo) override;
    STDMETHODIMP GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID lcid,
                               DISPID* rgDispId) override;
    STDMETHODIMP Invoke(DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags, DISPPARAMS* pDispParams,
                        VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr) override;

    STDMETHODIMP AddItem(VARIANT* pKey, VARIANT* pValue, VARIANT_BOOL* bSuccess) override;
    STDMETHODIMP RemoveItem(VARIANT* pKey, VARIANT_BOOL* bSuccess) override;
    STDMETHODIMP IsValid(VARIANT* pKey, VARIANT_BOOL* bIsvalid) override;
    STDMETHODIMP SetElement(int iIndex, VARIANT* pValue, VARIANT_BOOL* bSuccess) override;
    STDMETHODIMP SetValue(VARIANT* pKey, VARIANT* pValue, VARIANT_BOOL* bSuccess) override;
    STDMETHODIMP GetElement(int iIndex, VARIANT* pValue) override;
    STDMETHODIMP GetElementKey(int iIndex, BSTR* pKey) override;
    STDMETHODIMP GetValue(VARIANT* pKey, IArg** pValue) override;
    STDMETHODIMP NumElements(int* pElements) override;
    STDMETHODIMP GetClassID(int* pClassID) override;
    STDMETHODIMP DumpArgs(BSTR* pString) override;
    STDMETHODIMP GetValueInt(VARIANT* pKey, int* nValue) override;
    STDMETHODIMP GetValueString(VARIANT* pKey, BSTR* pValue) override;
    STDMETHODIMP GetValueArray(VARIANT* pKey, IArguments** pArguments) override;
    STDMETHODIMP GetValueBool(VARIANT* pKey, VARIANT_BOOL* bValue) override;
    STDMETHODIMP Clone(IArguments** pClonedArguments) override;
    STDMETHODIMP Clear() override;
    STDMETHODIMP Initialize() override;

    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID riid) override;

    static TypeInformation s_typeInformation;

protected:
    IUnknown* FindInterface(REFIID riid) override;

private:
    class Row;        // one typed operation: its entry line, its test of the container, its answer
    class StringRow;  // the same with a string for a value
    class ObjectRow;  // the same with another component object for a value
    class ReadKey;    // the key of a read

    // Key dispatch: the text or number is judged, then goes to the value dispatch.
    HRESULT AddItemByText(BSTR key, VARIANT* pValue);
    HRESULT AddItemByNumber(int key, VARIANT* pValue);
    HRESULT SetValueByText(BSTR key, VARIANT* pValue, const char* refused);
    HRESULT SetValueByNumber(int key, VARIANT* pValue);
    bool RemoveItemByText(BSTR key);
    bool RemoveItemByNumber(int key);
    bool IsValidByText(BSTR key);
    bool IsValidByNumber(int key);
    bool IsValidByObject(IDispatch* pKey);

    // Value dispatch. A number by reference is turned into that number in the caller's variant.
    HRESULT AddItemStrKey(BSTR key, VARIANT* pValue);
    HRESULT AddItemIntKey(int key, VARIANT* pValue);
    HRESULT SetValueStrKey(BSTR key, VARIANT* pValue);
    HRESULT SetValueIntKey(int key, VARIANT* pValue);

    // The typed operations: S_OK; E_POINTER without a container; E_INVALIDARG for a string that is null or
    // empty or a variant of another type; E_FAIL where the container refuses, and for objects that are no
    // part of this module's classes. An object's own value or container is what is stored: shared. The reads
    // hand out new objects and strings. A bool is true when it is -1.
    HRESULT AddItemStrInt(const char* key, int i);
    HRESULT AddItemStrUInt(const char* key, unsigned int ui);
    HRESULT AddItemStrShort(const char* key, short s);
    HRESULT AddItemStrUShort(const char* key, unsigned short us);
    HRESULT AddItemStrBool(const char* key, int i);
    HRESULT AddItemStrStr(const char* key, BSTR bstr);
    HRESULT AddItemStrByRef(const char* key, VARIANT* pValue);
    HRESULT AddItemStrByDispRef(const char* key, VARIANT* pValue);

    HRESULT AddItemIntInt(enum_Keywords key, int i);
    HRESULT AddItemIntUInt(enum_Keywords key, unsigned int ui);
    HRESULT AddItemIntShort(enum_Keywords key, short s);
    HRESULT AddItemIntUShort(enum_Keywords key, unsigned short us);
    HRESULT AddItemIntBool(enum_Keywords key, int i);
    HRESULT AddItemIntStr(enum_Keywords key, BSTR bstr);
    HRESULT AddItemIntByRef(enum_Keywords key, VARIANT* pValue);
    HRESULT AddItemIntByDispRef(enum_Keywords key, VARIANT* pValue);

    HRESULT SetValueStrInt(const char* key, int i);
    HRESULT SetValueStrUInt(const char* key, unsigned int ui);
    HRESULT SetValueStrShort(const char* key, short s);
    HRESULT SetValueStrUShort(const char* key, unsigned short us);
    HRESULT SetValueStrBool(const char* key, int i);
    HRESULT SetValueStrStr(const char* key, BSTR bstr);
    HRESULT SetValueStrByRef(const char* key, VARIANT* pValue);
    HRESULT SetValueStrByDispRef(const char* key, VARIANT* pValue);

    HRESULT SetValueIntInt(enum_Keywords key, int i);
    HRESULT SetValueIntUInt(enum_Keywords key, unsigned int ui);
    HRESULT SetValueIntShort(enum_Keywords key, short s);
    HRESULT SetValueIntUShort(enum_Keywords key, unsigned short us);
    HRESULT SetValueIntBool(enum_Keywords key, int i);
    HRESULT SetValueIntStr(enum_Keywords key, BSTR bstr);
    HRESULT SetValueIntByRef(enum_Keywords key, VARIANT* pValue);
    HRESULT SetValueIntByDispRef(enum_Keywords key, VARIANT* pValue);

    HRESULT SetElementInt(int iIndex, int i);
    HRESULT SetElementUInt(int iIndex, unsigned int ui);
    HRESULT SetElementShort(int iIndex, short s);
    HRESULT SetElementUShort(int iIndex, unsigned short us);
    HRESULT SetElementBool(int iIndex, int i);
    HRESULT SetElementStr(int iIndex, BSTR bstr);
    HRESULT SetElementByRef(int iIndex, VARIANT* pValue);

    HRESULT GetElementIntInt(int iIndex, int* piVal);
    HRESULT GetElementIntUInt(int iIndex, unsigned int* puiVal);
    HRESULT GetElementIntShort(int iIndex, short* psVal);
    HRESULT GetElementIntUShort(int iIndex, unsigned short* pusVal);
    HRESULT GetElementIntBool(int iIndex, bool* pbVal);
    HRESULT GetElementIntStr(int iIndex, BSTR* pValue);
    HRESULT GetElementIntByRef(int iIndex, VARIANT* pValue);
    HRESULT GetElementArg(int iIndex, VARIANT* pValue);

    HRESULT ReadElement(int iIndex, VARIANT* pValue);
    HRESULT ReadUnset(int iIndex, int nClassID, VARIANT* pValue);
    Arguments* FindArray(const ReadKey& key);
    std::string DumpText();

    // A failure's line, behind the class and the object. With a result: the line where that is negative, and
    // the same result.
    HRESULT Failed(const char* text);
    HRESULT Told(HRESULT hr, const char* text);

    static bool IsKeyword(int key) { return key >= 0 && key < KEYWORD_COUNT; }

    Arguments* m_pArguments;  // one reference; null only when there was no memory for it
};
