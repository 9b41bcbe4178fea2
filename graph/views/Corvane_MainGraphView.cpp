#include "graph/views/Corvane_MainGraphView.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "Common_VST3/VSTGUI4_PlainViewCreator.h"
#include "Common_VST3/utilities.h"
#include "graph/model/ObjectEditor.h"
#include "graph/model/TrackedFrameArray.h"
#include "graph/views/Corvane_EnvelopeGraphView.h"
#include "vstgui/lib/cframe.h"

using namespace VSTGUI;

namespace {

const CColor backgroundColour(255, 255, 255, 255);
const CColor selectionColour(216, 224, 236, 255);
const CColor waveformColour(224, 224, 224, 255);
const CColor gridColour(236, 236, 242, 255);
const CColor octaveGridColour(208, 208, 216, 255);
const CColor lineColour(0, 0, 128, 255);
const CColor modulatedCurveColour(0, 64, 176, 255);
const CColor handleColour(0, 0, 0, 255);
const CColor noteFrameColour(0, 24, 121, 255);
const CColor selectedNoteFrameColour(0, 64, 176, 255);
const CColor noteFillColour(229, 242, 248, 255);
const CColor selectedNoteFillColour(250, 253, 255, 255);
const CColor noteWaveColour(110, 173, 245, 255);
const CColor outputPitchColour(0, 96, 32, 255);
const CColor bandColour(0, 0, 0, 255);
const CColor rubberColour(0, 0, 128, 255);
const CColor midiColour(144, 48, 160, 255);
const CColor laneColour(255, 255, 255, 255);
const CColor offScaleLaneColour(216, 216, 224, 255);
const CColor selectedLaneColour(160, 160, 160, 255);
const CColor selectedOffScaleLaneColour(102, 102, 102, 255);
const CColor laneWaveformColour(191, 207, 223, 255);
// Height of the waveform inside a note, as a share of the note's height.
constexpr float noteEnvelopeScale = 0.8f;

const ObjectList emptyList;

bool isLineKind(uint8_t kind) { return kind == KindLineStart || kind == KindLinePoint; }

bool sameSelection(const ObjectList& a, const ObjectList& b)
{
    if (a.count() != b.count()) return false;
    for (size_t i = 0; i < a.count(); ++i)
        if (bool(a.records[i].selected) != bool(b.records[i].selected)) return false;
    return true;
}

int32_t roundAway(double v) { return int32_t(v < 0 ? -std::floor(-v + 0.5) : std::floor(v + 0.5)); }

// Pitch of the straight segment between two records at `frame`.
int32_t pitchBetween(const ObjectRecord& a, const ObjectRecord& b, int64_t frame)
{
    if (b.position <= a.position) return a.pitch;
    const double t = double(frame - a.position) / double(b.position - a.position);
    return roundAway(a.pitch + t * (b.pitch - a.pitch));
}

int32_t outputCents(const TrackedFrame& f, double sampleRate)
{
    if (!(f.outputPeriod > 0.0f) || !(sampleRate > 0.0)) return TrackedFrame::unvoicedCents;
    return roundAway(Period_ToCents(f.outputPeriod, float(sampleRate)));
}

} // namespace

Corvane_MainGraphView::Corvane_MainGraphView(const CRect& size) : Corvane_GraphView(size) {}

Corvane_MainGraphView::~Corvane_MainGraphView() = default;

void Corvane_MainGraphView::setObjects(ObjectEditor* editor, std::function<NewObjectSettings()> settings)
{
    objects = editor;
    newSettings = std::move(settings);
    refresh(true, false, false);
}

const ObjectList& Corvane_MainGraphView::currentList() const
{
    return objects ? objects->currentList() : emptyList;
}

void Corvane_MainGraphView::setPitchOffset(int16_t cents)
{
    if (cents == pitchOffset) return;
    pitchOffset = cents;
    refresh(false, true, false);
}

void Corvane_MainGraphView::setShowOutputCurve(bool state)
{
    if (state == showOutputCurve) return;
    showOutputCurve = state;
    refresh(false, false, false);
}

void Corvane_MainGraphView::setShowTimePosition(bool state)
{
    if (state == showTimePosition) return;
    showTimePosition = state;
    invalidColumn(mouseX);
}

void Corvane_MainGraphView::setShowMidi(bool state)
{
    if (state == showMidi) return;
    showMidi = state;
    refresh(false, false, false);
}

void Corvane_MainGraphView::setLanes(bool show, const bool* inScale)
{
    showLanes = show;
    lanesKnown = inScale != nullptr;
    for (int i = 0; i < 12; ++i) laneInScale[i] = inScale && inScale[i];
    refresh(false, false, false);
}

void Corvane_MainGraphView::setFollowers(Corvane_EnvelopeGraphView* envelope, CView* keyboard)
{
    envelopeView = envelope;
    keyboardView = keyboard;
}

void Corvane_MainGraphView::setSelection(int64_t start, int64_t end)
{
    selectionStart = start;
    selectionEnd = end;
    refresh(true, false, false);
}

//--- Coordinates.

int64_t Corvane_MainGraphView::frameAtX(CCoord x) const
{
    const int64_t last = frameArray ? std::max<int64_t>(0, frameArray->frameCount() - 1) : 0;
    return std::clamp<int64_t>(pixelToFrameMapped(int32_t(std::floor(x - size.left))), 0, last);
}

int32_t Corvane_MainGraphView::centsAtPixel(int32_t y) const
{
    return int32_t(std::clamp<int64_t>(topCents - pixelToDocY(y), lowestObjectPitch, highestObjectPitch));
}

int32_t Corvane_MainGraphView::snappedCents(int32_t cents) const
{
    int32_t c = pitchOffset + 100 * roundAway(double(cents - pitchOffset) / 100.0);
    // A note above or below the range moves a semitone inwards.
    while (c > highestObjectPitch) c -= 100;
    while (c < lowestObjectPitch) c += 100;
    return c;
}

//--- Painting.

void Corvane_MainGraphView::refresh(bool updateEnvelope, bool updateKeyboard, bool keepPicture)
{
    Corvane_GraphView::refresh(false, false, keepPicture);
    if (updateEnvelope && envelopeView) envelopeView->refresh(false, false, keepPicture);
    if (updateKeyboard && keyboardView) keyboardView->invalid();
}

int32_t Corvane_MainGraphView::scrollUp(int32_t count)
{
    const int32_t moved = Corvane_GraphView::scrollUp(count);
    if (moved > 0 && keyboardView) keyboardView->invalid();
    return moved;
}

