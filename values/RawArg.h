// RawArg: a value that carries a block of bytes of any content, read out by length.
//
// The block lives beside the inherited value and does not touch it: GetType gives ARG_NOTSET unless an
// inherited SetValue is used. The object owns its block; bytes are copied in and out, never handed out.
#pragma once

#include "values/Arg.h"

class RawArg : public Arg
{
public:
    static RawArg* Create();  // count 1, the caller's

    RawArg();
    ~RawArg() override;
    Arg* Clone() override;
    int GetClassID() override;

    // The full record is a 32-bit length and the bytes; a length of 0 has no bytes field. A failed Unpack
    // leaves the object empty.
    int Pack(Serialize& s) override;
    int Unpack(Serialize& s) override;
    // The compact record is tag 6, a 16-bit size of the length + 1, the bytes and a closing zero: the shape
    // of a string, so that a reader without blocks stays in step. Up to 65534 bytes; an empty block is an
    // unset value's record, and any other tag on reading is the inherited record.
    int Pack2(Serialize& s) override;
    int Unpack2(Serialize& s) override;

    virtual int GetLength();
    // Copies as many bytes as both have. The number copied; 0 for a null buffer or a length of 0 or less.
    virtual int GetValue(void* pBuf, int iLen);
    // Replaces the block; a null buffer or a length of 0 or less empties it. Always true.
    virtual bool SetValue(const void* pBuf, int iLen);
    using Arg::SetValue;

private:
    int Length() const { return m_iLen.load(std::memory_order_relaxed); }
    void Replace(const void* pBuf, int iLen);
    bool ReadBlock(Serialize& s, int iLen);

    char* m_pBuf;             // owned; null when there is no data
    std::atomic<int> m_iLen;  // bytes in m_pBuf; atomic for the read without the lock
};
