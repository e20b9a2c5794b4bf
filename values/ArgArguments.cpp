#include "values/ArgArguments.h"

#include "arguments/Arguments.h"
#include "values/ArgPackager.h"
#include "values/Nesting.h"
#include "values/Serialize.h"

namespace {

constexpr unsigned char NO_ARRAY = 0x00;
constexpr unsigned char ARRAY_FOLLOWS = 0x01;

// How deep the calling thread reads flags. One behind the other with no container between them is a failure
// that shows only at the last of them, so a stream of nothing else has to end before the stack does.
class FlagDepth
{
public:
    FlagDepth() { ++t_nDepth; }
    ~FlagDepth() { --t_nDepth; }
    FlagDepth(const FlagDepth&) = delete;
    FlagDepth& operator=(const FlagDepth&) = delete;

    bool TooDeep() const { return t_nDepth > NestingLevel::MOST + 1; }

private:
    static thread_local int t_nDepth;
};
thread_local int FlagDepth::t_nDepth = 0;

}  // namespace

ArgArguments* ArgArguments::Create() { return new ArgArguments; }

ArgArguments::ArgArguments() : m_pArgs(nullptr), m_argType(ARG_ARGUMENT)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "ArgArguments(%p, m_pArgs(%p))::ArgArguments()", this, Array());
}

ArgArguments::~ArgArguments()
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "ArgArguments(%p, m_pArgs(%p))::~ArgArguments()", this, Array());
    Hold(nullptr);
}

Arg* ArgArguments::Clone()
{
    std::unique_ptr<ArgArguments, ReleaseArg> copy(Create());
    copy->CopyValue(*this);
    if (const ArgumentsHolder pArgs{GetArguments()})
        copy->Hold(static_cast<Arguments*>(pArgs->Clone()));
    return copy.release();
}

bool ArgArguments::GetValueArray(Arguments** ppArgs)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueArray()", this, Type());
    Arguments* pArgs = ppArgs != nullptr ? GetArguments() : nullptr;
    if (pArgs == nullptr)
        return false;
    *ppArgs = pArgs;
    return true;
}

int ArgArguments::GetType() { return m_argType; }
int ArgArguments::GetClassID() { return CLASS_ID_ARGARGUMENTS; }

Arguments* ArgArguments::GetArguments()
{
    ScopedLock lock(&m_lock);
    if (m_pArgs != nullptr)
        m_pArgs->AddRef();
    return m_pArgs;
}

// Takes over the reference and gives back the one to what was held before.
void ArgArguments::Hold(Arguments* pArgs)
{
    const ArgumentsHolder old(m_pArgs);
    m_pArgs = pArgs;
}

int ArgArguments::Pack(Serialize& s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "ArgArguments(%p, m_pArgs(%p))::Pack()", this, Array());
    return PackArray(s, "Pack", &ArgPackager::Pack);
}

int ArgArguments::Pack2(Serialize& s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "ArgArguments(%p, m_pArgs(%p))::Pack2()", this, Array());
    return PackArray(s, "Pack2", &ArgPackager::Pack2);
}

int ArgArguments::PackArray(Serialize& s, const char* operation, int (ArgPackager::*pack)(Serialize&, Arg*))
{
    ScopedLock lock(&m_lock);
    const unsigned char flag = m_pArgs != nullptr ? ARRAY_FOLLOWS : NO_ARRAY;
    if (s.WriteBytes(&flag, 1) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED,
                    "ArgArguments(%p, m_pArgs(%p))::%s, Failed to write array flag 0x%02x to serial object",
                    this, Array(), operation, flag);
        return -1;
    }
    ArgPackager packager;
    if (m_pArgs != nullptr && (packager.*pack)(s, m_pArgs) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED,
                    "ArgArguments(%p, m_pArgs(%p))::%s, Failed to pack Arguments array", this, Array(),
                    operation);
        return -1;
    }
    return 1;
}

int ArgArguments::Unpack(Serialize& s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "ArgArguments(%p, m_pArgs(%p))::Unpack()", this, Array());
    return UnpackArray(s, "Unpack", &ArgPackager::Unpack);
}

int ArgArguments::Unpack2(Serialize& s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "ArgArguments(%p, m_pArgs(%p))::Unpack2()", this, Array());
    return UnpackArray(s, "Unpack2", &ArgPackager::Unpack2);
}

int ArgArguments::UnpackArray(Serialize& s, const char* operation, Arg* (ArgPackager::*unpack)(Serialize&))
{
    ScopedLock lock(&m_lock);
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "ArgArguments(%p, m_pArgs(%p))::%s, Unpacking Arguments array", this,
                Array(), operation);
    unsigned char flag = NO_ARRAY;
    if (s.ReadBytes(&flag, 1) < 0) {
        ORVEX_TRACE(
            m_pLogger, TRACE_STEP_FAILED,
            "ArgArguments(%p, m_pArgs(%p))::%s, Failed to read ArgArguments pointer initialized flag.", this,
            Array(), operation);
        return -1;
    }
    Hold(nullptr);
    if (flag != ARRAY_FOLLOWS)
        return 1;
    const FlagDepth depth;
    ArgPackager packager;
    ArgHolder pArg(depth.TooDeep() ? nullptr : (packager.*unpack)(s));
    if (pArg == nullptr || pArg->GetClassID() != CLASS_ID_ARGUMENTS) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED,
                    "ArgArguments(%p, m_pArgs(%p))::%s, Failed to unpack arguments array", this, Array(),
                    operation);
        return -1;
    }
    Hold(static_cast<Arguments*>(pArg.release()));
    return 1;
}
