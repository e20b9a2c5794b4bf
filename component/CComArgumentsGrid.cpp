// The typed operations: one for each kind of key and kind of value, a cell each: the call of the container,
// and the line where that refuses. What is common to all stands in Row and what derives from it.
#include "component/CComArguments.h"

#include "arguments/Arguments.h"
#include "component/CComArg.h"

// Traces the entry and tests the container. What goes wrong is traced, and is the answer.
class CComArguments::Row
{
public:
    Row(CComArguments& rObject, const char* name) : m_rObject(rObject), m_name(name), m_hr(S_OK)
    {
        ORVEX_TRACE(&rObject.m_Logger, TRACE_ENTRY, "CComArguments(%p)::%s()", &rObject, name);
        if (rObject.m_pArguments == nullptr)
            Fail(E_POINTER, "Invalid pointer.");
    }

    explicit operator bool() const { return m_hr == S_OK; }
    Arguments* operator->() const { return m_rObject.m_pArguments; }

    HRESULT Told(bool bDone, const char* text) const
    {
        if (m_hr != S_OK || bDone)
            return m_hr;
        TraceLine(text);
        return E_FAIL;
    }

protected:
    void Fail(HRESULT hr, const char* text)
    {
        m_hr = hr;
        TraceLine(text);
    }

    CComArguments& m_rObject;

private:
    void TraceLine(const char* text) const
    {
        ORVEX_TRACE(&m_rObject.m_Logger, TRACE_STEP, "CComArguments(%p)::%s. %s", &m_rObject, m_name, text);
    }

    const char* m_name;
    HRESULT m_hr;
};

class CComArguments::StringRow : public CComArguments::Row
{
public:
    StringRow(CComArguments& rObject, const char* name, BSTR bstr) : Row(rObject, name)
    {
        if (!*this)
            return;
        if (!IsAcceptable(bstr)) {
            Fail(E_INVALIDARG, "Unexpected BSTR, invalid argument.");
            return;
        }
        m_text = rObject.NarrowCopy(bstr);
        if (m_text == nullptr)
            Fail(E_FAIL, "Error converting from BSTR to string.");
    }

    const char* Text() const { return m_text.get(); }

private:
    NarrowBuffer m_text;
};

// The value, or the container, behind another object of this module. An object with both interfaces counts as
// a value.
class CComArguments::ObjectRow : public CComArguments::Row
{
public:
    ObjectRow(CComArguments& rObject, const char* name, const VARIANT* pValue, int vt,
              const char* strangerText = "Invalid pointer in byref.")
        : Row(rObject, name), m_bContainer(false)
    {
        if (!*this)
            return;
        if (pValue->vt != vt || pValue->byref == nullptr) {
            Fail(E_INVALIDARG, "Invalid Argument.");
            return;
        }
        IDispatch* pDispatch = vt == VT_DISPATCH ? pValue->pdispVal : *pValue->ppdispVal;
        if (pDispatch == nullptr)
            Fail(E_POINTER, "Invalid pointer.");
        else if (Query(pDispatch, IID_IArg))
            Take(CComArg::OwnObject(m_pInterface.get()));
        else if (Query(pDispatch, IID_IArguments))
            Take(CComArguments::OwnObject(m_pInterface.get()));
        else
            Fail(E_FAIL, strangerText);
    }

    Arg* Value() const { return m_pValue.get(); }
    bool IsContainer() const { return m_bContainer; }

private:
    bool Query(IDispatch* pDispatch, REFIID riid)
    {
        void* pv = nullptr;
        if (FAILED(pDispatch->QueryInterface(riid, &pv)))
            return false;
        m_pInterface.reset(static_cast<IDispatch*>(pv));
        return pv != nullptr;
    }

    void Take(CComArg* pOwn)
    {
        Arg* p = nullptr;
        if (pOwn == nullptr || FAILED(pOwn->GetArg(&p)) || p == nullptr)
            Fail(E_POINTER, "Invalid pointer.");
        m_pValue.reset(p);
    }

    void Take(CComArguments* pOwn)
    {
        Arguments* p = nullptr;
        if (pOwn == nullptr || FAILED(pOwn->GetArguments(&p)) || p == nullptr)
            Fail(E_POINTER, "Invalid pointer.");
        m_pValue.reset(p);
        m_bContainer = true;
    }

