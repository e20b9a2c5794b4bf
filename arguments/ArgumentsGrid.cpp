// The typed grid: every operation by every kind of value and every way to name an entry, a line a cell. What
// is common to all stands in Found and Made.
#include "arguments/Arguments.h"

#include "arguments/Found.h"
#include "failures/OrvexException.h"

COrvexException Arguments::NotFound(const char* operation, const std::string& key)
{
    return COrvexException("Arguments::" + std::string(operation) + ", Arg with key " + key + " not found.",
                           0, 0);
}

COrvexException Arguments::NotFound(const char* operation, enum_Keywords eKey)
{
    return NotFound(operation, std::to_string(eKey));
}

COrvexException Arguments::NotFound(const char* operation, const char* key)
{
    if (key != nullptr)
        return NotFound(operation, std::string(key));
    const std::string s = operation;
    return COrvexException(
        "Arguments::" + (s == "GetValueString" || s == "GetValueArg" ? "GetValue" : s) +  // sic
            ", requested key is NULL.",
        0, 0);
}

// clang-format off

// Reads by key.
bool Arguments::GetValue(const char* k, Arg** pp)        { return Found(*this, k, pp).HandOut(pp); }
Arg* Arguments::GetValue(const char* k)                  { Arg* v{}; return GetValue(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValue(const std::string& k, Arg** pp) { return Found(*this, k, pp).HandOut(pp); }
Arg* Arguments::GetValue(const std::string& k)           { Arg* v{}; return GetValue(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValue(enum_Keywords k, Arg** pp)      { return Found(*this, k, pp).HandOut(pp); }
Arg* Arguments::GetValue(enum_Keywords k)                { Arg* v{}; return GetValue(k, &v) ? v : throw NotFound(__func__, k); }

bool Arguments::GetValueArg(const char* k, Arg** pp)        { return Found(*this, k, pp).HandOut(pp); }
Arg* Arguments::GetValueArg(const char* k)                  { Arg* v{}; return GetValueArg(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueArg(enum_Keywords k, Arg** pp)      { return Found(*this, k, pp).HandOut(pp); }
bool Arguments::GetValueArg(const std::string& k, Arg** pp) { return Found(*this, k, pp).HandOut(pp); }
Arg* Arguments::GetValueArg(const std::string& k)           { Arg* v{}; return GetValueArg(k, &v) ? v : throw NotFound(__func__, k); }

bool Arguments::GetValueInt(const char* k, int* p)        { const Found f(*this, k, p); return f && f->GetValueInt(p); }
int Arguments::GetValueInt(const char* k)                 { int v{}; return GetValueInt(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueInt(const std::string& k, int* p) { const Found f(*this, k, p); return f && f->GetValueInt(p); }
int Arguments::GetValueInt(const std::string& k)          { int v{}; return GetValueInt(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueInt(enum_Keywords k, int* p)      { const Found f(*this, k, p); return f && f->GetValueInt(p); }
int Arguments::GetValueInt(enum_Keywords k)               { int v{}; return GetValueInt(k, &v) ? v : throw NotFound(__func__, k); }

bool Arguments::GetValueUInt(const char* k, unsigned int* p)        { const Found f(*this, k, p); return f && f->GetValueUInt(p); }
unsigned int Arguments::GetValueUInt(const char* k)                 { unsigned int v{}; return GetValueUInt(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueUInt(const std::string& k, unsigned int* p) { const Found f(*this, k, p); return f && f->GetValueUInt(p); }
unsigned int Arguments::GetValueUInt(const std::string& k)          { unsigned int v{}; return GetValueUInt(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueUInt(enum_Keywords k, unsigned int* p)      { const Found f(*this, k, p); return f && f->GetValueUInt(p); }
unsigned int Arguments::GetValueUInt(enum_Keywords k)               { unsigned int v{}; return GetValueUInt(k, &v) ? v : throw NotFound(__func__, k); }

bool Arguments::GetValueUShort(const char* k, unsigned short* p)        { const Found f(*this, k, p); return f && f->GetValueUShort(p); }
unsigned short Arguments::GetValueUShort(const char* k)                 { unsigned short v{}; return GetValueUShort(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueUShort(const std::string& k, unsigned short* p) { const Found f(*this, k, p); return f && f->GetValueUShort(p); }
unsigned short Arguments::GetValueUShort(const std::string& k)          { unsigned short v{}; return GetValueUShort(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueUShort(enum_Keywords k, unsigned short* p)      { const Found f(*this, k, p); return f && f->GetValueUShort(p); }
unsigned short Arguments::GetValueUShort(enum_Keywords k)               { unsigned short v{}; return GetValueUShort(k, &v) ? v : throw NotFound(__func__, k); }

bool Arguments::GetValueShort(const char* k, short* p)        { const Found f(*this, k, p); return f && f->GetValueShort(p); }
short Arguments::GetValueShort(const char* k)                 { short v{}; return GetValueShort(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueShort(const std::string& k, short* p) { const Found f(*this, k, p); return f && f->GetValueShort(p); }
short Arguments::GetValueShort(const std::string& k)          { short v{}; return GetValueShort(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueShort(enum_Keywords k, short* p)      { const Found f(*this, k, p); return f && f->GetValueShort(p); }
short Arguments::GetValueShort(enum_Keywords k)               { short v{}; return GetValueShort(k, &v) ? v : throw NotFound(__func__, k); }

bool Arguments::GetValueBool(const char* k, bool* p)        { const Found f(*this, k, p); return f && f->GetValueBool(p); }
bool Arguments::GetValueBool(const char* k)                 { bool v{}; return GetValueBool(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueBool(const std::string& k, bool* p) { const Found f(*this, k, p); return f && f->GetValueBool(p); }
bool Arguments::GetValueBool(const std::string& k)          { bool v{}; return GetValueBool(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueBool(enum_Keywords k, bool* p)      { const Found f(*this, k, p); return f && f->GetValueBool(p); }
bool Arguments::GetValueBool(enum_Keywords k)               { bool v{}; return GetValueBool(k, &v) ? v : throw NotFound(__func__, k); }

bool Arguments::GetValueString(const char* k, std::string* p)        { const Found f(*this, k, p); return f && f->GetValueString(p); }
std::string Arguments::GetValueString(const char* k)                 { std::string v{}; return GetValueString(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueString(const std::string& k, std::string* p) { const Found f(*this, k, p); return f && f->GetValueString(p); }
std::string Arguments::GetValueString(const std::string& k)          { std::string v{}; return GetValueString(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueString(enum_Keywords k, std::string* p)      { const Found f(*this, k, p); return f && f->GetValueString(p); }
std::string Arguments::GetValueString(enum_Keywords k)               { std::string v{}; return GetValueString(k, &v) ? v : throw NotFound(__func__, k); }

bool Arguments::GetValueArray(const char* k, Arguments** pp)        { const Found f(*this, k, pp); return f && f->GetValueArray(pp); }
Arguments* Arguments::GetValueArray(const char* k)                  { Arguments* v{}; return GetValueArray(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueArray(enum_Keywords k, Arguments** pp)      { const Found f(*this, k, pp); return f && f->GetValueArray(pp); }
Arguments* Arguments::GetValueArray(enum_Keywords k)                { Arguments* v{}; return GetValueArray(k, &v) ? v : throw NotFound(__func__, k); }
bool Arguments::GetValueArray(const std::string& k, Arguments** pp) { const Found f(*this, k, pp); return f && f->GetValueArray(pp); }
Arguments* Arguments::GetValueArray(const std::string& k)           { Arguments* v{}; return GetValueArray(k, &v) ? v : throw NotFound(__func__, k); }

// Reads by position.
bool Arguments::GetElement(int i, Arg** pp)                { return Found(*this, Position{i}, pp).HandOut(pp); }
Arg* Arguments::GetElement(int i)                          { Arg* v{}; return GetElement(i, &v) ? v : throw OutOfRange(__func__, i); }
bool Arguments::GetElementInt(int i, int* p)               { const Found f(*this, Position{i}, p); return f && f->GetValueInt(p); }
int Arguments::GetElementInt(int i)                        { int v{}; return GetElementInt(i, &v) ? v : throw OutOfRange(__func__, i); }
bool Arguments::GetElementUInt(int i, unsigned int* p)     { const Found f(*this, Position{i}, p); return f && f->GetValueUInt(p); }
unsigned int Arguments::GetElementUInt(int i)              { unsigned int v{}; return GetElementUInt(i, &v) ? v : throw OutOfRange(__func__, i); }
bool Arguments::GetElementUShort(int i, unsigned short* p) { const Found f(*this, Position{i}, p); return f && f->GetValueUShort(p); }
unsigned short Arguments::GetElementUShort(int i)          { unsigned short v{}; return GetElementUShort(i, &v) ? v : throw OutOfRange(__func__, i); }
bool Arguments::GetElementShort(int i, short* p)           { const Found f(*this, Position{i}, p); return f && f->GetValueShort(p); }
short Arguments::GetElementShort(int i)                    { short v{}; return GetElementShort(i, &v) ? v : throw OutOfRange(__func__, i); }
bool Arguments::GetElementBool(int i, bool* p)             { const Found f(*this, Position{i}, p); return f && f->GetValueBool(p); }
bool Arguments::GetElementBool(int i)                      { bool v{}; return GetElementBool(i, &v) ? v : throw OutOfRange(__func__, i); }
bool Arguments::GetElementString(int i, std::string* p)    { const Found f(*this, Position{i}, p); return f && f->GetValueString(p); }
std::string Arguments::GetElementString(int i)             { std::string v{}; return GetElementString(i, &v) ? v : throw OutOfRange(__func__, i); }
bool Arguments::GetElementArg(int i, Arguments** pp)       { const Found f(*this, Position{i}, pp); return f && f->GetValueArray(pp); }
Arguments* Arguments::GetElementArg(int i)                 { Arguments* v{}; return GetElementArg(i, &v) ? v : throw OutOfRange(__func__, i); }

// Writes. AddItem is SetValue. An Arg or Arguments is shared; anything else changes the stored object in place.
bool Arguments::AddItem(enum_Keywords k, Arguments* p)         { return SetValue(k, p); }
bool Arguments::AddItem(enum_Keywords k, Arguments& r)         { return SetValue(k, &r); }
bool Arguments::AddItem(enum_Keywords k, Arg* p)               { return SetValue(k, p); }
bool Arguments::AddItem(enum_Keywords k, Arg& r)               { return SetValue(k, &r); }
bool Arguments::AddItem(enum_Keywords k, const std::string& v) { return SetValue(k, v); }
bool Arguments::AddItem(enum_Keywords k, const char* v)        { return SetValue(k, v); }
bool Arguments::AddItem(enum_Keywords k, bool v)               { return SetValue(k, v); }
bool Arguments::AddItem(enum_Keywords k, short v)              { return SetValue(k, v); }
bool Arguments::AddItem(enum_Keywords k, unsigned short v)     { return SetValue(k, v); }
bool Arguments::AddItem(enum_Keywords k, unsigned int v)       { return SetValue(k, v); }
bool Arguments::AddItem(enum_Keywords k, int v)                { return SetValue(k, v); }

bool Arguments::AddItem(const char* k, Arguments* p)         { return SetValue(k, p); }
bool Arguments::AddItem(const char* k, Arguments& r)         { return SetValue(k, &r); }
bool Arguments::AddItem(const char* k, Arg* p)               { return SetValue(k, p); }
bool Arguments::AddItem(const char* k, Arg& r)               { return SetValue(k, &r); }
bool Arguments::AddItem(const char* k, const std::string& v) { return SetValue(k, v); }
bool Arguments::AddItem(const char* k, const char* v)        { return SetValue(k, v); }
bool Arguments::AddItem(const char* k, bool v)               { return SetValue(k, v); }
bool Arguments::AddItem(const char* k, short v)              { return SetValue(k, v); }
bool Arguments::AddItem(const char* k, unsigned short v)     { return SetValue(k, v); }
bool Arguments::AddItem(const char* k, unsigned int v)       { return SetValue(k, v); }
bool Arguments::AddItem(const char* k, int v)                { return SetValue(k, v); }

bool Arguments::AddItem(const std::string& k, Arguments* p)         { return SetValue(k, p); }
bool Arguments::AddItem(const std::string& k, Arguments& r)         { return SetValue(k, &r); }
bool Arguments::AddItem(const std::string& k, Arg* p)               { return SetValue(k, p); }
bool Arguments::AddItem(const std::string& k, Arg& r)               { return SetValue(k, &r); }
bool Arguments::AddItem(const std::string& k, const std::string& v) { return SetValue(k, v); }
bool Arguments::AddItem(const std::string& k, const char* v)        { return SetValue(k, v); }
bool Arguments::AddItem(const std::string& k, bool v)               { return SetValue(k, v); }
bool Arguments::AddItem(const std::string& k, short v)              { return SetValue(k, v); }
bool Arguments::AddItem(const std::string& k, unsigned short v)     { return SetValue(k, v); }
bool Arguments::AddItem(const std::string& k, unsigned int v)       { return SetValue(k, v); }
bool Arguments::AddItem(const std::string& k, int v)                { return SetValue(k, v); }

bool Arguments::SetValue(enum_Keywords k, const char* v)        { if (v == nullptr) return false; const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(enum_Keywords k, Arguments* p)         { return Store(Key(k), p); }
bool Arguments::SetValue(enum_Keywords k, Arguments& r)         { return Store(Key(k), &r); }
bool Arguments::SetValue(enum_Keywords k, Arg* p)               { return Store(Key(k), p); }
bool Arguments::SetValue(enum_Keywords k, Arg& r)               { return Store(Key(k), &r); }
bool Arguments::SetValue(enum_Keywords k, const std::string& v) { const Made m(*this, k); return m && (m->SetValue(v), true); }
bool Arguments::SetValue(enum_Keywords k, bool v)               { const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(enum_Keywords k, short v)              { const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(enum_Keywords k, unsigned short v)     { const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(enum_Keywords k, unsigned int v)       { const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(enum_Keywords k, int v)                { const Made m(*this, k); return m && m->SetValue(v); }

bool Arguments::SetValue(const char* k, Arguments* p)         { return k != nullptr && Store(Key(k), p); }
bool Arguments::SetValue(const char* k, Arguments& r)         { return k != nullptr && Store(Key(k), &r); }
bool Arguments::SetValue(const char* k, Arg* p)               { return k != nullptr && Store(Key(k), p); }
bool Arguments::SetValue(const char* k, const char* v)        { if (v == nullptr) return false; const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(const char* k, const std::string& v) { const Made m(*this, k); return m && (m->SetValue(v), true); }
bool Arguments::SetValue(const char* k, bool v)               { const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(const char* k, short v)              { const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(const char* k, unsigned short v)     { const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(const char* k, unsigned int v)       { const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(const char* k, int v)                { const Made m(*this, k); return m && m->SetValue(v); }

bool Arguments::SetValue(const std::string& k, Arguments* p)         { return Store(Key(k), p); }
bool Arguments::SetValue(const std::string& k, Arguments& r)         { return Store(Key(k), &r); }
bool Arguments::SetValue(const std::string& k, Arg* p)               { return Store(Key(k), p); }
bool Arguments::SetValue(const std::string& k, const char* v)        { if (v == nullptr) return false; const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(const std::string& k, const std::string& v) { const Made m(*this, k); return m && (m->SetValue(v), true); }
bool Arguments::SetValue(const std::string& k, bool v)               { const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(const std::string& k, short v)              { const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(const std::string& k, unsigned short v)     { const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(const std::string& k, unsigned int v)       { const Made m(*this, k); return m && m->SetValue(v); }
bool Arguments::SetValue(const std::string& k, int v)                { const Made m(*this, k); return m && m->SetValue(v); }

// Writes by position.
bool Arguments::SetElement(int k, Arguments* p)         { return StoreAt(k, p); }
bool Arguments::SetElement(int k, Arg* p)               { return StoreAt(k, p); }
bool Arguments::SetElement(int k, const char* v)        { if (v == nullptr) return false; const Made m(*this, Position{k}); return m && m->SetValue(v); }
bool Arguments::SetElement(int k, const std::string& v) { const Made m(*this, Position{k}); return m && (m->SetValue(v), true); }
bool Arguments::SetElement(int k, bool v)               { const Made m(*this, Position{k}); return m && m->SetValue(v); }
bool Arguments::SetElement(int k, short v)              { const Made m(*this, Position{k}); return m && m->SetValue(v); }
bool Arguments::SetElement(int k, unsigned short v)     { const Made m(*this, Position{k}); return m && m->SetValue(v); }
bool Arguments::SetElement(int k, unsigned int v)       { const Made m(*this, Position{k}); return m && m->SetValue(v); }
bool Arguments::SetElement(int k, int v)                { const Made m(*this, Position{k}); return m && m->SetValue(v); }

// clang-format on
