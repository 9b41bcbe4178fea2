#include "vstgui/lib/controls/coptionmenu.h"

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/cdrawcontext.h"
#include "vstgui/lib/cframe.h"
#include "vstgui/lib/platform/cairo_support.h"

#include <algorithm>

namespace VSTGUI {

namespace {

// Layout of the list, in pixels.
constexpr CCoord kItemHeight = 18;
constexpr CCoord kSeparatorHeight = 7;
constexpr CCoord kTextInset = 18;
constexpr CCoord kMinWidth = 60;

const CColor kListBackColor(245, 245, 245, 255);
const CColor kListFrameColor(90, 90, 90, 255);
const CColor kListTextColor(20, 20, 20, 255);
const CColor kListDisabledTextColor(150, 150, 150, 255);
const CColor kListHighlightColor(60, 110, 200, 255);

} // namespace

// The list of a menu, shown as the frame's modal view. It is removed (and
// released) as soon as a press picks an entry or falls outside.
class OptionMenuPopup : public CView {
public:
    OptionMenuPopup(COptionMenu* menu, const CRect& rect) : CView(rect), menu(menu) {}

    // The entry under a point of the frame, -1 for none.
    int32_t entryAt(const CPoint& where) const
    {
        if (!size.pointInside(where)) return -1;
        CCoord y = size.top + 1;
        for (int32_t i = 0; i < menu->getNbEntries(); ++i) {
            const CMenuItem* item = menu->getEntry(i);
            const CCoord h = item->isSeparator() ? kSeparatorHeight : kItemHeight;
            if (where.y >= y && where.y < y + h) return item->isSeparator() ? -1 : i;
            y += h;
        }
        return -1;
    }

    void draw(CDrawContext* context) override
    {
        context->saveGlobalState();
        context->setDrawMode(kAliasing);
        context->setFillColor(kListBackColor);
        context->setFrameColor(kListFrameColor);
        context->setLineWidth(1);
        context->drawRect(size, kDrawFilledAndStroked);
        context->setFont(kNormalFont);
        CCoord y = size.top + 1;
        for (int32_t i = 0; i < menu->getNbEntries(); ++i) {
            const CMenuItem* item = menu->getEntry(i);
            if (item->isSeparator()) {
                context->setFrameColor(kListFrameColor);
                context->drawLine(CPoint(size.left + 4, y + 3), CPoint(size.right - 4, y + 3));
                y += kSeparatorHeight;
                continue;
            }
            const CRect row(size.left + 1, y, size.right - 1, y + kItemHeight);
            const bool highlighted = i == highlight && item->isEnabled() && !item->isTitle();
            if (highlighted) {
                context->setFillColor(kListHighlightColor);
                context->drawRect(row, kDrawFilled);
            }
            const bool checked = item->isChecked() ||
                                 ((menu->getStyle() & COptionMenu::kCheckStyle) && i == menu->currentIndex);
            const CColor text = !item->isEnabled() ? kListDisabledTextColor
                                                   : (highlighted ? kWhiteCColor : kListTextColor);
            if (checked) {
                context->setFillColor(text);
                context->drawEllipse(CRect(row.left + 6, row.top + 6, row.left + 12, row.top + 12), kDrawFilled);
            }
            context->setFontColor(text);
            CRect textRect(row);
            textRect.left += kTextInset;
            context->drawString(item->getTitle(), textRect, kLeftText);
            y += kItemHeight;
        }
        context->restoreGlobalState();
        setDirty(false);
    }

    CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override
    {
        SharedPointer<COptionMenu> keep(menu);
        const int32_t index = entryAt(where);
        CFrame* frame = getFrame();
        close(frame);
        if (index >= 0 && buttons.isLeftButton()) {
            const CMenuItem* item = keep->getEntry(index);
            if (item && item->isEnabled() && !item->isTitle()) keep->selectEntry(index);
        }
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }

    CMouseEventResult onMouseMoved(CPoint& where, const CButtonState&) override
    {
        const int32_t index = entryAt(where);
        if (index != highlight) {
            highlight = index;
            invalid();
        }
        return kMouseEventHandled;
    }

