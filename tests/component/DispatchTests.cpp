// Every kind of key by every kind of value, for every operation, against the plain container.
#include "tests/component/Support.h"

#include <memory>
#include <type_traits>
#include <variant>

namespace {

// What the plain container is given for a key or value; monostate: it is refused, and given nothing.
using PlainKey = std::variant<std::monostate, int, std::string>;
using PlainValue = std::variant<std::monostate, int, unsigned int, short, unsigned short, bool, std::string,
                                std::shared_ptr<Arg>>;

struct Key
{
    const char* name;
    VARIANT variant;
    PlainKey write;    // AddItem, SetValue, RemoveItem
    PlainKey isValid;  // and for IsValid
    PlainKey read;     // and for the reads
};

struct Value
{
    const char* name;
    VARIANT variant;
    PlainValue keyed;    // AddItem, SetValue
    PlainValue element;  // SetElement
};

VARIANT Raw(int vt, LONG64 ll)
{
    VARIANT v{};
    v.vt = static_cast<VARTYPE>(vt);
    v.llVal = ll;
    return v;
}

VARIANT Pointing(int vt, const void* p)
{
    VARIANT v{};
    v.vt = static_cast<VARTYPE>(vt);
    v.byref = const_cast<void*>(p);
    return v;
}

std::shared_ptr<Arg> Plain(Arg* p)
{
    return {p, [](Arg* pArg) { pArg->Release(); }};
}

// What variants refer to, and all rows.
class Rows
{
public:
    Rows()
    {
        Variant seven = Number(7);
        VARIANT_BOOL b;
        EXPECT_EQ(m_pArg->SetValue(&seven, &b), S_OK);
        Variant keyword = Variant::Text(OLESTR("InvokeID"));
        EXPECT_EQ(m_pKeyArg->SetValue(&keyword, &b), S_OK);
        EXPECT_TRUE(Add(m_pArguments.Get(), OLESTR("inner"), Number(1)));
    }

    std::vector<Key> Keys()
    {
        const std::monostate no;
        const std::string keyword = "InvokeID", text = "free";
        return {
            {"I2", Raw(VT_I2, 0), 0, no, 0},
            {"I2, negative", Raw(VT_I2, -1), no, no, -1},
            {"I2 of 0xFFFF0005", Raw(VT_I2, LONG64{0xFFFF0005}), 5, no, 5},
            {"I4", Raw(VT_I4, 0), 0, 0, 0},
            {"I4, last", Raw(VT_I4, 731), 731, 731, 731},
            {"I4, beyond", Raw(VT_I4, 732), no, no, 732},
            {"I4, negative", Raw(VT_I4, -1), no, no, -1},
            {"INT", Raw(VT_INT, 0), 0, 0, 0},
            {"INT, beyond", Raw(VT_INT, 732), no, no, 732},
            {"BSTR, keyword", Pointing(VT_BSTR, static_cast<BSTR>(m_keyword)), keyword, keyword, keyword},
            {"BSTR, free", Pointing(VT_BSTR, static_cast<BSTR>(m_text)), text, text, text},
            {"BSTR, empty", Pointing(VT_BSTR, static_cast<BSTR>(m_empty)), no, no, std::string()},
            {"BSTR, null", Pointing(VT_BSTR, nullptr), no, no, std::string()},
            {"BYREF BSTR", Pointing(VT_BYREF | VT_BSTR, &m_text), text, no, text},
            {"BYREF BSTR, keyword", Pointing(VT_BYREF | VT_BSTR, &m_keyword), keyword, no, keyword},
            {"BYREF BSTR, empty", Pointing(VT_BYREF | VT_BSTR, &m_empty), no, no, std::string()},
            {"BYREF BSTR, to null", Pointing(VT_BYREF | VT_BSTR, &m_nullText), no, no, std::string()},
            {"BYREF BSTR, null", Pointing(VT_BYREF | VT_BSTR, nullptr), no, no, no},
            {"DISPATCH, value", Pointing(VT_DISPATCH, m_pKeyArg.Get()), no, keyword, no},
            {"DISPATCH, container", Pointing(VT_DISPATCH, m_pArguments.Get()), no, no, no},
            {"DISPATCH, null", Pointing(VT_DISPATCH, nullptr), no, no, no},
            {"EMPTY", Raw(VT_EMPTY, 0), no, no, no},
            {"R8", Raw(VT_R8, 0), no, no, no},
            {"BOOL", Raw(VT_BOOL, 0), no, no, no},
            {"UI1", Raw(VT_UI1, 0), no, no, no},
            {"UI2", Raw(VT_UI2, 0), no, no, no},
            {"UI4", Raw(VT_UI4, 0), no, no, no},
            {"UINT", Raw(VT_UINT, 0), no, no, no},
            {"I8", Raw(VT_I8, 0), no, no, no},
            {"BYREF I2", Pointing(VT_BYREF | VT_I2, &m_short), no, no, no},
            {"BYREF I4", Pointing(VT_BYREF | VT_I4, &m_long), no, no, no},
            {"BYREF DISPATCH", Pointing(VT_BYREF | VT_DISPATCH, &m_pArgDispatch), no, no, no},
            {"BYREF VARIANT", Pointing(VT_BYREF | VT_VARIANT, &m_variant), no, no, no},
        };
    }

