#include "panel/Corvane_EditorPresenter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "Common_VST3/VSTGUI4_Controls.h"
#include "Common_VST3/VSTGUI4_DoubleClickKnob.h"
#include "Common_VST3/VSTGUI4_FlashingButtons.h"
#include "Common_VST3/VST3_MultiStringArrayParameter.h"
#include "Common_VST3/utilities.h"
#include "dsp/Scale_State.h"
#include "dsp/scale_tables.h"
#include "Common_VST3/VSTGUI4_Scrollbars.h"
#include "graph/views/Corvane_Cursors.h"
#include "graph/views/Corvane_GraphContainerView.h"
#include "graph/views/Corvane_GraphView.h"
#include "graph/model/ObjectEditor.h"
#include "graph/model/TrackedFrameArray.h"
#include "graph/views/Corvane_EnvelopeGraphView.h"
#include "graph/views/Corvane_KeyboardGraphView.h"
#include "graph/views/Corvane_MainGraphView.h"
#include "options/Corvane_FolderDlg.h"
#include "options/Corvane_Hints.h"
#include "options/Corvane_OptionsDlg.h"
#include "options/Corvane_PreferencesFile.h"
#include "panel/Corvane_KeyCommands.h"
#include "panel/Corvane_KeyboardView.h"
#include "panel/Corvane_MeterView.h"
#include "panel/Corvane_ScalesListView.h"
#include "panel/Corvane_SubController.h"
#include "vstgui/lib/controls/coptionmenu.h"
#include "vstgui/lib/controls/cparamdisplay.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

constexpr char editorTemplate[] = "Corvane_Editor";
constexpr char editorDescription[] = "Corvane_Editor.uidesc";
constexpr char subControllerName[] = "Corvane_SubController";

constexpr int32 minWindowWidth = 850;
constexpr int32 minWindowHeight = 630;
constexpr int32 maxWindowSize = 4000;
// Timer ticks between two updates of the pitch displays: fast enough to
// follow a voice, slow enough to be read.
constexpr int32 pitchDisplayTicks = 4;
// Ticks between the phases of the data folder button's flash: half a second.
constexpr int32 folderFlashTicks = 25;
// Held scale arrows: the first repeat after this many timer ticks, then one
// every repeatInterval ticks.
constexpr int32 repeatFirstDelay = 10;
constexpr int32 repeatInterval = 2;

// Gives a label a text, redrawing it only when the text changes.
void setLabel(VSTGUI::CTextLabel* label, const char* text)
{
    if (label == nullptr || std::strcmp(label->getText(), text) == 0) return;
    label->setText(text);
    label->invalid();
}

void showView(VSTGUI::CView* view, bool shown)
{
    if (view == nullptr) return;
    view->setVisible(shown);
    view->setMouseEnabled(shown);
}

// The pitch graph's canvas as the panel opens: its scrollbars, the tracked
// frames, the tool, the ruler, the cursors and the user's way of scrolling;
// pitches around A 440 in sight.
void showGraphCanvas(Corvane_ViewRegistry& views, Corvane_EffectAccess& effect)
{
    Corvane_GraphView* canvas = views.graphCanvas;
    if (canvas == nullptr) return;
    // The cursor pictures are read once, from the bundle's resources.
    static const Corvane_CursorSet cursors;
    const Corvane_OptionsDlgData& options = effect.userOptions();
    canvas->setCursors(&cursors, options.useCursors);
    canvas->setScrollByCopy(options.scrollMethod);
    if (auto* tool = effect.panelParameter(corvane::kGraphTools))
        canvas->setTool(int32(tool->toPlain(tool->getNormalized())));
    if (auto* display = effect.panelParameter(corvane::kTimeDisplay))
        canvas->setShowingBarsAndBeats(display->toPlain(display->getNormalized()) == 1.0);
    canvas->setZoom({1.0, 4.0});
    canvas->setScrollOffset({0.0, double(Corvane_GraphView::topCents - 900) - canvas->getHeight() * 2.0});
    canvas->setScrollbars(views.horizontalScrollbar, views.verticalScrollbar);
    canvas->setFrames(effect.graphFrames(), effect.getSamplesPerFrame(), effect.getSampleRate());
}

// One step of a graph arrow: scroll by the canvas's line step.
void stepGraphCanvas(Corvane_GraphView* canvas, Steinberg::Vst::ParamID id)
{
    if (canvas == nullptr) return;
    switch (id) {
    case corvane::kGraphScrollUp: canvas->scrollUp(0); break;
    case corvane::kGraphScrollDown: canvas->scrollDown(0); break;
    case corvane::kGraphScrollLeft: canvas->scrollLeft(0); break;
    case corvane::kGraphScrollRight: canvas->scrollRight(0); break;
    default: break;
    }
}

// The zoom buttons: halve or double the units per pixel about the middle.
void zoomGraphCanvas(Corvane_GraphView* canvas, Steinberg::Vst::ParamID id)
{
    if (canvas == nullptr) return;
    int32_t visible = 0;
    bool zoomed = false;
    switch (id) {
    case corvane::kHZoomIn: zoomed = canvas->zoomInHorizontal(visible); break;
    case corvane::kHZoomOut: zoomed = canvas->zoomOutHorizontal(visible); break;
    case corvane::kVZoomIn: zoomed = canvas->zoomInVertical(visible); break;
    case corvane::kVZoomOut: zoomed = canvas->zoomOutVertical(visible); break;
    default: break;
    }
    if (!zoomed) return;
    canvas->refresh(true, true, false);
    canvas->updateThumbs();
}

