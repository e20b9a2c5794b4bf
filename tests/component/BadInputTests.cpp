// Null pointers, positions and keys out of range: each its answer, and the container as it was.
#include "tests/component/Support.h"

#include <climits>
#include <functional>

namespace {

TEST(BadInput, NullOutParametersOfAContainer)
{
    const Ref<IArguments> p = NewArguments();
    EXPECT_TRUE(Add(p.Get(), OLESTR("k"), Number(1)));
    Variant key = Variant::Text(OLESTR("k")), value = Number(2);
    struct
    {
        const char* name;
        HRESULT hr;
        std::function<HRESULT()> call;
    } const rows[] = {
        {"AddItem", E_POINTER, [&] { return p->AddItem(&key, &value, nullptr); }},
        {"SetValue", E_POINTER, [&] { return p->SetValue(&key, &value, nullptr); }},
        {"SetElement", E_POINTER, [&] { return p->SetElement(1, &value, nullptr); }},
        {"RemoveItem", E_POINTER, [&] { return p->RemoveItem(&key, nullptr); }},
        {"IsValid", E_POINTER, [&] { return p->IsValid(&key, nullptr); }},
        {"GetElement", S_OK, [&] { return p->GetElement(1, nullptr); }},
        {"GetElementKey", S_OK, [&] { return p->GetElementKey(1, nullptr); }},
        {"GetValue", S_OK, [&] { return p->GetValue(&key, nullptr); }},
        {"NumElements", E_POINTER, [&] { return p->NumElements(nullptr); }},
        {"GetClassID", E_POINTER, [&] { return p->GetClassID(nullptr); }},
        {"DumpArgs", E_POINTER, [&] { return p->DumpArgs(nullptr); }},
        {"GetValueInt", E_INVALIDARG, [&] { return p->GetValueInt(&key, nullptr); }},
        {"GetValueString", E_INVALIDARG, [&] { return p->GetValueString(&key, nullptr); }},
        {"GetValueBool", E_INVALIDARG, [&] { return p->GetValueBool(&key, nullptr); }},
        {"GetValueArray", E_POINTER, [&] { return p->GetValueArray(&key, nullptr); }},
        {"Clone", E_FAIL, [&] { return p->Clone(nullptr); }},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.call(), row.hr) << row.name;
        EXPECT_EQ(Content(p.Get()), "k=22:1;") << row.name;
    }
}

TEST(BadInput, NullInParametersOfAContainer)
{
    const Ref<IArguments> p = NewArguments();
    EXPECT_TRUE(Add(p.Get(), OLESTR("k"), Number(1)));
    Variant key = Variant::Text(OLESTR("k")), value = Number(2);
    VARIANT_BOOL b;
    struct
    {
        const char* name;
        HRESULT hr;
        std::function<HRESULT()> call;
    } const rows[] = {
        {"AddItem, key", S_OK, [&] { return p->AddItem(nullptr, &value, &b); }},
        {"AddItem, value", S_OK, [&] { return p->AddItem(&key, nullptr, &b); }},
        {"SetValue, key", S_OK, [&] { return p->SetValue(nullptr, &value, &b); }},
        {"SetValue, value", S_OK, [&] { return p->SetValue(&key, nullptr, &b); }},
        {"SetElement", S_OK, [&] { return p->SetElement(1, nullptr, &b); }},
        {"RemoveItem", S_OK, [&] { return p->RemoveItem(nullptr, &b); }},
        {"IsValid", S_OK, [&] { return p->IsValid(nullptr, &b); }},
    };
    for (const auto& row : rows) {
        b = 7;
        EXPECT_EQ(row.call(), row.hr) << row.name;
        EXPECT_EQ(b, VARIANT_FALSE) << row.name;
        EXPECT_EQ(Content(p.Get()), "k=22:1;") << row.name;
    }

    int i = 7;
    BSTR text = reinterpret_cast<BSTR>(1);
    IArg* pArg = reinterpret_cast<IArg*>(1);
    IArguments* pArray = reinterpret_cast<IArguments*>(1);
    EXPECT_EQ(p->GetValueInt(nullptr, &i), E_INVALIDARG);
    EXPECT_EQ(i, 7);
    EXPECT_EQ(p->GetValueBool(nullptr, &b), E_INVALIDARG);
    EXPECT_EQ(p->GetValueString(nullptr, &text), E_INVALIDARG);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(p->GetValue(nullptr, &pArg), S_OK);
    EXPECT_EQ(pArg, reinterpret_cast<IArg*>(1));
    EXPECT_EQ(p->GetValueArray(nullptr, &pArray), E_POINTER);
    EXPECT_EQ(pArray, reinterpret_cast<IArguments*>(1));
}

