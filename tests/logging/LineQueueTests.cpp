#include "logging/LineQueue.h"

#include <gtest/gtest.h>

TEST(LineQueue, KeepsOrderAndKnowsWhatHasGoneOut)
{
    LineQueue queue;
    const LineQueue::Ticket first = queue.Append("one");
    const LineQueue::Ticket second = queue.Append("two");
    EXPECT_FALSE(queue.IsDone(first));
    EXPECT_EQ(queue.Head(), "one");
    queue.HeadDone();
    EXPECT_TRUE(queue.IsDone(first));
    EXPECT_FALSE(queue.IsDone(second));
    EXPECT_EQ(queue.Head(), "two");
    EXPECT_EQ(queue.HeadTicket(), second);
    EXPECT_EQ(queue.Clear(), 1u);
    EXPECT_FALSE(queue.IsDone(second)) << "thrown away is not gone out";
}

TEST(LineQueue, BoundsDropWhatComesAndMakeOneGap)
{
    struct Row
    {
        const char* bound;
        size_t nLineBytes;
        unsigned int nFit;
    };
    for (const Row& row : {Row{"lines", 10, 10000}, Row{"bytes", 16384, 256}}) {
        SCOPED_TRACE(row.bound);
        LineQueue queue;
        const std::string sLine(row.nLineBytes, 'x');
        for (unsigned int i = 0; i < row.nFit; ++i)
            ASSERT_NE(queue.Append(sLine), 0u) << i;
        EXPECT_EQ(queue.Append(sLine), 0u);
        queue.HeadDone();
        EXPECT_EQ(queue.Append(sLine), 0u) << "the gap goes on until half is out";
        EXPECT_EQ(queue.TakeDropped(), 0u);
        while (queue.Size() > row.nFit / 2)
            queue.HeadDone();
        EXPECT_EQ(queue.TakeDropped(), 2u);
        EXPECT_NE(queue.Append(sLine), 0u);
        EXPECT_EQ(queue.TakeDropped(), 0u) << "told once";
    }
}

TEST(LineQueue, ClearCountsWhatWasDroppedToo)
{
    LineQueue queue;
    for (int i = 0; i < 10003; ++i)
        queue.Append("x");
    EXPECT_FALSE(queue.IsDone(0)) << "a dropped line never is";
    EXPECT_EQ(queue.Clear(), 10003u);
    EXPECT_TRUE(queue.IsEmpty());
}
