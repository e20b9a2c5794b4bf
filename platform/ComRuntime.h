// Component objects: identifiers, the two interfaces everything stands on, task memory, and creation by
// class.
#pragma once

#include "platform/WinTypes.h"

#include <cstddef>
#include <cstring>

using CHAR = char;
using SHORT = short;
using USHORT = unsigned short;
using INT = int;
using LONGLONG = std::int64_t;
using SIZE_T = std::size_t;
using LPOLESTR = OLECHAR*;
using LPCOLESTR = const OLECHAR*;
#define OLESTR(str) u##str

using HRESULT = LONG;
using SCODE = LONG;

#define STDMETHODCALLTYPE
#define STDAPICALLTYPE
#define STDMETHODIMP        HRESULT STDMETHODCALLTYPE
#define STDMETHODIMP_(type) type STDMETHODCALLTYPE
#define STDAPI              extern "C" HRESULT STDAPICALLTYPE
#define STDAPI_(type)       extern "C" type STDAPICALLTYPE

#define SUCCEEDED(hr)        (static_cast<HRESULT>(hr) >= 0)
#define FAILED(hr)           (static_cast<HRESULT>(hr) < 0)
#define HRESULT_CODE(hr)     ((hr)&0xFFFF)
#define HRESULT_FACILITY(hr) (((hr) >> 16) & 0x1FFF)
#define MAKE_HRESULT(severity, fac, code)                                                                    \
    static_cast<HRESULT>((static_cast<ULONG>(severity) << 31) | (static_cast<ULONG>(fac) << 16) |            \
                         static_cast<ULONG>(code))
#define FACILITY_WIN32 7
#define FACILITY_ITF   4

inline HRESULT HRESULT_FROM_WIN32(ULONG x)
{
    return static_cast<HRESULT>(x) <= 0
               ? static_cast<HRESULT>(x)
               : static_cast<HRESULT>((x & 0xFFFF) | (FACILITY_WIN32 << 16) | 0x80000000);
}

#define PLATFORM_HRESULT(x)       static_cast<HRESULT>(x)
#define S_OK                      PLATFORM_HRESULT(0)
#define S_FALSE                   PLATFORM_HRESULT(1)
#define NOERROR                   0
#define E_UNEXPECTED              PLATFORM_HRESULT(0x8000FFFF)
#define E_NOTIMPL                 PLATFORM_HRESULT(0x80004001)
#define E_NOINTERFACE             PLATFORM_HRESULT(0x80004002)
#define E_POINTER                 PLATFORM_HRESULT(0x80004003)
#define E_ABORT                   PLATFORM_HRESULT(0x80004004)
#define E_FAIL                    PLATFORM_HRESULT(0x80004005)
#define E_ACCESSDENIED            PLATFORM_HRESULT(0x80070005)
#define E_OUTOFMEMORY             PLATFORM_HRESULT(0x8007000E)
#define E_INVALIDARG              PLATFORM_HRESULT(0x80070057)
#define CLASS_E_NOAGGREGATION     PLATFORM_HRESULT(0x80040110)
#define CLASS_E_CLASSNOTAVAILABLE PLATFORM_HRESULT(0x80040111)
#define REGDB_E_READREGDB         PLATFORM_HRESULT(0x80040150)
#define REGDB_E_WRITEREGDB        PLATFORM_HRESULT(0x80040151)
#define REGDB_E_CLASSNOTREG       PLATFORM_HRESULT(0x80040154)
#define CO_E_NOTINITIALIZED       PLATFORM_HRESULT(0x800401F0)
#define CO_E_CLASSSTRING          PLATFORM_HRESULT(0x800401F3)
#define CO_E_IIDSTRING            PLATFORM_HRESULT(0x800401F4)
#define CO_E_ERRORINDLL           PLATFORM_HRESULT(0x800401F9)
#define SELFREG_E_TYPELIB         PLATFORM_HRESULT(0x80040200)
#define SELFREG_E_CLASS           PLATFORM_HRESULT(0x80040201)
#define RPC_E_CHANGED_MODE        PLATFORM_HRESULT(0x80010106)

struct GUID
{
    DWORD Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

inline bool IsEqualGUID(REFGUID a, REFGUID b) { return std::memcmp(&a, &b, sizeof a) == 0; }
inline bool IsEqualIID(REFIID a, REFIID b) { return IsEqualGUID(a, b); }
inline bool IsEqualCLSID(REFCLSID a, REFCLSID b) { return IsEqualGUID(a, b); }
inline bool operator==(REFGUID a, REFGUID b) { return IsEqualGUID(a, b); }
inline bool operator!=(REFGUID a, REFGUID b) { return !IsEqualGUID(a, b); }

extern const GUID GUID_NULL;
extern const IID IID_NULL;
extern const CLSID CLSID_NULL;
extern const IID IID_IUnknown;
extern const IID IID_IClassFactory;

struct IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
};
using LPUNKNOWN = IUnknown*;

struct IClassFactory : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppvObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL fLock) = 0;
};

LPVOID CoTaskMemAlloc(SIZE_T cb);
void CoTaskMemFree(LPVOID pv);

// Text form of an identifier, "{E06D9954-E730-11D4-9D3C-0010B5522A44}", in either case of letters.
HRESULT CLSIDFromString(LPCOLESTR lpsz, CLSID* pclsid);  // takes a program's name too
HRESULT IIDFromString(LPCOLESTR lpsz, IID* piid);
int StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax);
HRESULT StringFromCLSID(REFCLSID rclsid, LPOLESTR* lplpsz);
HRESULT CLSIDFromProgID(LPCOLESTR lpszProgID, CLSID* pclsid);
HRESULT ProgIDFromCLSID(REFCLSID rclsid, LPOLESTR* lplpszProgID);

// A thread that is not initialised counts as initialised while any other thread is, as multi-threaded. Unlike
// the real call the last CoUninitialize leaves the modules loaded; CoFreeUnusedLibraries alone unloads.
enum COINIT
{
    COINIT_MULTITHREADED = 0x0,
    COINIT_APARTMENTTHREADED = 0x2,
    COINIT_DISABLE_OLE1DDE = 0x4,
    COINIT_SPEED_OVER_MEMORY = 0x8
};
HRESULT CoInitialize(LPVOID pvReserved);
HRESULT CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit);
void CoUninitialize();

enum CLSCTX
{
    CLSCTX_INPROC_SERVER = 0x1,
    CLSCTX_INPROC_HANDLER = 0x2,
    CLSCTX_LOCAL_SERVER = 0x4,
    CLSCTX_REMOTE_SERVER = 0x10
};
#define CLSCTX_ALL (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER)

// In-process classes only; objects are used directly from every thread, whatever their class's threading
// model.
HRESULT CoGetClassObject(REFCLSID rclsid, DWORD dwClsContext, LPVOID pvReserved, REFIID riid, LPVOID* ppv);
HRESULT CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid, LPVOID* ppv);
void CoFreeUnusedLibraries();

// Defined by a module.
STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv);
STDAPI DllCanUnloadNow();
