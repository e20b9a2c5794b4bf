// Automation strings and variants, their conversions, and IDispatch.
//
// Less than the real set: no arrays and records in a variant (DISP_E_BADVARTYPE), and no conversion from or
// to currency, date and decimal (the same code). Texts convert as in the neutral locale whatever locale is
// asked.
#pragma once

#include "platform/ComRuntime.h"

using VARTYPE = unsigned short;
using VARIANT_BOOL = short;
#define VARIANT_TRUE  static_cast<VARIANT_BOOL>(-1)
#define VARIANT_FALSE static_cast<VARIANT_BOOL>(0)

using BSTR = OLECHAR*;
using DATE = double;
using DISPID = LONG;
using MEMBERID = DISPID;

#define DISP_E_UNKNOWNINTERFACE PLATFORM_HRESULT(0x80020001)
#define DISP_E_MEMBERNOTFOUND   PLATFORM_HRESULT(0x80020003)
#define DISP_E_PARAMNOTFOUND    PLATFORM_HRESULT(0x80020004)
#define DISP_E_TYPEMISMATCH     PLATFORM_HRESULT(0x80020005)
#define DISP_E_UNKNOWNNAME      PLATFORM_HRESULT(0x80020006)
#define DISP_E_NONAMEDARGS      PLATFORM_HRESULT(0x80020007)
#define DISP_E_BADVARTYPE       PLATFORM_HRESULT(0x80020008)
#define DISP_E_EXCEPTION        PLATFORM_HRESULT(0x80020009)
#define DISP_E_OVERFLOW         PLATFORM_HRESULT(0x8002000A)
#define DISP_E_BADINDEX         PLATFORM_HRESULT(0x8002000B)
#define DISP_E_UNKNOWNLCID      PLATFORM_HRESULT(0x8002000C)
#define DISP_E_BADPARAMCOUNT    PLATFORM_HRESULT(0x8002000E)
#define DISP_E_PARAMNOTOPTIONAL PLATFORM_HRESULT(0x8002000F)

enum VARENUM
{
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_CY = 6,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_DECIMAL = 14,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_VOID = 24,
    VT_HRESULT = 25,
    VT_PTR = 26,
    VT_SAFEARRAY = 27,
    VT_CARRAY = 28,
    VT_USERDEFINED = 29,
    VT_RECORD = 36,
    VT_ARRAY = 0x2000,
    VT_BYREF = 0x4000,
    VT_ILLEGAL = 0xFFFF,
    VT_TYPEMASK = 0xFFF
};

struct IDispatch;
struct IRecordInfo;
struct ITypeInfo;
struct SAFEARRAY;

union CY {
    struct
    {
        ULONG Lo;
        LONG Hi;
    };
    LONGLONG int64;
};

struct DECIMAL
{
    USHORT wReserved;
    union {
        struct
        {
            BYTE scale;
            BYTE sign;
        };
        USHORT signscale;
    };
    ULONG Hi32;
    union {
        struct
        {
            ULONG Lo32;
            ULONG Mid32;
        };
        ULONGLONG Lo64;
    };
};

struct tagVARIANT
{
    union {
        struct
        {
            VARTYPE vt;
            WORD wReserved1;
            WORD wReserved2;
            WORD wReserved3;
            union {
                LONGLONG llVal;
                LONG lVal;
                BYTE bVal;
                SHORT iVal;
                float fltVal;
                double dblVal;
                VARIANT_BOOL boolVal;
                SCODE scode;
                CY cyVal;
                DATE date;
                BSTR bstrVal;
                IUnknown* punkVal;
                IDispatch* pdispVal;
                SAFEARRAY* parray;
                BYTE* pbVal;
                SHORT* piVal;
                LONG* plVal;
                LONGLONG* pllVal;
                float* pfltVal;
                double* pdblVal;
                VARIANT_BOOL* pboolVal;
                SCODE* pscode;
                CY* pcyVal;
                DATE* pdate;
                BSTR* pbstrVal;
                IUnknown** ppunkVal;
                IDispatch** ppdispVal;
                SAFEARRAY** pparray;
                tagVARIANT* pvarVal;
                void* byref;
                CHAR cVal;
                USHORT uiVal;
                ULONG ulVal;
                ULONGLONG ullVal;
                INT intVal;
                UINT uintVal;
                DECIMAL* pdecVal;
                CHAR* pcVal;
                USHORT* puiVal;
                ULONG* pulVal;
                ULONGLONG* pullVal;
                INT* pintVal;
                UINT* puintVal;
                struct
                {
                    void* pvRecord;
                    IRecordInfo* pRecInfo;
                };
            };
        };
        DECIMAL decVal;
    };
};
using VARIANT = tagVARIANT;
using VARIANTARG = VARIANT;
using LPVARIANT = VARIANT*;
static_assert(sizeof(VARIANT) == 8 + 2 * sizeof(void*), "as in a client's memory");

