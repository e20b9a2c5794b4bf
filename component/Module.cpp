// The module's life, its class table with the class objects, and its four exports.
#include "component/Module.h"

#include "component/CComArg.h"
#include "component/CComArguments.h"
#include "component/Registrar.h"

#include <atomic>
#include <new>

namespace {

constexpr WORD SCRIPT_COM_ARG = 102;
constexpr WORD SCRIPT_COM_ARGUMENTS = 104;

std::atomic<LONG> s_lLocks{0};
HINSTANCE s_hInstance = nullptr;

// The class object of one class. It lives as long as the module; references to it keep the module from being
// unloaded.
class ClassObject final : public IClassFactory
{
public:
    using Creator = HRESULT (*)(IUnknown* pOuter, REFIID riid, void** ppv);

    explicit ClassObject(Creator pCreate) : m_pCreate(pCreate) {}

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override
    {
        if (ppv == nullptr)
            return E_POINTER;
        *ppv = nullptr;
        if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, IID_IClassFactory))
            return E_NOINTERFACE;
        AddRef();
        *ppv = static_cast<IClassFactory*>(this);
        return S_OK;
    }

    STDMETHODIMP_(ULONG) AddRef() override
    {
        Module::Lock();
        return static_cast<ULONG>(InterlockedIncrement(&m_lRefCount));
    }

    STDMETHODIMP_(ULONG) Release() override
    {
        const LONG l = InterlockedDecrement(&m_lRefCount);
        Module::Unlock();
        return static_cast<ULONG>(l);
    }

    STDMETHODIMP CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppvObject) override
    {
        if (ppvObject == nullptr)
            return E_POINTER;
        *ppvObject = nullptr;
        if (pUnkOuter != nullptr && !IsEqualIID(riid, IID_IUnknown))
            return CLASS_E_NOAGGREGATION;
        try {
            return m_pCreate(pUnkOuter, riid, ppvObject);
        } catch (...) {
            return ComObject::ResultOfException();
        }
    }

    STDMETHODIMP LockServer(BOOL fLock) override
    {
        fLock ? Module::Lock() : Module::Unlock();
        return S_OK;
    }

private:
    Creator m_pCreate;
    LONG m_lRefCount = 1;  // the module's own, which it is not locked by
};

// The class table.
struct ClassRow
{
    const CLSID& clsid;
    WORD wScript;
    ClassObject::Creator pCreate;
    TypeInformation& rTypeInformation;
    std::atomic<ClassObject*> pClassObject;  // made on the first request
};

ClassRow s_classes[] = {
    {CLSID_Arg, SCRIPT_COM_ARG, &CComArg::CreateInstance, CComArg::s_typeInformation, {nullptr}},
    {CLSID_Arguments,
     SCRIPT_COM_ARGUMENTS,
     &CComArguments::CreateInstance,
     CComArguments::s_typeInformation,
     {nullptr}},
};
CritSecLock s_classLock;

ClassObject* ClassObjectOf(ClassRow& rRow)
{
    ClassObject* p = rRow.pClassObject.load(std::memory_order_acquire);
    if (p != nullptr)
        return p;
    ScopedLock lock(&s_classLock);
    p = rRow.pClassObject.load();
    if (p == nullptr) {
        p = new ClassObject(rRow.pCreate);
        rRow.pClassObject.store(p, std::memory_order_release);
    }
    return p;
}

// Empty where the module has no such script.
std::string Script(WORD wId)
{
    const HRSRC hResource = FindResourceA(s_hInstance, MAKEINTRESOURCEA(wId), "REGISTRY");
    const HGLOBAL hData = hResource != nullptr ? LoadResource(s_hInstance, hResource) : nullptr;
    const void* pText = hData != nullptr ? LockResource(hData) : nullptr;
    return pText == nullptr
               ? std::string()
               : std::string(static_cast<const char*>(pText), SizeofResource(s_hInstance, hResource));
}

