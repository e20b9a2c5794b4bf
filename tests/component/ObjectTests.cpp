// What is shared and what is copied, whose objects are taken, and how long things live.
#include "tests/component/Doubles.h"

namespace {

bool Set(IArg* p, Variant value)
{
    VARIANT_BOOL b = 7;
    EXPECT_EQ(p->SetValue(&value, &b), S_OK);
    EXPECT_TRUE(b == VARIANT_TRUE || b == VARIANT_FALSE);
    return b == VARIANT_TRUE;
}

int IntOf(IArg* p)
{
    int i = -1;
    EXPECT_EQ(p->GetValueInt(&i), S_OK);
    return i;
}

Ref<IArg> ArgOf(IArguments* p, const OLECHAR* key)
{
    Variant k = Variant::Text(key);
    Ref<IArg> pArg;
    EXPECT_EQ(p->GetValue(&k, pArg.Out()), S_OK);
    return pArg;
}

Ref<IArguments> ArrayOf(IArguments* p, const OLECHAR* key)
{
    Variant k = Variant::Text(key);
    Ref<IArguments> pArray;
    EXPECT_EQ(p->GetValueArray(&k, pArray.Out()), S_OK);
    return pArray;
}

TEST(Objects, AValueAddedIsSharedByAllWhoHoldIt)
{
    const Ref<IArg> pArg = NewArg();
    const Ref<IArguments> pOne = NewArguments(), pOther = NewArguments();
    EXPECT_TRUE(Add(pOne.Get(), OLESTR("a"), Variant::Object(pArg.Get())));
    EXPECT_TRUE(Add(pOther.Get(), OLESTR("MessageID"), Variant::Object(pArg.Get())));
    EXPECT_TRUE(Set(pArg.Get(), Number(5)));
    EXPECT_EQ(IntOf(pOne.Get(), OLESTR("a")), 5);
    EXPECT_EQ(IntOf(pOther.Get(), OLESTR("MessageID")), 5);
    EXPECT_TRUE(Add(pOther.Get(), OLESTR("MessageID"), Number(6)));  // in place
    EXPECT_EQ(IntOf(pOne.Get(), OLESTR("a")), 6);
    const Ref<IArg> pRead = ArgOf(pOne.Get(), OLESTR("a"));
    EXPECT_TRUE(Set(pRead.Get(), Number(7)));
    EXPECT_EQ(IntOf(pArg.Get()), 7);
}

TEST(Objects, AContainerAddedIsSharedWithItsParent)
{
    Ref<IArguments> pParent = NewArguments();
    const Ref<IArguments> pChild = NewArguments();
    EXPECT_TRUE(Add(pParent.Get(), OLESTR("child"), Variant::Object(pChild.Get())));
    EXPECT_TRUE(Add(pChild.Get(), OLESTR("x"), Number(1)));

    // Every way to it leads to the same container.
    const Ref<IArguments> pByKey = ArrayOf(pParent.Get(), OLESTR("child"));
    EXPECT_TRUE(Add(pByKey.Get(), OLESTR("y"), Number(2)));
    Variant element;
    EXPECT_EQ(pParent->GetElement(1, &element), S_OK);
    ASSERT_EQ(element.vt, VT_DISPATCH);
    Ref<IArguments> pByPosition;
    EXPECT_EQ(element.pdispVal->QueryInterface(IID_IArguments, pByPosition.Any()), S_OK);
    EXPECT_TRUE(Add(pByPosition.Get(), OLESTR("z"), Number(3)));
    const Ref<IArg> pArg = ArgOf(pParent.Get(), OLESTR("child"));
    Variant value;
    EXPECT_EQ(pArg->GetValue(&value), S_OK);
    ASSERT_EQ(value.vt, VT_DISPATCH);
    Ref<IArguments> pByValue, pByArray;
    EXPECT_EQ(value.pdispVal->QueryInterface(IID_IArguments, pByValue.Any()), S_OK);
    EXPECT_EQ(pArg->GetValueArray(pByArray.Out()), S_OK);
    EXPECT_TRUE(Add(pByValue.Get(), OLESTR("v"), Number(4)));
    EXPECT_TRUE(Add(pByArray.Get(), OLESTR("w"), Number(5)));

    pParent.Reset();
    EXPECT_EQ(Content(pChild.Get()), "v=22:4;w=22:5;x=22:1;y=22:2;z=22:3;");
}

TEST(Objects, AValueOutlivesItsEntry)
{
    const Ref<IArguments> p = NewArguments();
    EXPECT_TRUE(Add(p.Get(), OLESTR("k"), Number(9)));
    const Ref<IArg> pArg = ArgOf(p.Get(), OLESTR("k"));
    EXPECT_EQ(p->Clear(), S_OK);
    EXPECT_EQ(Count(p.Get()), 0);
    EXPECT_EQ(IntOf(pArg.Get()), 9);
}

TEST(Objects, AValueSetFromAValueIsCopied)
{
    const Ref<IArg> pSource = NewArg(), pTarget = NewArg();
    EXPECT_TRUE(Set(pSource.Get(), Number(1)));
    EXPECT_TRUE(Set(pTarget.Get(), Variant::Object(pSource.Get())));
    EXPECT_TRUE(Set(pSource.Get(), Number(2)));
    EXPECT_EQ(IntOf(pTarget.Get()), 1);
    EXPECT_TRUE(Set(pTarget.Get(), Variant::Object(pTarget.Get())));
    EXPECT_EQ(IntOf(pTarget.Get()), 1);

    // Neither a container nor a value that is one can be copied in.
    const Ref<IArguments> pParent = NewArguments(), pChild = NewArguments();
    EXPECT_TRUE(Add(pParent.Get(), OLESTR("child"), Variant::Object(pChild.Get())));
    EXPECT_FALSE(Set(pTarget.Get(), Variant::Object(pChild.Get())));
    EXPECT_FALSE(Set(pTarget.Get(), Variant::Object(ArgOf(pParent.Get(), OLESTR("child")).Get())));
    EXPECT_EQ(IntOf(pTarget.Get()), 1);
}

TEST(Objects, AContainerSetToANumberReadsAsThatNumber)
{
    const Ref<IArguments> p = NewArguments(), pChild = NewArguments();
    EXPECT_TRUE(Add(p.Get(), OLESTR("child"), Variant::Object(pChild.Get())));
    EXPECT_TRUE(Set(ArgOf(p.Get(), OLESTR("child")).Get(), Number(5)));
    EXPECT_EQ(ArrayOf(p.Get(), OLESTR("child")).Get(), nullptr);
    EXPECT_EQ(Content(p.Get()), "child=22:5;");
    EXPECT_TRUE(Add(pChild.Get(), OLESTR("x"), Number(1)));  // its entries are there all the same
    EXPECT_EQ(Content(pChild.Get()), "x=22:1;");
}

TEST(Objects, AnUnsetValueIsHandedOutAsAnObject)
{
    const Ref<IArguments> p = NewArguments();
    const Ref<IArg> pArg = NewArg();
    EXPECT_TRUE(Add(p.Get(), OLESTR("k"), Variant::Object(pArg.Get())));
    EXPECT_EQ(Content(p.Get()), "k=arg 0;");
    Variant v = Number(1);
    EXPECT_EQ(pArg->GetValue(&v), E_FAIL);
    EXPECT_EQ(v.vt, VT_EMPTY);
}

TEST(Objects, ClonesAreIndependent)
{
    const Ref<IArguments> p = NewArguments(), pChild = NewArguments();
    EXPECT_TRUE(Add(p.Get(), OLESTR("MessageID"), Number(1)));
    EXPECT_TRUE(Add(p.Get(), OLESTR("child"), Variant::Object(pChild.Get())));
    EXPECT_TRUE(Add(pChild.Get(), OLESTR("x"), Number(1)));
    Ref<IArguments> pClone;
    EXPECT_EQ(p->Clone(pClone.Out()), S_OK);
    const std::string sBefore = Content(p.Get());
    EXPECT_EQ(Content(pClone.Get()), sBefore);
    EXPECT_TRUE(Add(ArrayOf(pClone.Get(), OLESTR("child")).Get(), OLESTR("x"), Number(2)));
    EXPECT_TRUE(Add(pClone.Get(), OLESTR("MessageID"), Number(2)));
    EXPECT_EQ(Content(p.Get()), sBefore);

    Ref<IArg> pArgClone;
    EXPECT_EQ(ArgOf(p.Get(), OLESTR("child"))->Clone(pArgClone.Out()), S_OK);
    Ref<IArguments> pArray;
    EXPECT_EQ(pArgClone->GetValueArray(pArray.Out()), S_OK);
    EXPECT_TRUE(Add(pArray.Get(), OLESTR("x"), Number(3)));
    EXPECT_EQ(Content(p.Get()), sBefore);
}

TEST(Objects, ACloneDeeperThanTheLimitFails)
{
    Ref<IArguments> pTop = NewArguments();
    for (int i = 1; i <= 100; ++i) {
        Ref<IArguments> pOuter = NewArguments();
        EXPECT_TRUE(Add(pOuter.Get(), OLESTR("k"), Variant::Object(pTop.Get())));
        Ref<IArguments> pClone;
        EXPECT_EQ(pOuter->Clone(pClone.Out()), i < 100 ? S_OK : E_FAIL) << i;
        EXPECT_EQ(pClone.Get() != nullptr, i < 100);
        *pTop.Out() = pOuter.Get();
        pOuter->AddRef();
    }
}

TEST(Objects, InitializeEmptiesWithoutGivingBack)
{
    const Ref<IArguments> p = NewArguments();
    const Ref<IArg> pArg = NewArg();
    {
        const LeakAllowed allowed;
        Variant text = Variant::Text(OLESTR("left behind"));
        EXPECT_TRUE(Add(p.Get(), OLESTR("k"), text));
        EXPECT_EQ(p->Initialize(), S_OK);
    }
    EXPECT_EQ(Count(p.Get()), 0);
    EXPECT_TRUE(Add(p.Get(), OLESTR("k"), Number(1)));
    EXPECT_EQ(Content(p.Get()), "k=22:1;");
}

// The ways an object goes in, each told whether it was taken.
struct Way
{
    const char* name;
    bool (*give)(IArguments* pInto, IDispatch* pGiven);
};

template <class Call> bool Told(Call call)
{
    VARIANT_BOOL b = 7;
    EXPECT_EQ(call(&b), S_OK);
    EXPECT_TRUE(b == VARIANT_TRUE || b == VARIANT_FALSE);
    return b == VARIANT_TRUE;
}

VARIANT Giving(IDispatch*& rpGiven, bool bByRef)
{
    VARIANT v{};
    v.vt = bByRef ? VT_BYREF | VT_DISPATCH : VT_DISPATCH;
    if (bByRef)
        v.ppdispVal = &rpGiven;
    else
        v.pdispVal = rpGiven;
    return v;
}

template <bool bAdd, bool bText, bool bByRef> bool Write(IArguments* pInto, IDispatch* pGiven)
{
    Variant key = bText ? Variant::Text(OLESTR("free")) : Number(0);
    VARIANT v = Giving(pGiven, bByRef);
    return Told(
        [&](VARIANT_BOOL* p) { return bAdd ? pInto->AddItem(&key, &v, p) : pInto->SetValue(&key, &v, p); });
}

bool ToElement(IArguments* pInto, IDispatch* pGiven)
{
    VARIANT v = Giving(pGiven, false);
    return Told([&](VARIANT_BOOL* p) { return pInto->SetElement(1, &v, p); });
}

const Way WAYS[] = {
    {"AddItem, text", &Write<true, true, false>},
    {"AddItem, text, by reference", &Write<true, true, true>},
    {"AddItem, number", &Write<true, false, false>},
    {"AddItem, number, by reference", &Write<true, false, true>},
    {"SetValue, text", &Write<false, true, false>},
    {"SetValue, text, by reference", &Write<false, true, true>},
    {"SetValue, number", &Write<false, false, false>},
    {"SetValue, number, by reference", &Write<false, false, true>},
    {"SetElement", &ToElement},
};

bool ToValue(IArg* pInto, IDispatch* pGiven)
{
    VARIANT v = Giving(pGiven, false);
    return Told([&](VARIANT_BOOL* p) { return pInto->SetValue(&v, p); });
}

bool AsKey(IArguments* pInto, IDispatch* pGiven)
{
    VARIANT v = Giving(pGiven, false);
    return Told([&](VARIANT_BOOL* p) { return pInto->IsValid(&v, p); });
}

// Refused on every way, with nothing changed and no reference kept.
void ExpectRefused(IDispatch* pGiven, const ULONG& rulCount, const std::string& name)
{
    const Ref<IArguments> p = NewArguments();
    const Ref<IArg> pArg = NewArg();
    EXPECT_TRUE(Add(p.Get(), OLESTR("InvokeID"), Number(1)));
    for (const Way& way : WAYS) {
        EXPECT_FALSE(way.give(p.Get(), pGiven)) << name << ", " << way.name;
        EXPECT_EQ(rulCount, 1u) << name << ", " << way.name;
        EXPECT_EQ(Content(p.Get()), "InvokeID=22:1;") << name << ", " << way.name;
    }
    EXPECT_FALSE(ToValue(pArg.Get(), pGiven)) << name;
    EXPECT_FALSE(AsKey(p.Get(), pGiven)) << name;
    EXPECT_EQ(rulCount, 1u) << name;
}

TEST(Objects, StrangersAreRefused)
{
    Object dispatchOnly;
    ExpectRefused(&dispatchOnly, dispatchOnly.m_ulCount, "IDispatch only");

    struct
    {
        const char* name;
        bool bAnswersAll, bAnswersNull, bFailsWithPointer;
    } const rows[] = {
        {"its own interface", false, false, false},
        {"answers every interface with itself", true, false, false},
        {"answers with no pointer", false, true, false},
        {"fails with a pointer", false, false, true},
    };
    for (const auto& row : rows) {
        ForeignArg arg;
        ForeignArguments arguments;
        for (Stranger* p : {static_cast<Stranger*>(&arg), static_cast<Stranger*>(&arguments)}) {
            p->m_bAnswersAll = row.bAnswersAll;
            p->m_bAnswersNull = row.bAnswersNull;
            p->m_bFailsWithPointer = row.bFailsWithPointer;
        }
        ExpectRefused(&arg, arg.m_ulCount, std::string("foreign IArg, ") + row.name);
        ExpectRefused(&arguments, arguments.m_ulCount, std::string("foreign IArguments, ") + row.name);
    }
}

// An object that is part of an outer one is still one of the module's; each question to it may fail.
TEST(Objects, EveryQuestionToAnObjectMayFail)
{
    for (const Way& way : WAYS)
        for (const bool bContainer : {false, true})
            for (int n = 1;; ++n) {
                SCOPED_TRACE(std::string(way.name) + (bContainer ? ", container" : ", value") +
                             ", question " + std::to_string(n));
                const Ref<IArguments> p = NewArguments();
                EXPECT_TRUE(Add(p.Get(), OLESTR("InvokeID"), Number(1)));
                Outer outer(bContainer ? CLSID_Arguments : CLSID_Arg, n);
                ASSERT_EQ(outer.m_nAsked, 0);
                const bool bTaken = way.give(p.Get(), &outer);
                EXPECT_EQ(outer.m_ulCount, 1u);
                if (outer.m_nAsked < n) {  // none failed
                    EXPECT_TRUE(bTaken);
                    EXPECT_NE(Content(p.Get()), "InvokeID=22:1;");
                    break;
                }
                // A container fails the question for a value anyway.
                EXPECT_EQ(bTaken, bContainer && n == 1);
                if (!bTaken) {
                    EXPECT_EQ(Content(p.Get()), "InvokeID=22:1;");
                }
            }
}

TEST(Objects, AnAggregatedObjectIsOneWithItsOuter)
{
    for (const CLSID& clsid : {CLSID_Arg, CLSID_Arguments}) {
        Outer outer(clsid);
        Ref<IDispatch> pDispatch;
        Ref<IUnknown> pUnknown;
        EXPECT_EQ(outer.m_pInner->QueryInterface(IID_IDispatch, pDispatch.Any()), S_OK);
        EXPECT_EQ(outer.m_ulCount, 2u);
        EXPECT_EQ(pDispatch->QueryInterface(IID_IUnknown, pUnknown.Any()), S_OK);
        EXPECT_EQ(pUnknown.Get(), static_cast<IUnknown*>(&outer));
        EXPECT_EQ(pDispatch->AddRef(), 4u);
        EXPECT_EQ(pDispatch->Release(), 3u);
        pDispatch.Reset();
        pUnknown.Reset();
        EXPECT_EQ(outer.m_ulCount, 1u);
        EXPECT_EQ(Module().CanUnloadNow(), S_FALSE);
        outer.m_pInner.Reset();
        EXPECT_EQ(Module().CanUnloadNow(), S_OK);

        Ref<IUnknown> pWrong;
        EXPECT_EQ(CoCreateInstance(clsid, &outer, CLSCTX_ALL, IID_IDispatch, pWrong.Any()),
                  CLASS_E_NOAGGREGATION);
        EXPECT_EQ(pWrong.Get(), nullptr);
    }
}

TEST(Objects, ValuesReadAsTheirKind)
{
    struct
    {
        Variant in;
        const char* out;
        HRESULT hrInt;
        int i;
        HRESULT hrBool;
        int b;
        const char* text;
        const char* dump;
        int nType;
    } const rows[] = {
        {Number(-5), "22:-5", S_OK, -5, S_OK, -1, "-5", "-5", ARG_INT},
        {Variant::Of(VT_INT, 6), "22:6", S_OK, 6, S_OK, -1, "6", "6", ARG_INT},
        {Variant::Of(VT_UINT, 4294967295), "23:4294967295", S_OK, -1, S_OK, -1, "-1", "-1", ARG_UINT},
        {Short(-7), "2:-7", S_OK, -7, S_OK, -1, "-7", "-7", ARG_SHORT},
        {Variant::Of(VT_UI2, 65535), "18:65535", S_OK, 65535, S_OK, -1, "65535", "65535", ARG_USHORT},
        {Bool(-1), "11:-1", S_OK, 1, S_OK, -1, "1", "True", ARG_BOOL},
        {Bool(1), "11:0", S_OK, 0, S_OK, 0, "0", "False", ARG_BOOL},
        {Variant::Text(OLESTR("42")), "8:42", S_OK, 42, E_FAIL, 0, "42", "42", ARG_STRING},
        {Variant::Text(OLESTR("abc")), "8:abc", E_FAIL, 0, S_OK, 0, "abc", "abc", ARG_STRING},
        {Variant::Text(OLESTR("Jos\u00e9 \u20ac")), "8:Jos? ?", E_FAIL, 0, S_OK, 0, "Jos\u00e9 \u20ac",
         "Jos\u00e9 \u20ac", ARG_STRING},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.out);
        const Ref<IArg> p = NewArg();
        EXPECT_TRUE(Set(p.Get(), row.in));
        Variant v;
        EXPECT_EQ(p->GetValue(&v), S_OK);
        EXPECT_EQ(::Told(v), row.out);
        int i = 99, nType = 99, nClass = 99;
        VARIANT_BOOL b = 99;
        String text, dump;
        Ref<IArguments> pArray;
        EXPECT_EQ(p->GetValueInt(&i), row.hrInt);
        EXPECT_EQ(i, row.i);
        EXPECT_EQ(p->GetValueBool(&b), row.hrBool);
        EXPECT_EQ(b, row.b);
        EXPECT_EQ(p->GetValueString(&text), S_OK);
        EXPECT_EQ(ToText(text), row.text);
        EXPECT_EQ(p->DumpArg(&dump), S_OK);
        EXPECT_EQ(ToText(dump), row.dump);
        EXPECT_EQ(p->GetType(&nType), S_OK);
        EXPECT_EQ(nType, row.nType);
        EXPECT_EQ(p->GetClassID(&nClass), S_OK);
        EXPECT_EQ(nClass, 1);
        EXPECT_EQ(p->GetValueArray(pArray.Out()), E_FAIL);
        EXPECT_EQ(pArray.Get(), nullptr);
    }
}

