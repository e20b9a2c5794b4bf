#include "component/CCommonArguments.h"

#include "component/ComObject.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <utility>

namespace {

using CodePage = UINT (*)();

UINT ThreadCodePage() { return CP_THREAD_ACP; }

UINT LocaleCodePage()
{
    char szDigits[7];
    const int n = GetLocaleInfoA(GetThreadLocale(), LOCALE_IDEFAULTANSICODEPAGE, szDigits, sizeof szDigits);
    const int iPage = n != 0 ? std::atoi(szDigits) : 0;
    return iPage != 0 ? static_cast<UINT>(iPage) : GetACP();
}

UINT DecideCodePage();

// Decided at the first use, for all later ones.
std::atomic<CodePage> s_pConversionCodePage{&DecideCodePage};

UINT DecideCodePage()
{
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof version;
    const bool bThread = GetVersionExA(&version) && version.dwPlatformId == VER_PLATFORM_WIN32_NT &&
                         version.dwMajorVersion >= 5;
    const CodePage pDecided = bThread ? &ThreadCodePage : &LocaleCodePage;
    s_pConversionCodePage.exchange(pDecided);
    return pDecided();
}

UINT ConversionCodePage() { return s_pConversionCodePage.load(std::memory_order_relaxed)(); }

}  // namespace

CCommonArguments::CCommonArguments()
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CCommonArguments(%p)::CCommonArguments()", this);
}

CCommonArguments::~CCommonArguments()
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CCommonArguments(%p)::~CCommonArguments()", this);
}

int CCommonArguments::BSTRtoString(BSTR wstr, char** ppResult)
{
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CCommonArguments(%p)::BSTRtoString()", this);
    if (ppResult == nullptr) {
        ORVEX_TRACE(&m_Logger, TRACE_STEP, "CCommonArguments(%p)::BSTRtoString, Invalid pointer", this);
        return 0;
    }
    const int n = WideCharToMultiByte(CP_ACP, 0, wstr, -1, nullptr, 0, nullptr, nullptr);
    *ppResult = new (std::nothrow) char[static_cast<std::size_t>(n) + 1];
    if (*ppResult == nullptr) {
        ORVEX_TRACE(&m_Logger, TRACE_STEP, "CCommonArguments(%p)::BSTRtoString, Memory allocation failure",
                    this);
        return 0;
    }
    return WideCharToMultiByte(CP_ACP, 0, wstr, -1, *ppResult, n + 1, nullptr, nullptr);
}

BSTR CCommonArguments::A2WBSTR_ORVEX(const char* psz, int length)
{
    const UINT uCodePage = ConversionCodePage();
    ORVEX_TRACE(&m_Logger, TRACE_ENTRY, "CCommonArguments(%p)::A2WBSTR_ORVEX()", this);
    int n = MultiByteToWideChar(uCodePage, 0, psz, length, nullptr, 0);
    if (length == -1 && n > 0)
        --n;
    BSTR bstr = SysAllocStringLen(nullptr, static_cast<UINT>(n));
    if (bstr == nullptr) {
        ORVEX_TRACE(
            &m_Logger, TRACE_STEP,
            "CCommonArguments(%p)::A2WBSTR_ORVEX, SysAllocStringLen() failed to allocate memory, Invalid pointer",
            this);
        return nullptr;
    }
    if (n > 0)
        MultiByteToWideChar(uCodePage, 0, psz, length == -1 ? static_cast<int>(std::strlen(psz)) : length,
                            bstr, n);
    return bstr;
}

NarrowBuffer CCommonArguments::NarrowCopy(BSTR bstr)
{
    char* psz = nullptr;
    const int n = BSTRtoString(bstr, &psz);
    NarrowBuffer buffer(psz);
    return n != 0 ? std::move(buffer) : nullptr;
}

std::string CCommonArguments::NarrowText(BSTR bstr)
{
    const int n =
        bstr != nullptr ? WideCharToMultiByte(CP_ACP, 0, bstr, -1, nullptr, 0, nullptr, nullptr) : 0;
    std::string s(n > 0 ? static_cast<std::size_t>(n) : 1, '\0');
    if (n > 0)
        WideCharToMultiByte(CP_ACP, 0, bstr, -1, s.data(), n, nullptr, nullptr);
    s.pop_back();  // the closing zero
    return s;
}

BSTR CCommonArguments::WideText(const std::string& s)
{
    const int nBytes = static_cast<int>(std::strlen(s.c_str()));
    const int n = nBytes > 0 ? MultiByteToWideChar(CP_ACP, 0, s.c_str(), nBytes, nullptr, 0) : 0;
    BSTR bstr = SysAllocStringLen(nullptr, static_cast<UINT>(n));
    if (bstr == nullptr)
        throw std::bad_alloc();
    if (n > 0)
        MultiByteToWideChar(CP_ACP, 0, s.c_str(), nBytes, bstr, n);
    return bstr;
}

HRESULT CCommonArguments::Caught(const char* className, const void* pObject, const char* operation) noexcept
{
    try {
        throw;
    } catch (const std::exception& e) {
        ORVEX_TRACE(&m_Logger, TRACE_STEP_SKIPPED, "%s(%p)::%s, caught exception \"%s\"", className, pObject,
                    operation, e.what());
    } catch (...) {
        ORVEX_TRACE(&m_Logger, TRACE_STEP_SKIPPED, "%s(%p)::%s, caught exception", className, pObject,
                    operation);
    }
    return ComObject::ResultOfException();
}

ReferencedString::ReferencedString() { VariantInit(&m_copy); }
ReferencedString::~ReferencedString() { VariantClear(&m_copy); }

bool ReferencedString::Read(VARIANT* pReference)
{
    if (pReference->pbstrVal == nullptr || FAILED(VariantCopy(&m_copy, pReference)))
        return false;
    if (SUCCEEDED(VariantChangeType(&m_copy, &m_copy, 0, VT_BSTR)))
        return true;
    VariantInit(&m_copy);
    return false;
}

bool MakePlain(VARIANT* pReference, VARTYPE vt)
{
    VARIANT plain;
    VariantInit(&plain);
    if (pReference->byref == nullptr || FAILED(VariantChangeType(&plain, pReference, 0, vt)))
        return false;
    *pReference = plain;
    return true;
}
