#include "effect/Corvane_SingleComponentEffect.h"

#include <algorithm>
#include <cstdint>
#include <new>

#include "Common_VST3/VST3_MultiStringArrayParameter.h"
#include "effect/Corvane_Parameters.h"
#include "options/Corvane_PreferencesFile.h"
#include "pluginterfaces/vst/ivstprocesscontext.h"

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

// Host samples the rate filters keep ringing after the delay path has run
// dry; generous, since the filters' tails die out within a few hundred.
constexpr int64_t silenceTail = 2048;

} // namespace

Steinberg::int32 Corvane_SingleComponentEffect::knobMode = 0;

Corvane_SingleComponentEffect::Corvane_SingleComponentEffect()
{
    storeSemaphoreReady = sem_init(&storeSemaphore, 0, 1) == 0;
    dspObject.set_store_lock(storeSemaphoreReady ? &storeSemaphore : nullptr);
}

Corvane_SingleComponentEffect::~Corvane_SingleComponentEffect()
{
    dspObject.set_store_lock(nullptr);
    if (storeSemaphoreReady) sem_destroy(&storeSemaphore);
}

FUnknown* Corvane_SingleComponentEffect::createInstance(void* /*context*/)
{
    auto* effect = new (std::nothrow) Corvane_SingleComponentEffect();
    if (effect == nullptr) return nullptr;
    return static_cast<IAudioProcessor*>(effect);
}

tresult PLUGIN_API Corvane_SingleComponentEffect::initialize(FUnknown* context)
{
    const tresult result = VST3_SingleComponentEffect::initialize(context);
    if (result != kResultOk) return result;
    corvane::addParameters(parameters, privateParameters);
    indexParameters();
    dspObject.set_sample_rate(processSetup.sampleRate);
    applyAllParameters();
    readPreferences(preferencesPath(), &options);
    userOptionsChanged();
    latencySamples = int32(engine::latency * dspObject.get_decimation_factor());
    prepareTrackedData();
    attachObjects();
    return kResultOk;
}

tresult PLUGIN_API Corvane_SingleComponentEffect::terminate()
{
    if (audioStore) audioStore->stop();
    return VST3_SingleComponentEffect::terminate();
}

tresult PLUGIN_API Corvane_SingleComponentEffect::setupProcessing(ProcessSetup& setup)
{
    // A rate the engine cannot serve is refused, and the set-up stays as it
    // was: the host may offer another.
    if (setup.symbolicSampleSize != kSample32 || !Downsample_DSP::serves_rate(setup.sampleRate) ||
        setup.maxSamplesPerBlock < 0)
        return kResultFalse;
    const tresult result = VST3_SingleComponentEffect::setupProcessing(setup);
    if (result != kResultOk) return result;
    dspObject.set_sample_rate(setup.sampleRate);
    dspObject.set_samples_per_frame(double(getSamplesPerFrame()));
    // The engine takes each setting from its parameter, the defaults too:
    // the host sends only changes, and some settings (the vibrato rate, the
    // note table) depend on the rate just set.
    applyAllParameters();
    latencySamples = int32(engine::latency * dspObject.get_decimation_factor());
    prepareTrackedData();
    attachObjects();
    return kResultOk;
}

tresult PLUGIN_API Corvane_SingleComponentEffect::setActive(TBool state)
{
    if (state) {
        dspObject.set_channels(stereoInput, stereoOutput);
        dspObject.reset();
        clockRunning = false;
        clockStartPosition = -1;
    } else if (audioStore) {
        // Inactive, the interface thread owns the engine: the run's tail
        // goes to the disk.
        audioStore->endRun();
    }
    return VST3_SingleComponentEffect::setActive(state);
}

uint32 PLUGIN_API Corvane_SingleComponentEffect::getLatencySamples()
{
    return uint32(latencySamples);
}

uint32 PLUGIN_API Corvane_SingleComponentEffect::getProcessContextRequirements()
{
    using R = IProcessContextRequirements;
    return R::kNeedProjectTimeMusic | R::kNeedBarPositionMusic | R::kNeedTempo |
           R::kNeedTimeSignature | R::kNeedTransportState;
}

tresult PLUGIN_API Corvane_SingleComponentEffect::setParamNormalized(ParamID id, ParamValue value)
{
    const tresult result = VST3_SingleComponentEffect::setParamNormalized(id, value);
    if (result == kResultOk && !isEditorOpen() &&
        (id == corvane::kScale || id == corvane::kKey || id == corvane::kDetune))
        pushScaleFromParameters();
    return result;
}

