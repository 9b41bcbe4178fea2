#include "panel/Corvane_SubController.h"

#include <cstring>

#include "Common_VST3/VSTGUI4_DoubleClickKnob.h"
#include "Common_VST3/VSTGUI4_FlashingButtons.h"
#include "Common_VST3/VSTGUI4_PushButton.h"
#include "Common_VST3/VSTGUI4_ViewWithMinimumSize.h"
#include "Common_VST3/VST3_BaseParameter.h"
#include "Common_VST3/VSTGUI4_Scrollbars.h"
#include "graph/views/Corvane_GraphContainerView.h"
#include "graph/views/Corvane_GraphView.h"
#include "graph/views/Corvane_EnvelopeGraphView.h"
#include "graph/views/Corvane_KeyboardGraphView.h"
#include "graph/views/Corvane_MainGraphView.h"
#include "panel/Corvane_EditorPresenter.h"
#include "panel/Corvane_KeyboardView.h"
#include "panel/Corvane_ScalesListView.h"
#include "vstgui/lib/controls/cparamdisplay.h"
#include "vstgui/lib/controls/coptionmenu.h"
#include "vstgui/lib/controls/cswitch.h"
#include "vstgui/lib/cviewcontainer.h"
#include "vstgui/uidescription/uiattributes.h"

using namespace VSTGUI;

