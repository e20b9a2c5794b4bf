// The full record of a plain value: size, 16 bits; tag, 16 bits; the value in as many bytes as size says. The
// size lets a reader step over a tag that it does not know.
//
// An unset value is size 0 and tag 0. Older writers left out one of the two fields, so a reader takes a size
// of 0 that is not followed by two zero bytes for a whole unset value.
#include "values/Arg.h"
#include "values/Serialize.h"

#include <climits>
#include <cstring>
#include <iterator>

namespace {

struct NumberTag
{
    short size;
    const char* label;
};

// By tag. An unset value and a string have rows so that the tag is the index.
constexpr NumberTag NUMBER_TAGS[] = {
    {0, "ARG_NOTSET"}, {4, "int"},  {4, "unsigned int"}, {2, "unsigned short"},
    {2, "short"},      {1, "bool"}, {0, "string"},
};
static_assert(std::size(NUMBER_TAGS) == ARG_STRING + 1, "one row a tag");

}  // namespace

// Lines of a record begin with "Arg(%p, type(%d))::Pack, " or "Arg(%p, type(%d))::Unpack, ".

int Arg::Pack(Serialize& s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::Pack()", this, Type());
    ScopedLock lock(&m_lock);
    const int type = Type();
    if (type < ARG_NOTSET || type > ARG_STRING) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_SKIPPED,
                    "Arg(%p, type(%d))::Pack, Unknown Arg Type/Value, can't write arg", this, type);
        return -1;
    }
    if (type == ARG_STRING)
        return PackString(s);

    const NumberTag& tag = NUMBER_TAGS[type];
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::Pack, writing size %d", this, type, tag.size);
    if (s.WriteShort(tag.size) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::Pack, failed to write size %d", this,
                    type, tag.size);
        return -1;
    }
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::Pack, writing type %d (%s)", this, type, type,
                tag.label);
    if (s.WriteShort(static_cast<short>(type)) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::Pack, failed to write type %d (%s)",
                    this, type, type,
                    type == ARG_NOTSET ? "ARG NOTSET" : tag.label);  // sic
        return -1;
    }
    if (type == ARG_NOTSET)
        return 1;
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::Pack, writing value %s", this, type,
                NumberText().c_str());
    if (WriteNumber(s) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::Pack, failed to write value %s", this,
                    type, NumberText().c_str());
        return -1;
    }
    return 1;
}

int Arg::PackString(Serialize& s)
{
    const std::size_t size = m_string.size() + 1;
    const int n = size > INT_MAX ? INT_MAX : static_cast<int>(size);
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::Pack, writing string \"%s\" size %d", this, Type(),
                m_string.c_str(), n);
    if (n > SHRT_MAX || s.WriteShort(static_cast<short>(n)) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::Pack, failed to write string size %d",
                    this, Type(), n);
        return -1;
    }
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::Pack, writing string \"%s\" type %d (string)",
                this, Type(), m_string.c_str(), ARG_STRING);
    if (s.WriteShort(ARG_STRING) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::Pack, failed to write type %d (string)",
                    this, Type(), ARG_STRING);
        return -1;
    }
    return PackText(s, n, "Pack");
}

// The bytes of a string with their closing zero: the last field of both records.
int Arg::PackText(Serialize& s, int nSize, const char* operation)
{
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::%s, writing value \"%s\"", this, Type(), operation,
                m_string.c_str());
    if (s.WriteBytes(m_string.c_str(), nSize) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::%s, failed to write value \"%s\"", this,
                    Type(), operation, m_string.c_str());
        return -1;
    }
    return 1;
}

