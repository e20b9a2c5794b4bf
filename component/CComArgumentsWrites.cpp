// The writes, and the test for a key: by key variant to a dispatcher, there by value variant to a typed
// operation.
#include "component/CComArguments.h"

#include "arguments/Arguments.h"
#include "component/CComArg.h"

STDMETHODIMP CComArguments::AddItem(VARIANT* pKey, VARIANT* pValue, VARIANT_BOOL* bSuccess)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::AddItem()", this);
    if (bSuccess == nullptr)
        return E_POINTER;
    *bSuccess = VARIANT_FALSE;
    if (pKey == nullptr || pValue == nullptr) {
        Failed("AddItem. Invalid pointer.");
        return S_OK;
    }
    HRESULT hr = E_INVALIDARG;
    ReferencedString key;
    // clang-format off
    switch (pKey->vt) {
    case VT_I2:              hr = AddItemByNumber(pKey->iVal, pValue); break;
    case VT_I4:              hr = AddItemByNumber(pKey->lVal, pValue); break;
    case VT_INT:             hr = AddItemByNumber(pKey->intVal, pValue); break;
    case VT_BSTR:            hr = AddItemByText(pKey->bstrVal, pValue); break;
    case VT_BYREF | VT_BSTR: if (key.Read(pKey)) { hr = AddItemByText(key.Get(), pValue); break; } [[fallthrough]];
    default:                 Failed("AddItem. pVarKey is of invalid type."); break;
    }
    // clang-format on
    *bSuccess = VariantBool(hr == S_OK);
    return S_OK;
} catch (...) {
    return Caught("CComArguments", this, "AddItem");
}

HRESULT CComArguments::AddItemByText(BSTR key, VARIANT* pValue)
{
    if (!IsAcceptable(key))
        return Failed("AddItem. Unexpected BSTR, invalid argument.");
    return Told(AddItemStrKey(key, pValue), "AddItem. Failed in AddItemStrKey.");
}

HRESULT CComArguments::AddItemByNumber(int key, VARIANT* pValue)
{
    if (IsKeyword(key))
        return AddItemIntKey(key, pValue);
    ORVEX_TRACE(&m_Logger, TRACE_WARNING,
                "CComArguments(%p)::AddItem() Failed. Int Key %d out of enum_Keywords range.", this, key);
    return E_FAIL;
}

STDMETHODIMP CComArguments::SetValue(VARIANT* pKey, VARIANT* pValue, VARIANT_BOOL* bSuccess)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::SetValue()", this);
    if (bSuccess == nullptr)
        return E_POINTER;
    *bSuccess = VARIANT_FALSE;
    if (pKey == nullptr || pValue == nullptr) {
        Failed("SetValue. Invalid pointer");
        return S_OK;
    }
    HRESULT hr = E_INVALIDARG;
    ReferencedString key;
    // clang-format off
    switch (pKey->vt) {
    case VT_I2:              hr = SetValueByNumber(pKey->iVal, pValue); break;
    case VT_I4:              hr = SetValueByNumber(pKey->lVal, pValue); break;
    case VT_INT:             hr = SetValueByNumber(pKey->intVal, pValue); break;
    case VT_BSTR:            hr = SetValueByText(pKey->bstrVal, pValue, "SetValue. Unexpected BSTR, invalid argument."); break;
    case VT_BYREF | VT_BSTR: if (key.Read(pKey)) { hr = SetValueByText(key.Get(), pValue, "AddItem. Unexpected BSTR, invalid argument."); break; } [[fallthrough]];  // sic
    default:                 Failed("SetValue. Variant key is of invalid type."); break;
    }
    // clang-format on
    *bSuccess = VariantBool(hr == S_OK);
    return S_OK;
} catch (...) {
    return Caught("CComArguments", this, "SetValue");
}

HRESULT CComArguments::SetValueByText(BSTR key, VARIANT* pValue, const char* refused)
{
    if (!IsAcceptable(key))
        return Failed(refused);
    return Told(SetValueStrKey(key, pValue), "SetValue. Failed in SetValueStrKey.");
}

HRESULT CComArguments::SetValueByNumber(int key, VARIANT* pValue)
{
    if (IsKeyword(key))
        return Told(SetValueIntKey(key, pValue), "SetValue. Failed in SetValueIntKey.");
    ORVEX_TRACE(&m_Logger, TRACE_WARNING,
                "CComArguments(%p)::SetValue() Failed. Int Key %d out of enum_Keywords range.", this, key);
    return E_FAIL;
}