void Corvane_SingleComponentEffect::putParameter(ParamID id, double plain)
{
    if (Parameter* parameter = parameters.getParameter(id)) {
        parameter->setNormalized(parameter->toNormalized(plain));
    }
}

void Corvane_SingleComponentEffect::parameterChanged(Parameter* parameter)
{
    if (parameter != nullptr) {
        const ParamID id = parameter->getInfo().id;
        const double plain = parameter->toPlain(parameter->getNormalized());
        objectCommand(id, plain);
        timeCommand(id, plain);
    }
    editorPresenter.parameterChanged(parameter);
}

void Corvane_SingleComponentEffect::setScaleAndKey(int scale, int key)
{
    if (scale < 0 || scale >= scale_count) scale = scale_chromatic;
    key = ((key % 12) + 12) % 12;
    scaleState.scale = int16_t(scale);
    scaleState.key = int16_t(key);
    // The key names follow the spelling of the scale; the key index stays.
    // The list in force is an atomic index that the engine's owner switches
    // too; the interface thread tells views and host.
    auto* keyParameter = FCast<VST3_MultiStringArrayParameter>(parameters.getParameter(corvane::kKey));
    if (keyParameter) keyParameter->setCurrentArray(corvane::keySpellingOf(scale));
}

void Corvane_SingleComponentEffect::scaleMarksChanged()
{
    marksGeneration.fetch_add(1, std::memory_order_release);
    requestFromInterface();
}

void Corvane_SingleComponentEffect::requestFromInterface()
{
    if (!audioOwnsEngine()) takeInterfaceRequests();
}

void Corvane_SingleComponentEffect::takeInterfaceRequests() noexcept
{
    const bool graph = graphModeActive.load(std::memory_order_relaxed);
    if (graph != engineGraphMode) {
        engineGraphMode = graph;
        dspObject.set_auto_mode(!graph);
        // Graph mode's frames carry the retune speed of their objects: the
        // engine follows each frame's wanted period at once. Auto mode takes
        // its own again.
        if (graph) dspObject.set_retune(0.0, 0.0);
        retuneStale = !graph;
    }
    // Retune speed and humanize make one smoother; Graph mode takes them
    // from its objects, and Auto mode finds them as last applied.
    if (retuneStale && !engineGraphMode) {
        retuneStale = false;
        dspObject.set_retune(double(int64_t(appliedPlain(corvane::kRetuneSpeed))),
                             double(int64_t(appliedPlain(corvane::kHumanize))));
    }
    const uint32_t clears = clearGeneration.load(std::memory_order_acquire);
    if (clears != engineClearGeneration) {
        engineClearGeneration = clears;
        clearAllData();
    }
    const uint32_t marks = marksGeneration.load(std::memory_order_acquire);
    const int held = heldKeyboardNote.load(std::memory_order_relaxed);
    if (marks != engineMarksGeneration || held != engineHeldNote) {
        engineMarksGeneration = marks;
        engineHeldNote = held;
        noteTableStale = true;
    }
    if (noteTableStale) {
        // Built without allocating, from the scale, key and detune the
        // engine has and the marks as they stand.
        noteTableStale = false;
        const double rate = processSetup.sampleRate > 0.0 ? processSetup.sampleRate : 44100.0;
        noteTable.build(scaleState, engineScale, engineKey, engineDetune, rate, engineHeldNote);
        noteTable.apply(dspObject);
    }
}

void Corvane_SingleComponentEffect::processParameterChanges(IParameterChanges* changes) noexcept
{
    // The first step of a block. The tracked data is left alone for the
    // whole block while setState replaces it; both sides order their flags
    // sequentially consistently, so one of them always sees the other's.
    storeInUse.store(true);
    trackedDataSuspended = storeClosed.load();
    dspObject.set_tracked_data_suspended(trackedDataSuspended);
    VST3_SingleComponentEffect::processParameterChanges(changes);
    takeInterfaceRequests();
}

void Corvane_SingleComponentEffect::processOutputParameterChanges(IParameterChanges* /*changes*/) noexcept
{
    // The last step of a block.
    storeInUse.store(false, std::memory_order_release);
}