int Arg::Unpack(Serialize& s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::Unpack()", this, Type());
    ScopedLock lock(&m_lock);
    short size;
    if (s.ReadShort(&size) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED,
                    "Arg(%p, type(%d))::Unpack, failed to read size of Arg data", this, Type());
        return -1;
    }
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::Unpack, read size %d", this, Type(), size);
    if (size == 0 && !NextIsTagZero(s)) {
        SetType(ARG_NOTSET);
        return 1;
    }
    short type;
    if (s.ReadShort(&type) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::Unpack, failed to read Arg type", this,
                    Type());
        return -1;
    }
    SetType(type);
    if (type < ARG_NOTSET || type > ARG_STRING) {
        if (size < 0 || size > s.BytesRemaining()) {
            ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED,
                        "Arg(%p, type(%d))::Unpack, failed to skip %d bytes of data", this, type, size);
            return -1;
        }
        ORVEX_TRACE(m_pLogger, TRACE_STEP_SKIPPED,
                    "Arg(%p, type(%d))::Unpack, read unknown type %d, skipping data", this, type, type);
        s.SkipRead(size);
        return -1;
    }
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::Unpack, read type %d, (%s)", this, type, type,
                NUMBER_TAGS[type].label);
    if (type == ARG_NOTSET)
        return 1;
    if (type == ARG_STRING)
        return UnpackText(s, size, "Unpack");
    if (ReadNumberField(s) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::Unpack, failed to read %s data", this,
                    type, NUMBER_TAGS[type].label);
        return -1;
    }
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::Unpack, read value %s", this, type,
                type == ARG_BOOL ? (Bool() ? "\"true\"" : "\"false\"") : NumberText().c_str());
    return 1;
}

bool Arg::NextIsTagZero(Serialize& s)
{
    if (s.BytesRemaining() < 2)
        return false;
    const char* p = s.DataAt(s.GetReadPosition());
    return p != nullptr && p[0] == 0 && p[1] == 0;
}

// A text in place: it ends at its first zero, which stands within the size, and the size moves the stream on.
int Arg::UnpackText(Serialize& s, int nSize, const char* operation)
{
    const int pos = s.GetReadPosition();
    const char* text = nSize > 0 && nSize <= s.BytesRemaining() ? s.DataAt(pos) : nullptr;
    const void* end = text != nullptr ? memchr(text, 0, static_cast<std::size_t>(nSize)) : nullptr;
    if (end == nullptr) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED,
                    "Arg(%p, type(%d))::%s, failed to read string data of size %d", this, Type(), operation,
                    nSize);
        return -1;
    }
    m_string.assign(text, static_cast<const char*>(end));
    s.SkipRead(nSize);
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::%s, read value %s", this, Type(), operation,
                m_string.c_str());
    return 1;
}

int Arg::WriteNumber(Serialize& s)
{
    switch (Type()) {
    case ARG_INT: return s.WriteInt(static_cast<int>(m_value));
    case ARG_UINT: return s.WriteUInt(m_value);
    case ARG_USHORT: return s.WriteUShort(static_cast<unsigned short>(m_value));
    case ARG_SHORT: return s.WriteShort(static_cast<short>(m_value));
    default: return s.WriteBool(Bool());
    }
}

// A field of 16 or 8 bits touches only the low bits of the value and is not sign-extended.
int Arg::ReadNumberField(Serialize& s)
{
    switch (Type()) {
    case ARG_INT: {
        int i = 0;
        const int n = s.ReadInt(&i);
        return n < 0 ? n : TakeBits(static_cast<unsigned int>(i), 0xFFFFFFFF);
    }
    case ARG_UINT: {
        unsigned int ui = 0;
        const int n = s.ReadUInt(&ui);
        return n < 0 ? n : TakeBits(ui, 0xFFFFFFFF);
    }
    case ARG_USHORT: {
        unsigned short us = 0;
        const int n = s.ReadUShort(&us);
        return n < 0 ? n : TakeBits(us, 0xFFFF);
    }
    case ARG_SHORT: {
        short i = 0;
        const int n = s.ReadShort(&i);
        return n < 0 ? n : TakeBits(static_cast<unsigned short>(i), 0xFFFF);
    }
    default: {
        bool b = false;
        const int n = s.ReadBool(&b);
        return n < 0 ? n : TakeBits(b, 0xFF);
    }
    }
}

int Arg::TakeBits(unsigned int ui, unsigned int mask)
{
    m_value = (m_value & ~mask) | (ui & mask);
    return 1;
}

// Decimal, in the sign of the type; the wide unsigned type too.
std::string Arg::NumberText() const
{
    return Type() == ARG_UINT ? std::to_string(m_value) : std::to_string(Signed());
}
