// The reads: what the container holds, as variants, strings and objects.
#include "component/CComArguments.h"

#include "arguments/Arguments.h"
#include "component/CComArg.h"

// The key of a read: a number of any size, a text, or refused. A null string is an empty text.
class CComArguments::ReadKey
{
public:
    explicit ReadKey(VARIANT* pKey) : m_kind(NUMBER), m_iKey(0)
    {
        ReferencedString string;
        // clang-format off
        switch (pKey->vt) {
        case VT_I2:              m_iKey = pKey->iVal; break;
        case VT_I4:              m_iKey = pKey->lVal; break;
        case VT_INT:             m_iKey = pKey->intVal; break;
        case VT_BSTR:            SetText(pKey->bstrVal); break;
        case VT_BYREF | VT_BSTR: if (string.Read(pKey)) { SetText(string.Get()); break; } [[fallthrough]];
        default:                 m_kind = REFUSED; break;
        }
        // clang-format on
    }

    bool IsRefused() const { return m_kind == REFUSED; }
    bool IsNumber() const { return m_kind == NUMBER; }
    enum_Keywords Number() const { return m_iKey; }
    const std::string& Text() const { return m_sKey; }
    const char* PrintText() const { return m_sKey.c_str(); }

private:
    enum Kind
    {
        REFUSED,
        NUMBER,
        TEXT
    };

    void SetText(BSTR bstr)
    {
        m_kind = TEXT;
        m_sKey = NarrowText(bstr);
    }

    Kind m_kind;
    enum_Keywords m_iKey;
    std::string m_sKey;
};

STDMETHODIMP CComArguments::GetElement(int iIndex, VARIANT* pValue)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::GetElement()", this);
    if (pValue == nullptr) {
        Failed("GetElement. Invalid argument.");
        return S_OK;
    }
    VariantInit(pValue);
    if (m_pArguments == nullptr)
        Failed("GetElement. Invalid pointer.");
    else if (FAILED(ReadElement(iIndex, pValue)))
        pValue->vt = VT_EMPTY;
    return S_OK;
} catch (...) {
    return Caught("CComArguments", this, "GetElement");
}

HRESULT CComArguments::ReadElement(int iIndex, VARIANT* pValue)
{
    Arg* p = nullptr;
    if (!m_pArguments->GetElement(iIndex, &p) || p == nullptr)
        return Failed("GetElement. Failed to Get and Arg pointer.");
    const ArgHolder pArg(p);
    bool b = false;
    HRESULT hr = E_FAIL;
    // clang-format off
    switch (pArg->GetType()) {
    case ARG_INT:      pValue->vt = VT_INT;  return Told(GetElementIntInt(iIndex, &pValue->intVal),   "GetElement. Failed in GetElementIntInt.");
    case ARG_UINT:     pValue->vt = VT_UINT; return Told(GetElementIntUInt(iIndex, &pValue->uintVal), "GetElement. Failed in GetElementIntUInt.");
    case ARG_USHORT:   pValue->vt = VT_UI2;  return Told(GetElementIntUShort(iIndex, &pValue->uiVal), "GetElement. Failed in GetElementIntUShort.");
    case ARG_SHORT:    pValue->vt = VT_I2;   return Told(GetElementIntShort(iIndex, &pValue->iVal),   "GetElement. Failed in GetElementIntShort.");
    case ARG_STRING:   pValue->vt = VT_BSTR; return Told(GetElementIntStr(iIndex, &pValue->bstrVal),  "GetElement. Failed in GetElementIntStr.");
    case ARG_BOOL:     hr = Told(GetElementIntBool(iIndex, &b), "GetElement. Failed in GetElementIntBool."); break;
    case ARG_ARGARRAY: return Told(GetElementArg(iIndex, pValue), "GetElement. Failed in GetElementArg.");
    case ARG_ARGUMENT: return Told(GetElementIntByRef(iIndex, pValue), "GetElement. Failed in GetElementIntByRef.");
    case ARG_NOTSET:   return ReadUnset(iIndex, pArg->GetClassID(), pValue);
    default:           return Failed("GetElement. Invalid type.");
    }
    // clang-format on
    pValue->vt = VT_BOOL;
    pValue->boolVal = VariantBool(b);
    return hr;
}

