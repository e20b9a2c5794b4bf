// The lines of the component surface, mask by mask: a program of its own, since masks are the process's.
//
// The console mask is set through the registry while the program runs, to one mask at a time. Every row is
// called under each, and has to write exactly its lines of that mask.
#include "tests/component/Doubles.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <unistd.h>

namespace {

constexpr DWORD ERRORS = 0x1, WARNINGS = 0x2, LOOKUPS = 0x2000, ENTRIES = 0x1000000, FAILURES = 0x2000000;

// Standard output, read as it grows.
class Screen
{
public:
    Screen()
    {
        std::fflush(stdout);
        m_iSaved = dup(fileno(stdout));
        std::FILE* const pFile = std::fopen(m_sFile.c_str(), "wb");
        dup2(fileno(pFile), fileno(stdout));
        std::fclose(pFile);
    }
    ~Screen()
    {
        std::fflush(stdout);
        dup2(m_iSaved, fileno(stdout));
        close(m_iSaved);
        std::remove(m_sFile.c_str());
    }

    // Lines since the last call, without their times and with %p for every address; wrapped ones put
    // together.
    std::vector<std::string> Lines()
    {
        std::vector<std::string> lines;
        char buffer[4096];
        std::ifstream file(m_sFile, std::ios::binary);
        file.seekg(m_offset);
        while (file.read(buffer, sizeof buffer).gcount() > 0) {
            m_sText.append(buffer, static_cast<std::size_t>(file.gcount()));
            m_offset += file.gcount();
        }
        for (std::size_t iEnd; (iEnd = LineEnd()) != std::string::npos; m_sText.erase(0, iEnd + 1))
            lines.push_back(Plain(m_sText.substr(0, iEnd)));
        return lines;
    }

private:
    std::size_t LineEnd() const
    {
        std::size_t i = m_sText.find('\n');
        while (i != std::string::npos && i + 1 < m_sText.size() && m_sText[i + 1] == '\t')
            i = m_sText.find('\n', i + 1);
        return i;
    }

    static std::string Plain(std::string s)
    {
        for (std::size_t i; (i = s.find("\n\t")) != std::string::npos;)
            s.erase(i, 2);
        s.erase(0, std::min<std::size_t>(s.size(), std::strlen("12:34:56.789  ")));
        static const std::regex address("0x[0-9a-f]+|(0x)?\\b[0-9A-F]{8,16}\\b");
        s = std::regex_replace(s, address, "%p");
        return s;
    }

    const std::string m_sFile =
        (std::filesystem::temp_directory_path() / ("orvexlines" + std::to_string(_getpid()))).string();
    int m_iSaved;
    std::streamoff m_offset = 0;
    std::string m_sText;
};

// Sets the mask and waits for the logger's own line about it.
bool SetConsoleMask(Screen& rScreen, DWORD dwMask)
{
    const char szLine[] = "Console TraceMask changed: New TraceMask is %p.";
    SetLogging("ConsoleTraceMask", dwMask);
    for (int i = 0; i < 2000; ++i) {
        for (const std::string& s : rScreen.Lines())
            if (s == szLine)
                return true;
        Sleep(5);
    }
    return false;
}

struct Line
{
    DWORD dwMask;
    const char* text;
};

struct Row
{
    const char* name;
    std::function<void()> call;
    std::vector<Line> lines;  // without those of entries, unless the row has the word entries in its name
};

// Everything that the rows work on.
struct Objects
{
    Ref<IArguments> p = NewArguments(), pChild = NewArguments();
    Ref<IArg> pArg = NewArg(), pUnset = NewArg();
    Variant number = Number(5), beyond = Number(732), text = Variant::Text(OLESTR("free")),
            empty = Variant::Text(OLESTR(""));
    Variant missing = Variant::Text(OLESTR("missing")), real = Variant::Real(1), yes = Bool(-1),
            value = Number(1);
    String emptyText{OLESTR("")};
    BSTR emptyBstr = emptyText;
    IDispatch* pNone = nullptr;
    Object stranger;
    ForeignArg foreign;
    VARIANT_BOOL b = 7;
    int i = 7;

