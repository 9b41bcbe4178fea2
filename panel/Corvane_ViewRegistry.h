#pragma once

// The views of the open panel that the program reaches by name, one pointer
// per "view-name" of the UI description. The sub-controller fills the
// fields while the panel is built and clears them when it closes; a view
// that the description does not name, or names with the wrong class, stays
// null, and every user tests for null.

namespace VSTGUI {
class CView;
class CViewContainer;
class CHorizontalSwitch;
class COptionMenu;
class CTextLabel;
class CParamDisplay;
} // namespace VSTGUI

class VSTGUI4_DoubleClickKnob;
class VSTGUI4_PushButton;
class VSTGUI4_FlashingPushButton;
class VSTGUI4_FlashingOnOffButton;
class VSTGUI4_ViewWithMinimumSize;
class VSTGUI4_VerticalScrollbar;
class VSTGUI4_HorizontalScrollbar;
class Corvane_ScalesListView;
class Corvane_KeyboardView;
class Corvane_GraphContainerView;
class Corvane_MainGraphView;
class Corvane_EnvelopeGraphView;
class Corvane_KeyboardGraphView;
class Corvane_GraphView;

struct Corvane_ViewRegistry {
    VSTGUI::CViewContainer* commonArea = nullptr;
    VSTGUI::CHorizontalSwitch* stereoRefSwitch = nullptr;
    VSTGUI::COptionMenu* keyPopup = nullptr;
    VSTGUI::CTextLabel* detuneHertzDisplay = nullptr;
    VSTGUI4_DoubleClickKnob* transposeKnob = nullptr;
    VSTGUI4_DoubleClickKnob* throatLengthKnob = nullptr;
    VSTGUI::CViewContainer* autoModePage = nullptr;
    Corvane_ScalesListView* scalesList = nullptr;
    VSTGUI4_PushButton* scalesUpButton = nullptr;
    VSTGUI4_PushButton* scalesDownButton = nullptr;
    VSTGUI4_PushButton* setMajorButton = nullptr;
    VSTGUI4_PushButton* setMinorButton = nullptr;
    VSTGUI4_PushButton* setAllButton = nullptr;
    VSTGUI4_PushButton* bypassAllButton = nullptr;
    VSTGUI4_PushButton* removeAllButton = nullptr;
    Corvane_KeyboardView* keyboard = nullptr;
    Corvane_GraphContainerView* graphModePage = nullptr;
    VSTGUI4_PushButton* clearAllButton = nullptr;
    VSTGUI4_PushButton* undoButton = nullptr;
    VSTGUI4_PushButton* redoButton = nullptr;
    VSTGUI4_PushButton* selectAllButton = nullptr;
    VSTGUI4_PushButton* cutButton = nullptr;
    VSTGUI4_PushButton* copyButton = nullptr;
    VSTGUI4_PushButton* pasteButton = nullptr;
    Corvane_MainGraphView* mainGraphView = nullptr;
    // The pitch graph's canvas, under the name "Corvane_MainGraphView".
    Corvane_GraphView* graphCanvas = nullptr;
    Corvane_EnvelopeGraphView* envelopeGraphView = nullptr;
    Corvane_KeyboardGraphView* keyboardGraphView = nullptr;
    VSTGUI4_VerticalScrollbar* verticalScrollbar = nullptr;
    VSTGUI4_ViewWithMinimumSize* verticalThumb = nullptr;
    VSTGUI4_HorizontalScrollbar* horizontalScrollbar = nullptr;
    VSTGUI4_ViewWithMinimumSize* horizontalThumb = nullptr;
    VSTGUI::CTextLabel* objectPitchDisplay = nullptr;
    VSTGUI4_FlashingOnOffButton* trackPitchButton = nullptr;
    VSTGUI4_PushButton* makeCurvesButton = nullptr;
    VSTGUI4_PushButton* importAutoButton = nullptr;
    VSTGUI4_PushButton* makeNotesButton = nullptr;
    VSTGUI4_DoubleClickKnob* numNotesKnob = nullptr;
    VSTGUI::CParamDisplay* numNotesDisplay = nullptr;
    VSTGUI::CView* numNotesCover = nullptr;
    VSTGUI4_PushButton* makeNotesMIDIButton = nullptr;
    VSTGUI4_DoubleClickKnob* objRetuneSpeedKnob = nullptr;
    VSTGUI4_DoubleClickKnob* objAdjustVibratoKnob = nullptr;
    VSTGUI4_DoubleClickKnob* objThroatLengthKnob = nullptr;
    VSTGUI::CView* perObjectCover = nullptr;
    VSTGUI::CView* throatLengthCover = nullptr;
    VSTGUI4_PushButton* nudgeUpButton = nullptr;
    VSTGUI4_PushButton* nudgeDownButton = nullptr;
    VSTGUI::CTextLabel* outputPitchDisplay = nullptr;
    VSTGUI::CTextLabel* detectedPitchDisplay = nullptr;
    VSTGUI4_FlashingOnOffButton* trackPitchAndTimeButton = nullptr;
    VSTGUI4_PushButton* timeUndoButton = nullptr;
    VSTGUI4_PushButton* timeRedoButton = nullptr;
    VSTGUI4_PushButton* timeClearAllButton = nullptr;
    VSTGUI4_FlashingPushButton* dataFileMgmtButton = nullptr;
    VSTGUI::CTextLabel* clockPositionDisplay = nullptr;
    VSTGUI::CHorizontalSwitch* clockSourceSwitch = nullptr;
    VSTGUI::CTextLabel* cursorPositionDisplay = nullptr;
};