int32_t Corvane_MainGraphView::scrollDown(int32_t count)
{
    const int32_t moved = Corvane_GraphView::scrollDown(count);
    if (moved > 0 && keyboardView) keyboardView->invalid();
    return moved;
}

int32_t Corvane_MainGraphView::scrollLeft(int32_t count)
{
    const int32_t moved = Corvane_GraphView::scrollLeft(count);
    if (moved > 0 && envelopeView && envelopeView->isLinkedToMain()) envelopeView->refresh(false, false, false);
    return moved;
}

int32_t Corvane_MainGraphView::scrollRight(int32_t count)
{
    const int32_t moved = Corvane_GraphView::scrollRight(count);
    if (moved > 0 && envelopeView && envelopeView->isLinkedToMain()) envelopeView->refresh(false, false, false);
    return moved;
}

void Corvane_MainGraphView::drawContent(CDrawContext* context, int32_t left, int32_t right)
{
    const int32_t h = int32_t(getHeight());
    beginContent(context, left, right);
    if (showLanes && lanesKnown) {
        drawLanes(context, left, right);
    } else {
        drawBand(context, left, right, 0, h, bandRanges(), backgroundColour, selectionColour);
        drawWaveform(context, left, right, waveformColour);
        drawGrid(context, left, right);
    }
    const ObjectList& list = busy ? workingList : currentList();
    drawObjects(context, list, 2, left, right);
    drawInputPitch(context, left, right);
    if (showMidi) drawMidiBars(context, left, right);
    drawObjects(context, list, 1, left, right);
    if (showOutputCurve) drawOutputPitch(context, left, right);
    drawRuler(context, true, true, left, right);
}

void Corvane_MainGraphView::drawLanes(CDrawContext* context, int32_t left, int32_t right)
{
    const int32_t h = int32_t(getHeight());
    const int32_t top = int32_t(topCents - pixelToDocY(0)) / 100 * 100 + 200;
    const int32_t bottom = int32_t(topCents - pixelToDocY(h)) / 100 * 100 - 200;
    for (int32_t c = top; c >= bottom; c -= 100) {
        const int32_t cents = c + pitchOffset;
        const int32_t y0 = std::max(0, pixelOfCents(cents + 50)), y1 = std::min(h, pixelOfCents(cents - 50) + 1);
        if (y1 <= y0) continue;
        const bool inScale = laneInScale[((c / 100) % 12 + 12) % 12];
        drawBand(context, left, right, y0, y1, bandRanges(), inScale ? laneColour : offScaleLaneColour,
                 inScale ? selectedLaneColour : selectedOffScaleLaneColour);
        context->setFrameColor(gridColour);
        context->drawLine(CPoint(left - 1, y0), CPoint(right + 1, y0));
    }
    drawWaveform(context, left, right, laneWaveformColour);
}

Corvane_GraphView::BandRanges Corvane_MainGraphView::bandRanges() const
{
    return {selectionStart, selectionEnd, timeRegionStart, timeRegionEnd, moveRegionStart, moveRegionEnd};
}

void Corvane_MainGraphView::drawWaveform(CDrawContext* context, int32_t left, int32_t right, const CColor& colour)
{
    if (!frameArray) return;
    const int32_t h = int32_t(getHeight());
    const int64_t end = std::min(frameArray->trackedEnd(), frameArray->frameCount());
    context->setFrameColor(colour);
    for (int32_t c = std::max(left, 0); c < right; ++c) {
        const int64_t d0 = std::max<int64_t>(0, pixelToFrameMapped(c));
        const int64_t d1 = std::min(end, std::max(d0 + 1, pixelToFrameMapped(c + 1)));
        if (d0 >= end) break;
        float lo, hi;
        if (!framePeaks(d0, d1, lo, hi)) continue;
        const double y0 = h / 2 - lo * h * 0.8, y1 = h / 2 - hi * h * 0.8;
        context->drawLine(CPoint(c, y0), CPoint(c, y1));
    }
}

void Corvane_MainGraphView::drawGrid(CDrawContext* context, int32_t left, int32_t right)
{
    const int32_t h = int32_t(getHeight());
    const int32_t top = int32_t(topCents - pixelToDocY(0)) / 100 * 100 + 100;
    const int32_t bottom = int32_t(topCents - pixelToDocY(h)) / 100 * 100 - 100;
    for (int32_t c = top; c >= bottom; c -= 100) {
        const int32_t cents = c + pitchOffset;
        const int32_t y = pixelOfCents(cents);
        if (y < 0 || y >= h) continue;
        const bool octave = ((c % 1200) + 1200) % 1200 == 0;
        context->setFrameColor(octave ? octaveGridColour : gridColour);
        context->drawLine(CPoint(left - 1, y), CPoint(right + 1, y));
    }
}

void Corvane_MainGraphView::drawOutputPitch(CDrawContext* context, int32_t left, int32_t right)
{
    auto output = [](const TrackedFrame& f, const void* rate) { return outputCents(f, *static_cast<const double*>(rate)); };
    drawPitchTrace(context, left, right, outputPitchColour, output, &sampleRate);
}

void Corvane_MainGraphView::drawMidiBars(CDrawContext* context, int32_t left, int32_t right)
{
    if (!frameArray) return;
    const int64_t end = std::min(frameArray->trackedEnd(), frameArray->frameCount());
    // The note of a column is that of its first frame; MIDI note 60 is 0
    // cents, and a bar spans its note's semitone.
    auto noteAt = [&](int32_t column) -> int32_t {
        const int64_t d = pixelToFrameMapped(column);
        return d >= 0 && d < end ? frameArray->get(d).midiNote : TrackedFrame::noMidiNote;
    };
    context->setFrameColor(midiColour);
    int32_t previous = noteAt(left - 1);
    for (int32_t c = std::max(left, 0); c < right; ++c) {
        const int32_t note = noteAt(c);
        auto edge = [&](int32_t n, int32_t x) {
            context->drawLine(CPoint(x, pixelOfCents(n * 100 - 5950)), CPoint(x, pixelOfCents(n * 100 - 6050)));
        };
        if (previous != note && previous != TrackedFrame::noMidiNote) edge(previous, c);
        if (note != TrackedFrame::noMidiNote) {
            if (previous != note) edge(note, c);
            context->drawLine(CPoint(c, pixelOfCents(note * 100 - 5950)), CPoint(c + 1, pixelOfCents(note * 100 - 5950)));
            context->drawLine(CPoint(c, pixelOfCents(note * 100 - 6050)), CPoint(c + 1, pixelOfCents(note * 100 - 6050)));
        }
        previous = note;
    }
}

