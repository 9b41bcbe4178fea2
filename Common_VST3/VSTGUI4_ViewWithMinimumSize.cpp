#include "Common_VST3/VSTGUI4_ViewWithMinimumSize.h"

using namespace VSTGUI;

VSTGUI4_ViewWithMinimumSize::VSTGUI4_ViewWithMinimumSize(const CRect& size) : CView(size)
{
}

VSTGUI4_ViewWithMinimumSize::VSTGUI4_ViewWithMinimumSize(const VSTGUI4_ViewWithMinimumSize& other)
    : CView(other), minSize(other.minSize)
{
    setWantsFocus(true);
}

VSTGUI4_ViewWithMinimumSize::~VSTGUI4_ViewWithMinimumSize() = default;
