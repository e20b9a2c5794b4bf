#include "platform/OleAuto.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>

// A conversion goes by way of the one of four forms of number that holds the source exactly.

namespace {

struct Number
{
    enum Form
    {
        Signed,
        Unsigned,
        Real,
        Bits  // of a boolean: goes to any width by its low bits
    };
    Form form = Signed;
    bool bHex = false;  // Unsigned, and may fill the sign bit of a signed target of its width
    LONGLONG i = 0;
    ULONGLONG u = 0;
    double d = 0;
};

Number SignedNumber(LONGLONG i)
{
    Number n;
    n.i = i;
    return n;
}

Number UnsignedNumber(ULONGLONG u, bool bHex = false)
{
    Number n;
    n.form = Number::Unsigned;
    n.u = u;
    n.bHex = bHex;
    return n;
}

Number RealNumber(double d)
{
    Number n;
    n.form = Number::Real;
    n.d = d;
    return n;
}

Number BitsNumber(SHORT i)
{
    Number n;
    n.form = Number::Bits;
    n.i = i;
    return n;
}

bool IsSpace(OLECHAR c) { return c == ' ' || (c >= '\t' && c <= '\r') || c == 0xA0; }
bool IsDigit(OLECHAR c) { return c >= '0' && c <= '9'; }

// A number's text in the neutral locale: blanks, a sign on one side, parentheses for a negative number and a
// currency sign around digits with group commas, point and exponent; or &H and &O with digits of that base.
class NumberText
{
public:
    explicit NumberText(BSTR bstr) : m_p(bstr), m_pEnd(bstr + SysStringLen(bstr)) {}

    HRESULT Read(Number* pNumber)
    {
        while (TakeMark())
            ;
        if (Take('&'))
            return ReadBits(pNumber);
        if (!ReadDigits() || !ReadExponent())
            return DISP_E_TYPEMISMATCH;
        while (TakeClosingMark())
            ;
        if (m_p != m_pEnd || m_iOpen != 0)
            return DISP_E_TYPEMISMATCH;
        return Value(pNumber);
    }

private:
    OLECHAR Next() const { return m_p != m_pEnd ? *m_p : OLECHAR{0}; }
    bool Take(char c)
    {
        if (m_p == m_pEnd || *m_p != static_cast<OLECHAR>(c))
            return false;
        ++m_p;
        return true;
    }
    bool TakeSign()
    {
        if (m_bSign || (Next() != '+' && Next() != '-'))
            return false;
        m_bSign = true;
        m_bNegative = m_bNegative || *m_p == '-';
        ++m_p;
        return true;
    }
    bool TakeCurrency() { return !m_bCurrency && (m_bCurrency = Take('$')); }
    bool TakeSpace()
    {
        if (m_p == m_pEnd || !IsSpace(*m_p))
            return false;
        ++m_p;
        return true;
    }
    bool TakeMark()
    {
        if (TakeSpace() || TakeSign() || TakeCurrency())
            return true;
        if (m_iOpen != 0 || !Take('('))
            return false;
        m_iOpen = 1;
        m_bNegative = true;
        return true;
    }
    bool TakeClosingMark()
    {
        if (TakeSpace() || TakeSign() || TakeCurrency())
            return true;
        if (m_iOpen == 0 || !Take(')'))
            return false;
        m_iOpen = 0;
        return true;
    }

    HRESULT ReadBits(Number* pNumber)
    {
        const OLECHAR base = Next();
        const bool bHex = base == 'h' || base == 'H';
        if (!bHex && base != 'o' && base != 'O')
            return DISP_E_TYPEMISMATCH;
        const std::string digits = Rest();
        ULONGLONG u = 0;
        const char* pEnd = digits.data() + digits.size();
        const auto [p, error] = std::from_chars(digits.data(), pEnd, u, bHex ? 16 : 8);
        if (error == std::errc::result_out_of_range)
            return DISP_E_OVERFLOW;
        if (error != std::errc() || p != pEnd)
            return DISP_E_TYPEMISMATCH;
        *pNumber = UnsignedNumber(u, true);
        return S_OK;
    }
    std::string Rest()
    {
        std::string s;
        for (++m_p; m_p != m_pEnd && !IsSpace(*m_p); ++m_p)
            s += *m_p < 0x80 ? static_cast<char>(*m_p) : '?';
        while (TakeSpace())
            ;
        return m_p == m_pEnd ? s : std::string();
    }

