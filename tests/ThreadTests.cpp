// Threads on the same objects. The thread sanitizer sees what the expectations here cannot; a deadlock is a
// test that does not end.
#include "logging/Logger.h"
#include "tests/TestSupport.h"
#include "values/ArgArguments.h"
#include "values/RawArg.h"

namespace {

constexpr int ROUNDS = 1000;

// Each piece on a thread of its own, ROUNDS times.
void Repeat(const std::vector<std::function<void(int)>>& pieces)
{
    std::vector<std::function<void()>> loops;
    for (const auto& piece : pieces)
        loops.push_back([&piece] {
            for (int i = 0; i < ROUNDS; ++i)
                piece(i);
        });
    RunTogether(loops);
}

class ThreadTest : public testing::Test
{
protected:
    const ArgumentsHolder m_args{Arguments::CreateInstance()};
    const ArgumentsHolder m_other{Arguments::CreateInstance()};
};

TEST_F(ThreadTest, OneValueIsReadAndWritten)
{
    const std::string longText = "a text that needs room of its own on the heap";
    const ArgHolder arg(Arg::Create());
    arg->SetValue(77);
    Repeat({[&](int i) { arg->SetValue(i % 2 == 0 ? 1000000 : 77); }, [&](int) { arg->SetValue(longText); },
            [&](int) {
                std::string text;
                int i = 77;
                EXPECT_TRUE(arg->GetValueString(&text));
                EXPECT_TRUE(text == "77" || text == "1000000" || text == longText) << text;
                arg->GetValueInt(&i);
                EXPECT_TRUE(i == 77 || i == 1000000) << i;
            },
            [&](int) {
                const ArgHolder clone(arg->Clone());
                MemoryStream stream;
                EXPECT_EQ(clone->GetType() == ARG_STRING, clone->GetValueString() == longText);
                EXPECT_EQ(arg->Pack(stream), 1);
                EXPECT_EQ(arg->Pack2(stream), 1);
                EXPECT_NE(arg->GetType(), ARG_NOTSET);
            }});
    EXPECT_EQ(CountOf(*arg), 1);
}

// Both change their type all the time, so what is read of the other has to be of one moment.
TEST_F(ThreadTest, TwoValuesAreSetFromEachOther)
{
    const ArgHolder a(Arg::Create()), b(Arg::Create());
    a->SetValue(5);
    b->SetValue("x");
    Repeat({[&](int) { EXPECT_TRUE(a->SetValue(*b)); }, [&](int) { EXPECT_TRUE(b->SetValue(*a)); },
            [&](int i) { i % 2 == 0 ? a->SetValue("x") : a->SetValue(5); },
            [&](int i) { i % 2 == 0 ? b->SetValue(5) : b->SetValue("x"); }});
    for (Arg* p : {a.get(), b.get()})
        EXPECT_TRUE(Show(*p) == "INT 5" || Show(*p) == "\"x\"") << Show(*p);
}

TEST_F(ThreadTest, BlockAndHolderAreFilledAnewWhileTheyAreRead)
{
    const Holder<RawArg> raw(RawArg::Create());
    const Holder<ArgArguments> holding(ArgArguments::Create());
    Repeat({[&](int i) {
                MemoryStream stream = FromHex(i % 2 == 0 ? "01 06 0100 0200 6100 01 0f01" : "00");
                EXPECT_EQ(holding->Unpack2(stream), 1);
                raw->SetValue("0123456789", i % 11);
            },
            [&](int) {
                char buffer[10];
                const ArgumentsHolder args(holding->GetArguments());
                EXPECT_EQ(args ? args->GetValueInt("a") : 1, 1);
                EXPECT_LE(raw->GetValue(buffer, 10), 10);
                EXPECT_LE(raw->GetLength(), 10);
            },
            [&](int) {
                const ArgHolder clone(raw->Clone()), other(holding->Clone());
                MemoryStream stream;
                EXPECT_EQ(raw->Pack(stream), 1);
                EXPECT_EQ(holding->Pack2(stream), 1);
            }});
}

TEST_F(ThreadTest, WritersOfOneContainerLoseNothing)
{
    Repeat({[&](int i) { m_args->AddItem("a" + std::to_string(i), i); },
            [&](int i) { m_args->AddItem("b" + std::to_string(i), i); },
            [&](int i) { m_args->AddItem(i % 732, i); },
            [&](int i) { ArgHolder((*m_args)["shared" + std::to_string(i % 10)]).reset(); }});
    EXPECT_EQ(m_args->NumElements(), 2 * ROUNDS + 732 + 10);
    for (int i = 0; i < ROUNDS; ++i)
        EXPECT_EQ(m_args->GetValueInt("a" + std::to_string(i)), m_args->GetValueInt("b" + std::to_string(i)));
}

// Reads by position sort what came late, so they change the container as much as writes do.
TEST_F(ThreadTest, PositionsAreReadWhileEntriesComeAndGo)
{
    m_args->AddItem("InvokeID", 1);
    m_args->AddItem("zz", 2);
    const auto read = [&](int i) {
        std::string key;
        int n = 0;
        m_args->GetElementKey(1 + i % 5, &key);
        EXPECT_TRUE(!m_args->GetElementInt(1 + i % 5, &n) || n == 1 || n == 2 || n == 3) << n;
        EXPECT_FALSE(m_args->SetElement(99, 1));
        EXPECT_TRUE(m_args->IsValid("zz"));
        EXPECT_EQ(m_args->GetValueInt("InvokeID"), 1);
    };
    const auto AddOrRemove = [&](const char* key) {
        return [this, key](int i) {
            EXPECT_TRUE(i % 2 == 0 ? m_args->AddItem(key, 3) : m_args->RemoveItem(key));
        };
    };
    Repeat({AddOrRemove("b"), AddOrRemove("MessageID"), read, read});
    EXPECT_EQ(Show(*m_args), "(InvokeID=INT 1 zz=INT 2)");
}

TEST_F(ThreadTest, CloneDumpAndRecordsDuringChange)
{
    m_args->AddItem("nested", *m_other);
    m_args->AddItem("a", 1);
    Repeat({[&](int i) {
                i % 2 == 0 ? m_other->AddItem("k" + std::to_string(i % 7), i) : m_other->RemoveItem("k3");
            },
            [&](int i) { i % 3 == 0 ? m_args->AddItem("b", "text") : m_args->RemoveItem("b"); },
            [&](int) {
                try {
                    ArgHolder(m_args->Clone()).reset();
                } catch (const std::exception& e) {  // an entry went between the count and its turn
                    EXPECT_NE(std::string(e.what()).find("out of range"), std::string::npos);
                }
                EXPECT_EQ(m_args->DumpArgs().substr(0, 5), "(a:1 ");
            },
            [&](int) {
                for (const Form& form : FORMS) {
                    const ArgumentsHolder back(Arguments::CreateInstance());
                    MemoryStream stream;
                    ASSERT_GT(form.Pack(*m_args, stream), 0);
                    ASSERT_GE(form.Unpack(*back, stream), 2);
                    ASSERT_EQ(stream.BytesRemaining(), 0);
                }
            }});
    EXPECT_EQ(CountOf(*m_other), 2);
}

TEST_F(ThreadTest, ContainersAreMergedBothWaysAtOnce)
{
    for (int i = 0; i < 20; ++i) {
        m_args->AddItem("a" + std::to_string(i), i);
        m_other->AddItem("b" + std::to_string(i), i);
    }
    Repeat({[&](int) { EXPECT_TRUE(m_args->Merge(*m_other)); },
            [&](int) { EXPECT_TRUE(m_other->Merge(*m_args)); }});
    EXPECT_EQ(m_args->NumElements(), 40);
    EXPECT_EQ(Show(*m_args), Show(*m_other));
    EXPECT_EQ(CountOf(*ArgHolder(m_args->GetValue("a0"))), 3);
}

TEST_F(ThreadTest, ValuesAndLoggersComeAndGo)
{
    LogWrapper* const pLog = LogWrapper::InstanceForGood();
    const int nBefore = pLog->AddRef();
    const auto work = [&](int) {
        const ArgHolder arg(Arg::Create());
        const ArgumentsHolder args(Arguments::CreateInstance());
        const Logger logger;
        LogWrapper::Instance()->Release();
        m_args->AddItem("x", arg.get());
        m_args->Clear();
    };
    Repeat({work, work, work});
    EXPECT_EQ(pLog->Release() + 1, nBefore + 3 * 3 * ROUNDS);
}

TEST_F(ThreadTest, LinesAreNotMixed)
{
    const auto Writer = [](char c) {
        return [c] {
            for (int i = 0; i < 100; ++i)
                LogWrapper::InstanceForGood()->Trace(TRACE_ALWAYS, "%s", std::string(100, c).c_str());
        };
    };
    std::string text = Traced([&] { RunTogether({Writer('a'), Writer('b'), Writer('c')}); });
    for (const char c : {'a', 'b', 'c'}) {
        const std::string line = "TIME  " + std::string(78, c) + "\n\t" + std::string(22, c) + "\n";
        for (int i = 0; i < 100; ++i) {
            const std::size_t pos = text.find(line);
            ASSERT_NE(pos, std::string::npos) << text;
            text.erase(pos, line.size());
        }
    }
    EXPECT_EQ(text, "");
}

}  // namespace
