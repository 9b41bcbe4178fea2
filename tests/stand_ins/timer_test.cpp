#include "base/source/timer.h"
#include "support/host_run_loop.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Steinberg;

namespace {

struct Counter : ITimerCallback {
    int calls = 0;
    int stopAfter = -1;
    void onTimer(Timer* timer) override
    {
        ++calls;
        if (calls == stopAfter) timer->stop();
    }
};

} // namespace

TEST(Timer, RunsOnTheHostsRunLoopAndLeavesTheLoopItWasMadeOn)
{
    test_host::HostRunLoop host;
    Timer::setRunLoop(&host);
    EXPECT_EQ(host.references(), 1) << "held while current";
    Counter counter;
    Timer* timer = Timer::create(&counter, 30);
    ASSERT_NE(timer, nullptr);
    EXPECT_EQ(host.timerCount(), 1u);
    host.runFor(100);
    // A tick every 30 ms: about three in 100 ms, at least one however late
    // the loop runs.
    EXPECT_GE(counter.calls, 1);
    EXPECT_LE(counter.calls, 4);

    // The loop stops being current, but the timer still unregisters from the
    // loop it was made on, and holds it until released.
    Timer::setRunLoop(nullptr);
    EXPECT_EQ(host.references(), 1);
    timer->stop();
    EXPECT_EQ(host.timerCount(), 0u);
    timer->release();
    EXPECT_EQ(host.references(), 0);
}

TEST(Timer, FallbackLoopForProgramsWithoutAHost)
{
    Timer::setRunLoop(nullptr);
    FallbackRunLoop& loop = FallbackRunLoop::instance();
    const uint32 before = loop.timerCount();
    Counter fast, stopping;
    stopping.stopAfter = 2;
    Timer* a = Timer::create(&fast, 5);
    Timer* b = Timer::create(&stopping, 5);
    ASSERT_TRUE(a && b);
    EXPECT_EQ(loop.timerCount(), before + 2);
    loop.runFor(60);
    // Roughly a dozen ticks in 60 ms; the second stopped itself after two.
    EXPECT_GE(fast.calls, 3);
    EXPECT_LE(fast.calls, 13);
    EXPECT_EQ(stopping.calls, 2);
    EXPECT_EQ(loop.timerCount(), before + 1);
    a->stop();
    EXPECT_EQ(loop.timerCount(), before);
    const int calls = fast.calls;
    loop.runFor(20);
    EXPECT_EQ(fast.calls, calls);
    a->release();
    b->release();
}