HRESULT CComArguments::AddItemStrKey(BSTR bstrKey, VARIANT* pValue)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::AddItemStrKey()", this);
    const NarrowBuffer key = NarrowCopy(bstrKey);
    const char* k = key.get();
    if (k == nullptr)
        return Failed("AddItemStrKey. Error converting from BSTR to string.");
    ReferencedString string;
    // clang-format off
    switch (pValue->vt) {
    case VT_I2:                   return Told(AddItemStrShort(k, pValue->iVal), "AddItemStrKey. Failed in AddItemStrShort.");
    case VT_BYREF | VT_I2:        if (MakePlain(pValue, VT_I2)) return Told(AddItemStrShort(k, pValue->iVal), "AddItemStrKey. Failed in AddItemStrShort."); break;
    case VT_I4:                   return Told(AddItemStrInt(k, pValue->lVal), "AddItemStrKey. Failed in AddItemStrInt.");
    case VT_BYREF | VT_I4:        if (MakePlain(pValue, VT_I4)) return Told(AddItemStrInt(k, pValue->lVal), "AddItemStrKey. Failed in AddItemStrInt."); break;
    case VT_INT:                  return Told(AddItemStrInt(k, pValue->intVal), "AddItemStrKey. Failed in AddItemStrInt.");
    case VT_UI2:                  return Told(AddItemStrUShort(k, pValue->uiVal), "AddItemStrKey. Failed in AddItemStrUShort.");
    case VT_UINT:                 return Told(AddItemStrUInt(k, pValue->uintVal), "AddItemStrKey. Failed in AddItemStrUInt.");
    case VT_BOOL:                 return Told(AddItemStrBool(k, pValue->boolVal), "AddItemStrKey. Failed in AddItemStrBool.");
    case VT_BSTR:                 return Told(AddItemStrStr(k, pValue->bstrVal), "AddItemStrKey. Failed in AddItemStrStr.");
    case VT_BYREF | VT_BSTR:      if (string.Read(pValue)) return Told(AddItemStrStr(k, string.Get()), "AddItemStrKey. Failed in AddItemStrStr."); break;
    case VT_DISPATCH:             return Told(AddItemStrByRef(k, pValue), "AddItemStrKey. Failed in AddItemStrByRef.");
    case VT_BYREF | VT_DISPATCH:  return Told(AddItemStrByDispRef(k, pValue), "AddItemStrKey. Failed in AddItemStrByDispRef.");
    default:                      break;
    }
    // clang-format on
    Failed("AddItemStrKey. Value is of unexpected vt, invalid argument.");
    return E_INVALIDARG;
}

HRESULT CComArguments::AddItemIntKey(int key, VARIANT* pValue)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::AddItemIntKey()", this);
    ReferencedString string;
    // clang-format off
    switch (pValue->vt) {
    case VT_I2:                   return Told(AddItemIntShort(key, pValue->iVal), "AddItemIntKey. Failed AddItemIntShort method");
    case VT_BYREF | VT_I2:        if (MakePlain(pValue, VT_I2)) return Told(AddItemIntShort(key, pValue->iVal), "AddItemIntKey. Failed in AddItemIntShort."); break;
    case VT_I4:                   return Told(AddItemIntInt(key, pValue->lVal), "AddItemIntKey. Failed AddItemIntInt method");
    case VT_BYREF | VT_I4:        if (MakePlain(pValue, VT_I4)) return Told(AddItemIntInt(key, pValue->lVal), "AddItemIntKey. Failed in AddItemIntInt."); break;
    case VT_INT:                  return Told(AddItemIntInt(key, pValue->intVal), "AddItemIntKey. Failed AddItemIntInt method");
    case VT_UI2:                  return Told(AddItemIntUShort(key, pValue->uiVal), "AddItemIntKey. Failed AddItemIntUShort method");
    case VT_UINT:                 return Told(AddItemIntUInt(key, pValue->uintVal), "AddItemIntKey. Failed AddItemIntUInt method");
    case VT_BOOL:                 return Told(AddItemIntBool(key, pValue->boolVal), "AddItemIntKey. Failed AddItemIntBool method");
    case VT_BSTR:                 return Told(AddItemIntStr(key, pValue->bstrVal), "AddItemIntKey. Failed AddItemIntStr method");
    case VT_BYREF | VT_BSTR:      if (string.Read(pValue)) return Told(AddItemIntStr(key, string.Get()), "AddItemIntKey. Failed in AddItemIntStr."); break;
    case VT_DISPATCH:             return Told(AddItemIntByRef(key, pValue), "AddItemIntKey. Failed AddItemIntByRef method");
    case VT_BYREF | VT_DISPATCH:  return Told(AddItemIntByDispRef(key, pValue), "AddItemIntKey. Failed AddItemIntByRef method");  // sic
    default:                      break;
    }
    // clang-format on
    Failed("AddItemIntKey. Value is of unexpected vt, invalid argument.");
    return E_INVALIDARG;
}

