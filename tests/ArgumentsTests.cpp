#include "arguments/Arguments.h"

#include "failures/OrvexException.h"
#include "tests/TestSupport.h"

#include <cctype>
#include <climits>
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
        {"", "", ""},
        {std::string("x\0y", 3), "x", "x"},
        {std::string("MessageID\0y", 11), "messageid", "MessageID"},
        {"user", "user.", "user.,user"},
        {"InvokeID ", "InvokeID", "InvokeID,InvokeID "},
        {"\xC3\x89", "\xC3\xA9", "\xC3\x89,\xC3\xA9"},
        {"@", "`", "@,`"},
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
    m_args->AddItem(INT_MAX, 1);
    EXPECT_EQ(Keys(), "?,InvokeID,MessageID,?,?,,0,[,_x,Alpha,alphA2,b,zeta,Zz,\xC3\xA9");
}

TEST_F(ArgumentsTest, PositionsWithoutAKey)
{
    m_args->AddItem("messageid", 1);
    m_args->AddItem(732, 1);
    EXPECT_EQ(m_args->GetElementKey(1), "MessageID");
    EXPECT_FALSE(m_args->GetElementKey(1, nullptr));
    for (int i : {INT_MIN, -1, 0, 2, 3, INT_MAX}) {
        std::string key = "mark";
        EXPECT_FALSE(m_args->GetElementKey(i, &key)) << i;
        EXPECT_EQ(key, "mark");
        EXPECT_EQ(m_args->GetElementType(i), i == 2 ? ARG_INT : ARG_NOTSET) << i;
        try {
            m_args->GetElementKey(i);
            ADD_FAILURE() << i;
        } catch (const COrvexException& e) {
            EXPECT_EQ(e.what(), "OrvexException: Arguments::GetElementKey, Index " + std::to_string(i) +
                                    " out of range., Code: " + std::to_string(i) + ", Status: -1");
        }
    }
}

// The container as one map: keywords by id, then strings folded to lower case, each with its key's text and
// value.
class Model
{
public:
    explicit Model(Arguments& rArgs) : m_rArgs(rArgs), m_random(20240229) {}

    int Size() const { return static_cast<int>(m_map.size()); }
    int Random(int n) { return static_cast<int>(m_random() % static_cast<unsigned int>(n)); }

    void Write()
    {
        const std::string key = RandomKey();
        m_map.emplace(Order(key), std::pair(key, 0)).first->second.second = ++m_nWrites;
        EXPECT_TRUE(m_rArgs.SetValue(Cased(key), m_nWrites));
        EXPECT_EQ(m_rArgs.NumElements(), Size());
    }

    void Remove(std::string key)
    {
        const bool bThere = m_map.erase(Order(key)) == 1;
        EXPECT_EQ(m_rArgs.RemoveItem(Cased(key)), bThere) << key;
    }
    void RemoveAny() { Remove(Random(2) == 0 ? RandomKey() : At(1 + Random(Size())).first); }

    void ExpectAt(int iIndex)
    {
        const auto& [key, nValue] = At(iIndex);
        ASSERT_EQ(Converted(m_rArgs.GetElementKey(iIndex), tolower), Converted(key, tolower))
            << "write " << m_nWrites;
        ASSERT_EQ(m_rArgs.GetElementInt(iIndex), nValue) << key << ", write " << m_nWrites;
        ASSERT_EQ(m_rArgs.GetValueInt(Cased(key)), nValue) << key << ", write " << m_nWrites;
    }
    void ExpectAll()
    {
        ASSERT_EQ(m_rArgs.NumElements(), Size());
        for (int i = 1; i <= Size(); ++i)
            ExpectAt(i);
    }

private:
    static std::string Converted(std::string s, int (*convert)(int))
    {
        for (char& c : s)
            c = static_cast<char>(convert(static_cast<unsigned char>(c)));
        return s;
    }
    static std::string Order(const std::string& key)
    {
        const int id = KeywordId(key);
        return id == -1 ? "s" + Converted(key, tolower) : "k" + std::to_string(10000 + id);
    }
    std::string Cased(std::string key) { return Converted(key, Random(2) == 0 ? tolower : toupper); }
    std::string RandomKey()
    {
        if (Random(3) == 0)
            return KeywordName(Random(732));
        std::string key;
        for (int n = Random(7); n > 0; --n)
            key += "aAbB_9[\xE9 z"[Random(10)];
        return key + std::to_string(Random(40));
    }
    const std::pair<std::string, int>& At(int iIndex) const
    {
        return std::next(m_map.begin(), iIndex - 1)->second;
    }

    Arguments& m_rArgs;
    std::mt19937 m_random;
    std::map<std::string, std::pair<std::string, int>> m_map;
    int m_nWrites = 0;
};

// Grows, churns and shrinks to nothing, with positions asked for after every step, now and then, and only at
// the end.
TEST_F(ArgumentsTest, PositionsFollowAMapModel)
{
    Model model(*m_args);
    const int aPhases[][3] = {
        {400, 100, 1}, {4000, 100, 5000}, {3000, 50, 50}, {30000, 0, 16}, {100, 100, 200}};
    for (const auto& [nSteps, nPercentWrites, nAskEvery] : aPhases) {
        for (int i = 1; i <= nSteps && !HasFatalFailure() && (i == 1 || model.Size() > 0); ++i) {
            model.Random(100) < nPercentWrites ? model.Write() : model.RemoveAny();
            if (i % nAskEvery == 0 && model.Size() > 0)
                model.ExpectAt(1 + model.Random(model.Size()));
        }
        model.ExpectAll();
        EXPECT_EQ(model.Size() == 0, nPercentWrites == 0) << nSteps;
    }
}

