#include "graph/views/Corvane_GraphView.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "Common_VST3/VSTGUI4_PlainViewCreator.h"
#include "Common_VST3/utilities.h"
#include "graph/model/TimeMap.h"
#include "graph/model/TrackedFrameArray.h"
#include "graph/views/Corvane_Cursors.h"
#include "graph/views/Corvane_EnvelopeGraphView.h"
#include "graph/views/Corvane_KeyboardGraphView.h"
#include "graph/views/Corvane_MainGraphView.h"
#include "vstgui/lib/cframe.h"

using namespace VSTGUI;

namespace {

const CColor backgroundColour(255, 255, 255, 255);
const CColor octaveColour(208, 208, 216, 255);
const CColor inputPitchColour(255, 0, 0, 255);
const CColor rulerColour(128, 128, 128, 255);
const CColor rulerTextColour(80, 112, 112, 255);
const CColor playheadColour(0, 0, 0, 255);
const CColor bandColour(0, 0, 0, 255);

// Clock-time ruler: the base step by the span in sight, and the multiples
// of it a step may be.
struct RulerBase {
    int64_t minimumSpan;  // ms
    int64_t base;         // ms
};
const RulerBase rulerBases[] = {{9000005, 1800000}, {150005, 30000}, {0, 500}};
const int64_t rulerMultiples[] = {1, 2, 4, 5, 10, 15, 20, 30, 40, 60};
// Labels are drawn for ticks this far (pixels) outside the columns being
// drawn, so that a label that reaches into them is drawn whole.
constexpr int32_t labelReach = 60;
// Rows below the label band that descenders may reach.
constexpr int32_t labelDescent = 6;

// The cursor of each tool away from anything it acts on: kind and id.
struct ToolCursor {
    uint32_t kind;
    uint32_t id;
};
const ToolCursor toolCursors[Corvane_GraphView::toolCount] = {
    {Corvane_GraphView::customCursorKind, 9000},  // draw lines
    {Corvane_GraphView::customCursorKind, 9000},  // draw curves
    {Corvane_GraphView::customCursorKind, 9000},  // draw notes
    {kCursorDefault, 0},                          // arrow
    {Corvane_GraphView::customCursorKind, 9006},  // scissors
    {Corvane_GraphView::customCursorKind, 9008},  // zoom (9009 with alt, 9007 in a drag)
    {Corvane_GraphView::customCursorKind, 9010},  // I-beam
    {kCursorHand, 0},                             // hand scroll (9011 in a drag)
    {kCursorNotAllowed, 0},                       // move point: needs time control
    {kCursorNotAllowed, 0},                       // move region: needs time control
};

int32_t inputPitch(const TrackedFrame& f)
{
    return (f.centsA + f.centsB) / 2;
}

// A map's values are floats times a whole scale: a frame that lands on a
// whole output frame may come back a hair below it, and is still that frame.
constexpr double frameTolerance = 1e-6;

// Output position of source position t (engine samples). Past the take the
// source runs on unchanged in length from where the take's end plays, as
// the inverse does, so that objects beyond the take keep their lengths.
double outputOf(const TimeMap& map, double t)
{
    if (map.getPointCount() < 2) return t;
    if (t >= map.getRangeEnd()) return map.getOutputEnd() + (t - map.getRangeEnd());
    if (t < map.getRangeStart()) return t + (map.getTargetTimes().front() - map.getSourceTimes().front());
    return map.mapForView(t);
}

} // namespace

Corvane_GraphView::Corvane_GraphView(const CRect& size) : VSTGUI4_ScrollableView(size)
{
    documentSize = VSTGUI4_DocPair{0.0, double(documentHeight)};
}

Corvane_GraphView::~Corvane_GraphView() = default;

void Corvane_GraphView::setFrames(TrackedFrameArray* frames, int64_t frameSamples, double rate)
{
    frameArray = frames;
    samplesPerFrame = effectiveSamplesPerFrame(frameSamples);
    sampleRate = rate;
    fitDocumentWidth();
    refresh(true, false, false);
    updateThumbs();
}

