// Inside of TypeLib: a library as read from its text. Nothing of it changes after the reading.
#pragma once

#include "platform/TypeLib.h"

#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

struct TypeLibType
{
    VARTYPE vt = VT_EMPTY;
    int nPointers = 0;
    std::string sInterface;  // for VT_USERDEFINED: an interface of this library
    std::size_t iEntry = 0;  // and its place in there
};

struct TypeLibParam
{
    std::string sName;
    TypeLibType type;
    WORD wFlags = PARAMFLAG_NONE;

    bool IsResult() const { return (wFlags & PARAMFLAG_FRETVAL) != 0; }
};

struct TypeLibMethod
{
    std::string sName;
    std::string sHelp;
    MEMBERID memid = 0;
    std::vector<TypeLibParam> params;  // a result parameter is the last

    bool HasResult() const { return !params.empty() && params.back().IsResult(); }
    std::size_t InParams() const { return params.size() - (HasResult() ? 1 : 0); }
};

struct TypeLibConstant
{
    std::string sName;
    LONG lValue = 0;
};

// An enumeration, a dual interface or a class.
struct TypeLibEntry
{
    TYPEKIND kind = TKIND_ENUM;
    std::string sName;
    std::string sHelp;
    GUID guid = {};
    std::vector<TypeLibConstant> constants;
    std::vector<TypeLibMethod> methods;
    std::size_t iDefault = 0;  // entry of a class's default interface
};

struct TypeLibModel
{
    std::string sName;
    std::string sHelp;
    GUID guid = {};
    LCID lcid = 0;
    WORD wMajor = 0;
    WORD wMinor = 0;
    std::vector<TypeLibEntry> entries;
};

// False for a text that is not an interface definition of the kind told in TypeLib.h.
bool PlatformReadTypeLibText(const std::string& sText, TypeLibModel* pModel);

constexpr std::size_t MOST_METHOD_PARAMS = 6;

// Offset of a method in the table of its interface, behind those of IDispatch.
inline SHORT MethodOffset(std::size_t iMethod) { return static_cast<SHORT>((7 + iMethod) * sizeof(void*)); }

HRESULT PlatformInvokeMethod(const TypeLibMethod& rMethod, SHORT oVft, void* pvInstance,
                             DISPPARAMS* pDispParams, VARIANT* pVarResult, EXCEPINFO* pExcepInfo,
                             UINT* puArgErr);

#pragma GCC visibility pop
