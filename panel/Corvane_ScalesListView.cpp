#include "panel/Corvane_ScalesListView.h"

#include <algorithm>
#include <string>

#include "Common_VST3/VSTGUI4_PlainViewCreator.h"
#include "dsp/Scale_State.h"
#include "dsp/scale_tables.h"
#include "panel/Corvane_KeyboardView.h"
#include "panel/Corvane_PanelOwner.h"
#include "panel/Corvane_ScalesListLayout.h"
#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/cdrawcontext.h"
#include "vstgui/lib/cfont.h"
#include "vstgui/uidescription/iuidescription.h"
#include "vstgui/uidescription/uiattributes.h"

using namespace VSTGUI;

namespace {

// The rows' text: the note's name and its cents, light on the dark field,
// dimmed on a removed row.
CFontDesc rowFont("DejaVu Sans", 11);
constexpr CColor rowText(0xd4, 0xda, 0xe2);
constexpr CColor removedRowText(0x8b, 0x95, 0xa2);

// One semitone, in hundredths of a cent.
constexpr int64_t semitone = 10000;

// A layout rectangle placed at the view's top left corner.
CRect placed(const Corvane_ListRect& r, const CRect& view)
{
    return CRect(view.left + r.left, view.top + r.top, view.left + r.right, view.top + r.bottom);
}

CBitmap* bitmapAttribute(const UIAttributes& attributes, const IUIDescription* description, const char* name)
{
    const std::string* value = attributes.getAttributeValue(name);
    if (value == nullptr || description == nullptr) return nullptr;
    return description->getBitmap(value->c_str());
}

// A note of the scale, by the interval above the key, rounded to the nearest
// semitone (a half rounds up) and folded into the octave: 0 to 11.
int nearestSemitone(int64_t interval)
{
    const int64_t rounded = (interval + semitone / 2) / semitone;
    return int(((rounded % 12) + 12) % 12);
}

} // namespace

Corvane_ScalesListView::Corvane_ScalesListView(const CRect& size) : CView(size) {}

Corvane_ScalesListView::~Corvane_ScalesListView() = default;

void Corvane_ScalesListView::readAttributes(const UIAttributes& attributes, const IUIDescription* description)
{
    setBitmaps(bitmapAttribute(attributes, description, "bypassed-bitmap"),
               bitmapAttribute(attributes, description, "removed-bitmap"),
               bitmapAttribute(attributes, description, "off-bitmap"));
}

void Corvane_ScalesListView::setOwner(Corvane_PanelOwner* newOwner, Scale_State* newScaleState)
{
    owner = newOwner;
    scaleState = newScaleState;
    shownScale = -1;
    firstRow = 0;
    invalid();
}

void Corvane_ScalesListView::setBitmaps(CBitmap* bypassed, CBitmap* removed, CBitmap* off)
{
    bypassedBitmap = bypassed;
    removedBitmap = removed;
    offBitmap = off;
    invalid();
}

int Corvane_ScalesListView::rows() const
{
    if (scaleState == nullptr || scaleState->scale < 0 || scaleState->scale >= scale_count) return 0;
    return Scale_State::rowsOf(scaleState->scale);
}

void Corvane_ScalesListView::followScale()
{
    firstRow = shownFirstRow();
    shownScale = int8_t(rows() > 0 ? scaleState->scale : -1);
}

// Up shows the row above the first, towards the key; down the row below
// the last, towards the octave.
bool Corvane_ScalesListView::stepUp()
{
    followScale();
    if (firstRow == 0) return false;
    --firstRow;
    return true;
}

bool Corvane_ScalesListView::stepDown()
{
    followScale();
    if (firstRow + corvane_list::visibleRows >= rows()) return false;
    ++firstRow;
    return true;
}

void Corvane_ScalesListView::refreshAfterStepUp()
{
    invalid();
}

void Corvane_ScalesListView::refreshAfterStepDown()
{
    invalid();
}

void Corvane_ScalesListView::setMajor()
{
    keepScaleNotes(major_scale_flags);
}

void Corvane_ScalesListView::setMinor()
{
    keepScaleNotes(minor_scale_flags);
}

void Corvane_ScalesListView::keepScaleNotes(const int16_t* flags)
{
    const int count = rows();
    if (count == 0) return;
    const int scale = scaleState->scale;
    for (int row = 0; row < count; ++row) {
        const bool kept = flags[nearestSemitone(scale_intervals[scale][row])] != 0;
        markRow(row, 0, kept ? 0 : 1);
    }
    invalid();
}

void Corvane_ScalesListView::setAll()
{
    for (int row = 0; row < rows(); ++row) markRow(row, 0, 0);
    invalid();
}

void Corvane_ScalesListView::bypassAll()
{
    for (int row = 0; row < rows(); ++row) markRow(row, 1, 0);
    invalid();
}

void Corvane_ScalesListView::removeAll()
{
    for (int row = 0; row < rows(); ++row) markRow(row, 0, 1);
    invalid();
}

