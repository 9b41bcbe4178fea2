#include "graph/views/Corvane_EnvelopeGraphView.h"

#include <algorithm>
#include <cmath>

#include "Common_VST3/VSTGUI4_PlainViewCreator.h"
#include "graph/model/TrackedFrameArray.h"
#include "graph/views/Corvane_MainGraphView.h"
#include "vstgui/lib/cframe.h"

using namespace VSTGUI;

namespace {

const CColor backgroundColour(191, 207, 223, 255);
const CColor rangeColour(160, 160, 160, 255);
const CColor waveColour(80, 112, 112, 255);
const CColor markerColour(0, 0, 0, 255);

} // namespace

Corvane_EnvelopeGraphView::Corvane_EnvelopeGraphView(const CRect& size) : Corvane_GraphView(size) {}

void Corvane_EnvelopeGraphView::setMainView(Corvane_MainGraphView* view)
{
    mainView = view;
    refresh(false, false, false);
}

void Corvane_EnvelopeGraphView::setLinkedToMain(bool state)
{
    if (state == linkedToMain) return;
    linkedToMain = state;
    refresh(false, false, false);
}

void Corvane_EnvelopeGraphView::followMain()
{
    const int32_t w = std::max(1, int32_t(getWidth()));
    if (linkedToMain && mainView) {
        zoom.x = mainView->getZoom().x;
        scrollOffset.x = mainView->getScrollOffset().x;
        documentSize.x = mainView->getDocumentSize().x;
        unlinkedWidth = w;
        return;
    }
    const int64_t frames = frameArray ? std::max<int64_t>(1, frameArray->trackedEnd()) : 1;
    zoom.x = double(std::max<int64_t>(1, (frames + w - 1) / w));
    scrollOffset.x = 0.0;
    unlinkedWidth = int32_t(std::min<int64_t>(w, (frames + int64_t(zoom.x) - 1) / int64_t(zoom.x)));
}

bool Corvane_EnvelopeGraphView::isShowingBarsAndBeats()
{
    return mainView ? mainView->isShowingBarsAndBeats() : false;
}

bool Corvane_EnvelopeGraphView::isPlaying()
{
    return mainView ? mainView->isPlaying() : false;
}

CPoint Corvane_EnvelopeGraphView::getGraphSize()
{
    return CPoint(linkedToMain ? int32_t(getWidth()) : unlinkedWidth, int32_t(getHeight()));
}

void Corvane_EnvelopeGraphView::getCursorAt(CPoint, CButtonState, uint32_t& kind, uint32_t& id)
{
    kind = 0;
    id = 0;
    if (isPlaying()) {
        kind = kCursorNotAllowed;
        return;
    }
    if (!mainView) return;
    kind = customCursorKind;
    id = mainView->getTool() == toolIBeam ? 9010 : 9007;
}

void Corvane_EnvelopeGraphView::refresh(bool, bool, bool keepPicture)
{
    followMain();
    VSTGUI4_ScrollableView::refresh(false, false, keepPicture);
}

void Corvane_EnvelopeGraphView::drawContent(CDrawContext* context, int32_t left, int32_t right)
{
    const int32_t w = int32_t(getWidth());
    const int32_t h = int32_t(getHeight());
    beginContent(context, left, right);
    context->setFillColor(backgroundColour);
    context->drawRect(CRect(left, 0, right, h), kDrawFilled);
    if (mainView && mainView->getSelectionEnd() > mainView->getSelectionStart()) {
        const int32_t x0 = std::max(left, docToPixelX(mainView->getSelectionStart()));
        const int32_t x1 = std::min(right, docToPixelX(mainView->getSelectionEnd()) + 1);
        if (x1 > x0) {
            context->setFillColor(rangeColour);
            context->drawRect(CRect(x0, 0, x1, h), kDrawFilled);
        }
    }
    const int32_t audioRight = std::min(right, linkedToMain ? w : unlinkedWidth);
    context->setFrameColor(waveColour);
    if (std::max(left, 0) < audioRight)
        context->drawLine(CPoint(std::max(left, 0), h / 2), CPoint(audioRight, h / 2));
    if (frameArray && frameArray->frameCount() > 0) {
        const int64_t end = std::min(frameArray->trackedEnd(), frameArray->frameCount());
        const double baseline = h / 2;
        const double scale = std::trunc(h * 0.8);
        for (int32_t c = std::max(left, 0); c < audioRight; ++c) {
            const int64_t d0 = std::max<int64_t>(0, pixelToDocX(c));
            if (d0 >= end) break;
            const int64_t d1 = std::min(end, std::max(d0 + 1, pixelToDocX(c + 1)));
            float lo, hi;
            if (!framePeaks(d0, d1, lo, hi)) continue;
            const double y0 = std::min(double(h), baseline - lo * scale);
            const double y1 = std::max(0.0, baseline - hi * scale);
            context->drawLine(CPoint(c, y0), CPoint(c, std::min(y1, y0 - 1)));
        }
    }
    drawRuler(context, true, true, left, std::min(right, linkedToMain ? w : unlinkedWidth));
}

