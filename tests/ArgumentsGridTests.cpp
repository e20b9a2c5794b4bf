// A walk over every cell of the grid of typed operations: a row is a family, its members are the cells. A
// cell is picked by its type, so a row that names it calls that overload and no other.
#include "failures/OrvexException.h"
#include "tests/TestSupport.h"

#include <climits>

namespace {

using A = Arguments;
using std::string;

// The cells of a family of reads; null where the grid has none.
template <class T> struct Reads
{
    const char* name;
    const char* nullKeyName;
    bool (A::*byText)(const char*, T*);
    T (A::*textValue)(const char*);
    bool (A::*byString)(const string&, T*);
    T (A::*stringValue)(const string&);
    bool (A::*byId)(enum_Keywords, T*);
    T (A::*idValue)(enum_Keywords);
    const char* elementName = nullptr;
    bool (A::*byPosition)(int, T*) = nullptr;
    T (A::*positionValue)(int) = nullptr;
};

// The cells of a family of writes.
template <class V> struct Writes
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

class ArgumentsGridTest : public testing::Test
{
protected:
    // Under a keyword and a free string a value to be read, under two others one that does not convert.
    void Store(Arg* pHit, Arg* pMisfit)
    {
        m_args->Clear();
        m_args->AddItem("MessageID", pHit);
        m_args->AddItem("hit", pHit);
        m_args->AddItem("CallVariable1", pMisfit);
        m_args->AddItem("misfit", pMisfit);
    }

    // All cells of a family, on keys and positions with the value and without.
    template <class T, class G>
    void WalkReads(const Reads<T>& f, const T& hit, const T& mark, G giveBack, bool bAnythingConverts = false)
    {
        SCOPED_TRACE(f.name);
        const auto Read = [&](auto read, auto value, auto key, bool bThere, const string& text, int nCode,
                              int nStatus) {
            SCOPED_TRACE(bThere ? "there" : text);
            T target = mark;
            EXPECT_EQ((*m_args.*read)(key, &target), bThere);
            EXPECT_EQ(target, bThere ? hit : mark);
            if (bThere)
                giveBack(target);
            EXPECT_FALSE((*m_args.*read)(key, nullptr));
            if (value == nullptr)
                return;
            try {
                target = (*m_args.*value)(key);
                EXPECT_TRUE(bThere);
                EXPECT_EQ(target, hit);
                giveBack(target);
            } catch (const COrvexException& e) {
                EXPECT_FALSE(bThere);
                EXPECT_EQ(e.GetMessage(), text);
                EXPECT_EQ(e.GetCode(), nCode);
                EXPECT_EQ(e.GetStatus(), nStatus);
            }
        };
        const auto NotFound = [&](const string& key) {
            return string("Arguments::") + f.name + ", Arg with key " + key + " not found.";
        };
        const auto ByKey = [&](const char* key, bool bThere) {
            Read(f.byText, f.textValue, key, bThere, NotFound(key), 0, 0);
            Read(f.byString, f.stringValue, string(key), bThere, NotFound(key), 0, 0);
        };
        const auto ById = [&](int id, bool bThere) {
            Read(f.byId, f.idValue, id, bThere, NotFound(std::to_string(id)), 0, 0);
        };
        for (const char* key : {"MESSAGEID", "hit", "HIT"})
            ByKey(key, true);
        for (const char* key : {"missing", "InvokeID", "", "100% %s"})
            ByKey(key, false);
        ById(Keyword::MessageID, true);
        for (int id : {0, -1, 732, INT_MIN})
            ById(id, false);
        if (!bAnythingConverts) {
            ByKey("misfit", false);
            ByKey("callvariable1", false);
            ById(Keyword::CallVariable1, false);
        }
        Read(f.byText, f.textValue, static_cast<const char*>(nullptr), false,
             string("Arguments::") + f.nullKeyName + ", requested key is NULL.", 0, 0);
        m_nCells += f.idValue != nullptr ? 6 : 5;
        if (f.byPosition == nullptr)
            return;
        for (int i : {INT_MIN, -1, 0, 2, 3, 5, INT_MAX, 1, 4}) {  // the last two do not convert
            if (bAnythingConverts && (i == 1 || i == 4))
                continue;
            Read(f.byPosition, f.positionValue, i, i == 2 || i == 3,
                 string("Arguments::") + f.elementName + ", Index " + std::to_string(i) + " out of range.", i,
                 -1);
        }
        m_nCells += 2;
    }

