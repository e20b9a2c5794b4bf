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
        m_args->AddItem("\xC3\xA9t\xC3\xA9", static_cast<short>(-2));
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

    static ArgumentsHolder Chain(int nLevels)
    {
        ArgumentsHolder args(Arguments::CreateInstance());
        args->AddItem("x", 1);
        while (--nLevels > 0) {
            ArgumentsHolder outer(Arguments::CreateInstance());
            outer->AddItem("n", *args);
            args = std::move(outer);
        }
        return args;
    }

    const ArgumentsHolder m_args{Arguments::CreateInstance()};
    const ArgumentsHolder m_back{Arguments::CreateInstance()};
};

const char FILLED[] =
    "(AgentState=USHORT 3 IsAvailable=BOOL 1 Agents=(1=INT 1001 2=\"x\" empty=()) =\"empty key\" "
    "big=UINT -294967296 held=ARGUMENT (k=INT 7) raw=RAW 0001 unset=NOTSET \xC3\xA9t\xC3\xA9=SHORT -2)";

TEST_F(ArgumentsRecordsTest, WorkedBytes)
{
    m_args->AddItem("x", "ab");
    m_args->AddItem("invokeid", 5);
    EXPECT_EQ(Packed(FULL, *m_args), Plain("0200 0900 496e766f6b65494400 0100 0800 0400 0100 05000000"
                                           "     0200 7800 0100 0700 0300 0600 616200"));
    EXPECT_EQ(Packed(COMPACT, *m_args), Plain("0200 ffff 0000 01 0f05 0200 7800 01 06 0300 616200"));
    m_args->Clear();
    for (const Form& form : FORMS)
        EXPECT_EQ(Packed(form, *m_args), "0000");
}