void Corvane_GraphView::fitDocumentWidth()
{
    const double frames = frameArray ? double(frameArray->frameCount()) : 0.0;
    documentSize.x = frames;
    if (frames > 0.0 && isTimeControlOn()) documentSize.x = std::max(frames, std::ceil(frameToOutput(frames)));
    documentSize.y = double(documentHeight);
    const double maxX = std::max(0.0, documentSize.x - std::floor(getWidth()) * zoom.x);
    const double maxY = std::max(0.0, documentSize.y - std::floor(getHeight()) * zoom.y);
    scrollOffset.x = std::min(scrollOffset.x, maxX);
    scrollOffset.y = std::min(scrollOffset.y, maxY);
}

//--- Time map.

const TimeMap* Corvane_GraphView::activeTimeMap(double*) const
{
    return nullptr;
}

double Corvane_GraphView::frameToOutput(double frame) const
{
    double scale = 1.0;
    const TimeMap* map = activeTimeMap(&scale);
    return map && scale > 0.0 ? outputOf(*map, frame * scale) / scale : frame;
}

double Corvane_GraphView::outputToFrame(double output) const
{
    double scale = 1.0;
    const TimeMap* map = activeTimeMap(&scale);
    return map && scale > 0.0 ? map->unmapForView(output * scale) / scale : output;
}

void Corvane_GraphView::drawBand(CDrawContext* context, int32_t left, int32_t right, int32_t top, int32_t bottom,
                                 const BandRanges& ranges, const CColor& plain, const CColor& selected,
                                 bool throughMap)
{
    static const CColor timeRegionColour(160, 176, 192, 255);
    static const CColor moveRegionColour(128, 144, 160, 255);
    context->setFillColor(plain);
    context->drawRect(CRect(left, top, right, bottom), kDrawFilled);
    auto ofFrame = [&](int64_t frame) { return throughMap ? frameToPixelMapped(frame) : docToPixelX(frame); };
    auto ofOutput = [&](int64_t output) {
        return throughMap ? docToPixelX(output) : docToPixelX(int64_t(std::floor(outputToFrame(double(output)))));
    };
    auto stretch = [&](int32_t x0, int32_t x1, const CColor& colour) {
        x0 = std::max(left, x0);
        x1 = std::min(right, x1 + 1);
        if (x1 <= x0) return;
        context->setFillColor(colour);
        context->drawRect(CRect(x0, top, x1, bottom), kDrawFilled);
    };
    const BandRanges& r = ranges;
    if (r.selectionEnd > r.selectionStart) {
        stretch(ofFrame(r.selectionStart), ofFrame(r.selectionEnd), selected);
    } else if (r.timeEnd > r.timeStart && isTimeControlOn()) {
        stretch(ofOutput(r.timeStart), ofOutput(r.timeEnd), timeRegionColour);
        const int64_t m0 = std::max(r.timeStart, r.moveStart), m1 = std::min(r.timeEnd, r.moveEnd);
        if (m1 > m0) stretch(ofOutput(m0), ofOutput(m1), moveRegionColour);
    }
}

int32_t Corvane_GraphView::frameToPixelMapped(int64_t frame) const
{
    double scale = 1.0;
    const TimeMap* map = activeTimeMap(&scale);
    if (!map || !(scale > 0.0)) return docToPixelX(frame);
    const double x = std::floor(outputOf(*map, double(frame) * scale) / scale + frameTolerance);
    return docToPixelX(int64_t(std::clamp(x, -1e15, 1e15)));
}

int64_t Corvane_GraphView::pixelToFrameMapped(int32_t x) const
{
    const int64_t doc = pixelToDocX(x);
    double scale = 1.0;
    const TimeMap* map = activeTimeMap(&scale);
    if (!map || !(scale > 0.0)) return doc;
    const double frame = std::floor(map->unmapForView(double(doc) * scale) / scale + frameTolerance);
    return int64_t(std::clamp(frame, -1e15, 1e15));
}