void Corvane_SingleComponentEffect::processEvents(IEventList* events) noexcept
{
    if (events == nullptr) return;
    const int32 count = events->getEventCount();
    bool changed = false;
    for (int32 i = 0; i < count; ++i) {
        Event e{};
        if (events->getEvent(i, e) != kResultOk) continue;
        int velocity;
        int pitch;
        if (e.type == Event::kNoteOnEvent) {
            velocity = int(e.noteOn.velocity * 127.0f);
            pitch = e.noteOn.pitch & 0xFF;
        } else if (e.type == Event::kNoteOffEvent) {
            velocity = 0;
            pitch = e.noteOff.pitch & 0xFF;
        } else {
            continue;
        }
        if (pitch < Scale_State::lowest_note || pitch > 96) continue;
        if (engineGraphMode) {
            // Recorded beside the pitch while tracking, up to a number per run.
            if (pitchTrackingActive && recordedNotes < maxRecordedNotes) {
                const int64_t time = int64_t(e.sampleOffset) / dspObject.get_decimation_factor();
                if (dspObject.queue_midi(velocity == 0 ? frame_tracker::note_off_tag : uint16_t(pitch), time))
                    ++recordedNotes;
            }
            continue;
        }
        changed |= midiNoteToScale(pitch, velocity);
    }
    // Only the marks moved: the table is rebuilt from them, and the panel's
    // timer redraws them.
    if (changed) {
        noteTableStale = true;
        takeInterfaceRequests();
        scaleMarksPending.store(true, std::memory_order_relaxed);
    }
}

bool Corvane_SingleComponentEffect::midiNoteToScale(int pitch, int velocity) noexcept
{
    const int32 mode = midiScaleMode.load(std::memory_order_relaxed);
    if (mode != corvane::kMidiLearnScale && mode != corvane::kMidiTargetNotes) return false;
    if (mode == corvane::kMidiLearnScale && velocity == 0) return false; // learning ignores releases
    const uint8_t removed = velocity == 0 ? 1 : 0;
    // The note folded into the octave above middle C, relative to the key.
    const int key = engineKey;
    int n = pitch - key;
    while (n < 60) n += 12;
    while (n > 71) n -= 12;
    const int pc = n - 60;
    if (!midiOctavesAll) {
        scaleState.setKeyRemoved(pitch - Scale_State::lowest_note, scale_chromatic, removed);
    } else {
        // The row and every key of its pitch class.
        scaleState.setRowRemoved(pc, key, scale_chromatic, removed);
    }
    return true;
}

void Corvane_SingleComponentEffect::setCorrectionMode(bool graph)
{
    graphModeActive.store(graph, std::memory_order_relaxed);
    requestFromInterface();
}

namespace {

// Sets flush-to-zero and denormals-are-zero for its lifetime and restores the
// thread's floating-point control word after; audio thread.
class FlushDenormals {
public:
#if defined(__SSE2__)
    FlushDenormals() noexcept : saved(_mm_getcsr()) { _mm_setcsr(saved | 0x8040u); }
    ~FlushDenormals() { _mm_setcsr(saved); }

private:
    unsigned int saved;
#else
    FlushDenormals() noexcept {}
#endif
};

} // namespace

void Corvane_SingleComponentEffect::processAudio(ProcessData& data) noexcept
{
    processCalled = true;
    int64_t position = 0;
    bool positionValid = false;
    if (audioStore) audioStore->setOffline(data.processMode == kOffline);
    clockStep(data, position, positionValid);

    AudioBusBuffers& input = data.inputs[0];
    AudioBusBuffers& output = data.outputs[0];
    if (input.channelBuffers32 == nullptr || output.channelBuffers32 == nullptr ||
        input.numChannels < 1 || output.numChannels < 1)
        return;

    const bool stereoIn = stereoInput && input.numChannels >= 2;
    const bool stereoOut = stereoOutput && output.numChannels >= 2;
    const float* in[2] = {input.channelBuffers32[0],
                          stereoIn ? input.channelBuffers32[1] : nullptr};
    float* out[2] = {output.channelBuffers32[0],
                     stereoOut ? output.channelBuffers32[1] : nullptr};

    // The engine runs with denormals flushed to zero, on input and output;
    // the host's own setting comes back when the block is done.
    const FlushDenormals flush;
    const int64_t limit = dspObject.get_max_block();
    int64_t remaining = data.numSamples;
    while (remaining > 0) {
        const int64_t n = remaining < limit ? remaining : limit;
        dspObject.process(in, out, n);
        in[0] += n;
        out[0] += n;
        if (stereoIn) in[1] += n;
        if (stereoOut) out[1] += n;
        remaining -= n;
    }

    // The output is silent once the input has been flagged silent for longer
    // than the delay path and the rate filters hold sound.
    const uint64 inputMask = (uint64(1) << (stereoIn ? 2 : 1)) - 1;
    if ((input.silenceFlags & inputMask) == inputMask) {
        silentInputSamples = std::min<int64_t>(silentInputSamples + data.numSamples, INT64_MAX / 2);
    } else {
        silentInputSamples = 0;
    }
    const bool silent = silentInputSamples > int64_t(latencySamples) + silenceTail;
    output.silenceFlags = silent ? (uint64(1) << (stereoOut ? 2 : 1)) - 1 : 0;

    if (engineGraphMode && !trackedDataSuspended) markBarAndBeat(data, position, positionValid);
}