    bool ReadDigits()
    {
        bool bAny = false;
        for (; IsDigit(Next()) || (bAny && Next() == ','); ++m_p) {
            bAny = true;
            if (*m_p != ',' && (*m_p != '0' || !m_digits.empty()))
                m_digits += static_cast<char>(*m_p);
        }
        if (Take('.'))
            for (; IsDigit(Next()); ++m_p, --m_iScale) {
                bAny = true;
                m_digits += static_cast<char>(*m_p);
            }
        return bAny;
    }
    bool ReadExponent()
    {
        if (Next() != 'e' && Next() != 'E')
            return true;
        ++m_p;
        bool bMinus = Take('-');
        if (!bMinus)
            Take('+');
        if (!IsDigit(Next()))
            return false;
        int i = 0;
        for (; IsDigit(Next()); ++m_p)
            i = std::min(i * 10 + (*m_p - '0'), 100000);
        m_iScale += bMinus ? -i : i;
        return true;
    }

    HRESULT Value(Number* pNumber) const
    {
        const char* pEnd = m_digits.data() + m_digits.size();
        ULONGLONG u = 0;
        if (m_iScale == 0 &&
            (m_digits.empty() || std::from_chars(m_digits.data(), pEnd, u).ec == std::errc())) {
            const ULONGLONG uMost = std::numeric_limits<LONGLONG>::max();
            if (!m_bNegative)
                *pNumber = UnsignedNumber(u);
            else if (u <= uMost + 1)
                *pNumber = SignedNumber(static_cast<LONGLONG>(0 - u));
            else
                *pNumber = RealNumber(-static_cast<double>(u));
            return S_OK;
        }
        const std::string text = m_digits + "e" + std::to_string(m_iScale);
        double d = 0;
        if (std::from_chars(text.data(), text.data() + text.size(), d).ec == std::errc::result_out_of_range) {
            if (static_cast<long>(m_digits.size()) + m_iScale > 0)
                return DISP_E_OVERFLOW;
            d = 0;
        }
        *pNumber = RealNumber(m_bNegative ? -d : d);
        return S_OK;
    }

