// The text form: Name=x;Size=12;List=1,2,3.
//
// The type of a token alone decides what it gives: a run of digits an int, anything else a string. An entry
// with one value is stored plain, one with several as a container with the keys "1", "2", "3" and so on, and
// one with none not at all.
#include "arguments/Arguments.h"
#include "arguments/TokenString.h"
#include "values/Digits.h"

#include <cstdio>
#include <vector>

namespace {

// What words may hold beside letters and digits: all but white space, quotes, comma, semicolon, colon, equal
// sign.
constexpr char WORD_CHARACTERS[] = ".<>/?[]{}+-|!@#$%^&()*_\\~";

unsigned char Byte(char c) { return static_cast<unsigned char>(c); }

// Class 5 is not set: its default makes a token of the equal sign, and of == and => too, which serve as well.
void SetTokenClasses()
{
    TokenString::SetTokenClass(1, WORD_CHARACTERS);
    TokenString::SetTokenClass(2, ";=,");
    TokenString::SetTokenClass(3, "");
    TokenString::SetTokenClass(4, "");
}

// One pass over a text.
class TextParser
{
public:
    TextParser(Arguments& rTarget, const std::string& text);

    bool Parse();

private:
    bool Next() { return m_source.NextToken(&m_nPosition, &m_nType, &m_token); }
    // Gathers the values up to the end of the entry. False for a token that cannot stand among them.
    bool ReadValues(bool* pbTextEnded);
    Arg& AddValue();
    void Store();

    Arguments& m_rTarget;
    TokenString m_source;
    unsigned int m_nPosition;
    TokenString m_token;  // the last one read
    int m_nType;          // of m_token; 0 and above for a character that is part of no word
    std::string m_sKey;
    std::vector<ArgHolder> m_values;  // of the entry in progress
};

TextParser::TextParser(Arguments& rTarget, const std::string& text)
    : m_rTarget(rTarget), m_nPosition(0), m_nType(TokenString::TYPE_END)
{
    m_source = text;
}

bool TextParser::Parse()
{
    for (bool bTextEnded = false; !bTextEnded;) {
        if (!Next())
            return true;
        if (m_nType >= 0)
            return false;
        m_sKey = m_token;
        if (!Next() || m_token.compare(0, 1, "=") != 0)
            return false;
        if (!ReadValues(&bTextEnded))
            return false;
        Store();
    }
    return true;
}

bool TextParser::ReadValues(bool* pbTextEnded)
{
    m_values.clear();
    for (bool bAfterComma = false;; bAfterComma = m_nType == ',') {
        *pbTextEnded = !Next();
        const bool bListEnds = *pbTextEnded || m_nType == ';';
        if (bListEnds || m_nType == ',') {
            if (bAfterComma)
                AddValue().SetValue("");
            if (bListEnds)
                return true;
        } else if (m_nType >= 0) {
            return false;
        } else if (m_nType == TokenString::TYPE_INTEGER &&
                   Byte(m_token[0]) < 0x80) {  // not the stray byte 0xFE
            AddValue().SetValue(ParseInt(m_token.c_str()));
        } else {
            AddValue().SetValue(m_token);
        }
    }
}

Arg& TextParser::AddValue()
{
    m_values.push_back(ArgHolder(Arg::Create()));
    return *m_values.back();
}

void TextParser::Store()
{
    if (m_values.empty())
        return;
    if (m_values.size() == 1) {
        m_rTarget.AddItem(m_sKey, m_values[0].get());
        return;
    }
    const ArgumentsHolder list(Arguments::CreateInstance());
    int n = 0;
    for (const ArgHolder& value : m_values) {
        char szNumber[12];
        snprintf(szNumber, sizeof szNumber, "%d", ++n);
        list->AddItem(std::string(szNumber), value.get());
    }
    m_rTarget.AddItem(m_sKey, list.get());
}

}  // namespace

bool Arguments::SetValue(const std::string& text)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arguments(%p)::SetValue( string \"%s\" )", static_cast<void*>(this),
                text.c_str());
    SetTokenClasses();
    return TextParser(*this, text).Parse();
}
