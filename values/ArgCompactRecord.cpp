// The compact record of a plain value: tag, 8 bits, and the value in the smallest field that holds it, which
// the tag tells. A string is size, 16 bits, and its bytes with their closing zero. There is no size in front:
// a reader that does not know a tag has lost its place.
#include "values/Arg.h"
#include "values/Serialize.h"

#include <climits>
#include <iterator>

namespace {

enum Field
{
    FIELD_NONE,
    FIELD_BYTE,
    FIELD_UBYTE,
    FIELD_SHORT,
    FIELD_USHORT,
    FIELD_WIDE  // as the full record has it
};

struct CompactTag
{
    unsigned char type;  // the wide tag
    Field field;
    const char* label;  // null for a string's tag, and where the tag is not known
};

// By tag.
constexpr CompactTag COMPACT_TAGS[] = {
    // clang-format off
    /* ARG_NOTSET                 */ {ARG_NOTSET, FIELD_NONE,   "ARG_NOTSET"},
    /* ARG_INT                    */ {ARG_INT,    FIELD_WIDE,   "int"},
    /* ARG_UINT                   */ {ARG_UINT,   FIELD_WIDE,   "unsigned int"},
    /* ARG_USHORT                 */ {ARG_USHORT, FIELD_WIDE,   "unsigned short"},
    /* ARG_SHORT                  */ {ARG_SHORT,  FIELD_WIDE,   "short"},
    /* ARG_BOOL                   */ {ARG_BOOL,   FIELD_WIDE,   "bool"},
    /* ARG_STRING and 7 to 10     */ {}, {}, {}, {}, {},
    /* ARG_SERIAL_INT_AS_SHORT    */ {ARG_INT,    FIELD_SHORT,  "int as short"},
    /* ARG_SERIAL_INT_AS_USHORT   */ {ARG_INT,    FIELD_USHORT, "int as ushort"},
    /* ARG_SERIAL_UINT_AS_USHORT  */ {ARG_UINT,   FIELD_USHORT, "uint as ushort"},
    /* ARG_SERIAL_INT_AS_BYTE     */ {ARG_INT,    FIELD_BYTE,   "int as byte"},
    /* ARG_SERIAL_INT_AS_UBYTE    */ {ARG_INT,    FIELD_UBYTE,  "int as ubyte"},
    /* ARG_SERIAL_UINT_AS_UBYTE   */ {ARG_UINT,   FIELD_UBYTE,  "uint as ubyte"},
    /* ARG_SERIAL_SHORT_AS_BYTE   */ {ARG_SHORT,  FIELD_BYTE,   "short as byte"},
    /* ARG_SERIAL_SHORT_AS_UBYTE  */ {ARG_SHORT,  FIELD_UBYTE,  "short as ubyte"},
    /* ARG_SERIAL_USHORT_AS_UBYTE */ {ARG_USHORT, FIELD_UBYTE,  "ushort as ubyte"},
    // clang-format on
};
static_assert(std::size(COMPACT_TAGS) == ARG_SERIAL_USHORT_AS_UBYTE + 1, "the tag is the index");

constexpr CompactTag UNKNOWN_TAG = {};

// The tag of the smallest field that holds the value. An unsigned int above INT_MAX comes as a negative
// number.
int TagOfValue(int type, int i)
{
    const bool bUByte = i >= 0 && i <= UCHAR_MAX;
    const bool bUShort = i >= 0 && i <= USHRT_MAX;
    const bool bByte = i < 0 && i >= SCHAR_MIN;
    const bool bShort = i < 0 && i >= SHRT_MIN;
    switch (type) {
    case ARG_INT:
        return bUByte    ? ARG_SERIAL_INT_AS_UBYTE
               : bUShort ? ARG_SERIAL_INT_AS_USHORT
               : bByte   ? ARG_SERIAL_INT_AS_BYTE
               : bShort  ? ARG_SERIAL_INT_AS_SHORT
                         : ARG_INT;
    case ARG_UINT: return bUByte ? ARG_SERIAL_UINT_AS_UBYTE : bUShort ? ARG_SERIAL_UINT_AS_USHORT : ARG_UINT;
    case ARG_USHORT: return bUByte ? ARG_SERIAL_USHORT_AS_UBYTE : ARG_USHORT;
    case ARG_SHORT: return bUByte ? ARG_SERIAL_SHORT_AS_UBYTE : bByte ? ARG_SERIAL_SHORT_AS_BYTE : ARG_SHORT;
    default: return type;
    }
}

// The value of a narrowed field, sign- or zero-extended.
bool ReadNarrowField(Serialize& s, Field field, int* pi)
{
    signed char c = 0;
    unsigned char uc = 0;
    short i = 0;
    unsigned short us = 0;
    switch (field) {
    case FIELD_BYTE: return s.ReadByte(&c) >= 0 && (*pi = c, true);
    case FIELD_UBYTE: return s.ReadUByte(&uc) >= 0 && (*pi = uc, true);
    case FIELD_SHORT: return s.ReadShort(&i) >= 0 && (*pi = i, true);
    default: return s.ReadUShort(&us) >= 0 && (*pi = us, true);
    }
}

// Texts of the writer, by type.
struct PackTexts
{
    const char* label;
    const char* failed;
};
constexpr PackTexts PACK_TEXTS[] = {
    {"ARG_NOTSET", ""},
    {"int", "failed to write int value"},
    {"uint", "failed to write uint value"},
    {"ushort", "failed to write ushort value"},
    {"short", "failed to write short value"},
    {"bool", "failed to write value"},  // sic
};
static_assert(std::size(PACK_TEXTS) == ARG_BOOL + 1, "one row a number's tag");

}  // namespace

