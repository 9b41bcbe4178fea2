#include "graph/model/ObjectPass.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Common_VST3/utilities.h"

namespace {

// Seconds over which a note's pre-set averages the singer, and over which
// the vibrato smoother averages the tracked period.
constexpr double lookAheadSeconds = 0.4;
constexpr double vibratoMeanSeconds = 0.2;
// Below this distance from 1.0 the correction after an object has died away.
constexpr double ratioRest = 0.00001;

double inputOf(const TrackedFrame& f)
{
    return f.periodB == -1.0f ? 0.0 : (double(f.periodA) + double(f.periodB)) * 0.5;
}

TrackedFrame cleared()
{
    TrackedFrame f;
    f.outputPeriod = 0.0f;
    f.modulationOffset = 0.0f;
    f.modulationGain = 1.0f;
    f.modulationParameter = 0.0f;
    f.throatOffset = 0.0f;
    return f;
}

} // namespace

struct ObjectPass::State {
    double ratio = 1.0;
    double previousInput = 0.0;
    double coefficient = 0.0;
};

void ObjectPass::setRates(double rate, double samplesPerFrame)
{
    sampleRate = rate > 0.0 ? rate : 44100.0;
    framesPerSecond = sampleRate / (samplesPerFrame > 0.0 ? samplesPerFrame : 200.0);
    smoother = std::make_unique<smooth_functions>(std::max<int32_t>(1, int32_t(vibratoMeanSeconds * framesPerSecond)), 1);
}

int16_t ObjectPass::adjustPitch(const TrackedFrameArray& frames, int64_t frame, int16_t pitch, float factor)
{
    const TrackedFrame f = frames.get(frame);
    if (factor == 0.0f || f.centsB == TrackedFrame::unvoicedCents || f.periodB == -1.0f) {
        // A new phrase begins the mean afresh.
        if (smoother && f.centsB == TrackedFrame::unvoicedCents) smoother->reset_smoothing();
        return pitch;
    }
    if (!smoother) setRates(sampleRate, sampleRate / framesPerSecond);
    const double p = inputOf(f);
    double s = p;
    smoother->do_smoothing(&s, 1);
    const float rate = float(sampleRate);
    // The singer's deviation from the mean, scaled, around the object's pitch.
    // Scaled up, a leap far above the mean (an octave, the detector jumping)
    // takes the period past zero: a pitch above every note, so the highest.
    // A leap far below, scaled, can pass the largest float period: below
    // every note, so the lowest.
    const float scaled = float((p - s) * factor + s), mean = float(s);
    if (!(scaled > 0.0f && mean > 0.0f)) return highestObjectPitch;
    if (std::isinf(scaled) || std::isinf(mean)) return lowestObjectPitch;
    const double moved = double(pitch) + double(Round_ToInt(Period_ToCents(scaled, rate))) -
                         double(Round_ToInt(Period_ToCents(mean, rate)));
    return int16_t(std::clamp(moved, double(lowestObjectPitch), double(highestObjectPitch)));
}

void ObjectPass::applyObjects(const ObjectList* list, TrackedFrameArray& frames)
{
    applyObjects(list, frames, 0, frames.trackedEnd());
}

void ObjectPass::applyObjects(const ObjectList* list, TrackedFrameArray& frames, int64_t from, int64_t to)
{
    const int64_t frameCount = frames.trackedEnd();
    if (frameCount <= 0) return;
    from = std::clamp<int64_t>(from, 0, frameCount - 1);
    to = std::clamp<int64_t>(to, from, frameCount - 1);
    const TrackedFrame blank = cleared();

    std::vector<size_t> known;
    if (list)
        for (size_t i = 0; i < list->count(); ++i)
            if (knownKind(list->records[i].kind)) known.push_back(i);
    // Object starts: the first known record and every one after an end.
    std::vector<size_t> starts;
    for (size_t k = 0; k < known.size(); ++k)
        if (k == 0 || list->records[known[k - 1]].kind == KindEnd) starts.push_back(k);

    const int64_t firstObject = starts.empty() ? frameCount : std::max<int64_t>(0, list->records[known[0]].position);
    for (int64_t i = from; i <= to && i < firstObject; ++i) frames.putCorrection(i, blank);

    for (size_t s = 0; s < starts.size(); ++s) {
        const size_t first = starts[s];
        const size_t last = s + 1 < starts.size() ? starts[s + 1] : known.size();
        const int64_t begin = std::max<int64_t>(0, list->records[known[first]].position);
        const int64_t end = s + 1 < starts.size() ? std::min<int64_t>(frameCount, list->records[known[last]].position)
                                                  : frameCount;
        if (end <= from || begin > to || begin >= end) continue;
        runSegment(*list, known.data(), first, last, known.size(), frames, begin, end);
    }
    for (int64_t i = from; i <= to; ++i) frames.markDirty(i);
}

