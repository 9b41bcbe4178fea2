#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "graph/model/ObjectMaking.h"

#include "panel/Corvane_ParameterIds.h"
#include "pluginterfaces/vst/vsttypes.h"

class Scale_State;
struct Corvane_OptionsDlgData;
class Corvane_DataFolderStore;
class VST3_BaseParameter;
class TrackedFrameArray;
class ObjectEditor;
class Corvane_TimeEditTarget;

// What the panel asks of the effect that owns it: the editor presenter and
// the sub-controller reach the effect through this alone. Every operation:
// interface thread; the audio thread never calls into the panel.
class Corvane_EffectAccess {
public:
    virtual ~Corvane_EffectAccess() = default;

    //--- Parameters, by the numbers of Corvane_ParameterIds.h.
    // The parameter of an id, of the host's set or the private one, or null.
    virtual VST3_BaseParameter* panelParameter(Steinberg::Vst::ParamID id) = 0;
    // A plain value put from the program's side: the engine follows, the
    // host hears no edit and the panel's dispatch does not run.
    virtual void putParameter(Steinberg::Vst::ParamID id, double plain) = 0;
    // A plain value set as the user would set it on the panel: the host
    // hears begin, perform and end, then the effect reacts as to a control.
    virtual void editParameter(Steinberg::Vst::ParamID id, double plain) = 0;
    // The texts of a parameter's values changed (the key names took another
    // spelling): the host reads them anew.
    virtual void parameterTextsChanged() = 0;

    //--- The scale.
    // The scale object that the scales list and the keyboard show and edit.
    virtual Scale_State& getScaleState() = 0;
    // The scale and key the panel shows, into the scale object; the key
    // names follow the spelling of the scale.
    virtual void setScaleAndKey(int scale, int key) = 0;
    // The marks of the scale object changed: the engine's note table
    // follows them.
    virtual void scaleMarksChanged() = 0;
    // True once after MIDI notes on the audio thread changed the marks.
    virtual bool takeMidiMarksChanged() = 0;
    // A key of the keyboard is held in momentary mode (MIDI note 19 to 96)
    // or let go (-1, or any note off the keyboard).
    virtual void keyboardNoteHeld(int note) = 0;

    //--- Modes.
    // Auto (false) or Graph (true) correction.
    virtual bool isGraphMode() const = 0;
    virtual void setCorrectionMode(bool graph) = 0;
    // What MIDI notes do in Auto mode, a corvane::MidiScaleMode. The panel
    // is the only writer.
    virtual Steinberg::int32 getMidiScaleMode() const = 0;
    virtual void setMidiScaleMode(Steinberg::int32 mode) = 0;

    //--- The engine, for the displays.
    // The correction ratio in force (present period over wanted period, 1.0
    // while idle) and the detected period in host samples (0.0 while idle),
    // as the engine last published them.
    virtual void getPitchStatus(double& ratio, double& period) const = 0;
    // The host's sample rate in hertz; 0 before the first set-up.
    virtual double getSampleRate() const = 0;

    //--- Graph mode's data, for the graph views.
    // The tracked frames, which the audio thread writes while it tracks
    // (null while the effect shows none), and host samples per frame.
    virtual TrackedFrameArray* graphFrames() { return nullptr; }
    // A named control of the panel changed its parameter: the effect's own
    // commands (the correction objects') run, then the presenter's dispatch.
    virtual void panelControlChanged(Steinberg::Vst::ParamID id) = 0;
    // The frame the engine is at: it moves while the host plays.
    virtual int64_t getPlayFrame() const = 0;
    virtual int64_t getSamplesPerFrame() const { return 200; }
    // The editor of the correction objects, through which every edit of a
    // view goes so that it becomes a history step; null until the effect
    // has set up its objects.
    ObjectEditor* graphObjects() const { return graphObjectEditor; }
    // What a new object takes from the object knobs and the detune, as the
    // effect reads them now.
    NewObjectSettings graphNewObjectSettings() const
    {
        return graphObjectSettings ? graphObjectSettings() : NewObjectSettings();
    }
    // Where the views' time edits go (the time history and the engine's
    // map); null until the effect has set up its objects.
    Corvane_TimeEditTarget* graphTimeEditing() const { return graphTimeTarget; }

    //--- Held buttons. The action of `tag` repeats from the effect's timer
    // through the presenter's autoRepeat, first after firstDelay ticks, then
    // every interval ticks.
    virtual void startAutoRepeat(Steinberg::int32 tag, Steinberg::int32 firstDelay,
                                 Steinberg::int32 interval) = 0;
    virtual void stopAutoRepeat() = 0;
    // The tag that repeats, or -1.
    virtual Steinberg::int32 getRepeatingTag() const = 0;

    //--- The user's options.
    // The instance's own record, which the options dialog edits.
    virtual Corvane_OptionsDlgData& userOptions() = 0;
    // The record changed: the effect's settings that follow it take it.
    virtual void userOptionsChanged() = 0;

    // The session's data folder, for its dialog and its flashing button.
    virtual Corvane_DataFolderStore& dataFolder() = 0;
    virtual std::string defaultDataParent() const = 0;
    // True while the session's data files are not where it expects them.
    virtual bool dataFilesMissing() const = 0;

protected:
    // Set by the effect as it sets up its correction objects.
    ObjectEditor* graphObjectEditor = nullptr;
    Corvane_TimeEditTarget* graphTimeTarget = nullptr;
    std::function<NewObjectSettings()> graphObjectSettings;
};
