// CCommonArguments: what both component classes have: the handle on the logger, and the ways from the wide
// strings of their clients to the narrow text of values and back.
//
// Narrow text ends with a zero byte; a wide string is cut at an embedded zero character. Wide to narrow goes
// by the system's code page. Narrow to wide goes by the code page of the calling thread, except where CP_ACP
// is named.
#pragma once

#include "logging/Logger.h"

#include <memory>
#include <string>

using NarrowBuffer = std::unique_ptr<char[]>;

inline VARIANT_BOOL VariantBool(bool b) { return b ? VARIANT_TRUE : VARIANT_FALSE; }

class CCommonArguments
{
public:
    // Throws a plain const char* when no logger can be had.
    CCommonArguments();
    virtual ~CCommonArguments();

    // Bytes written, with the closing zero, or 0. The buffer is the caller's, to be freed with delete[], also
    // when it comes with a 0.
    int BSTRtoString(BSTR wstr, char** ppResult);

    // A new string, or null when memory is exhausted. length: in bytes, or -1 for text that ends with a zero
    // byte.
    BSTR A2WBSTR_ORVEX(const char* psz, int length);

protected:
    // A string that a write takes as key or value: neither null nor empty.
    static bool IsAcceptable(BSTR bstr) { return SysStringLen(bstr) != 0; }

    // BSTRtoString; null where that fails.
    NarrowBuffer NarrowCopy(BSTR bstr);

    // Both by CP_ACP; std::bad_alloc when memory is exhausted. A null string is an empty text.
    static std::string NarrowText(BSTR bstr);
    static BSTR WideText(const std::string& s);

    // For the catch clause around an operation of the surface: traces what was thrown, and gives its result
    // code.
    HRESULT Caught(const char* className, const void* pObject, const char* operation) noexcept;

    Logger m_Logger;
};

// Reads a variant that refers to a string, through a copy of the string that is freed with this object. The
// variant stays as it was.
class ReferencedString
{
public:
    ReferencedString();
    ~ReferencedString();
    ReferencedString(const ReferencedString&) = delete;
    ReferencedString& operator=(const ReferencedString&) = delete;

    // False where there is nothing to refer to, or it cannot be changed to a string.
    bool Read(VARIANT* pReference);
    BSTR Get() const { return m_copy.bstrVal; }

private:
    VARIANT m_copy;  // VT_EMPTY or VT_BSTR
};

// Turns a variant that refers to a number into that number, in place. False, and the variant as it was, where
// there is nothing to refer to.
bool MakePlain(VARIANT* pReference, VARTYPE vt);