TEST_F(ArgumentsTest, EntriesAreFoundAndRemovedByAnyKindOfKey)
{
    const char* const null = nullptr;
    const ArgHolder key(Arg::Create());
    m_args->AddItem("5", 1);
    m_args->AddItem("messageid", 1);
    m_args->AddItem("", 1);
    EXPECT_TRUE(m_args->IsValid(474) && m_args->IsValid("MESSAGEID") && m_args->IsValid(std::string("5")));
    EXPECT_FALSE(m_args->IsValid(5) || m_args->IsValid("6") || m_args->IsValid(null));
    EXPECT_FALSE(m_args->IsValid(static_cast<Arg*>(nullptr)));
    for (const auto& store : {Set(""), Set(5), Set("MessageID"), Set("6")}) {
        EXPECT_TRUE(m_args->IsValid(key.get())) << Show(*key);
        store(*key);
    }
    EXPECT_FALSE(m_args->IsValid(key.get()));
    EXPECT_FALSE(m_args->RemoveItem("6") || m_args->RemoveItem(null) || m_args->RemoveItem(5));
    EXPECT_TRUE(m_args->RemoveItem(474) && m_args->RemoveItem(std::string("5")) && m_args->RemoveItem(""));
    EXPECT_EQ(m_args->NumElements(), 0);
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

TEST_F(ArgumentsTest, AnyDepthIsGivenBackOnASmallStack)
{
    const ArgumentsHolder pInnermost(Arguments::CreateInstance());
    pInnermost->AddRef();
    ArgumentsHolder pOuter(pInnermost.get());
    for (int i = 0; i < 200000; ++i) {
        ArgumentsHolder pNext(Arguments::CreateInstance());
        ASSERT_TRUE(pNext->AddItem("inner", pOuter.get()));
        pOuter = std::move(pNext);
    }
    pOuter.reset();
    EXPECT_EQ(CountOf(*pInnermost), 1);
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
        for (Arg* p : {a.get(), b.get(), c.get()})
            EXPECT_EQ(CountOf(*p), 2);
        EXPECT_EQ(Show(*m_args), "(InvokeID=NOTSET MessageID=NOTSET x=NOTSET)");
    }
    ArgHolder((*m_args)["X"])->SetValue(5);
    EXPECT_EQ(m_args->GetValueInt("x"), 5);
    try {
        (*m_args)[static_cast<const char*>(nullptr)];
        ADD_FAILURE() << "no exception";
    } catch (const COrvexException& e) {
        EXPECT_STREQ(e.what(),
                     "OrvexException: Arguments::operator[], requested key is NULL., Code: 0, Status: 0");
    }
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
    EXPECT_TRUE(m_args->SetElement(1, std::string("=")));  // cannot be read, and is a write all the same
    EXPECT_EQ(Show(*nested), "(a=INT 1 b=\"x\" old=INT 1)");
    EXPECT_TRUE(m_args->SetValue("nested", 5));
    EXPECT_EQ(m_args->GetElementType(1), ARG_INT);
    EXPECT_EQ(ArgumentsHolder(m_args->GetValueArray("nested")),
              nested);                               // a container, whatever its type says
    EXPECT_TRUE(m_args->SetValue("nested", "a=1"));  // not a std::string: a plain text
    EXPECT_EQ(m_args->GetValueString("nested"), "a=1");
    EXPECT_EQ(nested->NumElements(), 3);
}

TEST_F(ArgumentsTest, InheritedWritesKeepTheEntries)
{
    Arg& rArg = *m_args;
    const ArgHolder source(Arg::Create());
    m_args->AddItem("x", 1);
    source->SetValue("y=2");
    EXPECT_TRUE(rArg.SetValue(*source));  // its text is parsed
    source->SetValue(7);
    EXPECT_TRUE(rArg.SetValue(*source));
    EXPECT_FALSE(rArg.SetValue(*ArgumentsHolder(Arguments::CreateInstance())));
    EXPECT_EQ(rArg.GetType(), ARG_INT);
    EXPECT_EQ(rArg.DumpArg(), "7");
    EXPECT_EQ(m_args->DumpArgs(), "(x:1 y:2)");
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

// As a trace line shows it.
std::string Address(const void* p)
{
    const auto Format = [](char* sz, const char* fmt, ...) {
        va_list args;
        va_start(args, fmt);
        _vsnprintf(sz, 40, fmt, args);
        va_end(args);
    };
    char sz[40];
    Format(sz, "%p", p);
    return sz;
}

TEST_F(ArgumentsTest, ClearGoesOnPastAValueThatThrows)
{
    const Holder<Clinging> number(new Clinging), text(new Clinging);
    const ArgHolder before(Arg::Create()), behind(Arg::Create());
    m_args->AddItem("InvokeID", before.get());
    m_args->AddItem("MessageID", number.get());
    m_args->AddItem("text", text.get());
    m_args->AddItem("zeta", behind.get());
    const std::string opening =
        "TIME  Arguments(" + Address(m_args.get()) + ")::Clear(). Encountered exception releasing Arg 0x";
    std::string lines = Traced([&] { m_args->Clear(); });
    for (std::size_t i; (i = lines.find("\n\t")) != std::string::npos;)  // long enough to be wrapped
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
