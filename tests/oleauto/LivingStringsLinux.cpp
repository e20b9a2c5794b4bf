// No test leaves an automation string behind.
#include "platform/LivingStrings.h"

#include <gtest/gtest.h>

namespace {

class StringCount : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo&) override { m_lBefore = PlatformLivingBSTRs(); }
    void OnTestEnd(const testing::TestInfo&) override { EXPECT_EQ(PlatformLivingBSTRs(), m_lBefore); }

    long m_lBefore = 0;
};

[[maybe_unused]] const bool s_bListening = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new StringCount);
    return true;
}();

}  // namespace