void Corvane_MainGraphView::drawNote(CDrawContext* context, const ObjectRecord& start, const ObjectRecord& end,
                                     int32_t left, int32_t right)
{
    const int32_t w = int32_t(getWidth());
    const int32_t x0 = std::max(-1, frameToPixelMapped(start.position));
    const int32_t x1 = std::min(w, frameToPixelMapped(end.position));
    const int32_t top = pixelOfCents(start.pitch + 50);
    const int32_t bottom = pixelOfCents(start.pitch - 50);
    if (x1 < left - 1 || x0 > right + 1 || bottom < 0 || top >= int32_t(getHeight())) return;
    const bool selected = start.selected != 0;
    CRect box(x0 + 0.5, top + 0.5, x1 + 0.5, bottom + 0.5);
    context->setFillColor(selected ? selectedNoteFillColour : noteFillColour);
    context->drawRect(CRect(x0 + 1, top + 1, x1, bottom), kDrawFilled);
    // The note's audio, around its pitch line.
    if (frameArray && bottom - top > 4) {
        const int32_t s = int32_t(float(bottom - top) * noteEnvelopeScale * 0.5f);
        const int32_t pitchY = pixelOfCents(start.pitch);
        context->setFrameColor(noteWaveColour);
        const int64_t tracked = frameArray->trackedEnd();
        for (int32_t c = std::max(x0 + 1, left); c < std::min(x1, right + 1); ++c) {
            const int64_t d0 = std::max<int64_t>(pixelToFrameMapped(c), 0);
            const int64_t d1 = std::min(std::max(d0 + 1, pixelToFrameMapped(c + 1)), tracked);
            float lo, hi;
            if (!framePeaks(d0, d1, lo, hi)) continue;
            context->drawLine(CPoint(c, pitchY - lo * s), CPoint(c, pitchY - hi * s));
        }
    }
    context->setFrameColor(selected ? selectedNoteFrameColour : noteFrameColour);
    context->drawRect(box, kDrawStroke);
    if (selected && x1 - x0 > 2 && bottom - top > 2) {
        CRect inner(box);
        inner.inset(1, 1);
        context->drawRect(inner, kDrawStroke);
    }
}

void Corvane_MainGraphView::drawObjects(CDrawContext* context, const ObjectList& list, int32_t flags, int32_t left,
                                        int32_t right)
{
    const int64_t leftFrame = pixelToFrameMapped(left - 2);
    const int64_t rightFrame = pixelToFrameMapped(right + 2);
    const size_t n = list.count();
    for (size_t i = 0; i + 1 < n; ++i) {
        const ObjectRecord& r = list.records[i];
        if (r.position > rightFrame) break;
        const ObjectRecord& next = list.records[i + 1];
        if (next.position < leftFrame || r.kind == KindEnd) continue;
        if (isLineKind(r.kind) && (flags & 1)) {
            context->setFrameColor(lineColour);
            context->drawLine(CPoint(frameToPixelMapped(r.position), pixelOfCents(r.pitch)),
                              CPoint(frameToPixelMapped(next.position), pixelOfCents(next.pitch)));
        } else if (r.kind == KindCurve && (flags & 1) && r.curve) {
            bool modulated = false;
            for (const CurvePoint& p : r.curve->points)
                modulated = modulated || p.modulationOffset != 0.0f || p.modulationParameter != 0.0f;
            context->setFrameColor(modulated ? modulatedCurveColour : lineColour);
            CPoint from(frameToPixelMapped(r.position), pixelOfCents(r.pitch));
            const int64_t step = r.curve->stepFrames;
            for (int32_t k = 0; k < r.curve->pointCount(); ++k) {
                const int64_t at = r.position + (k + 1) * step;
                if (at < leftFrame) {
                    from = CPoint(frameToPixelMapped(at),
                                  pixelOfCents(r.pitch + r.curve->points[size_t(k)].pitchDelta));
                    continue;
                }
                const CPoint to(frameToPixelMapped(at), pixelOfCents(r.pitch + r.curve->points[size_t(k)].pitchDelta));
                context->drawLine(from, to);
                from = to;
                if (at > rightFrame) break;
            }
        } else if (r.kind == KindNote && (flags & 2)) {
            drawNote(context, r, next, left, right);
        }
    }
    if (!(flags & 1)) return;
    // Handles on the selected points of lines and curves.
    context->setFillColor(handleColour);
    for (size_t i = 0; i < n; ++i) {
        const ObjectRecord& r = list.records[i];
        if (!r.selected || r.kind == KindNote) continue;
        if (r.kind == KindEnd && (i == 0 || list.records[i - 1].kind == KindNote)) continue;
        const int32_t x = frameToPixelMapped(r.position);
        if (x < left - 3 || x > right + 3) continue;
        const int32_t y = pixelOfCents(r.pitch);
        if (r.kind == KindLinePoint) {
            CDrawContext::PointList diamond{CPoint(x, y - 2), CPoint(x + 2, y), CPoint(x, y + 2), CPoint(x - 2, y)};
            context->drawPolygon(diamond, kDrawFilled);
        } else {
            context->drawRect(CRect(x - 2, y - 2, x + 2, y + 2), kDrawFilled);
        }
    }
}

//--- Hit test and read-outs.

int32_t Corvane_MainGraphView::hitTest(const ObjectList& list, int32_t x, int32_t y, size_t& index) const
{
    index = 0;
    const size_t n = list.count();
    const int64_t leftFrame = pixelToFrameMapped(x - hitReach), rightFrame = pixelToFrameMapped(x + hitReach + 1);
    auto near = [&](int64_t frame, int32_t cents) {
        return std::abs(frameToPixelMapped(frame) - x) <= hitReach && std::abs(pixelOfCents(cents) - y) <= hitReach;
    };
    // Points first, then edges, segments and bodies.
    for (size_t i = 0; i < n; ++i) {
        const ObjectRecord& r = list.records[i];
        if (r.position > rightFrame) break;
        if (r.position < leftFrame || !near(r.position, r.pitch)) continue;
        if (r.kind == KindLineStart) return index = i, int32_t(hitLineStart);
        if (r.kind == KindLinePoint || r.kind == KindCurve) return index = i, int32_t(hitPoint);
        if (r.kind == KindEnd && i > 0 && list.records[i - 1].kind != KindNote)
            return index = i - 1, int32_t(hitLineEnd);
    }
    for (size_t i = 0; i + 1 < n; ++i) {
        const ObjectRecord& r = list.records[i];
        const ObjectRecord& next = list.records[i + 1];
        if (r.position > rightFrame) break;
        if (next.position < leftFrame) continue;
        const int32_t x0 = frameToPixelMapped(r.position), x1 = frameToPixelMapped(next.position);
        if (r.kind == KindNote) {
            const int32_t top = pixelOfCents(r.pitch + 50), bottom = pixelOfCents(r.pitch - 50);
            if (y < top - 1 || y > bottom + 1 || x < x0 - hitReach || x > x1 + hitReach) continue;
            index = i;
            // A narrow note is moved from its body, its edges being too close.
            const int32_t reach = std::min(hitReach, (x1 - x0) / 3);
            if (std::abs(x - x0) <= reach) return hitNoteStart;
            if (std::abs(x - x1) <= reach) return hitNoteEnd;
            if (x >= x0 && x <= x1) return hitNoteBody;
        } else if (isLineKind(r.kind) || r.kind == KindCurve) {
            const int64_t frame = pixelToFrameMapped(x);
            if (frame < r.position || frame > next.position) continue;
            int32_t cents = pitchBetween(r, next, frame);
            if (r.kind == KindCurve && r.curve && r.curve->pointCount() > 0) {
                const int64_t step = r.curve->stepFrames;
                const int64_t k = std::min<int64_t>((frame - r.position) / step, r.curve->pointCount()) - 1;
                cents = r.pitch + (k >= 0 ? r.curve->points[size_t(k)].pitchDelta : 0);
            }
            if (std::abs(pixelOfCents(cents) - y) <= hitReach) {
                size_t begin = i, end = i;
                objectBounds(list, i, begin, end);
                index = begin;
                return r.kind == KindCurve ? hitCurve : hitLineSegment;
            }
        }
    }
    return hitNone;
}