    // All cells of a family, on an entry that is missing, one that is there, a null key, and positions in
    // and out of range. The value is shared where an object is given, else stored in the entry's own.
    template <class V>
    void WalkWrites(const Writes<V>& f, V value, const string& shown, Arg* pShared = nullptr)
    {
        SCOPED_TRACE(f.name);
        const auto Expect = [&](A& rArgs, int iIndex, Arg& rBefore) {
            const ArgHolder stored(rArgs.GetElement(iIndex));
            EXPECT_EQ(Show(*stored), shown);
            EXPECT_EQ(stored.get(), pShared != nullptr ? pShared : &rBefore);
            EXPECT_EQ(CountOf(rBefore), pShared != nullptr ? 1 : 3);
            EXPECT_EQ(pShared != nullptr ? CountOf(*pShared) : 3, 3);
        };
        const auto Write = [&](auto write, auto key, const char* keyText) {
            if (write == nullptr)
                return;
            SCOPED_TRACE(keyText);
            const ArgumentsHolder args(Arguments::CreateInstance());
            const ArgHolder before(Arg::Create());
            EXPECT_TRUE((*args.*write)(key, value));
            EXPECT_EQ(Show(*args), "(" + string(keyText) + "=" + shown + ")");
            args->SetElement(1, before.get());
            EXPECT_TRUE((*args.*write)(key, value));
            EXPECT_EQ(args->NumElements(), 1);
            Expect(*args, 1, *before);
            m_nCells += keyText[0] == 'M' ? 1 : 0;
        };
        for (const auto& [byId, byText, byString] :
             {std::tuple(f.addById, f.addByText, f.addByString), {f.setById, f.setByText, f.setByString}}) {
            Write(byId, 474, "MessageID");
            Write(byText, "messageid", "MessageID");
            Write(byText, "free", "free");
            Write(byString, string("MESSAGEID"), "MessageID");
            Write(byString, string("free"), "free");
            EXPECT_FALSE(byText != nullptr &&
                         ((*m_args.*byText)(nullptr, value) || m_args->NumElements() > 0));
        }
        if (f.setElement == nullptr)
            return;
        for (int iIndex : {1, 2}) {
            const ArgumentsHolder args(Arguments::CreateInstance());
            const ArgHolder before(Arg::Create());
            args->AddItem("MessageID", 1);
            args->AddItem("free", 1);
            args->SetElement(iIndex, before.get());
            for (int i : {INT_MIN, -1, 0, 3, INT_MAX, iIndex})
                EXPECT_EQ((*args.*f.setElement)(i, value), i == iIndex) << i;
            Expect(*args, iIndex, *before);
            EXPECT_EQ(args->GetElementInt(3 - iIndex), 1);
            EXPECT_EQ(args->NumElements(), 2);
        }
        ++m_nCells;
    }

    // A null value: false, and no entry made or changed.
    template <class V> void WalkNull(const Writes<V>& f)
    {
        const V null = nullptr;
        m_args->AddItem("InvokeID", 1);
        for (const bool bDone :
             {(*m_args.*f.addById)(474, null), (*m_args.*f.addById)(0, null),
              (*m_args.*f.addByText)("x", null), (*m_args.*f.addByString)("x", null),
              (*m_args.*f.setById)(474, null), (*m_args.*f.setById)(0, null),
              (*m_args.*f.setByText)("x", null), (*m_args.*f.setByString)("invokeid", null),
              (*m_args.*f.setElement)(1, null)})
            EXPECT_FALSE(bDone) << f.name;
        EXPECT_EQ(Show(*m_args), "(InvokeID=INT 1)") << f.name;
        m_args->Clear();
    }

