#include "platform/ComRuntime.h"

#include "platform/ClassesRoot.h"
#include "platform/ModuleFile.h"

#include <atomic>
#include <cstdlib>
#include <list>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <string>

const GUID GUID_NULL = {};
const IID IID_NULL = {};
const CLSID CLSID_NULL = {};
const IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_IClassFactory = {0x00000001, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

namespace {

constexpr int GUID_CHARACTERS = 38;

// Which of the 16 bytes in memory each pair of digits in the text stands for, and where a dash is in front.
constexpr int PAIR_BYTES[] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
constexpr bool IsDashBefore(int iPair) { return iPair == 4 || iPair == 6 || iPair == 8 || iPair == 10; }

int HexDigit(OLECHAR c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool ParseGuid(LPCOLESTR p, GUID* pGuid)
{
    if (*p++ != '{')
        return false;
    BYTE bytes[sizeof(GUID)];
    for (int i = 0; i < 16; ++i) {
        if (IsDashBefore(i) && *p++ != '-')
            return false;
        const int iHigh = HexDigit(p[0]);
        const int iLow = iHigh < 0 ? -1 : HexDigit(p[1]);
        if (iLow < 0)
            return false;
        bytes[PAIR_BYTES[i]] = static_cast<BYTE>(iHigh << 4 | iLow);
        p += 2;
    }
    if (p[0] != '}' || p[1] != 0)
        return false;
    std::memcpy(pGuid, bytes, sizeof bytes);
    return true;
}

void FormatGuid(REFGUID guid, OLECHAR* p)
{
    BYTE bytes[sizeof(GUID)];
    std::memcpy(bytes, &guid, sizeof bytes);
    *p++ = '{';
    for (int i = 0; i < 16; ++i) {
        if (IsDashBefore(i))
            *p++ = '-';
        *p++ = static_cast<OLECHAR>("0123456789ABCDEF"[bytes[PAIR_BYTES[i]] >> 4]);
        *p++ = static_cast<OLECHAR>("0123456789ABCDEF"[bytes[PAIR_BYTES[i]] & 0xF]);
    }
    *p++ = '}';
    *p = 0;
}

std::string ClassKey(REFCLSID rclsid)
{
    OLECHAR sz[GUID_CHARACTERS + 1];
    FormatGuid(rclsid, sz);
    return "CLSID\\" + std::string(sz, sz + GUID_CHARACTERS);
}

HRESULT CopyOut(const std::basic_string<OLECHAR>& s, LPOLESTR* pp)
{
    const std::size_t cb = (s.size() + 1) * sizeof(OLECHAR);
    *pp = static_cast<LPOLESTR>(CoTaskMemAlloc(cb));
    if (*pp == nullptr)
        return E_OUTOFMEMORY;
    std::memcpy(*pp, s.c_str(), cb);
    return S_OK;
}

// What the calling thread has asked for, and how many threads have asked to be multi-threaded.
struct ThreadState
{
    int nInitialised = 0;
    bool bMultiThreaded = false;

    // A thread that ends without its CoUninitialize no longer keeps the others multi-threaded.
    ~ThreadState();
};
std::atomic<int> s_nMultiThreaded{0};
thread_local ThreadState t_state;

ThreadState::~ThreadState()
{
    if (nInitialised != 0 && bMultiThreaded)
        --s_nMultiThreaded;
}

bool IsInitialised()
{
    return t_state.nInitialised != 0 || s_nMultiThreaded.load(std::memory_order_relaxed) != 0;
}

using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, LPVOID*);
using CanUnloadNow = HRESULT(STDAPICALLTYPE*)();

template <class Function> Function Export(HMODULE hModule, LPCSTR name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(hModule, name)));
}

struct Server
{
    std::string sPath;
    HMODULE hModule = nullptr;
    GetClassObject pGetClassObject = nullptr;
    CanUnloadNow pCanUnloadNow = nullptr;  // null: never
    std::atomic<int> nCallers{0};          // between the look-up and the return from the module
};

struct LessGuid
{
    bool operator()(REFGUID a, REFGUID b) const { return std::memcmp(&a, &b, sizeof a) < 0; }
};