double Corvane_GraphView::getFramesPerSecond() const
{
    return sampleRate > 0.0 ? sampleRate / double(samplesPerFrame) : 0.0;
}

void Corvane_GraphView::setTool(int32_t value)
{
    if (value < 0 || value >= toolCount || value == tool) return;
    tool = value;
    CPoint where;
    if (getFrame() && getFrame()->getCurrentMouseLocation(where)) {
        frameToLocal(where);
        if (size.pointInside(where)) setCursor(where, lastButtons, true);
    }
}

void Corvane_GraphView::setShowingBarsAndBeats(bool state)
{
    if (state == barsAndBeats) return;
    barsAndBeats = state;
    refresh(true, false, false);
}

void Corvane_GraphView::setCursors(const Corvane_CursorSet* set, bool useCustom)
{
    cursorBitmaps = set;
    useCustomCursors = useCustom;
    cursorSent = false;
}

//--- Timer.

bool Corvane_GraphView::takeChangedFrames(int64_t* changedLow, int64_t* changedHigh)
{
    if (!frameArray) return false;
    int64_t low = 0, high = -1;
    frameArray->takeDirty(low, high);
    if (low > high) return false;
    if (changedLow) *changedLow = low;
    if (changedHigh) *changedHigh = high;
    repaintFrames(low, high);
    return true;
}

void Corvane_GraphView::repaintFrames(int64_t low, int64_t high)
{
    if (!offscreen || low > high) return;  // the next draw paints everything
    const int32_t w = int32_t(getWidth());
    const int32_t left = std::max(0, frameToPixelMapped(low) - 1);
    const int32_t right = std::min(w, frameToPixelMapped(high + 1) + 2);
    if (left < right) {
        repaint(left, right);
        setDirty(true);
    }
}

void Corvane_GraphView::followPlayhead(int64_t frame, bool isPlaying, bool autoScrollOn)
{
    const bool wasPlaying = playing;
    const int64_t old = playheadFrame;
    playing = isPlaying;
    if (playing) playheadFrame = frame;
    if (playing && autoScrollOn && !mouseTracking) {
        const int32_t w = int32_t(getWidth());
        const int32_t x = frameToPixelMapped(frame);
        const int32_t distance = x - w / 2;
        if (x < 0)
            scrollLeft(-distance);
        else if (x >= int32_t(0.8 * w))
            scrollRight(distance);
    }
    if (old != playheadFrame || wasPlaying != playing) setDirty(true);
}

void Corvane_GraphView::continueDrag()
{
    if (!mouseTracking || tool != toolZoom) return;
    if (size.pointInside(lastMousePoint) || !autoScrollDue()) return;
    dragBand(lastMousePoint, bandColour);
}

//--- Cursor.

void Corvane_GraphView::getCursorAt(CPoint, CButtonState buttons, uint32_t& kind, uint32_t& id)
{
    kind = 0;
    id = 0;
    if (tool < 0 || tool >= toolCount) return;
    if (isPlaying() && tool != toolHandScroll) {
        kind = kCursorNotAllowed;
        return;
    }
    kind = toolCursors[tool].kind;
    id = toolCursors[tool].id;
    const bool alt = ((mouseTracking ? int32_t(lastButtons) : int32_t(buttons)) & kAlt) != 0;
    if (tool == toolZoom) id = mouseTracking ? 9007 : (alt ? 9009 : 9008);
    if (tool == toolHandScroll && mouseTracking) {
        kind = customCursorKind;
        id = 9011;
    }
}

