// From one form of a bag to another, a line at a time.
#pragma once

#include "tools/MemoryStream.h"
#include "tools/orvexargs/Lines.h"

class Arguments;

enum Form
{
    FORM_TEXT,  // read only
    FORM_DUMP,  // written only
    FORM_JSON,
    FORM_FULL,
    FORM_COMPACT
};

class Converter
{
public:
    // bPartial: what was read before a fault is written all the same.
    Converter(Form from, Form to, bool bPartial);

    void Convert(const std::string& sLine, LineResult* pResult);

private:
    // False, with the fault, and what was read before it stays in the bag.
    bool Read(const std::string& sLine, Arguments& rBag, std::string* pFault);
    bool ReadText(const std::string& sLine, Arguments& rBag, std::string* pFault);
    bool ReadHex(const std::string& sLine, Arguments& rBag, std::string* pFault);
    bool ReadRecord(Arguments& rBag, std::string* pFault);

    bool Write(Arguments& rBag, std::string* pOut, std::string* pFault);
    bool WriteHex(Arguments& rBag, std::string* pOut, std::string* pFault);

    const Form m_from;
    const Form m_to;
    const bool m_bPartial;
    MemoryStream m_stream;  // these two are kept for their memory
    std::string m_sBytes;
};
