// orvexargs: a look into message bags from the command line.
#include "names/Names.h"
#include "tools/orvexargs/Convert.h"
#include "tools/orvexargs/LookUp.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <map>

namespace {

constexpr char CONVERT_HELP[] =
    R"(Line in, line out. A line that cannot be read gives FILE:LINE: REASON on standard error and no line on
standard output; the next line is read, and the exit status is 1 at the end.

Forms:
  text     entries such as Name=x;Size=12;List=1,2,3
  dump     (Name:x Size:12 List:(1:1 2:2 3:3)), to be written only
  json     {"entries":[{"key":"Size","type":"INT","value":12}]}; a byte is the character of the same number
  full     the record in which every field can be stepped over, as hexadecimal digits
  compact  the short record, as hexadecimal digits

Lines end in a line feed. A carriage return in front of it is passed over where it is not part of the data: in the
text form it is a part of it behind quotes that are not closed.)";

constexpr char STATUS_HELP[] =
    R"(Exit status: 0 for success, 1 if a line or a name was in error, 2 for unusable arguments, a file that cannot be
opened or results that cannot be written.)";

const std::map<std::string, Form> READ_FORMS = {
    {"text", FORM_TEXT}, {"json", FORM_JSON}, {"full", FORM_FULL}, {"compact", FORM_COMPACT}};
const std::map<std::string, Form> WRITTEN_FORMS = {
    {"dump", FORM_DUMP}, {"json", FORM_JSON}, {"full", FORM_FULL}, {"compact", FORM_COMPACT}};
const std::map<std::string, NameOf> NAMES = {
    {"message", [](int n) -> const char* { return MessageName(n); }},
    {"agent", [](int n) -> const char* { return AgentStateName(n); }},
    {"connection", ConnectionStateName}};

std::string CheckNumber(const std::string& sNumber)
{
    int number;
    return ParseNumber(sNumber, &number) ? std::string() : sNumber + " is not a number of 32 bits";
}

// The commands and what is given with them.
class CommandLine
{
public:
    CommandLine();

    // False, with the exit status, when there is nothing left to do.
    bool Parse(int argc, char** argv, int* pStatus);
    ExitStatus Run(Results& rResults);

private:
    ExitStatus Convert(Results& rResults);
    ExitStatus ShowTokens(Results& rResults);
    ExitStatus ShowNames(Results& rResults);

    CLI::App m_app{"Look into message bags."};
    CLI::App* m_pConvert;
    CLI::App* m_pTokens;
    CLI::App* m_pKeyword;
    CLI::App* m_pName;

    std::string m_sFrom = "text";
    std::string m_sTo = "dump";
    bool m_bPartial = false;
    std::vector<std::string> m_files;
    std::vector<std::string> m_keywords;
    std::string m_sNames;
    std::vector<std::string> m_numbers;
};

CommandLine::CommandLine()
{
    m_app.require_subcommand(1);
    m_app.footer(STATUS_HELP);

    m_pConvert = m_app.add_subcommand("convert", "Convert bags from one form to another");
    m_pConvert->add_option("--from", m_sFrom, "Form of the input")
        ->check(CLI::IsMember(READ_FORMS))
        ->capture_default_str();
    m_pConvert->add_option("--to", m_sTo, "Form of the output")
        ->check(CLI::IsMember(WRITTEN_FORMS))
        ->capture_default_str();
    m_pConvert->add_flag("--partial", m_bPartial, "Write what was read before an error all the same");
    m_pConvert->footer(CONVERT_HELP);

    m_pTokens = m_app.add_subcommand("tokens", "Show every line in the tokens of the text form, TYPE:TOKEN");
    for (CLI::App* pCommand : {m_pConvert, m_pTokens})
        pCommand->add_option("FILE", m_files, "Files; none, or -, for standard input");

    m_pKeyword = m_app.add_subcommand("keyword", "Show the number and the name of keywords");
    m_pKeyword->add_option("NAME|ID", m_keywords, "Names in any case, or numbers")->required();

    m_pName = m_app.add_subcommand("name", "Show the symbolic names of numbers");
    m_pName->add_option("KIND", m_sNames, "What the numbers are")->required()->check(CLI::IsMember(NAMES));
    m_pName->add_option("NUMBER", m_numbers, "Decimal or 0x hexadecimal, 32 bits")
        ->required()
        ->check(CLI::Validator(CheckNumber, "NUMBER"));
}

bool CommandLine::Parse(int argc, char** argv, int* pStatus)
{
    try {
        m_app.parse(argc, argv);
        return true;
    } catch (const CLI::ParseError& e) {
        *pStatus = m_app.exit(e) == 0 ? STATUS_GOOD : STATUS_UNUSABLE;
        return false;
    }
}

ExitStatus CommandLine::Run(Results& rResults)
{
    if (m_pConvert->parsed())
        return Convert(rResults);
    if (m_pTokens->parsed())
        return ShowTokens(rResults);
    if (m_pKeyword->parsed())
        return WriteKeywords(m_keywords, rResults);
    return ShowNames(rResults);
}

ExitStatus CommandLine::Convert(Results& rResults)
{
    Converter converter(READ_FORMS.at(m_sFrom), WRITTEN_FORMS.at(m_sTo), m_bPartial);
    return ForEachLine(m_files, rResults, [&converter](const std::string& sLine, LineResult* pResult) {
        converter.Convert(sLine, pResult);
    });
}

ExitStatus CommandLine::ShowTokens(Results& rResults)
{
    SetClassesOfTextForm();
    return ForEachLine(m_files, rResults, [](const std::string& sLine, LineResult* pResult) {
        pResult->sOut = TokensOf(sLine);
        pResult->bWrite = true;
    });
}

ExitStatus CommandLine::ShowNames(Results& rResults)
{
    std::vector<int> numbers(m_numbers.size());
    for (size_t i = 0; i < numbers.size(); ++i)
        ParseNumber(m_numbers[i], &numbers[i]);
    return WriteNames(NAMES.at(m_sNames), numbers, rResults);
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        CommandLine commandLine;
        int status;
        if (!commandLine.Parse(argc, argv, &status))
            return status;
        Results results;
        const ExitStatus done = commandLine.Run(results);
        return std::max(done, results.Close());
    } catch (const std::exception& e) {
        fprintf(stderr, "orvexargs: %s\n", e.what());
        return STATUS_UNUSABLE;
    }
}