// A value that tells no type is handed out as what it is.
HRESULT CComArguments::ReadUnset(int iIndex, int nClassID, VARIANT* pValue)
{
    switch (nClassID) {
    case CLASS_ID_ARG:
        return Told(GetElementIntByRef(iIndex, pValue), "GetElement. Failed in GetElementIntByRef.");
    case CLASS_ID_ARGUMENTS:
        return Told(GetElementArg(iIndex, pValue), "GetElement. Failed in GetElementArg.");
    default: return Failed("GetElement. Invalid type.");
    }
}

STDMETHODIMP CComArguments::GetElementKey(int iIndex, BSTR* pKey)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::GetElementIntStr()",
                this);  // sic, as are two lines below
    if (pKey == nullptr) {
        Failed("GetElementKey. Invalid argument.");
        return S_OK;
    }
    *pKey = nullptr;
    std::string s;
    if (m_pArguments == nullptr)
        Failed("GetElementIntStr. Invalid pointer.");
    else if (!m_pArguments->GetElementKey(iIndex, &s))
        Failed("GetElementIntStr. Failed to get a string value");
    else
        *pKey = A2WBSTR_ORVEX(s.c_str(), -1);
    return S_OK;
} catch (...) {
    return Caught("CComArguments", this, "GetElementKey");
}

STDMETHODIMP CComArguments::GetValue(VARIANT* pKey, IArg** pValue)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::GetValue()", this);
    if (m_pArguments == nullptr) {
        Failed("GetValue. Invalid m_pArguments pointer.");
        return S_OK;
    }
    if (pKey == nullptr || pValue == nullptr) {
        Failed("GetValue. Invalid argument.");
        return S_OK;
    }
    const ReadKey key(pKey);
    if (key.IsRefused()) {
        ORVEX_TRACE(&m_Logger, TRACE_ERROR, "CComOrvexObject::GetValue. pVarKey is of invalid type.");  // sic
        return S_OK;
    }
    Arg* p = nullptr;
    if (key.IsNumber() ? !m_pArguments->GetValue(key.Number(), &p)
                       : !m_pArguments->GetValue(key.Text(), &p)) {
        if (key.IsNumber())
            ORVEX_TRACE(&m_Logger, TRACE_LOOKUP,
                        "CComArguments::GetValue. No value associated with key -> %d", key.Number());
        else
            ORVEX_TRACE(&m_Logger, TRACE_LOOKUP,
                        "CComArguments::GetValue. No value associated with key -> %s", key.PrintText());
        return S_OK;
    }
    const ArgHolder pArg(p);
    CComArg* pNew = nullptr;
    if (FAILED(CComArg::Create(&pNew))) {
        Failed("GetValueByRef. CoCreateInstance failed.");  // sic
        return S_OK;
    }
    pNew->SetArg(p);
    *pValue = pNew;
    return S_OK;
} catch (...) {
    return Caught("CComArguments", this, "GetValue");
}

