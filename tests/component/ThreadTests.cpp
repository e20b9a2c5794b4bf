// Threads with objects of their own over one shared container, one in a single-threaded apartment and one in
// the multi-threaded apartment.
#include "tests/component/Support.h"

namespace {

constexpr int THREADS = 2;
constexpr int ROUNDS = 500;

struct Work
{
    IArguments* pArguments = nullptr;  // the thread's own object
    int iThread = 0;
    int nFailures = 0;
};

void Round(Work* pWork, int iRound)
{
    IArguments* p = pWork->pArguments;
    Variant own = Number(100 + 10 * pWork->iThread + iRound % 5), shared = Variant::Text(OLESTR("shared"));
    Variant number = Number(iRound), text = Variant::Text(OLESTR("a text of some length"));
    VARIANT_BOOL b = 7;
    int i = -1;
    const auto expect = [&](bool bHolds) { pWork->nFailures += !bHolds; };
    expect(p->AddItem(&own, &number, &b) == S_OK && b == VARIANT_TRUE);
    expect(p->GetValueInt(&own, &i) == S_OK && i == iRound);
    expect(p->SetValue(&shared, &text, &b) == S_OK && b == VARIANT_TRUE);
    String read;
    expect(p->GetValueString(&shared, &read) == S_OK && ToText(read) == "a text of some length");
    Ref<IArg> pArg;
    expect(p->GetValue(&own, pArg.Out()) == S_OK && pArg->GetValueInt(&i) == S_OK && i == iRound);
    // Made in this apartment; only an object itself is taken as a value, a proxy is not.
    Ref<IArguments> pMade = NewArguments(), pBack;
    Variant made = Variant::Object(pMade.Get());
    expect(p->SetValue(&own, &made, &b) == S_OK && b == VARIANT_TRUE);
    expect(pMade->AddItem(&own, &number, &b) == S_OK && b == VARIANT_TRUE);
    expect(p->GetValueArray(&own, pBack.Out()) == S_OK && Count(pBack.Get()) == 1);
    expect(p->RemoveItem(&own, &b) == S_OK && b == VARIANT_TRUE);
    OLECHAR name[] = OLESTR("NumElements");
    LPOLESTR psz = name;
    DISPID id = 0;
    expect(p->GetIDsOfNames(IID_NULL, &psz, 1, 0, &id) == S_OK && id == 9);
    DISPPARAMS none{};
    Variant n;
    expect(p->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &none, &n, nullptr, nullptr) == S_OK && n.intVal >= 1);
    Variant element;
    expect(p->GetElement(1, &element) == S_OK);
}

unsigned int __stdcall ThreadMain(void* pv)
{
    Work* pWork = static_cast<Work*>(pv);
    const DWORD dwApartment = pWork->iThread == 0 ? COINIT_APARTMENTTHREADED : COINIT_MULTITHREADED;
    pWork->nFailures += CoInitializeEx(nullptr, dwApartment) != S_OK;
    for (int i = 0; i < ROUNDS; ++i)
        Round(pWork, i);
    CoUninitialize();
    return 0;
}

TEST(ComponentThread, TwoApartmentsOverOneContainer)
{
    const Ref<IArguments> pParent = NewArguments(), pChild = NewArguments();
    EXPECT_TRUE(Add(pParent.Get(), OLESTR("child"), Variant::Object(pChild.Get())));
    Variant key = Variant::Text(OLESTR("child"));
    Ref<IArguments> objects[THREADS];
    Work works[THREADS];
    HANDLE handles[THREADS];
    for (int i = 0; i < THREADS; ++i) {
        EXPECT_EQ(pParent->GetValueArray(&key, objects[i].Out()), S_OK);
        works[i].pArguments = objects[i].Get();
        works[i].iThread = i;
    }
    for (int i = 0; i < THREADS; ++i) {
        handles[i] = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &ThreadMain, &works[i], 0, nullptr));
        ASSERT_NE(handles[i], nullptr);
    }
    EXPECT_EQ(WaitForMultipleObjects(THREADS, handles, TRUE, INFINITE), WAIT_OBJECT_0);
    for (int i = 0; i < THREADS; ++i) {
        CloseHandle(handles[i]);
        EXPECT_EQ(works[i].nFailures, 0) << i;
    }
    EXPECT_EQ(Content(pChild.Get()), "shared=8:a text of some length;");
}

}  // namespace
