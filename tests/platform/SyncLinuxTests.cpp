#include "platform/Faults.h"
#include "tests/platform/Support.h"

#include <cerrno>

namespace {

class SyncFaults : public testing::Test
{
protected:
    void TearDown() override { Faults::Clear(); }
};

unsigned int __stdcall Nothing(void*) { return 0; }

TEST_F(SyncFaults, AreReportedAndLeaveNothingOpen)
{
    Faults::Fail("eventfd", 2, EMFILE);
    const Handle first = ManualEvent();
    EXPECT_NE(nullptr, first);
    EXPECT_EQ(nullptr, CreateEventA(nullptr, TRUE, FALSE, nullptr));
    EXPECT_EQ(DWORD(ERROR_TOO_MANY_OPEN_FILES), GetLastError());

    Faults::Fail("pthread_create", 1, EAGAIN);
    EXPECT_EQ(0u, _beginthreadex(nullptr, 0, Nothing, nullptr, 0, nullptr));
    EXPECT_EQ(EAGAIN, errno);

    Faults::Fail("fcntl", 1, ENOLCK, 2);
    EXPECT_EQ(nullptr, CreateMutexA(nullptr, FALSE, "orvexplatformtests fault"));
    EXPECT_EQ(DWORD(ERROR_GEN_FAILURE), GetLastError());
    const Handle mutex(CreateMutexA(nullptr, FALSE, "orvexplatformtests fault"));
    EXPECT_EQ(DWORD(ERROR_SUCCESS), GetLastError()) << "the failed one still counts as open";

    Faults::Fail("open", 1, EACCES);
    EXPECT_EQ(nullptr, CreateMutexA(nullptr, FALSE, "orvexplatformtests folder"));
    EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), GetLastError());
}

TEST(HandlesLinux, AClosedNumberStaysInvalidWhenItsPlaceIsTakenAgain)
{
    Handle event = ManualEvent();
    const HANDLE hClosed = event;
    event.Close();
    const Handle next = ManualEvent(TRUE);
    EXPECT_FALSE(SetEvent(hClosed));
    EXPECT_EQ(DWORD(ERROR_INVALID_HANDLE), GetLastError());
    EXPECT_EQ(WAIT_FAILED, WaitForSingleObject(hClosed, 0));
}

}  // namespace
