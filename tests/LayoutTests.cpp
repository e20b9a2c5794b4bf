// The layout of what clients and the system see, in 32 and in 64 bits: checked when it is compiled.
#include "platform/Platform.h"

#include <cstddef>

namespace {

constexpr std::size_t POINTER = sizeof(void*);

static_assert(sizeof(OLECHAR) == 2 && sizeof(VARIANT_BOOL) == 2 && sizeof(LONG) == 4 && sizeof(DWORD) == 4);
static_assert(sizeof(HRESULT) == 4 && sizeof(DISPID) == 4 && sizeof(GUID) == 16);
static_assert(sizeof(VARIANT) == 8 + 2 * POINTER && offsetof(VARIANT, vt) == 0 &&
              offsetof(VARIANT, lVal) == 8);
static_assert(offsetof(VARIANT, bstrVal) == 8 && offsetof(VARIANT, pdispVal) == 8 &&
              offsetof(VARIANT, llVal) == 8);
static_assert(offsetof(DISPPARAMS, rgvarg) == 0 && offsetof(DISPPARAMS, rgdispidNamedArgs) == POINTER);
static_assert(offsetof(DISPPARAMS, cArgs) == 2 * POINTER &&
              offsetof(DISPPARAMS, cNamedArgs) == 2 * POINTER + 4);
static_assert(offsetof(EXCEPINFO, wCode) == 0 && offsetof(EXCEPINFO, bstrSource) == POINTER);
static_assert(offsetof(EXCEPINFO, bstrDescription) == 2 * POINTER &&
              offsetof(EXCEPINFO, bstrHelpFile) == 3 * POINTER);
static_assert(offsetof(EXCEPINFO, scode) == (POINTER == 8 ? 56 : 28) &&
              sizeof(EXCEPINFO) == (POINTER == 8 ? 64 : 32));
static_assert(offsetof(COPYDATASTRUCT, dwData) == 0 && offsetof(COPYDATASTRUCT, cbData) == POINTER);
static_assert(offsetof(COPYDATASTRUCT, lpData) == 2 * POINTER && sizeof(COPYDATASTRUCT) == 3 * POINTER);
static_assert(sizeof(TYPEDESC) == 2 * POINTER && sizeof(ELEMDESC) == 4 * POINTER);
static_assert(sizeof(TYPEATTR) == (POINTER == 8 ? 96 : 76) &&
              offsetof(TYPEATTR, typekind) == (POINTER == 8 ? 44 : 40));
static_assert(sizeof(FUNCDESC) == (POINTER == 8 ? 88 : 52) &&
              offsetof(FUNCDESC, oVft) == (POINTER == 8 ? 40 : 28));
static_assert(sizeof(VARDESC) == (POINTER == 8 ? 64 : 36) && sizeof(TLIBATTR) == 32);

}  // namespace
