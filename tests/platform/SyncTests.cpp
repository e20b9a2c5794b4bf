#include "tests/platform/Support.h"

#include <list>
#include <string>
#include <vector>

namespace {

const char NAME[] = "orvexplatformtests Mutex/with.odd%name";

DWORD WaitAny(std::vector<HANDLE> handles, DWORD dwMilliseconds = 0)
{
    return WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), FALSE, dwMilliseconds);
}

DWORD WaitAll(std::vector<HANDLE> handles, DWORD dwMilliseconds = 0)
{
    return WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), TRUE, dwMilliseconds);
}

TEST(Events, TheFirstOfSeveralIsReported)
{
    const Handle a = ManualEvent(), b = ManualEvent(TRUE), c = AutoEvent(TRUE);
    EXPECT_EQ(WAIT_OBJECT_0 + 1, WaitAny({a, b, c}));
    EXPECT_EQ(WAIT_OBJECT_0, WaitAny({c, b, a})) << "the automatic one was taken though another came first";
    EXPECT_EQ(WAIT_OBJECT_0 + 1, WaitAny({c, b, a}));
    ResetEvent(b);
    EXPECT_EQ(TIMED_OUT, WaitAny({a, b, c}));
}

TEST(Events, SettingTwiceWakesAnAutomaticOneOnce)
{
    const Handle a = AutoEvent();
    SetEvent(a);
    SetEvent(a);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(a, 0));
    EXPECT_EQ(TIMED_OUT, WaitForSingleObject(a, 0));
}

TEST(Events, AWaitForAllTakesNothingBeforeItHasAll)
{
    const Handle a = AutoEvent(TRUE), b = AutoEvent();
    EXPECT_EQ(TIMED_OUT, WaitAll({a, b}));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(a, 0));

    TestThread waiter([&] { EXPECT_EQ(WAIT_OBJECT_0, WaitAll({a, b}, LONG_ENOUGH)); });
    SetEvent(b);
    EXPECT_EQ(TIMED_OUT, WaitForSingleObject(waiter.Get(), A_WHILE));
    SetEvent(a);
    waiter.Join();
    EXPECT_EQ(TIMED_OUT, WaitAny({a, b}));
}

TEST(Events, EveryOneOfManyWaitersGetsItsTurn)
{
    constexpr int THREADS = 4, TURNS = 500;
    const Handle turn = AutoEvent(TRUE);
    int iTurns = 0;
    {
        std::list<TestThread> threads;
        for (int i = 0; i < THREADS; ++i)
            threads.emplace_back([&] {
                for (int j = 0; j < TURNS; ++j) {
                    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(turn, LONG_ENOUGH));
                    ++iTurns;
                    SetEvent(turn);
                }
            });
    }
    EXPECT_EQ(THREADS * TURNS, iTurns);
}

TEST(Threads, AHandleIsFreeWhenItsThreadHasEnded)
{
    const Handle go = ManualEvent();
    DWORD dwId = 0;
    TestThread thread([&] {
        dwId = GetCurrentThreadId();
        WaitForSingleObject(go, INFINITE);
    });
    EXPECT_EQ(TIMED_OUT, WaitForSingleObject(thread.Get(), A_WHILE));
    SetEvent(go);
    thread.Join();
    EXPECT_EQ(dwId, thread.Id());
    EXPECT_NE(dwId, GetCurrentThreadId());
}

TEST(Mutexes, BelongToTheirThreadAsOftenAsItTookThem)
{
    const Handle mutex(CreateMutexA(nullptr, TRUE, nullptr));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(mutex, 0));
    const auto asSeenByAnother = [&] {
        DWORD dwResult = 0;
        TestThread([&] {
            dwResult = WaitForSingleObject(mutex, 0);
            if (dwResult == WAIT_OBJECT_0)
                ReleaseMutex(mutex);
            else
                EXPECT_FALSE(ReleaseMutex(mutex) || GetLastError() != ERROR_NOT_OWNER);
        });
        return dwResult;
    };
    EXPECT_EQ(TIMED_OUT, asSeenByAnother());
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(TIMED_OUT, asSeenByAnother());
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(WAIT_OBJECT_0, asSeenByAnother());
    EXPECT_FALSE(ReleaseMutex(mutex));
    EXPECT_EQ(DWORD(ERROR_NOT_OWNER), GetLastError());
}

