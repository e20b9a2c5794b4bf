// The component surface beside the plain classes. The module is registered in a registry of this run's own.
//
//   AddItemPlain        one AddItem of the plain container, a keyword's name and an int
//   AddItemDual         the same through IArguments
//   AddItemInvoke       the same through IDispatch::Invoke, the arguments in their array already
//   ReadStringPlain     a text of 20 characters out of the plain container
//   ReadStringDual      the same through IArguments, as a BSTR
//   WideToNarrow        a string of 20 characters to narrow text, as the surface converts it
//   NarrowToWide        and back
//   CreateArguments     a ComArguments from its class object, and its end
//   CoCreateArguments   the same by CoCreateInstance
#include "arguments/Arguments.h"
#include "component/Interfaces.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace {

class Client
{
public:
    Client()
    {
        m_sRegistry = (std::filesystem::temp_directory_path() / "orvex-bench-XXXXXX").string();
        if (mkdtemp(m_sRegistry.data()) == nullptr)
            std::abort();
        setenv("ORVEX_REGISTRY", m_sRegistry.c_str(), 1);
        const HMODULE hModule = LoadLibraryA(ORVEX_BENCH_MODULE);
        HRESULT(STDAPICALLTYPE * pRegister)() = nullptr;
        if (hModule != nullptr)
            pRegister = reinterpret_cast<decltype(pRegister)>(
                reinterpret_cast<void (*)()>(GetProcAddress(hModule, "DllRegisterServer")));
        if (pRegister == nullptr || FAILED(pRegister()) || FAILED(CoInitialize(nullptr)) ||
            FAILED(CoGetClassObject(CLSID_Arguments, CLSCTX_ALL, nullptr, IID_IClassFactory,
                                    reinterpret_cast<void**>(&m_pFactory))))
            std::abort();
    }
    ~Client() { std::filesystem::remove_all(m_sRegistry); }

    static Client& Instance()
    {
        static Client s_client;
        return s_client;
    }

    IArguments* Create()
    {
        void* pv = nullptr;
        m_pFactory->CreateInstance(nullptr, IID_IArguments, &pv);
        return static_cast<IArguments*>(pv);
    }

private:
    std::string m_sRegistry;
    IClassFactory* m_pFactory = nullptr;
};

struct GiveBack
{
    void operator()(IArguments* p) const { p->Release(); }
};
using Holder = std::unique_ptr<IArguments, GiveBack>;

VARIANT Text(const OLECHAR* psz)
{
    VARIANT v{};
    v.vt = VT_BSTR;
    v.bstrVal = SysAllocString(psz);
    return v;
}

VARIANT Number(int i)
{
    VARIANT v{};
    v.vt = VT_I4;
    v.lVal = i;
    return v;
}

void AddItemPlain(benchmark::State& state)
{
    Client::Instance();
    const ArgumentsHolder p(Arguments::CreateInstance());
    int i = 0;
    for (auto _ : state)
        if (!p->AddItem("InvokeID", ++i))
            state.SkipWithError("not added");
}

void AddItemDual(benchmark::State& state)
{
    const Holder p(Client::Instance().Create());
    VARIANT key = Text(OLESTR("InvokeID")), value = Number(0);
    VARIANT_BOOL b = VARIANT_FALSE;
    for (auto _ : state) {
        ++value.lVal;
        p->AddItem(&key, &value, &b);
        if (b != VARIANT_TRUE)
            state.SkipWithError("not added");
    }
    VariantClear(&key);
}

void AddItemInvoke(benchmark::State& state)
{
    const Holder p(Client::Instance().Create());
    VARIANT args[] = {Number(0), Text(OLESTR("InvokeID"))};
    DISPPARAMS params{args, nullptr, 2, 0};
    VARIANT result;
    for (auto _ : state) {
        ++args[0].lVal;
        VariantInit(&result);
        p->Invoke(1, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &result, nullptr, nullptr);
        if (result.vt != VT_BOOL || result.boolVal != VARIANT_TRUE)
            state.SkipWithError("not added");
    }
    VariantClear(&args[1]);
}

const char TWENTY[] = "abcdefghij0123456789";

void ReadStringPlain(benchmark::State& state)
{
    Client::Instance();
    const ArgumentsHolder p(Arguments::CreateInstance());
    p->AddItem("InvokeID", TWENTY);
    std::string s;
    for (auto _ : state) {
        p->GetValueString(0, &s);
        benchmark::DoNotOptimize(s.data());
    }
}

void ReadStringDual(benchmark::State& state)
{
    const Holder p(Client::Instance().Create());
    VARIANT key = Number(0), value = Text(OLESTR("abcdefghij0123456789"));
    VARIANT_BOOL b;
    p->AddItem(&key, &value, &b);
    for (auto _ : state) {
        BSTR bstr = nullptr;
        p->GetValueString(&key, &bstr);
        if (SysStringLen(bstr) != 20)
            state.SkipWithError("not read");
        SysFreeString(bstr);
    }
    VariantClear(&value);
}

// The two steps of each conversion of the surface: the size is asked, then the buffer filled.
void WideToNarrow(benchmark::State& state)
{
    VARIANT text = Text(OLESTR("abcdefghij0123456789"));
    for (auto _ : state) {
        const int n = WideCharToMultiByte(CP_ACP, 0, text.bstrVal, -1, nullptr, 0, nullptr, nullptr);
        const std::unique_ptr<char[]> buffer(new char[static_cast<std::size_t>(n) + 1]);
        if (WideCharToMultiByte(CP_ACP, 0, text.bstrVal, -1, buffer.get(), n + 1, nullptr, nullptr) != 21)
            state.SkipWithError("not converted");
        benchmark::DoNotOptimize(buffer.get());
    }
    VariantClear(&text);
}

void NarrowToWide(benchmark::State& state)
{
    for (auto _ : state) {
        const int n = MultiByteToWideChar(CP_THREAD_ACP, 0, TWENTY, -1, nullptr, 0) - 1;
        BSTR bstr = SysAllocStringLen(nullptr, static_cast<UINT>(n));
        if (MultiByteToWideChar(CP_THREAD_ACP, 0, TWENTY, n, bstr, n) != 20)
            state.SkipWithError("not converted");
        SysFreeString(bstr);
    }
}

void CreateArguments(benchmark::State& state)
{
    Client& rClient = Client::Instance();
    for (auto _ : state)
        benchmark::DoNotOptimize(Holder(rClient.Create()));
}

void CoCreateArguments(benchmark::State& state)
{
    Client::Instance();
    for (auto _ : state) {
        void* pv = nullptr;
        if (FAILED(CoCreateInstance(CLSID_Arguments, nullptr, CLSCTX_ALL, IID_IArguments, &pv)))
            state.SkipWithError("not created");
        else
            Holder(static_cast<IArguments*>(pv));
    }
}

BENCHMARK(AddItemPlain);
BENCHMARK(AddItemDual);
BENCHMARK(AddItemInvoke);
BENCHMARK(ReadStringPlain);
BENCHMARK(ReadStringDual);
BENCHMARK(WideToNarrow);
BENCHMARK(NarrowToWide);
BENCHMARK(CreateArguments);
BENCHMARK(CoCreateArguments);

}  // namespace