    int32_t onKeyDown(VstKeyCode& key) override
    {
        const int32_t count = menu->getNbEntries();
        auto step = [&](int32_t dir) {
            int32_t i = highlight;
            for (int32_t n = 0; n < count; ++n) {
                i = (i + dir + count) % count;
                const CMenuItem* item = menu->getEntry(i);
                if (!item->isSeparator() && item->isEnabled() && !item->isTitle()) break;
            }
            highlight = i;
            invalid();
        };
        switch (key.virt) {
            case VKEY_DOWN: step(1); return 1;
            case VKEY_UP: step(-1); return 1;
            case VKEY_ESCAPE: close(getFrame()); return 1;
            case VKEY_RETURN:
            case VKEY_ENTER: {
                SharedPointer<COptionMenu> keep(menu);
                const int32_t index = highlight;
                close(getFrame());
                if (index >= 0) keep->selectEntry(index);
                return 1;
            }
            default: return -1;
        }
    }

    void close(CFrame* frame)
    {
        menu->popupOpen = false;
        menu->invalid();
        if (frame && frame->getModalView() == this) frame->setModalView(nullptr);
    }

    bool removed(CView* parent) override
    {
        menu->popupOpen = false;
        return CView::removed(parent);
    }

    CLASS_METHODS_NOCOPY(OptionMenuPopup, CView)

private:
    SharedPointer<COptionMenu> menu;
    int32_t highlight = -1;
};

COptionMenu::COptionMenu(const CRect& size, IControlListener* listener, int32_t tag, CBitmap* background,
                         CBitmap* bgWhenClick, const int32_t style)
    : CParamDisplay(size, background, style), bgWhenClick(bgWhenClick)
{
    setListener(listener);
    setTag(tag);
    setWantsFocus(true);
    updateRange();
}

COptionMenu::COptionMenu(const CRect& size) : COptionMenu(size, nullptr, -1)
{
}

COptionMenu::COptionMenu(const COptionMenu& m)
    : CParamDisplay(m), currentIndex(m.currentIndex), lastResult(m.lastResult), bgWhenClick(m.bgWhenClick)
{
    for (const auto& item : m.items) items.push_back(owned(new CMenuItem(*item)));
}

void COptionMenu::updateRange()
{
    vmin = 0;
    vmax = items.empty() ? 0.f : float(items.size() - 1);
}

CMenuItem* COptionMenu::addEntry(CMenuItem* item, int32_t index)
{
    if (!item) return nullptr;
    auto held = owned(item);
    if (index < 0 || index >= int32_t(items.size()))
        items.push_back(held);
    else
        items.insert(items.begin() + index, held);
    updateRange();
    if (currentIndex < 0 && !item->isSeparator()) {
        currentIndex = int32_t(items.size()) - 1;
        value = float(currentIndex);
    }
    return item;
}

CMenuItem* COptionMenu::addEntry(UTF8StringPtr title, int32_t index, int32_t itemFlags)
{
    if (title && std::string(title) == "-") return addSeparator(index);
    return addEntry(new CMenuItem(title, itemFlags), index);
}

CMenuItem* COptionMenu::addSeparator(int32_t index)
{
    return addEntry(new CMenuItem("", CMenuItem::kSeparator), index);
}

bool COptionMenu::removeEntry(int32_t index)
{
    if (index < 0 || index >= int32_t(items.size())) return false;
    items.erase(items.begin() + index);
    updateRange();
    if (currentIndex >= int32_t(items.size())) currentIndex = int32_t(items.size()) - 1;
    value = float(currentIndex < 0 ? 0 : currentIndex);
    setDirty(true);
    return true;
}

bool COptionMenu::removeAllEntry()
{
    items.clear();
    currentIndex = -1;
    value = 0;
    updateRange();
    setDirty(true);
    return true;
}

CMenuItem* COptionMenu::getEntry(int32_t index) const
{
    if (index < 0 || index >= int32_t(items.size())) return nullptr;
    return items[size_t(index)];
}

int32_t COptionMenu::getCurrentIndex(bool countSeparator) const
{
    if (countSeparator || currentIndex < 0) return currentIndex;
    int32_t n = 0;
    for (int32_t i = 0; i < currentIndex; ++i) {
        if (!items[size_t(i)]->isSeparator()) ++n;
    }
    return n;
}

bool COptionMenu::setCurrent(int32_t index, bool countSeparator)
{
    if (!countSeparator) {
        int32_t n = -1;
        for (int32_t i = 0; i < int32_t(items.size()); ++i) {
            if (!items[size_t(i)]->isSeparator() && ++n == index) {
                index = i;
                break;
            }
        }
        if (n != index) return false;
    }
    if (index < 0 || index >= int32_t(items.size())) return false;
    currentIndex = index;
    value = float(index);
    setDirty(true);
    return true;
}

bool COptionMenu::checkEntry(int32_t index, bool state)
{
    CMenuItem* item = getEntry(index);
    if (!item || item->isSeparator()) return false;
    item->setChecked(state);
    return true;
}

bool COptionMenu::isCheckEntry(int32_t index) const
{
    const CMenuItem* item = getEntry(index);
    return item && item->isChecked();
}

void COptionMenu::setValue(float val)
{
    if (items.empty()) {
        CParamDisplay::setValue(0);
        return;
    }
    int32_t index = int32_t(val + 0.5f);
    index = std::max(0, std::min(index, int32_t(items.size()) - 1));
    if (index == currentIndex && value == float(index)) return;
    currentIndex = index;
    CParamDisplay::setValue(float(index));
    setDirty(true);
}

void COptionMenu::selectEntry(int32_t index)
{
    if (!getEntry(index)) return;
    lastResult = index;
    beginEdit();
    setValue(float(index));
    if (getStyle() & kMultipleCheckStyle) checkEntry(index, !isCheckEntry(index));
    valueChanged();
    endEdit();
    invalid();
}

bool COptionMenu::popup()
{
    CFrame* frame = getFrame();
    if (!frame || items.empty() || popupOpen) return false;
    CCoord width = std::max(getWidth(), kMinWidth);
    CCoord height = 2;
    CairoSupport::MeasuringContext measure;
    cairo_t* cr = measure.get();
    CairoSupport::selectFont(cr, *kNormalFont);
    for (const auto& item : items) {
        height += item->isSeparator() ? kSeparatorHeight : kItemHeight;
        cairo_text_extents_t e;
        cairo_text_extents(cr, item->getTitle(), &e);
        width = std::max(width, e.x_advance + kTextInset + 12);
    }
    CPoint origin(0, 0);
    localToFrame(origin);
    CRect list(origin.x + size.left, origin.y + size.bottom, 0, 0);
    list.setWidth(width);
    list.setHeight(height);
    // Keep the list inside the frame: above the menu when it does not fit
    // below, and moved left when it passes the right edge.
    if (list.bottom > frame->getHeight()) list.offset(0, -(height + size.getHeight()));
    if (list.top < 0) list.offset(0, -list.top);
    if (list.right > frame->getWidth()) list.offset(frame->getWidth() - list.right, 0);
    if (list.left < 0) list.offset(-list.left, 0);
    popupOpen = true;
    frame->setModalView(new OptionMenuPopup(this, list));
    invalid();
    return true;
}

void COptionMenu::draw(CDrawContext* pContext)
{
    CBitmap* back = (popupOpen && bgWhenClick) ? bgWhenClick.get() : nullptr;
    drawBack(pContext, back);
    if (const CMenuItem* item = getCurrent()) drawPlatformText(pContext, item->getTitle());
    setDirty(false);
}

CMouseEventResult COptionMenu::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    if (!buttons.isLeftButton()) return kMouseEventNotHandled;
    if (!popup()) return kMouseEventNotHandled;
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

int32_t COptionMenu::onKeyDown(VstKeyCode& keyCode)
{
    if (keyCode.modifier == 0 && (keyCode.virt == VKEY_RETURN || keyCode.virt == VKEY_ENTER ||
                                  keyCode.virt == VKEY_SPACE)) {
        return popup() ? 1 : -1;
    }
    return -1;
}

} // namespace VSTGUI