#define V_VT(p)          ((p)->vt)
#define V_ISBYREF(p)     (((p)->vt & VT_BYREF) != 0)
#define V_ISARRAY(p)     (((p)->vt & VT_ARRAY) != 0)
#define V_UI1(p)         ((p)->bVal)
#define V_UI1REF(p)      ((p)->pbVal)
#define V_I2(p)          ((p)->iVal)
#define V_I2REF(p)       ((p)->piVal)
#define V_I4(p)          ((p)->lVal)
#define V_I4REF(p)       ((p)->plVal)
#define V_I8(p)          ((p)->llVal)
#define V_I8REF(p)       ((p)->pllVal)
#define V_R4(p)          ((p)->fltVal)
#define V_R4REF(p)       ((p)->pfltVal)
#define V_R8(p)          ((p)->dblVal)
#define V_R8REF(p)       ((p)->pdblVal)
#define V_I1(p)          ((p)->cVal)
#define V_I1REF(p)       ((p)->pcVal)
#define V_UI2(p)         ((p)->uiVal)
#define V_UI2REF(p)      ((p)->puiVal)
#define V_UI4(p)         ((p)->ulVal)
#define V_UI4REF(p)      ((p)->pulVal)
#define V_UI8(p)         ((p)->ullVal)
#define V_UI8REF(p)      ((p)->pullVal)
#define V_INT(p)         ((p)->intVal)
#define V_INTREF(p)      ((p)->pintVal)
#define V_UINT(p)        ((p)->uintVal)
#define V_UINTREF(p)     ((p)->puintVal)
#define V_CY(p)          ((p)->cyVal)
#define V_DATE(p)        ((p)->date)
#define V_BSTR(p)        ((p)->bstrVal)
#define V_BSTRREF(p)     ((p)->pbstrVal)
#define V_DISPATCH(p)    ((p)->pdispVal)
#define V_DISPATCHREF(p) ((p)->ppdispVal)
#define V_UNKNOWN(p)     ((p)->punkVal)
#define V_UNKNOWNREF(p)  ((p)->ppunkVal)
#define V_ERROR(p)       ((p)->scode)
#define V_ERRORREF(p)    ((p)->pscode)
#define V_BOOL(p)        ((p)->boolVal)
#define V_BOOLREF(p)     ((p)->pboolVal)
#define V_VARIANTREF(p)  ((p)->pvarVal)
#define V_BYREF(p)       ((p)->byref)
#define V_DECIMAL(p)     ((p)->decVal)

#define VARIANT_NOVALUEPROP   0x0001
#define VARIANT_ALPHABOOL     0x0002
#define LOCALE_NEUTRAL        0x0000
#define LOCALE_USER_DEFAULT   0x0400
#define LOCALE_SYSTEM_DEFAULT 0x0800

struct DISPPARAMS
{
    VARIANTARG* rgvarg;
    DISPID* rgdispidNamedArgs;
    UINT cArgs;
    UINT cNamedArgs;
};

struct EXCEPINFO
{
    WORD wCode;
    WORD wReserved;
    BSTR bstrSource;
    BSTR bstrDescription;
    BSTR bstrHelpFile;
    DWORD dwHelpContext;
    void* pvReserved;
    HRESULT(STDAPICALLTYPE* pfnDeferredFillIn)(EXCEPINFO*);
    SCODE scode;
};

#define DISPID_VALUE       0
#define DISPID_UNKNOWN     (-1)
#define DISPID_PROPERTYPUT (-3)

#define DISPATCH_METHOD         0x1
#define DISPATCH_PROPERTYGET    0x2
#define DISPATCH_PROPERTYPUT    0x4
#define DISPATCH_PROPERTYPUTREF 0x8

struct IDispatch : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* pctinfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID lcid,
                                                    DISPID* rgDispId) = 0;
    virtual HRESULT STDMETHODCALLTYPE Invoke(DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags,
                                             DISPPARAMS* pDispParams, VARIANT* pVarResult,
                                             EXCEPINFO* pExcepInfo, UINT* puArgErr) = 0;
};

struct ISupportErrorInfo : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID riid) = 0;
};

extern const IID IID_IDispatch;
extern const IID IID_ISupportErrorInfo;

BSTR SysAllocString(const OLECHAR* psz);
BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui);
BSTR SysAllocStringByteLen(LPCSTR psz, UINT len);
INT SysReAllocString(BSTR* pbstr, const OLECHAR* psz);
INT SysReAllocStringLen(BSTR* pbstr, const OLECHAR* psz, unsigned int len);
void SysFreeString(BSTR bstrString);
UINT SysStringLen(BSTR bstr);
UINT SysStringByteLen(BSTR bstr);

void VariantInit(VARIANTARG* pvarg);
HRESULT VariantClear(VARIANTARG* pvarg);
HRESULT VariantCopy(VARIANTARG* pvargDest, VARIANTARG* pvargSrc);
HRESULT VariantCopyInd(VARIANT* pvarDest, VARIANTARG* pvargSrc);
HRESULT VariantChangeType(VARIANTARG* pvargDest, VARIANTARG* pvarSrc, USHORT wFlags, VARTYPE vt);
HRESULT VariantChangeTypeEx(VARIANTARG* pvargDest, VARIANTARG* pvarSrc, LCID lcid, USHORT wFlags, VARTYPE vt);