namespace {

// What a row's extra work may need beside the view.
struct Binding {
    Corvane_EditorPresenter& owner;
    const UIAttributes& attributes;
    const IUIDescription* description;
};

// Files a view of the required class in its field, after the row's extra
// work; false, and the field as it was, for another class.
using Binder = bool (*)(CView* view, const Binding& binding);

template <class T, T* Corvane_ViewRegistry::*field>
bool bindAs(CView* view, const Binding& binding)
{
    auto* typed = dynamic_cast<T*>(view);
    if (typed == nullptr) return false;
    binding.owner.getViewRegistry().*field = typed;
    return true;
}

// The views of the scale take their pictures and the scale object.
bool bindScalesList(CView* view, const Binding& binding)
{
    auto* list = dynamic_cast<Corvane_ScalesListView*>(view);
    if (list == nullptr) return false;
    list->readAttributes(binding.attributes, binding.description);
    list->setOwner(&binding.owner, &binding.owner.getEffect().getScaleState());
    list->setDirty(true);
    binding.owner.getViewRegistry().scalesList = list;
    return true;
}

bool bindKeyboard(CView* view, const Binding& binding)
{
    auto* keyboard = dynamic_cast<Corvane_KeyboardView*>(view);
    if (keyboard == nullptr) return false;
    keyboard->readAttributes(binding.attributes, binding.description);
    keyboard->setOwner(&binding.owner, &binding.owner.getEffect().getScaleState());
    keyboard->setMouseEnabled(true);
    binding.owner.getViewRegistry().keyboard = keyboard;
    return true;
}

// Buttons whose picture depends on a state outside the control draw afresh.
template <VSTGUI4_PushButton* Corvane_ViewRegistry::*field>
bool bindDirtyButton(CView* view, const Binding& binding)
{
    auto* button = dynamic_cast<VSTGUI4_PushButton*>(view);
    if (button == nullptr) return false;
    button->setDirty(true);
    binding.owner.getViewRegistry().*field = button;
    return true;
}

// The knobs that edit a selection of graph objects take no wheel, so that
// scrolling over the panel never changes objects by accident.
template <VSTGUI4_DoubleClickKnob* Corvane_ViewRegistry::*field>
bool bindObjectKnob(CView* view, const Binding& binding)
{
    auto* knob = dynamic_cast<VSTGUI4_DoubleClickKnob*>(view);
    if (knob == nullptr) return false;
    knob->setMouseWheelEnabled(false);
    binding.owner.getViewRegistry().*field = knob;
    return true;
}

// The pitch graph is also the canvas that scrolls, zooms and follows the
// play position.
bool bindMainGraphView(CView* view, const Binding& binding)
{
    auto* graph = dynamic_cast<Corvane_MainGraphView*>(view);
    if (graph == nullptr) return false;
    binding.owner.getViewRegistry().mainGraphView = graph;
    binding.owner.getViewRegistry().graphCanvas = graph;
    return true;
}

struct RegistryRow {
    const char* name;
    // Null while the class the row requires is not part of the program: the
    // view is only listed.
    Binder bind;
};

using R = Corvane_ViewRegistry;

const RegistryRow registryRows[] = {
    {"CommonArea", bindAs<CViewContainer, &R::commonArea>},
    {"StereoRefSwitch", bindAs<CHorizontalSwitch, &R::stereoRefSwitch>},
    {"KeyPopup", bindAs<COptionMenu, &R::keyPopup>},
    {"DetuneHertzDisplay", bindAs<CTextLabel, &R::detuneHertzDisplay>},
    {"TransposeKnob", bindAs<VSTGUI4_DoubleClickKnob, &R::transposeKnob>},
    {"ThroatLengthKnob", bindAs<VSTGUI4_DoubleClickKnob, &R::throatLengthKnob>},
    {"AutoModePage", bindAs<CViewContainer, &R::autoModePage>},
    {"ScalesList", bindScalesList},
    {"ScalesUpButton", bindDirtyButton<&R::scalesUpButton>},
    {"ScalesDownButton", bindDirtyButton<&R::scalesDownButton>},
    {"SetMajorButton", bindAs<VSTGUI4_PushButton, &R::setMajorButton>},
    {"SetMinorButton", bindAs<VSTGUI4_PushButton, &R::setMinorButton>},
    {"SetAllButton", bindAs<VSTGUI4_PushButton, &R::setAllButton>},
    {"BypassAllButton", bindAs<VSTGUI4_PushButton, &R::bypassAllButton>},
    {"RemoveAllButton", bindAs<VSTGUI4_PushButton, &R::removeAllButton>},
    {"Keyboard", bindKeyboard},
    {"GraphModePage", bindAs<Corvane_GraphContainerView, &R::graphModePage>},
    {"ClearAllButton", bindAs<VSTGUI4_PushButton, &R::clearAllButton>},
    {"UndoButton", bindAs<VSTGUI4_PushButton, &R::undoButton>},
    {"RedoButton", bindAs<VSTGUI4_PushButton, &R::redoButton>},
    {"SelectAllButton", bindAs<VSTGUI4_PushButton, &R::selectAllButton>},
    {"CutButton", bindAs<VSTGUI4_PushButton, &R::cutButton>},
    {"CopyButton", bindAs<VSTGUI4_PushButton, &R::copyButton>},
    {"PasteButton", bindAs<VSTGUI4_PushButton, &R::pasteButton>},
    {"Corvane_MainGraphView", bindMainGraphView},
    {"Corvane_EnvelopeGraphView", bindAs<Corvane_EnvelopeGraphView, &R::envelopeGraphView>},
    {"Corvane_KeyboardGraphView", bindAs<Corvane_KeyboardGraphView, &R::keyboardGraphView>},
    {"VerticalScrollbar", bindAs<VSTGUI4_VerticalScrollbar, &R::verticalScrollbar>},
    {"VerticalThumb", bindAs<VSTGUI4_ViewWithMinimumSize, &R::verticalThumb>},
    {"HorizontalScrollbar", bindAs<VSTGUI4_HorizontalScrollbar, &R::horizontalScrollbar>},
    {"HorizontalThumb", bindAs<VSTGUI4_ViewWithMinimumSize, &R::horizontalThumb>},
    {"ObjectPitchDisplay", bindAs<CTextLabel, &R::objectPitchDisplay>},
    {"TrackPitchButton", bindAs<VSTGUI4_FlashingOnOffButton, &R::trackPitchButton>},
    {"MakeCurvesButton", bindAs<VSTGUI4_PushButton, &R::makeCurvesButton>},
    {"ImportAutoButton", bindAs<VSTGUI4_PushButton, &R::importAutoButton>},
    {"MakeNotesButton", bindAs<VSTGUI4_PushButton, &R::makeNotesButton>},
    {"NumNotesKnob", bindObjectKnob<&R::numNotesKnob>},
    {"NumNotesDisplay", bindAs<CParamDisplay, &R::numNotesDisplay>},
    {"NumNotesCover", bindAs<CView, &R::numNotesCover>},
    {"MakeNotesMIDIButton", bindAs<VSTGUI4_PushButton, &R::makeNotesMIDIButton>},
    {"ObjRetuneSpeedKnob", bindObjectKnob<&R::objRetuneSpeedKnob>},
    {"ObjAdjustVibratoKnob", bindObjectKnob<&R::objAdjustVibratoKnob>},
    {"ObjThroatLengthKnob", bindObjectKnob<&R::objThroatLengthKnob>},
    {"PerObjectCover", bindAs<CView, &R::perObjectCover>},
    {"ThroatLengthCover", bindAs<CView, &R::throatLengthCover>},
    {"NudgeUpButton", bindAs<VSTGUI4_PushButton, &R::nudgeUpButton>},
    {"NudgeDownButton", bindAs<VSTGUI4_PushButton, &R::nudgeDownButton>},
    {"OutputPitchDisplay", bindAs<CTextLabel, &R::outputPitchDisplay>},
    {"DetectedPitchDisplay", bindAs<CTextLabel, &R::detectedPitchDisplay>},
    {"TrackPitchAndTimeButton", bindAs<VSTGUI4_FlashingOnOffButton, &R::trackPitchAndTimeButton>},
    {"TimeUndoButton", bindAs<VSTGUI4_PushButton, &R::timeUndoButton>},
    {"TimeRedoButton", bindAs<VSTGUI4_PushButton, &R::timeRedoButton>},
    {"TimeClearAllButton", bindAs<VSTGUI4_PushButton, &R::timeClearAllButton>},
    {"DataFileMgmtButton", bindAs<VSTGUI4_FlashingPushButton, &R::dataFileMgmtButton>},
    {"ClockPositionDisplay", bindAs<CTextLabel, &R::clockPositionDisplay>},
    {"ClockSourceSwitch", bindAs<CHorizontalSwitch, &R::clockSourceSwitch>},
    {"CursorPositionDisplay", bindAs<CTextLabel, &R::cursorPositionDisplay>},
};

} // namespace