HRESULT CComArguments::SetValueStrKey(BSTR bstrKey, VARIANT* pValue)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::SetValueStrKey()", this);
    const NarrowBuffer key = NarrowCopy(bstrKey);
    const char* k = key.get();
    if (k == nullptr)
        return Failed("SetValueStrKey. Error converting from BSTR to string.");
    ReferencedString string;
    // clang-format off
    switch (pValue->vt) {
    case VT_I2:                   return Told(SetValueStrShort(k, pValue->iVal), "SetValueStrKey. Failed in SetValueStrShort.");
    case VT_BYREF | VT_I2:        if (MakePlain(pValue, VT_I2)) return Told(SetValueStrShort(k, pValue->iVal), "SetValueStrKey. Failed in SetValueStrShort."); break;
    case VT_I4:                   return Told(SetValueStrInt(k, pValue->lVal), "SetValueStrKey. Failed in SetValueStrInt.");
    case VT_BYREF | VT_I4:        if (MakePlain(pValue, VT_I4)) return Told(SetValueStrInt(k, pValue->lVal), "SetValueStrKey. Failed in SetValueStrInt."); break;
    case VT_INT:                  return Told(SetValueStrInt(k, pValue->intVal), "SetValueStrKey. Failed in SetValueStrInt.");
    case VT_UI2:                  return Told(SetValueStrUShort(k, pValue->uiVal), "SetValueStrKey. Failed in SetValueStrUShort.");
    case VT_UINT:                 return Told(SetValueStrUInt(k, pValue->uintVal), "SetValueStrKey. Failed in SetValueStrUInt.");
    case VT_BOOL:                 return Told(SetValueStrBool(k, pValue->boolVal), "SetValueStrKey. Failed in SetValueStrBool.");
    case VT_BSTR:                 return Told(SetValueStrStr(k, pValue->bstrVal), "SetValueStrKey. Failed in SetValueStrStr.");
    case VT_BYREF | VT_BSTR:      if (string.Read(pValue)) return Told(SetValueStrStr(k, string.Get()), "SetValueStrKey. Failed in SetValueStrStr."); break;
    case VT_DISPATCH:             return Told(SetValueStrByRef(k, pValue), "SetValueStrKey. Failed in SetValueStrByRef.");
    case VT_BYREF | VT_DISPATCH:  return Told(SetValueStrByDispRef(k, pValue), "SetValueStrKey. Failed SetValueStrByDispRef method");  // sic
    default:                      break;
    }
    // clang-format on
    Failed("SetValueStrKey. Unexpected vt, pVarValue is invalid argument.");
    return E_INVALIDARG;
}

