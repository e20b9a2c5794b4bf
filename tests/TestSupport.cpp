#include "tests/TestSupport.h"

#include "values/ArgArguments.h"
#include "values/ArgFactory.h"
#include "values/RawArg.h"

#include <cctype>
#include <cstdio>
#include <future>
#include <thread>
#include <unistd.h>
#include <utility>

MemoryStream FromHex(const std::string& hex)
{
    MemoryStream stream;
    for (std::size_t i = 0; i < hex.size(); i += hex[i] == ' ' ? 1 : 2)
        if (hex[i] != ' ')
            stream.WriteUByte(static_cast<unsigned char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return stream;
}

std::string Hex(const MemoryStream& stream)
{
    std::string hex;
    for (std::size_t i = 0; i < stream.Size(); ++i) {
        hex += "0123456789abcdef"[stream.Data()[i] >> 4];
        hex += "0123456789abcdef"[stream.Data()[i] & 15];
    }
    return hex;
}

std::string Plain(const std::string& hex) { return Hex(FromHex(hex)); }

std::string Packed(const Form& form, Arg& rArg)
{
    MemoryStream stream;
    const int nResult = form.Pack(rArg, stream);
    return nResult > 0 ? Hex(stream) : "result " + std::to_string(nResult);
}

std::string Show(Arg& rArg)
{
    if (auto* pArgs = dynamic_cast<Arguments*>(&rArg)) {
        std::string s = "(";
        for (int i = 1; i <= pArgs->NumElements(); ++i) {
            const ArgHolder value(pArgs->GetElement(i));
            std::string key = "?";
            pArgs->GetElementKey(i, &key);
            s += (i > 1 ? " " : "") + key + "=" + Show(*value);
        }
        return s + ")";
    }
    if (auto* pHolding = dynamic_cast<ArgArguments*>(&rArg)) {
        const ArgumentsHolder args(pHolding->GetArguments());
        return "ARGUMENT" + (args ? " " + Show(*args) : "");
    }
    if (auto* pRaw = dynamic_cast<RawArg*>(&rArg); pRaw != nullptr && pRaw->GetLength() > 0) {
        std::string block(static_cast<std::size_t>(pRaw->GetLength()), '\0');
        pRaw->GetValue(&block[0], pRaw->GetLength());
        return "RAW " + Hex(MemoryStream(block.data(), block.size()));
    }
    static const char* const TYPES[] = {"NOTSET", "INT ", "UINT ", "USHORT ", "SHORT ", "BOOL "};
    const int type = rArg.GetType();
    if (type == ARG_STRING)
        return '"' + rArg.GetValueString() + '"';
    if (type >= ARG_NOTSET && type < ARG_STRING)
        return TYPES[type] + rArg.GetValueString();
    return "TYPE " + std::to_string(type);
}

long CountOf(RefCounted& r)
{
    r.AddRef();
    return r.Release();
}

FailingStream::FailingStream(int n, MemoryStream bytes, int nRefusal)
    : m_stream(std::move(bytes)), m_nLeft(n), m_nRefusal(nRefusal)
{
}

void ExpectRecord(Arg& rArg, const std::string& full, const std::string& compact)
{
    const std::string shown = Show(rArg);
    auto* const pArgs = dynamic_cast<Arguments*>(&rArg);
    const bool bContainer = pArgs != nullptr || rArg.GetClassID() == CLASS_ID_ARGARGUMENTS;
    const auto Fails = [&](const Form& form, Serialize& s) {
        const ArgHolder back(ArgFactory::NewArg(rArg.GetClassID()));
        return form.Unpack(*back, s) < 0 || (bContainer && Show(*back) != shown);
    };
    for (const Form& form : FORMS) {
        SCOPED_TRACE(std::string(form.name) + " record of " + shown);
        const MemoryStream record = FromHex(form.bFull ? full : compact);
        ASSERT_EQ(Packed(form, rArg), Hex(record));
        MemoryStream stream = FromHex(Hex(record) + "ee");
        const ArgHolder back(ArgFactory::NewArg(rArg.GetClassID()));
        EXPECT_EQ(form.Unpack(*back, stream), pArgs != nullptr ? pArgs->NumElements() : 1);
        EXPECT_EQ(Show(*back), shown);
        EXPECT_EQ(stream.BytesRemaining(), 1);

        bool bRefused = true;
        for (int n = 1; bRefused; ++n) {
            FailingStream writing(n), reading(n, record);
            const bool bWriterFails = form.Pack(rArg, writing) < 0, bReaderFails = Fails(form, reading);
            EXPECT_EQ(bWriterFails, writing.HasRefused()) << "field " << n;
            EXPECT_EQ(bReaderFails, reading.HasRefused()) << "field " << n;
            bRefused = writing.HasRefused() || reading.HasRefused();
            EXPECT_TRUE(bRefused || n > 1);
        }
        for (std::size_t n = 0; n < record.Size(); ++n) {
            MemoryStream cut(record.Data(), n);
            const bool bWhole = form.bFull && n >= 2 && rArg.GetClassID() == CLASS_ID_ARG &&
                                shown == "NOTSET";  // as older writers left it
            EXPECT_EQ(Fails(form, cut), !bWhole && (n > 0 || shown != "()")) << "cut at " << n;
        }
    }
}

void ExpectReads(const std::vector<ReadRow>& rows, const std::function<Arg*()>& create)
{
    for (const ReadRow& row : rows) {
        SCOPED_TRACE(std::string(row.form.name) + ": " + row.name);
        MemoryStream stream = FromHex(row.bytes);
        const ArgHolder arg(create());
        EXPECT_EQ(row.form.Unpack(*arg, stream), row.nResult);
        EXPECT_EQ(Show(*arg), row.shown);
        EXPECT_EQ(stream.BytesRemaining(), row.nRemaining);
    }
}

std::string Traced(const std::function<void()>& work)
{
    std::FILE* pFile = std::tmpfile();
    const int fdStdout = dup(fileno(stdout));
    std::fflush(stdout);
    dup2(fileno(pFile), fileno(stdout));
    work();
    std::fflush(stdout);
    dup2(fdStdout, fileno(stdout));
    close(fdStdout);
    std::string text;
    std::rewind(pFile);
    for (int c; (c = std::fgetc(pFile)) != EOF;)
        text += static_cast<char>(c);
    std::fclose(pFile);

    const std::string pattern = "00:00:00.000  ";
    for (std::size_t start = 0; start != std::string::npos && start < text.size();) {
        std::string stamp = text.substr(start, pattern.size());
        for (char& c : stamp)
            c = std::isdigit(static_cast<unsigned char>(c)) ? '0' : c;
        if (stamp == pattern)
            text.replace(start, pattern.size(), "TIME  ");
        const std::size_t end = text.find('\n', start);
        start = end == std::string::npos ? end : end + 1;
    }
    return text;
}

void RunTogether(const std::vector<std::function<void()>>& pieces)
{
    std::promise<void> start;
    const std::shared_future<void> started = start.get_future().share();
    std::vector<std::promise<void>> ready(pieces.size());
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < pieces.size(); ++i)
        threads.emplace_back([&, i] {
            ready[i].set_value();
            started.wait();
            pieces[i]();
        });
    for (std::promise<void>& p : ready)
        p.get_future().wait();
    start.set_value();
    for (std::thread& thread : threads)
        thread.join();
}
