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
    const ArgumentsHolder nested(Arguments::CreateInstance()), changed(Arguments::CreateInstance());
    nested->AddItem("b", 2);
    nested->AddItem("a", 1);
    static_cast<Arg&>(*changed).SetValue(5);
    const ArgHolder raw(RawArg::Create()), unset(Arg::Create());
    static_cast<RawArg&>(*raw).SetValue("ab", 2);
    const Holder<ArgArguments> holding = Holding(), nothing(ArgArguments::Create()), state = Holding();
    state->SetValue(3);  // an inherited write: its type stays that of a holder
    const auto Value = [](auto value) {
        const ArgHolder arg(Arg::Create());
        arg->SetValue(value);
        return ArgHolder(arg->Clone());
    };
    const auto Shared = [](auto& pArg) {
        pArg->AddRef();
        return ArgHolder(pArg.get());
    };
    const struct
    {
        const char* key;
        ArgHolder value;
        const char* dump;
    } rows[] = {
        {"Alpha", Value("a b) \"c\" 100% %s"), "Alpha:a b) \"c\" 100% %s"},
        {"Alpha", Value(""), "Alpha:(null)"},
        {"", Value(-5), ":-5"},
        {"beta", Value(4294967295u), "beta:-1"},
        {"beta", Value(true), "beta:1"},
        {"beta", Shared(nested), "beta:(a:1 b:2)"},
        {"beta", Shared(changed), "beta:5"},
        {"beta", Shared(raw), "beta:Unknown Type"},
        {"beta", Shared(unset), "beta:Unknown Type"},
        {"beta", Shared(holding), "beta:(a:1)"},
        {"beta", Shared(nothing), "Error getting embedded ArgArguments array values"},
        {"agentSTATE", Value("10"), "AgentState:eHold"},
        {"AgentState", Value(65536 + 3), "AgentState:eAvailable"},
        {"AgentState", Value(11), "AgentState:11, ?"},
        {"AgentState", Value("on"), "AgentState:does not exist"},
        {"EnablementMask", Value(-1), "EnablementMask:0xffffffff"},
        {"SupervisorBtnEnablementMask", Value("255"), "SupervisorBtnEnablementMask:0xff"},
        {"MessageID", Value(9), "MessageID:eCallDeliveredEvent"},
        {"MessageID", Value(0), "MessageID:Unrecognized MessageID: 0?"},
        {"MessageID", Shared(nested), "MessageID:does not exist"},
        {"MessageType", Value(0x5000001E), "MessageType:eSkillInfoEvent"},
        {"CallStatus", Value(3), "CallStatus:3"},
        {"CallStatus", Shared(state), "CallStatus:eCallConnectionConnect"},
        {"CallStatus", Shared(holding), "CallStatus:does not exist"},
        {"CallStatus", Shared(nested), "CallStatus:(a:1 b:2)"},
    };
    for (const auto& row : rows) {
        m_args->Clear();
        m_args->AddItem(row.key, row.value.get());
        EXPECT_EQ(m_args->DumpArgs(), "(" + std::string(row.dump) + ")");
        EXPECT_EQ(m_args->DumpArg(), m_args->DumpArgs());
        EXPECT_EQ(m_args->FormatArg(m_args->GetElementKey(1)), row.dump);
    }
}

TEST_F(ArgumentsDumpTest, EntriesByPositionWithBlanksBetween)
{
    EXPECT_EQ(m_args->DumpArgs(), "()");
    m_args->AddItem("beta", 5);
    m_args->AddItem("Alpha", "x");
    m_args->AddItem("MESSAGEID", 1);
    m_args->AddItem(800, 1);  // no name: neither text nor blank
    EXPECT_EQ(m_args->DumpArgs(), "(MessageID:eFailureConf Alpha:x beta:5)");
    m_args->AddItem("Alpha", std::string(40000, 'y'));
    EXPECT_EQ(m_args->DumpArgs(), "(MessageID:eFailureConf Alpha:" + std::string(40000, 'y') + " beta:5)");
}

TEST_F(ArgumentsDumpTest, OneEntryByKey)
{
    const ArgHolder arg(Arg::Create());
    arg->SetValue("x");
    m_args->AddItem("MessageID", 9);
    EXPECT_EQ(m_args->FormatArg("messageid"), "messageid:eCallDeliveredEvent");
    EXPECT_EQ(m_args->FormatArg("missing"), "missing:does not exist");
    EXPECT_EQ(m_args->FormatArg("any name", arg.get()), "any name:x");
    EXPECT_THROW(m_args->FormatArg("MessageID", arg.get()), COrvexException);
}

TEST_F(ArgumentsDumpTest, HundredLevelsAreShown)
{
    ArgumentsHolder args(Arguments::CreateInstance());
    for (int nLevels = 2; nLevels <= 102; ++nLevels) {
        ArgumentsHolder outer(Arguments::CreateInstance());
        outer->AddItem("n", *args);
        args = std::move(outer);
        const int nShown = nLevels > 100 ? 100 : nLevels - 1;
        EXPECT_EQ(args->DumpArgs(),
                  Repeated("(n:", nShown) + (nLevels > 100 ? "(...)" : "()") + Repeated(")", nShown));
        if (nLevels <= 100) {
            EXPECT_EQ(Show(*ArgHolder(args->Clone())), Show(*args));
        } else {
            EXPECT_THROW(args->Clone(), COrvexException);
        }
    }
}

TEST_F(ArgumentsDumpTest, ContainerInsideItselfEnds)
{
    m_args->AddItem("self", *m_args);
    EXPECT_EQ(m_args->DumpArgs(), Repeated("(self:", 100) + "(...)" + Repeated(")", 100));
    EXPECT_THROW(m_args->Clone(), COrvexException);
    m_args->AddItem("again", *m_args);  // opened in full, that would be two to the hundredth
    EXPECT_LT(m_args->DumpArgs().size(), 10000u);
    EXPECT_THROW(m_args->Clone(), COrvexException);
    m_args->Clear();
}

TEST_F(ArgumentsDumpTest, CloneSharesNothing)
{
    const ArgumentsHolder nested(Arguments::CreateInstance());
    const Holder<ArgArguments> holding = Holding();
    const ArgHolder value(Arg::Create());
    nested->AddItem("Leaf", value.get());
    m_args->AddItem("Key", value.get());
    m_args->AddItem("messageid", 9);
    m_args->AddItem("Agents", *nested);
    m_args->AddItem("held", holding.get());
    const ArgHolder clone(m_args->Clone());
    const char* const shown = "(MessageID=INT 9 Agents=(Leaf=NOTSET) held=ARGUMENT (a=INT 1) Key=NOTSET)";
    EXPECT_EQ(Show(*m_args), shown);
    value->SetValue(2);
    nested->AddItem("more", 1);
    ArgumentsHolder(holding->GetArguments())->SetValue("a", 2);
    m_args->RemoveItem("MessageID");
    EXPECT_EQ(Show(*clone), shown);
    EXPECT_EQ(CountOf(*clone), 1);
    for (int i = 1; i <= 4; ++i)
        EXPECT_EQ(CountOf(*ArgHolder(dynamic_cast<Arguments&>(*clone).GetElement(i))), 2) << i;
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
}

}  // namespace
