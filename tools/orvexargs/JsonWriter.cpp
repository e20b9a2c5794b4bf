#include "arguments/Arguments.h"
#include "tools/orvexargs/Hex.h"
#include "tools/orvexargs/Json.h"
#include "values/ArgArguments.h"
#include "values/RawArg.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <climits>

namespace {

using nlohmann::ordered_json;

std::string ToUtf8(const std::string& sBytes)
{
    std::string sText;
    sText.reserve(sBytes.size());
    for (const char c : sBytes) {
        const unsigned char uc = static_cast<unsigned char>(c);
        if (uc < 0x80) {
            sText += c;
        } else {
            sText += static_cast<char>(0xC0 | uc >> 6);
            sText += static_cast<char>(0x80 | (uc & 0x3F));
        }
    }
    return sText;
}

// Whether an entry of that id would stand at the position, in front of the one that stands there.
bool WouldStandAt(Arguments& rBag, int iPosition, int id)
{
    if (rBag.IsValid(id))
        return false;
    const ArgHolder pProbe(Arg::Create());
    rBag.AddItem(id, pProbe.get());
    const ArgHolder pFound(rBag.GetElement(iPosition));
    rBag.RemoveItem(id);
    return pFound == pProbe;
}

// The id of the keyword entry at a position, where all entries before it have ids below lowest. The container
// tells ids by name alone, so that those without one are searched for: in growing steps, then by halves.
int FindId(Arguments& rBag, int iPosition, long long lowest)
{
    long long highest = INT_MAX;
    for (long long step = 1; lowest < highest; step *= 2) {
        const long long id = std::min(lowest + step - 1, highest);
        if (!WouldStandAt(rBag, iPosition, static_cast<int>(id))) {
            highest = id;
            break;
        }
        lowest = id + 1;
    }
    while (lowest < highest) {
        const long long middle = lowest + (highest - lowest) / 2;
        if (WouldStandAt(rBag, iPosition, static_cast<int>(middle)))
            lowest = middle + 1;
        else
            highest = middle;
    }
    return static_cast<int>(lowest);
}

ordered_json EntriesOf(Arguments& rBag);

std::string HexOf(RawArg& rRaw)
{
    std::string sBytes(static_cast<size_t>(rRaw.GetLength()), '\0');
    if (!sBytes.empty())
        rRaw.GetValue(&sBytes[0], rRaw.GetLength());
    std::string sHex;
    AppendHex(&sHex, sBytes.data(), sBytes.size());
    return sHex;
}

void AddPlainValue(ordered_json& rEntry, Arg& rArg)
{
    const auto add = [&rEntry](const char* type, ordered_json value) {
        rEntry["type"] = type;
        rEntry["value"] = std::move(value);
    };
    switch (rArg.GetType()) {
    case ARG_INT: return add("INT", rArg.GetValueInt());
    case ARG_UINT: return add("UINT", rArg.GetValueUInt());
    case ARG_USHORT: return add("USHORT", rArg.GetValueUShort());
    case ARG_SHORT: return add("SHORT", rArg.GetValueShort());
    case ARG_BOOL: return add("BOOL", rArg.GetValueBool());
    case ARG_STRING: return add("STRING", ToUtf8(rArg.GetValueString()));
    default: rEntry["type"] = "NOTSET";
    }
}

void AddValue(ordered_json& rEntry, Arg& rArg)
{
    switch (rArg.GetClassID()) {
    case CLASS_ID_ARGUMENTS:
        rEntry["type"] = "ARGARRAY";
        rEntry["entries"] = EntriesOf(static_cast<Arguments&>(rArg));
        return;
    case CLASS_ID_ARGARGUMENTS: {
        rEntry["type"] = "ARGUMENT";
        const ArgumentsHolder pHeld(static_cast<ArgArguments&>(rArg).GetArguments());
        if (pHeld)
            rEntry["entries"] = EntriesOf(*pHeld);
        return;
    }
    case CLASS_ID_RAWARG:
        rEntry["type"] = "RAW";
        rEntry["hex"] = HexOf(static_cast<RawArg&>(rArg));
        return;
    default: AddPlainValue(rEntry, rArg);
    }
}

ordered_json EntriesOf(Arguments& rBag)
{
    ordered_json entries = ordered_json::array();
    const int n = rBag.NumElements();
    long long lowest = INT_MIN;  // what the id of the next keyword entry can be at the least
    for (int i = 1; i <= n; ++i) {
        ordered_json entry;
        std::string sKey;
        const bool bNamed = rBag.GetElementKey(i, &sKey);
        const int id = bNamed ? KeywordId(sKey) : FindId(rBag, i, lowest);
        if (bNamed)
            entry["key"] = ToUtf8(sKey);
        if (!bNamed || id != NO_KEYWORD) {
            entry["id"] = id;
            lowest = id + 1LL;
        }
        const ArgHolder pArg(rBag.GetElement(i));
        AddValue(entry, *pArg);
        entries.push_back(std::move(entry));
    }
    return entries;
}

}  // namespace

std::string ToJson(Arguments& rBag)
{
    ordered_json line;
    line["entries"] = EntriesOf(rBag);
    return line.dump();
}
