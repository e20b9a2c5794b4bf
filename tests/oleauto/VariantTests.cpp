#include "tests/oleauto/Support.h"

#include <cmath>

namespace {

constexpr LONG64 LEAST = static_cast<LONG64>(0x8000000000000000u);
constexpr VARTYPE NO_TYPE = 15;

struct Row
{
    Variant from;
    VARTYPE to;
    HRESULT hr;
    const char* told;  // result
};

template <std::size_t N> void Check(Row (&rows)[N], USHORT wFlags = 0)
{
    for (Row& row : rows) {
        SCOPED_TRACE(Told(row.from) + " to " + std::to_string(row.to));
        Variant v = Variant::Of(VT_I4, 4711);
        EXPECT_EQ(VariantChangeType(&v, &row.from, wFlags, row.to), row.hr);
        EXPECT_EQ(Told(v), row.hr == S_OK ? row.told : "3:4711");  // untouched by a failure
        Variant same(row.from);
        EXPECT_EQ(VariantChangeType(&same, &same, wFlags, row.to), row.hr);  // in place
        EXPECT_EQ(Told(same), row.hr == S_OK ? row.told : Told(row.from));
    }
}

TEST(VariantChangeType, WidthsOfIntegers)
{
    Row rows[] = {
        {Variant::Of(VT_I4, 32767), VT_I2, S_OK, "2:32767"},
        {Variant::Of(VT_I4, 32768), VT_I2, DISP_E_OVERFLOW, ""},
        {Variant::Of(VT_I4, -32768), VT_I2, S_OK, "2:-32768"},
        {Variant::Of(VT_I4, -32769), VT_I2, DISP_E_OVERFLOW, ""},
        {Variant::Of(VT_INT, -32769), VT_I2, DISP_E_OVERFLOW, ""},
        {Variant::Of(VT_I4, 65535), VT_UI2, S_OK, "18:65535"},
        {Variant::Of(VT_I4, 65536), VT_UI2, DISP_E_OVERFLOW, ""},
        {Variant::Of(VT_I4, -1), VT_UI2, DISP_E_OVERFLOW, ""},
        {Variant::Of(VT_I2, 255), VT_UI1, S_OK, "17:255"},
        {Variant::Of(VT_I2, 256), VT_UI1, DISP_E_OVERFLOW, ""},
        {Variant::Of(VT_I2, -1), VT_UI1, DISP_E_OVERFLOW, ""},
        {Variant::Of(VT_I2, -129), VT_I1, DISP_E_OVERFLOW, ""},
        {Variant::Of(VT_I2, -128), VT_I1, S_OK, "16:-128"},
        {Variant::Of(VT_I8, 0x80000000), VT_I4, DISP_E_OVERFLOW, ""},
        {Variant::Of(VT_I8, 0x80000000), VT_UI4, S_OK, "19:2147483648"},
        {Variant::Of(VT_I8, -0x80000000LL), VT_INT, S_OK, "22:-2147483648"},
        {Variant::Of(VT_UI8, LEAST), VT_I4, DISP_E_OVERFLOW, ""},
        {Variant::Of(VT_UI4, 0xFFFFFFFF), VT_I8, S_OK, "20:4294967295"},
        {Variant::Of(VT_UINT, 0xFFFFFFFF), VT_I2, DISP_E_OVERFLOW, ""},
        {Variant::Of(VT_UINT, 7), VT_INT, S_OK, "22:7"},
        {Variant::Of(VT_I1, 0x80), VT_I4, S_OK, "3:-128"},
        {Variant::Of(VT_UI1, 0x80), VT_I4, S_OK, "3:128"},
    };
    Check(rows);
}

TEST(VariantChangeType, RealsRoundHalvesToEven)
{
    Row rows[] = {
        {Variant::Real(0.5), VT_I4, S_OK, "3:0"},
        {Variant::Real(1.5), VT_I4, S_OK, "3:2"},
        {Variant::Real(2.5), VT_I2, S_OK, "2:2"},
        {Variant::Real(-2.5), VT_INT, S_OK, "22:-2"},
        {Variant::Float(2.5F), VT_I4, S_OK, "3:2"},
        {Variant::Real(-0.5), VT_UINT, S_OK, "23:0"},
        {Variant::Real(-1), VT_UINT, DISP_E_OVERFLOW, ""},
        {Variant::Real(32767.49), VT_I2, S_OK, "2:32767"},
        {Variant::Real(32767.5), VT_I2, DISP_E_OVERFLOW, ""},
        {Variant::Real(2147483647.49), VT_I4, S_OK, "3:2147483647"},
        {Variant::Real(2147483647.5), VT_I4, DISP_E_OVERFLOW, ""},
        {Variant::Real(9.3e18), VT_I8, DISP_E_OVERFLOW, ""},
        {Variant::Real(9.3e18), VT_UI8, S_OK, "21:9300000000000000000"},
        {Variant::Real(1e39), VT_R4, DISP_E_OVERFLOW, ""},
        {Variant::Real(INFINITY), VT_I8, DISP_E_OVERFLOW, ""},
        {Variant::Real(0.1), VT_BOOL, S_OK, "11:-1"},
    };
    Check(rows);
}

TEST(VariantChangeType, Booleans)
{
    Row rows[] = {
        {Variant::Of(VT_BOOL, -1), VT_I4, S_OK, "3:-1"},
        {Variant::Of(VT_BOOL, 1), VT_I4, S_OK, "3:1"},
        {Variant::Of(VT_BOOL, -1), VT_UI1, S_OK, "17:255"},
        {Variant::Of(VT_BOOL, -1), VT_UI4, S_OK, "19:4294967295"},
        {Variant::Of(VT_BOOL, -1), VT_R8, S_OK, "5:-1"},
        {Variant::Of(VT_I4, 7), VT_BOOL, S_OK, "11:-1"},
        {Variant::Of(VT_EMPTY, 0), VT_BOOL, S_OK, "11:0"},
        {Variant::Text(OLESTR("tRuE")), VT_BOOL, S_OK, "11:-1"},
        {Variant::Text(OLESTR("False")), VT_BOOL, S_OK, "11:0"},
        {Variant::Text(OLESTR("#TRUE#")), VT_BOOL, S_OK, "11:-1"},
        {Variant::Text(OLESTR("0.0")), VT_BOOL, S_OK, "11:0"},
        {Variant::Text(OLESTR("true ")), VT_BOOL, DISP_E_TYPEMISMATCH, ""},
        {Variant::Text(OLESTR("")), VT_BOOL, DISP_E_TYPEMISMATCH, ""},
    };
    Check(rows);
    Row numbers[] = {{Variant::Of(VT_BOOL, -1), VT_BSTR, S_OK, "8:-1"},
                     {Variant::Of(VT_BOOL, 0), VT_BSTR, S_OK, "8:0"}};
    Check(numbers);
    Row words[] = {{Variant::Of(VT_BOOL, -1), VT_BSTR, S_OK, "8:True"},
                   {Variant::Of(VT_BOOL, 0), VT_BSTR, S_OK, "8:False"}};
    Check(words, VARIANT_ALPHABOOL);
}

TEST(VariantChangeType, NumbersToText)
{
    Row rows[] = {
        {Variant::Of(VT_I8, LEAST), VT_BSTR, S_OK, "8:-9223372036854775808"},
        {Variant::Of(VT_UI8, -1), VT_BSTR, S_OK, "8:18446744073709551615"},
        {Variant::Of(VT_I1, 0xFF), VT_BSTR, S_OK, "8:-1"},
        {Variant::Of(VT_EMPTY, 0), VT_BSTR, S_OK, "8:"},
        {Variant::Real(0.1), VT_BSTR, S_OK, "8:0.1"},
        {Variant::Real(-0.0), VT_BSTR, S_OK, "8:0"},
        {Variant::Real(1.0 / 3), VT_BSTR, S_OK, "8:0.333333333333333"},
        {Variant::Real(1e300), VT_BSTR, S_OK, "8:1E+300"},
        {Variant::Float(0.1F), VT_BSTR, S_OK, "8:0.1"},
        {Variant::Float(1.0F / 3), VT_BSTR, S_OK, "8:0.3333333"},
    };
    Check(rows);
}

TEST(VariantChangeType, TextsToNumbers)
{
    const struct
    {
        const OLECHAR* text;
        const char* told;  // null: no number
    } rows[] = {
        {OLESTR("5"), "3:5"},
        {OLESTR(" \t5\n "), "3:5"},
        {OLESTR("+5"), "3:5"},
        {OLESTR("-5"), "3:-5"},
        {OLESTR("- 5"), "3:-5"},
        {OLESTR("5-"), "3:-5"},
        {OLESTR("(5)"), "3:-5"},
        {OLESTR("( 5 )"), "3:-5"},
        {OLESTR("$5"), "3:5"},
        {OLESTR("-$5"), "3:-5"},
        {OLESTR("1."), "3:1"},
        {OLESTR(".5"), "3:0"},
        {OLESTR("1.5"), "3:2"},
        {OLESTR("-2.5"), "3:-2"},
        {OLESTR("1,234"), "3:1234"},
        {OLESTR("1e3"), "3:1000"},
        {OLESTR("3.5E+1"), "3:35"},
        {OLESTR("12345e-5"), "3:0"},
        {OLESTR("1e-400"), "3:0"},
        {OLESTR("&H1f"), "3:31"},
        {OLESTR("&O17"), "3:15"},
        {OLESTR("&HFFFFFFFF"), "3:-1"},
        {OLESTR("0000000000000000000000005"), "3:5"},
        {OLESTR("-2147483648"), "3:-2147483648"},
        {OLESTR("2147483647.4"), "3:2147483647"},
        {OLESTR(""), nullptr},
        {OLESTR(" "), nullptr},
        {OLESTR("."), nullptr},
        {OLESTR("-"), nullptr},
        {OLESTR("abc"), nullptr},
        {OLESTR("5a"), nullptr},
        {OLESTR("5 5"), nullptr},
        {OLESTR("--5"), nullptr},
        {OLESTR("-5-"), nullptr},
        {OLESTR("(5"), nullptr},
        {OLESTR("5)"), nullptr},
        {OLESTR(",1"), nullptr},
        {OLESTR("1e"), nullptr},
        {OLESTR("1e 3"), nullptr},
        {OLESTR("1e3.5"), nullptr},
        {OLESTR("1.5.5"), nullptr},
        {OLESTR("&H"), nullptr},
        {OLESTR("&HG"), nullptr},
        {OLESTR("0x10"), nullptr},
        {OLESTR("inf"), nullptr},
        {OLESTR("True"), nullptr},
    };
    for (const auto& row : rows) {
        Row change[] = {
            {Variant::Text(row.text), VT_I4, row.told == nullptr ? DISP_E_TYPEMISMATCH : S_OK, row.told}};
        Check(change);
    }
    Row widths[] = {
        {Variant::Text(OLESTR("2147483648")), VT_I4, DISP_E_OVERFLOW, ""},
        {Variant::Text(OLESTR("1e400")), VT_R8, DISP_E_OVERFLOW, ""},
        {Variant::Text(OLESTR("&HFFFF")), VT_I2, S_OK, "2:-1"},
        {Variant::Text(OLESTR("32768")), VT_I2, DISP_E_OVERFLOW, ""},
        {Variant::Text(OLESTR("-1")), VT_UINT, DISP_E_OVERFLOW, ""},
        {Variant::Text(OLESTR("9223372036854775807")), VT_I8, S_OK, "20:9223372036854775807"},
        {Variant::Text(OLESTR("-9223372036854775808")), VT_I8, S_OK, "20:-9223372036854775808"},
        {Variant::Text(OLESTR("18446744073709551615")), VT_UI8, S_OK, "21:18446744073709551615"},
        {Variant::Text(OLESTR("18446744073709551616")), VT_UI8, DISP_E_OVERFLOW, ""},
        {Variant::Text(OLESTR("0.25")), VT_R8, S_OK, "5:0.25"},
        {Variant::Text(OLESTR("-.5")), VT_R4, S_OK, "4:-0.5"},
    };
    Check(widths);
}

TEST(VariantChangeType, TypesThatDoNotMeet)
{
    Row rows[] = {
        {Variant::Of(VT_NULL, 0), VT_I4, DISP_E_TYPEMISMATCH, ""},
        {Variant::Of(VT_NULL, 0), VT_BSTR, DISP_E_TYPEMISMATCH, ""},
        {Variant::Of(VT_NULL, 0), VT_NULL, S_OK, "1:"},
        {Variant::Of(VT_EMPTY, 0), VT_I4, S_OK, "3:0"},
        {Variant::Of(VT_ERROR, DISP_E_PARAMNOTFOUND), VT_I4, DISP_E_TYPEMISMATCH, ""},
        {Variant::Of(VT_I4, 5), VT_ERROR, DISP_E_TYPEMISMATCH, ""},
        {Variant::Of(VT_I4, 5), VT_DISPATCH, DISP_E_TYPEMISMATCH, ""},
        {Variant::Of(VT_I4, 5), VT_EMPTY, S_OK, "0:"},
        {Variant::Of(VT_I4, 5), VT_BYREF | VT_I4, DISP_E_TYPEMISMATCH, ""},
        {Variant::Of(VT_I4, 5), NO_TYPE, DISP_E_BADVARTYPE, ""},
        {Variant::Of(VT_NULL, 0), NO_TYPE, DISP_E_BADVARTYPE, ""},
    };
    Check(rows);
}

TEST(VariantChangeType, ObjectGivesItsDefaultValueOrNone)
{
    Object object;
    {
        Variant five = Variant::Text(OLESTR("5"));
        object.m_pValue = &five;
        Row rows[] = {{Variant::Object(&object), VT_I4, S_OK, "3:5"},
                      {Variant::Object(&object), VT_BSTR, S_OK, "8:5"}};
        Check(rows);
        object.m_pValue = nullptr;
        Row none[] = {{Variant::Object(&object), VT_I4, DISP_E_TYPEMISMATCH, ""},
                      {Variant::Object(&object), VT_BSTR, DISP_E_TYPEMISMATCH, ""}};
        Check(none);
        Variant v;
        Variant source = Variant::Object(&object);
        EXPECT_EQ(VariantChangeType(&v, &source, 0, VT_UNKNOWN), S_OK);
        EXPECT_EQ(VariantChangeType(&v, &v, 0, VT_DISPATCH), S_OK);
        EXPECT_EQ(v.pdispVal, &object);
        object.m_bDispatch = false;
        EXPECT_EQ(VariantChangeType(&v, &v, 0, VT_UNKNOWN), S_OK);
        EXPECT_EQ(VariantChangeType(&v, &v, 0, VT_DISPATCH), E_NOINTERFACE);
        EXPECT_EQ(v.vt, VT_UNKNOWN);
    }
    EXPECT_EQ(object.m_ulCount, 1u);
}

// Every reference form is followed, and the value it leads to stays as it was.
TEST(Variant, ReferencesAreFollowed)
{
    CHAR c = -3;
    BYTE b = 200;
    SHORT i = -7;
    USHORT ui = 60000;
    LONG l = -70000;
    ULONG ul = 70000;
    LONG64 ll = -5;
    float f = 1.5F;
    double d = 2.5;
    VARIANT_BOOL bo = VARIANT_TRUE;
    SCODE e = E_FAIL;
    String s(OLESTR("abc"));
    Variant inner = Variant::Of(VT_I4, 9);
    Variant innerRef = Variant::Of(VT_BYREF | VT_I2, 0);
    innerRef.piVal = &i;
    const struct
    {
        VARTYPE vt;
        void* p;
        const char* told;
    } rows[] = {
        {VT_I1, &c, "16:-3"},
        {VT_UI1, &b, "17:200"},
        {VT_I2, &i, "2:-7"},
        {VT_UI2, &ui, "18:60000"},
        {VT_I4, &l, "3:-70000"},
        {VT_INT, &l, "22:-70000"},
        {VT_UI4, &ul, "19:70000"},
        {VT_UINT, &ul, "23:70000"},
        {VT_I8, &ll, "20:-5"},
        {VT_R4, &f, "4:1.5"},
        {VT_R8, &d, "5:2.5"},
        {VT_BOOL, &bo, "11:-1"},
        {VT_ERROR, &e, "10:-2147467259"},
        {VT_BSTR, &s, "8:abc"},
        {VT_VARIANT, &inner, "3:9"},
        {VT_VARIANT, &innerRef, "2:-7"},
    };
    for (const auto& row : rows) {
        Variant reference = Variant::Of(static_cast<VARTYPE>(VT_BYREF | row.vt), 0);
        reference.byref = row.p;
        Variant v = Variant::Text(OLESTR("old"));
        EXPECT_EQ(VariantCopyInd(&v, &reference), S_OK);
        EXPECT_EQ(Told(v), row.told);
        Variant changed;
        if (row.vt != VT_ERROR && row.vt != VT_BSTR) {
            EXPECT_EQ(VariantChangeType(&changed, &reference, 0, VT_R8), S_OK) << row.told;
            EXPECT_EQ(changed.vt, VT_R8);
        }
        Variant copy(reference);
        EXPECT_EQ(copy.byref, row.p);  // a plain copy stays a reference
    }
    EXPECT_EQ(s.Text(), "abc");
}

TEST(Variant, ReferenceToAReferenceToAVariantIsRefused)
{
    Variant value = Variant::Of(VT_I4, 9);
    Variant once = Variant::Of(VT_BYREF | VT_VARIANT, 0);
    once.pvarVal = &value;
    Variant twice = Variant::Of(VT_BYREF | VT_VARIANT, 0);
    twice.pvarVal = &once;
    Variant v;
    EXPECT_EQ(VariantCopyInd(&v, &twice), E_INVALIDARG);
    EXPECT_EQ(v.vt, VT_EMPTY);
}

TEST(Variant, CopiesAndClearsWhatItOwns)
{
    Object object;
    {
        const Variant holder = Variant::Object(&object);
        const ULONG ulHeld = object.m_ulCount;
        Variant copy(holder);
        EXPECT_EQ(object.m_ulCount, ulHeld + 1);
        Variant text = Variant::Text(OLESTR("abc"));
        EXPECT_EQ(VariantCopy(&copy, &text), S_OK);
        EXPECT_EQ(object.m_ulCount, ulHeld);
        EXPECT_NE(copy.bstrVal, text.bstrVal);
        EXPECT_EQ(VariantCopy(&copy, &copy), S_OK);
        EXPECT_EQ(Told(copy), "8:abc");
    }
    EXPECT_EQ(object.m_ulCount, 1u);
}

TEST(Variant, TypesThatCannotBe)
{
    for (const VARTYPE vt : {NO_TYPE, VARTYPE{VT_VOID}, VARTYPE{VT_PTR}, VARTYPE{0x1000},
                             VARTYPE{VT_BYREF | NO_TYPE}, VARTYPE{VT_BYREF}}) {
        VARIANT bad{};
        bad.vt = vt;
        Variant v = Variant::Of(VT_I4, 1);
        EXPECT_EQ(VariantCopy(&v, &bad), DISP_E_BADVARTYPE) << vt;
        EXPECT_EQ(Told(v), "3:1");
        EXPECT_EQ(VariantClear(&bad), DISP_E_BADVARTYPE) << vt;
        EXPECT_EQ(bad.vt, vt);
    }
}

}  // namespace
