#include "arguments/Arguments.h"

#include "failures/OrvexException.h"
#include "tests/TestSupport.h"
#include "values/RawArg.h"

#include <cstdio>
#include <map>
#include <random>
#include <stdexcept>

namespace {

class ArgumentsTest : public testing::Test
{
protected:
    // The keys by position, separated by commas.
    std::string Keys()
    {
        std::string s;
        for (int i = 1; i <= m_args->NumElements(); ++i) {
            std::string key = "?";
            m_args->GetElementKey(i, &key);
            s += (i > 1 ? "," : "") + key;
        }
        return s;
    }

    const ArgumentsHolder m_args{Arguments::CreateInstance()};
};

TEST_F(ArgumentsTest, SpellingsThatAreOneKey)
{
    const struct
    {
        std::string first, second;
        const char* keys;
    } rows[] = {
        {"invokeid", "INVOKEID", "InvokeID"},
        {"Foo", "foo", "Foo"},
        {"foo", "FOO", "foo"},
        {"", "", ""},
        {std::string("x\0y", 3), "x", "x"},
        {std::string("MessageID\0y", 11), "messageid", "MessageID"},
        {"user.", "USER.", "user."},
        {"user", "user.", "user.,user"},
        {"InvokeID ", "InvokeID", "InvokeID,InvokeID "},
        {"\xC3\x89", "\xC3\xA9", "\xC3\x89,\xC3\xA9"},
        {"ab", "ab ", "ab,ab "},
        {"@", "`", "@,`"},
        {"[", "{", "[,{"},
    };
    for (const auto& row : rows) {
        m_args->Clear();
        m_args->AddItem(row.first, 1);
        m_args->AddItem(row.second, 2);
        EXPECT_EQ(Keys(), row.keys);
        EXPECT_EQ(m_args->GetValueInt(row.second), 2) << row.second;
        EXPECT_TRUE(m_args->RemoveItem(row.second)) << row.second;
        EXPECT_FALSE(m_args->IsValid(row.second)) << row.second;
    }
}

TEST_F(ArgumentsTest, KeywordsByIdThenStringsByStricmp)
{
    for (const char* key :
         {"zeta", "MessageID", "Alpha", "_x", "InvokeID", "", "alphA2", "b", "Zz", "\xC3\xA9", "[", "0"})
        m_args->AddItem(key, 1);
    m_args->AddItem(-5, 1);
    m_args->AddItem(732, 1);
    m_args->AddItem(2147483647, 1);
    EXPECT_EQ(Keys(), "?,InvokeID,MessageID,?,?,,0,[,_x,Alpha,alphA2,b,zeta,Zz,\xC3\xA9");
}

TEST_F(ArgumentsTest, IdsThatAreNoRow)
{
    for (int id : {-1, -2147483647 - 1, 732, 65536}) {
        EXPECT_TRUE(m_args->AddItem(id, id));
        EXPECT_EQ(m_args->GetValueInt(id), id);
        EXPECT_EQ(m_args->NumElements(), 1);
        EXPECT_EQ(m_args->GetElementInt(1), id);
        EXPECT_EQ(m_args->GetElementType(1), ARG_INT);
        std::string key = "mark";
        EXPECT_FALSE(m_args->GetElementKey(1, &key)) << id;
        EXPECT_EQ(key, "mark");
        EXPECT_THROW(m_args->GetElementKey(1), COrvexException) << id;
        EXPECT_TRUE(m_args->RemoveItem(id));
    }
}

TEST_F(ArgumentsTest, KeysOfPositions)
{
    m_args->AddItem("messageid", 1);
    m_args->AddItem("x", 1);
    EXPECT_EQ(m_args->GetElementKey(1), "MessageID");
    EXPECT_EQ(m_args->GetElementKey(2), "x");
    EXPECT_FALSE(m_args->GetElementKey(1, nullptr));
    for (int i : {0, -1, 3, 2147483647, -2147483647 - 1}) {
        std::string key = "mark";
        EXPECT_FALSE(m_args->GetElementKey(i, &key)) << i;
        EXPECT_EQ(key, "mark");
        EXPECT_EQ(m_args->GetElementType(i), ARG_NOTSET) << i;
        try {
            m_args->GetElementKey(i);
            ADD_FAILURE() << i;
        } catch (const COrvexException& e) {
            EXPECT_EQ(e.GetMessage(),
                      "Arguments::GetElementKey, Index " + std::to_string(i) + " out of range.");
            EXPECT_EQ(e.GetCode(), i);
            EXPECT_EQ(e.GetStatus(), -1);
        }
    }
}

struct StricmpLess
{
    static std::string Folded(std::string s)
    {
        for (char& c : s)
            c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
        return s;
    }
    bool operator()(const std::string& a, const std::string& b) const { return Folded(a) < Folded(b); }
};

// The container as two maps, as far as keys and positions go. A value is the number of the write that made
// it.
class Model
{
public:
    explicit Model(Arguments& rArgs) : m_rArgs(rArgs), m_random(20240229) {}

