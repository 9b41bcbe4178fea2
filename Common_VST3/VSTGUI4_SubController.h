#pragma once

#include <vector>

#include "vstgui/lib/controls/ccontrol.h"
#include "vstgui/uidescription/delegationcontroller.h"

// Entries of the lists of named views: a view and its "view-name", at most
// 31 characters (longer names are cut).
struct NamedViewEntry {
    VSTGUI::CView* view;
    char name[32];
};
struct NamedControlEntry {
    VSTGUI::CControl* control;
    char name[32];
};

// A sub-controller of a panel built from a UI description: it hands every
// controller call to its parent and lists the views that bear a
// "view-name", in creation order. Named controls are also observed: their
// messages reach notify. Neither list owns what it points to, and both are
// valid only while the panel lives.
class VSTGUI4_SubController : public VSTGUI::DelegationController, public VSTGUI::CBaseObject {
public:
    explicit VSTGUI4_SubController(VSTGUI::IController* parent);
    ~VSTGUI4_SubController() override;

    // Interface thread, while the panel is built. Asks the parent, then lists
    // a named view (and observes it when it is a control).
    VSTGUI::CView* verifyView(VSTGUI::CView* view, const VSTGUI::UIAttributes& attributes,
                              const VSTGUI::IUIDescription* description) override;

    // Interface thread. A value change of a named control goes to the parent
    // as valueChanged; other messages are not handled.
    VSTGUI::CMessageResult notify(VSTGUI::CBaseObject* sender, VSTGUI::IdStringPtr message) override;

    const std::vector<NamedViewEntry>& getViewList() const { return viewList; }
    const std::vector<NamedControlEntry>& getControlList() const { return controlList; }
    // The first listed view of a name, or null.
    VSTGUI::CView* findView(const char* name) const;

protected:
    // Lists a named view; answers the name as kept, or null without a name.
    const char* listView(VSTGUI::CView* view, const VSTGUI::UIAttributes& attributes);

    std::vector<NamedControlEntry> controlList;
    std::vector<NamedViewEntry> viewList;
};
