// Late bound clients: names, numbers and arguments through IDispatch.
#include "tests/component/Support.h"

namespace {

// One client's view of an object: methods by name, arguments in their order.
class Late
{
public:
    explicit Late(IDispatch* p) : m_p(p) {}

    DISPID IdOf(const OLECHAR* name)
    {
        Wide sName = name;
        LPOLESTR psz = sName.data();
        DISPID id = -99;
        m_hr = m_p->GetIDsOfNames(IID_NULL, &psz, 1, LOCALE_USER_DEFAULT, &id);
        return id;
    }

    // The result as text, or the code of a failure.
    std::string Call(const OLECHAR* name, std::vector<Variant> args = {})
    {
        const DISPID id = IdOf(name);
        return FAILED(m_hr) ? Code(m_hr) : Call(id, std::move(args));
    }

    std::string Call(DISPID id, std::vector<Variant> args, WORD wFlags = DISPATCH_METHOD)
    {
        std::vector<VARIANTARG> reversed(args.rbegin(), args.rend());
        DISPPARAMS params{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
        m_uArgErr = 77;
        m_result.reset(new Variant);
        EXCEPINFO exception{};
        m_hr = m_p->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, wFlags, &params, m_result.get(), &exception,
                           &m_uArgErr);
        if (m_hr == DISP_E_EXCEPTION)
            return "exception " + Code(exception.scode);
        return FAILED(m_hr)              ? Code(m_hr)
               : m_result->vt == VT_BSTR ? "8:" + ToText(m_result->bstrVal)
                                         : Told(*m_result);
    }

    static std::string Code(HRESULT hr)
    {
        char sz[16];
        snprintf(sz, sizeof sz, "%08X", static_cast<unsigned int>(hr));
        return sz;
    }