    int Random(int n) { return static_cast<int>(m_random() % static_cast<unsigned int>(n)); }

    void Write()
    {
        const int nValue = ++m_nWrites;
        if (Random(3) == 0) {
            const int id = Random(732);
            m_keywords[id] = nValue;
            EXPECT_TRUE(Random(2) == 0 ? m_rArgs.SetValue(id, nValue)
                                       : m_rArgs.AddItem(Cased(KeywordName(id)), nValue));
        } else {
            const std::string key = FreeKey();
            m_strings[key] = nValue;  // the text stays as it was first added
            EXPECT_TRUE(m_rArgs.SetValue(key, nValue));
        }
    }

    void Remove()
    {
        if (Random(3) == 0) {
            const int id = Random(732);
            EXPECT_EQ(m_rArgs.RemoveItem(id), m_keywords.erase(id) == 1) << id;
        } else {
            const std::string key = FreeKey();
            EXPECT_EQ(m_rArgs.RemoveItem(key.c_str()), m_strings.erase(key) == 1) << key;
        }
    }

    void RemoveAt(int iIndex)
    {
        const auto [key, nValue] = At(iIndex);
        EXPECT_TRUE(m_rArgs.RemoveItem(key));
        if (iIndex <= static_cast<int>(m_keywords.size()))
            m_keywords.erase(std::next(m_keywords.begin(), iIndex - 1));
        else
            m_strings.erase(key);
    }

    int Size() const { return static_cast<int>(m_keywords.size() + m_strings.size()); }

    void ExpectAt(int iIndex)
    {
        const auto [key, nValue] = At(iIndex);
        ASSERT_EQ(m_rArgs.GetElementKey(iIndex), key) << iIndex << " after write " << m_nWrites;
        ASSERT_EQ(m_rArgs.GetElementInt(iIndex), nValue) << iIndex << " after write " << m_nWrites;
        ASSERT_EQ(m_rArgs.GetValueInt(Cased(key)), nValue) << key << " after write " << m_nWrites;
    }

