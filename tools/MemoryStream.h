// MemoryStream: a Serialize in memory. Little-endian; a boolean is one byte, 0 or 1.
//
// Writing appends and the memory grows; reading goes from the start of what was written, or of the bytes that
// the stream was made with, which are copied. Every read, skip and position is checked: what does not lie
// inside the stream fails with -1 and moves nothing, and so does a write beyond INT_MAX bytes or for which
// there is no memory. DataAt gives null outside. Bytes stay put until the next write.
#pragma once

#include "values/Serialize.h"

#include <cstddef>
#include <memory>

class MemoryStream final : public Serialize
{
public:
    MemoryStream() = default;
    MemoryStream(const void* p, std::size_t n);  // std::length_error above INT_MAX
    MemoryStream(const MemoryStream& other);     // reads from where the other stands
    MemoryStream(MemoryStream&& other) noexcept;
    MemoryStream& operator=(MemoryStream other) noexcept;

    const unsigned char* Data() const { return m_pBuf.get(); }  // null before the first write
    std::size_t Size() const { return static_cast<std::size_t>(m_nSize); }
    // Forgets all bytes and keeps the memory.
    void Clear() { m_nSize = m_nRead = 0; }
    // Reads from the start again.
    void Rewind() { m_nRead = 0; }

    int WriteUInt(unsigned int ui) override;
    int WriteInt(int i) override;
    int WriteUShort(unsigned short us) override;
    int WriteShort(short s) override;
    int WriteBool(bool b) override;
    int WriteUByte(unsigned char uc) override;
    int WriteByte(signed char c) override;
    int WriteBytes(const void* p, int n) override;  // p is not a place in this stream
    int GetWritePosition() override;
    int SkipWrite(int n) override;  // the hole is zeros until it is filled
    int WriteShortAt(int pos, short s) override;

    int ReadUInt(unsigned int* pui) override;
    int ReadInt(int* pi) override;
    int ReadUShort(unsigned short* pus) override;
    int ReadShort(short* ps) override;
    int ReadBool(bool* pb) override;  // any byte but 0 is true
    int ReadUByte(unsigned char* puc) override;
    int ReadByte(signed char* pc) override;
    int ReadBytes(void* p, int n) override;
    int GetReadPosition() override;
    int SkipRead(int n) override;
    int BytesRemaining() override;

    const char* DataAt(int pos) override;

private:
    // The place of n more bytes at the end, or null; of the next n bytes to read, or null.
    unsigned char* Extend(int n);
    const unsigned char* Take(int n);
    bool Grow(int n);
    [[gnu::cold, gnu::noinline]] int GrowAndWrite(unsigned int bits, int n);

    std::unique_ptr<unsigned char[]> m_pBuf;
    int m_nSize = 0;
    int m_nCapacity = 0;
    int m_nRead = 0;  // never above m_nSize
};
