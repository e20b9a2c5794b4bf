// The serial forms of a container: a count and a run of entries in order of position, each a key and a value
// in its frame. The full form writes every key as text; the compact form writes a keyword as a marker and its
// id.
//
// Lines keep the numbering that they always had: positions from 1 when writing, entries added so far when
// reading.
#include "arguments/Arguments.h"
#include "failures/OrvexException.h"
#include "values/ArgPackager.h"
#include "values/Nesting.h"
#include "values/Serialize.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

namespace {

constexpr unsigned short KEYWORD_MARKER = 0xFFFF;
constexpr std::size_t FULL_KEY_SIZE = SHRT_MAX;               // the full form reads a key's size as signed
constexpr std::size_t COMPACT_KEY_SIZE = KEYWORD_MARKER - 1;  // no size may look like the marker
constexpr int LEAST_ENTRY_BYTES = 6;                          // what an entry takes in the smaller form
constexpr int NESTED_RESERVE = 64;  // entries: nested counts that are too large must not add up

// The text of a key in the stream, or null when it does not end inside its size.
const char* KeyInPlace(Serialize& s, int nSize)
{
    const char* text = nSize > 0 && nSize <= s.BytesRemaining() ? s.DataAt(s.GetReadPosition()) : nullptr;
    return text != nullptr && memchr(text, 0, static_cast<std::size_t>(nSize)) != nullptr ? text : nullptr;
}

}  // namespace

int Arguments::Pack(Serialize& s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arguments(%p)::Pack()", this);
    ScopedLock lock(&m_lock);
    NestingLevel level;
    if (level.TooDeep()) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arguments(%p)::Pack, nested deeper than %d levels", this,
                    NestingLevel::MOST);
        return -1;
    }
    const int n = static_cast<int>(m_entries.Size());
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arguments(%p)::Pack, %d Arguments to pack", this, n);
    const int pos = s.GetWritePosition();
    s.SkipWrite(2);
    try {
        ArgPackager packager;
        for (int i = 1; i <= n; ++i) {
            const int nResult = PackEntry(s, packager, i);
            if (nResult < 0)
                return nResult;
        }
    } catch (const std::exception& e) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_SKIPPED, "Arguments(%p)::Pack, caught exception \"%s\"", this,
                    e.what());
        return -1;
    }
    const int nResult = n <= SHRT_MAX ? s.WriteShortAt(pos, static_cast<short>(n)) : -1;
    if (nResult < 0)
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED,
                    "Arguments(%p)::Pack, failed to write Number of Arguments %d", this, n);
    return nResult;
}

int Arguments::PackEntry(Serialize& s, ArgPackager& packager, int i)
{
    const EntryTable::Entry& entry = m_entries.At(static_cast<std::size_t>(i));
    const char* key = entry.KeyText();
    if (key == nullptr)
        throw OutOfRange("GetElementKey", i);
    const std::size_t length = strlen(key) + 1;
    const int nSize = static_cast<int>(length);
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arguments(%p)::Pack: writing Arg[%d] Key Size %d", this, i, nSize);
    int nResult = length <= FULL_KEY_SIZE ? s.WriteShort(static_cast<short>(nSize)) : -1;
    if (nResult < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arguments(%p)::Pack, failed to write Arg[%d] Key Size %d",
                    this, i, nSize);
        return nResult;
    }
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arguments(%p)::Pack, writing Arg[%d] Key \"%s\"", this, i, key);
    nResult = s.WriteBytes(key, nSize);
    if (nResult < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arguments(%p)::Pack, failed to write Arg[%d] Key \"%s\"",
                    this, i, key);
        return nResult;
    }
    nResult = packager.Pack(s, entry.pArg);
    if (nResult < 0)
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arguments(%p)::Pack, Arg[%d] Failed to pack", this, i);
    return nResult;
}

