#include "tools/orvexargs/Convert.h"

#include "arguments/Arguments.h"
#include "tools/orvexargs/Hex.h"
#include "tools/orvexargs/Json.h"

#include <climits>

namespace {

bool EndsInReturn(const std::string& sLine) { return !sLine.empty() && sLine.back() == '\r'; }

std::string WithoutReturn(const std::string& sLine) { return sLine.substr(0, sLine.size() - 1); }

}  // namespace

Converter::Converter(Form from, Form to, bool bPartial) : m_from(from), m_to(to), m_bPartial(bPartial) {}

void Converter::Convert(const std::string& sLine, LineResult* pResult)
{
    const ArgumentsHolder pBag(Arguments::CreateInstance());
    if (!Read(sLine, *pBag, &pResult->sFault) && !m_bPartial)
        return;
    std::string sFault;
    pResult->bWrite = Write(*pBag, &pResult->sOut, &sFault);
    if (pResult->sFault.empty())
        pResult->sFault = sFault;
}

bool Converter::Read(const std::string& sLine, Arguments& rBag, std::string* pFault)
{
    switch (m_from) {
    case FORM_JSON: return FromJson(sLine, rBag, pFault);
    case FORM_FULL:
    case FORM_COMPACT: return ReadHex(EndsInReturn(sLine) ? WithoutReturn(sLine) : sLine, rBag, pFault);
    default: return ReadText(sLine, rBag, pFault);
    }
}

// A carriage return can end a line of this form only inside quotes that are not closed. There it is text and
// the line reads well; otherwise it makes the line fail, and then it is taken for part of the line's end.
bool Converter::ReadText(const std::string& sLine, Arguments& rBag, std::string* pFault)
{
    if (rBag.SetValue(sLine))
        return true;
    if (EndsInReturn(sLine)) {
        rBag.Clear();
        const std::string sText = WithoutReturn(sLine);
        if (rBag.SetValue(sText))
            return true;
    }
    *pFault = "not in the text form behind entry " + std::to_string(rBag.NumElements());
    return false;
}

bool Converter::ReadHex(const std::string& sLine, Arguments& rBag, std::string* pFault)
{
    const bool bHex = FromHex(sLine, &m_sBytes, pFault);
    if (m_sBytes.size() > INT_MAX) {
        *pFault = "more bytes than a stream can hold";
        return false;
    }
    m_stream.Clear();
    m_stream.WriteBytes(m_sBytes.data(), static_cast<int>(m_sBytes.size()));
    std::string sFault;
    const bool bRecord = ReadRecord(rBag, bHex ? pFault : &sFault);
    return bHex && bRecord;
}

bool Converter::ReadRecord(Arguments& rBag, std::string* pFault)
{
    short count = 0;  // of a stream without bytes, which is an empty bag
    m_stream.ReadShort(&count);
    m_stream.Rewind();
    const int n = m_from == FORM_FULL ? rBag.Unpack(m_stream) : rBag.Unpack2(m_stream);
    if (n < 0)
        *pFault = "a field of the record cannot be read";
    else if (n < count)
        *pFault = "fewer entries than the " + std::to_string(count) + " announced";
    else if (m_stream.BytesRemaining() > 0)
        *pFault = "bytes left behind the record: " + std::to_string(m_stream.BytesRemaining());
    else
        return true;
    return false;
}

bool Converter::Write(Arguments& rBag, std::string* pOut, std::string* pFault)
{
    switch (m_to) {
    case FORM_JSON: *pOut = ToJson(rBag); return true;
    case FORM_FULL:
    case FORM_COMPACT: return WriteHex(rBag, pOut, pFault);
    default: *pOut = rBag.DumpArgs(); return true;
    }
}

bool Converter::WriteHex(Arguments& rBag, std::string* pOut, std::string* pFault)
{
    m_stream.Clear();
    const int result = m_to == FORM_FULL ? rBag.Pack(m_stream) : rBag.Pack2(m_stream);
    if (result < 0) {
        *pFault = m_to == FORM_FULL ? "cannot be written in the full form"
                                    : "cannot be written in the compact form";
        return false;
    }
    AppendHex(pOut, m_stream.Data(), m_stream.Size());
    return true;
}
