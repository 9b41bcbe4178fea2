// Graph mode's recording side of the effect: the clock that follows the
// host's transport, bar and beat marks, tracking switched by its buttons,
// MIDI beside the pitch, and what tools may ask of the tracked data.

#include "effect/Corvane_SingleComponentEffect.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "effect/Corvane_Version.h"
#include "pluginterfaces/vst/ivstprocesscontext.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

DEF_CLASS_IID(ICorvaneTrackedData)

namespace {

// Host samples either way of the expected position that still count as a
// continuous transport.
constexpr int64_t transportJitter = 50;

} // namespace

tresult PLUGIN_API Corvane_SingleComponentEffect::queryInterface(const TUID iid, void** obj)
{
    QUERY_INTERFACE(iid, obj, ICorvaneTrackedData::iid, ICorvaneTrackedData)
    return VST3_SingleComponentEffect::queryInterface(iid, obj);
}

std::string Corvane_SingleComponentEffect::defaultDataFolder()
{
    std::string base;
    const char* xdg = std::getenv("XDG_DATA_HOME");
    if (xdg != nullptr && xdg[0] == '/') {
        base = xdg;
    } else {
        const char* home = std::getenv("HOME");
        base = std::string(home != nullptr ? home : "/tmp") + "/.local/share";
    }
    return base + "/" + corvane::vendor + "/Corvane+Time VST";
}

void Corvane_SingleComponentEffect::prepareTrackedData()
{
    if (!audioStore) {
        audioStore.reset(new AudioDataStore(2));
        audioStore->setParentFolder(defaultDataFolder());
        audioStore->setSessionID(AudioDataStore::makeSessionID());
        dspObject.attach_tracked_data(&trackedFrames, audioStore.get());
    }
    // Frames for the capacity setting at this rate. Frames holding data are
    // never dropped: the array then only grows, keeping them.
    const double rate = processSetup.sampleRate > 0.0 ? processSetup.sampleRate : 44100.0;
    const int64_t wanted = int64_t(double(capacitySetting) * rate / double(getSamplesPerFrame()));
    if (trackedFrames.trackedEnd() == 0 && wanted != trackedFrames.frameCount()) trackedFrames.allocate(wanted);
    else trackedFrames.grow(wanted);
    audioStore->start();
}

//--- The clock --------------------------------------------------------------

void Corvane_SingleComponentEffect::setClockPosition(int64_t position)
{
    clockStartPosition = position;
    dspObject.set_position(position);
}

void Corvane_SingleComponentEffect::startClock()
{
    clockRunning = true;
    dspObject.set_idle(false);
}

void Corvane_SingleComponentEffect::stopClock()
{
    clockRunning = false;
    clockStartPosition = -1;
    dspObject.set_idle(true);
    // The run's tail goes to the disk; the next start begins a new run.
    if (dspObject.is_recording() && audioStore && !trackedDataSuspended) audioStore->endRun();
}

void Corvane_SingleComponentEffect::clockStep(ProcessData& data, int64_t& position, bool& positionValid) noexcept
{
    position = 0;
    positionValid = false;
    // Auto mode: the clock runs from position 0 as soon as audio flows, so
    // frames close for the slow filters of the correction.
    if (!engineGraphMode) {
        if (!clockRunning) {
            startClock();
            setClockPosition(0);
        }
        return;
    }
    transportState = -1;
    if (hostClock) {
        if (const ProcessContext* context = data.processContext) {
            position = context->projectTimeSamples;
            if (context->state & ProcessContext::kPlaying) {
                transportState = 1;
                if (!clockRunning || clockStartPosition == -1) {
                    startClock();
                    setClockPosition(position);
                } else {
                    const int64_t expected = lastBlockPosition + lastBlockSamples;
                    if (position != expected) {
                        if (std::llabs(position - expected) <= transportJitter)
                            position = expected;
                        else
                            setClockPosition(position); // a jump: a recorded run breaks here
                    }
                }
            } else {
                transportState = 0;
                if (clockRunning) stopClock();
            }
            if (position >= 0) {
                lastBlockPosition = position;
                lastBlockSamples = data.numSamples;
                positionValid = true;
            }
        }
    } else if (!clockRunning || clockStartPosition == -1) {
        startClock();
        setClockPosition(0);
    }
    if (data.processMode == kOffline && (!clockRunning || clockStartPosition == -1)) {
        startClock();
        setClockPosition(lastBlockPosition);
    }
}