    VARIANT Of(int vt, void* pv)
    {
        VARIANT v{};
        v.vt = static_cast<VARTYPE>(vt);
        v.byref = pv;
        return v;
    }
};

// clang-format off

std::vector<Row> AddAndSetRows(Objects& o)
{
    const auto add = [&o](VARIANT key, VARIANT v) { return [&o, key, v]() mutable { o.p->AddItem(&key, &v, &o.b); }; };
    const auto set = [&o](VARIANT key, VARIANT v) { return [&o, key, v]() mutable { o.p->SetValue(&key, &v, &o.b); }; };
    const VARIANT emptyByRef = o.Of(VT_BYREF | VT_BSTR, &o.emptyBstr), noDispatch = o.Of(VT_DISPATCH, nullptr);
    const VARIANT noDispatchByRef = o.Of(VT_BYREF | VT_DISPATCH, &o.pNone), stranger = o.Of(VT_DISPATCH, &o.stranger);
    const VARIANT foreign = o.Of(VT_DISPATCH, &o.foreign);
    return {
        {"AddItem, entries", add(o.text, o.value), {{ENTRIES, "CComArguments(%p)::AddItem()"}, {ENTRIES, "CComArguments(%p)::AddItemStrKey()"}, {ENTRIES, "CCommonArguments(%p)::BSTRtoString()"}, {ENTRIES, "CComArguments(%p)::AddItemStrInt()"}}},
        {"SetValue, entries", set(o.number, o.yes), {{ENTRIES, "CComArguments(%p)::SetValue()"}, {ENTRIES, "CComArguments(%p)::SetValueIntKey()"}, {ENTRIES, "CComArguments(%p)::SetValueIntBool()"}}},
        {"AddItem, null", [&o] { o.p->AddItem(nullptr, &o.value, &o.b); }, {{FAILURES, "CComArguments(%p)::AddItem. Invalid pointer."}}},
        {"SetValue, null", [&o] { o.p->SetValue(&o.text, nullptr, &o.b); }, {{FAILURES, "CComArguments(%p)::SetValue. Invalid pointer"}}},
        {"AddItem, empty key", add(o.empty, o.value), {{FAILURES, "CComArguments(%p)::AddItem. Unexpected BSTR, invalid argument."}}},
        {"AddItem, empty key by reference", add(emptyByRef, o.value), {{FAILURES, "CComArguments(%p)::AddItem. Unexpected BSTR, invalid argument."}}},
        {"SetValue, empty key", set(o.empty, o.value), {{FAILURES, "CComArguments(%p)::SetValue. Unexpected BSTR, invalid argument."}}},
        {"SetValue, empty key by reference", set(emptyByRef, o.value), {{FAILURES, "CComArguments(%p)::AddItem. Unexpected BSTR, invalid argument."}}},
        {"AddItem, key type", add(o.real, o.value), {{FAILURES, "CComArguments(%p)::AddItem. pVarKey is of invalid type."}}},
        {"SetValue, key type", set(o.real, o.value), {{FAILURES, "CComArguments(%p)::SetValue. Variant key is of invalid type."}}},
        {"AddItem, key range", add(o.beyond, o.value), {{WARNINGS, "CComArguments(%p)::AddItem() Failed. Int Key 732 out of enum_Keywords range."}}},
        {"SetValue, key range", set(o.beyond, o.value), {{WARNINGS, "CComArguments(%p)::SetValue() Failed. Int Key 732 out of enum_Keywords range."}}},
        {"AddItem, text, value type", add(o.text, o.real), {{FAILURES, "CComArguments(%p)::AddItemStrKey. Value is of unexpected vt, invalid argument."}, {FAILURES, "CComArguments(%p)::AddItem. Failed in AddItemStrKey."}}},
        {"AddItem, number, value type", add(o.number, o.real), {{FAILURES, "CComArguments(%p)::AddItemIntKey. Value is of unexpected vt, invalid argument."}}},
        {"SetValue, text, value type", set(o.text, o.real), {{FAILURES, "CComArguments(%p)::SetValueStrKey. Unexpected vt, pVarValue is invalid argument."}, {FAILURES, "CComArguments(%p)::SetValue. Failed in SetValueStrKey."}}},
        {"SetValue, number, value type", set(o.number, o.real), {{FAILURES, "CComArguments(%p)::SetValueIntKey. Unexpected vt, pVarValue is invalid argument."}, {FAILURES, "CComArguments(%p)::SetValue. Failed in SetValueIntKey."}}},
        {"AddItem, text, empty string", add(o.text, o.empty), {{FAILURES, "CComArguments(%p)::AddItemStrStr. Unexpected BSTR, invalid argument."}, {FAILURES, "CComArguments(%p)::AddItemStrKey. Failed in AddItemStrStr."}, {FAILURES, "CComArguments(%p)::AddItem. Failed in AddItemStrKey."}}},
        {"AddItem, number, empty string", add(o.number, o.empty), {{FAILURES, "CComArguments(%p)::AddItemIntStr. Unexpected BSTR, invalid argument."}, {FAILURES, "CComArguments(%p)::AddItemIntKey. Failed AddItemIntStr method"}}},
        {"AddItem, number, empty string by reference", add(o.number, emptyByRef), {{FAILURES, "CComArguments(%p)::AddItemIntStr. Unexpected BSTR, invalid argument."}, {FAILURES, "CComArguments(%p)::AddItemIntKey. Failed in AddItemIntStr."}}},
        {"SetValue, number, empty string", set(o.number, o.empty), {{FAILURES, "CComArguments(%p)::SetValueIntStr. Unexpected BSTR, invalid argument."}, {FAILURES, "CComArguments(%p)::SetValueIntKey. Failed SetValueIntStr method"}, {FAILURES, "CComArguments(%p)::SetValue. Failed in SetValueIntKey."}}},
        {"SetValue, number, empty string by reference", set(o.number, emptyByRef), {{FAILURES, "CComArguments(%p)::SetValueIntStr. Unexpected BSTR, invalid argument."}, {FAILURES, "CComArguments(%p)::SetValueIntKey. Failed in SetValueIntStr."}, {FAILURES, "CComArguments(%p)::SetValue. Failed in SetValueIntKey."}}},
        {"AddItem, text, no object", add(o.text, noDispatch), {{FAILURES, "CComArguments(%p)::AddItemStrByRef. Invalid Argument."}, {FAILURES, "CComArguments(%p)::AddItemStrKey. Failed in AddItemStrByRef."}, {FAILURES, "CComArguments(%p)::AddItem. Failed in AddItemStrKey."}}},
        {"AddItem, text, no object by reference", add(o.text, noDispatchByRef), {{FAILURES, "CComArguments(%p)::AddItemStrByDispRef. Invalid pointer."}, {FAILURES, "CComArguments(%p)::AddItemStrKey. Failed in AddItemStrByDispRef."}, {FAILURES, "CComArguments(%p)::AddItem. Failed in AddItemStrKey."}}},
        {"AddItem, number, no object by reference", add(o.number, noDispatchByRef), {{FAILURES, "CComArguments(%p)::AddItemIntByDispRef. Invalid pointer."}, {FAILURES, "CComArguments(%p)::AddItemIntKey. Failed AddItemIntByRef method"}}},
        {"SetValue, text, no object by reference", set(o.text, noDispatchByRef), {{FAILURES, "CComArguments(%p)::SetValueStrByDispRef. Invalid pointer."}, {FAILURES, "CComArguments(%p)::SetValueStrKey. Failed SetValueStrByDispRef method"}, {FAILURES, "CComArguments(%p)::SetValue. Failed in SetValueStrKey."}}},
        {"SetValue, number, no object by reference", set(o.number, noDispatchByRef), {{FAILURES, "CComArguments(%p)::SetValueIntByDispRef. Invalid pointer."}, {FAILURES, "CComArguments(%p)::SetValueIntKey. Failed SetValueIntByDispRef method"}, {FAILURES, "CComArguments(%p)::SetValue. Failed in SetValueIntKey."}}},
        {"AddItem, text, stranger", add(o.text, stranger), {{FAILURES, "CComArguments(%p)::AddItemStrByRef. Invalid pointer in byref."}, {FAILURES, "CComArguments(%p)::AddItemStrKey. Failed in AddItemStrByRef."}, {FAILURES, "CComArguments(%p)::AddItem. Failed in AddItemStrKey."}}},
        {"SetValue, text, stranger", set(o.text, stranger), {{FAILURES, "CComArguments(%p)::SetValueStrByRef. Invalid pointer."}, {FAILURES, "CComArguments(%p)::SetValueStrKey. Failed in SetValueStrByRef."}, {FAILURES, "CComArguments(%p)::SetValue. Failed in SetValueStrKey."}}},
        {"SetValue, number, stranger", set(o.number, stranger), {{FAILURES, "CComArguments(%p)::SetValueIntByRef. Invalid pointer in byref."}, {FAILURES, "CComArguments(%p)::SetValueIntKey. Failed SetValueIntByRef method"}, {FAILURES, "CComArguments(%p)::SetValue. Failed in SetValueIntKey."}}},
        {"AddItem, number, another module's value", add(o.number, foreign), {{FAILURES, "CComArguments(%p)::AddItemIntByRef. Invalid pointer."}, {FAILURES, "CComArguments(%p)::AddItemIntKey. Failed AddItemIntByRef method"}}},
    };
}

// Positions beyond the end, so that the container refuses every kind.
std::vector<Row> ElementRows(Objects& o)
{
    const auto set = [&o](VARIANT v) { return [&o, v]() mutable { o.p->SetElement(99, &v, &o.b); }; };
    return {
        {"SetElement, null", [&o] { o.p->SetElement(1, nullptr, &o.b); }, {{FAILURES, "CComArguments(%p)::SetElement. Invalid pointer."}}},
        {"SetElement, entries", [&o] { Variant v = Short(1); o.p->SetElement(1, &v, &o.b); }, {{ENTRIES, "CComArguments(%p)::SetElement()"}, {ENTRIES, "CComArguments(%p)::SetElementShort()"}}},
        {"SetElement, BOOL", set(o.yes), {{FAILURES, "CComArguments(%p)::SetElementBool. Failed to set element [index is integer and value is boolean]"}, {FAILURES, "CComArguments(%p)::SetElement. SetElementBool Failed."}}},
        {"SetElement, I2", set(Short(1)), {{FAILURES, "CComArguments(%p)::SetElementShort. Failed to set element [index is integer and value is short]"}, {FAILURES, "CComArguments(%p)::SetElement. SetElementShort Failed."}}},
        {"SetElement, I4", set(o.value), {{FAILURES, "CComArguments(%p)::SetElementInt. Failed to set element [index is integer and value is integer]"}, {FAILURES, "CComArguments(%p)::SetElement. SetElementInt Failed."}}},
        {"SetElement, UI2", set(Variant::Of(VT_UI2, 1)), {{FAILURES, "CComArguments(%p)::SetElementUShort. Failed to set element [index is integer and value is unsigned short]"}, {FAILURES, "CComArguments(%p)::SetElement. SetElementUShort Failed."}}},
        {"SetElement, UINT", set(Variant::Of(VT_UINT, 1)), {{FAILURES, "CComArguments(%p)::SetElementUInt. Failed to set element [index is integer and value is unsigend integer]"}, {FAILURES, "CComArguments(%p)::SetElement. SetElementUInt Failed."}}},
        {"SetElement, BSTR", set(o.text), {{FAILURES, "CComArguments(%p)::SetElementStr. Failed to set element [index is integer and value is string]"}, {FAILURES, "CComArguments(%p)::SetElement. SetElementStr Failed."}}},
        {"SetElement, object", set(o.Of(VT_DISPATCH, o.pArg.Get())), {{FAILURES, "CComArguments(%p)::SetElementByRef. Failed to Add a string key and Argument value"}, {FAILURES, "CComArguments(%p)::SetElement. SetElementByRef Failed."}}},
        {"SetElement, other", set(o.real), {{FAILURES, "CComArguments(%p)::SetElement. Unexpected vt, pVarValue is invalid argument."}}},
        {"GetElement, null", [&o] { o.p->GetElement(1, nullptr); }, {{FAILURES, "CComArguments(%p)::GetElement. Invalid argument."}}},
        {"GetElement, entries", [&o] { Variant v; o.p->GetElement(1, &v); }, {{ENTRIES, "CComArguments(%p)::GetElement()"}, {ENTRIES, "CComArguments(%p)::GetElementIntShort()"}}},
        {"GetElement, range", [&o] { Variant v; o.p->GetElement(99, &v); }, {{FAILURES, "CComArguments(%p)::GetElement. Failed to Get and Arg pointer."}}},
        {"GetElementKey, null", [&o] { o.p->GetElementKey(1, nullptr); }, {{FAILURES, "CComArguments(%p)::GetElementKey. Invalid argument."}}},
        {"GetElementKey, range, entries", [&o] { String s; o.p->GetElementKey(99, &s); }, {{ENTRIES, "CComArguments(%p)::GetElementIntStr()"}, {FAILURES, "CComArguments(%p)::GetElementIntStr. Failed to get a string value"}}},
        {"RemoveItem, null", [&o] { o.p->RemoveItem(nullptr, &o.b); }, {{FAILURES, "CComArguments(%p)::RemoveItem. Invalid pointer."}}},
        {"RemoveItem, missing", [&o] { o.p->RemoveItem(&o.missing, &o.b); }, {{FAILURES, "CComArguments(%p)::RemoveItem. Failed to Remove Item"}}},
        {"RemoveItem, range", [&o] { o.p->RemoveItem(&o.beyond, &o.b); }, {{WARNINGS, "CComArguments(%p)::RemoveItem. Failed to Remove Item. Int Key 732 out of enum_Keywords range."}, {FAILURES, "CComArguments(%p)::RemoveItem. Failed to Remove Item"}}},
        {"RemoveItem, empty", [&o] { o.p->RemoveItem(&o.empty, &o.b); }, {{FAILURES, "CComArguments(%p)::RemoveItem. Unexpected BSTR, invalid argument."}}},
        {"RemoveItem, type", [&o] { o.p->RemoveItem(&o.real, &o.b); }, {{FAILURES, "CComArguments(%p)::RemoveItem. Key variant is of invalid type."}}},
        {"IsValid, missing", [&o] { o.p->IsValid(&o.missing, &o.b); }, {{FAILURES, "CComArguments(%p)::IsValid. IsValid failed"}}},
        {"IsValid, range", [&o] { o.p->IsValid(&o.beyond, &o.b); }, {{WARNINGS, "CComArguments(%p)::IsValid() Failed. Int Key 732 out of enum_Keywords range."}, {FAILURES, "CComArguments(%p)::IsValid. IsValid failed"}}},
        {"IsValid, empty", [&o] { o.p->IsValid(&o.empty, &o.b); }, {{FAILURES, "CComArguments(%p)::IsValid. Unexpected BSTR, invalid argument."}}},
        {"IsValid, I2", [&o] { Variant k = Short(5); o.p->IsValid(&k, &o.b); }, {{FAILURES, "CComArguments(%p)::IsValid. Variant key is of invalid type."}}},
        {"IsValid, no object", [&o] { VARIANT v = o.Of(VT_DISPATCH, nullptr); o.p->IsValid(&v, &o.b); }, {{FAILURES, "CComArguments(%p)::IsValid. Invalid Argument."}}},
        {"IsValid, stranger", [&o] { VARIANT v = o.Of(VT_DISPATCH, &o.stranger); o.p->IsValid(&v, &o.b); }, {{FAILURES, "CComArguments(%p)::IsValid. Invalid pointer, QueryInterface failed."}}},
        {"IsValid, another module's value", [&o] { VARIANT v = o.Of(VT_DISPATCH, &o.foreign); o.p->IsValid(&v, &o.b); }, {{FAILURES, "CComArguments(%p)::IsValid. Invalid pointer."}}},
    };
}

std::vector<Row> ReadRows(Objects& o)
{
    const auto read = [&o](VARIANT* pKey, int nWhat) {
        return [&o, pKey, nWhat] {
            Ref<IArg> pArg;
            Ref<IArguments> pArray;
            String s;
            switch (nWhat) {
            case 0: o.p->GetValue(pKey, pArg.Out()); break;
            case 1: o.p->GetValueInt(pKey, &o.i); break;
            case 2: o.p->GetValueBool(pKey, &o.b); break;
            case 3: o.p->GetValueString(pKey, &s); break;
            default: o.p->GetValueArray(pKey, pArray.Out()); break;
            }
        };
    };
    return {
        {"GetValue, null", read(nullptr, 0), {{FAILURES, "CComArguments(%p)::GetValue. Invalid argument."}}},
        {"GetValue, missing number", read(&o.beyond, 0), {{LOOKUPS, "CComArguments::GetValue. No value associated with key -> 732"}}},
        {"GetValue, missing text", read(&o.missing, 0), {{LOOKUPS, "CComArguments::GetValue. No value associated with key -> missing"}}},
        {"GetValue, type", read(&o.real, 0), {{ERRORS, "CComOrvexObject::GetValue. pVarKey is of invalid type."}}},
        {"GetValueInt, null", read(nullptr, 1), {{FAILURES, "CComArguments(%p)::GetValueInt. Invalid argument."}}},
        {"GetValueInt, missing number", read(&o.beyond, 1), {{LOOKUPS, "CComArguments::GetValueInt. No int value associated with key -> 732"}}},
        {"GetValueInt, missing text", read(&o.missing, 1), {{LOOKUPS, "CComArguments::GetValueInt. No int value associated with key -> missing"}}},
        {"GetValueInt, type", read(&o.real, 1), {{ERRORS, "CComArguments::GetValueInt. pVarKey is invalid type."}}},
        {"GetValueBool, null", read(nullptr, 2), {{FAILURES, "CComArguments(%p)::GetValueBool. Invalid argument."}}},
        {"GetValueBool, missing number", read(&o.beyond, 2), {{LOOKUPS, "CComArguments::GetValueBool. No bool value associated with key -> 732"}}},
        {"GetValueBool, missing text", read(&o.missing, 2), {{LOOKUPS, "CComArguments::GetValueBool. No bool value associated with key -> missing"}}},
        {"GetValueBool, type", read(&o.real, 2), {{ERRORS, "CComArguments::GetValueBool. pVarKey is of invalid type."}}},
        {"GetValueString, null", read(nullptr, 3), {{FAILURES, "CComArguments(%p)::GetValueString. Invalid argument."}}},
        {"GetValueString, missing number", read(&o.beyond, 3), {{LOOKUPS, "CComArguments::GetValueString. No string value associated with key -> 732"}}},
        {"GetValueString, missing text", read(&o.missing, 3), {{LOOKUPS, "CComArguments::GetValueString. No string value associated with key -> missing"}}},
        {"GetValueString, type", read(&o.real, 3), {{ERRORS, "CComArguments::GetValueString. pVarKey is invalid type."}}},
        {"GetValueArray, null", read(nullptr, 4), {{FAILURES, "CComArguments(%p)::GetValueArray. Invalid pointer."}}},
        {"GetValueArray, no container", read(&o.number, 4), {{LOOKUPS, "CComArguments::GetValueArray. No array value associated with key -> 5"}}},
        {"GetValueArray, missing text", read(&o.missing, 4), {{LOOKUPS, "CComArguments::GetValueArray. No array value associated with key -> missing"}}},
        {"GetValueArray, type", read(&o.real, 4), {{ERRORS, "CComArguments::GetValueArray. pVarKey is of invalid type."}}},
        {"NumElements, entries", [&o] { o.p->NumElements(&o.i); }, {{ENTRIES, "CComArguments(%p)::NumElements()"}, {ENTRIES, "CComArguments(%p)::NumElements. Number of elements 1"}}},
        {"GetClassID, entries", [&o] { o.p->GetClassID(&o.i); }, {{ENTRIES, "CComArguments(%p)::GetClassID()"}, {ENTRIES, "CComArguments(%p)::GetClassID. Class ID 6"}}},
        {"Clone, null", [&o] { o.p->Clone(nullptr); }, {{FAILURES, "CComArguments(%p)::Clone. CoCreateInstance failed."}}},
        {"a new container, entries", [] { NewArguments(); }, {{ENTRIES, "CCommonArguments(%p)::CCommonArguments()"}, {ENTRIES, "CComArguments(%p)::CComArguments()"}, {ENTRIES, "CComArguments(%p)::~CComArguments()"}, {ENTRIES, "CCommonArguments(%p)::~CCommonArguments()"}}},
    };
}

std::vector<Row> ValueRows(Objects& o)
{
    const auto set = [&o](VARIANT v) { return [&o, v]() mutable { o.pArg->SetValue(&v, &o.b); }; };
    return {
        {"value SetValue, null", [&o] { o.pArg->SetValue(nullptr, &o.b); }, {{FAILURES, "CComArg(%p)::SetValue. Invalid pointer."}}},
        {"value SetValue, empty", set(o.empty), {{FAILURES, "CComArg(%p)::SetValue. Unexpected BSTR, invalid argument."}}},
        {"value SetValue, type", set(o.real), {{FAILURES, "CComArg(%p)::SetValue. Unexpected vt, invalid argument."}}},
        {"value SetValue, no object", set(o.Of(VT_DISPATCH, nullptr)), {{FAILURES, "CComArg(%p)::SetValue. Invalid pointer."}}},
        {"value SetValue, container", set(o.Of(VT_DISPATCH, o.pChild.Get())), {{FAILURES, "CComArg(%p)::SetValue. Invalid pointer."}}},
        {"value SetValue, another module's", set(o.Of(VT_DISPATCH, &o.foreign)), {{FAILURES, "CComArg(%p)::SetValue. Invalid pointer."}}},
        {"value SetValue, string, entries", set(o.text), {{ENTRIES, "CComArg(%p)::SetValue()"}, {ENTRIES, "CCommonArguments(%p)::BSTRtoString()"}}},
        {"value GetValueInt", [&o] { o.pArg->GetValueInt(&o.i); }, {{FAILURES, "CComArg(%p)::GetValueInt. Failed to get a integer value"}}},
        {"value GetValueArray", [&o] { Ref<IArguments> p; o.pArg->GetValueArray(p.Out()); }, {{FAILURES, "CComArg(%p)::GetValueArray. Failed to get an array value"}}},
        {"value GetValue, unset", [&o] { Variant v; o.pUnset->GetValue(&v); }, {{FAILURES, "CComArg(%p)::GetValue. Invalid type."}}},
        {"value GetValue, null", [&o] { o.pArg->GetValue(nullptr); }, {{FAILURES, "CComArg(%p)::GetValue. Invalid pointer."}}},
        {"value GetValue, string, entries", [&o] { Variant v; o.pArg->GetValue(&v); }, {{ENTRIES, "CComArg(%p)::GetValue()"}, {ENTRIES, "CCommonArguments(%p)::A2WBSTR_ORVEX()"}}},
        {"value GetClassID, entries", [&o] { o.pArg->GetClassID(&o.i); }, {{ENTRIES, "CComArg(%p)::GetClassID()"}, {ENTRIES, "CComArg(%p)::GetClassID. Class ID 1"}}},
        {"value Clone, null", [&o] { o.pArg->Clone(nullptr); }, {{FAILURES, "CComArgs(%p)::Clone. CoCreateInstance failed."}}},
        {"a new value, entries", [] { NewArg(); }, {{ENTRIES, "CCommonArguments(%p)::CCommonArguments()"}, {ENTRIES, "CComArg(%p)::CComArg()"}, {ENTRIES, "CComArg(%p)::~CComArg()"}, {ENTRIES, "CCommonArguments(%p)::~CCommonArguments()"}}},
        {"a container's value, entries", [&o] { VARIANT v = o.Of(VT_DISPATCH, o.pChild.Get()); Variant k = Number(9); o.p->AddItem(&k, &v, &o.b); o.p->RemoveItem(&k, &o.b); }, {{ENTRIES, "CComArguments(%p)::AddItem()"}, {ENTRIES, "CComArguments(%p)::AddItemIntKey()"}, {ENTRIES, "CComArguments(%p)::AddItemIntByRef()"}, {ENTRIES, "CComArg(%p)::GetArguments()"}, {ENTRIES, "CComArguments(%p)::RemoveItem()"}}},
    };
}

// clang-format on

// Lines of this surface alone, and of the expected ones those of the mask.
std::string Join(const std::vector<std::string>& lines)
{
    std::string s;
    for (const std::string& sLine : lines)
        if (sLine.compare(0, 4, "CCom") == 0)
            s += sLine + "\n";
    return s;
}

std::string Join(const std::vector<Line>& lines, DWORD dwMask)
{
    std::string s;
    for (const Line& line : lines)
        if (line.dwMask == dwMask)
            s += std::string(line.text) + "\n";
    return s;
}

// What is wrong, told when standard output is there again.
std::string CallEveryRow(std::vector<Row> (*rowsOf)(Objects&))
{
    Screen screen;
    Objects objects;
    objects.p->AddItem(&objects.number, &objects.value, &objects.b);
    objects.pArg->SetValue(&objects.text, &objects.b);
    const std::vector<Row> rows = rowsOf(objects);
    std::string sWrong;
    for (const DWORD dwMask : {ERRORS, WARNINGS, LOOKUPS, FAILURES, ENTRIES}) {
        if (!SetConsoleMask(screen, dwMask))
            return "the mask did not arrive";
        for (const Row& row : rows) {
            row.call();
            const std::string sLines = Join(screen.Lines()), sExpected = Join(row.lines, dwMask);
            const bool bTold =
                dwMask != ENTRIES || std::string(row.name).find("entries") != std::string::npos;
            if (bTold && sLines != sExpected)
                sWrong += std::string(row.name) + ", mask " + std::to_string(dwMask) + "\nexpected:\n" +
                          sExpected + "written:\n" + sLines;
            if (objects.stranger.m_ulCount + objects.foreign.m_ulCount != 2)
                return sWrong + row.name + ": a reference was kept";
        }
    }
    return SetConsoleMask(screen, 3) ? sWrong : "the last mask did not arrive";
}

TEST(ComponentLines, AddAndSet) { EXPECT_EQ(CallEveryRow(&AddAndSetRows), ""); }
TEST(ComponentLines, Elements) { EXPECT_EQ(CallEveryRow(&ElementRows), ""); }
TEST(ComponentLines, Reads) { EXPECT_EQ(CallEveryRow(&ReadRows), ""); }
TEST(ComponentLines, Values) { EXPECT_EQ(CallEveryRow(&ValueRows), ""); }

}  // namespace

int main(int argc, char** argv)
{
    return RunWithModule(argc, argv, [] {
        SetLogging("TraceFileName", "component-tests");
        SetLogging("TraceServer", "");
        SetLogging("TraceMask", DWORD{0});
        SetLogging("ConsoleTraceMask", DWORD{3});
        SetLogging("UseDebugOutput", DWORD{0});
    });
}