    std::vector<Value> Values()
    {
        const std::monostate no;
        const std::string text = "some text";
        const short s = -5;
        const auto pArg = Plain(Arg::Create());
        pArg->SetValue(7);
        const auto pArray =
            std::shared_ptr<Arguments>(Arguments::CreateInstance(), [](Arguments* p) { p->Release(); });
        pArray->AddItem("inner", 1);
        const std::shared_ptr<Arg> pArrayArg = pArray;
        return {
            {"I2", Raw(VT_I2, s), s, s},
            {"I4", Raw(VT_I4, -100000), -100000, -100000},
            {"INT", Raw(VT_INT, 100000), 100000, 100000},
            {"UI2", Raw(VT_UI2, 65535), static_cast<unsigned short>(65535),
             static_cast<unsigned short>(65535)},
            {"UINT", Raw(VT_UINT, LONG64{0xFFFFFFFF}), 0xFFFFFFFFu, 0xFFFFFFFFu},
            {"BOOL, true", Raw(VT_BOOL, -1), true, true},
            {"BOOL, false", Raw(VT_BOOL, 0), false, false},
            {"BOOL, 1", Raw(VT_BOOL, 1), false, false},
            {"BSTR", Pointing(VT_BSTR, static_cast<BSTR>(m_value)), text, text},
            {"BSTR, empty", Pointing(VT_BSTR, static_cast<BSTR>(m_empty)), no, no},
            {"BSTR, null", Pointing(VT_BSTR, nullptr), no, no},
            {"DISPATCH, value", Pointing(VT_DISPATCH, m_pArg.Get()), pArg, pArg},
            {"DISPATCH, container", Pointing(VT_DISPATCH, m_pArguments.Get()), pArrayArg, pArrayArg},
            {"DISPATCH, null", Pointing(VT_DISPATCH, nullptr), no, no},
            {"DISPATCH, stranger", Pointing(VT_DISPATCH, &m_stranger), no, no},
            {"BYREF I2", Pointing(VT_BYREF | VT_I2, &m_short), m_short, no},
            {"BYREF I4", Pointing(VT_BYREF | VT_I4, &m_long), static_cast<int>(m_long), no},
            {"BYREF BSTR", Pointing(VT_BYREF | VT_BSTR, &m_value), text, no},
            {"BYREF BSTR, empty", Pointing(VT_BYREF | VT_BSTR, &m_empty), no, no},
            {"BYREF DISPATCH, value", Pointing(VT_BYREF | VT_DISPATCH, &m_pArgDispatch), pArg, no},
            {"BYREF DISPATCH, container", Pointing(VT_BYREF | VT_DISPATCH, &m_pArgumentsDispatch), pArrayArg,
             no},
            {"BYREF DISPATCH, to null", Pointing(VT_BYREF | VT_DISPATCH, &m_pNoDispatch), no, no},
            {"BYREF I2, null", Pointing(VT_BYREF | VT_I2, nullptr), no, no},
            {"BYREF I4, null", Pointing(VT_BYREF | VT_I4, nullptr), no, no},
            {"BYREF BSTR, null", Pointing(VT_BYREF | VT_BSTR, nullptr), no, no},
            {"BYREF DISPATCH, null", Pointing(VT_BYREF | VT_DISPATCH, nullptr), no, no},
            {"EMPTY", Raw(VT_EMPTY, 0), no, no},
            {"NULL", Raw(VT_NULL, 0), no, no},
            {"R4", Raw(VT_R4, 0), no, no},
            {"R8", Raw(VT_R8, 0), no, no},
            {"CY", Raw(VT_CY, 0), no, no},
            {"DATE", Raw(VT_DATE, 0), no, no},
            {"ERROR", Raw(VT_ERROR, 0), no, no},
            {"UNKNOWN", Pointing(VT_UNKNOWN, m_pArg.Get()), no, no},
            {"I1", Raw(VT_I1, 1), no, no},
            {"UI1", Raw(VT_UI1, 1), no, no},
            {"UI4", Raw(VT_UI4, 1), no, no},
            {"I8", Raw(VT_I8, 1), no, no},
            {"UI8", Raw(VT_UI8, 1), no, no},
            {"BYREF BOOL", Pointing(VT_BYREF | VT_BOOL, &m_short), no, no},
            {"BYREF INT", Pointing(VT_BYREF | VT_INT, &m_long), no, no},
            {"BYREF UI2", Pointing(VT_BYREF | VT_UI2, &m_short), no, no},
            {"BYREF VARIANT", Pointing(VT_BYREF | VT_VARIANT, &m_variant), no, no},
            {"ARRAY I4", Pointing(VT_ARRAY | VT_I4, nullptr), no, no},
            {"no such type", Raw(0x1003, 1), no, no},
        };
    }

private:
    String m_keyword{OLESTR("INVOKEID")}, m_text{OLESTR("free")}, m_empty{OLESTR("")},
        m_value{OLESTR("some text")};
    BSTR m_nullText = nullptr;
    short m_short = -77;
    LONG m_long = 88888;
    VARIANT m_variant = Raw(VT_I4, 1);
    Ref<IArg> m_pArg = NewArg(), m_pKeyArg = NewArg();
    Ref<IArguments> m_pArguments = NewArguments();
    IDispatch* m_pArgDispatch = m_pArg.Get();
    IDispatch* m_pArgumentsDispatch = m_pArguments.Get();
    IDispatch* m_pNoDispatch = nullptr;
    Object m_stranger;
};

// The two containers that every call goes to: through the component, and plain.
struct Pair
{
    explicit Pair(bool bFilled)
    {
        if (!bFilled)
            return;
        for (const OLECHAR* key : {OLESTR("InvokeID"), OLESTR("free"), OLESTR("Other")})
            EXPECT_TRUE(Add(pComponent.Get(), key, Number(1)));
        for (const char* key : {"InvokeID", "free", "Other"})
            pPlain->AddItem(key, 1);
        Variant five = Short(5), last = Number(731), one = Number(1);
        VARIANT_BOOL b;
        EXPECT_EQ(pComponent->AddItem(&five, &one, &b), S_OK);
        EXPECT_EQ(pComponent->AddItem(&last, &one, &b), S_OK);
        pPlain->AddItem(5, 1);
        pPlain->AddItem(731, 1);
    }