    std::unique_ptr<IDispatch, ReleaseInterface> m_pInterface;  // goes after the value
    ArgHolder m_pValue;
    bool m_bContainer;
};

// clang-format off

HRESULT CComArguments::AddItemStrInt(const char* k, int v)
    { const Row r(*this, __func__); return r.Told(r && r->AddItem(k, v), "Failed to Add a string key and integer value"); }
HRESULT CComArguments::AddItemStrUInt(const char* k, unsigned int v)
    { const Row r(*this, __func__); return r.Told(r && r->AddItem(k, v), "Failed to Add a string key and unsigned integer value"); }
HRESULT CComArguments::AddItemStrShort(const char* k, short v)
    { const Row r(*this, __func__); return r.Told(r && r->AddItem(k, v), "Failed to Add a string key and short value"); }
HRESULT CComArguments::AddItemStrUShort(const char* k, unsigned short v)
    { const Row r(*this, __func__); return r.Told(r && r->AddItem(k, v), "Failed to Add a string key and unsigned short value"); }
HRESULT CComArguments::AddItemStrBool(const char* k, int v)
    { const Row r(*this, __func__); return r.Told(r && r->AddItem(k, v == -1), "Failed to Add a string key and boolean value"); }
HRESULT CComArguments::AddItemStrStr(const char* k, BSTR v)
    { const StringRow r(*this, __func__, v); return r.Told(r && r->AddItem(k, r.Text()), "Failed to Add a integer key and string value"); }  // sic
HRESULT CComArguments::AddItemStrByRef(const char* k, VARIANT* v)
    { const ObjectRow r(*this, __func__, v, VT_DISPATCH); return r.Told(r && r->AddItem(k, r.Value()), "Failed to Add a string key and Argument value"); }
HRESULT CComArguments::AddItemStrByDispRef(const char* k, VARIANT* v)
    { const ObjectRow r(*this, __func__, v, VT_BYREF | VT_DISPATCH); return r.Told(r && r->AddItem(k, r.Value()), "Failed to Add a string key and Argument value"); }

HRESULT CComArguments::AddItemIntInt(enum_Keywords k, int v)
    { const Row r(*this, __func__); return r.Told(r && r->AddItem(k, v), "Failed to Add a integer key and integer value"); }
HRESULT CComArguments::AddItemIntUInt(enum_Keywords k, unsigned int v)
    { const Row r(*this, __func__); return r.Told(r && r->AddItem(k, v), "Failed to Add a integer key and unsigned integer value"); }
HRESULT CComArguments::AddItemIntShort(enum_Keywords k, short v)
    { const Row r(*this, __func__); return r.Told(r && r->AddItem(k, v), "Failed to Add a integer key and short value"); }
HRESULT CComArguments::AddItemIntUShort(enum_Keywords k, unsigned short v)
    { const Row r(*this, __func__); return r.Told(r && r->AddItem(k, v), "Failed to Add a integer key and unsigned short value"); }
HRESULT CComArguments::AddItemIntBool(enum_Keywords k, int v)
    { const Row r(*this, __func__); return r.Told(r && r->AddItem(k, v == -1), "Failed to Add a integer key and boolean value"); }
HRESULT CComArguments::AddItemIntStr(enum_Keywords k, BSTR v)
    { const StringRow r(*this, __func__, v); return r.Told(r && r->AddItem(k, r.Text()), "Failed to Add a integer key and string value"); }
HRESULT CComArguments::AddItemIntByRef(enum_Keywords k, VARIANT* v)
    { const ObjectRow r(*this, __func__, v, VT_DISPATCH); return r.Told(r && r->AddItem(k, r.Value()), "Failed to Add a string key and Argument value"); }  // sic
HRESULT CComArguments::AddItemIntByDispRef(enum_Keywords k, VARIANT* v)
    { const ObjectRow r(*this, __func__, v, VT_BYREF | VT_DISPATCH); return r.Told(r && r->AddItem(k, r.Value()), "Failed to Add a string key and Argument value"); }  // sic

HRESULT CComArguments::SetValueStrInt(const char* k, int v)
    { const Row r(*this, __func__); return r.Told(r && r->SetValue(k, v), "Failed to set a string key and integer value"); }
HRESULT CComArguments::SetValueStrUInt(const char* k, unsigned int v)
    { const Row r(*this, __func__); return r.Told(r && r->SetValue(k, v), "Failed to set a string key and unsigned integer value"); }
