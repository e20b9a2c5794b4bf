#include "values/Arg.h"

#include "failures/OrvexException.h"
#include "values/Digits.h"
#include "values/Nesting.h"

#include <cctype>
#include <cstdio>

thread_local int NestingLevel::t_nLevel = 0;
thread_local bool NestingLevel::t_bExceeded = false;

namespace {

bool IsNumber(int type) { return type >= ARG_INT && type <= ARG_BOOL; }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

COrvexException NoValueSet() { return COrvexException("No value set.", -1, -1); }

}  // namespace

Arg* Arg::Create() { return new Arg; }

bool Arg::Create(Arg** ppArg)
{
    if (ppArg == nullptr)
        return false;
    *ppArg = Create();
    return true;
}

Arg::Arg() : m_pLogger(LogWrapper::InstanceForGood()), m_type(ARG_NOTSET), m_value(0) {}

Arg::~Arg() = default;

Arg* Arg::Clone()
{
    ArgHolder copy(Create());
    copy->CopyValue(*this);
    return copy.release();
}

void Arg::CopyValue(Arg& rFrom)
{
    ScopedLock lock(&rFrom.m_lock);
    SetType(rFrom.Type());
    m_value = rFrom.m_value;
    m_string = rFrom.m_string;
}

const std::string& Arg::DumpArg()
{
    ScopedLock lock(&m_lock);
    if (Type() == ARG_BOOL)
        m_string = Bool() ? "True" : "False";
    else if (IsNumber(Type()))
        m_string = std::to_string(Signed());
    return m_string;
}

bool Arg::IsNumeric(std::string s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::IsNumeric(\"%s\")", this, Type(), s.c_str());
    if (s.empty() || !(s[0] == '-' || s[0] == '+' || IsDigit(s[0])))
        return false;
    for (std::size_t i = 1; i < s.size(); ++i)
        if (!IsDigit(s[i]))
            return false;
    return true;
}

// The number, or the number that the text spells; the lock is held.
inline bool Arg::ReadNumber(unsigned int* pui)
{
    if (IsNumber(Type())) {
        *pui = m_value;
        return true;
    }
    return ReadDigits(pui);
}

bool Arg::ReadDigits(unsigned int* pui)
{
    if (!IsNumeric(m_string))
        return false;
    *pui = static_cast<unsigned int>(ParseInt(m_string.c_str()));
    return true;
}

bool Arg::GetValueInt(int* piVal)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueInt( piVal(%p) )", this, Type(), piVal);
    ScopedLock lock(&m_lock);
    unsigned int ui;
    if (piVal == nullptr || !ReadNumber(&ui))
        return false;
    *piVal = static_cast<int>(ui);
    return true;
}

bool Arg::GetValueUInt(unsigned int* puiVal)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueUInt( puiVal(%p) )", this, Type(),
                puiVal);
    ScopedLock lock(&m_lock);
    return puiVal != nullptr && ReadNumber(puiVal);
}

bool Arg::GetValueUShort(unsigned short* pusVal)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueUShort( pusVal(%p) )", this, Type(),
                pusVal);
    ScopedLock lock(&m_lock);
    unsigned int ui;
    if (pusVal == nullptr || !ReadNumber(&ui))
        return false;
    *pusVal = static_cast<unsigned short>(ui);
    return true;
}

bool Arg::GetValueShort(short* psVal)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueShort( psVal(%p) )", this, Type(), psVal);
    ScopedLock lock(&m_lock);
    unsigned int ui;
    if (psVal == nullptr || !ReadNumber(&ui))
        return false;
    *psVal = static_cast<short>(ui);
    return true;
}

bool Arg::GetValueBool(bool* pbVal)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueBool( pbVal(%p) )", this, Type(), pbVal);
    ScopedLock lock(&m_lock);
    if (pbVal == nullptr)
        return false;
    if (IsNumber(Type()))
        *pbVal = Bool();
    else if (m_string == "true")
        *pbVal = true;
    else if (const int i = m_string == "false" ? 0 : ParseInt(m_string.c_str()); i == 0 || i == 1)
        *pbVal = i == 1;
    else
        return false;
    return true;
}

int Arg::GetValueInt()
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueInt()", this, Type());
    int i;
    return GetValueInt(&i) ? i : throw NoValueSet();
}