// The lines call the marker "Key Size 4" and show an empty key.
inline int Arguments::PackKeyword2(Serialize& s, int id, int i, bool bSteps)
{
    if (bSteps)
        m_pLogger->Trace(TRACE_STEP, "Arguments(%p)::Pack2: writing Arg[%d] Key Size 4", this, i);
    int nResult = s.WriteUShort(KEYWORD_MARKER);
    if (nResult < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arguments(%p)::Pack2, failed to write Arg[%d] Key Size 4",
                    this, i);
        return nResult;
    }
    if (bSteps)
        m_pLogger->Trace(TRACE_STEP, "Arguments(%p)::Pack2, writing Arg[%d] Key \"%s\"", this, i, "");
    nResult = id >= 0 && id <= USHRT_MAX ? s.WriteUShort(static_cast<unsigned short>(id)) : -1;
    if (nResult < 0)
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arguments(%p)::Pack2, failed to write Arg[%d] Key \"%s\"",
                    this, i, "");
    return nResult;
}

int Arguments::PackKey2(Serialize& s, const char* key, int i, bool bSteps)
{
    const std::size_t length = strlen(key) + 1;
    const int nSize = static_cast<int>(length);
    if (bSteps) {
        m_pLogger->Trace(TRACE_STEP, "Arguments(%p)::Pack2: writing keyword Arg[%d] Type STRING", this,
                         i);  // sic
        m_pLogger->Trace(TRACE_STEP, "Arguments(%p)::Pack2: writing Arg[%d] Key Size %d", this, i, nSize);
    }
    int nResult = length <= COMPACT_KEY_SIZE ? s.WriteShort(static_cast<short>(nSize)) : -1;
    if (nResult < 0) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arguments(%p)::Pack2, failed to write Arg[%d] Key Size %d",
                    this, i, nSize);
        return nResult;
    }
    if (bSteps)
        m_pLogger->Trace(TRACE_STEP, "Arguments(%p)::Pack2, writing Arg[%d] Key \"%s\"", this, i, key);
    nResult = s.WriteBytes(key, nSize);
    if (nResult < 0)
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arguments(%p)::Pack2, failed to write Arg[%d] Key \"%s\"",
                    this, i, key);
    return nResult;
}

int Arguments::Pack2(Serialize& s)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arguments(%p)::Pack2()", this);
    ScopedLock lock(&m_lock);
    NestingLevel level;
    if (level.TooDeep()) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arguments(%p)::Pack2, nested deeper than %d levels", this,
                    NestingLevel::MOST);
        return -1;
    }
    const int n = static_cast<int>(m_entries.Size());
    const bool bSteps = m_pLogger->IsTraceEnabled(TRACE_STEP);
    if (bSteps)
        m_pLogger->Trace(TRACE_STEP, "Arguments(%p)::Pack2, %d Arguments to pack", this, n);
    const int pos = s.GetWritePosition();
    s.SkipWrite(2);
    try {
        ArgPackager packager;
        for (int i = 1; i <= n; ++i) {
            const EntryTable::Entry& entry = m_entries.At(static_cast<std::size_t>(i));
            int nResult =
                entry.IsKeyword() ? PackKeyword2(s, entry.id, i, bSteps) : PackKey2(s, entry.key, i, bSteps);
            if (nResult < 0)
                return nResult;
            nResult = packager.Pack2(s, entry.pArg);
            if (nResult < 0) {
                ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arguments(%p)::Pack2, Arg[%d] Failed to pack",
                            this, i);
                return nResult;
            }
        }
    } catch (const std::exception& e) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_SKIPPED, "Arguments(%p)::Pack2, caught exception \"%s\"", this,
                    e.what());
        return -1;
    }
    const int nResult = n <= SHRT_MAX ? s.WriteShortAt(pos, static_cast<short>(n)) : -1;
    if (nResult < 0)
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED,
                    "Arguments(%p)::Pack2, failed to write Number of Arguments %d", this, n);
    return nResult;
}