    void ExpectAll()
    {
        ASSERT_EQ(m_rArgs.NumElements(), Size());
        int i = 0;
        for (const auto& [id, nValue] : m_keywords) {
            ASSERT_EQ(m_rArgs.GetElementKey(++i), KeywordName(id));
            ASSERT_EQ(m_rArgs.GetElementInt(i), nValue);
        }
        for (const auto& [key, nValue] : m_strings) {
            ASSERT_EQ(m_rArgs.GetElementKey(++i), key);
            ASSERT_EQ(m_rArgs.GetElementInt(i), nValue);
        }
    }

private:
    std::string Cased(std::string s)
    {
        for (char& c : s)
            if (Random(2) == 0 && ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')))
                c = static_cast<char>(c ^ 32);
        return s;
    }

    std::string FreeKey()
    {
        static const char CHARACTERS[] = "aAbB_9[\xE9 z";
        std::string key;
        for (int n = Random(7); n > 0; --n)
            key += CHARACTERS[Random(sizeof CHARACTERS - 1)];
        return key + std::to_string(Random(40));
    }

    std::pair<std::string, int> At(int iIndex)
    {
        const int nKeywords = static_cast<int>(m_keywords.size());
        if (iIndex <= nKeywords) {
            const auto it = std::next(m_keywords.begin(), iIndex - 1);
            return {KeywordName(it->first), it->second};
        }
        return *std::next(m_strings.begin(), iIndex - nKeywords - 1);
    }

    Arguments& m_rArgs;
    std::mt19937 m_random;
    std::map<int, int> m_keywords;
    std::map<std::string, int, StricmpLess> m_strings;
    int m_nWrites = 0;
};

// Grows, churns and shrinks, with positions asked for after every step, in runs, and only at the end of a
// phase.
TEST_F(ArgumentsTest, PositionsFollowAMapModel)
{
    Model model(*m_args);
    const auto ask = [&](int nHowOften) {
        for (; nHowOften > 0 && model.Size() > 0 && !HasFatalFailure(); --nHowOften)
            model.ExpectAt(1 + model.Random(model.Size()));
    };
    for (int i = 0; i < 400 && !HasFatalFailure(); ++i) {
        model.Write();
        ask(2);
    }
    for (int i = 0; i < 4000; ++i)
        model.Write();
    model.ExpectAll();
    EXPECT_GT(model.Size(), 2000);
    for (int i = 0; i < 4000 && !HasFatalFailure(); ++i) {
        model.Random(5) < 2 ? model.Write() : model.Remove();
        ask(i % 50 == 0 ? 5 : 0);
    }
    model.ExpectAll();
    while (model.Size() > 0 && !HasFatalFailure()) {
        model.RemoveAt(1 + model.Random(model.Size()));
        ask(model.Size() % 16 == 0 ? 1 : 0);
    }
    EXPECT_EQ(m_args->NumElements(), 0);
    for (int i = 0; i < 100; ++i)
        model.Write();
    model.ExpectAll();
}

TEST_F(ArgumentsTest, NeighboursOfARemovedEntryAreReached)
{
    for (int n = 1; n <= 9; ++n)
        m_args->AddItem(std::to_string(n), n);
    EXPECT_EQ(m_args->GetElementInt(5), 5);
    EXPECT_TRUE(m_args->RemoveItem("5"));
    EXPECT_EQ(m_args->GetElementInt(5), 6);
    EXPECT_EQ(m_args->GetElementInt(4), 4);
    EXPECT_TRUE(m_args->AddItem("45", 45));
    EXPECT_EQ(Keys(), "1,2,3,4,45,6,7,8,9");
}

TEST_F(ArgumentsTest, RemovingWhatIsNotThere)
{
    m_args->AddItem("x", 1);
    EXPECT_FALSE(m_args->RemoveItem("y"));
    EXPECT_FALSE(m_args->RemoveItem(std::string("y")));
    EXPECT_FALSE(m_args->RemoveItem(474));
    EXPECT_FALSE(m_args->RemoveItem(static_cast<const char*>(nullptr)));
    EXPECT_EQ(Keys(), "x");
}

TEST_F(ArgumentsTest, IsValidByAnyKindOfKey)
{
    m_args->AddItem("5", 1);
    m_args->AddItem("messageid", 1);
    EXPECT_TRUE(m_args->IsValid(474));
    EXPECT_FALSE(m_args->IsValid(5));
    EXPECT_TRUE(m_args->IsValid("MESSAGEID"));
    EXPECT_TRUE(m_args->IsValid(std::string("5")));
    EXPECT_FALSE(m_args->IsValid("6"));
    EXPECT_FALSE(m_args->IsValid(static_cast<const char*>(nullptr)));
    EXPECT_FALSE(m_args->IsValid(static_cast<Arg*>(nullptr)));
    const ArgHolder key(Arg::Create());
    EXPECT_FALSE(m_args->IsValid(key.get()));  // its text is empty
    key->SetValue(5);
    EXPECT_TRUE(m_args->IsValid(key.get()));
    key->SetValue("MessageID");
    EXPECT_TRUE(m_args->IsValid(key.get()));
    m_args->AddItem("", 1);
    key->SetValue("");
    EXPECT_TRUE(m_args->IsValid(key.get()));
}

TEST_F(ArgumentsTest, ValuesAreSharedAndChangedInPlace)
{
    const ArgHolder arg(Arg::Create());
    arg->SetValue("old");
    EXPECT_TRUE(m_args->AddItem("x", *arg));
    EXPECT_EQ(CountOf(*arg), 2);
    EXPECT_TRUE(m_args->AddItem("x", arg.get()));  // the same again
    EXPECT_TRUE(m_args->SetElement(1, arg.get()));
    EXPECT_EQ(CountOf(*arg), 2);
    EXPECT_TRUE(m_args->AddItem(474, arg.get()));
    EXPECT_EQ(CountOf(*arg), 3);
    EXPECT_TRUE(m_args->SetValue("X", 5));
    EXPECT_EQ(Show(*arg), "INT 5");
    EXPECT_EQ(m_args->GetValueInt("MessageID"), 5);
    arg->SetValue("new");
    EXPECT_EQ(Show(*m_args), "(MessageID=\"new\" x=\"new\")");

    const ArgHolder other(Arg::Create());
    EXPECT_TRUE(m_args->SetElement(2, other.get()));
    EXPECT_EQ(CountOf(*arg), 2);
    EXPECT_EQ(CountOf(*other), 2);
    EXPECT_TRUE(m_args->RemoveItem("messageid"));
    EXPECT_EQ(CountOf(*arg), 1);
    m_args->Clear();
    EXPECT_EQ(CountOf(*other), 1);
    EXPECT_EQ(m_args->NumElements(), 0);
}

TEST_F(ArgumentsTest, LastReferenceFreesAtAnyDepth)
{
    const ArgHolder leaf(Arg::Create());
    ArgumentsHolder outer(Arguments::CreateInstance());
    outer->AddItem("leaf", *leaf);
    for (int i = 0; i < 1000; ++i) {
        ArgumentsHolder next(Arguments::CreateInstance());
        next->AddItem("nested", *outer);
        next->AddItem("leaf", *leaf);
        outer = std::move(next);
    }
    EXPECT_EQ(CountOf(*leaf), 1002);
    outer.reset();
    EXPECT_EQ(CountOf(*leaf), 1);
}

TEST_F(ArgumentsTest, InitializeKeepsTheReferences)
{
    const ArgHolder arg(Arg::Create());
    m_args->AddItem("x", *arg);
    m_args->AddItem(0, *arg);
    m_args->Initialize();
    EXPECT_EQ(m_args->NumElements(), 0);
    EXPECT_FALSE(m_args->IsValid("x"));
    EXPECT_EQ(CountOf(*arg), 3);
    arg->Release();
    arg->Release();
    m_args->AddItem("y", 1);
    EXPECT_EQ(Keys(), "y");
}

TEST_F(ArgumentsTest, IndexOperatorMakesAnUnsetEntry)
{
    for (int i = 0; i < 2; ++i) {
        const ArgHolder a((*m_args)["x"]), b((*m_args)[std::string("messageid")]), c((*m_args)[0]);
        for (const ArgHolder* p : {&a, &b, &c})
            EXPECT_EQ(CountOf(**p), 2);
        EXPECT_EQ(m_args->NumElements(), 3);
    }
    EXPECT_EQ(Show(*m_args), "(InvokeID=NOTSET MessageID=NOTSET x=NOTSET)");
    const ArgHolder x((*m_args)["X"]);
    x->SetValue(5);
    EXPECT_EQ(m_args->GetValueInt("x"), 5);
    try {
        (*m_args)[static_cast<const char*>(nullptr)];
        ADD_FAILURE() << "no exception";
    } catch (const COrvexException& e) {
        EXPECT_STREQ(e.what(),
                     "OrvexException: Arguments::operator[], requested key is NULL., Code: 0, Status: 0");
    }
    EXPECT_EQ(m_args->NumElements(), 3);
}

TEST_F(ArgumentsTest, MergeSharesAndReplaces)
{
    const ArgumentsHolder other(Arguments::CreateInstance());
    const ArgHolder old(Arg::Create()), shared(Arg::Create());
    m_args->AddItem("Key", *old);
    m_args->AddItem("stays", 1);
    shared->SetValue(2);
    other->AddItem("KEY", *shared);
    other->AddItem("messageid", 9);
    other->AddItem(800, 3);
    other->AddItem("", 4);
    EXPECT_TRUE(m_args->Merge(*other));
    EXPECT_EQ(Show(*m_args), "(MessageID=INT 9 ?=INT 3 =INT 4 Key=INT 2 stays=INT 1)");
    EXPECT_EQ(CountOf(*old), 1);
    EXPECT_EQ(CountOf(*shared), 3);
    EXPECT_EQ(other->NumElements(), 4);
    EXPECT_TRUE(m_args->Merge(*m_args));
    EXPECT_EQ(m_args->NumElements(), 5);
    EXPECT_EQ(CountOf(*shared), 3);
}

TEST_F(ArgumentsTest, WritesOnAnEntryThatIsAContainer)
{
    const ArgumentsHolder nested(Arguments::CreateInstance());
    nested->AddItem("old", 1);
    m_args->AddItem("nested", *nested);
    EXPECT_TRUE(m_args->SetValue("nested", std::string("a=1;b=x")));
    EXPECT_EQ(Show(*nested), "(a=INT 1 b=\"x\" old=INT 1)");
    EXPECT_TRUE(
        m_args->SetElement(1, std::string("=")));  // no text form: still the write of an entry that is there
    EXPECT_TRUE(m_args->SetValue("nested", 5));
    EXPECT_EQ(m_args->GetElementType(1), ARG_INT);
    EXPECT_EQ(m_args->GetValueInt("nested"), 5);
    EXPECT_EQ(nested->NumElements(), 3);
    Arguments* pArgs = nullptr;
    EXPECT_TRUE(m_args->GetValueArray("nested", &pArgs));  // it is a container, whatever its type says
    EXPECT_EQ(pArgs, nested.get());
    pArgs->Release();
    EXPECT_TRUE(m_args->SetValue("nested", "a=1"));  // not a std::string: a plain text
    EXPECT_EQ(m_args->GetValueString("nested"), "a=1");
    EXPECT_EQ(nested->NumElements(), 3);
}

TEST_F(ArgumentsTest, InheritedWritesKeepTheEntries)
{
    m_args->AddItem("x", 1);
    Arg& rArg = *m_args;
    const ArgHolder source(Arg::Create());
    source->SetValue("y=2");
    EXPECT_TRUE(rArg.SetValue(*source));  // its text is parsed
    EXPECT_EQ(Show(rArg), "(x=INT 1 y=INT 2)");
    EXPECT_EQ(rArg.GetType(), ARG_ARGARRAY);
    source->SetValue(7);
    EXPECT_TRUE(rArg.SetValue(*source));
    EXPECT_EQ(rArg.GetType(), ARG_INT);
    EXPECT_EQ(rArg.DumpArg(), "7");
    EXPECT_EQ(m_args->DumpArgs(), "(x:1 y:2)");
    const ArgumentsHolder other(Arguments::CreateInstance());
    EXPECT_FALSE(rArg.SetValue(*other));
    EXPECT_EQ(rArg.GetValueInt(), 7);
}

// A value whose last reference does not go quietly.
class Clinging : public Arg
{
public:
    long Release() override
    {
        if (bThrow)
            throw std::runtime_error("stays");
        return Arg::Release();
    }
    bool bThrow = true;
};

std::string Address(const void* p)
{
    char sz[32];
    snprintf(sz, sizeof sz, "%p", p);
    return sz;
}

TEST_F(ArgumentsTest, ClearGoesOnPastAValueThatThrows)
{
    const Holder<Clinging> number(new Clinging), text(new Clinging);
    const ArgHolder before(Arg::Create()), behind(Arg::Create());
    for (const auto& [key, pArg] : {std::pair<const char*, Arg*>{"InvokeID", before.get()},
                                    {"MessageID", number.get()},
                                    {"text", text.get()},
                                    {"zeta", behind.get()}})
        m_args->AddItem(key, pArg);
    const std::string opening =
        "TIME  Arguments(" + Address(m_args.get()) + ")::Clear(). Encountered exception releasing Arg 0x";
    std::string lines = Traced([&] { m_args->Clear(); });
    for (std::size_t i;
         (i = lines.find("\n\t")) != std::string::npos;)  // the lines are long enough to be wrapped
        lines.erase(i, 2);
    EXPECT_EQ(lines, opening + Address(number.get()) + ".\n" + opening + Address(text.get()) + ".\n");
    EXPECT_EQ(m_args->NumElements(), 0);
    EXPECT_EQ(CountOf(*before), 1);
    EXPECT_EQ(CountOf(*behind), 1);
    for (Clinging* p : {number.get(), text.get()}) {
        p->bThrow = false;
        EXPECT_EQ(p->Release(), 1);
    }
}

}  // namespace