Corvane_MainGraphView::Readout Corvane_MainGraphView::readoutAt(int32_t x, int32_t y) const
{
    Readout out;
    if (!frameArray || x < 0 || x >= int32_t(getWidth())) return out;
    const int64_t d0 = pixelToFrameMapped(x), d1 = std::max(d0 + 1, pixelToFrameMapped(x + 1));
    const int64_t end = std::min(frameArray->trackedEnd(), frameArray->frameCount());
    if (d0 < 0 || d0 >= end) return out;
    int32_t inLo = 0, inHi = 0, outLo = 0, outHi = 0;
    for (int64_t d = d0; d < std::min(d1, end); ++d) {
        const TrackedFrame f = frameArray->get(d);
        if (f.voiced() && f.centsA != TrackedFrame::unvoicedCents) {
            const int32_t c = (f.centsA + f.centsB) / 2;
            inLo = out.hasInput ? std::min(inLo, c) : c;
            inHi = out.hasInput ? std::max(inHi, c) : c;
            out.hasInput = true;
        }
        const int32_t o = outputCents(f, sampleRate);
        if (o != TrackedFrame::unvoicedCents) {
            outLo = out.hasOutput ? std::min(outLo, o) : o;
            outHi = out.hasOutput ? std::max(outHi, o) : o;
            out.hasOutput = true;
        }
    }
    out.input = (inLo + inHi) / 2;
    out.output = (outLo + outHi) / 2;
    if (mouseTracking) {
        const int32_t c = centsAtPixel(y);
        const bool snap = tool == toolDrawNotes || dragMode == dragNoteStart || dragMode == dragNoteEnd ||
                          (tool == toolDrawLines && snapToNote);
        out.target = snap ? snappedCents(c) : c;
        out.hasTarget = true;
    } else {
        int16_t pitch = 0;
        out.hasTarget = pitchAt(currentList(), d0, pitch);
        out.target = pitch;
    }
    // The position on the host's timeline: document X.
    const int64_t at = pixelToDocX(x);
    if (barsAndBeats) {
        if (at < frameArray->frameCount()) beatPosition(at, out.position, sizeof out.position);
    } else if (sampleRate > 0.0) {
        char text[time_string_capacity];
        Samples_ToTimeString(at * samplesPerFrame, text, nullptr, sampleRate);
        std::snprintf(out.position, sizeof out.position, "%s", text);
    }
    return out;
}

void Corvane_MainGraphView::beatPosition(int64_t frame, char* text, size_t size) const
{
    const auto hasBeat = [this](int64_t d) {
        const TrackedFrame f = frameArray->get(d);
        return f.bar > 0 && f.beat > 0;
    };
    const TrackedFrame here = frameArray->get(frame);
    if (hasBeat(frame)) {
        std::snprintf(text, size, "%d:%d", here.bar, int(here.beat));
        return;
    }
    // The nearest beats either side, looked for up to half a view beyond
    // what is on screen.
    const int64_t first = pixelToDocX(0), last = pixelToDocX(int32_t(getWidth()));
    const int64_t reach = (last - first) / 2;
    const int64_t low = std::max<int64_t>(0, first - reach);
    const int64_t high = std::min(frameArray->frameCount(), last + reach);
    int64_t back = frame - 1, ahead = frame + 1;
    while (back >= low && !hasBeat(back)) --back;
    while (ahead < high && !hasBeat(ahead)) ++ahead;
    if (back < low || ahead >= high) return;
    const TrackedFrame a = frameArray->get(back), b = frameArray->get(ahead);
    // Two neighbouring beats of one bar, or a bar's last beat and the
    // next bar's first.
    const bool neighbours = (b.bar == a.bar && b.beat == a.beat + 1) || (b.bar == a.bar + 1 && b.beat == 1);
    if (!neighbours) return;
    const int32_t percent = int32_t(double(frame - back) / double(ahead - back) * 100.0);
    if (percent < 1)
        std::snprintf(text, size, "%d:%d", a.bar, int(a.beat));
    else
        std::snprintf(text, size, "%d:%d.%d", a.bar, int(a.beat), percent);
}

void Corvane_MainGraphView::invalidColumn(int32_t x)
{
    if (x >= 0 && x < int32_t(getWidth())) invalidRect(CRect(size.left + x - 1, size.top, size.left + x + 2, size.bottom));
}

void Corvane_MainGraphView::reportReadout(const CPoint& where)
{
    const int32_t x = int32_t(std::floor(where.x - size.left)), y = int32_t(std::floor(where.y - size.top));
    if (showTimePosition && x != mouseX) {
        invalidColumn(mouseX);
        invalidColumn(x);
    }
    mouseX = x;
    if (x == lastReadX && y == lastReadY) return;
    lastReadX = x;
    lastReadY = y;
    if (readoutListener) readoutListener(readoutAt(x, y));
}

//--- Cursor.

