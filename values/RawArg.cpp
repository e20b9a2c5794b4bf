#include "values/RawArg.h"

#include "values/Serialize.h"

#include <climits>
#include <cstring>
#include <new>

RawArg* RawArg::Create() { return new RawArg; }

RawArg::RawArg() : m_pBuf(nullptr), m_iLen(0)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "RawArg(%p, m_pBuf(%p))::RawArg()", this, m_pBuf);
}

RawArg::~RawArg()
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "RawArg(%p, m_pBuf(%p))::~RawArg()", this, m_pBuf);
    if (Length() > 0)
        ORVEX_TRACE(m_pLogger, TRACE_STEP,
                    "RawArg(%p, m_pBuf(%p))::~RawArg, Data buffer length = %d, deleting", this, m_pBuf,
                    Length());
    delete[] m_pBuf;
}

Arg* RawArg::Clone()
{
    std::unique_ptr<RawArg, ReleaseArg> copy(Create());
    ScopedLock lock(&m_lock);
    copy->CopyValue(*this);
    copy->Replace(m_pBuf, Length());
    return copy.release();
}

int RawArg::GetClassID() { return CLASS_ID_RAWARG; }

int RawArg::GetLength()
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "RawArg(%p, m_pBuf(%p))::GetLength()", this, m_pBuf);
    return Length();
}

int RawArg::GetValue(void* pBuf, int iLen)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "RawArg(%p, m_pBuf(%p))::GetValue( pBuf(%p), iLen(%d) )", this,
                m_pBuf, pBuf, iLen);
    ScopedLock lock(&m_lock);
    if (pBuf == nullptr || iLen <= 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_SKIPPED,
                    "RawArg(%p, m_pBuf(%p))::GetValue, Bad parameter, no data copied to user buffer", this,
                    m_pBuf);
        return 0;
    }
    const int n = iLen < Length() ? iLen : Length();
    if (iLen != Length())
        ORVEX_TRACE(
            m_pLogger, TRACE_STEP_SKIPPED,
            "RawArg(%p, m_pBuf(%p))::GetValue, Requested %d bytes, buffer length %d bytes, copying %d", this,
            m_pBuf, iLen, Length(), n);
    if (n > 0)
        memcpy(pBuf, m_pBuf, static_cast<std::size_t>(n));
    return n;
}

bool RawArg::SetValue(const void* pBuf, int iLen)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "RawArg(%p, m_pBuf(%p))::SetValue( pBuf(%p), iLen(%d) )", this,
                m_pBuf, pBuf, iLen);
    ScopedLock lock(&m_lock);
    if (Length() > 0)
        ORVEX_TRACE(m_pLogger, TRACE_STEP_SKIPPED,
                    "RawArg(%p, m_pBuf(%p))::SetValue, Existing buffer not empty, deleting", this, m_pBuf);
    Replace(pBuf, iLen);
    return true;
}

// The new block is made before the old one goes: out of memory leaves the object as it was.
void RawArg::Replace(const void* pBuf, int iLen)
{
    char* pNew = nullptr;
    if (pBuf != nullptr && iLen > 0) {
        pNew = new char[static_cast<std::size_t>(iLen)];
        memcpy(pNew, pBuf, static_cast<std::size_t>(iLen));
    }
    delete[] m_pBuf;
    m_pBuf = pNew;
    m_iLen.store(pNew != nullptr ? iLen : 0, std::memory_order_relaxed);
}

int RawArg::Pack(Serialize& s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "RawArg(%p, m_pBuf(%p))::Pack()", this, m_pBuf);
    ScopedLock lock(&m_lock);
    if (s.WriteInt(Length()) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED,
                    "RawArg(%p, m_pBuf(%p))::Pack, failed to write data size %d", this, m_pBuf, Length());
        return -1;
    }
    if (Length() > 0 && s.WriteBytes(m_pBuf, Length()) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "RawArg(%p, m_pBuf(%p))::Pack, failed to write data", this,
                    m_pBuf);
        return -1;
    }
    return 1;
}

int RawArg::Unpack(Serialize& s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "RawArg(%p, m_pBuf(%p))::Unpack()", this, m_pBuf);
    ScopedLock lock(&m_lock);
    Replace(nullptr, 0);
    int iLen = 0;
    if (s.ReadInt(&iLen) < 0 || iLen > s.BytesRemaining()) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED,
                    "RawArg(%p, m_pBuf(%p))::Unpack, failed to read size of the data", this, m_pBuf);
        return -1;
    }
    if (iLen <= 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP,
                    "RawArg(%p, m_pBuf(%p))::Unpack, data length is 0, arg will be empty", this, m_pBuf);
    } else if (!ReadBlock(s, iLen)) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "RawArg(%p, m_pBuf(%p))::Unpack, failed to read data", this,
                    m_pBuf);
        return -1;
    }
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "RawArg(%p, m_pBuf(%p))::Unpack, succeeded", this, m_pBuf);
    return 1;
}

// Into an empty object, which stays empty when the read fails.
bool RawArg::ReadBlock(Serialize& s, int iLen)
{
    std::unique_ptr<char[]> block(new char[static_cast<std::size_t>(iLen)]);
    if (s.ReadBytes(block.get(), iLen) < 0)
        return false;
    m_pBuf = block.release();
    m_iLen.store(iLen, std::memory_order_relaxed);
    return true;
}

int RawArg::Pack2(Serialize& s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "RawArg(%p, m_pBuf(%p))::Pack2()", this, m_pBuf);
    ScopedLock lock(&m_lock);
    if (Length() == 0)
        return Arg::Pack2(s);
    const unsigned char zero = 0;
    if (Length() >= USHRT_MAX || s.WriteUByte(ARG_STRING) <= 0 ||
        s.WriteUShort(static_cast<unsigned short>(Length() + 1)) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED,
                    "RawArg(%p, m_pBuf(%p))::Pack2, failed to write data size %d", this, m_pBuf, Length());
        return -1;
    }
    if (s.WriteBytes(m_pBuf, Length()) < 0 || s.WriteUByte(zero) < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "RawArg(%p, m_pBuf(%p))::Pack2, failed to write data", this,
                    m_pBuf);
        return -1;
    }
    return 1;
}

int RawArg::Unpack2(Serialize& s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "RawArg(%p, m_pBuf(%p))::Unpack2()", this, m_pBuf);
    ScopedLock lock(&m_lock);
    Replace(nullptr, 0);
    const char* tag = s.BytesRemaining() > 0 ? s.DataAt(s.GetReadPosition()) : nullptr;
    if (tag == nullptr || *tag != ARG_STRING)
        return Arg::Unpack2(s);
    unsigned char uc;
    unsigned short size = 0;
    if (s.ReadUByte(&uc) < 0 || s.ReadUShort(&size) < 0 || size == 0 || size > s.BytesRemaining()) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED,
                    "RawArg(%p, m_pBuf(%p))::Unpack2, failed to read size of the data", this, m_pBuf);
        return -1;
    }
    if (size > 1 && !ReadBlock(s, size - 1)) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "RawArg(%p, m_pBuf(%p))::Unpack2, failed to read data",
                    this, m_pBuf);
        return -1;
    }
    s.SkipRead(1);
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "RawArg(%p, m_pBuf(%p))::Unpack2, succeeded", this, m_pBuf);
    return 1;
}
