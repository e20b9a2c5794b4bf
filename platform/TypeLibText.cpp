#include "platform/TypeLibModel.h"

#include <cctype>
#include <charconv>
#include <map>

namespace {

struct Unreadable
{
};

struct Attributes
{
    GUID guid = {};
    std::string sHelp;
    LONG lId = 0;
    LCID lcid = 0;
    WORD wMajor = 0;
    WORD wMinor = 0;
    bool bDual = false;
    bool bDefault = false;
    WORD wParamFlags = PARAMFLAG_NONE;
};

const std::map<std::string, VARTYPE> s_types = {
    {"short", VT_I2},           {"int", VT_INT},           {"long", VT_I4},
    {"unsigned short", VT_UI2}, {"unsigned int", VT_UINT}, {"unsigned long", VT_UI4},
    {"BSTR", VT_BSTR},          {"VARIANT", VT_VARIANT},   {"VARIANT_BOOL", VT_BOOL},
};

// Words, numbers, texts in quotes, and marks of one character; white space and comments in between.
class Scanner
{
public:
    explicit Scanner(const std::string& sText) : m_sText(sText) { Step(); }

    bool AtEnd() const { return m_sToken.empty(); }
    bool Is(const char* token) const { return m_sToken == token; }
    bool Take(const char* token)
    {
        if (!Is(token))
            return false;
        Step();
        return true;
    }
    void Expect(const char* token)
    {
        if (!Take(token))
            throw Unreadable();
    }
    std::string Word()
    {
        if (m_sToken.empty() || !IsWordStart(m_sToken[0]))
            throw Unreadable();
        return TakeAny();
    }
    std::string Text()
    {
        if (m_sToken.size() < 2 || m_sToken[0] != '"')
            throw Unreadable();
        const std::string s = TakeAny();
        return s.substr(1, s.size() - 2);
    }
    LONG Number()
    {
        const bool bMinus = Take("-");
        const bool bHex =
            m_sToken.size() > 2 && m_sToken[0] == '0' && (m_sToken[1] == 'x' || m_sToken[1] == 'X');
        const std::string s = TakeAny().substr(bHex ? 2 : 0);
        LONG l = 0;
        const auto [p, error] = std::from_chars(s.data(), s.data() + s.size(), l, bHex ? 16 : 10);
        if (error != std::errc() || p != s.data() + s.size())
            throw Unreadable();
        return bMinus ? -l : l;
    }
    // What stands in front of the closing parenthesis, as it is; the parenthesis is the next token.
    std::string Raw()
    {
        const std::size_t iEnd = m_sText.find(')', m_iToken);
        if (iEnd == std::string::npos)
            throw Unreadable();
        std::string s = m_sText.substr(m_iToken, iEnd - m_iToken);
        m_i = iEnd;
        Step();
        return s;
    }

private:
    static bool IsWordStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
    static bool IsWordPart(char c) { return IsWordStart(c) || std::isdigit(static_cast<unsigned char>(c)); }

    std::string TakeAny()
    {
        std::string s = m_sToken;
        Step();
        return s;
    }
    void SkipSpace()
    {
        for (;;) {
            while (m_i < m_sText.size() && std::isspace(static_cast<unsigned char>(m_sText[m_i])))
                ++m_i;
            std::size_t iEnd;
            if (m_sText.compare(m_i, 2, "//") == 0)
                iEnd = m_sText.find('\n', m_i);
            else if (m_sText.compare(m_i, 2, "/*") == 0)
                iEnd = m_sText.find("*/", m_i + 2);
            else
                return;
            m_i = iEnd == std::string::npos ? m_sText.size() : iEnd + (m_sText[iEnd] == '*' ? 2 : 1);
        }
    }
    void Step()
    {
        SkipSpace();
        m_iToken = m_i;
        if (m_i < m_sText.size() && m_sText[m_i] == '"') {
            const std::size_t iEnd = m_sText.find('"', m_i + 1);
            if (iEnd == std::string::npos)
                throw Unreadable();
            m_i = iEnd + 1;
        } else if (m_i < m_sText.size() && IsWordPart(m_sText[m_i])) {
            while (m_i < m_sText.size() && IsWordPart(m_sText[m_i]))
                ++m_i;
        } else if (m_i < m_sText.size()) {
            ++m_i;
        }
        m_sToken = m_sText.substr(m_iToken, m_i - m_iToken);
    }