void Corvane_MainGraphView::getCursorAt(CPoint where, CButtonState buttons, uint32_t& kind, uint32_t& id)
{
    Corvane_GraphView::getCursorAt(where, buttons, kind, id);
    if (pasteMode) {
        kind = isPlaying() ? uint32_t(kCursorNotAllowed) : customCursorKind;
        id = isPlaying() ? 0 : 9014;
        return;
    }
    if ((tool == toolMovePoint || tool == toolMoveRegion) && !isPlaying()) {
        // Kind 8 without time control or away from the take; over the take
        // the I-beam selects, inside a region the hand moves or selects.
        kind = kCursorNotAllowed;
        id = 0;
        if (!isTimeControlOn()) return;
        const int64_t output = outputFrameAtX(where.x);
        auto custom = [&](uint32_t value) {
            kind = customCursorKind;
            id = value;
        };
        if (timeDragging)
            custom(dragCursorId);
        else if (tool == toolMoveRegion && output >= moveRegionStart && output < moveRegionEnd)
            custom(9013);
        else if (output >= timeRegionStart && output < timeRegionEnd)
            custom(9012);
        else if (takeHasOutputFrame(output))
            custom(9010);
        return;
    }
    if (tool != toolArrow || kind == kCursorNotAllowed) return;
    int32_t code = hitCode;
    if (!(mouseTracking && dragMode != dragGround)) {
        size_t index = 0;
        code = hitTest(currentList(), int32_t(where.x - size.left), int32_t(where.y - size.top), index);
    }
    const bool alt = ((mouseTracking ? int32_t(lastButtons) : int32_t(buttons)) & kAlt) != 0;
    switch (code) {
    case hitPoint:
    case hitLineEnd:
    case hitLineStart: kind = customCursorKind, id = alt ? 9001 : 9003; break;
    case hitLineSegment:
    case hitCurve:
    case hitNoteBody: kind = customCursorKind, id = alt ? 9002 : 9004; break;
    case hitNoteStart:
    case hitNoteEnd: kind = customCursorKind, id = 9005; break;
    default: break;
    }
}

//--- Edits.

bool Corvane_MainGraphView::commit(ObjectList next)
{
    if (!objects) return false;
    objects->commit(std::move(next));
    refresh(true, false, false);
    if (editListener) editListener();
    return true;
}

void Corvane_MainGraphView::takeSnapshot()
{
    if (!getOffscreen()) return;
    const double scale = offscreen->getScaleFactor();
    overlayOffscreen = owned(COffscreenContext::create(getFrame(), getWidth(), getHeight(), scale));
    if (overlayOffscreen) offscreen->copyFrom(overlayOffscreen, CRect(0, 0, getWidth(), getHeight()));
}

void Corvane_MainGraphView::beginFloatingDrag()
{
    busy = true;
    if (!getOffscreen()) return;
    repaint(0, -1);
    takeSnapshot();
}

void Corvane_MainGraphView::drawFloating(const ObjectList& list)
{
    if (!offscreen || !overlayOffscreen) return;
    overlayOffscreen->copyFrom(offscreen, CRect(0, 0, getWidth(), getHeight()));
    offscreen->beginDraw();
    offscreen->setDrawMode(kAntiAliasing);
    offscreen->setLineStyle(kLineSolid);
    offscreen->setLineWidth(1);
    drawObjects(offscreen, list, 3, 0, int32_t(getWidth()));
    offscreen->endDraw();
    setDirty(true);
}

void Corvane_MainGraphView::endDrag()
{
    busy = false;
    dragMode = dragGround;
    hitCode = hitNone;
    workingList = ObjectList();
    moveSource = ObjectList();
    moveResult = ObjectList();
    pressedList = ObjectList();
    freehandPoints.clear();
    overlayOffscreen = nullptr;
}

void Corvane_MainGraphView::split(int64_t frame)
{
    const ObjectList& list = currentList();
    for (size_t i = 0; i + 1 < list.count(); ++i) {
        const ObjectRecord& r = list.records[i];
        const ObjectRecord& next = list.records[i + 1];
        if (r.kind == KindEnd || frame < r.position || frame >= next.position) continue;
        // The first part ends at `frame`, the second begins a frame later;
        // both keep at least one frame.
        if (frame <= r.position || frame + 1 >= next.position) {
            if (!(isLineKind(r.kind) && frame == r.position && r.kind == KindLinePoint)) return;
        }
        ObjectList out;
        out.records.reserve(list.count() + 2);
        for (size_t k = 0; k < i; ++k) out.records.push_back(list.records[k]);
        if (r.kind == KindNote) {
            ObjectRecord a = r, endA = next, b = r;
            endA.position = int32_t(frame);
            b.position = int32_t(frame + 1);
            out.records.push_back(a);
            out.records.push_back(endA);
            out.records.push_back(b);
        } else if (isLineKind(r.kind)) {
            if (frame == r.position) {
                // On a corner: the corner ends the first line.
                ObjectRecord endA = r;
                endA.kind = KindEnd;
                out.records.push_back(endA);
                if (frame + 1 >= next.position) return;
                ObjectRecord b = r;
                b.kind = KindLineStart;
                b.position = int32_t(frame + 1);
                b.pitch = int16_t(pitchBetween(r, next, frame + 1));
                out.records.push_back(b);
            } else {
                out.records.push_back(r);
                ObjectRecord endA = r;
                endA.kind = KindEnd;
                endA.position = int32_t(frame);
                endA.pitch = int16_t(pitchBetween(r, next, frame));
                ObjectRecord b = endA;
                b.kind = KindLineStart;
                b.position = int32_t(frame + 1);
                b.pitch = int16_t(pitchBetween(r, next, frame + 1));
                out.records.push_back(endA);
                out.records.push_back(b);
            }
        } else if (r.kind == KindCurve && r.curve) {
            const int64_t step = r.curve->stepFrames;
            const int64_t keep = (frame - r.position) / step;  // points up to `frame`
            if (keep < 1 || keep + 2 > r.curve->pointCount()) return;
            ObjectRecord a = r;
            a.curve->points.resize(size_t(keep));
            ObjectRecord endA = next;
            endA.position = int32_t(r.position + keep * step);
            endA.pitch = int16_t(r.pitch + r.curve->points[size_t(keep - 1)].pitchDelta);
            ObjectRecord b = r;
            b.position = int32_t(r.position + (keep + 1) * step);
            b.pitch = int16_t(r.pitch + r.curve->points[size_t(keep)].pitchDelta);
            b.curve->points.assign(r.curve->points.begin() + keep + 1, r.curve->points.end());
            for (CurvePoint& p : b.curve->points) p.pitchDelta = int16_t(r.pitch + p.pitchDelta - b.pitch);
            out.records.push_back(std::move(a));
            out.records.push_back(endA);
            out.records.push_back(std::move(b));
        } else {
            return;
        }
        for (size_t k = i + 1; k < list.count(); ++k) out.records.push_back(list.records[k]);
        out.sort();
        commit(std::move(out));
        return;
    }
}