void Corvane_GraphView::setCursor(CPoint where, CButtonState buttons, bool force)
{
    CFrame* frame = getFrame();
    if (!frame) return;
    uint32_t kind = 0, id = 0;
    getCursorAt(where, buttons, kind, id);
    if (!force && cursorSent && kind == lastCursorKind && id == lastCursorId) return;
    if (kind == customCursorKind) {
        const Corvane_CursorEntry* entry = corvaneCursorEntry(id);
        CPoint hotSpot;
        CBitmap* bitmap = useCustomCursors && cursorBitmaps ? cursorBitmaps->find(id, hotSpot) : nullptr;
        if (bitmap)
            frame->setCustomCursor(bitmap, hotSpot);
        else if (!useCustomCursors && entry)
            frame->setCursor(entry->system);
        else {
            kind = 0;
            id = 0;
            frame->setCursor(kCursorDefault);
        }
    } else {
        frame->setCursor(CCursorType(kind));
    }
    lastCursorKind = kind;
    lastCursorId = id;
    cursorSent = true;
}

//--- Painting.

void Corvane_GraphView::releaseOffscreens()
{
    overlayOffscreen = nullptr;
    VSTGUI4_ScrollableView::releaseOffscreens();
}

void Corvane_GraphView::followFrameScale()
{
    if (offscreen && getFrame() && offscreen->getScaleFactor() != getFrame()->getZoom()) releaseOffscreens();
}

bool Corvane_GraphView::framePeaks(int64_t from, int64_t to, float& lo, float& hi) const
{
    lo = 1.0f;
    hi = -1.0f;
    for (int64_t d = from; d < to; ++d) {
        const TrackedFrame f = frameArray->get(d);
        if (!f.filled()) continue;
        lo = std::min(lo, f.minSample);
        hi = std::max(hi, f.maxSample);
    }
    return lo != 1.0f;
}

void Corvane_GraphView::beginContent(CDrawContext* context, int32_t& left, int32_t& right) const
{
    if (right < 0) {
        left = 0;
        right = int32_t(getWidth());
    }
    context->setDrawMode(kAntiAliasing);
    context->setLineStyle(kLineSolid);
    context->setLineWidth(1);
}

void Corvane_GraphView::drawContent(CDrawContext* context, int32_t left, int32_t right)
{
    const int32_t h = int32_t(getHeight());
    beginContent(context, left, right);
    context->setFillColor(backgroundColour);
    context->drawRect(CRect(left, 0, right, h), kDrawFilled);

    // A line at every C.
    context->setFrameColor(octaveColour);
    for (int32_t cents = topCents - topCents % 1200; cents >= bottomCents; cents -= 1200) {
        const int32_t y = docToPixelY(topCents - cents);
        // From a column before to one after: the line's ends lie half a
        // pixel off the columns, as in a drawing of the whole width.
        if (y >= 0 && y < h) context->drawLine(CPoint(left - 1, y), CPoint(right + 1, y));
    }

    drawInputPitch(context, left, right);
    drawRuler(context, true, true, left, right);
}

void Corvane_GraphView::drawInputPitch(CDrawContext* context, int32_t left, int32_t right)
{
    auto voicedPitch = [](const TrackedFrame& f, const void*) {
        return f.voiced() && f.centsA != TrackedFrame::unvoicedCents ? inputPitch(f) : TrackedFrame::unvoicedCents;
    };
    drawPitchTrace(context, left, right, inputPitchColour, voicedPitch, nullptr);
}