Corvane_SubController::Corvane_SubController(Corvane_EditorPresenter* owner, IController* editor)
    : VSTGUI4_SubController(editor), owner(owner)
{
}

Corvane_SubController::~Corvane_SubController() = default;

int Corvane_SubController::registryRowCount()
{
    return int(sizeof(registryRows) / sizeof(registryRows[0]));
}

const char* Corvane_SubController::registryRowName(int row)
{
    return row >= 0 && row < registryRowCount() ? registryRows[row].name : nullptr;
}

CView* Corvane_SubController::verifyView(CView* view, const UIAttributes& attributes,
                                         const IUIDescription* description)
{
    view = DelegationController::verifyView(view, attributes, description);
    if (view == nullptr) return nullptr;
    const char* name = listView(view, attributes);
    if (name == nullptr || owner == nullptr) return view;
    for (const RegistryRow& row : registryRows) {
        if (std::strcmp(row.name, name) != 0) continue;
        if (row.bind) row.bind(view, Binding{*owner, attributes, description});
        break;
    }
    return view;
}

CMessageResult Corvane_SubController::notify(CBaseObject* sender, IdStringPtr message)
{
    if (owner == nullptr || sender == nullptr) return kMessageUnknown;
    auto* control = dynamic_cast<CControl*>(sender);
    if (control == nullptr) return kMessageUnknown;
    if (message == CControl::kMessageValueChanged) {
        owner->getEffect().panelControlChanged(Steinberg::Vst::ParamID(control->getTag()));
        return kMessageNotified;
    }
    if (message == CControl::kMessageBeginEdit) {
        owner->controlEditBegun(control);
        return kMessageNotified;
    }
    if (message == CControl::kMessageEndEdit) {
        owner->controlEditEnded(control);
        return kMessageNotified;
    }
    return kMessageUnknown;
}

namespace {

bool isClearAll(const CControl* control) { return control && control->getTag() == corvane::kClearAllData; }
bool isTracking(const CControl* control)
{
    return control && (control->getTag() == corvane::kTrackPitch || control->getTag() == corvane::kTrackPitchAndTime);
}

} // namespace

IControlListener* Corvane_SubController::getControlListener(UTF8StringPtr controlTagName)
{
    for (const char* name : {"ClearAllData", "TrackPitch", "TrackPitchAndTime", "Paste"})
        if (controlTagName && std::strcmp(controlTagName, name) == 0) return this;
    return VSTGUI4_SubController::getControlListener(controlTagName);
}

void Corvane_SubController::valueChanged(CControl* control)
{
    if (isTracking(control)) {
        // Turning tracking on over a session whose files are missing waits
        // for the presenter's question; the button stays off meanwhile.
        if (owner == nullptr || control->getValue() < 0.5f || !owner->trackingClicked(Steinberg::Vst::ParamID(control->getTag())))
            return VSTGUI4_SubController::valueChanged(control);
        control->setValue(0.0f);
        control->invalid();
        return;
    }
    if (control->getTag() == corvane::kPaste) {
        // The press becomes the graph's paste drag when the graph is open.
        if (owner == nullptr || control->getValue() < 0.5f || !owner->pasteClicked())
            VSTGUI4_SubController::valueChanged(control);
        return;
    }
    if (!isClearAll(control)) return VSTGUI4_SubController::valueChanged(control);
    if (owner == nullptr || control->getValue() < 0.5f) return;
    const CFrame* frame = control->getFrame();
    owner->clearAllClicked(frame && (frame->getCurrentMouseButtons() & kShift));
}

void Corvane_SubController::controlBeginEdit(CControl* control)
{
    if (!isClearAll(control)) VSTGUI4_SubController::controlBeginEdit(control);
}

void Corvane_SubController::controlEndEdit(CControl* control)
{
    if (!isClearAll(control)) VSTGUI4_SubController::controlEndEdit(control);
}
