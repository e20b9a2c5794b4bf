// The text of a library, which on this system is what a type library is.
#include "tests/oleauto/Support.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

std::string ReadFile(const char* path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// What loading a library with this text gives; the library goes again.
HRESULT Load(const std::string& sText)
{
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("orvex-library-" + std::to_string(_getpid()));
    std::ofstream(path, std::ios::binary) << sText;
    const std::string s = path;
    ITypeLib* p = nullptr;
    const HRESULT hr = LoadTypeLib(Wide(s.begin(), s.end()).c_str(), &p);
    EXPECT_EQ(SUCCEEDED(hr), p != nullptr);
    if (p != nullptr)
        p->Release();
    std::filesystem::remove(path);
    return hr;
}

// Cut anywhere, a text is refused; nothing is read past its end.
TEST(TypeLibText, CutAnywhereIsRefused)
{
    std::string sText = ReadFile(ORVEX_PROBE_LIBRARY);
    sText.resize(sText.rfind('}') + 1);
    ASSERT_EQ(Load(sText), S_OK);
    for (std::size_t n = 0; n < sText.size(); ++n)
        ASSERT_EQ(Load(sText.substr(0, n)), TYPE_E_CANTLOADLIBRARY) << n;
}

// What a call through the interface's table could not carry is refused when the library is loaded.
TEST(TypeLibText, WhatCallsCannotCarryIsRefused)
{
    const std::string sHead = "[uuid(5B1C36A0-3B2F-4D5E-9A70-6E1C0C9D1E01), version(1.0)] library L {"
                              " [uuid(5B1C36A0-3B2F-4D5E-9A70-6E1C0C9D1E03), dual] interface I : IDispatch {"
                              " [id(1)] HRESULT M(";
    const std::string sTail = "); }; };";
    for (const char* good : {"", "void", "[in] int n", "[in] BSTR s, [out, retval] I** pp",
                             "[in] long a, [in] long b, [in] long c, [in] long d, [in] long e, [in] long f"})
        EXPECT_EQ(Load(sHead + good + sTail), S_OK) << good;
    for (const char* bad :
         {"[in] double d", "[in] VARIANT v", "[in] int* p", "int n", "[out] int* p", "[in, out] int* p",
          "[out, retval] int n", "[out, retval] int* p, [in] int n", "[in] I* p", "[out, retval] I* p",
          "[out, retval] J** pp", "[in, optional] VARIANT* p", "[in] int",
          "[in] long a, [in] long b, [in] long c, [in] long d, [in] long e, [in] long f, [in] long g"})
        EXPECT_EQ(Load(sHead + bad + sTail), TYPE_E_CANTLOADLIBRARY) << bad;
}

}  // namespace