STDMETHODIMP CComArguments::GetValueInt(VARIANT* pKey, int* nValue)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::GetValueInt()", this);
    if (nValue == nullptr || pKey == nullptr) {
        Failed("GetValueInt. Invalid argument.");
        return E_INVALIDARG;
    }
    if (m_pArguments == nullptr) {
        Failed("GetValueInt. Invalid m_pArguments pointer.");
        return E_POINTER;
    }
    const ReadKey key(pKey);
    if (key.IsRefused()) {
        ORVEX_TRACE(&m_Logger, TRACE_ERROR, "CComArguments::GetValueInt. pVarKey is invalid type.");
    } else if (key.IsNumber()) {
        if (!m_pArguments->GetValueInt(key.Number(), nValue))
            ORVEX_TRACE(&m_Logger, TRACE_LOOKUP,
                        "CComArguments::GetValueInt. No int value associated with key -> %d", key.Number());
    } else if (!m_pArguments->GetValueInt(key.Text(), nValue)) {
        ORVEX_TRACE(&m_Logger, TRACE_LOOKUP,
                    "CComArguments::GetValueInt. No int value associated with key -> %s", key.PrintText());
    }
    return S_OK;
} catch (...) {
    return Caught("CComArguments", this, "GetValueInt");
}

STDMETHODIMP CComArguments::GetValueBool(VARIANT* pKey, VARIANT_BOOL* bValue)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::GetValueBool()", this);
    if (bValue == nullptr || pKey == nullptr) {
        Failed("GetValueBool. Invalid argument.");
        return E_INVALIDARG;
    }
    if (m_pArguments == nullptr) {
        Failed("GetValueBool. Invalid m_pArguments pointer.");
        return E_POINTER;
    }
    const ReadKey key(pKey);
    bool b = false;
    if (key.IsRefused()) {
        ORVEX_TRACE(&m_Logger, TRACE_ERROR, "CComArguments::GetValueBool. pVarKey is of invalid type.");
    } else if (key.IsNumber()) {
        if (m_pArguments->GetValueBool(key.Number(), &b))
            *bValue = VariantBool(b);
        else
            ORVEX_TRACE(&m_Logger, TRACE_LOOKUP,
                        "CComArguments::GetValueBool. No bool value associated with key -> %d", key.Number());
    } else if (m_pArguments->GetValueBool(key.Text(), &b)) {
        *bValue = VariantBool(b);
    } else {
        ORVEX_TRACE(&m_Logger, TRACE_LOOKUP,
                    "CComArguments::GetValueBool. No bool value associated with key -> %s", key.PrintText());
    }
    return S_OK;
} catch (...) {
    return Caught("CComArguments", this, "GetValueBool");
}

STDMETHODIMP CComArguments::GetValueString(VARIANT* pKey, BSTR* pValue)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::GetValueString()", this);
    if (pValue != nullptr)
        *pValue = nullptr;
    if (pValue == nullptr || pKey == nullptr) {
        Failed("GetValueString. Invalid argument.");
        return E_INVALIDARG;
    }
    if (m_pArguments == nullptr) {
        ORVEX_TRACE(&m_Logger, TRACE_ERROR, "CComArguments::GetValueString. Invalid type.");
        return S_OK;
    }
    const ReadKey key(pKey);
    std::string s;
    if (key.IsRefused()) {
        ORVEX_TRACE(&m_Logger, TRACE_ERROR, "CComArguments::GetValueString. pVarKey is invalid type.");
    } else if (key.IsNumber()) {
        if (m_pArguments->GetValueString(key.Number(), &s))
            *pValue = A2WBSTR_ORVEX(s.c_str(), -1);
        else
            ORVEX_TRACE(&m_Logger, TRACE_LOOKUP,
                        "CComArguments::GetValueString. No string value associated with key -> %d",
                        key.Number());
    } else if (m_pArguments->GetValueString(key.Text(), &s)) {
        *pValue = A2WBSTR_ORVEX(s.c_str(), -1);
    } else {
        ORVEX_TRACE(&m_Logger, TRACE_LOOKUP,
                    "CComArguments::GetValueString. No string value associated with key -> %s",
                    key.PrintText());
    }
    return S_OK;
} catch (...) {
    return Caught("CComArguments", this, "GetValueString");
}

