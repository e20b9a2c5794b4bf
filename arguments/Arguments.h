// Arguments: the keyed container of typed values that carries the parameters of a message; itself an Arg, so
// containers nest.
//
// A key is a keyword id or a free string; a string that spells a keyword, in any case, is that keyword. Free
// strings differ by more than case and end at their first zero byte; the text stays as it was first added.
// Entries also have a position from 1: keywords by id, then strings without regard to case, as CompareKeys
// tells. Insertion order is not kept.
//
// Values are shared, not copied: the object given to AddItem or SetValue is the object stored, and the
// container owns one reference to it. Setting a number or text changes the stored object in place, and all
// who hold it see that.
//
// Any thread may call any operation. Every call holds this object's lock from start to end, outer container
// before inner, container before value; but Unpack, Clone, DumpArgs and the text form lock for each entry
// alone. Declarations stand in the order fixed for their slots.
#pragma once

#include "arguments/EntryTable.h"
#include "arguments/Keywords.h"
#include "values/Arg.h"

#include <string>

class ArgPackager;
class COrvexException;
class NestingLevel;

class Arguments : public Arg
{
public:
    // A new, empty container: the caller's one reference. With a pointer: false if it is null.
    static Arguments* CreateInstance();
    static bool CreateInstance(Arguments** ppArgs);

    Arguments();
    ~Arguments() override;

    long Release() override;

    // A deep copy with a count of 1: nothing is shared at any depth. COrvexException for an entry whose key
    // has no text, and for nesting deeper than 100 levels.
    Arg* Clone() override;

    int GetClassID() override;

    bool GetValueArray(Arguments** ppArgs) override;  // true: this object
    using Arg::GetValueArray;

    // The dump, unless an inherited SetValue has given the object a plain value.
    const std::string& DumpArg() override;

    using Arg::GetValueBool;
    using Arg::GetValueInt;
    using Arg::GetValueShort;
    using Arg::GetValueString;
    using Arg::GetValueUInt;
    using Arg::GetValueUShort;
    using Arg::SetValue;

    // The one overload that parses: a literal, and a string that is not const, are stored as on any value.
    // Adds the entries of a text such as Name=x;Size=12;List=1,2,3. True if the whole text was read; false at
    // the first thing that cannot be, with the entries before it added. Clears nothing.
    bool SetValue(const std::string& text) override;

    // The serial forms. Writing: positive, or negative and one trace line. Reading: the number of entries
    // added, 1 for a stream that has no bytes left, -1 and one trace line for a failure; entries read before
    // it stay. Reading adds to what is there. Nested deeper than 100 levels: -1.
    //
    //   full      count, 16 bits; then by position: key size, 16 bits; key text with its zero; value in its
    //   frame compact   count, 16 bits; then by position: 0xFFFF and id, 16 bits each, or key size and text;
    //   value in frame
    int Pack(Serialize& s) override;
    int Unpack(Serialize& s) override;
    int Pack2(Serialize& s) override;
    int Unpack2(Serialize& s) override;

    // Empties the container without giving back its references: values in it are never freed by it.
    virtual void Initialize();

    virtual int NumElements();