    Ref<IArguments> pComponent = NewArguments();
    ArgumentsHolder pPlain{Arguments::CreateInstance()};
};

// One call of the plain container with either kind of key and any kind of value; false, and no call, where it
// is refused.
template <class Call> bool WithKey(const PlainKey& key, Call call)
{
    if (const int* pi = std::get_if<int>(&key))
        return call(*pi);
    const std::string* ps = std::get_if<std::string>(&key);
    return ps != nullptr && call(ps->c_str());
}

template <class Call> bool WithValue(const PlainValue& value, Call call)
{
    const auto visit = [&](const auto& v) {
        using Type = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<Type, std::monostate>)
            return false;
        else if constexpr (std::is_same_v<Type, std::string>)
            return call(v.c_str());
        else if constexpr (std::is_same_v<Type, std::shared_ptr<Arg>>)
            return call(v.get());
        else
            return call(v);
    };
    return std::visit(visit, value);
}

bool PlainAdd(Arguments& rArgs, const PlainKey& key, const PlainValue& value)
{
    return WithKey(key,
                   [&](auto k) { return WithValue(value, [&](auto v) { return rArgs.AddItem(k, v); }); });
}

bool PlainSet(Arguments& rArgs, const PlainKey& key, const PlainValue& value)
{
    return WithKey(key,
                   [&](auto k) { return WithValue(value, [&](auto v) { return rArgs.SetValue(k, v); }); });
}

