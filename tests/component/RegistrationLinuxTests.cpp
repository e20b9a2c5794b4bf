// Registration while the registry's store fails.
#include "platform/Faults.h"
#include "tests/component/Support.h"

#include <cerrno>

namespace {

// The n-th call of the store fails, for n from 1 until the registration gets through.
TEST(RegistrationFaults, EveryStepThatFailsEndsItWithItsCode)
{
    for (const char* call : {"mkdirat", "renameat"}) {
        int n = 1;
        for (;; ++n) {
            ASSERT_LT(n, 200) << call;
            ASSERT_EQ(Module().UnregisterServer(), S_OK) << call << ' ' << n;
            Faults::Fail(call, n, EACCES);
            const HRESULT hr = Module().RegisterServer();
            Faults::Clear();
            EXPECT_EQ(Module().RegisterServer(), S_OK) << call << ' ' << n;
            if (SUCCEEDED(hr))
                break;
            EXPECT_TRUE(hr == HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED) || hr == TYPE_E_REGISTRYACCESS)
                << call << ' ' << n << ": " << hr;
        }
        EXPECT_GT(n, 10) << call;  // the scripts alone make as many keys and values
    }
    EXPECT_NE(NewArguments().Get(), nullptr);
}

}  // namespace