int64_t floorDiv(int64_t a, int64_t b)
{
    const int64_t q = a / b;
    return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

} // namespace

Corvane_EditorPresenter::Corvane_EditorPresenter(Corvane_EffectAccess& effect) : effect(effect)
{
    std::copy(std::begin(corvane_default_key_bindings), std::end(corvane_default_key_bindings), keyBindings);
}

Corvane_EditorPresenter::~Corvane_EditorPresenter() = default;

//--- The editor's lifetime.

IPlugView* Corvane_EditorPresenter::createView(FIDString name, EditController* controller,
                                               VST3_EditorOwner* sizeOwner)
{
    if (name == nullptr || std::strcmp(name, ViewType::kEditor) != 0) return nullptr;
    VSTGUI4_registerControls();
    Corvane_GraphContainerView_register();
    VSTGUI4_registerScrolling();
    Corvane_GraphView_register();
    Corvane_KeyboardView_register();
    Corvane_ScalesListView_register();
    Corvane_MeterView_register();
    auto* editor = new VST3_VST3Editor(controller, sizeOwner, editorTemplate, editorDescription);
    if (!editor->getLastError().empty()) {
        std::fprintf(stderr, "Corvane: the panel cannot be opened: %s\n", editor->getLastError().c_str());
        editor->release();
        return nullptr;
    }
    ViewRect size(0, 0, windowWidth, windowHeight);
    editor->checkSizeConstraint(&size);
    editor->onSize(&size);
    return editor;
}

VSTGUI::IController* Corvane_EditorPresenter::createSubController(VSTGUI::UTF8StringPtr name,
                                                                 VSTGUI::VST3Editor* editor)
{
    if (name == nullptr || std::strcmp(name, subControllerName) != 0) return nullptr;
    openEditor = editor;
    return new Corvane_SubController(this, editor);
}

void Corvane_EditorPresenter::didOpen()
{
    const Corvane_OptionsDlgData& options = effect.userOptions();
    std::copy(options.keyBindings(), options.keyBindings() + 10, keyBindings);
    if (auto* mode = effect.panelParameter(corvane::kCorrectionMode)) {
        if ((mode->toPlain(mode->getNormalized()) == 1.0) != effect.isGraphMode()) parameterChanged(mode);
    }
    showCorrectionPage();
    showThroatLength();
    showDetuneHertz();
    if (auto* keyboard = viewRegistry.keyboard) {
        auto* edits = effect.panelParameter(corvane::kKeyboardEdits);
        auto* mode = effect.panelParameter(corvane::kKeyboardMode);
        if (edits) keyboard->setKeyboardEdits(edits->toPlain(edits->getNormalized()) == 1.0);
        if (mode) keyboard->setKeyboardMode(mode->toPlain(mode->getNormalized()) == 1.0);
    }
    showScaleMarks();
    clearPitchDisplay(0);
    clearPitchDisplay(1);
    clearPitchDisplay(2);
    showPitchChange(0.0);
    showGraphCanvas(viewRegistry, effect);
    showPitchGraph();
}

void Corvane_EditorPresenter::showGraphNoteNames()
{
    const Scale_State& scale = effect.getScaleState();
    const int scaleIndex = (scale.scale >= 0 && scale.scale < scale_count) ? scale.scale : scale_chromatic;
    const int key = ((scale.key % 12) + 12) % 12;
    if (Corvane_KeyboardGraphView* keyboard = viewRegistry.keyboardGraphView) {
        const char* names[12];
        for (int note = 0; note < 12; ++note) names[note] = Note_Name(scaleIndex, key, note);
        keyboard->setNoteNames(names, scale.detune);
    }
    if (Corvane_MainGraphView* graph = viewRegistry.mainGraphView) {
        // The semitones above C that the scale's notes fall on, from the key
        // and the intervals (hundredths of a cent): the major, minor and
        // chromatic scales and those of twelve notes lie on semitones.
        bool inScale[12] = {};
        for (int row = 0; row < scale_entries[scaleIndex] - 1; ++row)
            inScale[(key + int(Round_ToInt(float(double(scale_intervals[scaleIndex][row]) / 10000.0)))) % 12] = true;
        auto* lanes = effect.panelParameter(corvane::kShowLanes);
        graph->setLanes(lanes && lanes->toPlain(lanes->getNormalized()) == 1.0,
                        scaleIndex <= scale_chromatic || Is_TwelveNoteScale(scaleIndex) ? inScale : nullptr);
    }
}