    const std::string& m_sText;
    std::size_t m_i = 0;
    std::size_t m_iToken = 0;
    std::string m_sToken;
};

GUID ToGuid(const std::string& s)
{
    const std::string sBraced = "{" + s + "}";
    const std::basic_string<OLECHAR> sWide(sBraced.begin(), sBraced.end());
    GUID guid;
    if (FAILED(IIDFromString(sWide.c_str(), &guid)))
        throw Unreadable();
    return guid;
}

class Reader
{
public:
    Reader(const std::string& sText, TypeLibModel* pModel) : m_scanner(sText), m_rModel(*pModel) {}

    void Read()
    {
        for (;;) {
            if (m_scanner.Take("import")) {
                m_scanner.Text();
                m_scanner.Expect(";");
            } else if (m_scanner.Take("interface")) {
                m_scanner.Word();
                m_scanner.Expect(";");
            } else {
                break;
            }
        }
        ReadLibrary();
        for (TypeLibEntry& rEntry : m_rModel.entries)
            for (TypeLibMethod& rMethod : rEntry.methods)
                for (TypeLibParam& rParam : rMethod.params)
                    if (rParam.type.vt == VT_USERDEFINED)
                        rParam.type.iEntry = Interface(rParam.type.sInterface);
        for (const auto& [iClass, sName] : m_defaults)
            m_rModel.entries[iClass].iDefault = Interface(sName);
    }

private:
    void ReadLibrary()
    {
        const Attributes attributes = ReadAttributes();
        m_scanner.Expect("library");
        m_rModel.sName = m_scanner.Word();
        m_rModel.sHelp = attributes.sHelp;
        m_rModel.guid = attributes.guid;
        m_rModel.lcid = attributes.lcid;
        m_rModel.wMajor = attributes.wMajor;
        m_rModel.wMinor = attributes.wMinor;
        m_scanner.Expect("{");
        while (!m_scanner.Take("}"))
            ReadStatement();
        m_scanner.Take(";");
        if (!m_scanner.AtEnd())
            throw Unreadable();
    }

    void ReadStatement()
    {
        const Attributes attributes = ReadAttributes();
        if (m_scanner.Take("importlib")) {
            m_scanner.Expect("(");
            m_scanner.Text();
            m_scanner.Expect(")");
        } else if (m_scanner.Take("typedef")) {
            ReadAttributes();
            ReadEnumeration();
        } else if (m_scanner.Take("interface")) {
            ReadInterface(attributes);
        } else {
            m_scanner.Expect("coclass");
            ReadClass(attributes);
        }
        m_scanner.Expect(";");
    }

    void ReadEnumeration()
    {
        TypeLibEntry entry;
        m_scanner.Expect("enum");
        if (!m_scanner.Is("{"))
            m_scanner.Word();
        m_scanner.Expect("{");
        LONG lNext = 0;
        do {
            TypeLibConstant constant;
            constant.sName = m_scanner.Word();
            constant.lValue = m_scanner.Take("=") ? m_scanner.Number() : lNext;
            lNext = constant.lValue + 1;
            entry.constants.push_back(constant);
        } while (m_scanner.Take(","));
        m_scanner.Expect("}");
        entry.sName = m_scanner.Word();
        m_rModel.entries.push_back(entry);
    }

    void ReadInterface(const Attributes& attributes)
    {
        const std::string sName = m_scanner.Word();
        if (m_scanner.Is(";"))
            return;
        if (!attributes.bDual)
            throw Unreadable();
        m_scanner.Expect(":");
        m_scanner.Expect("IDispatch");
        m_scanner.Expect("{");
        TypeLibEntry& rEntry = NewEntry(TKIND_DISPATCH, sName, attributes);
        while (!m_scanner.Take("}"))
            rEntry.methods.push_back(ReadMethod());
    }

    TypeLibMethod ReadMethod()
    {
        const Attributes attributes = ReadAttributes();
        TypeLibMethod method;
        m_scanner.Expect("HRESULT");
        method.sName = m_scanner.Word();
        method.sHelp = attributes.sHelp;
        method.memid = attributes.lId;
        m_scanner.Expect("(");
        if (!m_scanner.Is(")") && !m_scanner.Is("void")) {
            do
                method.params.push_back(ReadParam(method.HasResult()));
            while (m_scanner.Take(","));
        } else {
            m_scanner.Take("void");
        }
        m_scanner.Expect(")");
        m_scanner.Expect(";");
        if (method.params.size() > MOST_METHOD_PARAMS)
            throw Unreadable();
        return method;
    }

