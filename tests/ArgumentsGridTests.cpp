// A walk over every cell of the grid of typed operations: a row is a family, its members are the cells. A
// cell is picked by its type, so a row that names it calls that overload and no other.
#include "failures/OrvexException.h"
#include "tests/TestSupport.h"

#include <climits>

namespace {

using A = Arguments;
using std::string;

// What is there to read: a keyword and a free string with the value that converts, and two with one that does
// not.
class ArgumentsGridTest : public testing::Test
{
protected:
    static constexpr int HIT_ID = Keyword::MessageID, MISFIT_ID = Keyword::CallVariable1,
                         MISSING_ID = Keyword::InvokeID;

    void Store(const ArgHolder& hit, const ArgHolder& misfit)
    {
        m_args->Clear();
        m_args->AddItem(HIT_ID, hit.get());
        m_args->AddItem("hit", hit.get());
        if (misfit != nullptr) {
            m_args->AddItem(MISFIT_ID, misfit.get());
            m_args->AddItem("misfit", misfit.get());
        }
    }

    const ArgumentsHolder m_args{Arguments::CreateInstance()};
    int m_nCells = 0;
};

template <class T> struct ReadFamily
{
    const char* name;
    const char* nullKeyName;
    bool (A::*byText)(const char*, T*);
    T (A::*textValue)(const char*);
    bool (A::*byString)(const string&, T*);
    T (A::*stringValue)(const string&);
    bool (A::*byId)(enum_Keywords, T*);
    T (A::*idValue)(enum_Keywords);  // null where the grid has no such cell
    const char* elementName = nullptr;
    bool (A::*byPosition)(int, T*) = nullptr;
    T (A::*positionValue)(int) = nullptr;
};

// Reads of one family by every way to name an entry. Give back what was handed out.
template <class T> class Reads
{
public:
    Reads(A& rArgs, const ReadFamily<T>& family, T hit, T mark, std::function<void(T)> giveBack, int* pnCells)
        : m_rArgs(rArgs), m_f(family), m_hit(hit), m_mark(mark), m_giveBack(std::move(giveBack)),
          m_pnCells(pnCells)
    {
    }

    void Walk(bool bMisfit)
    {
        const string opening = string("Arguments::") + m_f.name + ", Arg with key ";
        const string nullKey = string("Arguments::") + m_f.nullKeyName + ", requested key is NULL.";
        const auto ByKey = [&](const char* key, bool bThere, const string& shown) {
            const string text = opening + shown + " not found.";
            Read(m_f.byText, m_f.textValue, key, bThere, text, 0, 0);
            Read(m_f.byString, m_f.stringValue, string(key), bThere, text, 0, 0);
        };
        const auto ById = [&](int id, bool bThere) {
            Read(m_f.byId, m_f.idValue, id, bThere, opening + std::to_string(id) + " not found.", 0, 0);
        };
        for (const char* key : {"MESSAGEID", "MessageID", "hit", "HIT"})
            ByKey(key, true, key);
        ById(Keyword::MessageID, true);
        for (const char* key : {"missing", "InvokeID", "", "100% %s"})
            ByKey(key, false, key);
        for (int id : {0, -1, 732, INT_MIN})
            ById(id, false);
        if (bMisfit) {
            ByKey("misfit", false, "misfit");
            ByKey("callvariable1", false, "callvariable1");
            ById(Keyword::CallVariable1, false);
        }
        Read(m_f.byText, m_f.textValue, static_cast<const char*>(nullptr), false, nullKey, 0, 0);
        *m_pnCells += m_f.idValue != nullptr ? 6 : 5;

        if (m_f.byPosition == nullptr)
            return;
        const int n = m_rArgs.NumElements();
        for (int i : {INT_MIN, -1, 0, 1, 2, 3, 4, 5, INT_MAX}) {
            const string key = i >= 1 && i <= n ? m_rArgs.GetElementKey(i) : "";
            Read(m_f.byPosition, m_f.positionValue, i, key == "MessageID" || key == "hit",
                 string("Arguments::") + m_f.elementName + ", Index " + std::to_string(i) + " out of range.",
                 i, -1);
        }
        *m_pnCells += 2;
    }

private:
    template <class K, class P>
    void Read(bool (A::*read)(P, T*), T (A::*value)(P), K key, bool bThere, const string& text, int nCode,
              int nStatus)
    {
        SCOPED_TRACE(testing::Message() << m_f.name << ", expected " << (bThere ? "a value" : text.c_str()));
        T target = m_mark;
        EXPECT_EQ((m_rArgs.*read)(key, &target), bThere);
        EXPECT_EQ(target, bThere ? m_hit : m_mark);
        if (bThere)
            m_giveBack(target);
        EXPECT_FALSE((m_rArgs.*read)(key, nullptr));
        if (value == nullptr)
            return;
        try {
            target = (m_rArgs.*value)(key);
            EXPECT_TRUE(bThere);
            EXPECT_EQ(target, m_hit);
            m_giveBack(target);
        } catch (const COrvexException& e) {
            EXPECT_FALSE(bThere);
            EXPECT_EQ(e.GetMessage(), text);
            EXPECT_EQ(e.GetCode(), nCode);
            EXPECT_EQ(e.GetStatus(), nStatus);
        }
    }

    A& m_rArgs;
    const ReadFamily<T> m_f;
    const T m_hit;
    const T m_mark;
    const std::function<void(T)> m_giveBack;
    int* const m_pnCells;
};

// A value that every type reads differently.
TEST_F(ArgumentsGridTest, ReadsOfPlainValues)
{
    const ArgHolder hit(Arg::Create()), misfit(Arg::Create());
    hit->SetValue(-70256);
    misfit->SetValue("2 or so");
    Store(hit, misfit);
    const auto walk = [&](auto family, auto value, auto mark, bool bMisfit) {
        using T = decltype(value);
        Reads<T>(
            *m_args, family, value, mark, [](T) {}, &m_nCells)
            .Walk(bMisfit);
    };
    // clang-format off
    walk(ReadFamily<int>{"GetValueInt", "GetValueInt", &A::GetValueInt, &A::GetValueInt, &A::GetValueInt, &A::GetValueInt, &A::GetValueInt, &A::GetValueInt,
                         "GetElementInt", &A::GetElementInt, &A::GetElementInt}, -70256, 77, true);
    walk(ReadFamily<unsigned int>{"GetValueUInt", "GetValueUInt", &A::GetValueUInt, &A::GetValueUInt, &A::GetValueUInt, &A::GetValueUInt, &A::GetValueUInt, &A::GetValueUInt,
                         "GetElementUInt", &A::GetElementUInt, &A::GetElementUInt}, 4294897040u, 77u, true);
    walk(ReadFamily<unsigned short>{"GetValueUShort", "GetValueUShort", &A::GetValueUShort, &A::GetValueUShort, &A::GetValueUShort, &A::GetValueUShort, &A::GetValueUShort, &A::GetValueUShort,
                         "GetElementUShort", &A::GetElementUShort, &A::GetElementUShort}, static_cast<unsigned short>(60816), static_cast<unsigned short>(77), true);
    walk(ReadFamily<short>{"GetValueShort", "GetValueShort", &A::GetValueShort, &A::GetValueShort, &A::GetValueShort, &A::GetValueShort, &A::GetValueShort, &A::GetValueShort,
                         "GetElementShort", &A::GetElementShort, &A::GetElementShort}, static_cast<short>(-4720), static_cast<short>(77), true);
    walk(ReadFamily<bool>{"GetValueBool", "GetValueBool", &A::GetValueBool, &A::GetValueBool, &A::GetValueBool, &A::GetValueBool, &A::GetValueBool, &A::GetValueBool,
                         "GetElementBool", &A::GetElementBool, &A::GetElementBool}, true, false, true);
    Store(hit, nullptr);  // every value has a text
    walk(ReadFamily<string>{"GetValueString", "GetValue", &A::GetValueString, &A::GetValueString, &A::GetValueString, &A::GetValueString, &A::GetValueString, &A::GetValueString,
                         "GetElementString", &A::GetElementString, &A::GetElementString}, string("-70256"), string("mark"), false);
    // clang-format on
    EXPECT_EQ(m_nCells, 6 * 8);
    EXPECT_EQ(hit->GetType(), ARG_INT);
}

TEST_F(ArgumentsGridTest, ReadsThatHandOutAnObject)
{
    const ArgHolder hit(Arg::Create());
    Store(hit, nullptr);
    const auto giveBackArg = [&](Arg* pArg) { EXPECT_EQ(pArg->Release(), 3); };
    const ReadFamily<Arg*> value{"GetValue",   "GetValue",     &A::GetValue,  &A::GetValue,
                                 &A::GetValue, &A::GetValue,   &A::GetValue,  &A::GetValue,
                                 "GetElement", &A::GetElement, &A::GetElement};
    const ReadFamily<Arg*> valueArg{"GetValueArg",   "GetValue",      &A::GetValueArg, &A::GetValueArg,
                                    &A::GetValueArg, &A::GetValueArg, &A::GetValueArg, nullptr};
    for (const ReadFamily<Arg*>& family : {value, valueArg})
        Reads<Arg*>(*m_args, family, hit.get(), nullptr, giveBackArg, &m_nCells).Walk(false);

    const ArgHolder array(Arguments::CreateInstance()), misfit(Arg::Create());
    misfit->SetValue("a=1");
    Store(array, misfit);
    const auto giveBackArray = [&](Arguments* pArgs) { EXPECT_EQ(pArgs->Release(), 3); };
    const ReadFamily<Arguments*> valueArray{"GetValueArray",   "GetValueArray",   &A::GetValueArray,
                                            &A::GetValueArray, &A::GetValueArray, &A::GetValueArray,
                                            &A::GetValueArray, &A::GetValueArray, "GetElementArg",
                                            &A::GetElementArg, &A::GetElementArg};
    Reads<Arguments*>(*m_args, valueArray, static_cast<Arguments*>(array.get()), nullptr, giveBackArray,
                      &m_nCells)
        .Walk(true);
    EXPECT_EQ(m_nCells, 8 + 5 + 8);
}

// A family of writes by value: the cells that the grid has, the others null.
template <class V> struct WriteFamily
{
    const char* name;
    bool (A::*addById)(enum_Keywords, V);
    bool (A::*addByText)(const char*, V);
    bool (A::*addByString)(const string&, V);
    bool (A::*setById)(enum_Keywords, V);
    bool (A::*setByText)(const char*, V) = nullptr;
    bool (A::*setByString)(const string&, V) = nullptr;
    bool (A::*setElement)(int, V) = nullptr;
};

// Writes of one family on a missing entry, on one that is there, under a null key and out of range.
template <class V> class Writes
{
public:
    // What an entry shows afterwards, and the object that it shares; null for a value that is stored by its
    // content.
    Writes(const WriteFamily<V>& family, const string& shown, Arg* pShared, int* pnCells)
        : m_f(family), m_shown(shown), m_pShared(pShared), m_pnCells(pnCells)
    {
    }

    void Walk(V value)
    {
        Write(m_f.addById, 474, "MessageID", value);
        Write(m_f.addByText, "messageid", "MessageID", value);
        Write(m_f.addByText, "free", "free", value);
        Write(m_f.addByString, string("MESSAGEID"), "MessageID", value);
        Write(m_f.addByString, string("free"), "free", value);
        Write(m_f.setById, 474, "MessageID", value);
        *m_pnCells += 4;
        RefuseNullKey(m_f.addByText, value);
        if (m_f.setByText != nullptr) {
            Write(m_f.setByText, "messageid", "MessageID", value);
            Write(m_f.setByText, "free", "free", value);
            Write(m_f.setByString, string("MESSAGEID"), "MessageID", value);
            Write(m_f.setByString, string("free"), "free", value);
            RefuseNullKey(m_f.setByText, value);
            *m_pnCells += 2;
        }
        if (m_f.setElement != nullptr) {
            WriteElements(value);
            ++*m_pnCells;
        }
    }

    // A null value: false, and no entry made or changed.
    void WalkNull(V null)
    {
        const ArgumentsHolder args(Arguments::CreateInstance());
        args->AddItem("there", 1);
        const auto Refuse = [&](auto write, auto missing, auto there) {
            if (write == nullptr)
                return;
            EXPECT_FALSE((*args.*write)(missing, null)) << m_f.name;
            EXPECT_FALSE((*args.*write)(there, null)) << m_f.name;
            EXPECT_EQ(Show(*args), "(there=INT 1)") << m_f.name;
        };
        Refuse(m_f.addById, 474, 0);
        Refuse(m_f.addByText, "x", "there");
        Refuse(m_f.addByString, string("x"), string("there"));
        Refuse(m_f.setById, 474, 0);
        Refuse(m_f.setByText, "x", "there");
        Refuse(m_f.setByString, string("x"), string("there"));
        Refuse(m_f.setElement, 2, 1);
    }

private:
    template <class K, class P> void Write(bool (A::*write)(P, V), K key, const char* keyText, V value)
    {
        SCOPED_TRACE(testing::Message() << m_f.name << " under " << key);
        const ArgumentsHolder args(Arguments::CreateInstance());
        EXPECT_TRUE((*args.*write)(key, value));
        ASSERT_EQ(args->NumElements(), 1);
        EXPECT_EQ(args->GetElementKey(1), keyText);
        ExpectStored(*args);

        const ArgHolder before(Arg::Create());
        before->SetValue("before");
        args->SetElement(1, before.get());
        EXPECT_TRUE((*args.*write)(key, value));
        ASSERT_EQ(args->NumElements(), 1);
        ExpectStored(*args);
        ExpectReplacedOrChanged(*before);
    }

    void RefuseNullKey(bool (A::*write)(const char*, V), V value)
    {
        const ArgumentsHolder args(Arguments::CreateInstance());
        EXPECT_FALSE((*args.*write)(nullptr, value)) << m_f.name;
        EXPECT_EQ(args->NumElements(), 0) << m_f.name;
    }

    void WriteElements(V value)
    {
        const ArgumentsHolder args(Arguments::CreateInstance());
        for (int i : {INT_MIN, -1, 0, 1, 2, INT_MAX})
            EXPECT_FALSE((*args.*m_f.setElement)(i, value)) << m_f.name << ' ' << i;
        EXPECT_EQ(args->NumElements(), 0) << m_f.name;
        for (int i : {1, 2}) {
            SCOPED_TRACE(testing::Message() << m_f.name << " at " << i);
            const ArgHolder before(Arg::Create()), other(Arg::Create());
            args->AddItem("MessageID", other.get());
            args->AddItem("free", other.get());
            args->SetElement(i, before.get());
            EXPECT_TRUE((*args.*m_f.setElement)(i, value));
            EXPECT_FALSE((*args.*m_f.setElement)(3, value));
            EXPECT_EQ(Show(*args), i == 1 ? "(MessageID=" + m_shown + " free=NOTSET)"
                                          : "(MessageID=NOTSET free=" + m_shown + ")");
            ExpectReplacedOrChanged(*before);
        }
    }

    void ExpectStored(A& rArgs)
    {
        const ArgHolder stored(rArgs.GetElement(1));
        EXPECT_EQ(Show(*stored), m_shown);
        if (m_pShared != nullptr) {
            EXPECT_EQ(stored.get(), m_pShared);
            EXPECT_EQ(CountOf(*stored), 3);
        }
    }

    void ExpectReplacedOrChanged(Arg& rBefore)
    {
        EXPECT_EQ(CountOf(rBefore), m_pShared != nullptr ? 1 : 2);
        EXPECT_EQ(Show(rBefore) == m_shown, m_pShared == nullptr);
    }

    const WriteFamily<V> m_f;
    const string m_shown;
    Arg* const m_pShared;
    int* const m_pnCells;
};

TEST_F(ArgumentsGridTest, WritesOfEveryKind)
{
    const auto walk = [&](auto family, auto value, const char* shown) {
        Writes<decltype(value)>(family, shown, nullptr, &m_nCells).Walk(value);
    };
    // clang-format off
    walk(WriteFamily<int>{"int", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement}, -70256, "INT -70256");
    walk(WriteFamily<unsigned int>{"unsigned int", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement}, 70256u, "UINT 70256");
    walk(WriteFamily<unsigned short>{"unsigned short", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement}, static_cast<unsigned short>(60000), "USHORT 60000");
    walk(WriteFamily<short>{"short", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement}, static_cast<short>(-300), "SHORT -300");
    walk(WriteFamily<bool>{"bool", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement}, true, "BOOL 1");
    // clang-format on
    const WriteFamily<const char*> text{"const char*", &A::AddItem,  &A::AddItem,  &A::AddItem,
                                        &A::SetValue,  &A::SetValue, &A::SetValue, &A::SetElement};
    Writes<const char*>(text, "\"ab\"", nullptr, &m_nCells).Walk("ab");
    Writes<const char*>(text, "", nullptr, &m_nCells).WalkNull(nullptr);
    const WriteFamily<const string&> str{"string",     &A::AddItem,  &A::AddItem,  &A::AddItem,
                                         &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement};
    Writes<const string&>(str, "\"a=1\"", nullptr, &m_nCells).Walk("a=1");

    const ArgHolder arg(Arg::Create());
    arg->SetValue(5);
    const WriteFamily<Arg*> argPointer{"Arg*",       &A::AddItem,  &A::AddItem,  &A::AddItem,
                                       &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement};
    Writes<Arg*>(argPointer, "INT 5", arg.get(), &m_nCells).Walk(arg.get());
    Writes<Arg*>(argPointer, "", nullptr, &m_nCells).WalkNull(nullptr);
    const WriteFamily<Arg&> argReference{"Arg&", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue};
    Writes<Arg&>(argReference, "INT 5", arg.get(), &m_nCells).Walk(*arg);
    EXPECT_EQ(CountOf(*arg), 1);

    const ArgumentsHolder args(Arguments::CreateInstance());
    args->AddItem("x", 1);
    const WriteFamily<Arguments*> arrayPointer{"Arguments*", &A::AddItem,  &A::AddItem,  &A::AddItem,
                                               &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement};
    Writes<Arguments*>(arrayPointer, "(x=INT 1)", args.get(), &m_nCells).Walk(args.get());
    Writes<Arguments*>(arrayPointer, "", nullptr, &m_nCells).WalkNull(nullptr);
    const WriteFamily<Arguments&> arrayReference{"Arguments&", &A::AddItem,  &A::AddItem, &A::AddItem,
                                                 &A::SetValue, &A::SetValue, &A::SetValue};
    Writes<Arguments&>(arrayReference, "(x=INT 1)", args.get(), &m_nCells).Walk(*args);
    EXPECT_EQ(CountOf(*args), 1);
    EXPECT_EQ(m_nCells, 3 * 11 + 11 + 10 + 10 + 9);
}

}  // namespace
