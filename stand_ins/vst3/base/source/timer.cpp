#include "base/source/timer.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace Steinberg {

namespace {

Linux::IRunLoop* currentRunLoop = nullptr;

// A timer registered as a handler on one run loop; it keeps that loop
// referenced so it can unregister from it, whatever loop is current by then.
class RunLoopTimer : public Timer, public Linux::ITimerHandler
{
public:
    RunLoopTimer(ITimerCallback* cb, Linux::IRunLoop* loop) : callback(cb), runLoop(loop)
    {
        runLoop->addRef();
    }

    ~RunLoopTimer() override
    {
        stop();
        runLoop->release();
    }

    bool start(uint32 intervalMilliseconds)
    {
        registered = runLoop->registerTimer(this, intervalMilliseconds) == kResultTrue;
        return registered;
    }

    void stop() override
    {
        callback = nullptr;
        if (registered) {
            registered = false;
            runLoop->unregisterTimer(this);
        }
    }

    void PLUGIN_API onTimer() SMTG_OVERRIDE
    {
        if (callback) callback->onTimer(this);
    }

    OBJ_METHODS(RunLoopTimer, Timer)
    DEFINE_INTERFACES
        DEF_INTERFACE(Linux::ITimerHandler)
    END_DEFINE_INTERFACES(Timer)
    REFCOUNT_METHODS(Timer)

private:
    ITimerCallback* callback;
    Linux::IRunLoop* runLoop;
    bool registered = false;
};

using Clock = std::chrono::steady_clock;

} // namespace

Timer* Timer::create(ITimerCallback* callback, uint32 intervalMilliseconds)
{
    Linux::IRunLoop* loop = currentRunLoop ? currentRunLoop : &FallbackRunLoop::instance();
    auto* timer = new RunLoopTimer(callback, loop);
    if (!timer->start(intervalMilliseconds == 0 ? 1 : intervalMilliseconds)) {
        timer->release();
        return nullptr;
    }
    return timer;
}

void Timer::setRunLoop(Linux::IRunLoop* runLoop)
{
    if (runLoop == currentRunLoop) return;
    if (runLoop) runLoop->addRef();
    if (currentRunLoop) currentRunLoop->release();
    currentRunLoop = runLoop;
}

Linux::IRunLoop* Timer::getRunLoop()
{
    return currentRunLoop;
}

struct FallbackRunLoop::State
{
    struct TimerEntry {
        Linux::ITimerHandler* handler;
        Linux::TimerInterval interval;
        Clock::time_point due;
    };
    struct HandlerEntry {
        Linux::IEventHandler* handler;
        Linux::FileDescriptor fd;
    };
    std::vector<TimerEntry> timers;
    std::vector<HandlerEntry> handlers;
};

FallbackRunLoop& FallbackRunLoop::instance()
{
    static FallbackRunLoop loop;
    return loop;
}

FallbackRunLoop::State& FallbackRunLoop::state()
{
    static State s;
    return s;
}

tresult PLUGIN_API FallbackRunLoop::queryInterface(const TUID iid, void** obj)
{
    QUERY_INTERFACE(iid, obj, FUnknown::iid, Linux::IRunLoop)
    QUERY_INTERFACE(iid, obj, Linux::IRunLoop::iid, Linux::IRunLoop)
    *obj = nullptr;
    return kNoInterface;
}

tresult PLUGIN_API FallbackRunLoop::registerEventHandler(Linux::IEventHandler* handler,
                                                         Linux::FileDescriptor fd)
{
    if (handler == nullptr || fd < 0) return kInvalidArgument;
    state().handlers.push_back({handler, fd});
    return kResultTrue;
}

tresult PLUGIN_API FallbackRunLoop::unregisterEventHandler(Linux::IEventHandler* handler)
{
    auto& list = state().handlers;
    auto it = std::remove_if(list.begin(), list.end(),
                             [handler](const State::HandlerEntry& e) { return e.handler == handler; });
    if (it == list.end()) return kResultFalse;
    list.erase(it, list.end());
    return kResultTrue;
}

tresult PLUGIN_API FallbackRunLoop::registerTimer(Linux::ITimerHandler* handler,
                                                  Linux::TimerInterval milliseconds)
{
    if (handler == nullptr || milliseconds == 0) return kInvalidArgument;
    state().timers.push_back(
        {handler, milliseconds, Clock::now() + std::chrono::milliseconds(milliseconds)});
    return kResultTrue;
}

tresult PLUGIN_API FallbackRunLoop::unregisterTimer(Linux::ITimerHandler* handler)
{
    auto& list = state().timers;
    auto it = std::find_if(list.begin(), list.end(),
                           [handler](const State::TimerEntry& e) { return e.handler == handler; });
    if (it == list.end()) return kResultFalse;
    // Marked rather than erased, so a timer may stop itself, or another,
    // from inside a callback while runOnce walks the list.
    it->handler = nullptr;
    return kResultTrue;
}

void FallbackRunLoop::runOnce(uint32 waitMilliseconds)
{
    State& s = state();
    if (!s.handlers.empty()) {
        std::vector<pollfd> fds;
        for (const auto& h : s.handlers) fds.push_back({h.fd, POLLIN, 0});
        if (::poll(fds.data(), fds.size(), int(waitMilliseconds)) > 0) {
            const auto handlers = s.handlers;
            for (size_t i = 0; i < fds.size(); ++i) {
                if (fds[i].revents & (POLLIN | POLLHUP | POLLERR)) {
                    handlers[i].handler->onFDIsSet(handlers[i].fd);
                }
            }
        }
    }
    const auto now = Clock::now();
    for (size_t i = 0; i < s.timers.size(); ++i) {
        auto& t = s.timers[i];
        if (t.handler == nullptr || t.due > now) continue;
        t.due = now + std::chrono::milliseconds(t.interval);
        Linux::ITimerHandler* handler = t.handler;
        handler->onTimer();
    }
    s.timers.erase(std::remove_if(s.timers.begin(), s.timers.end(),
                                  [](const State::TimerEntry& e) { return e.handler == nullptr; }),
                   s.timers.end());
}

void FallbackRunLoop::runFor(uint32 milliseconds)
{
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    while (Clock::now() < end) {
        runOnce(1);
        if (state().handlers.empty()) {
            ::poll(nullptr, 0, 1);
        }
    }
}

uint32 FallbackRunLoop::timerCount() const
{
    auto& list = const_cast<FallbackRunLoop*>(this)->state().timers;
    return uint32(std::count_if(list.begin(), list.end(),
                                [](const State::TimerEntry& e) { return e.handler != nullptr; }));
}

uint32 FallbackRunLoop::handlerCount() const
{
    return uint32(const_cast<FallbackRunLoop*>(this)->state().handlers.size());
}

} // namespace Steinberg