STDMETHODIMP CComArguments::GetValueArray(VARIANT* pKey, IArguments** pArguments)
try {
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::GetValueArray()", this);
    if (pArguments == nullptr || pKey == nullptr) {
        Failed("GetValueArray. Invalid pointer.");
        return E_POINTER;
    }
    if (m_pArguments == nullptr) {
        ORVEX_TRACE(&m_Logger, TRACE_ERROR, "CComArguments::GetValueArray. Invalid type.");
        return S_OK;
    }
    const ReadKey key(pKey);
    if (key.IsRefused()) {
        ORVEX_TRACE(&m_Logger, TRACE_ERROR, "CComArguments::GetValueArray. pVarKey is of invalid type.");
        return S_OK;
    }
    const ArgumentsHolder pArray(FindArray(key));
    if (pArray == nullptr) {
        if (key.IsNumber())
            ORVEX_TRACE(&m_Logger, TRACE_LOOKUP,
                        "CComArguments::GetValueArray. No array value associated with key -> %d",
                        key.Number());
        else
            ORVEX_TRACE(&m_Logger, TRACE_LOOKUP,
                        "CComArguments::GetValueArray. No array value associated with key -> %s",
                        key.PrintText());
        return S_OK;
    }
    const HRESULT hrInitialized = CoInitialize(nullptr);
    CComArguments* pNew = nullptr;
    HRESULT hr = Create(&pNew);
    if (SUCCEEDED(hrInitialized))
        CoUninitialize();
    if (FAILED(hr))
        return Failed("GetValueArray. CoCreateInstance failed.");
    hr = pNew->SetArguments(pArray.get());
    if (FAILED(hr)) {
        pNew->Release();
        return Failed("GetValueArray. SetArguments failed.");
    }
    *pArguments = pNew;
    return hr;
} catch (...) {
    return Caught("CComArguments", this, "GetValueArray");
}

// The container stored under the key, with a reference, or null. A value that merely holds a container is
// none.
Arguments* CComArguments::FindArray(const ReadKey& key)
{
    Arg* p = nullptr;
    if (key.IsNumber() ? !m_pArguments->GetValue(key.Number(), &p) : !m_pArguments->GetValue(key.Text(), &p))
        return nullptr;
    const ArgHolder pArg(p);
    Arguments* pArray = nullptr;
    return pArg->GetType() == ARG_ARGARRAY && pArg->GetValueArray(&pArray) ? pArray : nullptr;
}

STDMETHODIMP CComArguments::NumElements(int* pElements)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::NumElements()", this);
    if (pElements == nullptr)
        return E_POINTER;
    *pElements = 0;
    if (m_pArguments == nullptr) {
        Failed("NumElements. Invalid pointer.");
        return S_OK;
    }
    *pElements = m_pArguments->NumElements();
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::NumElements. Number of elements %d", this,
                *pElements);
    return S_OK;
}

STDMETHODIMP CComArguments::GetClassID(int* pClassID)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::GetClassID()", this);
    if (pClassID == nullptr)
        return E_POINTER;
    *pClassID = 0;
    if (m_pArguments == nullptr) {
        Failed("GetClassID. Invalid pointer.");
        return S_OK;
    }
    *pClassID = m_pArguments->GetClassID();
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::GetClassID. Class ID %d", this, *pClassID);
    return S_OK;
}

STDMETHODIMP CComArguments::DumpArgs(BSTR* pString)
try {
    if (pString == nullptr)
        return E_POINTER;
    *pString = nullptr;
    *pString = A2WBSTR_ORVEX(DumpText().c_str(), -1);
    return S_OK;
} catch (...) {
    return Caught("CComArguments", this, "DumpArgs");
}

std::string CComArguments::DumpText()
{
    const int n = m_pArguments != nullptr ? m_pArguments->NumElements() : 0;
    std::string s = "Arguments contains " + std::to_string(n) + " Args \r\n";
    std::string sKey;
    for (int i = 1; i <= n; ++i)
        if (m_pArguments->GetElementKey(i, &sKey))
            s += '\t' + m_pArguments->FormatArg(sKey) + "\r\n";
    return s;
}
