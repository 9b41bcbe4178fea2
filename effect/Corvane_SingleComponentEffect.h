#pragma once

#include <cstdint>

#include "Common_VST3/VST3_SingleComponentEffect.h"
#include "dsp/DT_DSPObject.h"

// The vocal pitch-correction effect: the one class the factory creates. It
// owns the correction engine by value and drives it from the host's blocks.
class Corvane_SingleComponentEffect : public VST3_SingleComponentEffect {
public:
    Corvane_SingleComponentEffect();
    ~Corvane_SingleComponentEffect() override;

    // The factory's create function: a new effect as its IAudioProcessor, or
    // null when allocation gave nothing.
    static Steinberg::FUnknown* createInstance(void* context);

    //--- Host-facing operations.
    tresult PLUGIN_API initialize(Steinberg::FUnknown* context) SMTG_OVERRIDE;
    tresult PLUGIN_API terminate() SMTG_OVERRIDE;
    // Interface thread, while inactive. Keeps the set-up record and readies
    // the engine for its sample rate.
    tresult PLUGIN_API setupProcessing(Steinberg::Vst::ProcessSetup& setup) SMTG_OVERRIDE;
    // Interface thread. Activation clears the engine and takes the channel
    // layout the buses now have.
    tresult PLUGIN_API setActive(Steinberg::TBool state) SMTG_OVERRIDE;
    // Any thread: 2660 engine samples in host samples; unchanged by bypass.
    Steinberg::uint32 PLUGIN_API getLatencySamples() SMTG_OVERRIDE;
    Steinberg::uint32 PLUGIN_API getProcessContextRequirements() SMTG_OVERRIDE;

    //--- Steps of a block.
    void processAudio(Steinberg::Vst::ProcessData& data) override;
    void applyParameter(VST3_BaseParameter* parameter, ParamID id,
                        Steinberg::int32 sampleOffset, ParamValue value) override;

    //--- The graph clock.
    void setClockPosition(int64_t position);
    void startClock();
    void stopClock();

    // Samples per tracked frame, 200 while unset.
    int64_t getSamplesPerFrame() const { return samplesPerFrame == 0 ? 200 : samplesPerFrame; }

    // Interface thread. The engine of an effect, from the process-wide map;
    // null for an unknown effect.
    static DT_DSPObject* engineOf(const void* effect);

    OBJ_METHODS(Corvane_SingleComponentEffect, VST3_SingleComponentEffect)

protected:
    // The clock step of a block, before the audio.
    void clockStep(Steinberg::Vst::ProcessData& data);

    DT_DSPObject dspObject;
    int64_t samplesPerFrame = 0;
    Steinberg::int32 latencySamples = int32_t(engine::latency);
    bool graphModeActive = false;
    bool clockRunning = false;
    bool pitchTrackingActive = false;
    bool pitchAndTimeTrackingActive = false;
    int64_t clockStartPosition = -1;
    int64_t lastBlockPosition = 0;
    int64_t lastBlockSamples = 0;
    bool hostClock = true;
    Steinberg::int32 transportState = -1;
    bool processCalled = false;
    // Host samples since the input was last flagged as sounding.
    int64_t silentInputSamples = 0;
};
