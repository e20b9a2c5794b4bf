// Type libraries: what interfaces a module offers, and calls through that description.
//
// The file form is this system's own: the interface definition text itself, as a file or as the resource
// TYPELIB 1 of a module. A library holds enumerations, dual interfaces derived from IDispatch with plain
// methods, and classes; parameters are in-parameters of integer types, BSTR and VARIANT*, and one
// out-parameter for the result. Anything else in the text makes it unloadable. The members of IDispatch
// itself are not listed among an interface's.
#pragma once

#include "platform/OleAuto.h"

using HREFTYPE = DWORD;

#define TYPE_E_REGISTRYACCESS   PLATFORM_HRESULT(0x8002801C)
#define TYPE_E_LIBNOTREGISTERED PLATFORM_HRESULT(0x8002801D)
#define TYPE_E_ELEMENTNOTFOUND  PLATFORM_HRESULT(0x8002802B)
#define TYPE_E_CANTLOADLIBRARY  PLATFORM_HRESULT(0x80029C4A)

#define MEMBERID_NIL DISPID_UNKNOWN

enum TYPEKIND
{
    TKIND_ENUM = 0,
    TKIND_RECORD,
    TKIND_MODULE,
    TKIND_INTERFACE,
    TKIND_DISPATCH,
    TKIND_COCLASS,
    TKIND_ALIAS,
    TKIND_UNION,
    TKIND_MAX
};

enum CALLCONV
{
    CC_CDECL = 1,
    CC_STDCALL = 4
};

enum FUNCKIND
{
    FUNC_VIRTUAL = 0,
    FUNC_PUREVIRTUAL,
    FUNC_NONVIRTUAL,
    FUNC_STATIC,
    FUNC_DISPATCH
};

enum INVOKEKIND
{
    INVOKE_FUNC = 1,
    INVOKE_PROPERTYGET = 2,
    INVOKE_PROPERTYPUT = 4,
    INVOKE_PROPERTYPUTREF = 8
};

enum VARKIND
{
    VAR_PERINSTANCE = 0,
    VAR_STATIC,
    VAR_CONST,
    VAR_DISPATCH
};

enum TYPEFLAGS
{
    TYPEFLAG_FCANCREATE = 0x2,
    TYPEFLAG_FDUAL = 0x40,
    TYPEFLAG_FOLEAUTOMATION = 0x100,
    TYPEFLAG_FDISPATCHABLE = 0x1000
};

enum SYSKIND
{
    SYS_WIN16 = 0,
    SYS_WIN32,
    SYS_MAC,
    SYS_WIN64
};

enum REGKIND
{
    REGKIND_DEFAULT = 0,
    REGKIND_REGISTER,
    REGKIND_NONE
};

#define IMPLTYPEFLAG_FDEFAULT 0x1

#define PARAMFLAG_NONE    0x0
#define PARAMFLAG_FIN     0x1
#define PARAMFLAG_FOUT    0x2
#define PARAMFLAG_FRETVAL 0x8

struct ARRAYDESC;
struct PARAMDESCEX;
struct ITypeComp;
struct ITypeLib;

struct TYPEDESC
{
    union {
        TYPEDESC* lptdesc;  // VT_PTR: what it points to
        ARRAYDESC* lpadesc;
        HREFTYPE hreftype;  // VT_USERDEFINED
    };
    VARTYPE vt;
};

struct PARAMDESC
{
    PARAMDESCEX* pparamdescex;
    USHORT wParamFlags;
};

struct IDLDESC
{
    ULONG_PTR dwReserved;
    USHORT wIDLFlags;
};

struct ELEMDESC
{
    TYPEDESC tdesc;
    union {
        IDLDESC idldesc;
        PARAMDESC paramdesc;
    };
};

struct TYPEATTR
{
    GUID guid;
    LCID lcid;
    DWORD dwReserved;
    MEMBERID memidConstructor;
    MEMBERID memidDestructor;
    LPOLESTR lpstrSchema;
    ULONG cbSizeInstance;
    TYPEKIND typekind;
    WORD cFuncs;
    WORD cVars;
    WORD cImplTypes;
    WORD cbSizeVft;
    WORD cbAlignment;
    WORD wTypeFlags;
    WORD wMajorVerNum;
    WORD wMinorVerNum;
    TYPEDESC tdescAlias;
    IDLDESC idldescType;
};

struct FUNCDESC
{
    MEMBERID memid;
    SCODE* lprgscode;
    ELEMDESC* lprgelemdescParam;
    FUNCKIND funckind;
    INVOKEKIND invkind;
    CALLCONV callconv;
    SHORT cParams;
    SHORT cParamsOpt;
    SHORT oVft;
    SHORT cScodes;
    ELEMDESC elemdescFunc;
    WORD wFuncFlags;
};

