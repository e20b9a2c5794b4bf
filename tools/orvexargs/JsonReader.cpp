// A line is read as it is parsed, without a tree of it in between: the parser calls, and a stack of the
// objects that are open says what a call means. The parser keeps its own stack in memory, so that no depth of
// input is a danger.
#include "arguments/Arguments.h"
#include "tools/MemoryStream.h"
#include "tools/orvexargs/Hex.h"
#include "tools/orvexargs/Json.h"
#include "values/ArgArguments.h"
#include "values/RawArg.h"

#include <nlohmann/json.hpp>

#include <climits>
#include <stdexcept>
#include <vector>

namespace {

constexpr size_t MOST_LEVELS = 100;  // of bags, the line's own being the first

enum Field
{
    FIELD_KEY,
    FIELD_ID,
    FIELD_TYPE,
    FIELD_VALUE,
    FIELD_HEX,
    FIELD_ENTRIES,
    FIELD_NONE
};
constexpr const char* FIELD_NAMES[] = {"key", "id", "type", "value", "hex", "entries"};
static_assert(sizeof FIELD_NAMES / sizeof *FIELD_NAMES == FIELD_NONE);

enum PlainKind
{
    PLAIN_NULL,
    PLAIN_BOOL,
    PLAIN_WHOLE,
    PLAIN_FRACTION,
    PLAIN_TEXT
};
constexpr const char* PLAIN_NAMES[] = {"null", "true or false", "a whole number", "a fraction", "a text"};
static_assert(sizeof PLAIN_NAMES / sizeof *PLAIN_NAMES == PLAIN_TEXT + 1);

// A plain JSON value.
struct Plain
{
    PlainKind kind = PLAIN_NULL;
    long long number = 0;  // a whole number, LLONG_MAX for all beyond 64 bits; a boolean as 1 or 0
    std::string sBytes;    // of a text
};

struct TypeRow
{
    const char* name;
    Field content;    // the field that goes with the type
    bool bOptional;   // which may be left out
    PlainKind value;  // what "value" is
    long long least;
    long long most;
    int type;  // enumArgTypes; ARG_NOTSET for a RawArg too
};
constexpr TypeRow TYPES[] = {
    // clang-format off
    {"NOTSET",   FIELD_NONE,    true,  PLAIN_NULL,  0,        0,         ARG_NOTSET},
    {"INT",      FIELD_VALUE,   false, PLAIN_WHOLE, INT_MIN,  INT_MAX,   ARG_INT},
    {"UINT",     FIELD_VALUE,   false, PLAIN_WHOLE, 0,        UINT_MAX,  ARG_UINT},
    {"USHORT",   FIELD_VALUE,   false, PLAIN_WHOLE, 0,        USHRT_MAX, ARG_USHORT},
    {"SHORT",    FIELD_VALUE,   false, PLAIN_WHOLE, SHRT_MIN, SHRT_MAX,  ARG_SHORT},
    {"BOOL",     FIELD_VALUE,   false, PLAIN_BOOL,  0,        1,         ARG_BOOL},
    {"STRING",   FIELD_VALUE,   false, PLAIN_TEXT,  0,        0,         ARG_STRING},
    {"ARGARRAY", FIELD_ENTRIES, false, PLAIN_NULL,  0,        0,         ARG_ARGARRAY},
    {"ARGUMENT", FIELD_ENTRIES, true,  PLAIN_NULL,  0,        0,         ARG_ARGUMENT},
    {"RAW",      FIELD_HEX,     false, PLAIN_NULL,  0,        0,         ARG_NOTSET},
    // clang-format on
};

std::string Quoted(Field field) { return std::string("\"") + FIELD_NAMES[field] + "\""; }

// The bytes of a text that is well-formed UTF-8. False for a character above U+00FF.
bool FromUtf8(const std::string& sText, std::string* pBytes)
{
    pBytes->reserve(sText.size());
    for (size_t i = 0; i < sText.size(); ++i) {
        const unsigned char uc = static_cast<unsigned char>(sText[i]);
        if (uc < 0x80) {
            *pBytes += sText[i];
        } else if (uc <= 0xC3) {
            *pBytes += static_cast<char>((uc & 3) << 6 | (sText[++i] & 0x3F));
        } else {
            return false;
        }
    }
    return true;
}

// An ArgArguments takes its container from a stream alone, so it reads an empty one, which is then filled.
ArgArguments* CreateHolding(ArgumentsHolder* pBag)
{
    static const unsigned char EMPTY_BAG[] = {1, CLASS_ID_ARGUMENTS, 0, 0};
    MemoryStream stream(EMPTY_BAG, sizeof EMPTY_BAG);
    ArgHolder pHolder(ArgArguments::Create());
    if (pHolder->Unpack2(stream) < 0)
        throw std::runtime_error("no ArgArguments could be made");
    ArgArguments* p = static_cast<ArgArguments*>(pHolder.release());
    pBag->reset(p->GetArguments());
    return p;
}

// An object of the text that is open, the line itself or an entry, and what has been read of it.
struct Open
{
    unsigned int fields = 0;   // bits of those that were met
    Field field = FIELD_NONE;  // the last of them
    bool bInEntries = false;   // inside the brackets of "entries"
    size_t nEntries = 0;       // begun there
    std::string sKey;
    int id = NO_KEYWORD;
    const TypeRow* pType = nullptr;
    Plain value;
    std::string sBlock;    // of "hex"
    ArgHolder pHolder;     // an ArgArguments around the bag, for an entry
    ArgumentsHolder pBag;  // what "entries" go into

