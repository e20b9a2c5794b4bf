// Serialize: the byte stream that values write themselves to and read themselves from.
//
// The library has no stream of its own: whoever calls Pack or Unpack hands one in and keeps owning it. One
// thread at a time works on a stream. Byte order, and how a boolean is held, are the stream's own business.
//
// Results are negative for failure and positive for success. A failed read leaves its target as it was. What
// the library asks of a stream beyond the obvious:
// - a hole left by SkipWrite is filled later by WriteShortAt, which leaves the write position where it is;
// - ReadUShort accepts what WriteShort wrote;
// - the 16-bit reads store 16 bits, ReadBool stores one byte;
// - DataAt gives the bytes at a read position in place, and they stay put while reading goes on;
// - positions are byte offsets, and BytesRemaining() counts from the read position to the end of what was
// written.
#pragma once

class Serialize
{
public:
    virtual ~Serialize() = default;

    virtual int WriteUInt(unsigned int ui) = 0;
    virtual int WriteInt(int i) = 0;
    virtual int WriteUShort(unsigned short us) = 0;
    virtual int WriteShort(short s) = 0;
    virtual int WriteBool(bool b) = 0;
    virtual int WriteUByte(unsigned char uc) = 0;
    virtual int WriteByte(signed char c) = 0;
    virtual int WriteBytes(const void* p, int n) = 0;
    virtual int GetWritePosition() = 0;
    virtual int SkipWrite(int n) = 0;
    virtual int WriteShortAt(int pos, short s) = 0;

    virtual int ReadUInt(unsigned int* pui) = 0;
    virtual int ReadInt(int* pi) = 0;
    virtual int ReadUShort(unsigned short* pus) = 0;
    virtual int ReadShort(short* ps) = 0;
    virtual int ReadBool(bool* pb) = 0;
    virtual int ReadUByte(unsigned char* puc) = 0;
    virtual int ReadByte(signed char* pc) = 0;
    virtual int ReadBytes(void* p, int n) = 0;
    virtual int GetReadPosition() = 0;
    virtual int SkipRead(int n) = 0;
    virtual int BytesRemaining() = 0;

    virtual const char* DataAt(int pos) = 0;
};
