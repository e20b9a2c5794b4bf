#include "tools/MemoryStream.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

namespace {

constexpr int DONE = 1;
constexpr int FAILED = -1;
constexpr int LEAST_CAPACITY = 256;

// Compilers make one load or store of each of these.
void Store16(unsigned char* p, unsigned int n)
{
    p[0] = static_cast<unsigned char>(n);
    p[1] = static_cast<unsigned char>(n >> 8);
}

void Store32(unsigned char* p, unsigned int n)
{
    Store16(p, n);
    Store16(p + 2, n >> 16);
}

unsigned int Load16(const unsigned char* p) { return p[0] | static_cast<unsigned int>(p[1]) << 8; }

unsigned int Load32(const unsigned char* p) { return Load16(p) | Load16(p + 2) << 16; }

}  // namespace

MemoryStream::MemoryStream(const void* p, std::size_t n)
{
    if (n > INT_MAX)
        throw std::length_error("MemoryStream: above INT_MAX bytes");
    if (n == 0)
        return;
    m_pBuf.reset(new unsigned char[n]);
    memcpy(m_pBuf.get(), p, n);
    m_nSize = m_nCapacity = static_cast<int>(n);
}

MemoryStream::MemoryStream(const MemoryStream& other) : MemoryStream(other.Data(), other.Size())
{
    m_nRead = other.m_nRead;
}

MemoryStream::MemoryStream(MemoryStream&& other) noexcept
    : m_pBuf(std::move(other.m_pBuf)), m_nSize(std::exchange(other.m_nSize, 0)),
      m_nCapacity(std::exchange(other.m_nCapacity, 0)), m_nRead(std::exchange(other.m_nRead, 0))
{
}

MemoryStream& MemoryStream::operator=(MemoryStream other) noexcept
{
    std::swap(m_pBuf, other.m_pBuf);
    std::swap(m_nSize, other.m_nSize);
    std::swap(m_nCapacity, other.m_nCapacity);
    std::swap(m_nRead, other.m_nRead);
    return *this;
}

// The new memory is not cleared: every byte of it is written before it counts.
bool MemoryStream::Grow(int n)
{
    if (n > INT_MAX - m_nSize)
        return false;
    const int needed = m_nSize + n;
    const int doubled = m_nCapacity > INT_MAX / 2 ? INT_MAX : m_nCapacity * 2;
    const int capacity = std::max({needed, doubled, LEAST_CAPACITY});
    std::unique_ptr<unsigned char[]> pBuf(
        new (std::nothrow) unsigned char[static_cast<std::size_t>(capacity)]);
    if (!pBuf)
        return false;
    if (m_nSize > 0)
        memcpy(pBuf.get(), m_pBuf.get(), Size());
    m_pBuf = std::move(pBuf);
    m_nCapacity = capacity;
    return true;
}

// The way of the small writes when the room is used up, kept out of them: without a call they are a test and
// a store.
int MemoryStream::GrowAndWrite(unsigned int bits, int n)
{
    if (!Grow(n))
        return FAILED;
    return n == 1   ? WriteUByte(static_cast<unsigned char>(bits))
           : n == 2 ? WriteUShort(static_cast<unsigned short>(bits))
                    : WriteUInt(bits);
}

unsigned char* MemoryStream::Extend(int n)
{
    if (n > m_nCapacity - m_nSize && !Grow(n))
        return nullptr;
    unsigned char* p = m_pBuf.get() + m_nSize;
    m_nSize += n;
    return p;
}

inline const unsigned char* MemoryStream::Take(int n)
{
    if (n > m_nSize - m_nRead)
        return nullptr;
    const unsigned char* p = m_pBuf.get() + m_nRead;
    m_nRead += n;
    return p;
}

int MemoryStream::WriteUInt(unsigned int ui)
{
    if (m_nCapacity - m_nSize < 4)
        return GrowAndWrite(ui, 4);
    Store32(m_pBuf.get() + m_nSize, ui);
    m_nSize += 4;
    return DONE;
}

int MemoryStream::WriteInt(int i) { return WriteUInt(static_cast<unsigned int>(i)); }