TEST_F(ArgumentsRecordsTest, EveryKindComesBack)
{
    Fill();
    const std::string shown = Show(*m_args);
    EXPECT_EQ(shown, std::string("(InvokeID=INT 5 ") + (FILLED + 1));
    for (const Form& form : FORMS) {
        SCOPED_TRACE(form.name);
        MemoryStream stream;
        EXPECT_EQ(form.Pack(*m_args, stream), 1);
        stream.WriteUByte(0xEE);
        m_back->Clear();
        EXPECT_EQ(form.Unpack(*m_back, stream), m_args->NumElements());
        EXPECT_EQ(Show(*m_back), shown);
        EXPECT_EQ(stream.BytesRemaining(), 1);
        for (int i = 1; i <= m_back->NumElements(); ++i)
            EXPECT_EQ(CountOf(*ArgHolder(m_back->GetElement(i))), 2) << i;
    }
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

// What stands in a stream, the result, what the container then holds, and the bytes left.
TEST_F(ArgumentsRecordsTest, StreamsThatNoWriterOfTodayMakes)
{
    const struct
    {
        const char* name;
        const Form& form;
        const char* bytes;
        int nResult;
        const char* shown;
        int nRemaining;
    } rows[] = {
        {"nothing", FULL, "", 1, "()", 0},
        {"half a count", FULL, "01", -1, "()", 1},
        {"count of nothing", FULL, "0000 ee", 0, "()", 1},
        {"negative count", FULL, "ffff 0200 7800 0100 0800 0400 0100 05000000", 0, "()", 16},
        {"no entries", FULL, "0300", 0, "()", 0},
        {"half a key size", FULL, "0100 02", -1, "()", 1},
        {"key size zero", FULL, "0100 0000 0100 0800 0400 0100 05000000", -1, "()", 12},
        {"key size negative", FULL, "0100 feff 7800 0100 0800 0400 0100 05000000", -1, "()", 14},
        {"key size beyond the end", FULL, "0100 1000 7800 0100 0800 0400 0100 05000000", -1, "()", 14},
        {"key without zero", FULL, "0100 0100 78 0100 0800 0400 0100 05000000", -1, "()", 13},
        {"key cut by a zero inside", FULL, "0100 0400 78007900 0100 0800 0400 0100 05000000", 1, "(x=INT 5)",
         0},
        {"keyword in another case", FULL, "0100 0900 494e564f4b45494400 0100 0800 0400 0100 05000000", 1,
         "(InvokeID=INT 5)", 0},
        {"same key twice", FULL,
         "0200 0200 7800 0100 0800 0400 0100 05000000 0200 5800 0100 0800 0400 0100 06000000", 2, "(x=INT 6)",
         0},
        {"unknown class between", FULL,
         "0300 0200 6100 0100 0800 0400 0100 05000000 0200 6200 0900 0300 010203 0200 6300 0100 0800 0400 0100 06000000",
         2, "(a=INT 5 c=INT 6)", 0},
        {"unknown tag between", FULL,
         "0300 0200 6100 0100 0800 0400 0100 05000000 0200 6200 0100 0700 0300 0900 010203 0200 6300 0100 0800 0400 0100 06000000",
         2, "(a=INT 5 c=INT 6)", 0},
        {"more entries than count", FULL, "0100 0200 6100 0100 0800 0400 0100 05000000 0200 6200", 1,
         "(a=INT 5)", 4},
        {"unset without its size", FULL, "0100 0200 6100 0100 0200 0000", 1, "(a=NOTSET)", 0},
        {"class 3", FULL, "0100 0200 6100 0300 0800 0400 0100 05000000", 1, "(a=INT 5)", 0},
        {"nothing", COMPACT, "", 1, "()", 0},
        {"half a count", COMPACT, "01", -1, "()", 1},
        {"count of nothing", COMPACT, "0000 ee", 0, "()", 1},
        {"negative count", COMPACT, "0080 0200 7800 01 0f05", 0, "()", 7},
        {"no entries", COMPACT, "0300", 0, "()", 0},
        {"half a key size", COMPACT, "0100 02", -1, "()", 1},
        {"half an id", COMPACT, "0100 ffff 00", -1, "()", 1},
        {"key size zero", COMPACT, "0100 0000 01 0f05", -1, "()", 3},
        {"key size beyond the end", COMPACT, "0100 feff 7800 01 0f05", -1, "()", 5},
        {"key without zero", COMPACT, "0100 0100 78 01 0f05", -1, "()", 4},
        {"key cut by a zero inside", COMPACT, "0100 0400 78007900 01 0f05", 1, "(x=INT 5)", 0},
        {"keyword as text", COMPACT, "0100 0900 494e564f4b45494400 01 0f05", 1, "(InvokeID=INT 5)", 0},
        {"id that is no row", COMPACT, "0100 ffff dc02 01 0f05", 1, "(?=INT 5)", 0},
        {"highest id", COMPACT, "0100 ffff ffff 01 0f05", 1, "(?=INT 5)", 0},
        {"same key twice", COMPACT, "0200 0200 7800 01 0f05 0200 5800 01 0f06", 2, "(x=INT 6)", 0},
        {"unknown class ends it", COMPACT, "0300 0200 6100 01 0f05 0200 6200 09 0200 6300 01 0f06", 0,
         "(a=INT 5)", 7},
        {"unknown tag ends it", COMPACT, "0200 0200 6100 01 0f05 0200 6200 01 09", 0, "(a=INT 5)", 0},
        {"more entries than count", COMPACT, "0100 0200 6100 01 0f05 0200 6200", 1, "(a=INT 5)", 4},
        {"nested one that ends early goes in", COMPACT,
         "0200 0200 6e00 06 0200 0200 6100 01 0f05 0200 6200 09 0200 6300 01 0f06", 2,
         "(c=INT 6 n=(a=INT 5))", 0},
        {"nested one that fails ends it", COMPACT, "0200 0200 6e00 06 0100 0000 0200 6300 01 0f06", 0, "()",
         7},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.form.name) + ", " + row.name);
        MemoryStream stream = FromHex(row.bytes);
        m_back->Clear();
        EXPECT_EQ(row.form.Unpack(*m_back, stream), row.nResult);
        EXPECT_EQ(Show(*m_back), row.shown);
        EXPECT_EQ(stream.BytesRemaining(), row.nRemaining);
    }
}

