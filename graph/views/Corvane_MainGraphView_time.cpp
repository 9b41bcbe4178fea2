// The pitch graph's time tools, Move Point and Move Region, and what they
// draw over the picture.

#include <algorithm>
#include <cmath>

#include "graph/views/Corvane_EnvelopeGraphView.h"
#include "graph/views/Corvane_MainGraphView.h"
#include "graph/views/Corvane_TimeEditTarget.h"

using namespace VSTGUI;

namespace {

const CColor markerColour(0, 64, 176, 255);
const CColor limitTextColour(0, 0, 0, 255);

// The words of a limit code at the bottom left of the graph.
const char* limitText(int32_t code)
{
    switch (code) {
    case timeLimits::stretchLimit: return "TIME STRETCH LIMIT REACHED";
    case timeLimits::compressionLimit: return "TIME COMPRESSION LIMIT REACHED";
    default: return nullptr;
    }
}

} // namespace

void Corvane_MainGraphView::setTimeEditing(Corvane_TimeEditTarget* target)
{
    if (target == timeEdit) return;
    cancelTimeDrag();
    timeEdit = target;
    timeMapChanged();
}

void Corvane_MainGraphView::setTimeControlOn(bool state)
{
    if (state == timeControlOn) return;
    cancelTimeDrag();
    timeControlOn = state;
    timeMapChanged();
}

void Corvane_MainGraphView::timeMapChanged()
{
    fitDocumentWidth();
    refresh(true, false, false);
    updateThumbs();
}

void Corvane_MainGraphView::setTimeRegions(int64_t timeStart, int64_t timeEnd, int64_t moveStart, int64_t moveEnd)
{
    timeRegionStart = timeStart;
    timeRegionEnd = timeEnd;
    moveRegionStart = moveStart;
    moveRegionEnd = moveEnd;
    refresh(true, false, false);
}

const TimeMap* Corvane_MainGraphView::activeTimeMap(double* scale) const
{
    if (!timeControlOn || !timeEdit) return nullptr;
    const TimeMap* map = timeEdit->mapInForce();
    const double s = timeEdit->samplesPerFrameScale();
    if (!map || map->getPointCount() < 2 || !(s > 0.0)) return nullptr;
    if (scale) *scale = s;
    return map;
}

int64_t Corvane_MainGraphView::outputFrameAtX(CCoord x) const
{
    return std::max<int64_t>(0, pixelToDocX(int32_t(std::floor(x - size.left))));
}

void Corvane_MainGraphView::takeOutputSpan(double& first, double& last) const
{
    double scale = 1.0;
    const TimeMap* map = activeTimeMap(&scale);
    first = last = 0.0;
    if (!map) return;
    first = std::ceil(map->getTargetTimes().front() / scale);
    last = std::floor(map->getOutputEnd() / scale);
}

bool Corvane_MainGraphView::takeHasOutputFrame(int64_t output) const
{
    double first = 0.0, last = 0.0;
    takeOutputSpan(first, last);
    return double(output) >= first && double(output) < last;
}

void Corvane_MainGraphView::timeDown(const CPoint& where)
{
    limitMessage = 0;
    timeChanged = false;
    timeDragging = false;
    double scale = 1.0;
    const TimeMap* map = activeTimeMap(&scale);
    if (!map || !timeEdit) return;
    const int64_t output = outputFrameAtX(where.x);
    const bool inTime = output >= timeRegionStart && output < timeRegionEnd;
    const bool inMove = tool == toolMoveRegion && inTime && output >= moveRegionStart && output < moveRegionEnd;
    if (inMove || (inTime && tool == toolMovePoint)) {
        moveKind = moveTime;
        dragLeft = double(timeRegionStart);
        dragRight = double(timeRegionEnd);
        dragStart = double(inMove ? moveRegionStart : output);
        dragEnd = double(inMove ? moveRegionEnd : output);
        dragStartMap = *map;
        timeList->beginEdit(dragStartMap);
        const TimeDragRange range = timeList->regionRange(dragLeft, dragStart, dragEnd, dragRight, scale);
        lowerLimit = range.low;
        upperLimit = range.high;
        lowLimitCode = range.lowCode;
        highLimitCode = range.highCode;
        timeDelta = 0;
        markerX[0] = docToPixelX(int64_t(dragStart));
        markerX[1] = docToPixelX(int64_t(dragEnd));
    } else if (inTime) {
        moveKind = moveSelectsMoveRegion;
        lowerLimit = double(timeRegionStart);
        upperLimit = double(timeRegionEnd);
        moveRegionStart = moveRegionEnd = output;
    } else if (takeHasOutputFrame(output)) {
        moveKind = moveSelectsTimeRegion;
        takeOutputSpan(lowerLimit, upperLimit);
        timeRegionStart = timeRegionEnd = output;
        moveRegionStart = moveRegionEnd = 0;
    } else {
        return;
    }
    mouseDownPoint = lastMousePoint = where;
    anchorFrame = output;
    mouseTracking = true;
    timeDragging = true;
    dragCursorId = inMove ? 9013 : (inTime ? 9012 : 9010);
    refresh(true, false, false);
}

