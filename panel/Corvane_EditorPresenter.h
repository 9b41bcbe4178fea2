#pragma once

#include <cstddef>
#include <cstdint>

#include "Common_VST3/VST3_VST3Editor.h"
#include "options/platform/Corvane_SheetPlatform.h"
#include "panel/Corvane_EffectAccess.h"
#include "panel/Corvane_PanelOwner.h"
#include "panel/Corvane_ViewRegistry.h"
#include "vstgui/lib/vstkeycode.h"

namespace VSTGUI {
class CControl;
class IController;
class VST3Editor;
} // namespace VSTGUI

// The presenter of the effect's editor: builds the panel, keeps the view
// registry while it is open, runs the panel's timer work (repeats, flashing
// buttons, pitch displays, the keyboard's current note, the meter), answers
// the number keys and turns parameter changes into what the views show.
// The effect owns it for its whole life and forwards its editor entry points
// here; the presenter reaches the effect only through Corvane_EffectAccess.
//
// Every operation: interface thread. The audio thread never calls it.
class Corvane_EditorPresenter : public Corvane_PanelOwner {
public:
    using int32 = Steinberg::int32;
    using ParamID = Steinberg::Vst::ParamID;

    // Keeps the reference only: the effect may still be under construction.
    explicit Corvane_EditorPresenter(Corvane_EffectAccess& effect);
    ~Corvane_EditorPresenter() override;

    //--- The editor's lifetime.
    // "editor" gives a new editor of the panel at the kept window size, on
    // the controller given, telling `sizeOwner` of new sizes; any other
    // name, or a UI description that cannot be read, gives null.
    Steinberg::IPlugView* createView(Steinberg::FIDString name, Steinberg::Vst::EditController* controller,
                                     VST3_EditorOwner* sizeOwner);
    // "Corvane_SubController" gives the panel's sub-controller; other names
    // null.
    VSTGUI::IController* createSubController(VSTGUI::UTF8StringPtr name, VSTGUI::VST3Editor* editor);
    // The panel is built and open: the views show the parameters as they
    // stand, and a mode that reached only the engine side while the panel
    // was closed is taken as the user's, so that switch and page agree.
    void didOpen();
    // The panel closes: a key held on the keyboard is let go and the
    // registry empties.
    void willClose();
    // The window's size, kept for the next opening within 850..4000 by
    // 630..4000.
    void editorResized(int32 width, int32 height);
    int32 getWindowWidth() const { return windowWidth; }
    int32 getWindowHeight() const { return windowHeight; }

    //--- Keys.
    // The number keys run their commands in Graph mode: 1 when taken, -1
    // for a key that goes on to the frame. The release of a bound key is
    // taken too.
    int32_t onKeyDown(const VstKeyCode& code);
    int32_t onKeyUp(const VstKeyCode& code);
    // Runs a command of the key command table, as if its control had been
    // used; false for a row without an action.
    bool runKeyCommand(int command);

    //--- The timer.
    // One tick of the panel, `tick` counting the effect's timer ticks:
    // scale and key automated while open, flashing buttons, marks written
    // by MIDI, pitch displays, the keyboard's current note and the meter.
    void onTimer(int32 tick);
    // One repeat of a held scale arrow; other held buttons stop repeating
    // while their views are absent.
    void autoRepeat(int32 tag);

    //--- What a change of a parameter does beyond the engine.
    // The panel's dispatch on the parameter's id: views, commands and the
    // effect's modes. Rows that act on views find them absent while the
    // editor is closed and are skipped; null and ids past the panel's rows
    // do nothing.
    void parameterChanged(Steinberg::Vst::Parameter* parameter);
    // Interface thread. A click on the panel's "Clear All": at the next tick
    // the question comes up (not with Shift held), and only a yes presses
    // "Clear All Data" as an edit the host hears.
    void clearAllClicked(bool shiftHeld);
    // Interface thread. A press that turns "Track Pitch" or "Track Pitch
    // and Time" (`id`) on: while the session's data files are missing, the
    // question whether to abandon them comes up at the next tick and true is
    // answered (the press waits for it); otherwise false, and the press goes
    // on as usual.
    bool trackingClicked(Steinberg::Vst::ParamID id);
    // Interface thread. "Paste" pressed on the panel or by its key: with
    // the pitch graph open and objects copied, the paste hint (while the
    // user's options ask for it) and then the graph's paste drag follow at
    // the next tick, and true is answered; otherwise false, and the press
    // pastes at the play position as with the panel closed.
    bool pasteClicked();
    // A gesture on a control begins or ends: the knobs that edit a
    // selection of graph objects keep the edit in progress.
    void controlEditBegun(VSTGUI::CControl* control);
    void controlEditEnded(VSTGUI::CControl* control);
    // The tag of the graph-object knob being edited, or -1.
    int32 getObjectKnobEdit() const { return objectKnobEdit; }
    // After a state was read: the views that show restored values, and the
    // key names' spelling, which goes to the host even while closed.
    void showRestoredState();