void Corvane_EditorPresenter::showPitchGraph()
{
    Corvane_MainGraphView* graph = viewRegistry.mainGraphView;
    if (graph == nullptr) return;
    Corvane_EffectAccess* access = &effect;
    graph->setObjects(effect.graphObjects(), [access] { return access->graphNewObjectSettings(); });
    if (auto* snap = effect.panelParameter(corvane::kSnapToNote))
        graph->setSnapToNote(snap->toPlain(snap->getNormalized()) == 1.0);
    if (auto* detune = effect.panelParameter(corvane::kDetune))
        graph->setPitchOffset(int16_t(detune->toPlain(detune->getNormalized())));
    graph->setShowOutputCurve(effect.userOptions().showOutputCurves);
    graph->setShowTimePosition(effect.userOptions().showVerticalCursor);
    if (auto* midi = effect.panelParameter(corvane::kShowMIDI))
        graph->setShowMidi(midi->toPlain(midi->getNormalized()) == 1.0);
    if (auto* page = viewRegistry.graphModePage) page->setMainView(graph);
    graph->setFollowers(viewRegistry.envelopeGraphView, viewRegistry.keyboardGraphView);
    if (auto* envelope = viewRegistry.envelopeGraphView) {
        envelope->setFrames(effect.graphFrames(), effect.getSamplesPerFrame(), effect.getSampleRate());
        envelope->setMainView(graph);
        if (auto* tie = effect.panelParameter(corvane::kTieEnvelope))
            envelope->setLinkedToMain(tie->toPlain(tie->getNormalized()) == 1.0);
    }
    if (auto* keyboard = viewRegistry.keyboardGraphView) keyboard->setMainView(graph);
    // The effect owns the time history and plays the map; the time tools
    // edit it through the effect's time edit target, and the graph and the
    // strip draw the take through it while "Enable Time Warping" is on.
    graph->setTimeEditing(effect.graphTimeEditing());
    if (auto* warp = effect.panelParameter(corvane::kEnableTimeWarping))
        graph->setTimeControlOn(warp->toPlain(warp->getNormalized()) == 1.0);
    showGraphNoteNames();
    // A take already tracked opens with the pitches sung in the first view
    // in sight: their middle at the middle of the graph.
    if (TrackedFrameArray* frames = effect.graphFrames()) {
        const int64_t end = std::min<int64_t>(frames->trackedEnd(), int64_t(graph->getWidth() * graph->getZoom().x));
        int32_t lowest = INT32_MAX, highest = INT32_MIN;
        for (int64_t i = 0; i < end; ++i) {
            const TrackedFrame f = frames->get(i);
            if (!f.voiced() || f.centsA == TrackedFrame::unvoicedCents) continue;
            lowest = std::min(lowest, (f.centsA + f.centsB) / 2);
            highest = std::max(highest, (f.centsA + f.centsB) / 2);
        }
        if (lowest <= highest) {
            const double middle = double(Corvane_GraphView::topCents) - (double(lowest) + double(highest)) / 2.0;
            const double top = middle - graph->getHeight() / 2.0 * graph->getZoom().y;
            const double zoomY = graph->getZoom().y;
            graph->scrollTo(graph->getScrollOffset().x, std::max(0.0, std::round(top / zoomY) * zoomY));
            graph->refresh(true, true, false);
            graph->updateThumbs();
        }
    }
    // The pitch under the pointer takes the pitch displays from the engine's
    // while the pointer is over the graph.
    graph->setReadoutListener([this](const Corvane_MainGraphView::Readout& r) {
        graphReadoutShown = r.hasInput || r.hasOutput || r.hasTarget || r.position[0] != 0;
        if (r.hasInput) setPitchDisplay(0, r.input); else clearPitchDisplay(0);
        if (r.hasOutput) setPitchDisplay(1, r.output); else clearPitchDisplay(1);
        if (r.hasTarget) setPitchDisplay(2, r.target); else clearPitchDisplay(2);
        setCursorPositionText(r.position[0] ? r.position : " ");
    });
    // The first range dragged with the I-beam in an instance brings up the
    // hint on the double click that selects the whole take.
    graph->setIBeamListener([this] {
        if (ibeamHintOffered) return;
        ibeamHintOffered = true;
        ibeamHintRequested = true;
    });
}

void Corvane_EditorPresenter::willClose()
{
    effect.keyboardNoteHeld(-1);
    viewRegistry = Corvane_ViewRegistry();
    graphReadoutShown = false;
    objectKnobEdit = -1;
    openEditor = nullptr;
    dialogs.setFrame(nullptr);
    optionsRequested = false;
    dataFolderRequested = false;
}

//--- Dialogs.

Corvane_DialogPlatform& Corvane_EditorPresenter::getDialogs()
{
    dialogs.setFrame(openEditor ? openEditor->getFrame() : nullptr);
    return dialogs;
}

bool Corvane_EditorPresenter::openOptionsDialog()
{
    Corvane_OptionsDlgData& options = effect.userOptions();
    if (!editOptions(getDialogs(), &options, preferencesPath())) return false;
    effect.userOptionsChanged();
    std::copy(options.keyBindings(), options.keyBindings() + 10, keyBindings);
    if (Corvane_MainGraphView* graph = viewRegistry.mainGraphView) {
        graph->setShowOutputCurve(options.showOutputCurves);
        graph->setShowTimePosition(options.showVerticalCursor);
    }
    // A new window size is asked of the host now; the host's answer comes
    // back through editorResized.
    if (openEditor && (options.windowWidth != windowWidth || options.windowHeight != windowHeight))
        openEditor->requestResize(VSTGUI::CPoint(options.windowWidth, options.windowHeight));
    return true;
}

bool Corvane_EditorPresenter::showDialogForSnapshot(VSTGUI::CFrame* frame, const char* dialog)
{
    if (!frame || !dialog) return false;
    const std::string name = dialog;
    const VSTGUI::CRect size = frame->getViewSize();
    Corvane_Sheet* sheet = nullptr;
    if (name == "options") {
        loadOptionsForm(effect.userOptions(), &snapshotForm);
        VSTGUI::CTextEdit* fields[Corvane_OptionsForm::kTextFieldCount] = {};
        sheet = makeOptionsSheet(size, snapshotForm, fields);
    } else if (name == "paste-hint" || name == "ibeam-hint") {
        const Corvane_HintText& hint = corvane_hints[name == "paste-hint" ? kPasteHint : kIBeamHint];
        sheet = makeAlertSheet(size, hint.title, hint.text, false, hint.suppressionTitle, false, nullptr);
    } else if (name == "clear-all") {
        sheet = makeAlertSheet(size, corvane_clear_all_title, corvane_clear_all_text, false, nullptr, true, nullptr);
    } else if (name == "data-folder") {
        Corvane_FolderDlgData record;
        effect.dataFolder().describe(&record);
        sheet = makeFolderDlgSheet(size, prepareFolderDlgItems(record, effect.defaultDataParent()),
                                   &snapshotFolderButton, &snapshotFolderName);
    } else {
        return false;
    }
    // The frame keeps the sheet from here and takes it down with itself.
    sheet->show(frame, nullptr);
    sheet->forget();
    return true;
}