void ObjectPass::runSegment(const ObjectList& list, const size_t* known, size_t first, size_t last,
                            size_t knownCount, TrackedFrameArray& frames, int64_t begin, int64_t end)
{
    if (smoother) smoother->reset_smoothing();
    // Frames no record covers are left cleared.
    const TrackedFrame blank = cleared();
    for (int64_t i = begin; i < end; ++i) frames.putCorrection(i, blank);
    const float rate = float(sampleRate);
    State st;
    st.previousInput = begin > 0 ? inputOf(frames.get(begin - 1)) : 0.0;
    const int64_t lookAhead = int64_t(lookAheadSeconds * framesPerSecond);
    const int64_t frameCount = frames.trackedEnd();

    auto step = [&](int64_t frame, double targetPitch, float throat, const CurvePoint* modulation,
                    bool noteStart, int64_t noteEnd) {
        const double in = inputOf(frames.get(frame));
        const double target = double(Cents_ToPeriod(float(targetPitch), rate));
        if (in != 0.0 && st.previousInput == 0.0) st.ratio = 1.0;
        if (noteEnd >= 0 && in != 0.0 && (st.previousInput == 0.0 || (noteStart && st.ratio == 1.0))) {
            // The pre-set: the note starts at the singer's average distance.
            double sum = 0.0;
            int64_t n = 0;
            for (int64_t k = frame; k < frame + lookAhead && k < frameCount && k <= noteEnd; ++k) {
                const double v = inputOf(frames.get(k));
                if (v == 0.0) break;
                sum += v;
                ++n;
            }
            st.ratio = (n > 0 ? sum / double(n) : in) / target;
        }
        const double wanted = in != 0.0 ? in / target : 1.0;
        st.ratio = st.ratio * st.coefficient + wanted * (1.0 - st.coefficient);
        TrackedFrame f = cleared();
        f.outputPeriod = in != 0.0 ? float(in / st.ratio) : 0.0f;
        f.throatOffset = throat;
        if (modulation) {
            f.modulationOffset = modulation->modulationOffset;
            f.modulationGain = modulation->modulationGain;
            f.modulationParameter = modulation->modulationParameter;
        }
        frames.putCorrection(frame, f);
        st.previousInput = in;
    };

    for (size_t k = first; k < last; ++k) {
        const ObjectRecord& r = list.records[known[k]];
        const ObjectRecord* next = k + 1 < knownCount ? &list.records[known[k + 1]] : nullptr;
        if (r.kind != KindEnd)
            st.coefficient = r.retuneSpeed <= 0.0f
                                 ? 0.0
                                 : std::pow(0.5, 1.0 / (double(r.retuneSpeed) / 1000.0 * framesPerSecond));
        const int64_t stop = std::min<int64_t>(end - 1, next ? int64_t(next->position) : end - 1);
        switch (r.kind) {
        case KindLinePoint:
        case KindLineStart: {
            if (!next || next->position <= r.position) break;
            const double p0 = adjustPitch(frames, r.position, r.pitch, r.adjustVibrato);
            const double p1 = adjustPitch(frames, std::min<int64_t>(next->position, frameCount - 1), next->pitch,
                                          r.adjustVibrato);
            const double inv = 1.0 / double(next->position - r.position);
            const double slope = (p1 - p0) * inv;
            const double intercept = p0 - slope * double(r.position);
            for (int64_t i = std::max<int64_t>(r.position, begin); i <= stop; ++i)
                step(i, double(float(double(i) * slope + intercept)), r.throatLength, nullptr, false, -1);
            break;
        }
        case KindCurve: {
            if (!r.curve) break;
            int64_t segmentStart = r.position;
            int64_t running = std::max<int64_t>(r.position, begin);
            double startPitch = adjustPitch(frames, r.position, r.pitch, r.adjustVibrato);
            for (const CurvePoint& point : r.curve->points) {
                const int64_t segmentEnd = segmentStart + int64_t(r.curve->stepFrames);
                const int16_t sum = int16_t(r.pitch + point.pitchDelta);
                const double endPitch =
                    adjustPitch(frames, std::min<int64_t>(segmentEnd, frameCount - 1), sum, r.adjustVibrato);
                const double slope = (endPitch - startPitch) / double(segmentEnd - segmentStart);
                for (; running <= segmentEnd && running < end; ++running)
                    step(running, startPitch + slope * double(running - segmentStart), r.throatLength, &point,
                         false, -1);
                startPitch = endPitch;
                segmentStart = segmentEnd;
            }
            break;
        }
        case KindNote: {
            if (!next) break;
            for (int64_t i = std::max<int64_t>(r.position, begin); i <= stop; ++i)
                step(i, adjustPitch(frames, i, r.pitch, r.adjustVibrato), r.throatLength, nullptr,
                     i == r.position, next->position);
            break;
        }
        case KindEnd: {
            const int64_t gapEnd = std::min<int64_t>(end, next ? int64_t(next->position) : end);
            for (int64_t i = std::max<int64_t>(int64_t(r.position) + 1, begin); i < gapEnd; ++i) {
                const double in = inputOf(frames.get(i));
                if (in != 0.0) {
                    if (st.previousInput == 0.0)
                        st.ratio = 1.0;
                    else
                        st.ratio = st.ratio * st.coefficient + (1.0 - st.coefficient);
                }
                TrackedFrame f = blank;
                if (std::fabs(st.ratio - 1.0) > ratioRest && in != 0.0) f.outputPeriod = float(in / st.ratio);
                frames.putCorrection(i, f);
                st.previousInput = in;
            }
            break;
        }
        default: break;
        }
    }
}
