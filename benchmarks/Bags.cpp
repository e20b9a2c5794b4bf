#include "benchmarks/Bags.h"

#include <climits>
#include <cstring>

namespace {

// Keywords by id, the first of the given value and every next one.
Fields KeywordInts(int firstId, int n)
{
    Fields fields;
    for (int i = 0; i < n; ++i)
        fields.push_back({KeywordName(firstId + i), firstId + i, i * i * 7});
    return fields;
}

Field Keyworded(int id, decltype(Field::value) value) { return {KeywordName(id), id, std::move(value)}; }

struct AddTo
{
    Arguments& bag;
    const Field& field;

    template <class T> void operator()(const T& value) const { bag.SetValue(field.name, value); }
    void operator()(const Fields& fields) const
    {
        const ArgumentsHolder nested(BuildBag(fields));
        bag.SetValue(field.name, nested.get());
    }
};

struct ToFloor
{
    template <class T> FloorBag::Value operator()(const T& value) const { return value; }
    FloorBag::Value operator()(const Fields& fields) const
    {
        return std::make_unique<FloorBag>(BuildFloor(fields));
    }
};

// tag, 1 byte: kind in the high four bits, bytes of the value in the low four; the value, little-endian.
void AppendNumber(std::string& out, int kind, unsigned int ui, int bytes)
{
    out.push_back(static_cast<char>(kind << 4 | bytes));
    for (int i = 0; i < bytes; ++i)
        out.push_back(static_cast<char>(ui >> 8 * i));
}

void AppendText(std::string& out, const std::string& s)
{
    out.push_back(static_cast<char>(s.size()));
    out.push_back(static_cast<char>(s.size() >> 8));
    out += s;
}

void AppendBag(std::string& out, const FloorBag& bag);

struct Append
{
    std::string& out;

    void operator()(int i) const
    {
        const int bytes = i >= SCHAR_MIN && i <= SCHAR_MAX ? 1 : i >= SHRT_MIN && i <= SHRT_MAX ? 2 : 4;
        AppendNumber(out, 0, static_cast<unsigned int>(i), bytes);
    }
    void operator()(unsigned int ui) const
    {
        AppendNumber(out, 1, ui, ui <= UCHAR_MAX ? 1 : ui <= USHRT_MAX ? 2 : 4);
    }
    void operator()(bool b) const { AppendNumber(out, 2, b, 1); }
    void operator()(const std::string& s) const
    {
        out.push_back(0x30);
        AppendText(out, s);
    }
    void operator()(const std::unique_ptr<FloorBag>& pBag) const
    {
        out.push_back(0x40);
        AppendBag(out, *pBag);
    }
};

void AppendBag(std::string& out, const FloorBag& bag)
{
    out.push_back(static_cast<char>(bag.fields.size()));
    out.push_back(static_cast<char>(bag.fields.size() >> 8));
    for (const auto& [key, value] : bag.fields) {
        AppendText(out, key);
        std::visit(Append{out}, value);
    }
}

struct Reader
{
    const std::string& bytes;
    std::size_t pos;

    bool Number(std::size_t n, unsigned int* pui)
    {
        if (bytes.size() - pos < n)
            return false;
        *pui = 0;
        for (std::size_t i = 0; i < n; ++i)
            *pui |= static_cast<unsigned int>(static_cast<unsigned char>(bytes[pos + i])) << 8 * i;
        pos += n;
        return true;
    }
    bool Text(std::string* ps)
    {
        unsigned int n;
        if (!Number(2, &n) || bytes.size() - pos < n)
            return false;
        ps->assign(bytes, pos, n);
        pos += n;
        return true;
    }
    bool Value(FloorBag::Value* pValue)
    {
        unsigned int tag, ui;
        if (!Number(1, &tag))
            return false;
        const unsigned int n = tag & 0x0F;
        switch (tag >> 4) {
        case 0:
            if (!Number(n, &ui))
                return false;
            *pValue = static_cast<int>(n == 1   ? static_cast<signed char>(ui)
                                       : n == 2 ? static_cast<short>(ui)
                                                : static_cast<int>(ui));
            return true;
        case 1: return Number(n, &ui) && (*pValue = ui, true);
        case 2: return Number(n, &ui) && (*pValue = ui != 0, true);
        case 3: return Text(&pValue->emplace<std::string>());
        default: return Bag((pValue->emplace<std::unique_ptr<FloorBag>>(std::make_unique<FloorBag>())).get());
        }
    }
    bool Bag(FloorBag* pBag)
    {
        unsigned int n;
        if (!Number(2, &n))
            return false;
        std::string key;
        for (; n > 0; --n)
            if (!Text(&key) || !Value(&pBag->fields[key]))
                return false;
        return true;
    }
};

struct CloneValue
{
    template <class T> FloorBag::Value operator()(const T& value) const { return value; }
    FloorBag::Value operator()(const std::unique_ptr<FloorBag>& p) const
    {
        return std::make_unique<FloorBag>(CloneFloor(*p));
    }
};

struct Dump
{
    std::string operator()(int i) const { return std::to_string(i); }
    std::string operator()(unsigned int ui) const { return std::to_string(ui); }
    std::string operator()(bool b) const { return b ? "1" : "0"; }
    std::string operator()(const std::string& s) const { return s; }
    std::string operator()(const std::unique_ptr<FloorBag>& p) const { return DumpFloor(*p); }
};

}  // namespace