// The modules loaded so far and the classes found in them. A class once found stays with its module until
// that is unloaded, whatever becomes of its registration. The locks are not held while a module's code runs.
class Servers
{
public:
    // The server, with its callers counted up by one.
    HRESULT Find(REFCLSID rclsid, Server** pp)
    {
        {
            std::shared_lock<std::shared_mutex> lock(m_lock);
            const auto it = m_classes.find(rclsid);
            if (it != m_classes.end()) {
                ++(*pp = it->second)->nCallers;
                return S_OK;
            }
        }
        const std::string sPath =
            PlatformFilePath(PlatformReadClassesText(ClassKey(rclsid) + "\\InprocServer32"));
        return sPath.empty() ? REGDB_E_CLASSNOTREG : Load(rclsid, sPath, pp);
    }

    void FreeUnused()
    {
        std::list<Server> unused;
        {
            std::unique_lock<std::shared_mutex> lock(m_lock);
            for (auto it = m_servers.begin(); it != m_servers.end();) {
                const auto itThis = it++;
                if (itThis->nCallers != 0 || itThis->pCanUnloadNow == nullptr ||
                    itThis->pCanUnloadNow() != S_OK)
                    continue;
                for (auto itClass = m_classes.begin(); itClass != m_classes.end();)
                    itClass = itClass->second == &*itThis ? m_classes.erase(itClass) : std::next(itClass);
                unused.splice(unused.end(), m_servers, itThis);
            }
        }
        for (const Server& rServer : unused)
            FreeLibrary(rServer.hModule);
    }

private:
    HRESULT Load(REFCLSID rclsid, const std::string& sPath, Server** pp)
    {
        // Loading counts loads, so of two threads here at once one frees what it loaded.
        const HMODULE hModule = LoadLibraryA(sPath.c_str());
        if (hModule == nullptr)
            return HRESULT_FROM_WIN32(GetLastError());
        const auto pGetClassObject = Export<GetClassObject>(hModule, "DllGetClassObject");
        if (pGetClassObject == nullptr) {
            FreeLibrary(hModule);
            return CO_E_ERRORINDLL;
        }
        bool bKnown = false;
        {
            std::unique_lock<std::shared_mutex> lock(m_lock);
            Server* pServer = nullptr;
            for (Server& rServer : m_servers)
                if (rServer.hModule == hModule)
                    pServer = &rServer;
            bKnown = pServer != nullptr;
            if (!bKnown) {
                pServer = &m_servers.emplace_back();
                pServer->sPath = sPath;
                pServer->hModule = hModule;
                pServer->pGetClassObject = pGetClassObject;
                pServer->pCanUnloadNow = Export<CanUnloadNow>(hModule, "DllCanUnloadNow");
            }
            m_classes[rclsid] = pServer;
            ++pServer->nCallers;
            *pp = pServer;
        }
        if (bKnown)
            FreeLibrary(hModule);
        return S_OK;
    }

    std::shared_mutex m_lock;
    std::list<Server> m_servers;
    std::map<CLSID, Server*, LessGuid> m_classes;
};

Servers& TheServers()
{
    static Servers& s_rServers = *new Servers;  // modules call until the end of the process
    return s_rServers;
}

// A server in use for the length of one call.
class ServerCall
{
public:
    ~ServerCall()
    {
        if (m_pServer != nullptr)
            --m_pServer->nCallers;
    }
    HRESULT Get(REFCLSID rclsid, DWORD dwClsContext, REFIID riid, LPVOID* ppv)
    {
        if (!IsInitialised())
            return CO_E_NOTINITIALIZED;
        if ((dwClsContext & CLSCTX_INPROC_SERVER) == 0)
            return REGDB_E_CLASSNOTREG;
        const HRESULT hr = TheServers().Find(rclsid, &m_pServer);
        return FAILED(hr) ? hr : m_pServer->pGetClassObject(rclsid, riid, ppv);
    }

private:
    Server* m_pServer = nullptr;
};

}  // namespace

LPVOID CoTaskMemAlloc(SIZE_T cb) { return std::malloc(cb != 0 ? cb : 1); }
void CoTaskMemFree(LPVOID pv) { std::free(pv); }

