// A module with one class, for the tests of the component runtime.
#include "tests/oleauto/Probe.h"

#include <new>

namespace {

std::atomic<LONG> s_lLocks{0};
HINSTANCE s_hInstance = nullptr;

class LivingProbe final : public Probe
{
public:
    LivingProbe() { ++s_lLocks; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG ul = --m_ulCount;
        if (ul == 0) {
            delete this;
            --s_lLocks;
        }
        return ul;
    }
};

class Factory final : public IClassFactory
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override
    {
        const bool bOurs = IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IClassFactory);
        *ppv = bOurs ? this : nullptr;
        return bOurs ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pOuter, REFIID riid, void** ppv) override
    {
        *ppv = nullptr;
        if (pOuter != nullptr)
            return CLASS_E_NOAGGREGATION;
        LivingProbe* p = new LivingProbe;
        const HRESULT hr = p->QueryInterface(riid, ppv);
        p->Release();
        return hr;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL bLock) override
    {
        bLock ? ++s_lLocks : --s_lLocks;
        return S_OK;
    }
};

Factory s_factory;

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD dwReason, LPVOID)
{
    s_hInstance = dwReason == DLL_PROCESS_ATTACH ? hInstance : nullptr;
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv)
{
    *ppv = nullptr;
    return IsEqualCLSID(rclsid, CLSID_Probe) ? s_factory.QueryInterface(riid, ppv)
                                             : CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return s_lLocks == 0 ? S_OK : S_FALSE; }

// What DllMain was told, and how often this was called since the module was loaded.
STDAPI_(HINSTANCE) ProbeInstance() { return s_hInstance; }
STDAPI_(int) ProbeCalls()
{
    static int s_nCalls = 0;
    return ++s_nCalls;
}