    // Writes by key. The entry is made if it is missing, its value replaced (Arguments, Arg) or changed (the
    // others) if it is there. False, and nothing changed, for a null key, text, Arg or Arguments.
    virtual bool AddItem(enum_Keywords eKey, Arguments* pArgs);
    virtual bool AddItem(enum_Keywords eKey, Arguments& rArgs);
    virtual bool AddItem(enum_Keywords eKey, Arg* pArg);
    virtual bool AddItem(enum_Keywords eKey, Arg& rArg);
    virtual bool AddItem(enum_Keywords eKey, const std::string& s);
    virtual bool AddItem(enum_Keywords eKey, const char* sz);
    virtual bool AddItem(enum_Keywords eKey, bool b);
    virtual bool AddItem(enum_Keywords eKey, short s);
    virtual bool AddItem(enum_Keywords eKey, unsigned short us);
    virtual bool AddItem(enum_Keywords eKey, unsigned int ui);
    virtual bool AddItem(enum_Keywords eKey, int i);
    virtual bool AddItem(const char* key, Arguments* pArgs);
    virtual bool AddItem(const char* key, Arguments& rArgs);
    virtual bool AddItem(const char* key, Arg* pArg);
    virtual bool AddItem(const char* key, Arg& rArg);
    virtual bool AddItem(const char* key, const std::string& s);
    virtual bool AddItem(const char* key, const char* sz);
    virtual bool AddItem(const char* key, bool b);
    virtual bool AddItem(const char* key, short s);
    virtual bool AddItem(const char* key, unsigned short us);
    virtual bool AddItem(const char* key, unsigned int ui);
    virtual bool AddItem(const char* key, int i);
    virtual bool AddItem(const std::string& key, Arguments* pArgs);
    virtual bool AddItem(const std::string& key, Arguments& rArgs);
    virtual bool AddItem(const std::string& key, Arg* pArg);
    virtual bool AddItem(const std::string& key, Arg& rArg);
    virtual bool AddItem(const std::string& key, const std::string& s);
    virtual bool AddItem(const std::string& key, const char* sz);
    virtual bool AddItem(const std::string& key, bool b);
    virtual bool AddItem(const std::string& key, short s);
    virtual bool AddItem(const std::string& key, unsigned short us);
    virtual bool AddItem(const std::string& key, unsigned int ui);
    virtual bool AddItem(const std::string& key, int i);

    // False for a missing or a null key.
    virtual bool RemoveItem(enum_Keywords eKey);
    virtual bool RemoveItem(const char* key);
    virtual bool RemoveItem(const std::string& key);

    // Reads by key. With a pointer: false, and the target as it was, for a null pointer or key, a missing
    // entry, or a value that does not convert. Without one: the value, or COrvexException where the other
    // says false. An Arg or Arguments comes with a reference for the caller, and an Arguments only from a
    // value that is or holds one.
    virtual bool GetValue(const char* key, Arg** ppArg);
    virtual Arg* GetValue(const char* key);
    virtual bool GetValue(const std::string& key, Arg** ppArg);
    virtual Arg* GetValue(const std::string& key);
    virtual bool GetValue(enum_Keywords eKey, Arg** ppArg);
    virtual Arg* GetValue(enum_Keywords eKey);

    virtual bool GetValueArg(const char* key, Arg** ppArg);
    virtual Arg* GetValueArg(const char* key);
    virtual bool GetValueArg(enum_Keywords eKey, Arg** ppArg);
    virtual bool GetValueArg(const std::string& key, Arg** ppArg);
    virtual Arg* GetValueArg(const std::string& key);

    virtual bool GetValueInt(const char* key, int* piVal);
    virtual int GetValueInt(const char* key);
    virtual bool GetValueInt(const std::string& key, int* piVal);
    virtual int GetValueInt(const std::string& key);
    virtual bool GetValueInt(enum_Keywords eKey, int* piVal);
    virtual int GetValueInt(enum_Keywords eKey);

    virtual bool GetValueUInt(const char* key, unsigned int* puiVal);
    virtual unsigned int GetValueUInt(const char* key);
    virtual bool GetValueUInt(const std::string& key, unsigned int* puiVal);
    virtual unsigned int GetValueUInt(const std::string& key);
    virtual bool GetValueUInt(enum_Keywords eKey, unsigned int* puiVal);
    virtual unsigned int GetValueUInt(enum_Keywords eKey);

    virtual bool GetValueUShort(const char* key, unsigned short* pusVal);
    virtual unsigned short GetValueUShort(const char* key);
    virtual bool GetValueUShort(const std::string& key, unsigned short* pusVal);
    virtual unsigned short GetValueUShort(const std::string& key);
    virtual bool GetValueUShort(enum_Keywords eKey, unsigned short* pusVal);
    virtual unsigned short GetValueUShort(enum_Keywords eKey);

    virtual bool GetValueShort(const char* key, short* psVal);
    virtual short GetValueShort(const char* key);
    virtual bool GetValueShort(const std::string& key, short* psVal);
    virtual short GetValueShort(const std::string& key);
    virtual bool GetValueShort(enum_Keywords eKey, short* psVal);
    virtual short GetValueShort(enum_Keywords eKey);