    IDispatch* m_p;
    HRESULT m_hr = S_OK;
    UINT m_uArgErr = 77;
    std::unique_ptr<Variant> m_result;
};

Variant Text(const OLECHAR* psz) { return Variant::Text(psz); }

TEST(Invoke, NamesAreThoseOfTheObjectsOwnInterface)
{
    const Ref<IArg> pArg = NewArg();
    const Ref<IArguments> pArguments = NewArguments();
    Late arg(pArg.Get()), arguments(pArguments.Get());
    EXPECT_EQ(arg.IdOf(OLESTR("SetValue")), 1);
    EXPECT_EQ(arguments.IdOf(OLESTR("SetValue")), 5);
    EXPECT_EQ(arguments.IdOf(OLESTR("additem")), 1);
    EXPECT_EQ(arguments.IdOf(OLESTR("Pack")), DISPID_UNKNOWN);
    EXPECT_EQ(arguments.m_hr, DISP_E_UNKNOWNNAME);
    EXPECT_EQ(pArguments->GetIDsOfNames(IID_NULL, nullptr, 1, 0, nullptr), E_POINTER);
}

// Every method of both interfaces once, in an order that tells a wrong slot from the right one.
TEST(Invoke, EveryMethodReachesItsOwn)
{
    const Ref<IArguments> p = NewArguments(), pChild = NewArguments();
    Late late(p.Get());
    EXPECT_EQ(late.Call(OLESTR("AddItem"), {Text(OLESTR("InvokeID")), Number(5)}), "11:-1");
    EXPECT_EQ(late.Call(OLESTR("SetValue"), {Text(OLESTR("words")), Text(OLESTR("abc"))}), "11:-1");
    EXPECT_EQ(late.Call(OLESTR("AddItem"), {Text(OLESTR("child")), Variant::Object(pChild.Get())}), "11:-1");
    EXPECT_EQ(late.Call(OLESTR("NumElements")), "3:3");
    EXPECT_EQ(late.Call(OLESTR("IsValid"), {Number(0)}), "11:-1");
    EXPECT_EQ(late.Call(OLESTR("IsValid"), {Number(1)}), "11:0");
    EXPECT_EQ(late.Call(OLESTR("SetElement"), {Number(1), Short(6)}), "11:-1");
    EXPECT_EQ(late.Call(OLESTR("GetElement"), {Number(1)}), "2:6");
    EXPECT_EQ(late.Call(OLESTR("GetElementKey"), {Number(1)}), "8:InvokeID");
    EXPECT_EQ(late.Call(OLESTR("GetValueInt"), {Number(0)}), "3:6");
    EXPECT_EQ(late.Call(OLESTR("GetValueString"), {Text(OLESTR("words"))}), "8:abc");
    EXPECT_EQ(late.Call(OLESTR("GetValueBool"), {Number(0)}), "11:-1");
    EXPECT_EQ(late.Call(OLESTR("GetClassID")), "3:6");
    EXPECT_EQ(late.Call(OLESTR("DumpArgs")),
              "8:Arguments contains 3 Args \r\n\tInvokeID:6\r\n\tchild:()\r\n\twords:abc\r\n");
    EXPECT_EQ(late.Call(OLESTR("GetValueArray"), {Text(OLESTR("child"))}), "9:");
    EXPECT_EQ(Late(late.m_result->pdispVal).Call(OLESTR("AddItem"), {Text(OLESTR("x")), Number(1)}), "11:-1");
    EXPECT_EQ(Content(pChild.Get()), "x=22:1;");
    EXPECT_EQ(late.Call(OLESTR("Clone")), "9:");
    EXPECT_EQ(Late(late.m_result->pdispVal).Call(OLESTR("NumElements")), "3:3");

    EXPECT_EQ(late.Call(OLESTR("GetValue"), {Number(0)}), "9:");
    const std::unique_ptr<Variant> held = std::move(late.m_result);
    Late arg(held->pdispVal);
    EXPECT_EQ(arg.Call(OLESTR("SetValue"), {Text(OLESTR("12"))}), "11:-1");
    EXPECT_EQ(arg.Call(OLESTR("GetClassID")), "3:1");
    EXPECT_EQ(arg.Call(OLESTR("GetValue")), "8:12");
    EXPECT_EQ(arg.Call(OLESTR("GetValueInt")), "3:12");
    EXPECT_EQ(arg.Call(OLESTR("GetValueString")), "8:12");
    EXPECT_EQ(arg.Call(OLESTR("GetType")), "3:6");
    EXPECT_EQ(arg.Call(OLESTR("DumpArg")), "8:12");
    EXPECT_EQ(arg.Call(OLESTR("GetValueArray")), "exception 80004005");
    EXPECT_EQ(arg.Call(OLESTR("GetValueBool")), "exception 80004005");
    EXPECT_EQ(arg.Call(OLESTR("Clone")), "9:");
    EXPECT_EQ(Late(arg.m_result->pdispVal).Call(OLESTR("GetValueInt")), "3:12");

    EXPECT_EQ(late.Call(OLESTR("RemoveItem"), {Text(OLESTR("words"))}), "11:-1");
    EXPECT_EQ(late.Call(OLESTR("Clear")), "0:");
    EXPECT_EQ(late.Call(OLESTR("NumElements")), "3:0");
    EXPECT_EQ(late.Call(OLESTR("Initialize")), "0:");
}

// A script's variables arrive by reference, and its large numbers as doubles.
TEST(Invoke, VariantsByReferenceAreUnwrapped)
{
    const Ref<IArguments> p = NewArguments();
    Late late(p.Get());
    Variant key = Text(OLESTR("k")), value = Short(7), nothing, real = Variant::Real(1.5);
    const auto ref = [](Variant& v) {
        Variant r;
        r.vt = VT_BYREF | VT_VARIANT;
        r.pvarVal = &v;
        return r;
    };
    EXPECT_EQ(late.Call(OLESTR("AddItem"), {ref(key), ref(value)}), "11:-1");
    EXPECT_EQ(Content(p.Get()), "k=2:7;");
    EXPECT_EQ(late.Call(OLESTR("AddItem"), {ref(key), ref(real)}), "11:0");
    EXPECT_EQ(late.Call(OLESTR("AddItem"), {ref(key), ref(nothing)}), "11:0");
    EXPECT_EQ(late.Call(OLESTR("GetElement"), {Text(OLESTR("1"))}), "2:7");
    EXPECT_EQ(Content(p.Get()), "k=2:7;");
}

TEST(Invoke, WrongCallsGiveTheirCode)
{
    const Ref<IArguments> p = NewArguments();
    EXPECT_TRUE(Add(p.Get(), OLESTR("k"), Number(1)));
    Late late(p.Get());
    struct
    {
        const char* name;
        DISPID id;
        std::vector<Variant> args;
        WORD wFlags;
        HRESULT hr;
    } const rows[] = {
        {"unknown number", 99, {}, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
        {"number 0", 0, {}, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
        {"property of a method's number", 17, {}, DISPATCH_PROPERTYPUT, DISP_E_MEMBERNOTFOUND},
        {"too few", 1, {Number(1)}, DISPATCH_METHOD, DISP_E_BADPARAMCOUNT},
        {"none", 1, {}, DISPATCH_METHOD, DISP_E_BADPARAMCOUNT},
        {"too many", 2, {Number(1), Number(2)}, DISPATCH_METHOD, DISP_E_BADPARAMCOUNT},
        {"text for a position", 6, {Text(OLESTR("first"))}, DISPATCH_METHOD, DISP_E_TYPEMISMATCH},
        {"too large a position", 6, {Variant::Real(1e12)}, DISPATCH_METHOD, DISP_E_OVERFLOW},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(late.Call(row.id, row.args, row.wFlags), Late::Code(row.hr)) << row.name;
        EXPECT_EQ(Content(p.Get()), "k=22:1;") << row.name;
    }
    EXPECT_EQ(p->Invoke(17, IID_NULL, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(Content(p.Get()), "k=22:1;");
}

// As the vendor's manual has it; not every system that runs Windows programs keeps to these.
TEST(InvokeManual, WrongCallsGiveTheirCodeAndTheArgument)
{
    const Ref<IArguments> p = NewArguments();
    EXPECT_TRUE(Add(p.Get(), OLESTR("k"), Number(1)));
    Late late(p.Get());
    EXPECT_EQ(late.Call(17, {Number(1)}), Late::Code(DISP_E_BADPARAMCOUNT));
    EXPECT_EQ(late.m_uArgErr, 77u) << "as it was";
    EXPECT_EQ(late.Call(6, {Text(OLESTR("first"))}), Late::Code(DISP_E_TYPEMISMATCH));
    EXPECT_EQ(late.m_uArgErr, 0u);
    EXPECT_EQ(late.Call(4, {Text(OLESTR("first")), Number(2)}), Late::Code(DISP_E_TYPEMISMATCH));
    EXPECT_EQ(late.m_uArgErr, 1u);
    Variant args[] = {Number(8), Text(OLESTR("named"))};
    DISPID bad[] = {7, 0};
    DISPPARAMS params{args, bad, 2, 2};
    EXPECT_EQ(p->Invoke(1, IID_NULL, 0, DISPATCH_METHOD, &params, nullptr, nullptr, nullptr),
              DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(Content(p.Get()), "k=22:1;");
}

TEST(Invoke, NamedArguments)
{
    const Ref<IArguments> p = NewArguments();
    OLECHAR method[] = OLESTR("AddItem"), key[] = OLESTR("pKey"), value[] = OLESTR("pValue"),
            wrong[] = OLESTR("pNone");
    LPOLESTR names[] = {method, value, key};
    DISPID ids[3] = {};
    ASSERT_EQ(p->GetIDsOfNames(IID_NULL, names, 3, 0, ids), S_OK);
    Variant args[] = {Number(8), Text(OLESTR("named"))};
    DISPPARAMS params{args, ids + 1, 2, 2};
    Variant result;
    EXPECT_EQ(p->Invoke(ids[0], IID_NULL, 0, DISPATCH_METHOD, &params, &result, nullptr, nullptr), S_OK);
    EXPECT_EQ(Told(result), "11:-1");
    EXPECT_EQ(Content(p.Get()), "named=22:8;");

    LPOLESTR wrongNames[] = {method, wrong};
    EXPECT_EQ(p->GetIDsOfNames(IID_NULL, wrongNames, 2, 0, ids), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(ids[1], DISPID_UNKNOWN);
    EXPECT_EQ(Content(p.Get()), "named=22:8;");
}

}  // namespace
