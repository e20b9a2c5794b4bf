// Arg: one typed value, and the base of every kind of value.
//
// A value holds a signed or unsigned integer of 32 or 16 bits, a boolean, a string, or nothing. Every read
// answers for every stored type by converting where it can, and no read changes the stored type.
//
// An object starts unset, with one reference that belongs to its creator. Every operation that reads or
// changes the content holds the object's own recursive lock for its length; GetType and IsNumeric do not.
// Declarations stand in the order fixed for their slots.
#pragma once

#include "logging/LogWrapper.h"
#include "values/ArgTypes.h"
#include "values/RefCounted.h"

#include <atomic>
#include <memory>
#include <string>

class Arguments;
class Serialize;

class Arg : public LockingRefCounted
{
public:
    // A new, unset value: the caller's one reference. With a pointer: false if it is null.
    static Arg* Create();
    static bool Create(Arg** ppArg);

    Arg();
    ~Arg() override;

    // A copy with a count of 1, a lock of its own and nothing shared. A container throws COrvexException when
    // it is nested deeper than 100 levels.
    virtual Arg* Clone();

    // The value as a dump shows it: booleans as "True" and "False", a container as its whole list. The
    // reference is into the object and good until the next change of it.
    virtual const std::string& DumpArg();

    // True for a run of digits behind at most one sign; a lone sign counts.
    virtual bool IsNumeric(std::string s);

    // Reads. With a pointer: false, and the target as it was, for a null pointer or a value that does not
    // convert. Without one: the value, or COrvexException where the other says false. Shorter types take the
    // low bits with no test of range; digits beyond an int saturate at its limits.
    virtual bool GetValueInt(int* piVal);
    virtual int GetValueInt();
    virtual bool GetValueUInt(unsigned int* puiVal);
    virtual unsigned int GetValueUInt();
    virtual bool GetValueUShort(unsigned short* pusVal);
    virtual unsigned short GetValueUShort();
    virtual bool GetValueShort(short* psVal);
    virtual short GetValueShort();
    virtual bool GetValueBool(bool* pbVal);
    virtual bool GetValueBool();

    // The value as text, true for every type: numbers in decimal, booleans as 1 and 0, an unset value as the
    // empty string. The second form never throws; its reference is into the object and good until the next
    // change of it.
    virtual bool GetValueString(std::string* pString);
    virtual const std::string& GetValueString();

    // The container that this value is or holds, with a reference for the caller. False, or COrvexException,
    // when it is none.
    virtual bool GetValueArray(Arguments** ppArgs);
    virtual Arguments* GetValueArray();

    virtual int GetType();     // enumArgTypes
    virtual int GetClassID();  // enumClassIds

    // Writes. True, and the type follows the value; false, with nothing changed, for a null text and for a
    // source that is a container or of no type a plain value can have.
    virtual bool SetValue(Arg& rArg);
    virtual bool SetValue(std::string& s);
    virtual bool SetValue(const std::string& s);
    virtual bool SetValue(const char* s);
    virtual bool SetValue(bool b);
    virtual bool SetValue(short s);
    virtual bool SetValue(unsigned short us);
    virtual bool SetValue(unsigned int ui);
    virtual bool SetValue(int i);

    // The full and the compact record of this value. 1, or -1 and one trace line. The stream keeps what was
    // written before a failure; after a failed read the value is not to be used.
    virtual int Pack(Serialize& s);
    virtual int Unpack(Serialize& s);
    virtual int Pack2(Serialize& s);
    virtual int Unpack2(Serialize& s);

protected:
    int Type() const { return m_type.load(std::memory_order_relaxed); }
    void SetType(int type) { m_type.store(type, std::memory_order_relaxed); }
    void CopyValue(Arg& rFrom);  // into a new object; the source's lock is taken

    LogWrapper* m_pLogger;    // one reference, never given back
    std::atomic<int> m_type;  // enumArgTypes; atomic for the reads without the lock
    unsigned int m_value;     // the number: 16-bit types in the low 16 bits, a boolean in the low 8
    std::string m_string;     // the text of ARG_STRING; a cache of the text reads for every other type

private:
    bool Set(int type, unsigned int uiValue);
    bool SetText(const char* text, std::size_t length);

    // The lock is held for these.
    bool ReadNumber(unsigned int* pui);
    bool ReadDigits(unsigned int* pui);
    int Signed() const  // the number as its text shows it: 32 bits signed for both wide types
    {
        switch (Type()) {
        case ARG_USHORT: return static_cast<unsigned short>(m_value);
        case ARG_SHORT: return static_cast<short>(m_value);
        case ARG_BOOL: return static_cast<unsigned char>(m_value);
        default: return static_cast<int>(m_value);
        }
    }
    bool Bool() const { return (m_value & 0xFF) != 0; }
    std::string NumberText() const;
    int PackString(Serialize& s);
    int PackText(Serialize& s, int nSize, const char* operation);
    int PackString2(Serialize& s);
    int UnpackText(Serialize& s, int nSize, const char* operation);
    int UnpackWide2(Serialize& s, const char* label);
    int UnpackString2(Serialize& s);
    static bool NextIsTagZero(Serialize& s);
    int WriteNumber(Serialize& s);
    int WriteField(Serialize& s, int field);
    int ReadNumberField(Serialize& s);
    int TakeBits(unsigned int ui, unsigned int mask);
};

// Owns one reference for a scope.
struct ReleaseArg
{
    void operator()(RefCounted* p) const { p->Release(); }
};
using ArgHolder = std::unique_ptr<Arg, ReleaseArg>;
using ArgumentsHolder = std::unique_ptr<Arguments, ReleaseArg>;
