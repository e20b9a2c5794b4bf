#include "values/Locks.h"

#include "tests/TestSupport.h"

namespace {

constexpr int ROUNDS = 20000;

// Writes its calls down.
class RecordingLock final : public Lockable
{
public:
    void Lock() override { calls += 'L'; }
    void Unlock() override { calls += 'U'; }
    std::string calls;
};

TEST(LocksTest, GuardCallsItsLockOnceAtATime)
{
    const std::pair<std::function<void(ScopedLock&)>, const char*> rows[] = {
        {[](ScopedLock&) {}, "LU"},
        {[](ScopedLock& g) { g.Lock(); }, "LU"},
        {[](ScopedLock& g) { g.Unlock(), g.Unlock(); }, "LU"},
        {[](ScopedLock& g) { g.Unlock(), g.Lock(), g.Lock(); }, "LULU"},
    };
    for (const auto& [use, calls] : rows) {
        RecordingLock lock;
        use(*std::make_unique<ScopedLock>(&lock));
        EXPECT_EQ(lock.calls, calls);
    }
}

// The count grows between the inner and the outer end: a lock that the inner end opens loses some of it.
TEST(LocksThreadTest, InnerEndKeepsOtherThreadsOut)
{
    CritSecLock lock;
    int nCount = 0;
    const auto work = [&] {
        for (int i = 0; i < ROUNDS; ++i) {
            ScopedLock outer(&lock);
            {
                ScopedLock inner(&lock);
                ++nCount;
            }
            ++nCount;
        }
    };
    RunTogether({work, work, work});
    EXPECT_EQ(nCount, 3 * 2 * ROUNDS);
}

TEST(LocksThreadTest, NoReferenceIsLost)
{
    const ArgHolder arg(Arg::Create());
    const auto work = [&] {
        for (int i = 0; i < ROUNDS; ++i)
            arg->AddRef();
        for (int i = 0; i < ROUNDS - 1; ++i)
            arg->Release();
    };
    RunTogether({work, work, work});
    EXPECT_EQ(CountOf(*arg), 4);
    for (int i = 3; i > 0; --i)
        EXPECT_EQ(arg->Release(), i);
}

}  // namespace
