#include "tools/orvexargs/LookUp.h"

#include "arguments/Arguments.h"
#include "arguments/TokenString.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace {

void AppendEscaped(std::string* pText, const std::string& sToken)
{
    static const char DIGITS[] = "0123456789abcdef";
    for (const char c : sToken) {
        const unsigned char uc = static_cast<unsigned char>(c);
        if (uc >= 0x20 && uc <= 0x7E && c != '\\') {
            *pText += c;
        } else {
            *pText += "\\x";
            *pText += DIGITS[uc >> 4];
            *pText += DIGITS[uc & 15];
        }
    }
}

// By number where it is one, else by name.
int FindKeyword(const std::string& sKeyword)
{
    int id;
    return ParseNumber(sKeyword, &id) ? id : KeywordId(sKeyword);
}

}  // namespace

// The text form sets them whenever it reads.
void SetClassesOfTextForm()
{
    const ArgumentsHolder pBag(Arguments::CreateInstance());
    const std::string sNothing;
    pBag->SetValue(sNothing);
}

std::string TokensOf(const std::string& sLine)
{
    TokenString source;
    source = sLine;
    TokenString token;
    unsigned int position = 0;
    int type;
    std::string sTokens;
    for (bool bFirst = true; source.NextToken(&position, &type, &token); bFirst = false) {
        if (!bFirst)
            sTokens += '\t';
        sTokens += std::to_string(type) + ':';
        AppendEscaped(&sTokens, token);
    }
    return sTokens;
}

ExitStatus WriteKeywords(const std::vector<std::string>& keywords, Results& rResults)
{
    ExitStatus status = STATUS_GOOD;
    for (const std::string& sKeyword : keywords) {
        const int id = FindKeyword(sKeyword);
        const char* name = KeywordName(id);
        if (name != nullptr) {
            rResults.WriteLine(std::to_string(id) + '\t' + name);
        } else {
            fprintf(stderr, "orvexargs: no keyword \"%s\"\n", sKeyword.c_str());
            status = STATUS_BAD;
        }
    }
    return status;
}

ExitStatus WriteNames(NameOf nameOf, const std::vector<int>& numbers, Results& rResults)
{
    for (const int number : numbers)
        rResults.WriteLine(nameOf(number));
    return STATUS_GOOD;
}

bool ParseNumber(const std::string& sNumber, int* pNumber)
{
    const bool bHex = sNumber.compare(0, 2, "0x") == 0 || sNumber.compare(0, 2, "0X") == 0;
    const size_t first = bHex ? 2 : sNumber.compare(0, 1, "-") == 0 ? 1 : 0;
    const char* digits = bHex ? "0123456789abcdefABCDEF" : "0123456789";
    if (first == sNumber.size() || sNumber.find_first_not_of(digits, first) != std::string::npos)
        return false;
    errno = 0;
    const long long number = strtoll(sNumber.c_str(), nullptr, bHex ? 16 : 10);
    if (errno != 0 || number < INT_MIN || number > (bHex ? UINT_MAX : INT_MAX))
        return false;
    *pNumber = static_cast<int>(number);
    return true;
}