int MemoryStream::WriteUShort(unsigned short us)
{
    if (m_nCapacity - m_nSize < 2)
        return GrowAndWrite(us, 2);
    Store16(m_pBuf.get() + m_nSize, us);
    m_nSize += 2;
    return DONE;
}

int MemoryStream::WriteShort(short s) { return WriteUShort(static_cast<unsigned short>(s)); }

int MemoryStream::WriteBool(bool b) { return WriteUByte(b ? 1 : 0); }

int MemoryStream::WriteUByte(unsigned char uc)
{
    if (m_nCapacity == m_nSize)
        return GrowAndWrite(uc, 1);
    m_pBuf[static_cast<std::size_t>(m_nSize)] = uc;
    m_nSize += 1;
    return DONE;
}

int MemoryStream::WriteByte(signed char c) { return WriteUByte(static_cast<unsigned char>(c)); }

int MemoryStream::WriteBytes(const void* p, int n)
{
    if (n <= 0)
        return n == 0 ? DONE : FAILED;
    unsigned char* place = p == nullptr ? nullptr : Extend(n);
    if (place == nullptr)
        return FAILED;
    memcpy(place, p, static_cast<std::size_t>(n));
    return DONE;
}

int MemoryStream::GetWritePosition() { return m_nSize; }

int MemoryStream::SkipWrite(int n)
{
    if (n <= 0)
        return n == 0 ? DONE : FAILED;
    unsigned char* place = Extend(n);
    if (place == nullptr)
        return FAILED;
    memset(place, 0, static_cast<std::size_t>(n));
    return DONE;
}

int MemoryStream::WriteShortAt(int pos, short s)
{
    if (pos < 0 || pos > m_nSize - 2)
        return FAILED;
    Store16(m_pBuf.get() + pos, static_cast<unsigned short>(s));
    return DONE;
}

int MemoryStream::ReadUInt(unsigned int* pui)
{
    const unsigned char* p = Take(4);
    if (p == nullptr)
        return FAILED;
    *pui = Load32(p);
    return DONE;
}

int MemoryStream::ReadInt(int* pi)
{
    const unsigned char* p = Take(4);
    if (p == nullptr)
        return FAILED;
    *pi = static_cast<int>(Load32(p));
    return DONE;
}

int MemoryStream::ReadUShort(unsigned short* pus)
{
    const unsigned char* p = Take(2);
    if (p == nullptr)
        return FAILED;
    *pus = static_cast<unsigned short>(Load16(p));
    return DONE;
}

int MemoryStream::ReadShort(short* ps)
{
    const unsigned char* p = Take(2);
    if (p == nullptr)
        return FAILED;
    *ps = static_cast<short>(Load16(p));
    return DONE;
}

int MemoryStream::ReadBool(bool* pb)
{
    const unsigned char* p = Take(1);
    if (p == nullptr)
        return FAILED;
    *pb = *p != 0;
    return DONE;
}

int MemoryStream::ReadUByte(unsigned char* puc)
{
    const unsigned char* p = Take(1);
    if (p == nullptr)
        return FAILED;
    *puc = *p;
    return DONE;
}

int MemoryStream::ReadByte(signed char* pc)
{
    const unsigned char* p = Take(1);
    if (p == nullptr)
        return FAILED;
    *pc = static_cast<signed char>(*p);
    return DONE;
}

int MemoryStream::ReadBytes(void* p, int n)
{
    if (n <= 0)
        return n == 0 ? DONE : FAILED;
    const unsigned char* place = p == nullptr ? nullptr : Take(n);
    if (place == nullptr)
        return FAILED;
    memcpy(p, place, static_cast<std::size_t>(n));
    return DONE;
}

int MemoryStream::GetReadPosition() { return m_nRead; }

int MemoryStream::SkipRead(int n) { return n >= 0 && (n == 0 || Take(n) != nullptr) ? DONE : FAILED; }

int MemoryStream::BytesRemaining() { return m_nSize - m_nRead; }

const char* MemoryStream::DataAt(int pos)
{
    return pos >= 0 && pos < m_nSize ? reinterpret_cast<const char*>(m_pBuf.get() + pos) : nullptr;
}