void Corvane_EditorPresenter::editorResized(int32 width, int32 height)
{
    windowWidth = std::min(std::max(width, minWindowWidth), maxWindowSize);
    windowHeight = std::min(std::max(height, minWindowHeight), maxWindowSize);
}

//--- Keys.

namespace {

// The binding slot of a number key ("1" is 0, "0" is 9), or -1.
int numberKeySlot(const VstKeyCode& code)
{
    if (code.modifier != 0) return -1;
    int digit = -1;
    if (code.character >= '0' && code.character <= '9') digit = code.character - '0';
    if (code.virt >= VKEY_NUMPAD0 && code.virt <= VKEY_NUMPAD9)
        digit = code.virt - VKEY_NUMPAD0;
    if (digit < 0) return -1;
    return digit == 0 ? 9 : digit - 1;
}

} // namespace

int32_t Corvane_EditorPresenter::onKeyDown(const VstKeyCode& code)
{
    if (!effect.isGraphMode()) return -1;
    // Escape ends the graph's paste, line or drag without an edit.
    if (code.virt == VKEY_ESCAPE)
        return viewRegistry.mainGraphView && viewRegistry.mainGraphView->cancelGesture() ? 1 : -1;
    const int slot = numberKeySlot(code);
    if (slot < 0) return -1;
    return runKeyCommand(keyBindings[slot]) ? 1 : -1;
}

int32_t Corvane_EditorPresenter::onKeyUp(const VstKeyCode& code)
{
    if (!effect.isGraphMode()) return -1;
    const int slot = numberKeySlot(code);
    if (slot < 0) return -1;
    const int command = keyBindings[slot];
    const bool bound = command >= 0 && command < corvane_key_command_count &&
                       corvane_key_commands[command].action != Corvane_KeyCommand::kNone;
    return bound ? 1 : -1;
}

bool Corvane_EditorPresenter::runKeyCommand(int command)
{
    if (command < 0 || command >= corvane_key_command_count) return false;
    const Corvane_KeyCommand& row = corvane_key_commands[command];
    VST3_BaseParameter* parameter = row.parameter >= 0 ? effect.panelParameter(ParamID(row.parameter)) : nullptr;
    if (parameter == nullptr || row.action == Corvane_KeyCommand::kNone) return false;
    const ParamID id = ParamID(row.parameter);
    const double plain = parameter->toPlain(parameter->getNormalized());
    const double low = parameter->toPlain(0.0);
    const double high = parameter->toPlain(1.0);
    switch (row.action) {
    case Corvane_KeyCommand::kPress:
        if (id == corvane::kPaste && pasteClicked()) break;
        effect.editParameter(id, high);
        effect.editParameter(id, low);
        break;
    case Corvane_KeyCommand::kToggle:
        if ((id == corvane::kTrackPitch || id == corvane::kTrackPitchAndTime) && plain != high &&
            trackingClicked(id))
            break;
        effect.editParameter(id, plain == high ? low : high);
        break;
    case Corvane_KeyCommand::kSetValue: effect.editParameter(id, row.value); break;
    case Corvane_KeyCommand::kStepUp:
    case Corvane_KeyCommand::kStepDown: {
        // One step of a stepped parameter, a twentieth of the range of a
        // continuous one.
        const int32 steps = parameter->getInfo().stepCount;
        const double step = steps > 0 ? 1.0 / steps : 0.05;
        const double sign = row.action == Corvane_KeyCommand::kStepUp ? 1.0 : -1.0;
        const double normalized = std::min(1.0, std::max(0.0, parameter->getNormalized() + sign * step));
        effect.editParameter(id, parameter->toPlain(normalized));
        break;
    }
    case Corvane_KeyCommand::kNone: break;
    }
    return true;
}

//--- The timer.