void Corvane_MainGraphView::scrollWithDrag(const CPoint& where)
{
    CPoint delta;
    autoScroll(delta, where.x, where.y);
    if (delta.x == 0 && delta.y == 0) return;
    mouseDownPoint.offset(delta.x, delta.y);
    lastMousePoint.offset(delta.x, delta.y);
    // What is drawn follows document points: the still picture under it is
    // drawn anew at the new offset.
    repaint(0, -1);
    if (offscreen && overlayOffscreen) offscreen->copyFrom(overlayOffscreen, CRect(0, 0, getWidth(), getHeight()));
}

//--- The line under construction.

bool Corvane_MainGraphView::moveRubberLine(CPoint where, const CButtonState& buttons)
{
    if (!mouseTracking || tool != toolDrawLines || lineVertices.empty() || !offscreen || !overlayOffscreen)
        return false;
    scrollWithDrag(where);
    const Vertex& last = lineVertices.back();
    int64_t frame = frameAtX(where.x);
    int32_t cents = centsAtPixel(int32_t(std::floor(where.y - size.top)));
    if ((int32_t(buttons) & kControl) != 0) cents = last.cents;
    if (((int32_t(buttons) & kShift) != 0) != snapToNote) cents = snappedCents(cents);
    if (lineVertices.size() >= 2) {
        const bool rightwards = last.frame > lineVertices[lineVertices.size() - 2].frame;
        if (rightwards && frame <= last.frame) frame = last.frame + 1;
        if (!rightwards && frame >= last.frame) frame = last.frame - 1;
    } else if (frame == last.frame) {
        frame = last.frame + 1;
    }
    rubberEnd = Vertex{frame, cents};
    overlayOffscreen->copyFrom(offscreen, CRect(0, 0, getWidth(), getHeight()));
    offscreen->beginDraw();
    offscreen->setDrawMode(kAntiAliasing);
    offscreen->setLineStyle(kLineSolid);
    offscreen->setLineWidth(1);
    offscreen->setFrameColor(rubberColour);
    CPoint from(frameToPixelMapped(lineVertices[0].frame), pixelOfCents(lineVertices[0].cents));
    for (size_t k = 1; k <= lineVertices.size(); ++k) {
        const Vertex& v = k < lineVertices.size() ? lineVertices[k] : rubberEnd;
        const CPoint to(frameToPixelMapped(v.frame), pixelOfCents(v.cents));
        offscreen->drawLine(from, to);
        from = to;
    }
    offscreen->endDraw();
    setDirty(true);
    lastMousePoint = where;
    return true;
}

bool Corvane_MainGraphView::finishLine()
{
    std::vector<Vertex> corners = std::move(lineVertices);
    lineVertices.clear();
    mouseTracking = false;
    busy = false;
    endDrag();
    // Corners drawn leftwards make the same line read from left to right.
    if (corners.size() >= 2 && corners.back().frame < corners.front().frame)
        std::reverse(corners.begin(), corners.end());
    if (corners.size() < 2 || corners.back().frame <= corners.front().frame) {
        refresh(false, false, false);
        return false;
    }
    const NewObjectSettings s = newSettings ? newSettings() : NewObjectSettings();
    ObjectList line;
    for (size_t k = 0; k < corners.size(); ++k) {
        ObjectRecord r;
        r.kind = k == 0 ? KindLineStart : (k + 1 == corners.size() ? KindEnd : KindLinePoint);
        r.position = int32_t(corners[k].frame);
        r.pitch = int16_t(corners[k].cents);
        r.retuneSpeed = s.retuneSpeed;
        r.adjustVibrato = s.adjustVibrato;
        r.throatLength = s.throatLength;
        line.records.push_back(std::move(r));
    }
    ObjectList rest = currentList();
    selectAll(rest, false);
    return commit(mergeObjects(line, rest, frameArray ? frameArray->frameCount() : 0));
}

void Corvane_MainGraphView::setTool(int32_t value)
{
    if (value != tool && !lineVertices.empty()) cancelLine();
    if (value != tool && timeDragging) {
        cancelTimeDrag();
        mouseTracking = false;
    }
    Corvane_GraphView::setTool(value);
}

void Corvane_MainGraphView::cancelLine()
{
    lineVertices.clear();
    mouseTracking = false;
    endDrag();
    refresh(false, false, false);
}

bool Corvane_MainGraphView::beginPaste()
{
    if (!objects || objects->clipboardAt(0).records.empty()) return false;
    if (!lineVertices.empty()) cancelLine();
    pasteMode = true;
    if (getFrame()) setCursor(CPoint(size.left, size.top), CButtonState(), true);
    return true;
}

void Corvane_MainGraphView::pasteMoved(const CPoint& where)
{
    scrollWithDrag(where);
    drawFloating(objects->clipboardAt(frameAtX(where.x)));
    lastMousePoint = where;
}

bool Corvane_MainGraphView::cancelGesture()
{
    if (!pasteMode && !mouseTracking && lineVertices.empty()) return false;
    pasteMode = false;
    cancelTimeDrag();
    if (!lineVertices.empty()) {
        cancelLine();
        return true;
    }
    mouseTracking = false;
    endDrag();
    refresh(false, false, false);
    return true;
}

//--- Mouse.

