#include "values/ArgPackager.h"

#include "values/Arg.h"
#include "values/ArgFactory.h"
#include "values/Serialize.h"

ArgPackager::ArgPackager() { ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "ArgPackager(%p)::ArgPackager()", this); }
ArgPackager::~ArgPackager() { ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "ArgPackager(%p)::~ArgPackager()", this); }

int ArgPackager::Pack(Serialize& s, Arg* pArg)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "ArgPackager(%p)::Pack()", this);
    if (pArg == nullptr || s.WriteShort(static_cast<short>(pArg->GetClassID())) <= 0) {
        ORVEX_TRACE(&m_Logger, TRACE_STEP_FAILED,
                    "ArgPackager(%p)::Pack, failed to write Class ID to serial object", this);
        return -1;
    }
    const int hole = s.GetWritePosition();
    s.SkipWrite(2);
    if (pArg->Pack(s) < 0) {
        ORVEX_TRACE(&m_Logger, TRACE_STEP_FAILED, "ArgPackager(%p)::Pack, failed to pack arg object", this);
        return -1;
    }
    if (s.WriteShortAt(hole, static_cast<short>(s.GetWritePosition() - hole - 2)) <= 0) {
        ORVEX_TRACE(&m_Logger, TRACE_STEP_FAILED,
                    "ArgPackager(%p)::Pack, failed to write arg size to serial object", this);
        return -1;
    }
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "ArgPackager(%p)::Pack, successful, returning", this);
    return 1;
}

int ArgPackager::Pack2(Serialize& s, Arg* pArg)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "ArgPackager(%p)::Pack2()", this);
    if (pArg == nullptr || s.WriteUByte(static_cast<unsigned char>(pArg->GetClassID())) <= 0) {
        ORVEX_TRACE(&m_Logger, TRACE_STEP_FAILED,
                    "ArgPackager(%p)::Pack2, failed to write Class ID to serial object", this);
        return -1;
    }
    if (pArg->Pack2(s) < 0) {
        ORVEX_TRACE(&m_Logger, TRACE_STEP_FAILED, "ArgPackager(%p)::Pack2, failed to pack arg object", this);
        return -1;
    }
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "ArgPackager(%p)::Pack2, successful, returning", this);
    return 1;
}

Arg* ArgPackager::Unpack(Serialize& s)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "ArgPackager(%p)::Unpack()", this);
    short classId;
    if (s.ReadShort(&classId) < 0) {
        ORVEX_TRACE(&m_Logger, TRACE_STEP_FAILED,
                    "ArgPackager(%p)::Unpack, failed to read Class ID from serial object", this);
        return nullptr;
    }
    short size;
    if (s.ReadShort(&size) < 0) {
        ORVEX_TRACE(&m_Logger, TRACE_STEP_FAILED,
                    "ArgPackager(%p)::Unpack, failed to arg size from serial object", this);  // sic
        return nullptr;
    }
    ArgHolder pArg(ArgFactory::NewArg(classId));
    if (pArg == nullptr) {
        if (size < 0 || size > s.BytesRemaining()) {
            ORVEX_TRACE(&m_Logger, TRACE_STEP_FAILED,
                        "ArgPackager(%p)::Unpack, failed to skip %d bytes of unrecognized arg", this, size);
            return nullptr;
        }
        ORVEX_TRACE(&m_Logger, TRACE_STEP_SKIPPED,
                    "ArgPackager(%p)::Unpack, unrecognized arg type, skipping data in serial object", this);
        s.SkipRead(size);
        return nullptr;
    }
    if (pArg->Unpack(s) < 0) {
        pArg.reset();
        ORVEX_TRACE(&m_Logger, TRACE_STEP_SKIPPED,
                    "ArgPackager(%p)::Unpack, arg failed to unpack itself from serial object", this);
        return nullptr;
    }
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "ArgPackager(%p)::Unpack, successful, returning", this);
    return pArg.release();
}

Arg* ArgPackager::Unpack2(Serialize& s)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "ArgPackager(%p)::Unpack2()", this);
    unsigned char classId;
    if (s.ReadUByte(&classId) < 0) {
        ORVEX_TRACE(&m_Logger, TRACE_STEP_FAILED,
                    "ArgPackager(%p)::Unpack2, failed to read Class ID from serial object", this);
        return nullptr;
    }
    ArgHolder pArg(ArgFactory::NewArg(classId));
    if (pArg == nullptr) {
        ORVEX_TRACE(&m_Logger, TRACE_STEP_SKIPPED,
                    "ArgPackager(%p)::Unpack2, Unrecognized arg type, unable to unpack data", this);
        return nullptr;
    }
    if (pArg->Unpack2(s) < 0) {
        pArg.reset();
        ORVEX_TRACE(&m_Logger, TRACE_STEP_SKIPPED,
                    "ArgPackager(%p)::Unpack2, arg failed to unpack itself from serial object", this);
        return nullptr;
    }
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "ArgPackager(%p)::Unpack2, successful, returning", this);
    return pArg.release();
}