void Corvane_EnvelopeGraphView::drawOverlay(CDrawContext* context)
{
    if (!mainView) return;
    const int64_t frame = mainView->getPlayheadFrame();
    const int32_t x = docToPixelX(frame);
    if (frame > 0 && frameArray && frame < frameArray->frameCount() && x > 0 && x < int32_t(getWidth())) {
        context->setFrameColor(markerColour);
        context->setLineStyle(kLineSolid);
        context->setLineWidth(1);
        context->drawLine(CPoint(x, 0), CPoint(x, getHeight()));
    }
}

CMouseEventResult Corvane_EnvelopeGraphView::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    lastButtons = buttons;
    if ((int32_t(buttons) & buttonMask) != kLButton || !mainView || isPlaying()) return kMouseEventNotHandled;
    mouseDownPoint = lastMousePoint = where;
    anchorFrame = std::max<int64_t>(0, pixelToDocX(int32_t(where.x - size.left)));
    mouseTracking = true;
    if (mainView->getTool() == toolIBeam) {
        mainView->setSelection(anchorFrame, anchorFrame);
    } else if (getOffscreen()) {
        overlayOffscreen = owned(
            COffscreenContext::create(getFrame(), getWidth(), getHeight(), offscreen->getScaleFactor()));
        if (overlayOffscreen) offscreen->copyFrom(overlayOffscreen, CRect(0, 0, getWidth(), getHeight()));
    }
    setCursor(where, buttons, true);
    return kMouseEventHandled;
}

CMouseEventResult Corvane_EnvelopeGraphView::onMouseMoved(CPoint& where, const CButtonState& buttons)
{
    lastButtons = buttons;
    if (mainView && mouseTracking && (int32_t(buttons) & buttonMask) == kLButton) {
        const int64_t frame = std::max<int64_t>(0, pixelToDocX(int32_t(where.x - size.left)));
        if (mainView->getTool() == toolIBeam) {
            mainView->setSelection(std::min(anchorFrame, frame), std::max(anchorFrame, frame));
        } else if (offscreen && overlayOffscreen) {
            overlayOffscreen->copyFrom(offscreen, CRect(0, 0, getWidth(), getHeight()));
            offscreen->beginDraw();
            offscreen->setDrawMode(kAliasing);
            offscreen->setFrameColor(markerColour);
            offscreen->setLineStyle(kLineSolid);
            offscreen->setLineWidth(1);
            for (CCoord x : {mouseDownPoint.x, where.x})
                offscreen->drawLine(CPoint(x - size.left, 0), CPoint(x - size.left, getHeight()));
            offscreen->endDraw();
            setDirty(true);
        }
        lastMousePoint = where;
    }
    setCursor(where, buttons, false);
    return kMouseEventHandled;
}

CMouseEventResult Corvane_EnvelopeGraphView::onMouseUp(CPoint& where, const CButtonState& buttons)
{
    if (!mouseTracking) return kMouseEventNotHandled;
    mouseTracking = false;
    if (overlayOffscreen && offscreen) overlayOffscreen->copyFrom(offscreen, CRect(0, 0, getWidth(), getHeight()));
    overlayOffscreen = nullptr;
    setDirty(true);
    if (!mainView || mainView->getTool() == toolIBeam) return kMouseEventHandled;
    const int64_t a = std::max<int64_t>(0, pixelToDocX(int32_t(mouseDownPoint.x - size.left)));
    const int64_t b = std::max<int64_t>(0, pixelToDocX(int32_t(where.x - size.left)));
    const double mainWidth = std::floor(mainView->getWidth());
    VSTGUI4_DocPair mainZoom = mainView->getZoom();
    double left;
    if (std::abs(where.x - mouseDownPoint.x) > 2) {
        // The frames dragged over fill the main view.
        const int64_t span = std::max<int64_t>(1, std::abs(b - a));
        mainZoom.x = double(std::max<int64_t>(1, int64_t(std::ceil(double(span) / mainWidth))));
        left = double(std::min(a, b));
    } else {
        left = double(a) - mainWidth * mainZoom.x / 2;
    }
    mainView->setZoom(mainZoom);
    const double maxLeft = std::max(0.0, mainView->getDocumentSize().x - mainWidth * mainZoom.x);
    mainView->setScrollOffset({std::clamp(std::floor(left), 0.0, maxLeft), mainView->getScrollOffset().y});
    mainView->refresh(true, true, false);
    mainView->updateThumbs();
    return kMouseEventHandled;
}

bool Corvane_EnvelopeGraphView::onWheel(const CPoint&, const CMouseWheelAxis&, const float&, const CButtonState&)
{
    return false;
}

void Corvane_EnvelopeGraphView_register()
{
    VSTGUI4_registerPlainView<Corvane_EnvelopeGraphView>("Corvane_EnvelopeGraphView", "Corvane_GraphView");
}