TEST(Objects, AValueRefusesWhatAContainerWouldTake)
{
    short s = 1;
    LONG l = 1;
    String text(OLESTR("by reference")), empty(OLESTR(""));
    IDispatch* pNone = nullptr;
    struct
    {
        VARTYPE vt;
        void* p;
        bool bTaken;
    } const rows[] = {
        {VT_BYREF | VT_BSTR, &text, true},
        {VT_BYREF | VT_BSTR, &empty, false},
        {VT_BYREF | VT_BSTR, nullptr, false},
        {VT_BSTR, static_cast<BSTR>(empty), false},
        {VT_BSTR, nullptr, false},
        {VT_BYREF | VT_I2, &s, false},
        {VT_BYREF | VT_I4, &l, false},
        {VT_BYREF | VT_DISPATCH, &pNone, false},
        {VT_DISPATCH, nullptr, false},
        {VT_UI4, nullptr, false},
        {VT_EMPTY, nullptr, false},
    };
    for (const auto& row : rows) {
        const Ref<IArg> p = NewArg();
        EXPECT_TRUE(Set(p.Get(), Number(3)));
        VARIANT v{};
        v.vt = row.vt;
        v.byref = row.p;
        EXPECT_EQ(Told([&](VARIANT_BOOL* pb) { return p->SetValue(&v, pb); }), row.bTaken) << row.vt;
        String left;
        EXPECT_EQ(p->GetValueString(&left), S_OK);
        EXPECT_EQ(ToText(left), row.bTaken ? "by reference" : "3") << row.vt;
    }
}