    const OLECHAR* m_p;
    const OLECHAR* m_pEnd;
    std::string m_digits;  // without point, commas and zeros in front
    int m_iScale = 0;      // power of ten of the last digit
    int m_iOpen = 0;
    bool m_bSign = false;
    bool m_bNegative = false;
    bool m_bCurrency = false;
};

HRESULT NumberOf(const VARIANT& v, Number* p)
{
    switch (v.vt) {
    case VT_EMPTY: *p = SignedNumber(0); return S_OK;
    case VT_I1: *p = SignedNumber(static_cast<signed char>(v.cVal)); return S_OK;
    case VT_I2: *p = SignedNumber(v.iVal); return S_OK;
    case VT_I4: *p = SignedNumber(v.lVal); return S_OK;
    case VT_INT: *p = SignedNumber(v.intVal); return S_OK;
    case VT_I8: *p = SignedNumber(v.llVal); return S_OK;
    case VT_UI1: *p = UnsignedNumber(v.bVal); return S_OK;
    case VT_UI2: *p = UnsignedNumber(v.uiVal); return S_OK;
    case VT_UI4: *p = UnsignedNumber(v.ulVal); return S_OK;
    case VT_UINT: *p = UnsignedNumber(v.uintVal); return S_OK;
    case VT_UI8: *p = UnsignedNumber(v.ullVal); return S_OK;
    case VT_R4: *p = RealNumber(v.fltVal); return S_OK;
    case VT_R8: *p = RealNumber(v.dblVal); return S_OK;
    case VT_BOOL: *p = BitsNumber(v.boolVal); return S_OK;
    case VT_BSTR: return NumberText(v.bstrVal).Read(p);
    default: return DISP_E_TYPEMISMATCH;
    }
}

template <class T> HRESULT ToInteger(const Number& n, T* p)
{
    using Limits = std::numeric_limits<T>;
    const ULONGLONG uMost = static_cast<ULONGLONG>(Limits::max());
    switch (n.form) {
    case Number::Signed:
        if (n.i < 0 ? n.i < static_cast<LONGLONG>(Limits::min()) || !Limits::is_signed
                    : static_cast<ULONGLONG>(n.i) > uMost)
            return DISP_E_OVERFLOW;
        *p = static_cast<T>(n.i);
        return S_OK;
    case Number::Unsigned:
        if (n.u >
            (n.bHex ? static_cast<ULONGLONG>(std::numeric_limits<std::make_unsigned_t<T>>::max()) : uMost))
            return DISP_E_OVERFLOW;
        *p = static_cast<T>(n.u);
        return S_OK;
    case Number::Real: {
        const double d = std::nearbyint(n.d);  // halves to the even neighbour
        if (!(d >= static_cast<double>(Limits::min()) && d < std::ldexp(1.0, Limits::digits)))
            return DISP_E_OVERFLOW;
        *p = static_cast<T>(d);
        return S_OK;
    }
    default: *p = static_cast<T>(n.i); return S_OK;
    }
}

double ToReal(const Number& n)
{
    switch (n.form) {
    case Number::Unsigned: return static_cast<double>(n.u);
    case Number::Real: return n.d;
    default: return static_cast<double>(n.i);
    }
}

HRESULT ToFloat(const Number& n, float* p)
{
    const double d = ToReal(n);
    if (std::fabs(d) > static_cast<double>(std::numeric_limits<float>::max()))
        return DISP_E_OVERFLOW;
    *p = static_cast<float>(d);
    return S_OK;
}

HRESULT NewText(const char* psz, std::size_t n, BSTR* p)
{
    BSTR bstr = SysAllocStringLen(nullptr, static_cast<UINT>(n));
    if (bstr == nullptr)
        return E_OUTOFMEMORY;
    for (std::size_t i = 0; i < n; ++i)
        bstr[i] = static_cast<OLECHAR>(psz[i]);
    *p = bstr;
    return S_OK;
}

HRESULT RealText(double d, int iDigits, BSTR* p)
{
    char sz[40];
    const auto [pEnd, error] =
        std::to_chars(sz, sz + sizeof sz, d == 0 ? 0.0 : d, std::chars_format::general, iDigits);
    for (char* pc = sz; pc != pEnd; ++pc)
        if (*pc >= 'a' && *pc <= 'z')
            *pc = static_cast<char>(*pc - ('a' - 'A'));
    return error == std::errc() ? NewText(sz, static_cast<std::size_t>(pEnd - sz), p) : DISP_E_OVERFLOW;
}

HRESULT ToText(const VARIANT& v, USHORT wFlags, BSTR* p)
{
    if (v.vt == VT_EMPTY)
        return NewText("", 0, p);
    if (v.vt == VT_R4)
        return RealText(static_cast<double>(v.fltVal), 7, p);
    if (v.vt == VT_R8)
        return RealText(v.dblVal, 15, p);
    if (v.vt == VT_BOOL && (wFlags & VARIANT_ALPHABOOL) != 0)
        return v.boolVal != 0 ? NewText("True", 4, p) : NewText("False", 5, p);
    Number n;
    const HRESULT hr = NumberOf(v, &n);
    if (FAILED(hr))
        return hr;
    const std::string text = n.form == Number::Unsigned ? std::to_string(n.u) : std::to_string(n.i);
    return NewText(text.data(), text.size(), p);
}

// A word of 7-bit characters, in any case of letters.
bool IsWord(BSTR bstr, const char* word)
{
    const UINT n = SysStringLen(bstr);
    UINT i = 0;
    for (; i < n && word[i] != '\0'; ++i) {
        const OLECHAR c =
            bstr[i] >= 'A' && bstr[i] <= 'Z' ? static_cast<OLECHAR>(bstr[i] + ('a' - 'A')) : bstr[i];
        if (c != static_cast<OLECHAR>(word[i]))
            return false;
    }
    return i == n && word[i] == '\0';
}

HRESULT ToBool(const VARIANT& v, VARIANT_BOOL* p)
{
    const bool bText = v.vt == VT_BSTR;
    if (bText && (IsWord(v.bstrVal, "true") || IsWord(v.bstrVal, "#true#"))) {
        *p = VARIANT_TRUE;
        return S_OK;
    }
    if (bText && (IsWord(v.bstrVal, "false") || IsWord(v.bstrVal, "#false#"))) {
        *p = VARIANT_FALSE;
        return S_OK;
    }
    Number n;
    const HRESULT hr = NumberOf(v, &n);
    if (SUCCEEDED(hr))
        *p = ToReal(n) != 0 ? VARIANT_TRUE : VARIANT_FALSE;
    return hr;
}

HRESULT ToNumber(const VARIANT& v, VARTYPE vt, VARIANT* p)
{
    Number n;
    const HRESULT hr = NumberOf(v, &n);
    if (FAILED(hr))
        return hr;
    switch (vt) {
    case VT_I1: {
        signed char c = 0;
        const HRESULT hrSmall = ToInteger(n, &c);
        p->cVal = static_cast<CHAR>(c);
        return hrSmall;
    }
    case VT_UI1: return ToInteger(n, &p->bVal);
    case VT_I2: return ToInteger(n, &p->iVal);
    case VT_UI2: return ToInteger(n, &p->uiVal);
    case VT_I4: return ToInteger(n, &p->lVal);
    case VT_INT: return ToInteger(n, &p->intVal);
    case VT_UI4: return ToInteger(n, &p->ulVal);
    case VT_UINT: return ToInteger(n, &p->uintVal);
    case VT_I8: return ToInteger(n, &p->llVal);
    case VT_UI8: return ToInteger(n, &p->ullVal);
    case VT_R4: return ToFloat(n, &p->fltVal);
    default: p->dblVal = ToReal(n); return S_OK;
    }
}

bool IsNumber(VARTYPE vt)
{
    return vt == VT_I2 || vt == VT_I4 || vt == VT_R4 || vt == VT_R8 || (vt >= VT_I1 && vt <= VT_UINT);
}

bool IsTarget(VARTYPE vt)
{
    return IsNumber(vt) || vt == VT_EMPTY || vt == VT_NULL || (vt >= VT_BSTR && vt <= VT_UNKNOWN);
}

// What an object stands for where a plain value is wanted.
HRESULT DefaultValue(IDispatch* pDispatch, LCID lcid, VARIANT* p)
{
    if (pDispatch == nullptr)
        return DISP_E_BADVARTYPE;
    DISPPARAMS none{};
    const HRESULT hr =
        pDispatch->Invoke(DISPID_VALUE, IID_NULL, lcid, DISPATCH_PROPERTYGET, &none, p, nullptr, nullptr);
    return FAILED(hr) ? DISP_E_TYPEMISMATCH : S_OK;
}

HRESULT Convert(const VARIANT& v, LCID lcid, USHORT wFlags, VARTYPE vt, VARIANT* p)
{
    if (!IsTarget(vt) || !IsTarget(v.vt))
        return DISP_E_BADVARTYPE;
    if (v.vt == VT_NULL || v.vt == VT_ERROR || vt == VT_ERROR || vt == VT_VARIANT)
        return DISP_E_TYPEMISMATCH;
    if (vt == VT_EMPTY || vt == VT_NULL)
        return S_OK;
    const bool bObject = v.vt == VT_DISPATCH || v.vt == VT_UNKNOWN;
    if (vt == VT_DISPATCH || vt == VT_UNKNOWN) {
        if (!bObject)
            return DISP_E_TYPEMISMATCH;
        p->punkVal = nullptr;
        if (v.punkVal == nullptr)
            return S_OK;
        return v.punkVal->QueryInterface(vt == VT_DISPATCH ? IID_IDispatch : IID_IUnknown,
                                         reinterpret_cast<void**>(&p->punkVal));
    }
    if (bObject) {
        if (v.vt == VT_UNKNOWN || (wFlags & VARIANT_NOVALUEPROP) != 0)
            return DISP_E_TYPEMISMATCH;
        VARIANT value{};
        HRESULT hr = DefaultValue(v.pdispVal, lcid, &value);
        if (SUCCEEDED(hr))
            hr = VariantChangeTypeEx(p, &value, lcid, wFlags, vt);
        VariantClear(&value);
        return hr;
    }
    if (vt == VT_BSTR)
        return ToText(v, wFlags, &p->bstrVal);
    if (vt == VT_BOOL)
        return ToBool(v, &p->boolVal);
    return ToNumber(v, vt, p);
}

}  // namespace

HRESULT VariantChangeTypeEx(VARIANTARG* pvargDest, VARIANTARG* pvarSrc, LCID lcid, USHORT wFlags, VARTYPE vt)
{
    VARIANT source{};
    HRESULT hr = VariantCopyInd(&source, pvarSrc);
    if (FAILED(hr))
        return hr == E_INVALIDARG ? DISP_E_TYPEMISMATCH : hr;
    VARIANT result{};
    if (source.vt == vt) {
        result = source;
        VariantInit(&source);
    } else if ((vt & VT_BYREF) != 0) {
        hr = DISP_E_TYPEMISMATCH;
    } else {
        hr = Convert(source, lcid, wFlags, vt, &result);
    }
    VariantClear(&source);
    if (FAILED(hr))
        return hr;
    result.vt = vt;
    hr = VariantClear(pvargDest);
    if (FAILED(hr)) {
        VariantClear(&result);
        return hr;
    }
    *pvargDest = result;
    return S_OK;
}

HRESULT VariantChangeType(VARIANTARG* pvargDest, VARIANTARG* pvarSrc, USHORT wFlags, VARTYPE vt)
{
    return VariantChangeTypeEx(pvargDest, pvarSrc, LOCALE_NEUTRAL, wFlags, vt);
}
