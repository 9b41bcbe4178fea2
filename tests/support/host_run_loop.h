#pragma once

// The run loop of a small host of the tests' own, as a Linux host hands it
// to a plug-in through its IPlugFrame (Steinberg::Linux::IRunLoop): file
// descriptors watched with poll and timers, all run on the thread that
// calls runFor. Handlers are kept referenced while registered, as the
// interface asks. The loop itself is an object of the test program that
// outlives every plug-in: a plug-in may keep it referenced, and reference
// counting does not own it (references() tells how many are held).

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "pluginterfaces/gui/iplugview.h"

namespace test_host {

class HostRunLoop : public Steinberg::Linux::IRunLoop {
public:
    using Clock = std::chrono::steady_clock;

    Steinberg::tresult PLUGIN_API registerEventHandler(Steinberg::Linux::IEventHandler* handler,
                                                       Steinberg::Linux::FileDescriptor fd) override
    {
        if (handler == nullptr || fd < 0) return Steinberg::kInvalidArgument;
        handler->addRef();
        handlers.push_back({handler, fd});
        return Steinberg::kResultTrue;
    }
    Steinberg::tresult PLUGIN_API unregisterEventHandler(Steinberg::Linux::IEventHandler* handler) override
    {
        return removeAll(handlers, handler);
    }
    Steinberg::tresult PLUGIN_API registerTimer(Steinberg::Linux::ITimerHandler* handler,
                                                Steinberg::Linux::TimerInterval milliseconds) override
    {
        if (handler == nullptr || milliseconds == 0) return Steinberg::kInvalidArgument;
        handler->addRef();
        timers.push_back({handler, milliseconds, Clock::now() + std::chrono::milliseconds(milliseconds)});
        return Steinberg::kResultTrue;
    }
    Steinberg::tresult PLUGIN_API unregisterTimer(Steinberg::Linux::ITimerHandler* handler) override
    {
        return removeAll(timers, handler);
    }

    // Runs ready handlers and due timers until the time has passed.
    void runFor(unsigned milliseconds)
    {
        const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
        for (;;) {
            const auto now = Clock::now();
            if (now >= end) break;
            auto wake = end;
            for (const auto& t : timers) wake = std::min(wake, t.due);
            const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(wake - now).count();
            runOnce(int(std::max<long long>(0, wait)));
        }
    }

    size_t handlerCount() const { return handlers.size(); }
    size_t timerCount() const { return timers.size(); }
    long references() const { return refCount; }

    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID iid, void** obj) override
    {
        QUERY_INTERFACE(iid, obj, Steinberg::FUnknown::iid, Steinberg::Linux::IRunLoop)
        QUERY_INTERFACE(iid, obj, Steinberg::Linux::IRunLoop::iid, Steinberg::Linux::IRunLoop)
        *obj = nullptr;
        return Steinberg::kNoInterface;
    }
    Steinberg::uint32 PLUGIN_API addRef() override { return Steinberg::uint32(++refCount); }
    Steinberg::uint32 PLUGIN_API release() override { return Steinberg::uint32(--refCount); }

private:
    struct HandlerEntry {
        Steinberg::Linux::IEventHandler* handler;
        Steinberg::Linux::FileDescriptor fd;
    };
    struct TimerEntry {
        Steinberg::Linux::ITimerHandler* handler;
        Steinberg::Linux::TimerInterval interval;
        Clock::time_point due;
    };

    template <class Entry, class Handler>
    static Steinberg::tresult removeAll(std::vector<Entry>& entries, Handler* handler)
    {
        std::vector<Handler*> removed;
        for (auto it = entries.begin(); it != entries.end();) {
            if (it->handler == handler) {
                removed.push_back(it->handler);
                it = entries.erase(it);
            } else {
                ++it;
            }
        }
        // Released after the list is consistent: the last release may delete
        // the handler, which may call back into the loop.
        for (Handler* h : removed) h->release();
        return removed.empty() ? Steinberg::kResultFalse : Steinberg::kResultTrue;
    }

    // A handler or a timer may unregister itself or others while it runs,
    // so each round works from a copy and checks that an entry is still
    // registered before calling it.
    void runOnce(int waitMilliseconds)
    {
        std::vector<pollfd> fds;
        for (const auto& h : handlers) fds.push_back({h.fd, POLLIN, 0});
        if (::poll(fds.data(), fds.size(), waitMilliseconds) > 0) {
            const std::vector<HandlerEntry> ready = handlers;
            for (size_t i = 0; i < fds.size() && i < ready.size(); ++i) {
                if (!(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
                if (!stillRegistered(handlers, ready[i].handler)) continue;
                ready[i].handler->onFDIsSet(ready[i].fd);
            }
        }
        const auto now = Clock::now();
        const std::vector<TimerEntry> due = timers;
        for (const auto& t : due) {
            if (t.due > now) continue;
            auto it = std::find_if(timers.begin(), timers.end(),
                                   [&](const TimerEntry& e) { return e.handler == t.handler; });
            if (it == timers.end()) continue;
            it->due = now + std::chrono::milliseconds(it->interval);
            t.handler->onTimer();
        }
    }

    template <class Entry, class Handler>
    static bool stillRegistered(const std::vector<Entry>& entries, Handler* handler)
    {
        return std::any_of(entries.begin(), entries.end(), [&](const Entry& e) { return e.handler == handler; });
    }

    std::vector<HandlerEntry> handlers;
    std::vector<TimerEntry> timers;
    long refCount = 0;
};

} // namespace test_host