TEST(Objects, TheDumpHasALineForEveryEntry)
{
    const Ref<IArguments> p = NewArguments(), pChild = NewArguments();
    String dump;
    EXPECT_EQ(p->DumpArgs(&dump), S_OK);
    EXPECT_EQ(ToText(dump), "Arguments contains 0 Args \r\n");
    EXPECT_TRUE(Add(p.Get(), OLESTR("zeta"), Bool(-1)));
    EXPECT_TRUE(Add(p.Get(), OLESTR("messageid"), Number(1)));
    EXPECT_TRUE(Add(p.Get(), OLESTR("child"), Variant::Object(pChild.Get())));
    EXPECT_TRUE(Add(pChild.Get(), OLESTR("x"), Number(1)));
    String full;
    EXPECT_EQ(p->DumpArgs(&full), S_OK);
    const ArgumentsHolder pPlain(Arguments::CreateInstance());
    pPlain->AddItem("MessageID", 1);
    EXPECT_EQ(ToText(full), "Arguments contains 3 Args \r\n\t" + pPlain->FormatArg("MessageID") +
                                "\r\n\tchild:(x:1)\r\n\tzeta:1\r\n");
}

TEST(Objects, AStringEndsAtItsFirstZero)
{
    const Ref<IArguments> p = NewArguments();
    Variant key = Variant::Text(nullptr), value = Variant::Text(nullptr);
    key.bstrVal = SysAllocStringLen(OLESTR("ab\0cd"), 5);
    value.bstrVal = SysAllocStringLen(OLESTR("xy\0z"), 4);
    EXPECT_TRUE(Told([&](VARIANT_BOOL* pb) { return p->AddItem(&key, &value, pb); }));
    EXPECT_EQ(Content(p.Get()), "ab=8:xy;");
}

}  // namespace