void Corvane_GraphView::drawPitchTrace(CDrawContext* context, int32_t left, int32_t right, const CColor& colour,
                                       int32_t (*centsOf)(const TrackedFrame&, const void*), const void* data)
{
    // Per column the span of the frames' pitch, joined to the column before
    // when both ends have one. A joining line may touch the columns on
    // either side of its own two, so columns from two before `left` to one
    // past `right` are visited: every line that reaches into the columns is
    // drawn, as a drawing of the whole width draws it.
    if (!frameArray) return;
    const int64_t end = std::min(frameArray->trackedEnd(), frameArray->frameCount());
    context->setFrameColor(colour);
    bool previousHas = false;
    int32_t previousY = 0;
    for (int32_t c = left - 2; c <= right + 1; ++c) {
        // A column shows at least the frame under it, also where the time
        // map stretches a frame over several columns.
        int64_t d0 = pixelToFrameMapped(c), d1 = std::max(d0 + 1, pixelToFrameMapped(c + 1));
        if (d0 >= end) break;
        d0 = std::max<int64_t>(d0, 0);
        d1 = std::min(d1, end);
        if (d1 <= d0) {
            previousHas = false;
            continue;
        }
        bool any = false, firstHas = false, lastHas = false;
        int32_t minY = 0, maxY = 0, firstY = 0, lastY = 0;
        for (int64_t d = d0; d < d1; ++d) {
            const int32_t cents = centsOf(frameArray->get(d), data);
            const bool has = cents != TrackedFrame::unvoicedCents;
            if (has) {
                const int32_t y = docToPixelY(int64_t(topCents) - cents);
                if (!any) minY = maxY = y;
                minY = std::min(minY, y);
                maxY = std::max(maxY, y);
                if (d == d0) {
                    firstHas = true;
                    firstY = y;
                }
                lastY = y;
                any = true;
            }
            lastHas = has;
        }
        if (previousHas && firstHas)
            context->drawLine(CPoint(c - 1, previousY), CPoint(c, firstY));
        else if (any && minY == maxY)
            context->drawPoint(CPoint(c, minY), colour);
        if (any && minY != maxY) context->drawLine(CPoint(c, minY), CPoint(c, maxY));
        previousHas = lastHas;
        previousY = lastY;
    }
}

void Corvane_GraphView::repaintLabelBand()
{
    if (!offscreen) return;
    offscreen->beginDraw();
    offscreen->setClipRect(CRect(0, 0, getWidth(), rulerLabelBand + labelDescent));
    drawContent(offscreen, 0, int32_t(getWidth()));
    offscreen->endDraw();
}

int32_t Corvane_GraphView::scrollUp(int32_t count)
{
    const int32_t moved = VSTGUI4_ScrollableView::scrollUp(count);
    if (moved > 0) repaintLabelBand();
    return moved;
}

int32_t Corvane_GraphView::scrollDown(int32_t count)
{
    const int32_t moved = VSTGUI4_ScrollableView::scrollDown(count);
    if (moved > 0) repaintLabelBand();
    return moved;
}

