#include "graph/views/Corvane_GraphContainerView.h"

#include "Common_VST3/VSTGUI4_PlainViewCreator.h"
#include "graph/views/Corvane_MainGraphView.h"

using namespace VSTGUI;

Corvane_GraphContainerView::Corvane_GraphContainerView(const CRect& size) : CViewContainer(size) {}

CMouseEventResult Corvane_GraphContainerView::onMouseMoved(CPoint& where, const CButtonState& buttons)
{
    if (mainView == nullptr || (int32_t(buttons) & VSTGUI4_ScrollableView::buttonMask) == kLButton)
        return CViewContainer::onMouseMoved(where, buttons);
    // The main view's events are in this container's own coordinates.
    CPoint inside(where);
    inside.offset(-getViewSize().left, -getViewSize().top);
    if (mainView->moveRubberLine(inside, buttons)) return kMouseEventHandled;
    return CViewContainer::onMouseMoved(where, buttons);
}

void Corvane_GraphContainerView_register()
{
    VSTGUI4_registerPlainView<Corvane_GraphContainerView>("Corvane_GraphContainerView", "CViewContainer");
}