    bool Has(Field f) const { return (fields & 1U << f) != 0; }
};

class Reader final : public nlohmann::json_sax<nlohmann::json>
{
public:
    explicit Reader(Arguments& rBag) : m_rBag(rBag) {}

    const std::string& Fault() const { return m_sFault; }

    // What the parser calls, each for one piece of the text. False stops it.
    bool null() override { return Take({PLAIN_NULL, 0, ""}); }
    bool boolean(bool b) override { return Take({PLAIN_BOOL, b ? 1 : 0, ""}); }
    bool number_integer(number_integer_t n) override { return Take({PLAIN_WHOLE, n, ""}); }
    bool number_unsigned(number_unsigned_t n) override;
    bool number_float(number_float_t n, const string_t& sDigits) override;
    bool string(string_t& s) override;
    bool binary(binary_t&) override { return Refuse("binary data"); }
    bool start_object(std::size_t) override;
    bool key(string_t& s) override;
    bool end_object() override;
    bool start_array(std::size_t) override;
    bool end_array() override;
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& e) override;

private:
    bool Refuse(const std::string& sFault);
    bool IsOf(const Plain& plain, PlainKind kind, Field field);
    bool Take(Plain plain);
    bool TakeKey(std::string&& sKey);
    bool TakeId(long long number);
    bool TakeType(const std::string& sName);
    bool TakeBlock(const std::string& sHex);
    bool CheckFields(const Open& entry);
    bool CheckValue(const Open& entry);

    Arguments& m_rBag;
    std::vector<Open> m_open;  // outermost first
    std::string m_sFault;
};

// Says where, too: the numbers of the open entries from 1, outermost first.
bool Reader::Refuse(const std::string& sFault)
{
    for (const Open& open : m_open)
        if (open.bInEntries && open.nEntries > 0)
            m_sFault += (m_sFault.empty() ? "entry " : ".") + std::to_string(open.nEntries);
    if (!m_sFault.empty())
        m_sFault += ": ";
    m_sFault += sFault;
    return false;
}

bool Reader::number_unsigned(number_unsigned_t n)
{
    return Take({PLAIN_WHOLE, n > LLONG_MAX ? LLONG_MAX : static_cast<long long>(n), ""});
}

bool Reader::number_float(number_float_t, const string_t& sDigits)
{
    const bool bWhole = sDigits.find_first_of(".eE") == std::string::npos;
    return Take({bWhole ? PLAIN_WHOLE : PLAIN_FRACTION, LLONG_MAX, ""});
}

bool Reader::string(string_t& s)
{
    Plain plain;
    plain.kind = PLAIN_TEXT;
    if (!FromUtf8(s, &plain.sBytes))
        return Refuse("a text holds a character above U+00FF, which is no byte");
    return Take(std::move(plain));
}