void WriteEveryCell(HRESULT (STDMETHODCALLTYPE IArguments::*write)(VARIANT*, VARIANT*, VARIANT_BOOL*),
                    bool (*plainWrite)(Arguments&, const PlainKey&, const PlainValue&))
{
    Rows rows;
    for (const bool bFilled : {false, true})
        for (const Key& key : rows.Keys())
            for (const Value& value : rows.Values()) {
                SCOPED_TRACE(std::string("key ") + key.name + ", value " + value.name +
                             (bFilled ? ", filled" : ""));
                Pair pair(bFilled);
                VARIANT k = key.variant, v = value.variant;
                VARIANT_BOOL bSuccess = 7;
                EXPECT_EQ((pair.pComponent.Get()->*write)(&k, &v, &bSuccess), S_OK);
                const bool bExpected = plainWrite(*pair.pPlain, key.write, value.keyed);
                EXPECT_EQ(bSuccess, bExpected ? VARIANT_TRUE : VARIANT_FALSE);
                EXPECT_EQ(Content(pair.pComponent.Get()), Content(*pair.pPlain));
            }
}

TEST(Dispatch, AddItem) { WriteEveryCell(&IArguments::AddItem, &PlainAdd); }
TEST(Dispatch, SetValue) { WriteEveryCell(&IArguments::SetValue, &PlainSet); }

TEST(Dispatch, SetElement)
{
    Rows rows;
    for (const int iIndex : {-1, 0, 1, 4, 5, 6})
        for (const Value& value : rows.Values()) {
            SCOPED_TRACE(std::string("position ") + std::to_string(iIndex) + ", value " + value.name);
            Pair pair(true);
            VARIANT v = value.variant;
            VARIANT_BOOL bSuccess = 7;
            EXPECT_EQ(pair.pComponent->SetElement(iIndex, &v, &bSuccess), S_OK);
            const bool bExpected =
                WithValue(value.element, [&](auto plain) { return pair.pPlain->SetElement(iIndex, plain); });
            EXPECT_EQ(bSuccess, bExpected ? VARIANT_TRUE : VARIANT_FALSE);
            EXPECT_EQ(Content(pair.pComponent.Get()), Content(*pair.pPlain));
        }
}

TEST(Dispatch, RemoveItemAndIsValid)
{
    Rows rows;
    for (const bool bFilled : {false, true})
        for (const Key& key : rows.Keys()) {
            SCOPED_TRACE(std::string("key ") + key.name + (bFilled ? ", filled" : ""));
            Pair pair(bFilled);
            Arguments& rPlain = *pair.pPlain;
            VARIANT k = key.variant;
            VARIANT_BOOL b = 7;
            EXPECT_EQ(pair.pComponent->IsValid(&k, &b), S_OK);
            EXPECT_EQ(b == VARIANT_TRUE,
                      WithKey(key.isValid, [&](auto plain) { return rPlain.IsValid(plain); }));
            b = 7;
            EXPECT_EQ(pair.pComponent->RemoveItem(&k, &b), S_OK);
            EXPECT_EQ(b == VARIANT_TRUE,
                      WithKey(key.write, [&](auto plain) { return rPlain.RemoveItem(plain); }));
            EXPECT_EQ(Content(pair.pComponent.Get()), Content(rPlain));
        }
}