    //--- Displays.
    // The detected (0), output (1) and object (2) pitch displays: a pitch in
    // cents (0 is the C below A 440) as the nearest note of the scale and
    // the offset from it, as "A3 +12"; scales without note names show the
    // offset alone. Other values of `which`, and absent labels, do nothing.
    void setPitchDisplay(int which, int cents);
    void clearPitchDisplay(int which);
    void setCursorPositionText(const char* text);
    // The text setPitchDisplay shows, for the scale state given.
    static void pitchDisplayText(const Scale_State& scale, int cents, char* text, size_t size);
    // The note the keyboard shows as current (MIDI note from a pitch in
    // cents, 0 being the C below A 440, with the detune taken off).
    static int currentNoteOf(double cents, int detune);

    //--- Corvane_PanelOwner: what the Auto-mode views ask.
    Corvane_KeyboardView* panelKeyboard() override { return viewRegistry.keyboard; }
    void scaleMarksEdited() override;
    void keyboardNoteHeld(int note) override;

    //--- Dialogs.
    // Runs the options dialog over the open panel on the instance's
    // record; when it is saved the effect and the number keys take the new
    // record, the host is asked for the new window size, and the preferences
    // file is written too when "save as default" is ticked.
    // Returns once the user has answered; false when cancelled or closed.
    bool openOptionsDialog();
    // The dialogs over the open panel (alerts, questions, folder chooser);
    // while the panel is closed they answer at once as if cancelled.
    Corvane_DialogPlatform& getDialogs();
    // Puts the dialog of that name over the frame, as a picture shows it:
    // "options" (the instance's record), "paste-hint", "ibeam-hint",
    // "clear-all", "data-folder" (the session's folder). False for any other
    // name.
    bool showDialogForSnapshot(VSTGUI::CFrame* frame, const char* dialog);

    // The open panel's views by name; every field null while closed.
    Corvane_ViewRegistry& getViewRegistry() { return viewRegistry; }
    Corvane_EffectAccess& getEffect() { return effect; }

private:
    // The pitch graph as the panel opens: its objects, its settings and the
    // read-outs of the pointer.
    void showPitchGraph();
    // The piano strip's note names in the spelling of the scale and key,
    // and the pitch graph's lanes of the scale's notes.
    void showGraphNoteNames();
    // The views that show a parameter's consequence, as the values stand.
    void showCorrectionPage();
    void showThroatLength();
    void showDetuneHertz();
    // Tells views and host that the names of the keys changed spelling.
    void keySpellingChanged();
    // The scales list and the keyboard show the scale object as it stands.
    void showScaleMarks();
    // The marks changed by the panel reach the views and the engine.
    void pushScaleEdits();
    // One step of the scales list (the scale arrows); re-sends scale and key
    // when it moved.
    void stepScalesList(ParamID id);
    // Readies the Chromatic scale's marks for MIDI note entry in the key:
    // every note removed, so that the notes played make the scale.
    void prepareMidiNoteEntry(int key);
    // The keyboard and the meter as the engine's last status gives them.
    void showCurrentNote(double outputCents, bool voiced);
    void showPitchChange(double cents);

    Corvane_EffectAccess& effect;
    Corvane_ViewRegistry viewRegistry;
    int32 windowWidth = 850;
    int32 windowHeight = 630;
    // The commands of the keys "1" to "9" and "0", rows of the key command
    // table.
    int32 keyBindings[10] = {};
    int32 objectKnobEdit = -1;
    // The key names' spelling last announced, or -1.
    int32 keySpelling = -1;
    // The editor of the open panel, null while closed.
    VSTGUI::VST3Editor* openEditor = nullptr;
    Corvane_SheetPlatform dialogs;
    // The form an options sheet put up for a picture shows; it outlives the
    // sheet.
    Corvane_OptionsForm snapshotForm;
    // What a data folder sheet put up for a picture would write to.
    int snapshotFolderButton = -1;
    std::string snapshotFolderName;
    // "Options" or "Data Folder Settings" was pressed: the dialog opens from
    // the next tick, outside the button's own event.
    bool optionsRequested = false;
    bool dataFolderRequested = false;
    // A click on "Clear All", answered at the next tick; Shift held skips
    // the question.
    bool clearAllRequested = false;
    bool clearAllShift = false;
    // A tracking button (its id) waiting for the missing-files question; 0
    // for none.
    Steinberg::Vst::ParamID trackingRequested = 0;
    bool pasteRequested = false;
    // The I-beam's hint comes up once in an instance, after the first range
    // dragged with the tool.
    bool ibeamHintRequested = false;
    bool ibeamHintOffered = false;
    // The engine's frame at the last tick.
    int64_t lastPlayFrame = 0;
    // The pitch graph's read-outs are in the pitch displays.
    bool graphReadoutShown = false;
    // Frames tracked at the last tick, for the whole-take strip.
    int64_t lastTrackedEnd = 0;
};
