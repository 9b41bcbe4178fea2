#include "graph/views/Corvane_KeyboardGraphView.h"

#include <cmath>
#include <cstdio>

#include "Common_VST3/VSTGUI4_PlainViewCreator.h"
#include "graph/views/Corvane_MainGraphView.h"
#include "vstgui/lib/cdrawcontext.h"

using namespace VSTGUI;

namespace {

const CColor whiteKeyColour(240, 240, 232, 255);
const CColor blackKeyColour(16, 16, 16, 255);
const CColor keyLineColour(128, 128, 128, 255);
const CColor labelColour(80, 112, 112, 255);
// The keys of an octave from C: 1 white, 0 black.
const bool whiteKeys[12] = {1, 0, 1, 0, 1, 1, 0, 1, 0, 1, 0, 1};

int32_t roundAwayHundreds(double cents)
{
    const double n = cents / 100.0;
    return int32_t(n < 0 ? -std::floor(-n + 0.5) : std::floor(n + 0.5));
}

} // namespace

Corvane_KeyboardGraphView::Corvane_KeyboardGraphView(const CRect& size) : CView(size) {}

void Corvane_KeyboardGraphView::setNoteNames(const char* const names[12], int32_t referenceOffset)
{
    for (int i = 0; i < 12; ++i) noteNames[i] = names && names[i] ? names[i] : "";
    named = names != nullptr;
    offset = referenceOffset;
    invalid();
}

bool Corvane_KeyboardGraphView::isWhiteKey(int32_t noteIndex)
{
    return whiteKeys[((noteIndex % 12) + 12) % 12];
}

void Corvane_KeyboardGraphView::noteOf(int32_t cents, int32_t& noteIndex, int32_t& octave)
{
    noteIndex = roundAwayHundreds(cents);
    octave = 3;
    while (noteIndex > 11) {
        ++octave;
        noteIndex -= 12;
    }
    while (noteIndex < 0) {
        --octave;
        noteIndex += 12;
    }
}

void Corvane_KeyboardGraphView::draw(CDrawContext* context)
{
    setDirty(false);
    if (!mainView || !named) return;
    context->setLineStyle(kLineSolid);
    context->setLineWidth(1);
    context->setDrawMode(kAliasing);
    context->setFont(kNormalFontSmaller);
    const int32_t h = int32_t(mainView->getHeight());
    const int32_t topPitch = int32_t(Corvane_GraphView::topCents - mainView->pixelToDocY(0));
    const int32_t bottomPitch = int32_t(Corvane_GraphView::topCents - mainView->pixelToDocY(h));
    const int32_t top = offset + roundAwayHundreds(topPitch) * 100 + 100;
    const int32_t bottom = offset + roundAwayHundreds(bottomPitch) * 100 - 100;
    for (int32_t pitch = bottom; pitch <= top; pitch += 100) {
        int32_t noteIndex = 0, octave = 0;
        noteOf(pitch - offset, noteIndex, octave);
        char label[24];
        std::snprintf(label, sizeof label, "%s%d", noteNames[noteIndex].c_str(), int(octave));
        drawKey(context, pitch, label, isWhiteKey(noteIndex));
    }
    context->setFrameColor(keyLineColour);
    context->drawLine(CPoint(size.right - 1, size.top), CPoint(size.right - 1, size.bottom));
}

void Corvane_KeyboardGraphView::drawKey(CDrawContext* context, int32_t pitch, const char* label, bool white)
{
    const int16_t top = int16_t(mainView->docToPixelY(Corvane_GraphView::topCents - (pitch + 50)) + size.top);
    const int16_t bottom = int16_t(mainView->docToPixelY(Corvane_GraphView::topCents - (pitch - 50)) + size.top);
    if (bottom <= top) return;
    CRect key(size.left, top, size.right - 1, bottom - 1);
    key.bound(size);
    if (key.isEmpty()) return;
    context->setFillColor(white ? whiteKeyColour : blackKeyColour);
    context->drawRect(key, kDrawFilled);
    context->setFrameColor(keyLineColour);
    if (top >= size.top && top < size.bottom) context->drawLine(CPoint(size.left, top), CPoint(size.right - 1, top));
    if (bottom == size.bottom) context->drawLine(CPoint(size.left, bottom), CPoint(size.right - 1, bottom));
    const CCoord fontSize = context->getFont() ? context->getFont()->getSize() : 9.0;
    if (label && top >= size.top && top < size.bottom && bottom <= size.bottom && key.getHeight() >= fontSize) {
        context->setFontColor(labelColour);
        CRect text(key);
        text.left += 2;
        text.bottom -= 1;
        context->drawString(label, text, kLeftText);
    }
}

bool Corvane_KeyboardGraphView::onWheel(const CPoint&, const CMouseWheelAxis& axis, const float& distance,
                                        const CButtonState&)
{
    if (!mainView || axis != kMouseWheelAxisY || distance == 0.0f) return false;
    if (distance > 0)
        mainView->scrollUp(0);
    else
        mainView->scrollDown(0);
    return true;
}

void Corvane_KeyboardGraphView_register()
{
    VSTGUI4_registerPlainView<Corvane_KeyboardGraphView>("Corvane_KeyboardGraphView", "CView");
}
