// The numbers of values: tags and class ids. Both are wire values and never change.
#pragma once

enum enumArgTypes
{
    ARG_NOTSET = 0,       // no value
    ARG_INT = 1,          // signed 32-bit integer
    ARG_UINT = 2,         // unsigned 32-bit integer
    ARG_USHORT = 3,       // unsigned 16-bit integer
    ARG_SHORT = 4,        // signed 16-bit integer
    ARG_BOOL = 5,         // boolean
    ARG_STRING = 6,       // string
    ARG_ARGARRAY = 7,     // the object is an Arguments container
    ARG_ARGUMENT = 8,     // the object is an ArgArguments; only its own GetType gives this
    ARG_REFERENCE = 9,    // published; no class here stores it
    ARG_OBJFACTORY = 10,  // published; no class here stores it

    // Narrowed tags: in compact records only. Reading restores the wide tag.
    ARG_SERIAL_INT_AS_SHORT = 11,
    ARG_SERIAL_INT_AS_USHORT = 12,
    ARG_SERIAL_UINT_AS_USHORT = 13,
    ARG_SERIAL_INT_AS_BYTE = 14,
    ARG_SERIAL_INT_AS_UBYTE = 15,
    ARG_SERIAL_UINT_AS_UBYTE = 16,
    ARG_SERIAL_SHORT_AS_BYTE = 17,
    ARG_SERIAL_SHORT_AS_UBYTE = 18,
    ARG_SERIAL_USHORT_AS_UBYTE = 19
};

// Which class a framed value in a stream is of.
enum enumClassIds
{
    CLASS_ID_ARG = 1,
    CLASS_ID_RAWARG = 2,
    CLASS_ID_REFARG = 3,  // read as a plain Arg, written by nothing
    CLASS_ID_ARGARGUMENTS = 5,
    CLASS_ID_ARGUMENTS = 6
};
