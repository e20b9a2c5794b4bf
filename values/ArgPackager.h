// ArgPackager: a value in its frame, which tells a reader what class to make.
//
//   full form      class id, 16 bits; outer size, 16 bits: the bytes of the record; the record
//   compact form   class id, 8 bits; the record
//
// The outer size serves only to step over a class that the reader does not know. It wraps for records above
// 32767 bytes and is not looked at for known classes. Made on the stack where a value is packed; keeps
// nothing.
#pragma once

#include "logging/Logger.h"

class Arg;
class Serialize;

class ArgPackager
{
public:
    ArgPackager();
    virtual ~ArgPackager();
    ArgPackager(const ArgPackager&) = delete;
    ArgPackager& operator=(const ArgPackager&) = delete;

    // 1, or -1 and one trace line; null is a failure. No reference is taken.
    int Pack(Serialize& s, Arg* pArg);
    int Pack2(Serialize& s, Arg* pArg);

    // A new object with one reference for the caller, or null and one trace line. The stream stays where the
    // failure left it: behind the frame for a class that is not known in the full form, anywhere otherwise.
    Arg* Unpack(Serialize& s);
    Arg* Unpack2(Serialize& s);

private:
    Logger m_Logger;
};
