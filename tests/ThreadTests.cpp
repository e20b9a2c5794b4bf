// Threads on the same objects. The thread sanitizer sees what the expectations here cannot; a deadlock is a
// test that does not end.
#include "logging/Logger.h"
#include "tests/TestSupport.h"
#include "values/ArgArguments.h"
#include "values/RawArg.h"

#include <set>

namespace {

constexpr int ROUNDS = 1000;

std::function<void()> Repeat(std::function<void(int)> piece)
{
    return [piece] {
        for (int i = 0; i < ROUNDS; ++i)
            piece(i);
    };
}

class ThreadTest : public testing::Test
{
protected:
    const ArgumentsHolder m_args{Arguments::CreateInstance()};
    const ArgumentsHolder m_other{Arguments::CreateInstance()};
};

TEST_F(ThreadTest, OneValueIsReadAndWritten)
{
    const ArgHolder arg(Arg::Create());
    arg->SetValue(0);
    std::set<std::string> seen;
    RunTogether({Repeat([&](int i) { arg->SetValue(i % 2 == 0 ? 1000000 : 77); }),
                 Repeat([&](int) { arg->SetValue("a text that needs room of its own on the heap"); }),
                 Repeat([&](int) {
                     std::string text;
                     arg->GetValueString(&text);
                     seen.insert(text);
                     int n;
                     arg->GetValueInt(&n);
                     bool b;
                     arg->GetValueBool(&b);
                 }),
                 Repeat([&](int) {
                     const ArgHolder clone(arg->Clone());
                     EXPECT_EQ(clone->GetType() == ARG_STRING, clone->GetValueString()[0] == 'a');
                     MemoryStream stream;
                     EXPECT_EQ(arg->Pack(stream), 1);
                     EXPECT_EQ(arg->Pack2(stream), 1);
                     EXPECT_GT(arg->GetType(), ARG_NOTSET);
                 })});
    for (const std::string& text : seen)
        EXPECT_TRUE(text == "0" || text == "77" || text == "1000000" || text.size() == 45) << text;
    EXPECT_EQ(CountOf(*arg), 1);
}

// Both change their type all the time, so that what is read has to be of one moment.
TEST_F(ThreadTest, TwoValuesAreSetFromEachOther)
{
    const ArgHolder a(Arg::Create()), b(Arg::Create());
    a->SetValue(5);
    b->SetValue("x");
    RunTogether({Repeat([&](int) { EXPECT_TRUE(a->SetValue(*b)); }),
                 Repeat([&](int) { EXPECT_TRUE(b->SetValue(*a)); }),
                 Repeat([&](int i) { i % 2 == 0 ? a->SetValue("x") : a->SetValue(5); }),
                 Repeat([&](int i) { i % 2 == 0 ? b->SetValue(5) : b->SetValue("x"); })});
    for (const ArgHolder* p : {&a, &b})
        EXPECT_TRUE(Show(**p) == "INT 5" || Show(**p) == "\"x\"") << Show(**p);
}

TEST_F(ThreadTest, BlockIsReplacedWhileItIsRead)
{
    const Holder<RawArg> raw(RawArg::Create());
    RunTogether({Repeat([&](int i) { raw->SetValue("0123456789", i % 11); }), Repeat([&](int) {
                     char buffer[10];
                     EXPECT_LE(raw->GetValue(buffer, 10), 10);
                     EXPECT_LE(raw->GetLength(), 10);
                 }),
                 Repeat([&](int) {
                     const ArgHolder clone(raw->Clone());
                     MemoryStream stream;
                     EXPECT_EQ(raw->Pack(stream), 1);
                     EXPECT_EQ(raw->Pack2(stream), 1);
                 })});
    EXPECT_EQ(raw->GetLength(), (ROUNDS - 1) % 11);
}

TEST_F(ThreadTest, WritersOfOneContainerLoseNothing)
{
    const auto Writer = [&](const char* prefix) {
        return Repeat([this, prefix](int i) { m_args->AddItem(prefix + std::to_string(i), i); });
    };
    RunTogether({Writer("a"), Writer("b"), Repeat([&](int i) { m_args->AddItem(i % 732, i); }),
                 Repeat([&](int i) { ArgHolder((*m_args)["shared" + std::to_string(i % 10)]).reset(); })});
    EXPECT_EQ(m_args->NumElements(), 2 * ROUNDS + 732 + 10);
    for (int i = 0; i < ROUNDS; ++i) {
        EXPECT_EQ(m_args->GetValueInt("a" + std::to_string(i)), i);
        EXPECT_EQ(m_args->GetValueInt("b" + std::to_string(i)), i);
    }
}

// Reads by position sort what came late, so they change the container as much as writes do.
TEST_F(ThreadTest, PositionsAreReadWhileEntriesComeAndGo)
{
    m_args->AddItem("InvokeID", 1);
    m_args->AddItem("zz", 2);
    const auto reader = Repeat([&](int i) {
        std::string key;
        m_args->GetElementKey(1 + i % 5, &key);
        int n = 0;
        EXPECT_TRUE(!m_args->GetElementInt(1 + i % 5, &n) || n == 1 || n == 2 || n == 3) << n;
        m_args->GetElementType(2);
        m_args->SetElement(99, 1);
        EXPECT_TRUE(m_args->IsValid("zz"));
        EXPECT_EQ(m_args->GetValueInt("InvokeID"), 1);
    });
    RunTogether({Repeat([&](int i) { i % 2 == 0 ? m_args->AddItem("b", 3) : m_args->RemoveItem("b"); }),
                 Repeat([&](int i) {
                     i % 2 == 0 ? m_args->AddItem("MessageID", 3) : m_args->RemoveItem("MessageID");
                 }),
                 reader, reader});
    EXPECT_EQ(Show(*m_args), "(InvokeID=INT 1 zz=INT 2)");
}

TEST_F(ThreadTest, CloneDumpAndRecordsDuringChange)
{
    m_args->AddItem("nested", *m_other);
    m_args->AddItem("a", 1);
    RunTogether({Repeat([&](int i) {
                     m_other->AddItem("k" + std::to_string(i % 7), i);
                     m_other->RemoveItem("k" + std::to_string((i + 3) % 7));
                 }),
                 Repeat([&](int i) { i % 3 == 0 ? m_args->AddItem("b", "text") : m_args->RemoveItem("b"); }),
                 Repeat([&](int) {
                     try {
                         const ArgHolder clone(m_args->Clone());
                         EXPECT_EQ(CountOf(*clone), 1);
                     } catch (const std::exception&) {
                         // an entry went between the count and its turn
                     }
                     EXPECT_EQ(m_args->DumpArgs().substr(0, 5), "(a:1 ");
                 }),
                 Repeat([&](int) {
                     for (const Form& form : FORMS) {
                         MemoryStream stream;
                         ASSERT_EQ(form.Pack(*m_args, stream), 1);
                         const ArgumentsHolder back(Arguments::CreateInstance());
                         ASSERT_GE(form.Unpack(*back, stream), 2);
                         ASSERT_EQ(stream.BytesRemaining(), 0);
                     }
                 })});
    EXPECT_EQ(CountOf(*m_other), 2);
}

TEST_F(ThreadTest, ContainersAreMergedBothWaysAtOnce)
{
    for (int i = 0; i < 20; ++i) {
        m_args->AddItem("a" + std::to_string(i), i);
        m_other->AddItem("b" + std::to_string(i), i);
    }
    RunTogether({Repeat([&](int) { EXPECT_TRUE(m_args->Merge(*m_other)); }),
                 Repeat([&](int) { EXPECT_TRUE(m_other->Merge(*m_args)); })});
    EXPECT_EQ(m_args->NumElements(), 40);
    EXPECT_EQ(Show(*m_args), Show(*m_other));
    const ArgHolder value(m_args->GetValue("a0"));
    EXPECT_EQ(CountOf(*value), 3);
}

TEST_F(ThreadTest, ReferencesFromOneContainerOutliveIt)
{
    const ArgHolder leaf(Arg::Create());
    const auto work = Repeat([&](int) {
        m_args->AddItem("x", leaf.get());
        Arg* pArg;
        if (m_args->GetValue("x", &pArg))
            ArgHolder(pArg)->SetValue(5);
        m_args->Clear();
    });
    RunTogether({work, work, work});
    EXPECT_EQ(CountOf(*leaf), 1);
}

TEST_F(ThreadTest, HolderIsFilledAnewWhileItIsRead)
{
    const Holder<ArgArguments> holding(ArgArguments::Create());
    RunTogether({Repeat([&](int i) {
                     MemoryStream stream = FromHex(i % 2 == 0 ? "01 06 0100 0200 6100 01 0f01" : "00");
                     EXPECT_EQ(holding->Unpack2(stream), 1);
                 }),
                 Repeat([&](int) {
                     const ArgumentsHolder args(holding->GetArguments());
                     EXPECT_EQ(args ? args->GetValueInt("a") : 1, 1);
                 }),
                 Repeat([&](int) {
                     MemoryStream stream;
                     EXPECT_EQ(holding->Pack2(stream), 1);
                     const ArgHolder clone(holding->Clone());
                 })});
}

TEST_F(ThreadTest, ValuesAndLoggersComeAndGo)
{
    LogWrapper* const pLog = LogWrapper::InstanceForGood();
    const int nBefore = pLog->AddRef();
    const auto work = Repeat([&](int) {
        const ArgHolder arg(Arg::Create());
        const ArgumentsHolder args(Arguments::CreateInstance());
        const Logger logger;
        LogWrapper::Instance()->Release();
        args->AddItem("x", arg.get());
    });
    RunTogether({work, work, work});
    EXPECT_EQ(pLog->Release() + 1, nBefore + 3 * 3 * ROUNDS);
}

TEST_F(ThreadTest, LinesAreNotMixed)
{
    const std::string text = Traced([] {
        const auto Writer = [](char c) {
            return [c] {
                for (int i = 0; i < 100; ++i)
                    LogWrapper::InstanceForGood()->Trace(TRACE_ALWAYS, "%s", std::string(200, c).c_str());
            };
        };
        RunTogether({Writer('a'), Writer('b'), Writer('c')});
    });
    int nLines = 0;
    for (std::size_t start = 0; start < text.size(); ++nLines) {
        std::size_t end = text.find("\nTIME", start);
        end = end == std::string::npos ? text.size() : end + 1;
        const char c = text[start + 6];
        const std::string line =
            "TIME  " + std::string(78, c) + "\n\t" + std::string(78, c) + "\n\t" + std::string(44, c) + "\n";
        ASSERT_EQ(text.substr(start, end - start), line);
        start = end;
    }
    EXPECT_EQ(nLines, 300);
}

}  // namespace