void Corvane_SingleComponentEffect::markBarAndBeat(const ProcessData& data, int64_t position,
                                                   bool positionValid) noexcept
{
    const ProcessContext* c = data.processContext;
    const uint32 needed = ProcessContext::kPlaying | ProcessContext::kProjectTimeMusicValid |
                          ProcessContext::kBarPositionValid | ProcessContext::kTempoValid |
                          ProcessContext::kTimeSigValid;
    if (!pitchTrackingActive || c == nullptr || !positionValid || (c->state & needed) != needed ||
        c->timeSigNumerator <= 0 || c->timeSigDenominator <= 0 || c->tempo <= 0.0)
        return;
    const float q = float(c->timeSigDenominator) * 0.25f;
    const float barValue = std::floor((q / float(c->timeSigNumerator)) * float(c->barPositionMusic));
    const float beats = float(c->projectTimeMusic - c->barPositionMusic) * q;
    const float beatValue = std::floor(beats);
    const int32 bar = int32(barValue) + 1;
    const int32 beat = int16(int32(beatValue) + 1);
    if (bar == lastBar && beat == lastBeat) return;
    lastBar = bar;
    lastBeat = beat;
    const float samplesPerBeat = float(c->sampleRate / ((c->tempo / 60.0) * double(q)));
    const int32 offset = int16(int32(samplesPerBeat * (beats - beatValue)));
    const int64_t frame = int64_t(double(position - offset) / double(getSamplesPerFrame()));
    if (frame >= 0 && frame <= trackedFrames.frameCount()) {
        trackedFrames.putBarBeat(frame, bar, uint8_t(beat & 0xff));
        trackedFrames.markDirty(frame);
    }
}

//--- Tracking ---------------------------------------------------------------

void Corvane_SingleComponentEffect::startTracking(bool withAudio) noexcept
{
    if (pitchTrackingActive) return;
    pitchTrackingActive = true;
    pitchAndTimeTrackingActive = withAudio;
    recordedNotes = 0;
    lastBar = -1;
    lastBeat = -1;
    dspObject.set_tracking_frames(true);
    if (withAudio) dspObject.set_recording(true);
}

void Corvane_SingleComponentEffect::stopTracking() noexcept
{
    if (!pitchTrackingActive) return;
    pitchTrackingActive = false;
    pitchAndTimeTrackingActive = false;
    dspObject.set_tracking_frames(false);
    dspObject.set_recording(false);
}

void Corvane_SingleComponentEffect::clearAllData() noexcept
{
    stopTracking();
    if (trackedDataSuspended) return;
    trackedFrames.clear();
    if (audioStore) audioStore->forgetRecording();
}

//--- ICorvaneTrackedData ----------------------------------------------------

tresult PLUGIN_API Corvane_SingleComponentEffect::clickControl(uint32 id, double normalized)
{
    if (setParamNormalized(id, normalized) != kResultOk) return kResultFalse;
    if (Parameter* parameter = getParameterObject(id)) parameterChanged(parameter);
    return kResultOk;
}

tresult PLUGIN_API Corvane_SingleComponentEffect::setDataFolder(const char* utf8Path)
{
    if (utf8Path == nullptr || utf8Path[0] == '\0' || !audioStore || audioStore->regionCount() > 0 ||
        dspObject.is_recording())
        return kResultFalse;
    audioStore->stop();
    audioStore->setParentFolder(utf8Path);
    audioStore->start();
    return kResultOk;
}

void PLUGIN_API Corvane_SingleComponentEffect::getSessionFolder(char* utf8Path, int32 size)
{
    if (utf8Path == nullptr || size <= 0) return;
    const std::string folder = audioStore ? audioStore->sessionFolder() : std::string();
    std::strncpy(utf8Path, folder.c_str(), size_t(size) - 1);
    utf8Path[size - 1] = '\0';
}

int64 PLUGIN_API Corvane_SingleComponentEffect::getTrackedFrameCount() { return trackedFrames.trackedEnd(); }

tresult PLUGIN_API Corvane_SingleComponentEffect::getTrackedFrame(int64 index, TrackedFrame* frame)
{
    if (frame == nullptr || index < 0 || index >= trackedFrames.trackedEnd()) return kResultFalse;
    *frame = trackedFrames.get(index);
    return kResultOk;
}

void PLUGIN_API Corvane_SingleComponentEffect::waitForDisk()
{
    if (audioStore) audioStore->waitIdle();
}

int32 PLUGIN_API Corvane_SingleComponentEffect::getRegionCount()
{
    return audioStore ? audioStore->regionCount() : 0;
}

tresult PLUGIN_API Corvane_SingleComponentEffect::getRegion(int32 index, int64* start, int64* end, TBool* hasFile)
{
    if (!audioStore || index < 0 || index >= audioStore->regionCount()) return kResultFalse;
    const AudioRegion& r = audioStore->region(index);
    if (start) *start = r.start.load(std::memory_order_relaxed);
    if (end) *end = r.end.load(std::memory_order_acquire);
    if (hasFile) *hasFile = r.file.load(std::memory_order_acquire) != nullptr;
    return kResultOk;
}

int32 PLUGIN_API Corvane_SingleComponentEffect::readTrackedSample(int64 position, float* left, float* right)
{
    if (!audioStore || left == nullptr) return AudioDataStore::readUnusable;
    return audioStore->readSample(position, *left, right);
}

int32 PLUGIN_API Corvane_SingleComponentEffect::getStoreChannels()
{
    return audioStore ? audioStore->channelCount() : 0;
}

int32 PLUGIN_API Corvane_SingleComponentEffect::getStoreStatus(TBool* overrun, TBool* writeFailed)
{
    if (!audioStore) return AudioDataStore::statusFilesMissing;
    if (overrun) *overrun = audioStore->hasOverrun();
    if (writeFailed) *writeFailed = audioStore->hasWriteFailed() || audioStore->diskFailed();
    return audioStore->getStatus();
}
