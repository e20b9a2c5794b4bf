// A client of the component module: the same source on Linux and on Windows. It needs the module registered,
// and of this tree component/Interfaces.h and .cpp alone.
//
// The first half calls the interfaces directly, the second by name, as a script does.
#include "component/Interfaces.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

// The variants of this example own strings and objects; each is cleared where it ends.
class Variant : public VARIANT
{
public:
    Variant() { VariantInit(this); }
    explicit Variant(int i) : Variant()
    {
        vt = VT_I4;
        lVal = i;
    }
    explicit Variant(const OLECHAR* psz) : Variant()
    {
        vt = VT_BSTR;
        bstrVal = SysAllocString(psz);
    }
    explicit Variant(IDispatch* p) : Variant()
    {
        vt = VT_DISPATCH;
        pdispVal = p;
        p->AddRef();
    }
    ~Variant() { VariantClear(this); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
};

std::string Narrow(BSTR bstr)
{
    const int n = WideCharToMultiByte(CP_ACP, 0, bstr, -1, nullptr, 0, nullptr, nullptr);
    std::string s(static_cast<std::size_t>(n), '\0');
    WideCharToMultiByte(CP_ACP, 0, bstr, -1, s.data(), n, nullptr, nullptr);
    s.pop_back();
    return s;
}

bool Check(HRESULT hr, const char* what)
{
    if (FAILED(hr))
        std::printf("%s: 0x%08x\n", what, static_cast<unsigned int>(hr));
    return SUCCEEDED(hr);
}

IArguments* NewMessage()
{
    CLSID clsid;
    void* pv = nullptr;
    if (!Check(CLSIDFromProgID(OLESTR("OrVexComArguments.ComArguments"), &clsid), "CLSIDFromProgID") ||
        !Check(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, IID_IArguments, &pv), "CoCreateInstance"))
        return nullptr;
    return static_cast<IArguments*>(pv);
}

// Keys are keyword numbers or texts; a text that spells a keyword is that keyword, in any case.
bool EarlyBound(IArguments* pMessage, IArguments* pParty)
{
    Variant id(OLESTR("MessageID")), idValue(1), name(OLESTR("AgentName")), nameValue(OLESTR("Jos\u00e9"));
    Variant party(OLESTR("Party")), partyValue(pParty), number(OLESTR("Number")), numberValue(4711),
        lower(OLESTR("messageid"));
    VARIANT_BOOL bDone = VARIANT_FALSE;
    pMessage->AddItem(&id, &idValue, &bDone);
    pMessage->AddItem(&name, &nameValue, &bDone);
    pMessage->AddItem(&party, &partyValue, &bDone);
    pParty->AddItem(&number, &numberValue, &bDone);  // shared: the message shows it

    int n = 0, iValue = 0;
    pMessage->NumElements(&n);
    pMessage->GetValueInt(&lower, &iValue);
    std::printf("%d elements, MessageID is %d\n", n, iValue);
    for (int i = 1; i <= n; ++i) {
        BSTR bstrKey = nullptr;
        Variant value;
        pMessage->GetElementKey(i, &bstrKey);
        pMessage->GetElement(i, &value);
        std::printf("  %d. %s, variant type %d\n", i, Narrow(bstrKey).c_str(), value.vt);
        SysFreeString(bstrKey);
    }
    return bDone == VARIANT_TRUE && n == 3 && iValue == 1;
}

// One call by name. Arguments travel last to first.
HRESULT Call(IDispatch* p, const OLECHAR* name, std::vector<VARIANT> args, VARIANT* pResult)
{
    LPOLESTR psz = const_cast<LPOLESTR>(name);
    DISPID id = DISPID_UNKNOWN;
    const HRESULT hr = p->GetIDsOfNames(IID_NULL, &psz, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(hr))
        return hr;
    DISPPARAMS params{args.data(), nullptr, static_cast<UINT>(args.size()), 0};
    return p->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, pResult, nullptr, nullptr);
}

bool LateBound(IDispatch* pMessage)
{
    Variant key(OLESTR("AgentName")), value(OLESTR("Ann")), added, read, dump;
    if (!Check(Call(pMessage, OLESTR("SetValue"), {value, key}, &added), "SetValue") ||
        !Check(Call(pMessage, OLESTR("GetValueString"), {key}, &read), "GetValueString") ||
        !Check(Call(pMessage, OLESTR("DumpArgs"), {}, &dump), "DumpArgs"))
        return false;
    std::printf("AgentName is %s\n%s", Narrow(read.bstrVal).c_str(), Narrow(dump.bstrVal).c_str());
    return added.boolVal == VARIANT_TRUE;
}

bool Run()
{
    IArguments* pMessage = NewMessage();
    IArguments* pParty = NewMessage();
    const bool bGood =
        pMessage != nullptr && pParty != nullptr && EarlyBound(pMessage, pParty) && LateBound(pMessage);
    if (pParty != nullptr)
        pParty->Release();
    if (pMessage != nullptr)
        pMessage->Release();
    return bGood;
}

}  // namespace

int main()
{
    if (!Check(CoInitialize(nullptr), "CoInitialize"))
        return 1;
    const bool bGood = Run();
    CoUninitialize();
    return bGood ? 0 : 1;
}
