#pragma once

#include "graph/model/TrackedFrame.h"
#include "pluginterfaces/base/funknown.h"

// What a host-less tool or a test may ask of the effect's Graph-mode data
// through the module, beside the VST3 interfaces: the data folder of a run,
// the tracked frames, the recorded audio and its time edits.
//
// Threads: the interface thread. readTrackedSample only while processing is
// inactive: it is the store's one reader then, as the audio thread is while
// active.
class ICorvaneTrackedData : public Steinberg::FUnknown {
public:
    // As a click on the panel's control of parameter `id`: the value through
    // setParamNormalized, then what the panel does with it (a mode switch, a
    // press). Works with the editor closed.
    virtual Steinberg::tresult PLUGIN_API clickControl(Steinberg::uint32 id, double normalized) = 0;
    // The folder that holds the session folders; before anything is
    // recorded. kResultFalse when recording has begun.
    virtual Steinberg::tresult PLUGIN_API setDataFolder(const char* utf8Path) = 0;
    // The folder of this session's ".dat" files (UTF-8, NUL-terminated,
    // cut to `size`).
    virtual void PLUGIN_API getSessionFolder(char* utf8Path, Steinberg::int32 size) = 0;
    // Frames holding data, and one of them (0..count-1).
    virtual Steinberg::int64 PLUGIN_API getTrackedFrameCount() = 0;
    virtual Steinberg::tresult PLUGIN_API getTrackedFrame(Steinberg::int64 index, TrackedFrame* frame) = 0;
    // Host samples per frame, and host samples per store position.
    virtual Steinberg::int64 PLUGIN_API getFrameSamples() = 0;
    virtual Steinberg::int64 PLUGIN_API getDecimationFactor() = 0;
    // Waits until the disk thread has written every finished block.
    virtual void PLUGIN_API waitForDisk() = 0;
    // The store: regions (store positions, end excluded), a sample, status.
    virtual Steinberg::int32 PLUGIN_API getRegionCount() = 0;
    virtual Steinberg::tresult PLUGIN_API getRegion(Steinberg::int32 index, Steinberg::int64* start,
                                                    Steinberg::int64* end, Steinberg::TBool* hasFile) = 0;
    // readSample's answer: 0 read, 1 not in yet, 2 nothing recorded, 4 unusable.
    virtual Steinberg::int32 PLUGIN_API readTrackedSample(Steinberg::int64 position, float* left, float* right) = 0;
    virtual Steinberg::int32 PLUGIN_API getStoreChannels() = 0;
    // The store's status (0 usable, 1 files missing); overrun and write
    // failure of the last run.
    virtual Steinberg::int32 PLUGIN_API getStoreStatus(Steinberg::TBool* overrun, Steinberg::TBool* writeFailed) = 0;

    // Time control; positions are store positions (engine samples). Moves
    // the point of the recorded take at `fromPosition` so that it sounds at
    // `toPosition`, stretching the take before it and compressing after it
    // or the other way round: a new step of the time history, which the
    // engine plays from its next block. kResultFalse, with nothing changed,
    // when nothing is recorded or a limit refuses the move; `limitCode`
    // (may be null) then says which: 0 nothing recorded or a point outside
    // the take, 1 the compression limit, 2 the stretch limit.
    virtual Steinberg::tresult PLUGIN_API moveTimePoint(double fromPosition, double toPosition,
                                                        Steinberg::int32* limitCode) = 0;
    // The output position at which source position `position` sounds by the
    // time map in force (the position itself without one).
    virtual double PLUGIN_API mapTimePosition(double position) = 0;
    // Output samples of the time-warped playback that could not be read
    // from the data files in time and played silent, counted since the
    // instance was made; `lastFrame` (may be null) gets the frame of the
    // output clock at the last of them, -1 before any.
    virtual Steinberg::int64 PLUGIN_API getPlaybackOverruns(Steinberg::int64* lastFrame) = 0;

    static const Steinberg::FUID iid;
};

DECLARE_CLASS_IID(ICorvaneTrackedData, 0x6A1C55D2, 0x3E0B4F21, 0x9C7D8B44, 0x1F2A6E90)
