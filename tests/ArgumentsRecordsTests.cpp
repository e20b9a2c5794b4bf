#include "tests/TestSupport.h"
#include "values/ArgArguments.h"
#include "values/RawArg.h"

namespace {

class ArgumentsRecordsTest : public testing::Test
{
protected:
    // One entry of every kind that travels, nested ones among them.
    void Fill()
    {
        m_args->AddItem("InvokeID", 5);
        m_args->AddItem("AgentState", static_cast<unsigned short>(3));
        m_args->AddItem("IsAvailable", true);
        m_args->AddItem("", "empty key");
        m_args->AddItem("\xC3\xA9", static_cast<short>(-2));
        m_args->AddItem("big", 4000000000u);
        ArgHolder((*m_args)["unset"]).reset();
        const Holder<RawArg> raw(RawArg::Create());
        raw->SetValue("\0\1", 2);
        m_args->AddItem("raw", raw.get());
        const ArgumentsHolder list(Arguments::CreateInstance()), empty(Arguments::CreateInstance());
        list->AddItem("1", 1001);
        list->AddItem("2", "x");
        list->AddItem("empty", *empty);
        m_args->AddItem("Agents", *list);
        const Holder<ArgArguments> holding(ArgArguments::Create());
        MemoryStream stream = FromHex("01 06 0100 0200 6b00 01 0f07");
        ASSERT_EQ(holding->Unpack2(stream), 1);
        m_args->AddItem("held", holding.get());
    }

    static ArgumentsHolder In(Arguments& rInner)
    {
        ArgumentsHolder outer(Arguments::CreateInstance());
        outer->AddItem("n", rInner);
        return outer;
    }