HRESULT CComArguments::SetValueIntKey(int key, VARIANT* pValue)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::SetValueIntKey()", this);
    ReferencedString string;
    // clang-format off
    switch (pValue->vt) {
    case VT_I2:                   return Told(SetValueIntShort(key, pValue->iVal), "SetValueIntKey. Failed SetValueIntShort method");
    case VT_BYREF | VT_I2:        if (MakePlain(pValue, VT_I2)) return Told(SetValueIntShort(key, pValue->iVal), "SetValueIntKey. Failed in SetValueIntShort."); break;
    case VT_I4:                   return Told(SetValueIntInt(key, pValue->lVal), "SetValueIntKey. Failed SetValueIntInt method");
    case VT_BYREF | VT_I4:        if (MakePlain(pValue, VT_I4)) return Told(SetValueIntInt(key, pValue->lVal), "SetValueIntKey. Failed in SetValueIntInt."); break;
    case VT_INT:                  return Told(SetValueIntInt(key, pValue->intVal), "SetValueIntKey. Failed SetValueIntInt method");
    case VT_UI2:                  return Told(SetValueIntUShort(key, pValue->uiVal), "SetValueIntKey. Failed SetValueIntUShort method");
    case VT_UINT:                 return Told(SetValueIntUInt(key, pValue->uintVal), "SetValueIntKey. Failed SetValueIntUInt method");
    case VT_BOOL:                 return Told(SetValueIntBool(key, pValue->boolVal), "SetValueIntKey. Failed SetValueIntBool method");
    case VT_BSTR:                 return Told(SetValueIntStr(key, pValue->bstrVal), "SetValueIntKey. Failed SetValueIntStr method");
    case VT_BYREF | VT_BSTR:      if (string.Read(pValue)) return Told(SetValueIntStr(key, string.Get()), "SetValueIntKey. Failed in SetValueIntStr."); break;
    case VT_DISPATCH:             return Told(SetValueIntByRef(key, pValue), "SetValueIntKey. Failed SetValueIntByRef method");
    case VT_BYREF | VT_DISPATCH:  return Told(SetValueIntByDispRef(key, pValue), "SetValueIntKey. Failed SetValueIntByDispRef method");
    default:                      break;
    }
    // clang-format on
    Failed("SetValueIntKey. Unexpected vt, pVarValue is invalid argument.");
    return E_INVALIDARG;
}

STDMETHODIMP CComArguments::SetElement(int iIndex, VARIANT* pValue, VARIANT_BOOL* bSuccess)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::SetElement()", this);
    if (bSuccess == nullptr)
        return E_POINTER;
    *bSuccess = VARIANT_FALSE;
    if (pValue == nullptr) {
        Failed("SetElement. Invalid pointer.");
        return S_OK;
    }
    HRESULT hr = E_INVALIDARG;
    // clang-format off
    switch (pValue->vt) {
    case VT_BOOL:     hr = Told(SetElementBool(iIndex, pValue->boolVal),  "SetElement. SetElementBool Failed."); break;
    case VT_I2:       hr = Told(SetElementShort(iIndex, pValue->iVal),    "SetElement. SetElementShort Failed."); break;
    case VT_I4:       hr = Told(SetElementInt(iIndex, pValue->lVal),      "SetElement. SetElementInt Failed."); break;
    case VT_INT:      hr = Told(SetElementInt(iIndex, pValue->intVal),    "SetElement. SetElementInt Failed."); break;
    case VT_BSTR:     hr = Told(SetElementStr(iIndex, pValue->bstrVal),   "SetElement. SetElementStr Failed."); break;
    case VT_DISPATCH: hr = Told(SetElementByRef(iIndex, pValue),          "SetElement. SetElementByRef Failed."); break;
    case VT_UI2:      hr = Told(SetElementUShort(iIndex, pValue->uiVal),  "SetElement. SetElementUShort Failed."); break;
    case VT_UINT:     hr = Told(SetElementUInt(iIndex, pValue->uintVal),  "SetElement. SetElementUInt Failed."); break;
    default:          Failed("SetElement. Unexpected vt, pVarValue is invalid argument."); break;
    }
    // clang-format on
    *bSuccess = VariantBool(hr == S_OK);
    return S_OK;
} catch (...) {
    return Caught("CComArguments", this, "SetElement");
}

STDMETHODIMP CComArguments::RemoveItem(VARIANT* pKey, VARIANT_BOOL* bSuccess)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::RemoveItem()", this);
    if (bSuccess == nullptr)
        return E_POINTER;
    *bSuccess = VARIANT_FALSE;
    if (pKey == nullptr || m_pArguments == nullptr) {
        Failed("RemoveItem. Invalid pointer.");
        return S_OK;
    }
    bool b = false;
    ReferencedString key;
    // clang-format off
    switch (pKey->vt) {
    case VT_I2:              b = RemoveItemByNumber(pKey->iVal); break;
    case VT_I4:              b = RemoveItemByNumber(pKey->lVal); break;
    case VT_INT:             b = RemoveItemByNumber(pKey->intVal); break;
    case VT_BSTR:            b = RemoveItemByText(pKey->bstrVal); break;
    case VT_BYREF | VT_BSTR: if (key.Read(pKey)) { b = RemoveItemByText(key.Get()); break; } [[fallthrough]];
    default:                 Failed("RemoveItem. Key variant is of invalid type."); break;
    }
    // clang-format on
    *bSuccess = VariantBool(b);
    return S_OK;
} catch (...) {
    return Caught("CComArguments", this, "RemoveItem");
}

