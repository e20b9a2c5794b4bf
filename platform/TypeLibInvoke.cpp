#include "platform/TypeLibModel.h"

// A call through an interface's table. Every parameter is an integer or a pointer, so each goes in a register
// or slot of its own, as the calling conventions of x86-64 and aarch64 have it; what does not is not read
// from a library's text in the first place.

namespace {

template <class... Words> HRESULT CallWith(void* pvInstance, SHORT oVft, Words... words)
{
    using Method = HRESULT(STDMETHODCALLTYPE*)(void*, Words...);
    const char* pTable = *static_cast<const char**>(pvInstance);
    return (*reinterpret_cast<const Method*>(pTable + oVft))(pvInstance, words...);
}

HRESULT Call(void* pv, SHORT oVft, std::size_t n, const ULONG_PTR* p)
{
    static_assert(MOST_METHOD_PARAMS == 6, "a case for each number");
    switch (n) {
    case 0: return CallWith(pv, oVft);
    case 1: return CallWith(pv, oVft, p[0]);
    case 2: return CallWith(pv, oVft, p[0], p[1]);
    case 3: return CallWith(pv, oVft, p[0], p[1], p[2]);
    case 4: return CallWith(pv, oVft, p[0], p[1], p[2], p[3]);
    case 5: return CallWith(pv, oVft, p[0], p[1], p[2], p[3], p[4]);
    default: return CallWith(pv, oVft, p[0], p[1], p[2], p[3], p[4], p[5]);
    }
}

// The argument for a parameter: a named one, or the next from the back of those without a name. Null: none.
VARIANTARG* FindArgument(const DISPPARAMS& params, std::size_t iParam, UINT* pnTaken)
{
    for (UINT i = 0; i < params.cNamedArgs; ++i)
        if (params.rgdispidNamedArgs[i] == static_cast<DISPID>(iParam))
            return &params.rgvarg[i];
    if (*pnTaken + params.cNamedArgs >= params.cArgs)
        return nullptr;
    return &params.rgvarg[params.cArgs - 1 - (*pnTaken)++];
}

// As a register or stack slot holds it.
ULONG_PTR WordOf(const VARIANT& v)
{
    switch (v.vt) {
    case VT_I2:
    case VT_BOOL: return static_cast<ULONG_PTR>(static_cast<INT_PTR>(v.iVal));
    case VT_UI2: return v.uiVal;
    case VT_I4:
    case VT_INT: return static_cast<ULONG_PTR>(static_cast<INT_PTR>(v.lVal));
    case VT_UI4:
    case VT_UINT: return v.ulVal;
    default: return reinterpret_cast<ULONG_PTR>(v.byref);
    }
}

// Arguments in the order of the parameters, with what had to be converted for them.
class CallArguments
{
public:
    ~CallArguments()
    {
        for (std::size_t i = 0; i < m_nConverted; ++i)
            VariantClear(&m_converted[i]);
    }

    HRESULT Take(const TypeLibMethod& rMethod, const DISPPARAMS& params, UINT* puArgErr)
    {
        UINT nTaken = 0;
        for (; m_n < rMethod.InParams(); ++m_n) {
            VARIANTARG* p = FindArgument(params, m_n, &nTaken);
            if (p == nullptr)
                return DISP_E_BADPARAMCOUNT;
            const HRESULT hr = Convert(rMethod.params[m_n].type, p);
            if (FAILED(hr)) {
                if (puArgErr != nullptr)
                    *puArgErr = static_cast<UINT>(p - params.rgvarg);
                return hr;
            }
        }
        return S_OK;
    }
    void Add(void* p) { m_words[m_n++] = reinterpret_cast<ULONG_PTR>(p); }
    HRESULT CallMethod(void* pvInstance, SHORT oVft) const { return Call(pvInstance, oVft, m_n, m_words); }

private:
    HRESULT Convert(const TypeLibType& type, VARIANTARG* p)
    {
        if (type.vt == VT_VARIANT) {
            m_words[m_n] = reinterpret_cast<ULONG_PTR>(p->vt == (VT_BYREF | VT_VARIANT) ? p->pvarVal : p);
            return S_OK;
        }
        if (p->vt == type.vt) {
            m_words[m_n] = WordOf(*p);
            return S_OK;
        }
        VARIANT& rConverted = m_converted[m_nConverted++];
        VariantInit(&rConverted);
        const HRESULT hr = VariantChangeType(&rConverted, p, 0, type.vt);
        if (SUCCEEDED(hr))
            m_words[m_n] = WordOf(rConverted);
        return hr;
    }

    std::size_t m_n = 0;
    std::size_t m_nConverted = 0;
    ULONG_PTR m_words[MOST_METHOD_PARAMS];
    VARIANT m_converted[MOST_METHOD_PARAMS];
};

// Refuses names that no parameter has, and more arguments than parameters.
HRESULT CheckCount(const TypeLibMethod& rMethod, const DISPPARAMS& params, UINT* puArgErr)
{
    const std::size_t nParams = rMethod.InParams();
    if (params.cArgs > nParams)
        return DISP_E_BADPARAMCOUNT;
    for (UINT i = 0; i < params.cNamedArgs; ++i) {
        const DISPID id = params.rgdispidNamedArgs[i];
        if (id < 0 || static_cast<std::size_t>(id) >= nParams) {
            if (puArgErr != nullptr)
                *puArgErr = i;
            return DISP_E_PARAMNOTFOUND;
        }
    }
    return S_OK;
}

// What a result of the type arrives as: integers of the machine's width are told by the width they have.
VARTYPE ResultType(VARTYPE vt)
{
    switch (vt) {
    case VT_USERDEFINED: return VT_DISPATCH;
    case VT_INT: return VT_I4;
    case VT_UINT: return VT_UI4;
    default: return vt;
    }
}

void FillException(HRESULT hr, EXCEPINFO* p)
{
    if (p == nullptr)
        return;
    *p = EXCEPINFO{};
    p->scode = hr;
}

}  // namespace

HRESULT PlatformInvokeMethod(const TypeLibMethod& rMethod, SHORT oVft, void* pvInstance,
                             DISPPARAMS* pDispParams, VARIANT* pVarResult, EXCEPINFO* pExcepInfo,
                             UINT* puArgErr)
{
    HRESULT hr = CheckCount(rMethod, *pDispParams, puArgErr);
    if (FAILED(hr))
        return hr;
    CallArguments arguments;
    hr = arguments.Take(rMethod, *pDispParams, puArgErr);
    if (FAILED(hr))
        return hr;
    VARIANT result{};
    if (rMethod.HasResult()) {
        const TypeLibType& rType = rMethod.params.back().type;
        if (rType.vt == VT_VARIANT) {
            arguments.Add(&result);
        } else {
            result.vt = ResultType(rType.vt);
            arguments.Add(&result.byref);
        }
    }
    hr = arguments.CallMethod(pvInstance, oVft);
    if (FAILED(hr)) {
        VariantClear(&result);
        FillException(hr, pExcepInfo);
        return DISP_E_EXCEPTION;
    }
    // A result is never handed out as a reference.
    hr = V_ISBYREF(&result) && pVarResult != nullptr ? VariantCopyInd(pVarResult, &result) : S_OK;
    if (pVarResult != nullptr && !V_ISBYREF(&result))
        *pVarResult = result;
    else
        VariantClear(&result);
    return hr;
}
