#pragma once

#include "base/source/fobject.h"
#include "base/source/timer.h"

// The owner of the panel's heartbeat timer. The timer runs on the thread of
// the user interface while an editor is open; the subclass supplies onTimer.
class VST3_TimerReceiver : public Steinberg::FObject, public Steinberg::ITimerCallback {
public:
    VST3_TimerReceiver() = default;
    ~VST3_TimerReceiver() override;

    // Interface thread. Starts (or restarts) the timer at the given period.
    void startTimer(Steinberg::uint32 intervalMilliseconds);
    // Interface thread. No onTimer call arrives after this returns.
    void stopTimer();
    bool timerRunning() const { return timer != nullptr; }

    OBJ_METHODS(VST3_TimerReceiver, FObject)

protected:
    Steinberg::Timer* timer = nullptr;
};