struct VARDESC
{
    MEMBERID memid;
    LPOLESTR lpstrSchema;
    union {
        ULONG oInst;
        VARIANT* lpvarValue;
    };
    ELEMDESC elemdescVar;
    WORD wVarFlags;
    VARKIND varkind;
};

struct TLIBATTR
{
    GUID guid;
    LCID lcid;
    SYSKIND syskind;
    WORD wMajorVerNum;
    WORD wMinorVerNum;
    WORD wLibFlags;
};

// Of a dual interface this is the IDispatch side: its methods without the result parameter, which is the
// return type. GetRefTypeOfImplType(-1) leads to the other side, where methods are as in the text.
// GetTypeComp, GetDllEntry, AddressOfMember, CreateInstance and GetMops answer E_NOTIMPL.
struct ITypeInfo : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetTypeAttr(TYPEATTR** ppTypeAttr) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeComp(ITypeComp** ppTComp) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFuncDesc(UINT index, FUNCDESC** ppFuncDesc) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVarDesc(UINT index, VARDESC** ppVarDesc) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetNames(MEMBERID memid, BSTR* rgBstrNames, UINT cMaxNames,
                                               UINT* pcNames) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRefTypeOfImplType(UINT index, HREFTYPE* pRefType) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetImplTypeFlags(UINT index, INT* pImplTypeFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(LPOLESTR* rgszNames, UINT cNames, MEMBERID* pMemId) = 0;
    virtual HRESULT STDMETHODCALLTYPE Invoke(void* pvInstance, MEMBERID memid, WORD wFlags,
                                             DISPPARAMS* pDispParams, VARIANT* pVarResult,
                                             EXCEPINFO* pExcepInfo, UINT* puArgErr) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDocumentation(MEMBERID memid, BSTR* pBstrName, BSTR* pBstrDocString,
                                                       DWORD* pdwHelpContext, BSTR* pBstrHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDllEntry(MEMBERID memid, INVOKEKIND invKind, BSTR* pBstrDllName,
                                                  BSTR* pBstrName, WORD* pwOrdinal) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRefTypeInfo(HREFTYPE hRefType, ITypeInfo** ppTInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddressOfMember(MEMBERID memid, INVOKEKIND invKind, void** ppv) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppvObj) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMops(MEMBERID memid, BSTR* pBstrMops) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetContainingTypeLib(ITypeLib** ppTLib, UINT* pIndex) = 0;
    virtual void STDMETHODCALLTYPE ReleaseTypeAttr(TYPEATTR* pTypeAttr) = 0;
    virtual void STDMETHODCALLTYPE ReleaseFuncDesc(FUNCDESC* pFuncDesc) = 0;
    virtual void STDMETHODCALLTYPE ReleaseVarDesc(VARDESC* pVarDesc) = 0;
};

// GetTypeComp, IsName and FindName answer E_NOTIMPL.
struct ITypeLib : IUnknown
{
    virtual UINT STDMETHODCALLTYPE GetTypeInfoCount() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, ITypeInfo** ppTInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoType(UINT index, TYPEKIND* pTKind) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** ppTinfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetLibAttr(TLIBATTR** ppTLibAttr) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeComp(ITypeComp** ppTComp) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDocumentation(INT index, BSTR* pBstrName, BSTR* pBstrDocString,
                                                       DWORD* pdwHelpContext, BSTR* pBstrHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsName(LPOLESTR szNameBuf, ULONG lHashVal, BOOL* pfName) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindName(LPOLESTR szNameBuf, ULONG lHashVal, ITypeInfo** ppTInfo,
                                               MEMBERID* rgMemId, USHORT* pcFound) = 0;
    virtual void STDMETHODCALLTYPE ReleaseTLibAttr(TLIBATTR* pTLibAttr) = 0;
};

extern const IID IID_ITypeInfo;
extern const IID IID_ITypeLib;

HRESULT LoadTypeLib(const OLECHAR* szFile, ITypeLib** pptlib);
HRESULT LoadTypeLibEx(LPCOLESTR szFile, REGKIND regkind, ITypeLib** pptlib);

// Where the library is not registered for the asked language, its main language and none, one registered for
// any other is taken.
HRESULT LoadRegTypeLib(REFGUID rguid, WORD wVerMajor, WORD wVerMinor, LCID lcid, ITypeLib** pptlib);
HRESULT RegisterTypeLib(ITypeLib* ptlib, LPOLESTR szFullPath, LPOLESTR szHelpDir);
HRESULT UnRegisterTypeLib(REFGUID libID, WORD wVerMajor, WORD wVerMinor, LCID lcid, SYSKIND syskind);