    const ArgumentsHolder m_args{Arguments::CreateInstance()};
    int m_nCells = 0;
};

// clang-format off

// A value that every type reads differently.
TEST_F(ArgumentsGridTest, ReadsOfPlainValues)
{
    const ArgHolder hit(Arg::Create()), misfit(Arg::Create());
    hit->SetValue(-70256);
    misfit->SetValue("2 or so");
    Store(hit.get(), misfit.get());
    const auto keep = [](const auto&) {};
    WalkReads<int>({"GetValueInt", "GetValueInt", &A::GetValueInt, &A::GetValueInt, &A::GetValueInt, &A::GetValueInt, &A::GetValueInt, &A::GetValueInt,
               "GetElementInt", &A::GetElementInt, &A::GetElementInt}, -70256, 77, keep);
    WalkReads<unsigned int>({"GetValueUInt", "GetValueUInt", &A::GetValueUInt, &A::GetValueUInt, &A::GetValueUInt, &A::GetValueUInt, &A::GetValueUInt, &A::GetValueUInt,
                        "GetElementUInt", &A::GetElementUInt, &A::GetElementUInt}, 4294897040u, 77, keep);
    WalkReads<unsigned short>({"GetValueUShort", "GetValueUShort", &A::GetValueUShort, &A::GetValueUShort, &A::GetValueUShort, &A::GetValueUShort, &A::GetValueUShort, &A::GetValueUShort,
                          "GetElementUShort", &A::GetElementUShort, &A::GetElementUShort}, 60816, 77, keep);
    WalkReads<short>({"GetValueShort", "GetValueShort", &A::GetValueShort, &A::GetValueShort, &A::GetValueShort, &A::GetValueShort, &A::GetValueShort, &A::GetValueShort,
                 "GetElementShort", &A::GetElementShort, &A::GetElementShort}, -4720, 77, keep);
    WalkReads<bool>({"GetValueBool", "GetValueBool", &A::GetValueBool, &A::GetValueBool, &A::GetValueBool, &A::GetValueBool, &A::GetValueBool, &A::GetValueBool,
                "GetElementBool", &A::GetElementBool, &A::GetElementBool}, true, false, keep);
    WalkReads<string>({"GetValueString", "GetValue", &A::GetValueString, &A::GetValueString, &A::GetValueString, &A::GetValueString, &A::GetValueString, &A::GetValueString,
                  "GetElementString", &A::GetElementString, &A::GetElementString}, "-70256", "mark", keep, true);
    EXPECT_EQ(m_nCells, 6 * 8);
    EXPECT_EQ(hit->GetType(), ARG_INT);
}

TEST_F(ArgumentsGridTest, ReadsThatHandOutAnObject)
{
    const ArgHolder hit(Arg::Create()), misfit(Arg::Create());
    const ArgumentsHolder array(Arguments::CreateInstance());
    const auto giveBack = [](auto* pGiven) { EXPECT_EQ(pGiven->Release(), 3); };
    Store(hit.get(), misfit.get());
    WalkReads<Arg*>({"GetValue", "GetValue", &A::GetValue, &A::GetValue, &A::GetValue, &A::GetValue, &A::GetValue, &A::GetValue,
                "GetElement", &A::GetElement, &A::GetElement}, hit.get(), nullptr, giveBack, true);
    WalkReads<Arg*>({"GetValueArg", "GetValue", &A::GetValueArg, &A::GetValueArg, &A::GetValueArg, &A::GetValueArg, &A::GetValueArg, nullptr},
               hit.get(), nullptr, giveBack, true);
    Store(array.get(), misfit.get());
    WalkReads<Arguments*>({"GetValueArray", "GetValueArray", &A::GetValueArray, &A::GetValueArray, &A::GetValueArray, &A::GetValueArray, &A::GetValueArray, &A::GetValueArray,
                      "GetElementArg", &A::GetElementArg, &A::GetElementArg}, array.get(), nullptr, giveBack);
    EXPECT_EQ(m_nCells, 8 + 5 + 8);
}

TEST_F(ArgumentsGridTest, WritesOfEveryKind)
{
    const ArgHolder arg(Arg::Create());
    const ArgumentsHolder args(Arguments::CreateInstance());
    WalkWrites<int>({"int", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement}, -70256, "INT -70256");
    WalkWrites<unsigned int>({"unsigned int", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement}, 70256, "UINT 70256");
    WalkWrites<unsigned short>({"unsigned short", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement}, 60000, "USHORT 60000");
    WalkWrites<short>({"short", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement}, -300, "SHORT -300");
    WalkWrites<bool>({"bool", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement}, true, "BOOL 1");
    WalkWrites<const string&>({"string", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement}, "a=1", "\"a=1\"");
    const Writes<const char*> text{"const char*", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement};
    const Writes<Arg*> pointer{"Arg*", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement};
    const Writes<Arguments*> array{"Arguments*", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue, &A::SetElement};
    WalkWrites<const char*>(text, "ab", "\"ab\"");
    WalkWrites<Arg*>(pointer, arg.get(), "NOTSET", arg.get());
    WalkWrites<Arguments*>(array, args.get(), "()", args.get());
    WalkNull(text);
    WalkNull(pointer);
    WalkNull(array);
    WalkWrites<Arg&>({"Arg&", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue}, *arg, "NOTSET", arg.get());
    WalkWrites<Arguments&>({"Arguments&", &A::AddItem, &A::AddItem, &A::AddItem, &A::SetValue, &A::SetValue, &A::SetValue}, *args, "()", args.get());
    EXPECT_EQ(m_nCells, 3 * 11 + 11 + 10 + 10 + 9);
}

// clang-format on

}  // namespace