TEST(Mutexes, OfAnEndedThreadAreAbandonedOnce)
{
    const Handle mutex(CreateMutexA(nullptr, FALSE, NAME)), never = ManualEvent();
    for (const bool bAll : {false, true}) {
        TestThread([&] { EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(mutex, 0)); });
        const Handle set = ManualEvent(TRUE);
        EXPECT_EQ(bAll ? WAIT_ABANDONED_0 : WAIT_ABANDONED_0 + 1,
                  bAll ? WaitAll({set, mutex}) : WaitAny({never, mutex}));
        EXPECT_TRUE(ReleaseMutex(mutex));
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(mutex, 0));
        EXPECT_TRUE(ReleaseMutex(mutex));
    }
}

TEST(Mutexes, WakeAWaiterWhenReleased)
{
    const Handle mutex(CreateMutexA(nullptr, TRUE, NAME)), never = ManualEvent();
    TestThread waiter([&] {
        EXPECT_EQ(WAIT_OBJECT_0 + 1, WaitAny({never, mutex}, LONG_ENOUGH));
        ReleaseMutex(mutex);
    });
    EXPECT_EQ(TIMED_OUT, WaitForSingleObject(waiter.Get(), A_WHILE));
    ReleaseMutex(mutex);
}

TEST(Mutexes, OfOneNameAreOneAsLongAsAHandleIsOpen)
{
    for (const std::string& name : {std::string(NAME), std::string(200, 'n')}) {
        EXPECT_EQ(nullptr, OpenMutexA(SYNCHRONIZE, FALSE, name.c_str()));
        EXPECT_EQ(DWORD(ERROR_FILE_NOT_FOUND), GetLastError());
        Handle first(CreateMutexA(nullptr, TRUE, name.c_str()));
        EXPECT_EQ(DWORD(ERROR_SUCCESS), GetLastError());
        Handle second(CreateMutexA(nullptr, TRUE, name.c_str()));
        EXPECT_EQ(DWORD(ERROR_ALREADY_EXISTS), GetLastError());
        const Handle other(CreateMutexA(nullptr, FALSE, (name + "x").c_str()));
        EXPECT_EQ(DWORD(ERROR_SUCCESS), GetLastError());
        first.Close();
        TestThread([&] { EXPECT_EQ(TIMED_OUT, WaitForSingleObject(second, 0)); });
        EXPECT_TRUE(ReleaseMutex(second));
        EXPECT_FALSE(ReleaseMutex(second)) << "the second creation took it too";
        second.Close();
        EXPECT_EQ(nullptr, OpenMutexA(SYNCHRONIZE, FALSE, name.c_str()));
    }
}

TEST(Mutexes, KeepThreadsApart)
{
    constexpr int THREADS = 4, TURNS = 300;
    int i = 0;
    {
        std::list<TestThread> threads;
        for (int t = 0; t < THREADS; ++t)
            threads.emplace_back([&] {
                for (int n = 0; n < TURNS; ++n) {
                    const Handle mutex(CreateMutexA(nullptr, FALSE, NAME));
                    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(mutex, LONG_ENOUGH));
                    ++i;
                    ReleaseMutex(mutex);
                }
            });
    }
    EXPECT_EQ(THREADS * TURNS, i);
}

TEST(Handles, OfAnotherKindAreRefused)
{
    const Handle event = ManualEvent(), mutex(CreateMutexA(nullptr, FALSE, nullptr));
    TestThread thread([] {});
    const struct
    {
        const char* what;
        bool bDone;
    } rows[] = {
        {"SetEvent(null)", SetEvent(nullptr) != FALSE},
        {"SetEvent(mutex)", SetEvent(mutex) != FALSE},
        {"ResetEvent(thread)", ResetEvent(thread.Get()) != FALSE},
        {"ReleaseMutex(event)", ReleaseMutex(event) != FALSE},
        {"CloseHandle(null)", CloseHandle(nullptr) != FALSE},
        {"wait for one", WaitForSingleObject(nullptr, 0) != WAIT_FAILED},
        {"wait for several", WaitAny({event, nullptr}) != WAIT_FAILED},
    };
    for (const auto& row : rows)
        EXPECT_FALSE(row.bDone) << row.what;
    SetLastError(0);
    EXPECT_FALSE(SetEvent(mutex));
    EXPECT_EQ(DWORD(ERROR_INVALID_HANDLE), GetLastError());
    EXPECT_EQ(WAIT_FAILED, WaitForMultipleObjects(0, nullptr, FALSE, 0));
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), GetLastError());
}

TEST(Handles, LastErrorsAreTheThreads)
{
    SetLastError(1);
    TestThread([] { SetLastError(2); });
    EXPECT_EQ(1u, GetLastError());
}

}  // namespace
