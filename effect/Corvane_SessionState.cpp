// The session state of the effect: what getState writes and setState reads.
//
// Current stream, big-endian, version 10 (9 is read the same way):
//   1. int32 stateVersion
//   2. the parameters: int32 count, then (int32 id, double normalized)
//   3. settings no parameter holds: int32 undo depth, int32 capacity
//      setting, int16 custom cursors, int32 knob style, int32 knob mode
//   4. graph placement: int64 horizontal scale, int64 vertical position,
//      int16 horizontal position, int16 vertical scale
//   5. the engine: tracked frames (uint32 byte count, then the frames) and
//      the audio store (uint32 0 for none)
//   6. the scale object's marks
//   7. the object history: uint32 step count; when above 0 the working
//      list, then per step a byte (1: a list follows, 0: none) and the
//      list; int32 current index (lists as ObjectRecord_stream.h writes them)
//   8. the time history: uint32 step count, then per step a uint32 pair
//      count and float pairs (source, target), int32 current index; the
//      old stream holds the same form

#include <cstring>
#include <thread>

#include "effect/Corvane_Parameters.h"
#include "effect/Corvane_SingleComponentEffect.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

// The first word of a stream behind the older plug-in format's header.
constexpr int32 kLegacyMarker = 0x56737457; // "VstW"
constexpr uint32 kLegacyHeaderRest = 212;
constexpr uint32 kForeignHeader = 40;
constexpr int32 kOldVersion = 8;
constexpr int kLegacyWords = 42;

// The scale object's marks through the streamer.
class Streamer_Reader : public Byte_Reader {
public:
    explicit Streamer_Reader(IBStreamer& s) : streamer(s) {}
    bool read_bytes(void* data, size_t size) override
    {
        return streamer.readRaw(data, TSize(size)) == TSize(size);
    }

private:
    IBStreamer& streamer;
};

class Streamer_Writer : public Byte_Writer {
public:
    explicit Streamer_Writer(IBStreamer& s) : streamer(s) {}
    bool write_bytes(const void* data, size_t size) override
    {
        return streamer.writeRaw(data, TSize(size)) == TSize(size);
    }

private:
    IBStreamer& streamer;
};

bool skipBytes(IBStreamer& streamer, uint32 count)
{
    return streamer.skip(count);
}

bool writeObjectList(Byte_Writer& out, const ObjectList& list) { return objectStream::writeList(out, list); }
bool readObjectList(Byte_Reader& in, ObjectList& list) { return objectStream::readList(in, list); }
bool readOlderObjectList(Byte_Reader& in, uint32_t bytes, ObjectList& list)
{
    return objectStream::readOlderList(in, bytes, list);
}

} // namespace

// Always the current form, whatever stateVersion a refused stream left
// behind: a project saved after a failed load must still open.
int32 Corvane_SingleComponentEffect::writtenStateVersion() const
{
    return 10;
}

bool Corvane_SingleComponentEffect::writeState(IBStreamer& streamer)
{
    if (!VST3_SingleComponentEffect::writeState(streamer) || !writeSettings(streamer)) return false;
    // Graph placement.
    if (!streamer.writeInt64(graphPlacement.horizontalScale) ||
        !streamer.writeInt64(graphPlacement.verticalPosition) ||
        !streamer.writeInt16(graphPlacement.horizontalPosition) ||
        !streamer.writeInt16(graphPlacement.verticalScale))
        return false;
    // The engine: the tracked frames and the audio store.
    Streamer_Writer writer(streamer);
    if (!trackedFrames.writeFrames(writer)) return false;
    if (audioStore ? !audioStore->writeStore(writer) : !streamer.writeInt32u(0)) return false;
    if (!scaleState.write(writer)) return false;
    if (!objectEditor.getHistory().write(writer, writeObjectList)) return false;
    return timeHistory.write(writer);
}

bool Corvane_SingleComponentEffect::writeSettings(IBStreamer& streamer)
{
    return streamer.writeInt32(maxUndos) && streamer.writeInt32(capacitySetting) &&
           streamer.writeInt16(customCursors ? 1 : 0) && streamer.writeInt32(knobStyle) &&
           streamer.writeInt32(knobMode);
}

