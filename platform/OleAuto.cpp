#include "platform/OleAuto.h"
#include "platform/LivingStrings.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <limits>

const IID IID_IDispatch = {0x00020400, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_ISupportErrorInfo = {
    0xDF0B3D60, 0x548F, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};

namespace {

// In memory: padding, so that the characters stand aligned for anything; the length in bytes; the characters;
// a zero character.
struct StringHead
{
    DWORD dwPadding[3];
    DWORD cb;
};

std::atomic<long> s_lLivingStrings{0};

StringHead* HeadOf(BSTR bstr) { return reinterpret_cast<StringHead*>(bstr) - 1; }
BSTR TextOf(StringHead* p) { return reinterpret_cast<BSTR>(p + 1); }

BSTR NewString(std::size_t cb)
{
    if (cb > std::numeric_limits<int>::max() - sizeof(StringHead) - sizeof(OLECHAR))
        return nullptr;
    StringHead* p = static_cast<StringHead*>(std::malloc(sizeof(StringHead) + cb + 1 + sizeof(OLECHAR)));
    if (p == nullptr)
        return nullptr;
    s_lLivingStrings.fetch_add(1, std::memory_order_relaxed);
    p->cb = static_cast<DWORD>(cb);
    std::memset(reinterpret_cast<char*>(p + 1) + cb, 0, 1 + sizeof(OLECHAR));
    return TextOf(p);
}

std::size_t LengthOf(const OLECHAR* psz)
{
    std::size_t n = 0;
    while (psz[n] != 0)
        ++n;
    return n;
}

// The type without VT_BYREF is one that a variant can hold.
bool IsVariantType(VARTYPE vt)
{
    switch (vt) {
    case VT_EMPTY:
    case VT_NULL:
    case VT_I2:
    case VT_I4:
    case VT_R4:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_ERROR:
    case VT_BOOL:
    case VT_VARIANT:
    case VT_UNKNOWN:
    case VT_DECIMAL:
    case VT_I1:
    case VT_UI1:
    case VT_UI2:
    case VT_UI4:
    case VT_I8:
    case VT_UI8:
    case VT_INT:
    case VT_UINT: return true;
    default: return false;
    }
}

bool HasGoodType(const VARIANTARG* p)
{
    const VARTYPE vt = static_cast<VARTYPE>(p->vt & ~VT_BYREF);
    if (!IsVariantType(vt))
        return false;
    return !V_ISBYREF(p) || (vt != VT_EMPTY && vt != VT_NULL);
}

// The value that a reference to one of these types leads to.
void ReadReference(VARIANT* pDest, const VARIANTARG* pSrc)
{
    VARIANT value{};
    value.vt = static_cast<VARTYPE>(pSrc->vt & ~VT_BYREF);
    switch (value.vt) {
    case VT_I1:
    case VT_UI1: value.bVal = *pSrc->pbVal; break;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL: value.iVal = *pSrc->piVal; break;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_ERROR: value.lVal = *pSrc->plVal; break;
    case VT_R4: value.fltVal = *pSrc->pfltVal; break;
    case VT_R8:
    case VT_DATE: value.dblVal = *pSrc->pdblVal; break;
    case VT_DECIMAL:
        value.decVal = *pSrc->pdecVal;
        value.vt = VT_DECIMAL;
        break;
    case VT_BSTR: value.bstrVal = *pSrc->pbstrVal; break;
    case VT_UNKNOWN:
    case VT_DISPATCH: value.punkVal = *pSrc->ppunkVal; break;
    default: value.llVal = *pSrc->pllVal; break;
    }
    *pDest = value;
}

}  // namespace

long PlatformLivingBSTRs() { return s_lLivingStrings.load(std::memory_order_relaxed); }

BSTR SysAllocString(const OLECHAR* psz)
{
    return psz == nullptr ? nullptr : SysAllocStringLen(psz, static_cast<UINT>(LengthOf(psz)));
}

BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui)
{
    const std::size_t cb = std::size_t{ui} * sizeof(OLECHAR);
    BSTR bstr = NewString(cb);
    if (bstr != nullptr && strIn != nullptr)
        std::memcpy(bstr, strIn, cb);
    return bstr;
}