bool Reader::Take(Plain plain)
{
    if (m_open.empty())
        return Refuse("the line is not an object");
    Open& open = m_open.back();
    if (open.bInEntries) {
        ++open.nEntries;
        return Refuse("not an object");
    }
    switch (open.field) {
    case FIELD_KEY: return IsOf(plain, PLAIN_TEXT, FIELD_KEY) && TakeKey(std::move(plain.sBytes));
    case FIELD_ID: return IsOf(plain, PLAIN_WHOLE, FIELD_ID) && TakeId(plain.number);
    case FIELD_TYPE: return IsOf(plain, PLAIN_TEXT, FIELD_TYPE) && TakeType(plain.sBytes);
    case FIELD_VALUE: open.value = std::move(plain); return true;
    case FIELD_HEX: return IsOf(plain, PLAIN_TEXT, FIELD_HEX) && TakeBlock(plain.sBytes);
    default: return Refuse(Quoted(FIELD_ENTRIES) + " is not a list");
    }
}

bool Reader::IsOf(const Plain& plain, PlainKind kind, Field field)
{
    return plain.kind == kind || Refuse(Quoted(field) + " is not " + PLAIN_NAMES[kind]);
}

// The container ends a key at its first zero byte: such a key would come out as another.
bool Reader::TakeKey(std::string&& sKey)
{
    if (sKey.find('\0') != std::string::npos)
        return Refuse("\"key\" holds a zero byte");
    m_open.back().sKey = std::move(sKey);
    return true;
}

bool Reader::TakeId(long long number)
{
    if (number < INT_MIN || number > INT_MAX)
        return Refuse("\"id\" is out of range");
    m_open.back().id = static_cast<int>(number);
    return true;
}

bool Reader::TakeType(const std::string& sName)
{
    for (const TypeRow& row : TYPES) {
        if (sName == row.name) {
            m_open.back().pType = &row;
            return true;
        }
    }
    return Refuse("\"type\" is not one of this form");
}

bool Reader::TakeBlock(const std::string& sHex)
{
    std::string sFault;
    std::string& sBlock = m_open.back().sBlock;
    if (!FromHex(sHex, &sBlock, &sFault))
        return Refuse("\"hex\": " + sFault);
    return sBlock.size() <= INT_MAX || Refuse("\"hex\" is too long");
}

bool Reader::start_object(std::size_t)
{
    if (m_open.empty()) {
        m_open.emplace_back();
        m_rBag.AddRef();
        m_open.back().pBag.reset(&m_rBag);
        return true;
    }
    Open& outer = m_open.back();
    if (!outer.bInEntries)
        return Refuse(Quoted(outer.field) + " is an object");
    ++outer.nEntries;
    m_open.emplace_back();
    return true;
}

bool Reader::key(string_t& s)
{
    Open& open = m_open.back();
    for (int i = 0; i < FIELD_NONE; ++i) {
        const Field field = static_cast<Field>(i);
        if (s != FIELD_NAMES[field] || (m_open.size() == 1 && field != FIELD_ENTRIES))
            continue;
        if (open.Has(field))
            return Refuse(Quoted(field) + " stands twice");
        open.fields |= 1U << field;
        open.field = field;
        return true;
    }
    return Refuse("a field that this form does not have");
}

bool Reader::start_array(std::size_t)
{
    if (m_open.empty())
        return Refuse("the line is not an object");
    Open& open = m_open.back();
    if (open.bInEntries) {
        ++open.nEntries;
        return Refuse("not an object");
    }
    if (open.field != FIELD_ENTRIES)
        return Refuse(Quoted(open.field) + " is a list");
    if (m_open.size() > MOST_LEVELS)
        return Refuse("bags stand more than 100 levels deep");
    if (!open.pBag)
        open.pHolder.reset(CreateHolding(&open.pBag));
    open.bInEntries = true;
    return true;
}

bool Reader::end_array()
{
    m_open.back().bInEntries = false;
    return true;
}