    TypeLibParam ReadParam(bool bResultSeen)
    {
        TypeLibParam param;
        param.wFlags = ReadAttributes().wParamFlags;
        std::string sType = m_scanner.Word();
        if (sType == "unsigned")
            sType += ' ' + m_scanner.Word();
        while (m_scanner.Take("*"))
            ++param.type.nPointers;
        param.sName = m_scanner.Word();
        const auto it = s_types.find(sType);
        param.type.vt = it == s_types.end() ? VARTYPE{VT_USERDEFINED} : it->second;
        param.type.sInterface = sType;
        // In-parameters are values or VARIANT*, and a result follows them.
        const bool bResult = param.wFlags == (PARAMFLAG_FOUT | PARAMFLAG_FRETVAL);
        const int nPointers = param.type.vt == VT_USERDEFINED          ? 2
                              : param.type.vt == VT_VARIANT || bResult ? 1
                                                                       : 0;
        if (bResultSeen || (!bResult && param.wFlags != PARAMFLAG_FIN) || param.type.nPointers != nPointers ||
            (!bResult && param.type.vt == VT_USERDEFINED))
            throw Unreadable();
        return param;
    }

    void ReadClass(const Attributes& attributes)
    {
        NewEntry(TKIND_COCLASS, m_scanner.Word(), attributes);
        m_scanner.Expect("{");
        if (!ReadAttributes().bDefault)
            throw Unreadable();
        m_scanner.Expect("interface");
        m_defaults.emplace_back(m_rModel.entries.size() - 1, m_scanner.Word());
        m_scanner.Expect(";");
        m_scanner.Expect("}");
    }

    Attributes ReadAttributes()
    {
        Attributes attributes;
        if (!m_scanner.Take("["))
            return attributes;
        do
            ReadAttribute(&attributes);
        while (m_scanner.Take(","));
        m_scanner.Expect("]");
        return attributes;
    }

    void ReadAttribute(Attributes* p)
    {
        const std::string sName = m_scanner.Word();
        if (sName == "dual")
            p->bDual = true;
        else if (sName == "default")
            p->bDefault = true;
        else if (sName == "in")
            p->wParamFlags |= PARAMFLAG_FIN;
        else if (sName == "out")
            p->wParamFlags |= PARAMFLAG_FOUT;
        else if (sName == "retval")
            p->wParamFlags |= PARAMFLAG_FRETVAL;
        else if (sName != "object" && sName != "oleautomation" && sName != "v1_enum")
            ReadValue(sName, p);
    }

    void ReadValue(const std::string& sName, Attributes* p)
    {
        m_scanner.Expect("(");
        if (sName == "uuid")
            p->guid = ToGuid(m_scanner.Raw());
        else if (sName == "helpstring")
            p->sHelp = m_scanner.Text();
        else if (sName == "id")
            p->lId = m_scanner.Number();
        else if (sName == "lcid")
            p->lcid = static_cast<LCID>(m_scanner.Number());
        else if (sName == "version") {
            p->wMajor = static_cast<WORD>(m_scanner.Number());
            if (m_scanner.Take("."))
                p->wMinor = static_cast<WORD>(m_scanner.Number());
        } else
            throw Unreadable();
        m_scanner.Expect(")");
    }

    TypeLibEntry& NewEntry(TYPEKIND kind, const std::string& sName, const Attributes& attributes)
    {
        TypeLibEntry entry;
        entry.kind = kind;
        entry.sName = sName;
        entry.sHelp = attributes.sHelp;
        entry.guid = attributes.guid;
        if (entry.guid == GUID_NULL)
            throw Unreadable();
        m_rModel.entries.push_back(entry);
        return m_rModel.entries.back();
    }

    std::size_t Interface(const std::string& sName) const
    {
        for (std::size_t i = 0; i < m_rModel.entries.size(); ++i)
            if (m_rModel.entries[i].kind == TKIND_DISPATCH && m_rModel.entries[i].sName == sName)
                return i;
        throw Unreadable();
    }

    Scanner m_scanner;
    TypeLibModel& m_rModel;
    std::vector<std::pair<std::size_t, std::string>> m_defaults;
};

}  // namespace

bool PlatformReadTypeLibText(const std::string& sText, TypeLibModel* pModel)
{
    try {
        Reader(sText, pModel).Read();
        return true;
    } catch (const Unreadable&) {
        return false;
    }
}