bool CComArguments::RemoveItemByNumber(int key)
{
    if (!IsKeyword(key))
        ORVEX_TRACE(
            &m_Logger, TRACE_WARNING,
            "CComArguments(%p)::RemoveItem. Failed to Remove Item. Int Key %d out of enum_Keywords range.",
            this, key);
    else if (m_pArguments->RemoveItem(key))
        return true;
    Failed("RemoveItem. Failed to Remove Item");
    return false;
}

bool CComArguments::RemoveItemByText(BSTR key)
{
    if (!IsAcceptable(key)) {
        Failed("RemoveItem. Unexpected BSTR, invalid argument.");
        return false;
    }
    const NarrowBuffer text = NarrowCopy(key);
    if (text == nullptr) {
        Failed("RemoveItem. Error converting from BSTR to string.");
        return false;
    }
    if (m_pArguments->RemoveItem(static_cast<const char*>(text.get())))
        return true;
    Failed("RemoveItem. Failed to Remove Item");
    return false;
}

STDMETHODIMP CComArguments::IsValid(VARIANT* pKey, VARIANT_BOOL* bIsvalid)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::IsValid()", this);
    if (bIsvalid == nullptr)
        return E_POINTER;
    *bIsvalid = VARIANT_FALSE;
    if (pKey == nullptr) {
        Failed("IsValid. Invalid pointer.");
        return S_OK;
    }
    bool b = false;
    // clang-format off
    switch (pKey->vt) {
    case VT_I4:       b = IsValidByNumber(pKey->lVal); break;
    case VT_INT:      b = IsValidByNumber(pKey->intVal); break;
    case VT_BSTR:     b = IsValidByText(pKey->bstrVal); break;
    case VT_DISPATCH: b = IsValidByObject(pKey->pdispVal); break;
    default:          Failed("IsValid. Variant key is of invalid type."); break;
    }
    // clang-format on
    *bIsvalid = VariantBool(b);
    return S_OK;
} catch (...) {
    return Caught("CComArguments", this, "IsValid");
}

bool CComArguments::IsValidByNumber(int key)
{
    if (m_pArguments == nullptr) {
        Failed("IsValid. Invalid pointer.");
        return false;
    }
    if (!IsKeyword(key))
        ORVEX_TRACE(&m_Logger, TRACE_WARNING,
                    "CComArguments(%p)::IsValid() Failed. Int Key %d out of enum_Keywords range.", this, key);
    else if (m_pArguments->IsValid(key))
        return true;
    Failed("IsValid. IsValid failed");
    return false;
}

bool CComArguments::IsValidByText(BSTR key)
{
    if (!IsAcceptable(key)) {
        Failed("IsValid. Unexpected BSTR, invalid argument.");
        return false;
    }
    const NarrowBuffer text = NarrowCopy(key);
    if (text == nullptr)
        Failed("IsValid. Error converting from BSTR to string.");
    else if (m_pArguments == nullptr)
        Failed("IsValid. Invalid pointer");
    else if (m_pArguments->IsValid(static_cast<const char*>(text.get())))
        return true;
    else
        Failed("IsValid. IsValid failed");
    return false;
}

// The object's value, as text, is the key.
bool CComArguments::IsValidByObject(IDispatch* pKey)
{
    if (pKey == nullptr) {
        Failed("IsValid. Invalid Argument.");
        return false;
    }
    void* pv = nullptr;
    if (FAILED(pKey->QueryInterface(IID_IArg, &pv)) || pv == nullptr) {
        Failed("IsValid. Invalid pointer, QueryInterface failed.");
        return false;
    }
    const std::unique_ptr<IArg, ReleaseInterface> pComArg(static_cast<IArg*>(pv));
    Arg* p = nullptr;
    if (m_pArguments == nullptr || FAILED(CComArg::GetArgOf(pComArg.get(), &p)) || p == nullptr) {
        Failed("IsValid. Invalid pointer.");
        return false;
    }
    const ArgHolder pArg(p);
    if (m_pArguments->IsValid(p))
        return true;
    Failed("IsValid. IsValid failed");
    return false;
}
