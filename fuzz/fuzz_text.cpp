// Any bytes as a line of the text form.
#include "fuzz/Properties.h"

#include "values/ArgTypes.h"

#include <cstdint>
#include <vector>

namespace {

// The text in quotes that bring it back unchanged; empty where no kind of quote does.
std::string Quoted(const std::string& text)
{
    for (char quote : {'"', '\'', '`'}) {
        std::size_t i = 0;
        while (i < text.size() && text[i] != quote)
            i += text[i] == '\\' ? 2 : 1;
        if (i == text.size())
            return quote + text + quote;
    }
    return std::string();
}

std::string ValueText(Arg& rArg)
{
    return rArg.GetType() == ARG_INT ? std::to_string(rArg.GetValueInt()) : Quoted(rArg.GetValueString());
}

std::string ListText(Arguments& rList)
{
    Require(rList.NumElements() >= 2, "a list has two values or more");
    std::string text;
    for (int n = 1; n <= rList.NumElements(); ++n) {
        const std::string s = ValueText(*ArgHolder(rList.GetValue(std::to_string(n))));
        if (s.empty())
            return std::string();
        if (n > 1)
            text += ',';
        if (n == 1 || s != "\"\"")  // behind a comma nothing is an empty text
            text += s;
    }
    return text;
}

// The container as a text; empty where an entry cannot be told in one.
std::string TextOf(Arguments& rArgs)
{
    std::string text;
    for (int i = 1; i <= rArgs.NumElements(); ++i) {
        const std::string key = Quoted(rArgs.GetElementKey(i));
        const ArgHolder value(rArgs.GetElement(i));
        Arguments* pList = nullptr;
        const bool bList = value->GetValueArray(&pList);
        const ArgumentsHolder list(pList);
        const std::string values = bList ? ListText(*list) : ValueText(*value);
        if (key.empty() || values.empty())
            return std::string();
        text.append(key).append("=").append(values).append(";");
    }
    return text;
}

void RequireTextGivesItBack(Arguments& rArgs)
{
    const std::string text = TextOf(rArgs);
    if (text.empty())
        return;
    const ArgumentsHolder again(Arguments::CreateInstance());
    Require(again->SetValue(text), "a text made of a container is read whole");
    Require(again->DumpArgs() == rArgs.DumpArgs(), "a text made of a container gives that container");
}

std::vector<std::string> Split(const std::string& text, char separator)
{
    std::vector<std::string> parts(1);
    for (char c : text) {
        if (c == separator)
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

ArgHolder NewValue(const std::string& text)
{
    ArgHolder value(Arg::Create());
    const bool bNumber =
        !text.empty() && text.size() < 10 && text.find_first_not_of("0123456789") == std::string::npos;
    if (bNumber)
        value->SetValue(std::stoi(text));
    else
        value->SetValue(text.c_str());
    return value;
}

// A container of the shape that a text gives, made without the parser: lines of a key and its values, tabs
// between.
ArgumentsHolder Built(const std::string& text)
{
    ArgumentsHolder args(Arguments::CreateInstance());
    for (const std::string& line : Split(text, '\n')) {
        const std::vector<std::string> cells = Split(line, '\t');
        const ArgumentsHolder list(Arguments::CreateInstance());
        for (std::size_t i = 1; i < cells.size(); ++i)
            list->AddItem(std::to_string(i), NewValue(cells[i]).get());
        if (list->NumElements() == 1)
            args->AddItem(cells[0], ArgHolder(list->GetElement(1)).get());
        else if (list->NumElements() > 1)
            args->AddItem(cells[0], list.get());
    }
    return args;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > LONGEST_INPUT)
        return 0;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const ArgumentsHolder args(Arguments::CreateInstance());
    const bool bWhole = args->SetValue(text);
    const std::string dump = args->DumpArgs();
    RequireDumpIsWhole(*args);
    RequireCloneIsEqual(*args);

    Require(args->SetValue(text) == bWhole && args->DumpArgs() == dump, "a second time changes nothing");

    RequireTextGivesItBack(*args);
    RequireTextGivesItBack(*Built(text));

    // A zero byte ends a text in the serial forms.
    if (text.find('\0') == std::string::npos) {
        RequireSameThroughBytes(*args, FULL_FORM);
        RequireSameThroughBytes(*args, COMPACT_FORM);
    }
    return 0;
}