HRESULT IIDFromString(LPCOLESTR lpsz, IID* piid)
{
    if (piid == nullptr)
        return E_INVALIDARG;
    *piid = IID_NULL;
    if (lpsz == nullptr)
        return S_OK;
    return ParseGuid(lpsz, piid) ? S_OK : CO_E_IIDSTRING;
}

HRESULT CLSIDFromString(LPCOLESTR lpsz, CLSID* pclsid)
{
    if (pclsid == nullptr)
        return E_INVALIDARG;
    *pclsid = CLSID_NULL;
    if (lpsz == nullptr || ParseGuid(lpsz, pclsid))
        return S_OK;
    return FAILED(CLSIDFromProgID(lpsz, pclsid)) ? CO_E_CLASSSTRING : S_OK;
}

int StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax)
{
    if (lpsz == nullptr || cchMax < GUID_CHARACTERS + 1)
        return 0;
    FormatGuid(rguid, lpsz);
    return GUID_CHARACTERS + 1;
}

HRESULT StringFromCLSID(REFCLSID rclsid, LPOLESTR* lplpsz)
{
    if (lplpsz == nullptr)
        return E_INVALIDARG;
    OLECHAR sz[GUID_CHARACTERS + 1];
    FormatGuid(rclsid, sz);
    return CopyOut(sz, lplpsz);
}

HRESULT CLSIDFromProgID(LPCOLESTR lpszProgID, CLSID* pclsid)
{
    if (lpszProgID == nullptr || pclsid == nullptr)
        return E_INVALIDARG;
    *pclsid = CLSID_NULL;
    const std::string sText = PlatformReadClassesText(PlatformNarrow(lpszProgID) + "\\CLSID");
    if (sText.empty())
        return CO_E_CLASSSTRING;
    return ParseGuid(PlatformWiden(sText).c_str(), pclsid) ? S_OK : CO_E_CLASSSTRING;
}

HRESULT ProgIDFromCLSID(REFCLSID rclsid, LPOLESTR* lplpszProgID)
{
    if (lplpszProgID == nullptr)
        return E_INVALIDARG;
    *lplpszProgID = nullptr;
    const std::string sText = PlatformReadClassesText(ClassKey(rclsid) + "\\ProgID");
    return sText.empty() ? REGDB_E_CLASSNOTREG : CopyOut(PlatformWiden(sText), lplpszProgID);
}

HRESULT CoInitialize(LPVOID pvReserved) { return CoInitializeEx(pvReserved, COINIT_APARTMENTTHREADED); }

HRESULT CoInitializeEx(LPVOID, DWORD dwCoInit)
{
    const bool bMultiThreaded = (dwCoInit & COINIT_APARTMENTTHREADED) == 0;
    if (t_state.nInitialised != 0 && t_state.bMultiThreaded != bMultiThreaded)
        return RPC_E_CHANGED_MODE;
    if (t_state.nInitialised++ != 0)
        return S_FALSE;
    t_state.bMultiThreaded = bMultiThreaded;
    if (bMultiThreaded)
        ++s_nMultiThreaded;
    return S_OK;
}

void CoUninitialize()
{
    if (t_state.nInitialised == 0 || --t_state.nInitialised != 0)
        return;
    if (t_state.bMultiThreaded)
        --s_nMultiThreaded;
}

HRESULT CoGetClassObject(REFCLSID rclsid, DWORD dwClsContext, LPVOID pvReserved, REFIID riid, LPVOID* ppv)
{
    if (ppv == nullptr || pvReserved != nullptr)
        return E_INVALIDARG;
    *ppv = nullptr;
    return ServerCall().Get(rclsid, dwClsContext, riid, ppv);
}

HRESULT CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid, LPVOID* ppv)
{
    if (ppv == nullptr)
        return E_POINTER;
    *ppv = nullptr;
    ServerCall call;
    IClassFactory* pFactory = nullptr;
    HRESULT hr = call.Get(rclsid, dwClsContext, IID_IClassFactory, reinterpret_cast<void**>(&pFactory));
    if (FAILED(hr))
        return hr;
    hr = pFactory->CreateInstance(pUnkOuter, riid, ppv);
    pFactory->Release();
    return hr;
}

void CoFreeUnusedLibraries() { TheServers().FreeUnused(); }