HRESULT CComArguments::SetValueStrShort(const char* k, short v)
    { const Row r(*this, __func__); return r.Told(r && r->SetValue(k, v), "Failed to set a string key and short value"); }
HRESULT CComArguments::SetValueStrUShort(const char* k, unsigned short v)
    { const Row r(*this, __func__); return r.Told(r && r->SetValue(k, v), "Failed to set a string key and unsigned short value"); }
HRESULT CComArguments::SetValueStrBool(const char* k, int v)
    { const Row r(*this, __func__); return r.Told(r && r->SetValue(k, v == -1), "Failed to set a string key and boolean value"); }
HRESULT CComArguments::SetValueStrStr(const char* k, BSTR v)
    { const StringRow r(*this, __func__, v); return r.Told(r && r->SetValue(k, r.Text()), "Failed to set a integer key and string value"); }  // sic
// Its line for an object without either interface is not that of its neighbours. (sic)
HRESULT CComArguments::SetValueStrByRef(const char* k, VARIANT* v)
    { const ObjectRow r(*this, __func__, v, VT_DISPATCH, "Invalid pointer.");
      return r.Told(r && r->SetValue(k, r.Value()), r.IsContainer() ? "Failed to Set a string key and Argument value" : "Failed to Add a string key and Argument value"); }
HRESULT CComArguments::SetValueStrByDispRef(const char* k, VARIANT* v)
    { const ObjectRow r(*this, __func__, v, VT_BYREF | VT_DISPATCH); return r.Told(r && r->SetValue(k, r.Value()), "Failed to set a string key and Argument value"); }

HRESULT CComArguments::SetValueIntInt(enum_Keywords k, int v)
    { const Row r(*this, __func__); return r.Told(r && r->SetValue(k, v), "Failed to set a integer key and integer value"); }
HRESULT CComArguments::SetValueIntUInt(enum_Keywords k, unsigned int v)
    { const Row r(*this, __func__); return r.Told(r && r->SetValue(k, v), "Failed to set a integer key and unsigned integer value"); }
HRESULT CComArguments::SetValueIntShort(enum_Keywords k, short v)
    { const Row r(*this, __func__); return r.Told(r && r->SetValue(k, v), "Failed to set a integer key and short value"); }
HRESULT CComArguments::SetValueIntUShort(enum_Keywords k, unsigned short v)
    { const Row r(*this, __func__); return r.Told(r && r->SetValue(k, v), "Failed to set a integer key and unsigned short value"); }
HRESULT CComArguments::SetValueIntBool(enum_Keywords k, int v)
    { const Row r(*this, __func__); return r.Told(r && r->SetValue(k, v == -1), "Failed to set a integer key and boolean value"); }
HRESULT CComArguments::SetValueIntStr(enum_Keywords k, BSTR v)
    { const StringRow r(*this, __func__, v); return r.Told(r && r->SetValue(k, r.Text()), "Failed to set a integer key and string value"); }
HRESULT CComArguments::SetValueIntByRef(enum_Keywords k, VARIANT* v)
    { const ObjectRow r(*this, __func__, v, VT_DISPATCH); return r.Told(r && r->SetValue(k, r.Value()), "Failed to Add a string key and Argument value"); }  // sic
HRESULT CComArguments::SetValueIntByDispRef(enum_Keywords k, VARIANT* v)
    { const ObjectRow r(*this, __func__, v, VT_BYREF | VT_DISPATCH); return r.Told(r && r->SetValue(k, r.Value()), "Failed to set a string key and Argument value"); }  // sic

HRESULT CComArguments::SetElementInt(int i, int v)
    { const Row r(*this, __func__); return r.Told(r && r->SetElement(i, v), "Failed to set element [index is integer and value is integer]"); }
HRESULT CComArguments::SetElementUInt(int i, unsigned int v)
    { const Row r(*this, __func__); return r.Told(r && r->SetElement(i, v), "Failed to set element [index is integer and value is unsigend integer]"); }  // sic
HRESULT CComArguments::SetElementShort(int i, short v)
    { const Row r(*this, __func__); return r.Told(r && r->SetElement(i, v), "Failed to set element [index is integer and value is short]"); }
HRESULT CComArguments::SetElementUShort(int i, unsigned short v)
    { const Row r(*this, __func__); return r.Told(r && r->SetElement(i, v), "Failed to set element [index is integer and value is unsigned short]"); }