void Corvane_EditorPresenter::onTimer(int32 tick)
{
    if (optionsRequested) {
        optionsRequested = false;
        openOptionsDialog();
        if (!openEditor) return; // the panel closed meanwhile
    }
    if (dataFolderRequested) {
        dataFolderRequested = false;
        launchFolderDlg(getDialogs(), effect.dataFolder(), effect.defaultDataParent());
        if (!openEditor) return;
    }
    if (clearAllRequested) {
        clearAllRequested = false;
        if (confirmClearAll(getDialogs(), clearAllShift)) {
            effect.editParameter(corvane::kClearAllData, 1.0);
            effect.editParameter(corvane::kClearAllData, 0.0);
        }
        if (!openEditor) return;
    }
    if (trackingRequested != 0) {
        const ParamID id = trackingRequested;
        trackingRequested = 0;
        if (getDialogs().confirmAlert(corvane_missing_files_title, corvane_missing_files_text)) {
            // The old take is abandoned: the store forgets it and the data
            // folder's button stops flashing.
            effect.dataFolder().dropData();
            effect.editParameter(id, 1.0);
        }
        if (!openEditor) return;
    }
    if (pasteRequested || ibeamHintRequested) {
        const bool paste = pasteRequested;
        const Corvane_Hint hint = paste ? kPasteHint : kIBeamHint;
        pasteRequested = ibeamHintRequested = false;
        showHint(getDialogs(), hint, &effect.userOptions(), preferencesPath());
        if (!openEditor) return;
        if (paste && viewRegistry.mainGraphView) viewRegistry.mainGraphView->beginPaste();
    }
    Scale_State& scaleState = effect.getScaleState();
    // Scale and key automated while the panel is open reach the scale here:
    // the audio side leaves them to the panel then.
    auto* scale = effect.panelParameter(corvane::kScale);
    auto* key = effect.panelParameter(corvane::kKey);
    if (scale && key) {
        const int s = int(scale->toPlain(scale->getNormalized()));
        const int k = int(key->toPlain(key->getNormalized()));
        if (s != scaleState.scale || k != scaleState.key) {
            parameterChanged(s != scaleState.scale ? scale : key);
        }
    }

    VSTGUI4_FlashingOnOffButton* flashingOnOff[] = {viewRegistry.trackPitchButton,
                                                   viewRegistry.trackPitchAndTimeButton};
    for (auto* button : flashingOnOff) {
        if (button) button->updateFlashing(tick);
    }
    // The data folder's button flashes while the session's files are missing.
    if (auto* folderButton = viewRegistry.dataFileMgmtButton) {
        const bool missing = effect.dataFilesMissing();
        if (missing && !folderButton->isFlashing()) folderButton->startFlashing(folderFlashTicks);
        if (!missing && folderButton->isFlashing()) folderButton->stopFlashing();
        folderButton->updateFlashing(tick);
    }

    // Marks written by MIDI notes on the audio thread.
    if (effect.takeMidiMarksChanged()) showScaleMarks();

    // The graph draws the frames the tracker wrote, follows the play
    // position (the host plays while the engine's frame moves), and a drag
    // held outside it scrolls on.
    if (auto* canvas = viewRegistry.graphCanvas) {
        TrackedFrameArray* graphFrames = effect.graphFrames();
        int64_t changedLow = 0, changedHigh = -1;
        canvas->takeChangedFrames(&changedLow, &changedHigh);
        const int64_t frame = effect.getPlayFrame();
        auto* autoScroll = effect.panelParameter(corvane::kAutoScroll);
        canvas->followPlayhead(frame, frame != lastPlayFrame, autoScroll && autoScroll->getNormalized() >= 0.5);
        if (auto* envelope = viewRegistry.envelopeGraphView) {
            // Linked, the strip draws the frames that changed where they are
            // in sight; the whole take is drawn anew as it grows.
            if (envelope->isLinkedToMain())
                envelope->repaintFrames(changedLow, changedHigh);
            else if (graphFrames && graphFrames->trackedEnd() != lastTrackedEnd)
                envelope->refresh(false, false, false);
            if (frame != lastPlayFrame) envelope->setDirty(true);
        }
        if (graphFrames) lastTrackedEnd = graphFrames->trackedEnd();
        lastPlayFrame = frame;
        canvas->continueDrag();
    }

    if (tick % pitchDisplayTicks == 0) {
        double ratio = 1.0;
        double period = 0.0;
        effect.getPitchStatus(ratio, period);
        const double rate = effect.getSampleRate();
        if (graphReadoutShown) {
            // The displays show the pitch under the pointer.
        } else if (period > 0.0 && rate > 0.0 && ratio > 0.0) {
            const double detected = double(Period_ToCents(float(period), float(rate)));
            const double change = 1200.0 * std::log2(ratio);
            setPitchDisplay(0, int(Round_ToInt(float(detected))));
            setPitchDisplay(1, int(Round_ToInt(float(detected + change))));
            showCurrentNote(detected + change, true);
            showPitchChange(change);
        } else {
            clearPitchDisplay(0);
            clearPitchDisplay(1);
            showCurrentNote(0.0, false);
            showPitchChange(0.0);
        }
    }
}

void Corvane_EditorPresenter::autoRepeat(int32 tag)
{
    if ((tag == corvane::kScaleUp || tag == corvane::kScaleDown) && viewRegistry.scalesList) {
        stepScalesList(ParamID(tag));
        return;
    }
    if (tag >= int32(corvane::kGraphScrollUp) && tag <= int32(corvane::kGraphScrollRight) && viewRegistry.graphCanvas) {
        stepGraphCanvas(viewRegistry.graphCanvas, ParamID(tag));
        return;
    }
    effect.stopAutoRepeat();
}

bool Corvane_EditorPresenter::trackingClicked(ParamID id)
{
    if (!openEditor || !effect.dataFilesMissing()) return false;
    trackingRequested = id;
    return true;
}

bool Corvane_EditorPresenter::pasteClicked()
{
    Corvane_MainGraphView* graph = viewRegistry.mainGraphView;
    if (!openEditor || !graph || !graph->getObjects() || graph->getObjects()->clipboardAt(0).records.empty())
        return false;
    pasteRequested = true;
    return true;
}

void Corvane_EditorPresenter::clearAllClicked(bool shiftHeld)
{
    if (!openEditor) return;
    clearAllRequested = true;
    clearAllShift = shiftHeld;
}

//--- What a change of a parameter does beyond the engine.

