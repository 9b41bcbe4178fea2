#pragma once

#include <functional>
#include <string>

#include "vstgui/lib/cframe.h"
#include "vstgui/lib/controls/ccheckbox.h"
#include "vstgui/lib/controls/coptionmenu.h"
#include "vstgui/lib/controls/ctextedit.h"
#include "vstgui/lib/cviewcontainer.h"

// A dialog drawn as a sheet over the plug-in's own window: the panel under
// it is dimmed, and the sheet hangs from the top of the window with its
// controls. It lives in the editor's frame as its modal view, so that it
// needs no window of its own from the desktop: nothing to grab, nothing for
// a window manager to place, and the same drawing in an embedded editor,
// under Xvfb and offscreen. Interface thread only.
//
// Keys: Return pushes the default button, Escape the cancel button, Tab
// moves the focus to the next text field; all others go to the view with
// the focus. The keyboard hooks of the panel see no key while it is open.
class Corvane_Sheet : public VSTGUI::CViewContainer, public VSTGUI::IControlListener {
public:
    // A sheet of the given size over a frame of frameSize.
    Corvane_Sheet(const VSTGUI::CRect& frameSize, VSTGUI::CCoord width, VSTGUI::CCoord height);

    //--- Building, in coordinates of the sheet's box (0, 0 its top left).
    VSTGUI::CTextLabel* addLabel(const VSTGUI::CRect& r, const std::string& text, bool bold = false,
                                 VSTGUI::CHoriTxtAlign align = VSTGUI::kLeftText);
    // A block of text wrapped to the rectangle's width, lines apart by
    // lineHeight; blank lines stay. Returns the height it takes.
    VSTGUI::CCoord addParagraph(const VSTGUI::CRect& r, const std::string& text, bool inRed = false);
    VSTGUI::CTextEdit* addField(const VSTGUI::CRect& r, const std::string& text);
    VSTGUI::CCheckBox* addCheckBox(const VSTGUI::CRect& r, const std::string& title, bool checked,
                                   bool radio = false);
    VSTGUI::COptionMenu* addPopUp(const VSTGUI::CRect& r);
    // A button; `action` runs when it is pushed, after which the sheet ends
    // with `answer` if endsWith is 0 or 1 (-1: the sheet stays).
    VSTGUI::CTextButton* addButton(const VSTGUI::CRect& r, const std::string& title, int endsWith,
                                   std::function<void()> action = {});
    void setDefaultButton(VSTGUI::CTextButton* b);
    void setCancelButton(VSTGUI::CTextButton* b) { cancelButton = b; }
    // Called when any check box changes (radio groups clear their others).
    void setCheckAction(std::function<void(VSTGUI::CCheckBox*)> action) { checkAction = std::move(action); }
    VSTGUI::CViewContainer* box() const { return panel; }

    //--- Running.
    // Shows the sheet over `frame` with `focus` focused, and runs the frame's
    // events until a button ends it: its answer; false when the frame has no
    // window or closes meanwhile. The sheet is taken off the frame after.
    bool run(VSTGUI::CFrame* frame, VSTGUI::CView* focus);
    // Shows it without running: for pictures. Take it off with
    // frame->setModalView(nullptr).
    void show(VSTGUI::CFrame* frame, VSTGUI::CView* focus);
    void end(bool answer);
    bool isEnded() const { return ended; }
    bool getAnswer() const { return answer; }

    void focusField(VSTGUI::CView* field);
    int32_t onKeyDown(VstKeyCode& keyCode) override;
    int32_t onKeyUp(VstKeyCode& keyCode) override;
    void valueChanged(VSTGUI::CControl* control) override;

private:
    VSTGUI::CViewContainer* panel;
    VSTGUI::CTextButton* defaultButton = nullptr;
    VSTGUI::CTextButton* cancelButton = nullptr;
    std::vector<VSTGUI::CTextEdit*> fields;
    struct ButtonAction {
        VSTGUI::CTextButton* button;
        int endsWith;
        std::function<void()> action;
    };
    std::vector<ButtonAction> buttons;
    std::function<void(VSTGUI::CCheckBox*)> checkAction;
    bool ended = false;
    bool answer = false;
};
