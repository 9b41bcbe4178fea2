#pragma once

// Periodic callbacks on the thread of the user interface. On Linux a plug-in
// has no event loop of its own: timers are registered on the host's run loop
// (Steinberg::Linux::IRunLoop, asked of the plug-in frame). Where no host run
// loop has been handed over, as in our own tools and tests, timers go to a
// fallback run loop that the program drives itself.

#include "base/source/fobject.h"
#include "pluginterfaces/gui/iplugview.h"

namespace Steinberg {

class Timer;

class ITimerCallback
{
public:
    virtual ~ITimerCallback() {}
    virtual void onTimer(Timer* timer) = 0;
};

class Timer : public FObject
{
public:
    // Interface thread. A running timer that calls callback every
    // intervalMilliseconds on the current run loop; null if the run loop
    // refused it. The caller releases it after stop().
    static Timer* create(ITimerCallback* callback, uint32 intervalMilliseconds);

    // Interface thread. No callback arrives after this returns.
    virtual void stop() = 0;

    // Interface thread. The run loop new timers register on; null selects the
    // fallback loop. The loop is kept referenced while it is current and by
    // every timer registered on it.
    static void setRunLoop(Linux::IRunLoop* runLoop);
    static Linux::IRunLoop* getRunLoop();

    OBJ_METHODS(Timer, FObject)
};

// A small run loop of our own for programs without a host: timers and file
// descriptor handlers, driven by runFor or runOnce on the calling thread.
class FallbackRunLoop : public Linux::IRunLoop
{
public:
    static FallbackRunLoop& instance();

    tresult PLUGIN_API registerEventHandler(Linux::IEventHandler* handler,
                                            Linux::FileDescriptor fd) SMTG_OVERRIDE;
    tresult PLUGIN_API unregisterEventHandler(Linux::IEventHandler* handler) SMTG_OVERRIDE;
    tresult PLUGIN_API registerTimer(Linux::ITimerHandler* handler,
                                     Linux::TimerInterval milliseconds) SMTG_OVERRIDE;
    tresult PLUGIN_API unregisterTimer(Linux::ITimerHandler* handler) SMTG_OVERRIDE;

    // Runs due timers and ready handlers until the given time has passed.
    void runFor(uint32 milliseconds);
    // Runs what is due now, waiting at most the given time for a descriptor.
    void runOnce(uint32 waitMilliseconds = 0);

    uint32 timerCount() const;
    uint32 handlerCount() const;

    // The loop lives as long as the process: reference counting is a no-op.
    tresult PLUGIN_API queryInterface(const TUID iid, void** obj) SMTG_OVERRIDE;
    uint32 PLUGIN_API addRef() SMTG_OVERRIDE { return 1; }
    uint32 PLUGIN_API release() SMTG_OVERRIDE { return 1; }

private:
    FallbackRunLoop() = default;
    struct State;
    State& state();
};

} // namespace Steinberg