// A value of every kind under a keyword and under a text, read by every kind of key in every way.
TEST(Dispatch, Reads)
{
    Rows rows;
    for (const Value& value : rows.Values())
        for (const Key& key : rows.Keys()) {
            SCOPED_TRACE(std::string("value ") + value.name + ", key " + key.name);
            Pair pair(true);
            Arguments& rPlain = *pair.pPlain;
            for (const OLECHAR* name : {OLESTR("InvokeID"), OLESTR("free")}) {
                Variant k = Variant::Text(name);
                VARIANT v = value.variant;
                VARIANT_BOOL bIgnored;
                EXPECT_EQ(pair.pComponent->AddItem(&k, &v, &bIgnored), S_OK);
            }
            for (const std::string name : {"InvokeID", "free"})
                PlainAdd(rPlain, PlainKey(name), value.keyed);

            VARIANT k = key.variant;
            int i = -12345, iPlain = -12345;
            EXPECT_EQ(pair.pComponent->GetValueInt(&k, &i), S_OK);
            WithKey(key.read, [&](auto plain) { return rPlain.GetValueInt(plain, &iPlain); });
            EXPECT_EQ(i, iPlain);

            VARIANT_BOOL b = 7;
            bool bPlain = false;
            EXPECT_EQ(pair.pComponent->GetValueBool(&k, &b), S_OK);
            const bool bFound =
                WithKey(key.read, [&](auto plain) { return rPlain.GetValueBool(plain, &bPlain); });
            EXPECT_EQ(b, !bFound ? 7 : bPlain ? VARIANT_TRUE : VARIANT_FALSE);

            String text;
            std::string sPlain = "(null)";
            EXPECT_EQ(pair.pComponent->GetValueString(&k, &text), S_OK);
            WithKey(key.read, [&](auto plain) { return rPlain.GetValueString(plain, &sPlain); });
            EXPECT_EQ(ToText(text), sPlain);

            Ref<IArg> pArg;
            Arg* pPlainArg = nullptr;
            EXPECT_EQ(pair.pComponent->GetValue(&k, pArg.Out()), S_OK);
            WithKey(key.read, [&](auto plain) { return rPlain.GetValue(plain, &pPlainArg); });
            const ArgHolder plainArg(pPlainArg);
            ASSERT_EQ(pArg.Get() != nullptr, pPlainArg != nullptr);
            int nType = -1;
            if (pPlainArg != nullptr) {
                EXPECT_EQ(pArg->GetType(&nType), S_OK);
                EXPECT_EQ(nType, pPlainArg->GetType());
            }

            Ref<IArguments> pArray;
            EXPECT_EQ(pair.pComponent->GetValueArray(&k, pArray.Out()), S_OK);
            ASSERT_EQ(pArray.Get() != nullptr, nType == ARG_ARGARRAY);
            if (pArray.Get() != nullptr) {
                EXPECT_EQ(Content(pArray.Get()), "inner=22:1;");
            }
        }
}

// A number by reference is turned into the number in the caller's own variant; a string and an object stay.
TEST(Dispatch, WhatBecomesOfTheCallersVariant)
{
    short s = -3;
    LONG l = 70000;
    String text(OLESTR("x"));
    BSTR bstr = text;
    const Ref<IArg> pArg = NewArg();
    IDispatch* pDispatch = pArg.Get();
    struct
    {
        VARIANT given;
        const char* left;
    } rows[] = {
        {Pointing(VT_BYREF | VT_I2, &s), "2:-3"},
        {Pointing(VT_BYREF | VT_I4, &l), "3:70000"},
        {Pointing(VT_BYREF | VT_BSTR, &bstr), "16392:"},
        {Pointing(VT_BYREF | VT_DISPATCH, &pDispatch), "16393:"},
        {Pointing(VT_BYREF | VT_I4, nullptr), "16387:"},
    };
    for (auto& row : rows) {
        const Ref<IArguments> p = NewArguments();
        Variant key = Variant::Text(OLESTR("k"));
        VARIANT_BOOL b;
        const void* pRef = row.given.byref;
        EXPECT_EQ(p->SetValue(&key, &row.given, &b), S_OK);
        EXPECT_EQ(Told(row.given), row.left);
        if (V_ISBYREF(&row.given)) {
            EXPECT_EQ(row.given.byref, pRef) << row.left;
        }
    }
    EXPECT_EQ(bstr, static_cast<BSTR>(text));
}

}  // namespace