    virtual bool GetValueBool(const char* key, bool* pbVal);
    virtual bool GetValueBool(const char* key);
    virtual bool GetValueBool(const std::string& key, bool* pbVal);
    virtual bool GetValueBool(const std::string& key);
    virtual bool GetValueBool(enum_Keywords eKey, bool* pbVal);
    virtual bool GetValueBool(enum_Keywords eKey);

    virtual bool GetValueString(const char* key, std::string* pString);
    virtual std::string GetValueString(const char* key);
    virtual bool GetValueString(const std::string& key, std::string* pString);
    virtual std::string GetValueString(const std::string& key);
    virtual bool GetValueString(enum_Keywords eKey, std::string* pString);
    virtual std::string GetValueString(enum_Keywords eKey);

    virtual bool GetValueArray(const char* key, Arguments** ppArgs);
    virtual Arguments* GetValueArray(const char* key);
    virtual bool GetValueArray(enum_Keywords eKey, Arguments** ppArgs);
    virtual Arguments* GetValueArray(enum_Keywords eKey);
    virtual bool GetValueArray(const std::string& key, Arguments** ppArgs);
    virtual Arguments* GetValueArray(const std::string& key);

    // Shares all entries of the other container into this one, as SetValue does. Always true.
    virtual bool Merge(Arguments& other);

    // As AddItem.
    virtual bool SetValue(enum_Keywords eKey, const char* sz);
    virtual bool SetValue(enum_Keywords eKey, Arguments* pArgs);
    virtual bool SetValue(enum_Keywords eKey, Arguments& rArgs);
    virtual bool SetValue(enum_Keywords eKey, Arg* pArg);
    virtual bool SetValue(enum_Keywords eKey, Arg& rArg);
    virtual bool SetValue(enum_Keywords eKey, const std::string& s);
    virtual bool SetValue(enum_Keywords eKey, bool b);
    virtual bool SetValue(enum_Keywords eKey, short s);
    virtual bool SetValue(enum_Keywords eKey, unsigned short us);
    virtual bool SetValue(enum_Keywords eKey, unsigned int ui);
    virtual bool SetValue(enum_Keywords eKey, int i);
    virtual bool SetValue(const char* key, Arguments* pArgs);
    virtual bool SetValue(const char* key, Arguments& rArgs);
    virtual bool SetValue(const char* key, Arg* pArg);
    virtual bool SetValue(const char* key, const char* sz);
    virtual bool SetValue(const char* key, const std::string& s);
    virtual bool SetValue(const char* key, bool b);
    virtual bool SetValue(const char* key, short s);
    virtual bool SetValue(const char* key, unsigned short us);
    virtual bool SetValue(const char* key, unsigned int ui);
    virtual bool SetValue(const char* key, int i);
    virtual bool SetValue(const std::string& key, Arguments* pArgs);
    virtual bool SetValue(const std::string& key, Arguments& rArgs);
    virtual bool SetValue(const std::string& key, Arg* pArg);
    virtual bool SetValue(const std::string& key, const char* sz);
    virtual bool SetValue(const std::string& key, const std::string& s);
    virtual bool SetValue(const std::string& key, bool b);
    virtual bool SetValue(const std::string& key, short s);
    virtual bool SetValue(const std::string& key, unsigned short us);
    virtual bool SetValue(const std::string& key, unsigned int ui);
    virtual bool SetValue(const std::string& key, int i);

    // The entry's value with a reference for the caller; a missing entry is made, unset. COrvexException for
    // a null key.
    virtual Arg* operator[](const char* key);
    virtual Arg* operator[](const std::string& key);
    virtual Arg* operator[](enum_Keywords eKey);

