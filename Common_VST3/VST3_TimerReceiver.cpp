#include "Common_VST3/VST3_TimerReceiver.h"

VST3_TimerReceiver::~VST3_TimerReceiver()
{
    stopTimer();
}

void VST3_TimerReceiver::startTimer(Steinberg::uint32 intervalMilliseconds)
{
    stopTimer();
    timer = Steinberg::Timer::create(this, intervalMilliseconds);
}

void VST3_TimerReceiver::stopTimer()
{
    if (timer == nullptr) return;
    timer->stop();
    timer->release();
    timer = nullptr;
}
