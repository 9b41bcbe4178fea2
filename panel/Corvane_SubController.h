#pragma once

#include "Common_VST3/VSTGUI4_SubController.h"

class Corvane_EditorPresenter;

// The panel's one sub-controller: files the named views of the panel in the
// presenter's view registry, binds the special views to their data, and
// turns the named controls' value changes and edit gestures into calls on
// the presenter.
class Corvane_SubController : public VSTGUI4_SubController {
public:
    // The parent is the editor's controller face; the presenter outlives
    // the panel.
    Corvane_SubController(Corvane_EditorPresenter* owner, VSTGUI::IController* editor);
    ~Corvane_SubController() override;

    // Interface thread, while the panel is built. Lists the view, and when
    // its name is one of the registry's and its class the one required,
    // readies it and files it.
    VSTGUI::CView* verifyView(VSTGUI::CView* view, const VSTGUI::UIAttributes& attributes,
                              const VSTGUI::IUIDescription* description) override;

    // Interface thread. A named control's value change goes to the
    // presenter's parameterChanged, its begin and end of edit to the edit
    // hooks: 1 when handled, else 0.
    VSTGUI::CMessageResult notify(VSTGUI::CBaseObject* sender, VSTGUI::IdStringPtr message) override;

    // Interface thread. The "Clear All" button listens here instead of on
    // the editor: its press goes to the presenter, which asks before
    // anything is cleared, and no edit of its own reaches the host. The
    // two tracking buttons listen here too: a press that turns tracking on
    // while the session's files are missing waits for the presenter's
    // question; every other change goes on to the editor. "Paste" becomes
    // the pitch graph's paste drag while the graph is open.
    VSTGUI::IControlListener* getControlListener(VSTGUI::UTF8StringPtr controlTagName) override;
    void valueChanged(VSTGUI::CControl* control) override;
    void controlBeginEdit(VSTGUI::CControl* control) override;
    void controlEndEdit(VSTGUI::CControl* control) override;

    // The number of names the registry knows.
    static int registryRowCount();
    // The registry name of a row, 0 based, or null past the end.
    static const char* registryRowName(int row);

protected:
    Corvane_EditorPresenter* owner;
};