    const ArgumentsHolder m_args{Arguments::CreateInstance()};
    const ArgumentsHolder m_back{Arguments::CreateInstance()};
};

TEST_F(ArgumentsRecordsTest, WorkedBytes)
{
    ExpectRecord(*m_args, "0000", "0000");
    m_args->AddItem("x", "ab");
    m_args->AddItem("invokeid", 5);
    ExpectRecord(*m_args,
                 "0200 0900 496e766f6b65494400 0100 0800 0400 0100 05000000"
                 "     0200 7800 0100 0700 0300 0600 616200",
                 "0200 ffff 0000 01 0f05 0200 7800 01 06 0300 616200");
}

TEST_F(ArgumentsRecordsTest, EveryKindComesBack)
{
    Fill();
    EXPECT_EQ(Show(*m_args), "(InvokeID=INT 5 AgentState=USHORT 3 IsAvailable=BOOL 1 "
                             "Agents=(1=INT 1001 2=\"x\" empty=()) =\"empty key\" big=UINT -294967296 "
                             "held=ARGUMENT (k=INT 7) raw=RAW 0001 unset=NOTSET \xC3\xA9=SHORT -2)");
    ExpectRecord(*m_args, Packed(FULL, *m_args), Packed(COMPACT, *m_args));
}

TEST_F(ArgumentsRecordsTest, ReadingAddsToWhatIsThere)
{
    m_args->AddItem("MessageID", 2);
    m_args->AddItem("KEY", "new");
    for (const Form& form : FORMS) {
        m_back->Clear();
        const ArgHolder old(Arg::Create());
        m_back->AddItem("Key", *old);
        m_back->AddItem("stays", 1);
        MemoryStream stream;
        form.Pack(*m_args, stream);
        EXPECT_EQ(form.Unpack(*m_back, stream), 2) << form.name;
        EXPECT_EQ(Show(*m_back), "(MessageID=INT 2 Key=\"new\" stays=INT 1)") << form.name;
        EXPECT_EQ(CountOf(*old), 1) << form.name;
    }
}

TEST_F(ArgumentsRecordsTest, StreamsThatNoWriterOfTodayMakes)
{
    ExpectReads(
        {
            {FULL, "nothing", "", 1, "()", 0},
            {FULL, "half a count", "01", -1, "()", 1},
            {FULL, "count of nothing", "0000 ee", 0, "()", 1},
            {FULL, "negative count", "ffff 0200 7800 0100 0800 0400 0100 05000000", 0, "()", 16},
            {FULL, "half a key size", "0100 02", -1, "()", 1},
            {FULL, "key size zero", "0100 0000 0100 0800 0400 0100 05000000", -1, "()", 12},
            {FULL, "key size negative", "0100 feff 7800 0100 0800 0400 0100 05000000", -1, "()", 14},
            {FULL, "key size beyond the end", "0100 1000 7800 0100 0800 0400 0100 05000000", -1, "()", 14},
            {FULL, "cut in the second entry", "0200 0200 6100 0100 0400 00000000 0200 62", -1, "(a=NOTSET)",
             1},
            {FULL, "key without zero", "0100 0100 78 0100 0800 0400 0100 05000000", -1, "()", 13},
            {FULL, "key cut by a zero inside", "0100 0400 78007900 0100 0800 0400 0100 05000000", 1,
             "(x=INT 5)", 0},
            {FULL, "keyword in another case", "0100 0500 54595045 00 0100 0800 0400 0100 05000000", 1,
             "(Type=INT 5)", 0},
            {FULL, "unknown class between", "0200 0200 6100 0900 0300 010203 0200 6200 0100 0400 00000000", 1,
             "(b=NOTSET)", 0},
            {FULL, "unknown tag between",
             "0200 0200 6100 0100 0700 0300 0900 010203 0200 6200 0100 0400 00000000", 1, "(b=NOTSET)", 0},
            {FULL, "more entries than count", "0100 0200 6100 0100 0400 00000000 0200 6200", 1, "(a=NOTSET)",
             4},
            {FULL, "unset without its size", "0100 0200 6100 0100 0200 0000", 1, "(a=NOTSET)", 0},
            {COMPACT, "nothing", "", 1, "()", 0},
            {COMPACT, "half a count", "01", -1, "()", 1},
            {COMPACT, "count of nothing", "0000 ee", 0, "()", 1},
            {COMPACT, "negative count", "0080 0200 7800 01 0f05", 0, "()", 7},
            {COMPACT, "half a key size", "0100 02", -1, "()", 1},
            {COMPACT, "half an id", "0100 ffff 00", -1, "()", 1},
            {COMPACT, "key size zero", "0100 0000 01 0f05", -1, "()", 3},
            {COMPACT, "key size beyond the end", "0100 feff 7800 01 0f05", -1, "()", 5},
            {COMPACT, "cut in the second entry", "0200 0200 6100 01 00 0200 62", -1, "(a=NOTSET)", 1},
            {COMPACT, "key without zero", "0100 0100 78 01 0f05", -1, "()", 4},
            {COMPACT, "key cut by a zero inside", "0100 0400 78007900 01 0f05", 1, "(x=INT 5)", 0},
            {COMPACT, "keyword as text", "0100 0900 494e564f4b45494400 01 0f05", 1, "(InvokeID=INT 5)", 0},
            {COMPACT, "id that is no row", "0100 ffff dc02 01 0f05", 1, "(?=INT 5)", 0},
            {COMPACT, "same key twice", "0200 0200 7800 01 0f05 0200 5800 01 0f06", 2, "(x=INT 6)", 0},
            {COMPACT, "unknown class ends it", "0300 0200 6100 01 0f05 0200 6200 09 0200 6300 01 0f06", 0,
             "(a=INT 5)", 7},
            {COMPACT, "nested one that ends early goes in",
             "0200 0200 6e00 06 0100 0200 6100 09 0200 6300 01 0f06", 2, "(c=INT 6 n=())", 0},
            {COMPACT, "nested one that fails ends it", "0200 0200 6e00 06 0100 0000 0200 6300 01 0f06", 0,
             "()", 7},
            {COMPACT, "unknown tag ends it", "0200 0200 6100 01 0f05 0200 6200 01 09", 0, "(a=INT 5)", 0},
            {COMPACT, "more entries than count", "0100 0200 6100 01 0f05 0200 6200", 1, "(a=INT 5)", 4},
        },
        [] { return Arguments::CreateInstance(); });
}

// Every byte of a stream with every kind of entry changed to the values that sizes, tags and classes turn on:
// whatever comes of it, it is something that travels.
TEST_F(ArgumentsRecordsTest, ChangedByteGivesWhatCanBeWrittenAgain)
{
    Fill();
    for (const Form& form : FORMS) {
        MemoryStream whole;
        form.Pack(*m_args, whole);
        for (std::size_t i = 0; i < whole.Size(); ++i) {
            for (const int nByte : {0, 1, 6, 7, 0x7F, 0xFF}) {
                std::string bytes(reinterpret_cast<const char*>(whole.Data()), whole.Size());
                bytes[i] = static_cast<char>(nByte);
                MemoryStream stream(bytes.data(), bytes.size()), again;
                const ArgumentsHolder read(Arguments::CreateInstance()), back(Arguments::CreateInstance());
                const int nResult = form.Unpack(*read, stream);
                const int nThere = read->NumElements();
                SCOPED_TRACE(std::string(form.name) + ", byte " + std::to_string(i) + " is " +
                             std::to_string(nByte));
                ASSERT_TRUE(nResult <= 0 || nResult >= nThere)
                    << nResult;  // above it where two keys became one
                ASSERT_EQ(form.Pack(*read, again), 1);
                ASSERT_EQ(form.Unpack(*back, again), nThere);
                ASSERT_EQ(Show(*back), Show(*read));
            }
        }
    }
}

TEST_F(ArgumentsRecordsTest, HundredLevelsAreTheMost)
{
    ArgumentsHolder most(Arguments::CreateInstance());
    for (int nLevel = 2; nLevel <= 100; ++nLevel)
        most = In(*most);
    const ArgumentsHolder tooMany = In(*most);
    for (const Form& form : FORMS) {
        SCOPED_TRACE(form.name);
        MemoryStream stream, refused, again;
        EXPECT_EQ(form.Pack(*most, stream), 1);
        EXPECT_EQ(form.Pack(*tooMany, refused), -1);
        EXPECT_EQ(form.Pack(*most, again), 1);  // the failure leaves nothing behind in the thread
        EXPECT_EQ(Hex(again), Hex(stream));
        EXPECT_EQ(form.Unpack(*m_back, stream), 1);
        EXPECT_EQ(Show(*m_back), Show(*most));

        // The same as the first value of two.
        MemoryStream deep =
            FromHex((form.bFull ? "0200 0200 6e00 0600 0000" : "0200 0200 6e00 06") + Hex(stream) +
                    (form.bFull ? "0200 7a00 0100 0400 00000000" : "0200 7a00 01 00"));
        m_back->Clear();
        EXPECT_EQ(form.Unpack(*m_back, deep), -1);
        EXPECT_EQ(Show(*m_back), "()");
    }
}

// Holders between the containers add no level.
TEST_F(ArgumentsRecordsTest, HundredContainersInHoldersPass)
{
    for (const int nLevels : {100, 101}) {
        std::string bytes;
        for (int i = 1; i < nLevels; ++i)
            bytes += "0100 0200 6e00 05 01 06";
        bytes += "0000";
        MemoryStream stream = FromHex(bytes);
        m_back->Clear();
        EXPECT_EQ(m_back->Unpack2(stream), nLevels == 100 ? 1 : -1) << nLevels;
        EXPECT_EQ(Packed(COMPACT, *m_back), nLevels == 100 ? Plain(bytes) : "0000") << nLevels;
    }
}

TEST_F(ArgumentsRecordsTest, MillionLevelsFail)
{
    for (const Form& form : FORMS) {
        const MemoryStream level = FromHex(form.bFull ? "0100 0200 6e00 0600 0000" : "0100 0200 6e00 06");
        MemoryStream stream;
        for (int i = 0; i < 1000000; ++i)
            stream.WriteBytes(level.Data(), static_cast<int>(level.Size()));
        EXPECT_EQ(form.Unpack(*m_back, stream), -1) << form.name;
        EXPECT_EQ(m_back->NumElements(), 0) << form.name;
    }
}

TEST_F(ArgumentsRecordsTest, ContainerInsideItselfIsRefused)
{
    const ArgumentsHolder inner = In(*m_args);
    m_args->AddItem("self", *m_args);
    m_args->AddItem("inner", *inner);
    for (const Form& form : FORMS) {
        EXPECT_EQ(Packed(form, *m_args), "result -1") << form.name;
        EXPECT_EQ(Packed(form, *inner), "result -1") << form.name;
    }
    inner->Clear();
    m_args->Clear();
    EXPECT_EQ(CountOf(*m_args), 1);
}

TEST_F(ArgumentsRecordsTest, KeyOnlyUpToWhatItsSizeHolds)
{
    // One more in the compact form would be the keyword's mark.
    const std::pair<const Form&, std::size_t> rows[] = {{FULL, 32766}, {COMPACT, 65533}};
    for (const auto& [form, most] : rows) {
        SCOPED_TRACE(form.name);
        MemoryStream stream, refused;
        m_args->Clear();
        m_back->Clear();
        m_args->AddItem(std::string(most, 'k'), 5);
        EXPECT_EQ(form.Pack(*m_args, stream), 1);
        EXPECT_EQ(form.Unpack(*m_back, stream), 1);
        EXPECT_EQ(m_back->GetElementKey(1), std::string(most, 'k'));
        m_args->AddItem(std::string(most + 1, 'k'), 5);
        EXPECT_EQ(form.Pack(*m_args, refused), -1);
        EXPECT_EQ(form.Unpack(*m_back, refused), 0);
    }
}

TEST_F(ArgumentsRecordsTest, CountOnlyUpToWhatItsFieldHolds)
{
    const ArgHolder one(Arg::Create());
    for (int i = 0; i < 32767; ++i)
        m_args->AddItem("k" + std::to_string(i), one.get());
    for (const Form& form : FORMS) {
        MemoryStream stream, refused;
        m_back->Clear();
        EXPECT_EQ(form.Pack(*m_args, stream), 1) << form.name;
        EXPECT_EQ(form.Unpack(*m_back, stream), 32767) << form.name;
        EXPECT_EQ(m_back->NumElements(), 32767) << form.name;
        m_args->AddItem("one more", one.get());
        EXPECT_EQ(form.Pack(*m_args, refused), -1) << form.name;
        EXPECT_EQ(form.Unpack(*m_back, refused), 0) << form.name;
        m_args->RemoveItem("one more");
    }
}

TEST_F(ArgumentsRecordsTest, IdsThatAreNoRow)
{
    const std::pair<int, const char*> rows[] = {{731, "0100ffffdb02010f05"},
                                                {732, "0100ffffdc02010f05"},
                                                {65535, "0100ffffffff010f05"},
                                                {65536, "result -1"},
                                                {-1, "result -1"}};
    for (const auto& [id, compact] : rows) {
        m_args->Clear();
        m_args->AddItem(id, 5);
        EXPECT_EQ(Packed(COMPACT, *m_args), compact) << id;
        EXPECT_EQ(Packed(FULL, *m_args) == "result -1", id != 731) << id;
    }
}

}  // namespace