unsigned int Arg::GetValueUInt()
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueUInt()", this, Type());
    unsigned int ui;
    return GetValueUInt(&ui) ? ui : throw NoValueSet();
}

unsigned short Arg::GetValueUShort()
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueUShort()", this, Type());
    unsigned short us;
    return GetValueUShort(&us) ? us : throw NoValueSet();
}

short Arg::GetValueShort()
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueShort()", this, Type());
    short s;
    return GetValueShort(&s) ? s : throw NoValueSet();
}

bool Arg::GetValueBool()
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueBool()", this, Type());
    ScopedLock lock(&m_lock);
    bool b;
    return GetValueBool(&b) ? b : throw NoValueSet();
}

bool Arg::GetValueString(std::string* pString)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueString( pString(%p) )", this, Type(),
                static_cast<void*>(pString));
    ScopedLock lock(&m_lock);
    if (pString == nullptr)
        return false;
    if (IsNumber(Type()))
        m_string = std::to_string(Signed());
    *pString = m_string;
    return true;
}

const std::string& Arg::GetValueString()
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueString()", this, Type());
    ScopedLock lock(&m_lock);
    if (IsNumber(Type()))
        GetValueString(&m_string);
    return m_string;
}

bool Arg::GetValueArray(Arguments**)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueArray()", this, Type());
    return false;
}

Arguments* Arg::GetValueArray()
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueArray()", this, Type());
    Arguments* pArgs;
    return GetValueArray(&pArgs) ? pArgs : throw COrvexException("Not an Arguments array.", -1, -1);
}

int Arg::GetType()
{
    const int type = Type();
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetType()", this, type);
    return type;
}

int Arg::GetClassID() { return CLASS_ID_ARG; }

// The source's lock is let go before this object's is taken, so that two values set from each other at once
// cannot wait for one another; until then it keeps the source's type and value of one moment.
bool Arg::SetValue(Arg& rArg)
{
    if (&rArg == this)
        return true;
    if (rArg.GetClassID() == CLASS_ID_ARGUMENTS)
        return false;
    ScopedLock lock(&rArg.m_lock);
    const auto Taken = [&lock](auto value) {
        lock.Unlock();
        return value;
    };
    switch (rArg.GetType()) {
    case ARG_NOTSET: return Set(Taken(ARG_NOTSET), 0);
    case ARG_INT: return SetValue(Taken(rArg.GetValueInt()));
    case ARG_UINT: return SetValue(Taken(rArg.GetValueUInt()));
    case ARG_USHORT: return SetValue(Taken(rArg.GetValueUShort()));
    case ARG_SHORT: return SetValue(Taken(rArg.GetValueShort()));
    case ARG_BOOL: return SetValue(Taken(rArg.GetValueBool()));
    case ARG_STRING: {
        const std::string s = Taken(rArg.GetValueString());
        SetValue(s);  // a container parses it, and the answer is still true
        return true;
    }
    default: return false;
    }
}

bool Arg::Set(int type, unsigned int uiValue)
{
    ScopedLock lock(&m_lock);
    m_string.clear();
    m_value = uiValue;
    SetType(type);
    return true;
}

bool Arg::SetText(const char* text, std::size_t length)
{
    ScopedLock lock(&m_lock);
    m_string.assign(text, length);
    m_value = 0;
    SetType(ARG_STRING);
    return true;
}

bool Arg::SetValue(std::string& s) { return SetText(s.data(), s.size()); }
bool Arg::SetValue(const std::string& s) { return SetText(s.data(), s.size()); }
bool Arg::SetValue(const char* s) { return s != nullptr && SetText(s, std::char_traits<char>::length(s)); }
bool Arg::SetValue(bool b) { return Set(ARG_BOOL, b); }
bool Arg::SetValue(short s) { return Set(ARG_SHORT, static_cast<unsigned int>(static_cast<int>(s))); }
bool Arg::SetValue(unsigned short us) { return Set(ARG_USHORT, us); }
bool Arg::SetValue(unsigned int ui) { return Set(ARG_UINT, ui); }
bool Arg::SetValue(int i) { return Set(ARG_INT, static_cast<unsigned int>(i)); }