TEST(BadInput, NullPointersOfAValue)
{
    const Ref<IArg> p = NewArg();
    Variant value = Number(2);
    VARIANT_BOOL b = 7;
    struct
    {
        const char* name;
        HRESULT hr;
        std::function<HRESULT()> call;
    } const rows[] = {
        {"SetValue, result", E_POINTER, [&] { return p->SetValue(&value, nullptr); }},
        {"SetValue, value", E_POINTER, [&] { return p->SetValue(nullptr, &b); }},
        {"GetClassID", E_POINTER, [&] { return p->GetClassID(nullptr); }},
        {"GetValue", E_POINTER, [&] { return p->GetValue(nullptr); }},
        {"GetValueInt", E_POINTER, [&] { return p->GetValueInt(nullptr); }},
        {"GetValueString", E_POINTER, [&] { return p->GetValueString(nullptr); }},
        {"GetValueArray", E_POINTER, [&] { return p->GetValueArray(nullptr); }},
        {"GetValueBool", E_POINTER, [&] { return p->GetValueBool(nullptr); }},
        {"GetType", E_POINTER, [&] { return p->GetType(nullptr); }},
        {"DumpArg", E_POINTER, [&] { return p->DumpArg(nullptr); }},
        {"Clone", E_FAIL, [&] { return p->Clone(nullptr); }},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.call(), row.hr) << row.name;
    EXPECT_EQ(b, VARIANT_FALSE);
    int nType = -1;
    EXPECT_EQ(p->GetType(&nType), S_OK);
    EXPECT_EQ(nType, ARG_NOTSET);
}

TEST(BadInput, PositionsOutOfRange)
{
    const Ref<IArguments> p = NewArguments();
    EXPECT_TRUE(Add(p.Get(), OLESTR("k"), Number(1)));
    for (const int i : {0, 2, -1, INT_MIN, INT_MAX}) {
        VARIANT v = Number(9);
        BSTR key = reinterpret_cast<BSTR>(1);
        EXPECT_EQ(p->GetElement(i, &v), S_OK);
        EXPECT_EQ(v.vt, VT_EMPTY) << i;
        EXPECT_EQ(p->GetElementKey(i, &key), S_OK);
        EXPECT_EQ(key, nullptr) << i;
    }
}

// A miss leaves what the caller had, but for the string, which is cleared first.
TEST(BadInput, MissesLeaveTheCallersValues)
{
    const Ref<IArguments> p = NewArguments();
    EXPECT_TRUE(Add(p.Get(), OLESTR("there"), Variant::Text(OLESTR("no number"))));
    for (const OLECHAR* name : {OLESTR("missing"), OLESTR("InvokeID"), OLESTR("")}) {
        Variant key = Variant::Text(name);
        int i = 7;
        VARIANT_BOOL b = 7;
        IArg* pArg = reinterpret_cast<IArg*>(1);
        IArguments* pArray = reinterpret_cast<IArguments*>(1);
        BSTR text = reinterpret_cast<BSTR>(1);
        EXPECT_EQ(p->GetValueInt(&key, &i), S_OK);
        EXPECT_EQ(p->GetValueBool(&key, &b), S_OK);
        EXPECT_EQ(p->GetValue(&key, &pArg), S_OK);
        EXPECT_EQ(p->GetValueArray(&key, &pArray), S_OK);
        EXPECT_EQ(p->GetValueString(&key, &text), S_OK);
        EXPECT_EQ(i, 7);
        EXPECT_EQ(b, 7);
        EXPECT_EQ(pArg, reinterpret_cast<IArg*>(1));
        EXPECT_EQ(pArray, reinterpret_cast<IArguments*>(1));
        EXPECT_EQ(text, nullptr);
    }
    EXPECT_EQ(IntOf(p.Get(), OLESTR("there"), 7), 7);
}

}  // namespace