void Corvane_EditorPresenter::parameterChanged(Parameter* parameter)
{
    if (parameter == nullptr) return;
    const ParamID id = parameter->getInfo().id;
    if (id > corvane::kGraphScrollRight) return;
    const double plain = parameter->toPlain(parameter->getNormalized());
    // Buttons act only on a press, a plain value of exactly 1.0.
    const bool press = plain == 1.0;

    switch (id) {
    case corvane::kOptions:
        if (press && openEditor) optionsRequested = true;
        break;
    case corvane::kDataFolderSettings:
        if (press && openEditor) dataFolderRequested = true;
        break;
    case corvane::kCorrectionMode:
        effect.setCorrectionMode(press);
        showCorrectionPage();
        break;
    case corvane::kScale:
    case corvane::kKey: {
        auto* scale = effect.panelParameter(corvane::kScale);
        auto* key = effect.panelParameter(corvane::kKey);
        if (scale == nullptr || key == nullptr) break;
        effect.setScaleAndKey(int(scale->toPlain(scale->getNormalized())), int(key->toPlain(key->getNormalized())));
        keySpellingChanged();
        showScaleMarks();
        showGraphNoteNames();
        // The MIDI modes live only on the Chromatic scale.
        if (id == corvane::kScale && plain != double(scale_chromatic)) {
            const int32 mode = effect.getMidiScaleMode();
            effect.setMidiScaleMode(corvane::kMidiOff);
            if (mode == corvane::kMidiTargetNotes) effect.putParameter(corvane::kTargetNotes, 0.0);
            if (mode == corvane::kMidiLearnScale) effect.putParameter(corvane::kLearnScale, 0.0);
        }
        break;
    }
    case corvane::kDetune:
        showDetuneHertz();
        effect.getScaleState().detune = int16_t(plain);
        if (viewRegistry.mainGraphView) viewRegistry.mainGraphView->setPitchOffset(int16_t(plain));
        showGraphNoteNames();
        break;
    case corvane::kTieEnvelope:
        if (viewRegistry.envelopeGraphView) viewRegistry.envelopeGraphView->setLinkedToMain(press);
        break;
    case corvane::kSnapToNote:
        if (viewRegistry.mainGraphView) viewRegistry.mainGraphView->setSnapToNote(press);
        break;
    case corvane::kShowMIDI:
        if (viewRegistry.mainGraphView) viewRegistry.mainGraphView->setShowMidi(press);
        break;
    case corvane::kShowLanes:
        showGraphNoteNames();
        break;
    case corvane::kEnableTimeWarping:
        if (viewRegistry.mainGraphView) viewRegistry.mainGraphView->setTimeControlOn(press);
        break;
    case corvane::kTrackPitch:
    case corvane::kTrackPitchAndTime:
        // Tracking that ends hands the engine the map over the grown take.
        if (!press && viewRegistry.mainGraphView) viewRegistry.mainGraphView->timeMapChanged();
        break;
    case corvane::kTimeUndo:
    case corvane::kTimeRedo:
    case corvane::kTimeClearAll:
        // The effect changed the map in force before this dispatch.
        if (viewRegistry.mainGraphView) viewRegistry.mainGraphView->timeMapChanged();
        break;
    case corvane::kMakeNotes:
    case corvane::kMakeCurves:
    case corvane::kMakeNotesFromMIDI:
    case corvane::kImportAuto:
    case corvane::kUndo:
    case corvane::kRedo:
    case corvane::kSelectAll:
    case corvane::kCut:
    case corvane::kPaste:
    case corvane::kClearAllData:
    case corvane::kObjectRetuneSpeed:
    case corvane::kObjectAdjustVibrato:
    case corvane::kObjectThroatLength:
        // The effect changed the objects before this dispatch: the graph
        // shows the list in force.
        if (viewRegistry.mainGraphView) viewRegistry.mainGraphView->refresh(true, false, false);
        break;
    case corvane::kLearnScale:
    case corvane::kTargetNotes: {
        const int32 mode = id == corvane::kLearnScale ? corvane::kMidiLearnScale : corvane::kMidiTargetNotes;
        const int32 current = effect.getMidiScaleMode();
        if (press) {
            if (auto* key = effect.panelParameter(corvane::kKey))
                prepareMidiNoteEntry(int(key->toPlain(key->getNormalized())));
            // The two modes exclude each other.
            const ParamID other = mode == corvane::kMidiLearnScale ? corvane::kTargetNotes : corvane::kLearnScale;
            if (current != corvane::kMidiOff && current != mode) effect.putParameter(other, 0.0);
            effect.setMidiScaleMode(mode);
        } else if (current == mode) {
            effect.setMidiScaleMode(corvane::kMidiOff);
        }
        break;
    }
    case corvane::kUseFormants:
        showThroatLength();
        break;
    case corvane::kScaleUp:
    case corvane::kScaleDown:
        // Held arrows repeat from the timer; the repeat re-enters here.
        if (!press || viewRegistry.scalesList == nullptr) {
            effect.stopAutoRepeat();
        } else if (effect.getRepeatingTag() != int32(id)) {
            stepScalesList(id);
            effect.startAutoRepeat(int32(id), repeatFirstDelay, repeatInterval);
        }
        break;
    case corvane::kSetMajor:
    case corvane::kSetMinor:
    case corvane::kSetAll:
    case corvane::kBypassAll:
    case corvane::kRemoveAll: {
        Corvane_ScalesListView* list = viewRegistry.scalesList;
        if (!press || list == nullptr) break;
        switch (id) {
        case corvane::kSetMajor: list->setMajor(); break;
        case corvane::kSetMinor: list->setMinor(); break;
        case corvane::kSetAll: list->setAll(); break;
        case corvane::kBypassAll: list->bypassAll(); break;
        default: list->removeAll(); break;
        }
        pushScaleEdits();
        break;
    }
    case corvane::kKeyboardEdits:
        if (viewRegistry.keyboard) viewRegistry.keyboard->setKeyboardEdits(press);
        break;
    case corvane::kKeyboardMode:
        if (viewRegistry.keyboard) viewRegistry.keyboard->setKeyboardMode(press);
        break;
    case corvane::kGraphScrollUp:
    case corvane::kGraphScrollDown:
    case corvane::kGraphScrollLeft:
    case corvane::kGraphScrollRight:
        // Held arrows scroll a step and repeat from the timer.
        if (!press || viewRegistry.graphCanvas == nullptr) {
            effect.stopAutoRepeat();
        } else if (effect.getRepeatingTag() != int32(id)) {
            stepGraphCanvas(viewRegistry.graphCanvas, id);
            effect.startAutoRepeat(int32(id), repeatFirstDelay, repeatInterval);
        }
        break;
    case corvane::kHZoomIn:
    case corvane::kHZoomOut:
    case corvane::kVZoomIn:
    case corvane::kVZoomOut:
        if (press) zoomGraphCanvas(viewRegistry.graphCanvas, id);
        break;
    case corvane::kGraphTools:
        if (viewRegistry.graphCanvas) viewRegistry.graphCanvas->setTool(int32(plain));
        break;
    case corvane::kTimeDisplay:
        if (viewRegistry.graphCanvas) viewRegistry.graphCanvas->setShowingBarsAndBeats(press);
        break;
    case corvane::kNudgeUp:
    case corvane::kNudgeDown:
        // Held buttons repeat while their view is open; the views of these
        // buttons come with the editor, so without one a press stops the
        // repeat.
        effect.stopAutoRepeat();
        if (viewRegistry.mainGraphView) viewRegistry.mainGraphView->refresh(true, false, false);
        break;
    default: break;
    }
}