void Corvane_MainGraphView::timeDrag(const CPoint& whereIn)
{
    if (!timeDragging || !mouseTracking) return;
    CPoint where(whereIn);
    CPoint delta;
    autoScroll(delta, where.x, where.y);
    if (delta.x != 0 || delta.y != 0) {
        mouseDownPoint.offset(delta.x, delta.y);
        lastMousePoint.offset(delta.x, delta.y);
    }
    lastMousePoint = where;
    const double frame = double(pixelToDocX(int32_t(std::floor(where.x - size.left))));
    if (moveKind != moveTime) {
        const int64_t f = int64_t(std::clamp(frame, lowerLimit, upperLimit));
        const int64_t a = std::min(anchorFrame, f), b = std::max(anchorFrame, f);
        if (moveKind == moveSelectsTimeRegion) {
            timeRegionStart = a;
            timeRegionEnd = b;
        } else {
            moveRegionStart = a;
            moveRegionEnd = b;
        }
        refresh(true, false, false);
        return;
    }
    double scale = 1.0;
    if (!timeEdit || !activeTimeMap(&scale)) return;
    // The point (or the region's start) follows the pointer, held at the
    // limits.
    double target = dragStart + (frame - double(anchorFrame));
    limitMessage = 0;
    if (target < lowerLimit) {
        target = lowerLimit;
        limitMessage = lowLimitCode;
    } else if (target > upperLimit) {
        target = upperLimit;
        limitMessage = highLimitCode;
    }
    timeChanged = target != dragStart;
    timeList->resetEdit();
    const int code = timeList->moveTimeRegion(dragLeft, dragStart, dragEnd, dragRight, target, scale);
    if (code > 0) limitMessage = code;
    const TimeMap next = timeList->buildMap();
    if (next.getPointCount() >= 2) timeEdit->previewMap(next);
    timeDelta = int64_t(std::llround(target - dragStart));
    if (dragEnd == dragStart) {
        markerX[0] = markerX[1] = int32_t(std::floor(where.x - size.left));
    } else {
        markerX[0] = docToPixelX(int64_t(dragStart) + timeDelta);
        markerX[1] = docToPixelX(int64_t(dragEnd) + timeDelta);
    }
    refresh(true, false, false);
}

void Corvane_MainGraphView::timeUp()
{
    if (!timeDragging) return;
    timeDragging = false;
    markerX[0] = markerX[1] = -1;
    limitMessage = 0;
    if (moveKind != moveTime) {
        refresh(true, false, false);
        return;
    }
    if (timeEdit && timeChanged && timeList->changed()) {
        const TimeMap next = timeList->buildMap();
        if (next.getPointCount() >= 2) {
            timeEdit->commitMap(next);
            // The move region stays on what it moved.
            if (dragEnd != dragStart) {
                moveRegionStart += timeDelta;
                moveRegionEnd += timeDelta;
            }
        } else {
            timeEdit->previewMap(dragStartMap);
        }
    } else if (timeEdit) {
        timeEdit->previewMap(dragStartMap);
    }
    timeMapChanged();
}

void Corvane_MainGraphView::cancelTimeDrag()
{
    if (!timeDragging) return;
    timeDragging = false;
    markerX[0] = markerX[1] = -1;
    limitMessage = 0;
    if (moveKind == moveTime && timeEdit) timeEdit->previewMap(dragStartMap);
    refresh(true, false, false);
}

void Corvane_MainGraphView::continueDrag()
{
    if (timeDragging && mouseTracking) {
        if (!size.pointInside(lastMousePoint) && autoScrollDue()) timeDrag(lastMousePoint);
        return;
    }
    Corvane_GraphView::continueDrag();
}

void Corvane_MainGraphView::drawOverlay(CDrawContext* context)
{
    Corvane_GraphView::drawOverlay(context);
    const int32_t w = int32_t(getWidth()), h = int32_t(getHeight());
    context->setLineStyle(kLineSolid);
    context->setLineWidth(1);
    context->setFrameColor(markerColour);
    for (int32_t x : markerX)
        if (x >= 0 && x < w) context->drawLine(CPoint(x, 0), CPoint(x, h));
    if (showTimePosition && !mouseTracking && mouseX >= 0 && mouseX < w) {
        context->setFrameColor(CColor(0, 0, 0, 255));
        context->drawLine(CPoint(mouseX, 0), CPoint(mouseX, h));
    }
    if (const char* text = limitText(limitMessage)) {
        context->setFont(kNormalFontSmall);
        context->setFontColor(limitTextColour);
        context->drawString(text, CPoint(2, h - 2), true);
    }
}
