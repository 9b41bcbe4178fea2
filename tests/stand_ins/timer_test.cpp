#include "base/source/timer.h"

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

// A host's run loop as a workstation offers it: it records what is
// registered and fires timers when told to.
class Host_Run_Loop : public Linux::IRunLoop {
public:
    tresult PLUGIN_API registerEventHandler(Linux::IEventHandler*, Linux::FileDescriptor) override
    {
        return kResultTrue;
    }
    tresult PLUGIN_API unregisterEventHandler(Linux::IEventHandler*) override { return kResultTrue; }
    tresult PLUGIN_API registerTimer(Linux::ITimerHandler* handler, Linux::TimerInterval ms) override
    {
        timers.push_back(handler);
        intervals.push_back(ms);
        return kResultTrue;
    }
    tresult PLUGIN_API unregisterTimer(Linux::ITimerHandler* handler) override
    {
        for (size_t i = 0; i < timers.size(); ++i) {
            if (timers[i] == handler) {
                timers.erase(timers.begin() + long(i));
                intervals.erase(intervals.begin() + long(i));
                return kResultTrue;
            }
        }
        return kResultFalse;
    }
    void fire()
    {
        const auto copy = timers;
        for (auto* t : copy) t->onTimer();
    }
    tresult PLUGIN_API queryInterface(const TUID iid, void** obj) override
    {
        QUERY_INTERFACE(iid, obj, FUnknown::iid, Linux::IRunLoop)
        QUERY_INTERFACE(iid, obj, Linux::IRunLoop::iid, Linux::IRunLoop)
        *obj = nullptr;
        return kNoInterface;
    }
    uint32 PLUGIN_API addRef() override { return uint32(++refs); }
    uint32 PLUGIN_API release() override { return uint32(--refs); }

    std::vector<Linux::ITimerHandler*> timers;
    std::vector<Linux::TimerInterval> intervals;
    int refs = 1;
};

} // namespace

TEST(Timer, RunsOnTheHostsRunLoopWhenOneIsGiven)
{
    Host_Run_Loop host;
    Timer::setRunLoop(&host);
    EXPECT_EQ(host.refs, 2);
    Counter counter;
    Timer* timer = Timer::create(&counter, 30);
    ASSERT_NE(timer, nullptr);
    ASSERT_EQ(host.timers.size(), 1u);
    EXPECT_EQ(host.intervals[0], 30u);
    host.fire();
    host.fire();
    EXPECT_EQ(counter.calls, 2);

    // The loop stops being current, but the timer still unregisters from the
    // loop it was made on.
    Timer::setRunLoop(nullptr);
    EXPECT_EQ(host.refs, 2);
    timer->stop();
    EXPECT_TRUE(host.timers.empty());
    host.fire();
    EXPECT_EQ(counter.calls, 2);
    timer->release();
    EXPECT_EQ(host.refs, 1);
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