void Corvane_GraphView::drawRuler(CDrawContext* context, bool drawTicks, bool drawLabels, int32_t left, int32_t right)
{
    const double framesPerSecond = getFramesPerSecond();
    if (!(framesPerSecond > 0.0)) return;
    const CPoint graph = getGraphSize();
    const int32_t width = int32_t(graph.x);
    const int32_t height = int32_t(graph.y);
    context->setFrameColor(rulerColour);
    context->setLineStyle(kLineSolid);
    context->setFont(kNormalFontSmaller);
    context->setFontColor(rulerTextColour);
    const CCoord baseline = rulerLabelBand - 2;
    auto label = [&](const char* text, int32_t x) {
        const CCoord textWidth = context->getStringWidth(text);
        context->drawString(text, CPoint(std::floor(x - textWidth / 2 + 2), baseline), true);
    };
    char text[32];

    if (isShowingBarsAndBeats()) {
        std::vector<Tick>* ticks = getTickBuffer();
        if (!drawTicks || !ticks || !frameArray || frameArray->frameCount() == 0) return;
        ticks->clear();
        // Beats just outside the view are listed for their labels, which
        // may reach into it.
        int32_t minDistance = width;
        int32_t lastX = -width - labelReach;
        const int64_t last = std::min(pixelToDocX(width + labelReach), frameArray->frameCount());
        for (int64_t d = std::max<int64_t>(0, pixelToDocX(-labelReach)); d <= last; ++d) {
            const TrackedFrame f = frameArray->get(d);
            if (f.bar <= 0 || f.beat == 0) continue;
            const int32_t x = docToPixelX(d);
            minDistance = std::min(minDistance, x - lastX);
            lastX = x;
            ticks->push_back(Tick{f.bar, f.beat, x});
        }
        int32_t gap = width;
        for (size_t i = 0; i < ticks->size(); ++i) {
            const Tick& t = (*ticks)[i];
            if (i + 1 < ticks->size()) gap = (*ticks)[i + 1].x - t.x;
            const bool tick = t.beat == 1 || minDistance > 3;
            if (tick && t.x >= left && t.x <= right) context->drawLine(CPoint(t.x, 0), CPoint(t.x, height));
            if (!drawLabels || t.x < left - labelReach || t.x > right + labelReach) continue;
            if (minDistance <= 3) {
                if (gap >= 16 && tick) {
                    std::snprintf(text, sizeof text, "%lu", (unsigned long)t.bar);
                    label(text, t.x);
                }
            } else if (gap >= 24) {
                std::snprintf(text, sizeof text, "%lu:%lu", (unsigned long)t.bar, (unsigned long)t.beat);
                label(text, t.x);
            } else if (gap >= 16 && t.beat == 1) {
                std::snprintf(text, sizeof text, "%lu", (unsigned long)t.bar);
                label(text, t.x);
            }
        }
        return;
    }

    // Clock time.
    int64_t leftMs = 0, rightMs = 0;
    Samples_ToTimeString(pixelToDocX(0) * samplesPerFrame, text, &leftMs, sampleRate);
    Samples_ToTimeString(pixelToDocX(width) * samplesPerFrame, text, &rightMs, sampleRate);
    const int64_t span = rightMs - leftMs;
    int64_t base = 500;
    for (const RulerBase& b : rulerBases) {
        if (span >= b.minimumSpan) {
            base = b.base;
            break;
        }
    }
    const double wanted = double(span) / 5.0 / double(base);
    int64_t step = rulerMultiples[9] * base;
    for (int64_t m : rulerMultiples) {
        if (double(m) >= wanted) {
            step = m * base;
            break;
        }
    }
    for (int64_t t = (leftMs + step / 2) / step * step;; t += step) {
        if (t == 0) continue;
        const int64_t frame = int64_t(float(t) * framesPerSecond / 1000);
        const int32_t x = docToPixelX(frame);
        if (x > right + labelReach) break;
        if (drawTicks && x >= left && x <= right) context->drawLine(CPoint(x, 0), CPoint(x, height));
        if (drawLabels && x >= left - labelReach && x <= right + labelReach) {
            Samples_ToTimeString(int64_t(double(t) * sampleRate / 1000.0), text, nullptr, sampleRate);
            label(text, x);
        }
    }
}

void Corvane_GraphView::drawOverlay(CDrawContext* context)
{
    const int32_t x = frameToPixelMapped(playheadFrame);
    if (playheadFrame > 0 && x > 0 && x < int32_t(getWidth())) {
        context->setFrameColor(playheadColour);
        context->setLineStyle(kLineSolid);
        context->setLineWidth(1);
        context->drawLine(CPoint(x, 0), CPoint(x, getHeight()));
    }
}

void Corvane_GraphView::draw(CDrawContext* context)
{
    drawRect(context, size);
}

void Corvane_GraphView::drawRect(CDrawContext* context, const CRect& updateRect)
{
    followFrameScale();
    COffscreenContext* picture = getOffscreen();
    if (!picture) {
        setDirty(false);
        return;
    }
    CRect r(updateRect);
    r.bound(size);
    if (!r.isEmpty()) {
        const CPoint source(std::max(0.0, r.left - size.left), std::max(0.0, r.top - size.top));
        picture->copyFrom(context, r, source);
        CGraphicsTransform shift;
        shift.translate(size.left, size.top);
        CDrawContext::Transform transform(*context, shift);
        drawOverlay(context);
    }
    setDirty(false);
}

//--- Mouse.