BSTR SysAllocStringByteLen(LPCSTR psz, UINT len)
{
    BSTR bstr = NewString(len);
    if (bstr != nullptr && psz != nullptr)
        std::memcpy(bstr, psz, len);
    return bstr;
}

INT SysReAllocString(BSTR* pbstr, const OLECHAR* psz)
{
    BSTR bstr = SysAllocString(psz);
    if (bstr == nullptr && psz != nullptr)
        return FALSE;
    SysFreeString(*pbstr);
    *pbstr = bstr;
    return TRUE;
}

INT SysReAllocStringLen(BSTR* pbstr, const OLECHAR* psz, unsigned int len)
{
    BSTR bstr = SysAllocStringLen(psz, len);
    if (bstr == nullptr)
        return FALSE;
    if (psz == nullptr && *pbstr != nullptr)
        std::memcpy(bstr, *pbstr, std::min(SysStringByteLen(*pbstr), SysStringByteLen(bstr)));
    SysFreeString(*pbstr);
    *pbstr = bstr;
    return TRUE;
}

void SysFreeString(BSTR bstrString)
{
    if (bstrString == nullptr)
        return;
    s_lLivingStrings.fetch_sub(1, std::memory_order_relaxed);
    std::free(HeadOf(bstrString));
}

UINT SysStringLen(BSTR bstr) { return SysStringByteLen(bstr) / UINT{sizeof(OLECHAR)}; }
UINT SysStringByteLen(BSTR bstr) { return bstr == nullptr ? 0 : HeadOf(bstr)->cb; }

void VariantInit(VARIANTARG* pvarg) { pvarg->vt = VT_EMPTY; }

HRESULT VariantClear(VARIANTARG* pvarg)
{
    if (!HasGoodType(pvarg))
        return DISP_E_BADVARTYPE;
    if (pvarg->vt == VT_BSTR)
        SysFreeString(pvarg->bstrVal);
    else if ((pvarg->vt == VT_DISPATCH || pvarg->vt == VT_UNKNOWN) && pvarg->punkVal != nullptr)
        pvarg->punkVal->Release();
    pvarg->vt = VT_EMPTY;
    return S_OK;
}

HRESULT VariantCopy(VARIANTARG* pvargDest, VARIANTARG* pvargSrc)
{
    if (!HasGoodType(pvargSrc))
        return DISP_E_BADVARTYPE;
    if (pvargDest == pvargSrc)
        return S_OK;
    VARIANT copy = *pvargSrc;
    if (copy.vt == VT_BSTR && copy.bstrVal != nullptr) {
        copy.bstrVal =
            SysAllocStringByteLen(reinterpret_cast<LPCSTR>(copy.bstrVal), SysStringByteLen(copy.bstrVal));
        if (copy.bstrVal == nullptr)
            return E_OUTOFMEMORY;
    } else if ((copy.vt == VT_DISPATCH || copy.vt == VT_UNKNOWN) && copy.punkVal != nullptr) {
        copy.punkVal->AddRef();
    }
    const HRESULT hr = VariantClear(pvargDest);
    if (FAILED(hr)) {
        VariantClear(&copy);
        return hr;  // NOLINT(clang-analyzer-unix.Malloc): cleared
    }
    *pvargDest = copy;
    return S_OK;
}

HRESULT VariantCopyInd(VARIANT* pvarDest, VARIANTARG* pvargSrc)
{
    if (!V_ISBYREF(pvargSrc))
        return VariantCopy(pvarDest, pvargSrc);
    if (!HasGoodType(pvargSrc))
        return DISP_E_BADVARTYPE;
    if (pvargSrc->byref == nullptr)
        return E_INVALIDARG;
    if (pvargSrc->vt == (VT_BYREF | VT_VARIANT)) {
        VARIANT* pInner = pvargSrc->pvarVal;
        if (pInner->vt == (VT_BYREF | VT_VARIANT))
            return E_INVALIDARG;
        return VariantCopyInd(pvarDest, pInner);
    }
    VARIANT value;
    ReadReference(&value, pvargSrc);  // borrowed
    return VariantCopy(pvarDest, &value);
}
