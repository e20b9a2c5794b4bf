// What the tests share: both serial forms as data, streams as hex, a stream that refuses a field, counts,
// contents as one line, the trace lines on standard output, and threads that start together.
#pragma once

#include "arguments/Arguments.h"
#include "tools/MemoryStream.h"
#include "values/ArgPackager.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

template <class T> using Holder = std::unique_ptr<T, ReleaseArg>;

struct Form
{
    const char* name;
    bool bFull;
    int (Arg::*pack)(Serialize&);
    int (Arg::*unpack)(Serialize&);
    int (ArgPackager::*packFrame)(Serialize&, Arg*);
    Arg* (ArgPackager::*unpackFrame)(Serialize&);

    int Pack(Arg& rArg, Serialize& s) const { return (rArg.*pack)(s); }
    int Unpack(Arg& rArg, Serialize& s) const { return (rArg.*unpack)(s); }
    int PackFrame(Arg* pArg, Serialize& s) const { return (ArgPackager().*packFrame)(s, pArg); }
    ArgHolder UnpackFrame(Serialize& s) const { return ArgHolder((ArgPackager().*unpackFrame)(s)); }
};
constexpr Form FULL{"full", true, &Arg::Pack, &Arg::Unpack, &ArgPackager::Pack, &ArgPackager::Unpack};
constexpr Form COMPACT{
    "compact", false, &Arg::Pack2, &Arg::Unpack2, &ArgPackager::Pack2, &ArgPackager::Unpack2};
constexpr Form FORMS[] = {FULL, COMPACT};

// Hex digits, with blanks anywhere, to a stream; a whole stream to hex digits; and the digits without their
// blanks.
MemoryStream FromHex(const std::string& hex);
std::string Hex(const MemoryStream& stream);
std::string Plain(const std::string& hex);

// The record as hex digits, or "result N".
std::string Packed(const Form& form, Arg& rArg);

// The content of a value with every type to be seen, as in (Agents=(1=INT 1001) x="ab" y=RAW 00ff z=ARGUMENT
// ()).
std::string Show(Arg& rArg);

// Stores a value in an Arg.
template <class T> std::function<void(Arg&)> Set(T value)
{
    return [value](Arg& rArg) { rArg.SetValue(value); };
}

// The count as it stands.
long CountOf(RefCounted& r);

// A stream in memory that refuses its n-th field, counted from 1 over writes and reads alike. Moves and
// questions are not fields.
class FailingStream final : public Serialize
{
public:
    explicit FailingStream(int n, MemoryStream bytes = {}, int nRefusal = -1);

    bool HasRefused() const { return m_nLeft <= 0; }
    MemoryStream& Bytes() { return m_stream; }

    int WriteUInt(unsigned int ui) override { return Refuse() ? m_nRefusal : m_stream.WriteUInt(ui); }
    int WriteInt(int i) override { return Refuse() ? m_nRefusal : m_stream.WriteInt(i); }
    int WriteUShort(unsigned short us) override { return Refuse() ? m_nRefusal : m_stream.WriteUShort(us); }
    int WriteShort(short s) override { return Refuse() ? m_nRefusal : m_stream.WriteShort(s); }
    int WriteBool(bool b) override { return Refuse() ? m_nRefusal : m_stream.WriteBool(b); }
    int WriteUByte(unsigned char uc) override { return Refuse() ? m_nRefusal : m_stream.WriteUByte(uc); }
    int WriteByte(signed char c) override { return Refuse() ? m_nRefusal : m_stream.WriteByte(c); }
    int WriteBytes(const void* p, int n) override
    {
        return Refuse() ? m_nRefusal : m_stream.WriteBytes(p, n);
    }
    int GetWritePosition() override { return m_stream.GetWritePosition(); }
    int SkipWrite(int n) override { return m_stream.SkipWrite(n); }
    int WriteShortAt(int pos, short s) override
    {
        return Refuse() ? m_nRefusal : m_stream.WriteShortAt(pos, s);
    }

    int ReadUInt(unsigned int* pui) override { return Refuse() ? m_nRefusal : m_stream.ReadUInt(pui); }
    int ReadInt(int* pi) override { return Refuse() ? m_nRefusal : m_stream.ReadInt(pi); }
    int ReadUShort(unsigned short* pus) override { return Refuse() ? m_nRefusal : m_stream.ReadUShort(pus); }
    int ReadShort(short* ps) override { return Refuse() ? m_nRefusal : m_stream.ReadShort(ps); }
    int ReadBool(bool* pb) override { return Refuse() ? m_nRefusal : m_stream.ReadBool(pb); }
    int ReadUByte(unsigned char* puc) override { return Refuse() ? m_nRefusal : m_stream.ReadUByte(puc); }
    int ReadByte(signed char* pc) override { return Refuse() ? m_nRefusal : m_stream.ReadByte(pc); }
    int ReadBytes(void* p, int n) override { return Refuse() ? m_nRefusal : m_stream.ReadBytes(p, n); }
    int GetReadPosition() override { return m_stream.GetReadPosition(); }
    int SkipRead(int n) override { return m_stream.SkipRead(n); }
    int BytesRemaining() override { return m_stream.BytesRemaining(); }

    const char* DataAt(int pos) override { return m_stream.DataAt(pos); }

private:
    bool Refuse() { return --m_nLeft == 0; }

    MemoryStream m_stream;
    int m_nLeft;
    int m_nRefusal;
};

// Expects of a value's record in both forms: these bytes; that a new object of the class reads the same value
// from them and no byte more; that every field refused fails the writer and the reader; and that every cut
// fails the reader. A reader that is a container may give what it had by then.
void ExpectRecord(Arg& rArg, const std::string& full, const std::string& compact);

// Bytes, and what an object reads from them.
struct ReadRow
{
    const Form& form;
    const char* name;
    const char* bytes;
    int nResult;
    const char* shown;
    int nRemaining;
};
void ExpectReads(const std::vector<ReadRow>& rows, const std::function<Arg*()>& create);

// What a piece of work writes to standard output, with "TIME" for the time that opens a line.
std::string Traced(const std::function<void()>& work);

// Runs every piece on a thread of its own, none before all are there.
void RunTogether(const std::vector<std::function<void()>>& pieces);
