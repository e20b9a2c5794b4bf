// MemoryStream: a Serialize in memory. Little-endian; a boolean is one byte, 0 or 1.
//
// Writing appends and the memory grows; reading goes from the start of what was written, or of the bytes that the
// stream was made with, which are copied. Every read, skip and position is checked: what does not lie inside the
// stream fails with -1 and moves nothing. DataAt gives null outside. Bytes stay put until the next write.
#pragma once

#include "values/Serialize.h"

#include <cstddef>
#include <vector>

class MemoryStream final : public Serialize
{
public:
    MemoryStream() = default;
    MemoryStream(const void* p, std::size_t n);

    const unsigned char* Data() const { return m_bytes.data(); }
    std::size_t Size() const { return m_bytes.size(); }
    // Forgets all bytes and keeps the memory.
    void Clear();
    // Reads from the start again.
    void Rewind() { m_nRead = 0; }

    int WriteUInt(unsigned int ui) override;
    int WriteInt(int i) override;
    int WriteUShort(unsigned short us) override;
    int WriteShort(short s) override;
    int WriteBool(bool b) override;
    int WriteUByte(unsigned char uc) override;
    int WriteByte(signed char c) override;
    int WriteBytes(const void* p, int n) override;
    int GetWritePosition() override;
    int SkipWrite(int n) override;
    int WriteShortAt(int pos, short s) override;

    int ReadUInt(unsigned int* pui) override;
    int ReadInt(int* pi) override;
    int ReadUShort(unsigned short* pus) override;
    int ReadShort(short* ps) override;
    int ReadBool(bool* pb) override;
    int ReadUByte(unsigned char* puc) override;
    int ReadByte(signed char* pc) override;
    int ReadBytes(void* p, int n) override;
    int GetReadPosition() override;
    int SkipRead(int n) override;
    int BytesRemaining() override;

    const char* DataAt(int pos) override;

private:
    std::vector<unsigned char> m_bytes;
    std::size_t m_nRead = 0;
};