void Corvane_SingleComponentEffect::applyParameter(VST3_BaseParameter* parameter, ParamID id,
                                                   int32 /*sampleOffset*/, ParamValue value) noexcept
{
    const double plain = parameter->toPlain(value);
    switch (id) {
    // Rows that join several parameters are resolved once the whole batch
    // is in.
    case corvane::kScale:
    case corvane::kKey:
    case corvane::kDetune: noteTableStale = true; break;
    case corvane::kRetuneSpeed:
    case corvane::kHumanize: retuneStale = true; break;
    case corvane::kTracking:
    case corvane::kInputType: trackingStale = true; break;
    case corvane::kVibratoShape: dspObject.set_vibrato_shape(int(plain)); break;
    case corvane::kVibratoPitch: dspObject.set_vibrato_pitch(plain); break;
    case corvane::kVibratoRate: {
        // Thousandths of a vibrato cycle per tracked frame, in single precision.
        const float rate = float(processSetup.sampleRate);
        const float frame = float(getSamplesPerFrame());
        dspObject.set_vibrato_rate(double(1000.0f / (rate / (float(plain) * frame))));
        break;
    }
    case corvane::kIgnoreVibrato: dspObject.set_ignore_vibrato(plain != 0.0); break;
    case corvane::kOnsetDelay: dspObject.set_vibrato_delay(double(int64_t(plain))); break;
    case corvane::kVibratoAmplitude: dspObject.set_vibrato_amplitude(double(int64_t(plain))); break;
    case corvane::kVibratoFormant: dspObject.set_vibrato_formant(double(int64_t(plain))); break;
    case corvane::kVibratoVariation: dspObject.set_vibrato_variation(double(int64_t(plain))); break;
    case corvane::kOnsetRate: dspObject.set_vibrato_onset(double(int64_t(plain))); break;
    case corvane::kNaturalVibrato: dspObject.set_natural_vibrato(plain); break;
    case corvane::kUseFormants: dspObject.set_formants(plain != 0.0); break;
    // The throat length in percent of the natural tube.
    case corvane::kThroatLength: dspObject.set_throat_ratio(plain / 100.0); break;
    case corvane::kTranspose: dspObject.set_transpose(int(plain)); break;
    case corvane::kEnableTimeWarping: dspObject.set_time_warping(plain != 0.0); break;
    case corvane::kLRRef: dspObject.set_reference_channel(uint16_t(plain)); break;
    case corvane::kMIDIOctaves: midiOctavesAll = plain != 0.0; break;
    case corvane::kClockSource: hostClock = plain == 1.0; break;
    // Tracking starts on a press and stops when the button is let go of.
    case corvane::kTrackPitch:
    case corvane::kTrackPitchAndTime:
        if (plain == 1.0 && !pitchTrackingActive) startTracking(id == corvane::kTrackPitchAndTime);
        else if (id == corvane::kTrackPitch ? (value == 0.0 && pitchTrackingActive)
                                             : (plain == 0.0 && pitchAndTimeTrackingActive))
            stopTracking();
        break;
    case corvane::kClearAllData:
        if (plain == 1.0) clearAllData();
        break;
    case corvane::kResetClocks:
        if (plain == 1.0) {
            stopClock();
            lastBlockPosition = 0;
            lastBlockSamples = 0;
        }
        break;
    case corvane::kBypass: dspObject.set_bypass(plain != 0.0); break;
    default: break;
    }
}

void Corvane_SingleComponentEffect::resolveJoinedSettings() noexcept
{
    if (noteTableStale) {
        engineScale = int(appliedPlain(corvane::kScale));
        if (engineScale < 0 || engineScale >= scale_count) engineScale = scale_chromatic;
        engineKey = ((int(appliedPlain(corvane::kKey)) % 12) + 12) % 12;
        engineDetune = int(appliedPlain(corvane::kDetune));
        dspObject.set_detune(engineDetune);
        // The key's texts follow the spelling of the scale the engine has.
        auto* key = static_cast<VST3_MultiStringArrayParameter*>(parameterAt(corvane::kKey));
        if (key) key->setCurrentArray(corvane::keySpellingOf(engineScale));
    }
    if (trackingStale) {
        trackingStale = false;
        dspObject.set_tracking(appliedPlain(corvane::kTracking), int(appliedPlain(corvane::kInputType)));
    }
    takeInterfaceRequests();
}