namespace {

bool editsGraphObjects(int32 tag)
{
    return tag == corvane::kObjectRetuneSpeed || tag == corvane::kObjectAdjustVibrato ||
           tag == corvane::kNumberOfNotes || tag == corvane::kObjectThroatLength;
}

} // namespace

void Corvane_EditorPresenter::controlEditBegun(VSTGUI::CControl* control)
{
    if (control && editsGraphObjects(control->getTag())) objectKnobEdit = control->getTag();
}

void Corvane_EditorPresenter::controlEditEnded(VSTGUI::CControl* control)
{
    if (control && control->getTag() == objectKnobEdit) objectKnobEdit = -1;
}

void Corvane_EditorPresenter::showRestoredState()
{
    keySpellingChanged();
    showCorrectionPage();
    showThroatLength();
    showDetuneHertz();
    showScaleMarks();
}

//--- The keyboard, the scales list and the meter.

int Corvane_EditorPresenter::currentNoteOf(double cents, int detune)
{
    // 0 cents is MIDI note 60.
    return 60 + int(std::floor((cents - double(detune)) / 100.0 + 0.5));
}

void Corvane_EditorPresenter::showCurrentNote(double outputCents, bool voiced)
{
    Corvane_KeyboardView* keyboard = viewRegistry.keyboard;
    if (keyboard == nullptr) return;
    // Without a voice the last note stays shown while "Hold Note Shown" is
    // on; otherwise the keyboard shows none.
    if (!voiced) {
        auto* hold = effect.panelParameter(corvane::kHoldNoteShown);
        const bool holdNoteShown = hold && hold->toPlain(hold->getNormalized()) != 0.0;
        if (!holdNoteShown && keyboard->getCurrentNote() != Corvane_KeyboardView::noNote)
            keyboard->clearCurrentNote(keyboard->getCurrentNote());
        return;
    }
    const int note = currentNoteOf(outputCents, effect.getScaleState().detune);
    if (note == keyboard->getCurrentNote()) return;
    // A note off the keyboard clears the highlight.
    keyboard->setCurrentNote(uint16_t(note >= 0 && note < 0xFFFF ? note : 0));
}

void Corvane_EditorPresenter::showPitchChange(double cents)
{
    Parameter* meter = effect.panelParameter(corvane::pitchChangeParameter);
    if (meter == nullptr) return;
    const double clamped = std::min(corvane::pitchChangeRange, std::max(-corvane::pitchChangeRange, cents));
    const ParamValue normalized = meter->toNormalized(clamped);
    if (std::fabs(normalized - meter->getNormalized()) > 1e-6) meter->setNormalized(normalized);
}

void Corvane_EditorPresenter::showScaleMarks()
{
    if (auto* keyboard = viewRegistry.keyboard) keyboard->reloadKeyStates();
    if (auto* list = viewRegistry.scalesList) list->invalid();
}

void Corvane_EditorPresenter::pushScaleEdits()
{
    showScaleMarks();
    effect.scaleMarksChanged();
}

void Corvane_EditorPresenter::scaleMarksEdited()
{
    effect.scaleMarksChanged();
}

void Corvane_EditorPresenter::keyboardNoteHeld(int note)
{
    effect.keyboardNoteHeld(note);
}

void Corvane_EditorPresenter::stepScalesList(ParamID id)
{
    Corvane_ScalesListView* list = viewRegistry.scalesList;
    if (list == nullptr) return;
    const bool up = id == corvane::kScaleUp;
    if (!(up ? list->stepUp() : list->stepDown())) return;
    if (up)
        list->refreshAfterStepUp();
    else
        list->refreshAfterStepDown();
    const Scale_State& scaleState = effect.getScaleState();
    effect.setScaleAndKey(scaleState.scale, scaleState.key);
}

void Corvane_EditorPresenter::prepareMidiNoteEntry(int key)
{
    Scale_State& scaleState = effect.getScaleState();
    key = ((key % 12) + 12) % 12;
    for (int row = 0; row < Scale_State::rowsOf(scale_chromatic); ++row) {
        scaleState.setRowBypassed(row, key, scale_chromatic, 0);
        scaleState.setRowRemoved(row, key, scale_chromatic, 1);
    }
    pushScaleEdits();
}