TEST_F(ArgumentsRecordsTest, EveryFieldRefused)
{
    Fill();
    const std::string shown = Show(*m_args);
    for (const Form& form : FORMS) {
        SCOPED_TRACE(form.name);
        EXPECT_GT(FieldsRefused({}, [&](Serialize& s) { return form.Pack(*m_args, s); }), 40);
        MemoryStream stream;
        form.Pack(*m_args, stream);
        int n = 1;
        for (bool bRefused = true; bRefused && n < 1000; ++n) {
            FailingStream failing(n, stream);
            const ArgumentsHolder back(Arguments::CreateInstance());
            const int nResult = form.Unpack(*back, failing);
            bRefused = failing.HasRefused();
            // A value that fails costs its entry in the full form and the rest in the compact one.
            EXPECT_EQ(Show(*back) != shown, bRefused) << "field " << n;
            EXPECT_TRUE(bRefused || nResult == m_args->NumElements()) << "field " << n;
        }
        EXPECT_GT(n, 40);
    }
}

TEST_F(ArgumentsRecordsTest, WriterPassesTheStreamsResultOn)
{
    m_args->AddItem("x", 1);
    const struct
    {
        const Form& form;
        int nField, nResult;
    } rows[] = {{FULL, 1, -7},    {FULL, 2, -7},    {FULL, 3, -1},    {FULL, 8, -7},
                {COMPACT, 1, -7}, {COMPACT, 2, -7}, {COMPACT, 3, -1}, {COMPACT, 6, -7}};
    for (const auto& row : rows) {
        FailingStream stream(row.nField, {}, -7);
        EXPECT_EQ(row.form.Pack(*m_args, stream), row.nResult) << row.form.name << ", field " << row.nField;
    }
}