    // Reads by position, 1 to NumElements(). As the reads by key; the exception's code is the index.
    virtual bool GetElement(int iIndex, Arg** ppArg);
    virtual Arg* GetElement(int iIndex);
    virtual bool GetElementInt(int iIndex, int* piVal);
    virtual int GetElementInt(int iIndex);
    virtual bool GetElementUInt(int iIndex, unsigned int* puiVal);
    virtual unsigned int GetElementUInt(int iIndex);
    virtual bool GetElementUShort(int iIndex, unsigned short* pusVal);
    virtual unsigned short GetElementUShort(int iIndex);
    virtual bool GetElementShort(int iIndex, short* psVal);
    virtual short GetElementShort(int iIndex);
    virtual bool GetElementBool(int iIndex, bool* pbVal);
    virtual bool GetElementBool(int iIndex);
    virtual bool GetElementString(int iIndex, std::string* pString);
    virtual std::string GetElementString(int iIndex);
    virtual bool GetElementArg(int iIndex, Arguments** ppArgs);
    virtual Arguments* GetElementArg(int iIndex);

    // The enumArgTypes of the element, ARG_NOTSET out of range.
    virtual int GetElementType(int iIndex);

    // Writes by position, as SetValue by the key that stands there. False out of range: no entry is ever
    // added.
    virtual bool SetElement(int iIndex, Arguments* pArgs);
    virtual bool SetElement(int iIndex, Arg* pArg);
    virtual bool SetElement(int iIndex, const char* sz);
    virtual bool SetElement(int iIndex, const std::string& s);
    virtual bool SetElement(int iIndex, bool b);
    virtual bool SetElement(int iIndex, short s);
    virtual bool SetElement(int iIndex, unsigned short us);
    virtual bool SetElement(int iIndex, unsigned int ui);
    virtual bool SetElement(int iIndex, int i);

    // Whether there is an entry. An Arg gives its text as key.
    virtual bool IsValid(enum_Keywords eKey);
    virtual bool IsValid(Arg* pKey);
    virtual bool IsValid(const char* key);
    virtual bool IsValid(const std::string& key);

    // Gives back the references of all values and empties the container.
    void Clear();

    // The key's text; a keyword gives its name. False, or COrvexException, out of range and for an id without
    // a name.
    bool GetElementKey(int iIndex, std::string* pKey);
    std::string GetElementKey(int iIndex);

    // The whole container as one line for people: (Key:value Key:value). Known numbers stand by name; nothing
    // is quoted. "(...)" below 100 levels.
    std::string DumpArgs();

    // One entry of such a line, "KEY:does not exist" for a missing one; and the same for any value under any
    // name.
    std::string FormatArg(std::string key);
    std::string FormatArg(std::string key, Arg* pArg);

private:
    void Destroy();

    class Found;  // lock held, key resolved, value found or null
    class Made;   // the same, the entry made if it is missing

    bool Store(const Key& key, Arg* pArg);  // shares the object; false for null
    void StoreOwned(const Key& key, ArgHolder pArg);
    bool StoreAt(int iIndex, Arg* pArg);
    bool Remove(const Key& key);

    // The lock is held for these.
    Arg* Find(const Key& key)
    {
        const EntryTable::Entry* pEntry = m_entries.Find(key);
        return pEntry != nullptr ? pEntry->pArg : nullptr;
    }
    Arg* Provide(const Key& key);
    EntryTable::Entry* EntryAt(int iIndex);

    bool CopyEntry(int iIndex, std::string* pKey, ArgHolder* pArg);
    static void AppendArg(std::string* pText, const std::string& key, Arg* pArg);
    static void AppendByType(std::string* pText, const std::string& key, int type, Arg* pArg);
    int PackEntry(Serialize& s, ArgPackager& packager, int iIndex);
    int PackKeyword2(Serialize& s, int id, int iIndex, bool bSteps);
    int PackKey2(Serialize& s, const char* key, int iIndex, bool bSteps);
    bool UnpackCount(Serialize& s, NestingLevel& level, short* pCount, int* pnResult);
    int NoKeyLength();
    bool StoreRead(const char* key, ArgHolder pArg);

    static COrvexException OutOfRange(const char* operation, int iIndex);
    static COrvexException NotFound(const char* operation, const char* key);
    static COrvexException NotFound(const char* operation, const std::string& key);
    static COrvexException NotFound(const char* operation, enum_Keywords eKey);

    EntryTable m_entries;       // owns one reference to each value
    Arguments* m_pNextWaiting;  // used when the last reference has gone
};