bool Reader::CheckFields(const Open& entry)
{
    if (!entry.Has(FIELD_KEY) && !entry.Has(FIELD_ID))
        return Refuse("neither \"key\" nor \"id\"");
    if (entry.Has(FIELD_KEY) && entry.Has(FIELD_ID) &&
        (entry.id == NO_KEYWORD || KeywordId(entry.sKey) != entry.id))
        return Refuse("\"id\" is not the number of \"key\"");
    if (entry.pType == nullptr)
        return Refuse("\"type\" is missing");
    for (const Field field : {FIELD_VALUE, FIELD_HEX, FIELD_ENTRIES}) {
        const bool bOfType = field == entry.pType->content;
        if (entry.Has(field) && !bOfType)
            return Refuse(Quoted(field) + " does not go with " + entry.pType->name);
        if (!entry.Has(field) && bOfType && !entry.pType->bOptional)
            return Refuse(Quoted(field) + " is missing");
    }
    return true;
}

bool Reader::CheckValue(const Open& entry)
{
    if (!entry.Has(FIELD_VALUE))
        return true;
    const TypeRow& type = *entry.pType;
    if (!IsOf(entry.value, type.value, FIELD_VALUE))
        return false;
    if (entry.value.number < type.least || entry.value.number > type.most)
        return Refuse(std::string("\"value\" is out of the range of ") + type.name);
    return true;
}

ArgHolder MakeBlock(const std::string& sBlock)
{
    RawArg* p = RawArg::Create();
    p->SetValue(sBlock.data(), static_cast<int>(sBlock.size()));
    return ArgHolder(p);
}

ArgHolder MakePlain(const TypeRow& type, const Plain& value)
{
    ArgHolder pArg(Arg::Create());
    switch (type.type) {
    case ARG_INT: pArg->SetValue(static_cast<int>(value.number)); break;
    case ARG_UINT: pArg->SetValue(static_cast<unsigned int>(value.number)); break;
    case ARG_USHORT: pArg->SetValue(static_cast<unsigned short>(value.number)); break;
    case ARG_SHORT: pArg->SetValue(static_cast<short>(value.number)); break;
    case ARG_BOOL: pArg->SetValue(value.number != 0); break;
    case ARG_STRING: pArg->SetValue(value.sBytes); break;
    default: break;
    }
    return pArg;
}

ArgHolder MakeValue(Open& entry)
{
    switch (entry.pType->type) {
    case ARG_ARGARRAY: return ArgHolder(entry.pBag.release());
    case ARG_ARGUMENT: return entry.pHolder ? std::move(entry.pHolder) : ArgHolder(ArgArguments::Create());
    default:
        return entry.pType->content == FIELD_HEX ? MakeBlock(entry.sBlock)
                                                 : MakePlain(*entry.pType, entry.value);
    }
}

bool Reader::end_object()
{
    Open& entry = m_open.back();
    if (m_open.size() == 1)
        return entry.Has(FIELD_ENTRIES) || Refuse("\"entries\" is missing");
    if (!CheckFields(entry) || !CheckValue(entry))
        return false;
    const ArgHolder pValue = MakeValue(entry);
    Arguments& rBag = *m_open[m_open.size() - 2].pBag;
    if (entry.Has(FIELD_KEY))
        rBag.AddItem(entry.sKey, pValue.get());
    else
        rBag.AddItem(entry.id, pValue.get());
    m_open.pop_back();
    return true;
}

// The parser's own words, less its class, the number of the line and the text that it read, which can be
// long.
bool Reader::parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& e)
{
    std::string sFault = e.what();
    size_t start = sFault.find("column ");
    if (start == std::string::npos)
        start = sFault.find("] ") + 2;
    sFault = sFault.substr(start, sFault.find("; last read") - start);
    return Refuse("not JSON: " + sFault.substr(0, 200));
}

}  // namespace

bool FromJson(const std::string& sLine, Arguments& rBag, std::string* pFault)
{
    // The parser would take it for the end of the text.
    if (sLine.find('\0') != std::string::npos) {
        *pFault = "not JSON: a zero byte";
        return false;
    }
    Reader reader(rBag);
    nlohmann::json::sax_parse(sLine, &reader);
    *pFault = reader.Fault();
    return pFault->empty();
}