// What both readers begin with: true with the count, or false with the result of the whole.
bool Arguments::UnpackCount(Serialize& s, NestingLevel& level, short* pCount, int* pnResult)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arguments(%p)::Unpack()", this);
    *pnResult = -1;
    if (level.TooDeep()) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED, "Arguments(%p)::Unpack, nested deeper than %d levels", this,
                    NestingLevel::MOST);
        return false;
    }
    if (s.BytesRemaining() <= 0) {
        *pnResult = 1;
        return false;
    }
    if (s.ReadShort(pCount) < 0)
        return false;
    ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arguments(%p)::Unpack, read Number of Arguments %d", this, *pCount);
    if (*pCount > 0) {
        ScopedLock lock(&m_lock);
        const int most = level.IsOutermost() ? s.BytesRemaining() / LEAST_ENTRY_BYTES : NESTED_RESERVE;
        if (m_entries.Size() == 0)
            m_entries.Reserve(static_cast<std::size_t>(std::min<int>(*pCount, most)));
    }
    return true;
}

int Arguments::NoKeyLength()
{
    ORVEX_TRACE(m_pLogger, TRACE_STEP_FAILED,
                "Arguments(%p)::Unpack, failed to read Key Length from Serialize object", this);
    return -1;
}

// False where the stream has not kept the key's bytes.
bool Arguments::StoreRead(const char* key, ArgHolder pArg)
{
    if (key == nullptr) {
        ORVEX_TRACE(m_pLogger, TRACE_STEP_SKIPPED,
                    "Arguments(%p)::Unpack, failed to add unpacked arg to array", this);
        return false;
    }
    StoreOwned(Key(key), std::move(pArg));
    return true;
}

// The key stays in the stream until the value behind it has been read. A value that cannot be read costs its
// entry and the stream goes on at the next frame.
int Arguments::Unpack(Serialize& s)
{
    NestingLevel level;
    short count = 0;
    int nAdded;
    if (!UnpackCount(s, level, &count, &nAdded))
        return nAdded;
    ArgPackager packager;
    nAdded = 0;
    while (nAdded < count && s.BytesRemaining() > 0) {
        short keySize;
        if (s.ReadShort(&keySize) < 0)
            return NoKeyLength();
        ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arguments(%p)::Unpack, read Arg[%d] Key Size %d", this, nAdded,
                    keySize);
        if (KeyInPlace(s, keySize) == nullptr)
            return NoKeyLength();
        const int pos = s.GetReadPosition();
        s.SkipRead(keySize);
        ArgHolder pArg(packager.Unpack(s));
        if (NestingLevel::WasExceeded())
            return -1;
        if (pArg == nullptr)
            continue;
        if (StoreRead(s.DataAt(pos), std::move(pArg)))
            ++nAdded;
    }
    return nAdded;
}

// The first value that cannot be read ends it with 0: without a size in front there is no way to the next
// entry.
int Arguments::Unpack2(Serialize& s)
{
    NestingLevel level;
    short count = 0;
    int nAdded;
    if (!UnpackCount(s, level, &count, &nAdded))
        return nAdded;
    ArgPackager packager;
    nAdded = 0;
    for (int nRead = 0; nRead < count && s.BytesRemaining() > 0; ++nRead) {
        unsigned short keySize;
        if (s.ReadUShort(&keySize) < 0)
            return NoKeyLength();
        ORVEX_TRACE(m_pLogger, TRACE_STEP, "Arguments(%p)::Unpack, read Arg[%d] Key Size %d", this, nAdded,
                    keySize);
        unsigned short id = 0;
        int pos = 0;
        if (keySize == KEYWORD_MARKER) {
            if (s.ReadUShort(&id) < 0)
                return NoKeyLength();
        } else {
            if (KeyInPlace(s, keySize) == nullptr)
                return NoKeyLength();
            pos = s.GetReadPosition();
            s.SkipRead(keySize);
        }
        ArgHolder pArg(packager.Unpack2(s));
        if (NestingLevel::WasExceeded())
            return -1;
        if (pArg == nullptr) {
            ORVEX_TRACE(m_pLogger, TRACE_STEP_SKIPPED, "Arguments(%p)::Unpack, failed unpack arg", this);
            return 0;
        }
        if (keySize == KEYWORD_MARKER) {
            StoreOwned(Key(id), std::move(pArg));
            ++nAdded;
        } else if (StoreRead(s.DataAt(pos), std::move(pArg))) {
            ++nAdded;
        }
    }
    return nAdded;
}
