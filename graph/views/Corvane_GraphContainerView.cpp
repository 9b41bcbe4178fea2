#include "graph/views/Corvane_GraphContainerView.h"

#include "graph/views/Corvane_MainGraphView.h"
#include "vstgui/uidescription/iviewcreator.h"
#include "vstgui/uidescription/uiviewfactory.h"

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

namespace {

class Corvane_GraphContainerView_Creator : public ViewCreatorAdapter {
public:
    IdStringPtr getViewName() const override { return "Corvane_GraphContainerView"; }
    IdStringPtr getBaseViewName() const override { return "CViewContainer"; }
    CView* create(const UIAttributes&, const IUIDescription*) const override
    {
        return new Corvane_GraphContainerView(CRect());
    }
};

} // namespace

void Corvane_GraphContainerView_register()
{
    static const Corvane_GraphContainerView_Creator creator;
    static const bool registered = (UIViewFactory::registerViewCreator(creator), true);
    (void)registered;
}