//--- Pitch displays.

namespace {

VSTGUI::CTextLabel* pitchLabel(Corvane_ViewRegistry& registry, int which)
{
    switch (which) {
    case 0: return registry.detectedPitchDisplay;
    case 1: return registry.outputPitchDisplay;
    case 2: return registry.objectPitchDisplay;
    default: return nullptr;
    }
}

} // namespace

void Corvane_EditorPresenter::pitchDisplayText(const Scale_State& scaleState, int cents, char* text, size_t size)
{
    const int scale = (scaleState.scale >= 0 && scaleState.scale < scale_count) ? scaleState.scale : 2;
    const int key = ((scaleState.key % 12) + 12) % 12;
    const int64_t notes = scale_entries[scale] - 1;
    const int64_t* intervals = scale_intervals[scale];
    // Notes in hundredths of a cent: the key with the detune, then the
    // scale's intervals, octave by octave.
    const int64_t base = int64_t(key) * 10000 + int64_t(scaleState.detune) * 100;
    const int64_t target = int64_t(cents) * 100;
    const int64_t octave = floorDiv(target - base, octave_interval);
    int64_t bestIndex = 0;
    int64_t bestPosition = 0;
    int64_t bestDistance = INT64_MAX;
    // The nearest note lies in this octave or at the edge of a neighbour.
    for (int64_t index = (octave - 1) * notes; index <= (octave + 1) * notes; ++index) {
        const int64_t position = base + floorDiv(index, notes) * octave_interval +
                                 intervals[index - floorDiv(index, notes) * notes];
        const int64_t distance = position > target ? position - target : target - position;
        if (distance < bestDistance) {
            bestDistance = distance;
            bestIndex = index;
            bestPosition = position;
        }
    }
    const int64_t noteCents = Round_ToInt(float(double(bestPosition) / 100.0));
    const int64_t offset = int64_t(cents) - noteCents;

    char name[16] = "";
    if (scale < 3) {
        // The note's semitone above C gives its name in the key and, with
        // C at 0 cents in octave 3, its octave.
        const int64_t row = bestIndex - floorDiv(bestIndex, notes) * notes;
        const int64_t semitone = key + floorDiv(bestIndex, notes) * 12 + Round_ToInt(float(double(intervals[row]) / 10000.0));
        const int noteClass = int(semitone - floorDiv(semitone, 12) * 12);
        std::snprintf(name, sizeof(name), "%s%d", Note_Name(scale, key, noteClass), int(floorDiv(semitone, 12) + 3));
    }
    std::snprintf(text, size, "%s%s%d", name, offset >= 1 ? " +" : " ", int(offset));
}

void Corvane_EditorPresenter::setPitchDisplay(int which, int cents)
{
    VSTGUI::CTextLabel* label = pitchLabel(viewRegistry, which);
    if (label == nullptr) return;
    char text[48];
    pitchDisplayText(effect.getScaleState(), cents, text, sizeof(text));
    setLabel(label, text);
}

void Corvane_EditorPresenter::clearPitchDisplay(int which)
{
    setLabel(pitchLabel(viewRegistry, which), " ");
}

void Corvane_EditorPresenter::setCursorPositionText(const char* text)
{
    if (text) setLabel(viewRegistry.cursorPositionDisplay, text);
}

//--- Views that show the parameters.

void Corvane_EditorPresenter::showCorrectionPage()
{
    const bool graph = effect.isGraphMode();
    showView(viewRegistry.graphModePage, graph);
    showView(viewRegistry.autoModePage, !graph);
}

void Corvane_EditorPresenter::showThroatLength()
{
    auto* formants = effect.panelParameter(corvane::kUseFormants);
    const bool on = formants && formants->toPlain(formants->getNormalized()) == 1.0;
    showView(viewRegistry.throatLengthKnob, on);
    showView(viewRegistry.throatLengthCover, !on);
}

void Corvane_EditorPresenter::showDetuneHertz()
{
    auto* detune = effect.panelParameter(corvane::kDetune);
    if (viewRegistry.detuneHertzDisplay == nullptr || detune == nullptr) return;
    // The pitch of A in tenths of a hertz, for a detune of a semitone down
    // to a semitone up, shown with one decimal.
    const double n = detune->getNormalized();
    const double tenths = std::floor(440.0 * 10.0 * std::exp((2.0 * n - 1.0) * std::log(2.0) / 12.0) + 0.5);
    char digits[32];
    std::snprintf(digits, sizeof(digits), "%4.0f", tenths);
    const size_t length = std::strlen(digits);
    char text[40];
    std::snprintf(text, sizeof(text), "%.*s.%s", int(length - 1), digits, digits + length - 1);
    setLabel(viewRegistry.detuneHertzDisplay, text);
}

void Corvane_EditorPresenter::keySpellingChanged()
{
    auto* key = FCast<VST3_MultiStringArrayParameter>(effect.panelParameter(corvane::kKey));
    if (key == nullptr || key->getCurrentArray() == keySpelling) return;
    keySpelling = key->getCurrentArray();
    // The key's menu takes the names of the new spelling, and the host
    // reads them anew.
    if (auto* menu = viewRegistry.keyPopup) {
        const int32 steps = key->getInfo().stepCount;
        if (menu->getNbEntries() == steps + 1) {
            for (int32 i = 0; i <= steps; ++i) {
                String128 name{};
                key->toString(double(i) / steps, name);
                menu->getEntry(i)->setTitle(VST3_BaseParameter::toUtf8(name).c_str());
            }
            menu->invalid();
        }
    }
    effect.parameterTextsChanged();
}