// What was read before a cut stays, and is what was written.
TEST_F(ArgumentsRecordsTest, CutStreamGivesTheEntriesBeforeTheCut)
{
    m_args->AddItem("InvokeID", 5);
    m_args->AddItem("b", "text");
    m_args->AddItem("c", true);
    const std::string aShown[] = {"()", "(InvokeID=INT 5)", "(InvokeID=INT 5 b=\"text\")",
                                  "(InvokeID=INT 5 b=\"text\" c=BOOL 1)"};
    for (const Form& form : FORMS) {
        MemoryStream whole;
        form.Pack(*m_args, whole);
        int nBefore = 0;
        for (std::size_t n = 0; n <= whole.Size(); ++n) {
            SCOPED_TRACE(std::string(form.name) + ", cut at " + std::to_string(n));
            MemoryStream cut(whole.Data(), n);
            m_back->Clear();
            const int nResult = form.Unpack(*m_back, cut);
            const int nThere = m_back->NumElements();
            EXPECT_GE(nThere, nBefore);
            nBefore = nThere;
            EXPECT_EQ(Show(*m_back), aShown[nThere]);
            EXPECT_TRUE(n == 0 ? nResult == 1 : nResult <= nThere) << nResult;
        }
        EXPECT_EQ(nBefore, 3);
    }
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
    const ArgumentsHolder most = Chain(100), tooMany = Chain(101), outer = Chain(1);
    for (const Form& form : FORMS) {
        SCOPED_TRACE(form.name);
        MemoryStream stream;
        EXPECT_EQ(form.Pack(*most, stream), 1);
        m_back->Clear();
        EXPECT_EQ(form.Unpack(*m_back, stream), 1);
        EXPECT_EQ(Show(*m_back), Show(*most));
        EXPECT_EQ(stream.BytesRemaining(), 0);

        MemoryStream refused;
        EXPECT_EQ(form.Pack(*tooMany, refused), -1);

        // The same stream as the value of one more entry.
        MemoryStream deep = FromHex(form.bFull ? "0200 0200 6e00 0600 0000" : "0200 0200 6e00 06");
        deep.WriteBytes(stream.Data(), static_cast<int>(stream.Size()));
        const MemoryStream behind =
            FromHex(form.bFull ? "0200 7a00 0100 0800 0400 0100 05000000" : "0200 7a00 01 0f05");
        deep.WriteBytes(behind.Data(), static_cast<int>(behind.Size()));
        m_back->Clear();
        EXPECT_EQ(form.Unpack(*m_back, deep), -1);
        EXPECT_EQ(Show(*m_back), "()");

        MemoryStream again;  // the failure leaves nothing behind in the thread
        EXPECT_EQ(form.Pack(*most, again), 1);
        EXPECT_EQ(Hex(again), Hex(stream));
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
    const ArgumentsHolder inner(Arguments::CreateInstance());
    m_args->AddItem("self", *m_args);
    m_args->AddItem("again", *m_args);
    inner->AddItem("outer", *m_args);
    m_args->AddItem("inner", *inner);
    for (const Form& form : FORMS) {
        MemoryStream stream;
        EXPECT_EQ(form.Pack(*m_args, stream), -1) << form.name;
        EXPECT_EQ(form.Pack(*inner, stream), -1) << form.name;
    }
    EXPECT_EQ(CountOf(*m_args), 4);
    inner->Clear();
    m_args->Clear();
    EXPECT_EQ(CountOf(*m_args), 1);
}

TEST_F(ArgumentsRecordsTest, KeyOnlyUpToWhatItsSizeHolds)
{
    const struct
    {
        const Form& form;
        std::size_t most;
    } rows[] = {{FULL, 32766}, {COMPACT, 65533}};  // one more in the compact form would be the keyword's mark
    for (const auto& row : rows) {
        SCOPED_TRACE(row.form.name);
        m_args->Clear();
        m_back->Clear();
        m_args->AddItem(std::string(row.most, 'k'), 5);
        MemoryStream stream;
        EXPECT_EQ(row.form.Pack(*m_args, stream), 1);
        EXPECT_EQ(row.form.Unpack(*m_back, stream), 1);
        EXPECT_EQ(m_back->GetElementKey(1), std::string(row.most, 'k'));

        m_args->Clear();
        m_args->AddItem(std::string(row.most + 1, 'k'), 5);
        MemoryStream refused;
        EXPECT_EQ(row.form.Pack(*m_args, refused), -1);
        EXPECT_EQ(Hex(refused), "0000");
    }
}

TEST_F(ArgumentsRecordsTest, ValueThatDoesNotFitFailsTheContainer)
{
    const ArgumentsHolder nested(Arguments::CreateInstance());
    m_args->AddItem("n", *nested);
    nested->AddItem("x", std::string(65535, 'x'));
    for (const Form& form : FORMS)
        EXPECT_EQ(Packed(form, *m_args), "result -1") << form.name;
}

TEST_F(ArgumentsRecordsTest, CountOnlyUpToWhatItsFieldHolds)
{
    const ArgHolder one(Arg::Create());
    one->SetValue(1);
    for (int i = 0; i < 32767; ++i)
        m_args->AddItem("k" + std::to_string(i), one.get());
    for (const Form& form : FORMS) {
        MemoryStream stream;
        EXPECT_EQ(form.Pack(*m_args, stream), 1) << form.name;
        m_back->Clear();
        EXPECT_EQ(form.Unpack(*m_back, stream), 32767) << form.name;
        EXPECT_EQ(m_back->NumElements(), 32767) << form.name;
        EXPECT_EQ(m_back->GetElementKey(32767), "k9999");
    }
    m_args->AddItem("one more", one.get());
    for (const Form& form : FORMS) {
        MemoryStream stream;
        EXPECT_EQ(form.Pack(*m_args, stream), -1) << form.name;
        EXPECT_EQ(form.Unpack(*m_back, stream), 0) << form.name;
    }
}

TEST_F(ArgumentsRecordsTest, IdsThatAreNoRow)
{
    const struct
    {
        int id;
        const char* compact;
    } rows[] = {{732, "0100 ffff dc02 01 0f05"},
                {65535, "0100 ffff ffff 01 0f05"},
                {65536, "result -1"},
                {-1, "result -1"},
                {731, "0100 ffff db02 01 0f05"}};
    for (const auto& row : rows) {
        m_args->Clear();
        m_args->AddItem(row.id, 5);
        EXPECT_EQ(Plain(Packed(COMPACT, *m_args)), Plain(row.compact)) << row.id;
        EXPECT_EQ(Packed(FULL, *m_args) == "result -1", row.id != 731) << row.id;
    }
}

}  // namespace