void Corvane_ScalesListView::markRow(int row, uint8_t bypassed, uint8_t removed)
{
    scaleState->setRowBypassed(row, scaleState->key, scaleState->scale, bypassed);
    scaleState->setRowRemoved(row, scaleState->key, scaleState->scale, removed);
}

int Corvane_ScalesListView::shownFirstRow() const
{
    const int scale = rows() > 0 ? scaleState->scale : -1;
    const int first = scale == shownScale ? firstRow : 0;
    return std::clamp(first, 0, std::max(0, rows() - corvane_list::visibleRows));
}

int Corvane_ScalesListView::shownRows() const
{
    return std::clamp(rows() - shownFirstRow(), 0, corvane_list::visibleRows);
}

bool Corvane_ScalesListView::rowAt(double x, double y, int& row, int& column) const
{
    const double top = corvane_list::headingHeight;
    if (x < 0 || x >= corvane_list::width || y < top) return false;
    const int visible = int((y - top) / corvane_list::rowHeight);
    if (visible >= shownRows()) return false;
    row = shownFirstRow() + visible;
    // A click anywhere in a column's width counts, not only on its box.
    column = int(Corvane_ListColumn::name);
    for (auto c : {Corvane_ListColumn::cents, Corvane_ListColumn::bypass, Corvane_ListColumn::remove}) {
        if (x >= Corvane_ListHeading(c).left) column = int(c);
    }
    return true;
}

void Corvane_ScalesListView::draw(CDrawContext* context)
{
    if (!getMouseEnabled()) {
        if (offBitmap) offBitmap->draw(context, size);
        setDirty(false);
        return;
    }
    if (CBitmap* background = getBackground()) background->draw(context, size);
    followScale();
    const int shown = shownRows();
    if (shown > 0) {
        const int scale = scaleState->scale;
        const int key = scaleState->key;
        context->saveGlobalState();
        // Nothing of a row lands below the last row the scale has.
        const CRect rowsArea(size.left, size.top + corvane_list::headingHeight, size.right,
                             size.top + corvane_list::headingHeight + shown * corvane_list::rowHeight);
        CRect clip;
        context->getClipRect(clip);
        context->setClipRect(clip.bound(rowsArea));
        context->setFont(&rowFont);
        for (int visible = 0; visible < shown; ++visible) {
            const int row = firstRow + visible;
            const bool removed = scaleState->isRowRemoved(row, scale);
            struct Mark {
                bool on;
                CBitmap* bitmap;
                Corvane_ListColumn column;
            };
            for (const Mark& mark : {Mark{scaleState->isRowBypassed(row, scale), bypassedBitmap,
                                          Corvane_ListColumn::bypass},
                                     Mark{removed, removedBitmap, Corvane_ListColumn::remove}}) {
                if (!mark.on || mark.bitmap == nullptr) continue;
                const Corvane_ListRect box = Corvane_ListCell(visible, mark.column);
                mark.bitmap->draw(context, placed(box, size), CPoint(box.left, box.top));
            }
            context->setFontColor(removed ? removedRowText : rowText);
            context->drawString(Scale_Note_Name(key, scale, row),
                                placed(Corvane_ListCell(visible, Corvane_ListColumn::name), size));
            context->drawString(Scale_Interval_Text(scale, row),
                                placed(Corvane_ListCell(visible, Corvane_ListColumn::cents), size));
        }
        context->restoreGlobalState();
    }
    setDirty(false);
}

CMouseEventResult Corvane_ScalesListView::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    if (!buttons.isLeftButton() || !getMouseEnabled() || scaleState == nullptr) return kMouseEventNotHandled;
    followScale();
    int row = 0, column = 0;
    if (!rowAt(where.x - size.left, where.y - size.top, row, column)) return kMouseEventNotHandled;
    const int scale = scaleState->scale;
    const int key = scaleState->key;
    // The mark clicked toggles; setting it clears the other.
    if (column == int(Corvane_ListColumn::bypass)) {
        const bool on = !scaleState->isRowBypassed(row, scale);
        scaleState->setRowBypassed(row, key, scale, on ? 1 : 0);
        if (on) scaleState->setRowRemoved(row, key, scale, 0);
    } else if (column == int(Corvane_ListColumn::remove)) {
        const bool on = !scaleState->isRowRemoved(row, scale);
        scaleState->setRowRemoved(row, key, scale, on ? 1 : 0);
        if (on) scaleState->setRowBypassed(row, key, scale, 0);
    } else {
        return kMouseEventNotHandled;
    }
    invalid();

    const uint32_t state = scaleState->isRowRemoved(row, scale) ? 2 : scaleState->isRowBypassed(row, scale) ? 1 : 0;
    const int keyColumn = Scale_State::keyColumnOfRow(row, key, scale);
    if (owner != nullptr) {
        if (Corvane_KeyboardView* keyboard = owner->panelKeyboard(); keyboard != nullptr && keyColumn >= 0)
            keyboard->setPitchClassState(keyColumn, state);
        owner->scaleMarksEdited();
    }
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

void Corvane_ScalesListView_register()
{
    VSTGUI4_registerPlainView<Corvane_ScalesListView>("Corvane_ScalesListView", "CView");
}