CMouseEventResult Corvane_MainGraphView::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    lastButtons = buttons;
    const CPoint local(where.x - size.left, where.y - size.top);
    // A right click ends a line under construction.
    if (tool == toolDrawLines && !lineVertices.empty() && (int32_t(buttons) & kRButton)) {
        finishLine();
        return kMouseEventHandled;
    }
    if ((int32_t(buttons) & buttonMask) != kLButton) return kMouseEventNotHandled;
    if (isPlaying() && (pasteMode || tool != toolHandScroll)) return kMouseEventHandled;
    if (pasteMode) {
        mouseDownPoint = lastMousePoint = where;
        mouseTracking = true;
        beginFloatingDrag();
        pasteMoved(where);
        return kMouseEventHandled;
    }
    const int64_t frame = frameAtX(where.x);
    const int32_t cents = centsAtPixel(int32_t(local.y));
    switch (tool) {
    case toolDrawLines: {
        if (lineVertices.empty()) {
            const bool snap = ((int32_t(buttons) & kShift) != 0) != snapToNote;
            lineVertices.push_back(Vertex{frame, snap ? snappedCents(cents) : cents});
            rubberEnd = lineVertices.back();
            mouseDownPoint = lastMousePoint = where;
            mouseTracking = true;
            takeSnapshot();
        } else if (buttons.isDoubleClick()) {
            finishLine();
        } else {
            moveRubberLine(where, buttons);
            if (lineVertices.size() < maxLineVertices) lineVertices.push_back(rubberEnd);
        }
        setCursor(where, buttons, true);
        return kMouseEventHandled;
    }
    case toolDrawCurves:
    case toolDrawNotes: {
        mouseDownPoint = lastMousePoint = where;
        mouseTracking = true;
        anchorFrame = frame;
        freehandPoints.assign(1, Vertex{frame, tool == toolDrawNotes ? snappedCents(cents) : cents});
        takeSnapshot();
        setCursor(where, buttons, true);
        return kMouseEventHandled;
    }
    case toolArrow:
        mouseDownPoint = lastMousePoint = where;
        mouseTracking = true;
        anchorFrame = frame;
        arrowDown(local, buttons);
        setCursor(where, buttons, true);
        return kMouseEventHandled;
    case toolScissors:
        split(frame);
        return kMouseEventHandled;
    case toolMovePoint:
    case toolMoveRegion:
        timeDown(where);
        setCursor(where, buttons, true);
        return kMouseEventHandled;
    case toolIBeam:
        mouseDownPoint = lastMousePoint = where;
        mouseTracking = true;
        if (buttons.isDoubleClick()) {
            // All the tracked audio.
            mouseTracking = false;
            setSelection(0, frameArray ? frameArray->trackedEnd() : 0);
        } else {
            anchorFrame = frame;
            setSelection(frame, frame);
        }
        return kMouseEventHandled;
    default: return Corvane_GraphView::onMouseDown(where, buttons);
    }
}

void Corvane_MainGraphView::arrowDown(const CPoint& local, const CButtonState& buttons)
{
    size_t index = 0;
    const ObjectList& list = currentList();
    hitCode = hitTest(list, int32_t(local.x), int32_t(local.y), index);
    pressedList = list;
    const bool adding = (int32_t(buttons) & (kShift | kControl)) != 0;
    if (hitCode == hitNone) {
        dragMode = dragGround;
        if (!adding) selectAll(pressedList, false);
        takeSnapshot();
        return;
    }
    size_t begin = index, end = index;
    objectBounds(list, index, begin, end);
    const bool wasSelected = list.records[begin].selected != 0;
    if (!wasSelected && !adding) selectAll(pressedList, false);
    if (hitCode == hitNoteStart || hitCode == hitNoteEnd) {
        // One note's edge: that note alone floats.
        selectAll(pressedList, false);
        for (size_t k = begin; k < end; ++k) pressedList.records[k].selected = 1;
        dragMode = hitCode == hitNoteStart ? dragNoteStart : dragNoteEnd;
    } else {
        for (size_t k = begin; k < end; ++k) pressedList.records[k].selected = 1;
        dragMode = dragSelection;
    }
    moveSource = selectedObjects(pressedList);
    moveResult = moveSource;
    workingList = withoutSelected(pressedList);
    beginFloatingDrag();
    drawFloating(moveResult);
}

void Corvane_MainGraphView::arrowDrag(const CPoint& whereIn, const CButtonState& buttons)
{
    CPoint where(whereIn);
    if (dragMode == dragGround) {
        if (overlayOffscreen) dragBand(where, bandColour);
        return;
    }
    scrollWithDrag(where);
    const int64_t frame = frameAtX(where.x);
    if (dragMode == dragSelection) {
        const bool alt = (int32_t(lastButtons) & kAlt) != 0;
        int32_t deltaFrames = alt ? int32_t(frame - anchorFrame) : 0;
        // Not before frame 0.
        if (!moveSource.empty()) deltaFrames = std::max(deltaFrames, -moveSource.records.front().position);
        const int32_t y0 = int32_t(mouseDownPoint.y - size.top), y1 = int32_t(where.y - size.top);
        const int32_t deltaPitch = centsAtPixel(y1) - centsAtPixel(y0);
        const bool snap = ((int32_t(buttons) & kShift) != 0) != snapToNote;
        moveRecords(moveSource, moveResult, deltaFrames, int16_t(deltaPitch), snap, pitchOffset);
    } else if (moveResult.count() == 2) {
        ObjectRecord& start = moveResult.records[0];
        ObjectRecord& end = moveResult.records[1];
        if (dragMode == dragNoteStart)
            start.position = int32_t(std::min<int64_t>(frame, end.position - shortestNoteFrames));
        else
            end.position = int32_t(std::max<int64_t>(frame, start.position + shortestNoteFrames));
        start.position = std::max(start.position, 0);
    }
    drawFloating(moveResult);
    lastMousePoint = where;
}

void Corvane_MainGraphView::arrowUp(const CPoint& where)
{
    if (dragMode == dragGround) {
        if (overlayOffscreen && offscreen)
            overlayOffscreen->copyFrom(offscreen, CRect(0, 0, getWidth(), getHeight()));
        if (std::abs(where.x - mouseDownPoint.x) > 2) {
            const int64_t a = frameAtX(mouseDownPoint.x), b = frameAtX(where.x);
            selectFrames(pressedList, std::min(a, b), std::max(a, b));
        }
        ObjectList next = std::move(pressedList);
        const bool changed = !sameSelection(next, currentList());
        endDrag();
        if (changed)
            commit(std::move(next));
        else
            setDirty(true);
        return;
    }
    bool moved = false;
    for (size_t k = 0; k < moveSource.count() && !moved; ++k)
        moved = moveSource.records[k].position != moveResult.records[k].position ||
                moveSource.records[k].pitch != moveResult.records[k].pitch;
    ObjectList next = moved ? mergeObjects(moveResult, workingList, frameArray ? frameArray->frameCount() : 0)
                            : std::move(pressedList);
    const bool changed = moved || !sameSelection(next, currentList());
    endDrag();
    if (changed)
        commit(std::move(next));
    else
        refresh(false, false, false);
}

