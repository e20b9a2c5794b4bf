#include "failures/OrvexException.h"
#include "tests/TestSupport.h"
#include "values/ArgArguments.h"
#include "values/RawArg.h"

namespace {

class ArgumentsDumpTest : public testing::Test
{
protected:
    // A value that holds a container with the one entry a=1.
    static Holder<ArgArguments> Holding()
    {
        Holder<ArgArguments> arg(ArgArguments::Create());
        MemoryStream stream = FromHex("01 06 0100 0200 6100 01 0f01");
        EXPECT_EQ(arg->Unpack2(stream), 1);
        return arg;
    }

    static std::string Repeated(const std::string& s, int n)
    {
        std::string text;
        while (n-- > 0)
            text += s;
        return text;
    }

    const ArgumentsHolder m_args{Arguments::CreateInstance()};
};

TEST_F(ArgumentsDumpTest, EveryKindOfEntry)
{
    const ArgumentsHolder nested(Arguments::CreateInstance()), empty(Arguments::CreateInstance());
    const ArgumentsHolder changed(Arguments::CreateInstance());
    nested->AddItem("b", 2);
    nested->AddItem("a", 1);
    changed->AddItem("a", 1);
    static_cast<Arg&>(*changed).SetValue(5);
    const Holder<RawArg> raw(RawArg::Create());
    raw->SetValue("ab", 2);
    const Holder<ArgArguments> holding = Holding(), holdingNothing(ArgArguments::Create()), state = Holding();
    state->SetValue(3);  // an inherited write: its type stays that of a holder
    const auto Store = [](Arg* pArg) {
        return [pArg](Arguments& r, const char* key) { r.AddItem(key, pArg); };
    };
    const auto Value = [](auto value) {
        return [value](Arguments& r, const char* key) { r.AddItem(key, value); };
    };
    const struct
    {
        const char* key;
        std::function<void(Arguments&, const char*)> store;
        const char* dump;
    } rows[] = {
        {"Alpha", Value("x"), "Alpha:x"},
        {"Alpha", Value("a b) \"c\" 100% %s"), "Alpha:a b) \"c\" 100% %s"},
        {"Alpha", Value(""), "Alpha:(null)"},
        {"", Value(5), ":5"},
        {"beta", Value(-5), "beta:-5"},
        {"beta", Value(4294967295u), "beta:-1"},
        {"beta", Value(true), "beta:1"},
        {"beta", Store(nested.get()), "beta:(a:1 b:2)"},
        {"beta", Store(empty.get()), "beta:()"},
        {"beta", Store(changed.get()), "beta:5"},
        {"beta", Store(raw.get()), "beta:Unknown Type"},
        {"beta", [](Arguments& r, const char* key) { ArgHolder(r[key]).reset(); }, "beta:Unknown Type"},
        {"beta", Store(holding.get()), "beta:(a:1)"},
        {"beta", Store(holdingNothing.get()), "Error getting embedded ArgArguments array values"},
        {"agentSTATE", Value(3), "AgentState:eAvailable"},
        {"AgentState", Value("10"), "AgentState:eHold"},
        {"AgentState", Value(65536 + 3), "AgentState:eAvailable"},
        {"AgentState", Value(11), "AgentState:11, ?"},
        {"AgentState", Value("on"), "AgentState:does not exist"},
        {"EnablementMask", Value(255), "EnablementMask:0xff"},
        {"EnablementMask", Value(-1), "EnablementMask:0xffffffff"},
        {"SupervisorBtnEnablementMask", Value("16"), "SupervisorBtnEnablementMask:0x10"},
        {"MessageID", Value(9), "MessageID:eCallDeliveredEvent"},
        {"MessageID", Value(0), "MessageID:Unrecognized MessageID: 0?"},
        {"MessageID", Value("nine"), "MessageID:does not exist"},
        {"MessageID", Store(nested.get()), "MessageID:does not exist"},
        {"MessageType", Value(0x5000001E), "MessageType:eSkillInfoEvent"},
        {"CallStatus", Value(3), "CallStatus:3"},
        {"CallStatus", Value(""), "CallStatus:(null)"},
        {"CallStatus", Store(state.get()), "CallStatus:eCallConnectionConnect"},
        {"CallStatus", Store(holding.get()), "CallStatus:does not exist"},
        {"CallStatus", Store(nested.get()), "CallStatus:(a:1 b:2)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.dump);
        m_args->Clear();
        row.store(*m_args, row.key);
        EXPECT_EQ(m_args->DumpArgs(), "(" + std::string(row.dump) + ")");
        EXPECT_EQ(m_args->DumpArg(), "(" + std::string(row.dump) + ")");
        EXPECT_EQ(m_args->FormatArg(m_args->GetElementKey(1)), row.dump);
    }
    EXPECT_EQ(empty->DumpArgs(), "()");
}

TEST_F(ArgumentsDumpTest, EntriesByPositionWithBlanksBetween)
{
    m_args->AddItem("beta", 5);
    m_args->AddItem("Alpha", "x");
    m_args->AddItem("MESSAGEID", 1);
    EXPECT_EQ(m_args->DumpArgs(), "(MessageID:eFailureConf Alpha:x beta:5)");
    m_args->AddItem(800, 1);  // no name: neither text nor blank
    EXPECT_EQ(m_args->DumpArgs(), "(MessageID:eFailureConf Alpha:x beta:5)");
    m_args->RemoveItem("Alpha");
    m_args->RemoveItem("beta");
    EXPECT_EQ(m_args->DumpArgs(), "(MessageID:eFailureConf )");
}

TEST_F(ArgumentsDumpTest, OneEntryByKey)
{
    m_args->AddItem("MessageID", 9);
    EXPECT_EQ(m_args->FormatArg("messageid"), "messageid:eCallDeliveredEvent");
    EXPECT_EQ(m_args->FormatArg("missing"), "missing:does not exist");
    EXPECT_EQ(m_args->FormatArg(""), ":does not exist");
    const ArgHolder arg(Arg::Create());
    arg->SetValue("12");
    EXPECT_EQ(m_args->FormatArg("any name", arg.get()), "any name:12");
    EXPECT_EQ(m_args->FormatArg("EnablementMask", arg.get()), "EnablementMask:0xc");
    arg->SetValue("x");
    EXPECT_THROW(m_args->FormatArg("MessageID", arg.get()), COrvexException);
    EXPECT_EQ(CountOf(*arg), 1);
}

TEST_F(ArgumentsDumpTest, LongTextIsWhole)
{
    m_args->AddItem("x", std::string(40000, 'y'));
    EXPECT_EQ(m_args->DumpArgs(), "(x:" + std::string(40000, 'y') + ")");
}

TEST_F(ArgumentsDumpTest, HundredLevelsAreShown)
{
    ArgumentsHolder args(Arguments::CreateInstance());
    for (int nLevels = 2; nLevels <= 103; ++nLevels) {
        ArgumentsHolder outer(Arguments::CreateInstance());
        outer->AddItem("n", *args);
        args = std::move(outer);
        const int nShown = nLevels > 100 ? 100 : nLevels - 1;
        EXPECT_EQ(args->DumpArgs(),
                  Repeated("(n:", nShown) + (nLevels > 100 ? "(...)" : "()") + Repeated(")", nShown))
            << nLevels;
        if (nLevels <= 100) {
            EXPECT_EQ(ArgHolder(args->Clone())->DumpArg(), args->DumpArgs());
        } else {
            EXPECT_THROW(args->Clone(), COrvexException) << nLevels;
        }
    }
}

TEST_F(ArgumentsDumpTest, ContainerInsideItselfEnds)
{
    m_args->AddItem("self", *m_args);
    EXPECT_EQ(m_args->DumpArgs(), Repeated("(self:", 100) + "(...)" + Repeated(")", 100));
    try {
        m_args->Clone();
        ADD_FAILURE() << "no exception";
    } catch (const COrvexException& e) {
        EXPECT_EQ(e.GetCode(), -1);
        EXPECT_EQ(e.GetStatus(), -1);
    }
    m_args->Clear();
}

TEST_F(ArgumentsDumpTest, ContainerManyTimesInsideItselfEndsSoon)
{
    m_args->AddItem("a", *m_args);
    m_args->AddItem("b", *m_args);
    const std::string dump = m_args->DumpArgs();
    EXPECT_EQ(dump.substr(0, 12), "(a:(a:(a:(a:");
    EXPECT_LT(dump.size(), 10000u);
    EXPECT_THROW(m_args->Clone(), COrvexException);
    m_args->Clear();
}

TEST_F(ArgumentsDumpTest, CloneSharesNothing)
{
    const ArgumentsHolder nested(Arguments::CreateInstance());
    nested->AddItem("Leaf", 1);
    const Holder<RawArg> raw(RawArg::Create());
    raw->SetValue("ab", 2);
    m_args->AddItem("Key", "text");
    m_args->AddItem("messageid", 9);
    m_args->AddItem("Agents", *nested);
    m_args->AddItem("raw", raw.get());
    m_args->AddItem("held", Holding().get());
    ArgHolder((*m_args)["unset"]).reset();
    const std::string shown =
        "(MessageID=INT 9 Agents=(Leaf=INT 1) held=ARGUMENT (a=INT 1) Key=\"text\" raw=RAW 6162 unset=NOTSET)";
    const ArgHolder clone(m_args->Clone());
    EXPECT_EQ(Show(*clone), shown);
    EXPECT_EQ(CountOf(*clone), 1);
    EXPECT_EQ(clone->GetClassID(), CLASS_ID_ARGUMENTS);

    nested->SetValue("leaf", 2);
    nested->AddItem("more", 1);
    m_args->SetValue("key", "other");
    raw->SetValue("cd", 2);
    const ArgHolder held(m_args->GetValue("held"));
    ArgumentsHolder(held->GetValueArray())->SetValue("a", 2);
    EXPECT_EQ(Show(*clone), shown);
    Arguments& rClone = dynamic_cast<Arguments&>(*clone);
    rClone.SetValue("Key", "third");
    EXPECT_EQ(m_args->GetValueString("Key"), "other");
    for (int i = 1; i <= rClone.NumElements(); ++i)
        EXPECT_EQ(CountOf(*ArgHolder(rClone.GetElement(i))), 2) << i;
}

TEST_F(ArgumentsDumpTest, CloneOfAnIdWithoutNameThrows)
{
    const ArgHolder arg(Arg::Create());
    m_args->AddItem("InvokeID", arg.get());
    m_args->AddItem(732, arg.get());
    try {
        m_args->Clone();
        ADD_FAILURE() << "no exception";
    } catch (const COrvexException& e) {
        EXPECT_STREQ(e.what(),
                     "OrvexException: Arguments::GetElementKey, Index 2 out of range., Code: 2, Status: -1");
    }
    EXPECT_EQ(CountOf(*arg), 3);
}

}  // namespace