bool Corvane_SingleComponentEffect::readSettings(IBStreamer& streamer)
{
    int32 undos = 0, capacity = 0, style = 0, mode = 0;
    int16 cursors = 0;
    if (!streamer.readInt32(undos) || !streamer.readInt32(capacity) ||
        !streamer.readInt16(cursors) || !streamer.readInt32(style) || !streamer.readInt32(mode))
        return false;
    // A value out of its range leaves the setting as it was.
    setMaxUndos(undos);
    if (capacity >= 10 && capacity <= 10800) capacitySetting = capacity;
    customCursors = cursors != 0;
    if (style == 0 || style == 4 || style == 5) knobStyle = style;
    if (mode >= 0 && mode <= 2) knobMode = mode;
    return true;
}

bool Corvane_SingleComponentEffect::readGraphPlacement(IBStreamer& streamer, bool wide)
{
    graphPlacementPending = false;
    GraphPlacement placement;
    if (wide) {
        if (!streamer.readInt64(placement.horizontalScale) ||
            !streamer.readInt64(placement.verticalPosition) ||
            !streamer.readInt16(placement.horizontalPosition) ||
            !streamer.readInt16(placement.verticalScale))
            return false;
    } else {
        int32 words[4];
        for (int32& w : words) {
            if (!streamer.readInt32(w)) return false;
        }
        placement.horizontalScale = words[0];
        placement.verticalPosition = words[1];
        placement.horizontalPosition = int16(words[2]);
        placement.verticalScale = int16(words[3]);
    }
    graphPlacement = placement;
    // No graph view exists yet to take it: it waits for one.
    graphPlacementPending = true;
    return true;
}

bool Corvane_SingleComponentEffect::readScaleSection(IBStreamer& streamer)
{
    Streamer_Reader reader(streamer);
    return scaleState.read(reader);
}

bool Corvane_SingleComponentEffect::readTrackedFrames(IBStreamer& streamer, uint32 frameBytes)
{
    Streamer_Reader reader(streamer);
    return trackedFrames.readFrames(reader, frameBytes);
}

bool Corvane_SingleComponentEffect::readTrackedStore(IBStreamer& streamer)
{
    if (!audioStore) return false;
    Streamer_Reader reader(streamer);
    return audioStore->readStore(reader);
}

Corvane_SingleComponentEffect::TrackedDataClosed::TrackedDataClosed(Corvane_SingleComponentEffect& e) : effect(e)
{
    effect.storeClosed.store(true);
    while (effect.storeInUse.load()) std::this_thread::yield();
    if (effect.audioStore) effect.audioStore->stop();
}

Corvane_SingleComponentEffect::TrackedDataClosed::~TrackedDataClosed()
{
    if (effect.audioStore) effect.audioStore->start();
    effect.storeClosed.store(false);
}

void Corvane_SingleComponentEffect::pushScaleFromParameters()
{
    auto plainOf = [this](ParamID id) {
        VST3_BaseParameter* p = baseParameter(id);
        return p ? p->toPlain(p->getNormalized()) : 0.0;
    };
    setScaleAndKey(int(int16_t(plainOf(corvane::kScale))), int(int16_t(plainOf(corvane::kKey))));
    scaleState.detune = int16_t(plainOf(corvane::kDetune));
}

void Corvane_SingleComponentEffect::setMaxUndos(int32 count)
{
    if (count < 1) return;
    maxUndos = objectEditor.getHistory().setMaxUndos(count > 20 ? 20 : count);
    timeHistory.setMaxSteps(maxUndos);
}

void Corvane_SingleComponentEffect::refreshAfterState()
{
    // Whatever part of the stream was read, the scale object shows the
    // scale, key and detune of the parameters, and the marks read, all or
    // some, reach the engine's note table.
    pushScaleFromParameters();
    scaleMarksChanged();
    // The frames play what the object list in force says, from the next
    // frame on, and the engine reads the take through the time map in force.
    objectEditor.applyAll();
    publishTimeMap();
    // Views that show restored values; while no editor is open the registry
    // is empty and only the key names' spelling goes out.
    editorPresenter.showRestoredState();
}

tresult PLUGIN_API Corvane_SingleComponentEffect::setState(IBStream* state)
{
    tresult result = kResultFalse;
    if (state != nullptr) {
        // The tracked data is replaced with the audio thread out of it and
        // the disk thread stopped; the store's files are opened again after.
        TrackedDataClosed closed(*this);
        IBStreamer streamer(state, kLittleEndian);
        streamer.setByteOrder(kBigEndian);
        bool good = false;
        if (legacyHeaderMode > 0) {
            good = skipBytes(streamer, kForeignHeader) && readOldStream(streamer);
        } else {
            int32 first = 0;
            if (streamer.readInt32(first)) {
                if (first == kLegacyMarker) {
                    good = skipBytes(streamer, kLegacyHeaderRest) && readOldStream(streamer);
                } else {
                    stateVersion = first;
                    good = (first == 9 || first == 10) && readCurrentStream(streamer, first);
                }
            }
        }
        if (good) {
            if (VST3_BaseParameter* mode = baseParameter(corvane::kCorrectionMode))
                setCorrectionMode(mode->toPlain(mode->getNormalized()) != 0.0);
            result = kResultOk;
        }
    }
    refreshAfterState();
    return result;
}

