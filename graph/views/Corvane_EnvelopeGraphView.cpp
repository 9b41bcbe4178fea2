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
    int64_t frames = frameArray ? std::max<int64_t>(1, frameArray->trackedEnd()) : 1;
    // A take that plays longer than it was tracked shows whole above.
    if (isTimeControlOn()) frames = std::max(frames, int64_t(std::ceil(frameToOutput(double(frames)))));
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

const TimeMap* Corvane_EnvelopeGraphView::activeTimeMap(double* scale) const
{
    return mainView ? mainView->activeTimeMap(scale) : nullptr;
}

void Corvane_EnvelopeGraphView::drawBackground(CDrawContext* context, int32_t left, int32_t right, int32_t top,
                                               int32_t bottom, bool throughMap)
{
    if (!mainView) {
        context->setFillColor(backgroundColour);
        context->drawRect(CRect(left, top, right, bottom), kDrawFilled);
        return;
    }
    drawBand(context, left, right, top, bottom, mainView->bandRanges(), backgroundColour, rangeColour, throughMap);
}

void Corvane_EnvelopeGraphView::drawLane(CDrawContext* context, int32_t left, int32_t right, double baseline,
                                         double scale, double top, double bottom, bool throughMap)
{
    if (!frameArray || frameArray->frameCount() == 0) return;
    const int64_t end = std::min(frameArray->trackedEnd(), frameArray->frameCount());
    auto frameAt = [&](int32_t x) { return throughMap ? pixelToFrameMapped(x) : pixelToDocX(x); };
    for (int32_t c = std::max(left, 0); c < right; ++c) {
        const int64_t d0 = std::max<int64_t>(0, frameAt(c));
        if (d0 >= end) break;
        const int64_t d1 = std::min(end, std::max(d0 + 1, frameAt(c + 1)));
        float lo, hi;
        if (!framePeaks(d0, d1, lo, hi)) continue;
        const double y0 = std::min(bottom, baseline - lo * scale);
        const double y1 = std::max(top, baseline - hi * scale);
        context->drawLine(CPoint(c, y0), CPoint(c, std::min(y1, y0 - 1)));
    }
}

void Corvane_EnvelopeGraphView::drawContent(CDrawContext* context, int32_t left, int32_t right)
{
    const int32_t w = int32_t(getWidth());
    const int32_t h = int32_t(getHeight());
    beginContent(context, left, right);
    // With time control the audio shows twice: above as it plays through
    // the map, below as it was tracked.
    const bool twoLanes = isTimeControlOn();
    if (twoLanes) {
        drawBackground(context, left, right, 0, h / 2, true);
        drawBackground(context, left, right, h / 2, h, false);
    } else {
        drawBackground(context, left, right, 0, h, true);
    }
    const int32_t audioRight = std::min(right, linkedToMain ? w : unlinkedWidth);
    context->setFrameColor(waveColour);
    if (std::max(left, 0) < audioRight) {
        for (int32_t y : {h / 2, twoLanes ? h / 4 : -1, twoLanes ? h * 3 / 4 : -1})
            if (y >= 0) context->drawLine(CPoint(std::max(left, 0), y), CPoint(audioRight, y));
    }
    if (twoLanes) {
        const double scale = std::trunc(0.4 * h);
        drawLane(context, left, audioRight, 0.25 * h, scale, 0.0, h / 2, true);
        drawLane(context, left, audioRight, 0.75 * h, scale, h / 2, double(h), false);
    } else {
        drawLane(context, left, audioRight, h / 2, std::trunc(h * 0.8), 0.0, double(h), true);
    }
    drawRuler(context, true, true, left, std::min(right, linkedToMain ? w : unlinkedWidth));
}

void Corvane_EnvelopeGraphView::drawOverlay(CDrawContext* context)
{
    if (!mainView) return;
    const int64_t frame = mainView->getPlayheadFrame();
    if (frame <= 0 || !frameArray || frame >= frameArray->frameCount()) return;
    context->setFrameColor(markerColour);
    context->setLineStyle(kLineSolid);
    context->setLineWidth(1);
    // With two lanes the play position stands where it plays above and
    // where it was tracked below.
    const bool twoLanes = isTimeControlOn();
    const CCoord h = getHeight(), middle = twoLanes ? std::floor(h / 2) : h;
    const int32_t x = frameToPixelMapped(frame), tracked = docToPixelX(frame);
    if (x > 0 && x < int32_t(getWidth())) context->drawLine(CPoint(x, 0), CPoint(x, middle));
    if (twoLanes && tracked > 0 && tracked < int32_t(getWidth()))
        context->drawLine(CPoint(tracked, middle), CPoint(tracked, h));
}

CMouseEventResult Corvane_EnvelopeGraphView::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    lastButtons = buttons;
    if ((int32_t(buttons) & buttonMask) != kLButton || !mainView || isPlaying()) return kMouseEventNotHandled;
    mouseDownPoint = lastMousePoint = where;
    anchorFrame = std::max<int64_t>(0, pixelToDocX(int32_t(where.x - size.left)));
    mouseTracking = true;
    if (mainView->getTool() == toolIBeam) {
        // The I-beam range is in source frames: as the pitch graph shows them.
        anchorFrame = std::max<int64_t>(0, pixelToFrameMapped(int32_t(where.x - size.left)));
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
        if (mainView->getTool() == toolIBeam) {
            const int64_t frame = std::max<int64_t>(0, pixelToFrameMapped(int32_t(where.x - size.left)));
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