HRESULT CComArguments::SetElementBool(int i, int v)
    { const Row r(*this, __func__); return r.Told(r && r->SetElement(i, v == -1), "Failed to set element [index is integer and value is boolean]"); }
HRESULT CComArguments::SetElementStr(int i, BSTR v)
    { const StringRow r(*this, __func__, v); return r.Told(r && r->SetElement(i, r.Text()), "Failed to set element [index is integer and value is string]"); }
HRESULT CComArguments::SetElementByRef(int i, VARIANT* v)
    { const ObjectRow r(*this, __func__, v, VT_DISPATCH); return r.Told(r && r->SetElement(i, r.Value()), "Failed to Add a string key and Argument value"); }  // sic

HRESULT CComArguments::GetElementIntInt(int i, int* p)
    { const Row r(*this, __func__); return r.Told(r && r->GetElementInt(i, p), "Failed to get integer value"); }
HRESULT CComArguments::GetElementIntUInt(int i, unsigned int* p)
    { const Row r(*this, __func__); return r.Told(r && r->GetElementUInt(i, p), "Failed to get unsigned integer value"); }
HRESULT CComArguments::GetElementIntShort(int i, short* p)
    { const Row r(*this, __func__); return r.Told(r && r->GetElementShort(i, p), "Failed to get a short value"); }
HRESULT CComArguments::GetElementIntUShort(int i, unsigned short* p)
    { const Row r(*this, __func__); return r.Told(r && r->GetElementUShort(i, p), "Failed to get a unsigned short value"); }
HRESULT CComArguments::GetElementIntBool(int i, bool* p)
    { const Row r(*this, __func__); return r.Told(r && r->GetElementBool(i, p), "Failed to get a boolean value"); }

// clang-format on

HRESULT CComArguments::GetElementIntStr(int iIndex, BSTR* pValue)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::GetElementIntStr()", this);
    if (pValue == nullptr) {
        Failed("GetElementIntStr. Invalid argument.");
        return E_INVALIDARG;
    }
    *pValue = nullptr;
    if (m_pArguments == nullptr) {
        Failed("GetElementIntStr. Invalid pointer.");
        return E_POINTER;
    }
    std::string s;
    if (!m_pArguments->GetElementString(iIndex, &s))
        return Failed("GetElementIntStr. Failed to get a string value");
    *pValue = A2WBSTR_ORVEX(s.c_str(), -1);
    return S_OK;
}

HRESULT CComArguments::GetElementIntByRef(int iIndex, VARIANT* pValue)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::GetElementIntByRef()", this);
    if (pValue == nullptr) {
        Failed("GetElementIntByRef. Invalid Argument.");
        return E_INVALIDARG;
    }
    if (m_pArguments == nullptr) {
        Failed("GetElementIntByRef. Invalid pointer.");
        return E_POINTER;
    }
    Arg* p = nullptr;
    if (!m_pArguments->GetElement(iIndex, &p) || p == nullptr)
        return Failed("GetElementIntByRef. Failed to get a Arg value");
    const ArgHolder pArg(p);
    CComArg* pNew = nullptr;
    if (FAILED(CComArg::Create(&pNew)))
        return Failed("GetElementIntByRef. CoCreateInstance failed.");
    if (FAILED(pNew->SetArg(p))) {
        pNew->Release();
        return Failed("GetElementIntByRef. SetArg failed.");
    }
    pValue->vt = VT_DISPATCH;
    pValue->pdispVal = pNew;
    return S_OK;
}

HRESULT CComArguments::GetElementArg(int iIndex, VARIANT* pValue)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CComArguments(%p)::GetElementArg()", this);
    if (pValue == nullptr || m_pArguments == nullptr) {
        Failed("GetElementArg. Invalid pointer.");
        return E_POINTER;
    }
    Arguments* p = nullptr;
    if (!m_pArguments->GetElementArg(iIndex, &p) || p == nullptr)
        return Failed("GetElementArg. Failed to get a Arguments value");
    const ArgumentsHolder pArray(p);
    CComArguments* pNew = nullptr;
    if (FAILED(Create(&pNew)))
        return Failed("GetElementArg. CoCreateInstance failed.");
    if (FAILED(pNew->SetArguments(p))) {
        pNew->Release();
        return Failed("GetElementArg. SetArguments failed.");
    }
    pValue->vt = VT_DISPATCH;
    pValue->pdispVal = pNew;
    return S_OK;
}
