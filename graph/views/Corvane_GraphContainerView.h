#pragma once

#include "vstgui/lib/cviewcontainer.h"

class Corvane_MainGraphView;

// The container of the graph views: the Graph-mode page. It keeps the main
// graph view so that a line under construction can follow the pointer over
// the whole page; without one it is a plain container.
class Corvane_GraphContainerView : public VSTGUI::CViewContainer {
public:
    explicit Corvane_GraphContainerView(const VSTGUI::CRect& size);

    // Interface thread. The main graph view of the page, or null.
    void setMainView(Corvane_MainGraphView* view) { mainView = view; }
    Corvane_MainGraphView* getMainView() const { return mainView; }

    // Interface thread. A move with no left-button drag goes to the line
    // under construction of the main view, which follows the pointer over
    // the whole page; otherwise as a plain container.
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;

    CLASS_METHODS(Corvane_GraphContainerView, CViewContainer)

protected:
    Corvane_MainGraphView* mainView = nullptr;
};

// Registers the container's creator ("Corvane_GraphContainerView" on the
// base "CViewContainer") with the view factory; once per process.
void Corvane_GraphContainerView_register();