// Lines of a record begin with "Arg(%p, type(%d))::Pack2, " or "Arg(%p, type(%d))::Unpack2, ", some with the
// operation alone.

int Arg::Pack2(Serialize& s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::Pack2()", this, Type());
    ScopedLock lock(&m_lock);
    const int type = Type();
    if (type == ARG_STRING)
        return PackString2(s);
    if (type < ARG_NOTSET || type > ARG_STRING) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_SKIPPED,
                    "Arg(%p, type(%d))::Pack2, Unknown Arg Type/Value, can't write arg", this, type);
        return -1;
    }
    const int tag = TagOfValue(type, Signed());
    const bool bSteps = type != ARG_NOTSET && m_pLogger->IsTraceEnabled(TRACE_STEP);
    if (bSteps)
        m_pLogger->Trace(TRACE_STEP, "Arg(%p, type(%d))::Pack2, writing type %d (%s)", this, type, tag,
                         PACK_TEXTS[type].label);
    if (s.WriteUByte(static_cast<unsigned char>(tag)) <= 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::Pack2, failed to write type (%s)", this,
                    type, PACK_TEXTS[type].label);
        return -1;
    }
    if (bSteps && (type == ARG_INT || type == ARG_UINT))
        m_pLogger->Trace(TRACE_STEP, "Pack2, writing value %d", Signed());
    else if (bSteps)
        m_pLogger->Trace(TRACE_STEP, "Arg(%p, type(%d))::Pack2, writing value %d", this, type, Signed());
    if (WriteField(s, COMPACT_TAGS[tag].field) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::Pack2, %s %d", this, type,
                    PACK_TEXTS[type].failed, Signed());
        return -1;
    }
    return 1;
}

int Arg::WriteField(Serialize& s, int field)
{
    switch (field) {
    case FIELD_NONE: return 1;
    case FIELD_BYTE: return s.WriteByte(static_cast<signed char>(m_value));
    case FIELD_UBYTE: return s.WriteUByte(static_cast<unsigned char>(m_value));
    case FIELD_SHORT: return s.WriteShort(static_cast<short>(m_value));
    case FIELD_USHORT: return s.WriteUShort(static_cast<unsigned short>(m_value));
    default: return WriteNumber(s);
    }
}

int Arg::PackString2(Serialize& s)
{
    const std::size_t size = m_string.size() + 1;
    const int n = size > INT_MAX ? INT_MAX : static_cast<int>(size);
    if (n > USHRT_MAX) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::Pack2, failed to write string size %d",
                    this, Type(), n);
        return -1;
    }
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::Pack2, writing string \"%s\" type %d (string)",
                this, Type(), m_string.c_str(), ARG_STRING);
    if (s.WriteUByte(ARG_STRING) <= 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::Pack2, failed to write type (string)",
                    this, Type());
        return -1;
    }
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::Pack2, writing string \"%s\" size %d", this,
                Type(), m_string.c_str(), n);
    if (s.WriteShort(static_cast<short>(n)) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::Pack2, failed to write string size %d",
                    this, Type(), n);
        return -1;
    }
    return PackText(s, n, "Pack2");
}

int Arg::Unpack2(Serialize& s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::Unpack2()", this, Type());
    ScopedLock lock(&m_lock);
    unsigned char tag;
    if (s.ReadUByte(&tag) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(?))::Unpack2, failed to read Arg type", this);
        return -1;
    }
    SetType(tag);
    if (tag == ARG_STRING)
        return UnpackString2(s);
    const CompactTag& row = tag < std::size(COMPACT_TAGS) ? COMPACT_TAGS[tag] : UNKNOWN_TAG;
    if (row.label == nullptr) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_SKIPPED,
                    "Arg(%p, type(%d))::Unpack2, read unknown type %d, unable to unpack Arg", this, tag, tag);
        return -1;
    }
    if (row.field == FIELD_NONE || row.field == FIELD_WIDE)
        return UnpackWide2(s, row.label);

    if (tag == ARG_SERIAL_INT_AS_SHORT)
        ORVEX_TRACE(m_pLogger, TRACE_STEP, "Unpack2, read type %d (int as short)", tag);  // sic
    else
        ORVEX_TRACE(m_pLogger, TRACE_STEP, "Unpack2, read type %d, (%s)", tag, row.label);
    int i = 0;
    if (!ReadNarrowField(s, row.field, &i)) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::Unpack2, failed to read (%s)", this,
                    tag, row.label);
        return -1;
    }
    const bool bWord = row.type == ARG_INT || row.type == ARG_UINT;
    TakeBits(static_cast<unsigned int>(i), bWord ? 0xFFFFFFFF : 0xFFFF);
    SetType(row.type);
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Unpack2, read value %d", Signed());
    return 1;
}

int Arg::UnpackWide2(Serialize& s, const char* label)
{
    const int type = Type();
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::Unpack2, read type %d, (%s)", this, type, type,
                label);
    if (type == ARG_NOTSET)
        return 1;
    if (ReadNumberField(s) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arg(%p, type(%d))::Unpack2, failed to read %s data", this,
                    type, label);
        return -1;
    }
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::Unpack2, read value %s", this, type,
                type == ARG_BOOL ? (Bool() ? "\"true\"" : "\"false\"") : NumberText().c_str());
    return 1;
}

int Arg::UnpackString2(Serialize& s)
{
    unsigned short size;
    if (s.ReadUShort(&size) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED,
                    "Arg(%p, type(%d))::Unpack2, failed to read size of Arg data", this, Type());
        return -1;
    }
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::Unpack2, read size %d", this, Type(), size);
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arg(%p, type(%d))::Unpack2, read type %d, (string)", this, Type(),
                Type());
    return UnpackText(s, size, "Unpack2");
}