Fields CallEvent()
{
    using namespace Keyword;
    return {
        Keyworded(MessageID, 9),
        Keyworded(PeripheralID, 5000),
        Keyworded(PeripheralType, 22),
        Keyworded(ConnectionCallID, 16777259),
        Keyworded(ConnectionDeviceIDType, 0),
        Keyworded(LineHandle, -1),
        Keyworded(LineType, 0),
        Keyworded(ServiceNumber, 70000),
        Keyworded(ServiceID, 5001),
        Keyworded(SkillGroupNumber, 42),
        Keyworded(SkillGroupID, 100042),
        Keyworded(SkillGroupPriority, 1),
        Keyworded(AlertingDeviceType, 1),
        Keyworded(CallingDeviceType, 300),
        Keyworded(CalledDeviceType, -200),
        Keyworded(LastRedirectDeviceType, 76),
        Keyworded(LocalConnectionState, 2),
        Keyworded(EventCause, 22),
        Keyworded(Monitored, true),
        Keyworded(CallOption, false),
        Keyworded(ConnectionDeviceID, std::string("1001")),
        Keyworded(AlertingDeviceID, std::string("1001")),
        Keyworded(CallingDeviceID, std::string("5550137")),
        Keyworded(DNIS, std::string("8005550100")),
        Keyworded(ANI, std::string("5550137")),
        Keyworded(CallVariable1, std::string("gold customer")),
    };
}

Fields Statistics() { return KeywordInts(Keyword::AvailTimeToHalf, 120); }

Fields Nested()
{
    Fields fields;
    for (int i = 0; i < 20; ++i)
        fields.push_back({"Agent" + std::to_string(i), NO_KEYWORD, KeywordInts(Keyword::AgentsLoggedOn, 10)});
    return fields;
}

Fields FreeKeys(int nKeys)
{
    Fields fields;
    for (int i = 0; i < nKeys; ++i)
        fields.push_back({"user.field." + std::to_string(i * 7919 % nKeys), NO_KEYWORD, i});
    return fields;
}

Arguments* BuildBag(const Fields& fields)
{
    ArgumentsHolder bag(Arguments::CreateInstance());
    for (const Field& field : fields)
        std::visit(AddTo{*bag, field}, field.value);
    return bag.release();
}

FloorBag BuildFloor(const Fields& fields)
{
    FloorBag bag;
    for (const Field& field : fields)
        bag.fields[field.name] = std::visit(ToFloor(), field.value);
    return bag;
}

std::string PackFloor(const FloorBag& bag)
{
    std::string out;
    AppendBag(out, bag);
    return out;
}

bool UnpackFloor(const std::string& bytes, FloorBag* pBag)
{
    Reader reader{bytes, 0};
    return reader.Bag(pBag) && reader.pos == bytes.size();
}

FloorBag CloneFloor(const FloorBag& bag)
{
    FloorBag clone;
    for (const auto& [key, value] : bag.fields)
        clone.fields[key] = std::visit(CloneValue(), value);
    return clone;
}

std::string DumpFloor(const FloorBag& bag)
{
    std::string text = "(";
    for (const auto& [key, value] : bag.fields) {
        text += key;
        text += ':';
        text += std::visit(Dump(), value);
        text += ' ';
    }
    return text += ')';
}