bool Corvane_GraphView::dragBand(const CPoint& where, const CColor& colour)
{
    if (!mouseTracking || !offscreen || !overlayOffscreen) return false;
    CPoint delta;
    autoScroll(delta, where.x, where.y);
    if (delta.x != 0 || delta.y != 0) {
        mouseDownPoint.offset(delta.x, delta.y);
        lastMousePoint.offset(delta.x, delta.y);
        offscreen->copyFrom(overlayOffscreen, CRect(0, 0, getWidth(), getHeight()));
    }
    overlayOffscreen->copyFrom(offscreen, CRect(0, 0, getWidth(), getHeight()));
    CRect band(mouseDownPoint, CPoint(0, 0));
    band.right = where.x;
    band.bottom = where.y;
    band.normalize();
    band.offset(-size.left, -size.top);
    offscreen->beginDraw();
    offscreen->setDrawMode(kAliasing);
    offscreen->setFrameColor(colour);
    offscreen->setLineStyle(kLineSolid);
    offscreen->setLineWidth(1);
    offscreen->drawRect(band, kDrawStroke);
    offscreen->endDraw();
    setDirty(true);
    lastMousePoint = where;
    return true;
}

CMouseEventResult Corvane_GraphView::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    lastButtons = buttons;
    if ((int32_t(buttons) & buttonMask) != kLButton) return kMouseEventNotHandled;
    mouseDownPoint = lastMousePoint = where;
    anchorFrame = pixelToDocX(int32_t(where.x - size.left));
    mouseTracking = true;
    if (tool == toolZoom && getOffscreen()) {
        const double scale = offscreen->getScaleFactor();
        overlayOffscreen = owned(COffscreenContext::create(getFrame(), getWidth(), getHeight(), scale));
        if (overlayOffscreen) offscreen->copyFrom(overlayOffscreen, CRect(0, 0, getWidth(), getHeight()));
    }
    setCursor(where, buttons, true);
    return kMouseEventHandled;
}

CMouseEventResult Corvane_GraphView::onMouseMoved(CPoint& where, const CButtonState& buttons)
{
    lastButtons = buttons;
    if (mouseTracking && (int32_t(buttons) & buttonMask) == kLButton) {
        if (tool == toolZoom)
            dragBand(where, bandColour);
        else if (tool == toolHandScroll)
            VSTGUI4_ScrollableView::onMouseMoved(where, buttons);
        lastMousePoint = where;
    }
    setCursor(where, buttons, false);
    return kMouseEventHandled;
}

CMouseEventResult Corvane_GraphView::onMouseUp(CPoint& where, const CButtonState& buttons)
{
    if (!mouseTracking) return kMouseEventNotHandled;
    mouseTracking = false;
    if (tool == toolZoom && overlayOffscreen && offscreen) {
        // The band goes, then the zoom: in about the band's centre, out with alt.
        overlayOffscreen->copyFrom(offscreen, CRect(0, 0, getWidth(), getHeight()));
        overlayOffscreen = nullptr;
        int32_t visible = 0;
        bool zoomed;
        if (int32_t(lastButtons) & kAlt)
            zoomed = zoomOutHorizontal(visible);
        else
            zoomed = zoomInHorizontalAt(pixelToDocX(int32_t((mouseDownPoint.x + where.x) / 2 - size.left)), visible);
        if (zoomed) {
            refresh(true, false, false);
            updateThumbs();
        } else {
            setDirty(true);
        }
    }
    setCursor(where, buttons, true);
    return kMouseEventHandled;
}

CMouseEventResult Corvane_GraphView::onMouseEntered(CPoint& where, const CButtonState& buttons)
{
    lastButtons = buttons;
    setCursor(where, buttons, true);
    return kMouseEventHandled;
}

CMouseEventResult Corvane_GraphView::onMouseExited(CPoint&, const CButtonState& buttons)
{
    lastButtons = buttons;
    if (getFrame() && !mouseTracking) getFrame()->setCursor(kCursorDefault);
    cursorSent = false;
    return kMouseEventHandled;
}

void Corvane_GraphView_register()
{
    VSTGUI4_registerPlainView<Corvane_GraphView>("Corvane_GraphView", "VSTGUI4_ScrollableView");
    Corvane_MainGraphView_register();
    Corvane_EnvelopeGraphView_register();
    Corvane_KeyboardGraphView_register();
}