bool Corvane_SingleComponentEffect::readCurrentStream(IBStreamer& streamer, int32 /*version*/)
{
    // Versions 9 and 10 share every section's form.
    if (!readParameters(streamer) || !readSettings(streamer) || !readGraphPlacement(streamer, true) ||
        !readTrackedFrames(streamer, TrackedFrame::streamBytes) || !readTrackedStore(streamer) ||
        !readScaleSection(streamer))
        return false;
    pushScaleFromParameters();
    Streamer_Reader reader(streamer);
    return objectEditor.getHistory().read(reader, readObjectList) && timeHistory.read(reader);
}

bool Corvane_SingleComponentEffect::readOldStream(IBStreamer& streamer)
{
    int32 version = 0, second = 0, third = 0;
    if (!streamer.readInt32(version) || version != kOldVersion || !streamer.readInt32(second) ||
        !streamer.readInt32(third))
        return false;
    int32 words[kLegacyWords];
    for (int32& w : words) {
        if (!streamer.readInt32(w)) return false;
    }
    applyLegacySettings(words);
    if (!readScaleSection(streamer)) return false;
    pushScaleFromParameters();
    Streamer_Reader reader(streamer);
    return objectEditor.getHistory().readOlder(reader, readOlderObjectList) && timeHistory.read(reader) &&
           readTrackedFrames(streamer, TrackedFrame::olderStreamBytes) && readGraphPlacement(streamer, false) &&
           readTrackedStore(streamer);
}

void Corvane_SingleComponentEffect::applyLegacySettings(const int32 (&words)[42])
{
    // Word index to parameter id, in the order the words are applied; -1
    // marks the words with a rule of their own.
    static const struct {
        int word;
        ParamID id;
    } plainWords[] = {
        {0, corvane::kScale},         {1, corvane::kKey},           {2, corvane::kDetune},
        {3, corvane::kRetuneSpeed},   {5, corvane::kVibratoShape},  {6, corvane::kVibratoPitch},
        {7, corvane::kVibratoRate},   {8, corvane::kAutoScroll},    {9, corvane::kTracking},
        {11, corvane::kGraphTools},   {14, corvane::kTieEnvelope},  {15, corvane::kInputType},
        {16, corvane::kLRRef},        {18, corvane::kLearnScale},   {19, corvane::kTargetNotes},
        {20, corvane::kIgnoreVibrato}, {21, corvane::kOnsetDelay},  {22, corvane::kVibratoAmplitude},
        {23, corvane::kVibratoFormant}, {24, corvane::kVibratoVariation}, {25, corvane::kOnsetRate},
        {26, corvane::kMIDIOctaves},  {27, corvane::kCorrectionMode}, {28, corvane::kKeyboardEdits},
        {29, corvane::kKeyboardMode}, {30, corvane::kHumanize},     {31, corvane::kNaturalVibrato},
        {32, corvane::kSnapToNote},   {33, corvane::kClockSource},  {35, corvane::kUseFormants},
        {36, corvane::kShowLanes},    {37, corvane::kThroatLength}, {38, corvane::kTranspose},
        {39, corvane::kShowMIDI},     {40, corvane::kTimeDisplay},  {41, corvane::kEnableTimeWarping},
    };
    for (const auto& w : plainWords) {
        double value = double(words[w.word]);
        if (w.word == 7) value /= 10.0;                                      // tenths of a hertz
        if (w.word == 14) value = words[14] != 0 && words[13] == 0 ? 1.0 : 0.0; // with word 13
        setParameterPlain(w.id, value);
    }
    // Undo depth, capacity setting, custom cursors, knob style.
    if (words[10] != maxUndos) setMaxUndos(words[10]);
    if (words[12] != capacitySetting && words[12] >= 10 && words[12] <= 10800) capacitySetting = words[12];
    customCursors = words[17] != 0;
    const bool styled = words[34] == 2 || words[34] == 3;
    knobStyle = styled ? 4 : 0;
    knobMode = styled ? 2 : 0;
}
