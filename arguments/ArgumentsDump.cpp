// The dump, one line for people, and the deep copy. Both walk the container by position and lock for each
// entry alone, so a change by another thread meanwhile gives a mix of the two states.
#include "arguments/Arguments.h"
#include "arguments/TokenString.h"
#include "failures/OrvexException.h"
#include "names/Names.h"
#include "values/ArgArguments.h"
#include "values/Nesting.h"

// One entry's key and value under one hold of the lock. False when the position is gone, and an empty key
// text for an id without a name.
bool Arguments::CopyEntry(int iIndex, std::string* pKey, ArgHolder* ppArg)
{
    ScopedLock lock(&m_lock);
    const EntryTable::Entry* pEntry = EntryAt(iIndex);
    if (pEntry == nullptr || pEntry->KeyText() == nullptr)
        return false;
    *pKey = pEntry->KeyText();
    pEntry->pArg->AddRef();
    ppArg->reset(pEntry->pArg);
    return true;
}

Arg* Arguments::Clone()
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arguments(%p)::Clone()", this);
    NestingLevel level;
    if (level.TooDeep())
        throw COrvexException("Arguments::Clone, nested deeper than " + std::to_string(NestingLevel::MOST) +
                                  " levels.",
                              -1, -1);
    ArgumentsHolder clone(CreateInstance());
    std::string key;
    ArgHolder pArg;
    for (int i = 1; i <= NumElements(); ++i) {
        if (!CopyEntry(i, &key, &pArg))
            throw OutOfRange("GetElementKey", i);
        const ArgHolder copy(pArg->Clone());
        clone->AddItem(key, copy.get());
        ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arguments(%p)::Cloned Arg for key [%s] from [%p] to [%p].", this,
                    key.c_str(), static_cast<void*>(pArg.get()), static_cast<void*>(copy.get()));
    }
    return clone.release();
}

const std::string& Arguments::DumpArg()
{
    if (Type() != ARG_ARGARRAY)
        return Arg::DumpArg();
    std::string text = DumpArgs();
    ScopedLock lock(&m_lock);
    m_string.swap(text);
    return m_string;
}

std::string Arguments::DumpArgs()
{
    NestingLevel level;
    // Once too deep, nothing more is opened: a container that holds itself twice would double at every level.
    if (level.TooDeep() || NestingLevel::WasExceeded())
        return "(...)";
    const int n = NumElements();
    std::string text = "(";
    std::string key;
    ArgHolder pArg;
    for (int i = 1; i <= n; ++i) {
        if (!CopyEntry(i, &key, &pArg))
            continue;
        const std::size_t before = text.size();
        try {
            AppendArg(&text, key, pArg.get());
        } catch (...) {
            text.resize(before);
            text.append(key).append(":does not exist");
        }
        if (i < n)
            text += ' ';
    }
    return text += ')';
}

std::string Arguments::FormatArg(std::string key)
{
    try {
        const ArgHolder pArg(GetValue(key));
        return FormatArg(key, pArg.get());
    } catch (...) {
        return key + ":does not exist";
    }
}

std::string Arguments::FormatArg(std::string key, Arg* pArg)
{
    std::string text;
    AppendArg(&text, key, pArg);
    return text;
}

void Arguments::AppendArg(std::string* pText, const std::string& key, Arg* pArg)
{
    const int type = pArg->GetType();
    TokenString text;
    switch (KeywordId(key)) {
    case Keyword::AgentState:
        text.Format("%s:%s", key.c_str(), AgentStateName(pArg->GetValueUShort()));
        break;
    case Keyword::EnablementMask:
    case Keyword::SupervisorBtnEnablementMask:
        text.Format("%s:0x%x", key.c_str(), pArg->GetValueUInt());
        break;
    case Keyword::MessageID:
    case Keyword::MessageType: text.Format("%s:%s", key.c_str(), MessageName(pArg->GetValueInt())); break;
    case Keyword::CallStatus:
        if (type == ARG_ARGUMENT) {
            text.Format("%s:%s", key.c_str(), ConnectionStateName(pArg->GetValueUShort()));
            break;
        }
        [[fallthrough]];
    default: AppendByType(pText, key, type, pArg); return;
    }
    *pText += text;
}

void Arguments::AppendByType(std::string* pText, const std::string& key, int type, Arg* pArg)
{
    if (type == ARG_ARGARRAY || type == ARG_ARGUMENT) {
        try {
            const ArgumentsHolder pArgs(pArg->GetValueArray());
            const std::string inner = pArgs->DumpArgs();
            pText->append(key).append(1, ':').append(inner);
        } catch (...) {
            *pText += type == ARG_ARGARRAY ? "Error getting embedded Arguments array values"
                                           : "Error getting embedded ArgArguments array values";
        }
        return;
    }
    std::string value;
    if (!pArg->GetValueString(&value))
        return;
    if (type < ARG_INT || (type > ARG_STRING && type != ARG_REFERENCE))
        value = "Unknown Type";
    else if (value.empty())
        value = "(null)";
    pText->append(key).append(1, ':').append(value);
}