HRESULT RunScripts(HRESULT (Registrar::*run)(const std::string&))
{
    const std::string sPath = Module::Path();
    if (sPath.empty())
        return HRESULT_FROM_WIN32(GetLastError());
    Registrar registrar(sPath);
    for (const ClassRow& row : s_classes) {
        const HRESULT hr = (registrar.*run)(Script(row.wScript));
        if (FAILED(hr))
            return hr;
    }
    return S_OK;
}

HRESULT RegisterLibrary()
{
    auto sPath = Module::WidePath();
    ITypeLib* pTypeLib = nullptr;
    HRESULT hr = LoadTypeLib(sPath.c_str(), &pTypeLib);
    if (FAILED(hr))
        return hr;
    hr = RegisterTypeLib(pTypeLib, sPath.data(), nullptr);
    pTypeLib->Release();
    return hr;
}

// Language and system are those that the library was registered with: its own.
HRESULT UnregisterLibrary()
{
    ITypeLib* pTypeLib = nullptr;
    HRESULT hr = LoadTypeLib(Module::WidePath().c_str(), &pTypeLib);
    if (FAILED(hr))
        return hr;
    TLIBATTR* pAttr = nullptr;
    hr = pTypeLib->GetLibAttr(&pAttr);
    if (SUCCEEDED(hr)) {
        hr = UnRegisterTypeLib(pAttr->guid, pAttr->wMajorVerNum, pAttr->wMinorVerNum, pAttr->lcid,
                               pAttr->syskind);
        pTypeLib->ReleaseTLibAttr(pAttr);
    }
    pTypeLib->Release();
    return hr;
}

void Detach()
{
    for (ClassRow& row : s_classes) {
        delete row.pClassObject.exchange(nullptr);
        row.rTypeInformation.Forget();
    }
}

}  // namespace

void Module::Lock() { ++s_lLocks; }
void Module::Unlock() { --s_lLocks; }

std::string Module::Path()
{
    std::string sPath(MAX_PATH, '\0');
    for (;;) {
        const DWORD dw = GetModuleFileNameA(s_hInstance, sPath.data(), static_cast<DWORD>(sPath.size()));
        if (dw < sPath.size()) {
            sPath.resize(dw);
            return sPath;
        }
        sPath.resize(2 * sPath.size());
    }
}

std::basic_string<OLECHAR> Module::WidePath()
{
    const std::string sPath = Path();
    std::basic_string<OLECHAR> sWide(sPath.size(), 0);
    sWide.resize(
        static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, sPath.data(), static_cast<int>(sPath.size()),
                                                     sWide.data(), static_cast<int>(sWide.size()))));
    return sWide;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD dwReason, LPVOID lpReserved)
{
    if (dwReason == DLL_PROCESS_ATTACH) {
        s_hInstance = hInstance;
        DisableThreadLibraryCalls(hInstance);
    } else if (dwReason == DLL_PROCESS_DETACH && lpReserved == nullptr) {
        Detach();  // unloaded; at the end of the process there is nobody left to call
    }
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv)
{
    if (ppv == nullptr)
        return E_POINTER;
    *ppv = nullptr;
    try {
        for (ClassRow& row : s_classes)
            if (IsEqualCLSID(row.clsid, rclsid))
                return ClassObjectOf(row)->QueryInterface(riid, ppv);
        return CLASS_E_CLASSNOTAVAILABLE;
    } catch (...) {
        return ComObject::ResultOfException();
    }
}

STDAPI DllCanUnloadNow() { return s_lLocks == 0 ? S_OK : S_FALSE; }

STDAPI DllRegisterServer()
{
    try {
        const HRESULT hr = RunScripts(&Registrar::Register);
        return FAILED(hr) ? hr : RegisterLibrary();
    } catch (...) {
        return ComObject::ResultOfException();
    }
}

STDAPI DllUnregisterServer()
{
    try {
        const HRESULT hr = RunScripts(&Registrar::Unregister);
        return FAILED(hr) ? hr : UnregisterLibrary();
    } catch (...) {
        return ComObject::ResultOfException();
    }
}