CMouseEventResult Corvane_MainGraphView::onMouseMoved(CPoint& where, const CButtonState& buttons)
{
    lastButtons = buttons;
    const bool drag = mouseTracking && (int32_t(buttons) & buttonMask) == kLButton;
    if (pasteMode) {
        if (drag) pasteMoved(where);
        reportReadout(where);
        setCursor(where, buttons, false);
        return kMouseEventHandled;
    }
    switch (tool) {
    case toolDrawLines: moveRubberLine(where, buttons); break;
    case toolDrawCurves:
    case toolDrawNotes:
        if (drag && !freehandPoints.empty() && offscreen && overlayOffscreen) {
            scrollWithDrag(where);
            const int64_t frame = frameAtX(where.x);
            const int32_t cents = centsAtPixel(int32_t(std::floor(where.y - size.top)));
            if (tool == toolDrawCurves) {
                // A curve goes forwards: points at or before the last are left out.
                if (frame > freehandPoints.back().frame) freehandPoints.push_back(Vertex{frame, cents});
            } else {
                freehandPoints.resize(1);
                freehandPoints.push_back(Vertex{frame, snappedCents(cents)});
            }
            overlayOffscreen->copyFrom(offscreen, CRect(0, 0, getWidth(), getHeight()));
            offscreen->beginDraw();
            offscreen->setDrawMode(kAntiAliasing);
            offscreen->setLineStyle(kLineSolid);
            offscreen->setLineWidth(1);
            offscreen->setFrameColor(rubberColour);
            if (tool == toolDrawCurves) {
                for (size_t k = 1; k < freehandPoints.size(); ++k)
                    offscreen->drawLine(CPoint(frameToPixelMapped(freehandPoints[k - 1].frame),
                                               pixelOfCents(freehandPoints[k - 1].cents)),
                                        CPoint(frameToPixelMapped(freehandPoints[k].frame),
                                               pixelOfCents(freehandPoints[k].cents)));
            } else {
                const int64_t a = std::min(freehandPoints[0].frame, frame), b = std::max(freehandPoints[0].frame, frame);
                const int32_t c = freehandPoints.back().cents;
                offscreen->drawRect(CRect(frameToPixelMapped(a) + 0.5, pixelOfCents(c + 50) + 0.5,
                                          frameToPixelMapped(b) + 0.5,
                                          pixelOfCents(c - 50) + 0.5),
                                    kDrawStroke);
            }
            offscreen->endDraw();
            setDirty(true);
            lastMousePoint = where;
        }
        break;
    case toolArrow:
        if (drag) arrowDrag(where, buttons);
        break;
    case toolMovePoint:
    case toolMoveRegion:
        if (drag) timeDrag(where);
        break;
    case toolIBeam:
        if (drag) {
            const int64_t frame = frameAtX(where.x);
            CPoint delta;
            autoScroll(delta, where.x, where.y);
            setSelection(std::min(anchorFrame, frame), std::max(anchorFrame, frame));
            lastMousePoint = where;
        }
        break;
    default: Corvane_GraphView::onMouseMoved(where, buttons); break;
    }
    setCursor(where, buttons, false);
    reportReadout(where);
    return kMouseEventHandled;
}

CMouseEventResult Corvane_MainGraphView::onMouseUp(CPoint& where, const CButtonState& buttons)
{
    if (!mouseTracking) return kMouseEventNotHandled;
    if (pasteMode) {
        pasteMode = false;
        mouseTracking = false;
        endDrag();
        if (objects && objects->paste(frameAtX(where.x))) {
            refresh(true, false, false);
            if (editListener) editListener();
        } else {
            refresh(false, false, false);
        }
        setCursor(where, buttons, true);
        return kMouseEventHandled;
    }
    switch (tool) {
    case toolDrawLines:
        // A press, drag and release draws a line in one gesture; a click
        // leaves the line open for the next corner.
        if (lineVertices.size() == 1 && std::abs(where.x - mouseDownPoint.x) > 3) {
            moveRubberLine(where, buttons);
            lineVertices.push_back(rubberEnd);
            finishLine();
        }
        return kMouseEventHandled;
    case toolDrawCurves:
    case toolDrawNotes: {
        mouseTracking = false;
        std::vector<Vertex> points = std::move(freehandPoints);
        endDrag();
        const NewObjectSettings s = newSettings ? newSettings() : NewObjectSettings();
        ObjectList made;
        auto add = [&](uint8_t kind, int64_t position, int32_t pitch) -> ObjectRecord& {
            ObjectRecord r;
            r.kind = kind;
            r.position = int32_t(position);
            r.pitch = int16_t(pitch);
            r.retuneSpeed = s.retuneSpeed;
            r.adjustVibrato = s.adjustVibrato;
            r.throatLength = s.throatLength;
            made.records.push_back(std::move(r));
            return made.records.back();
        };
        if (tool == toolDrawNotes && points.size() == 2) {
            const int64_t a = std::min(points[0].frame, points[1].frame);
            const int64_t b = std::max(points[0].frame, points[1].frame);
            if (b - a >= shortestNoteFrames) {
                add(KindNote, a, points[1].cents);
                add(KindEnd, b, points[1].cents);
            }
        } else if (tool == toolDrawCurves && points.size() >= 2) {
            ObjectRecord& head = add(KindCurve, points[0].frame, points[0].cents);
            head.curve = std::make_unique<CurveData>();
            head.curve->stepFrames = 1;
            // One point a frame, straight between the points drawn.
            for (size_t k = 1; k < points.size(); ++k)
                for (int64_t f = points[k - 1].frame + 1; f <= points[k].frame; ++f) {
                    CurvePoint p;
                    const double t = double(f - points[k - 1].frame) / double(points[k].frame - points[k - 1].frame);
                    p.pitchDelta = int16_t(roundAway(points[k - 1].cents + t * (points[k].cents - points[k - 1].cents)) -
                                           points[0].cents);
                    head.curve->points.push_back(p);
                }
            add(KindEnd, points.back().frame, points.back().cents);
        }
        if (made.empty()) {
            refresh(false, false, false);
        } else {
            ObjectList rest = currentList();
            selectAll(rest, false);
            commit(mergeObjects(made, rest, frameArray ? frameArray->frameCount() : 0));
        }
        break;
    }
    case toolArrow:
        mouseTracking = false;
        arrowUp(where);
        break;
    case toolIBeam:
        mouseTracking = false;
        if (selectionEnd > selectionStart && ibeamListener) ibeamListener();
        break;
    case toolMovePoint:
    case toolMoveRegion:
        mouseTracking = false;
        timeUp();
        break;
    default: return Corvane_GraphView::onMouseUp(where, buttons);
    }
    setCursor(where, buttons, true);
    return kMouseEventHandled;
}

CMouseEventResult Corvane_MainGraphView::onMouseExited(CPoint& where, const CButtonState& buttons)
{
    if (showTimePosition) invalidColumn(mouseX);
    mouseX = -1;
    lastReadX = lastReadY = -1;
    if (readoutListener) readoutListener(Readout());
    return Corvane_GraphView::onMouseExited(where, buttons);
}

bool Corvane_MainGraphView::onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                                    const CButtonState& buttons)
{
    const bool handled = Corvane_GraphView::onWheel(where, axis, distance, buttons);
    lastReadX = lastReadY = -1;
    reportReadout(where);
    return handled;
}

void Corvane_MainGraphView_register()
{
    VSTGUI4_registerPlainView<Corvane_MainGraphView>("Corvane_MainGraphView", "Corvane_GraphView");
}
