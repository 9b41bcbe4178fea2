#include "graph/model/ObjectMaking.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Common_VST3/biQuad_Filter.h"
#include "Common_VST3/utilities.h"

namespace {

constexpr int32_t noPitch = 30000;

// Cents of each frame holding data, noPitch where unvoiced.
std::vector<int32_t> pitchesOf(const TrackedFrameArray& frames)
{
    const int64_t n = frames.trackedEnd();
    std::vector<int32_t> c(size_t(std::max<int64_t>(0, n)), noPitch);
    for (int64_t i = 0; i < n; ++i) {
        const TrackedFrame f = frames.get(i);
        if (f.voiced() && f.periodB != -1.0f) c[size_t(i)] = (f.centsA + f.centsB) / 2;
    }
    return c;
}

// Voiced stretches [begin, end), at least `shortest` frames long.
std::vector<std::pair<int64_t, int64_t>> voicedRuns(const std::vector<int32_t>& c, int64_t shortest)
{
    std::vector<std::pair<int64_t, int64_t>> runs;
    const int64_t n = int64_t(c.size());
    for (int64_t i = 0; i < n;) {
        if (c[size_t(i)] == noPitch) {
            ++i;
            continue;
        }
        int64_t j = i;
        while (j < n && c[size_t(j)] != noPitch) ++j;
        if (j - i >= shortest) runs.emplace_back(i, j);
        i = j;
    }
    return runs;
}

int32_t median(std::vector<int32_t>& v)
{
    if (v.empty()) return 0;
    std::nth_element(v.begin(), v.begin() + long(v.size() / 2), v.end());
    return v[v.size() / 2];
}

int32_t roundAway(double x) { return int32_t(x < 0.0 ? -std::floor(-x + 0.5) : std::floor(x + 0.5)); }

int16_t notePitch(int32_t cents, const NewObjectSettings& s)
{
    double p = cents;
    if (s.snap) p = s.pitchOffset + 100.0 * roundAway((cents - s.pitchOffset) / 100.0);
    return int16_t(std::clamp(p, double(lowestObjectPitch), double(highestObjectPitch)));
}

ObjectRecord record(uint8_t kind, int64_t position, int16_t pitch, const NewObjectSettings& s)
{
    ObjectRecord r;
    r.kind = kind;
    r.position = int32_t(position);
    r.pitch = pitch;
    r.retuneSpeed = s.retuneSpeed;
    r.adjustVibrato = s.adjustVibrato;
    r.throatLength = s.throatLength;
    return r;
}

void addNote(ObjectList& out, int64_t begin, int64_t last, int16_t pitch, const NewObjectSettings& s)
{
    if (last <= begin) return;
    out.records.push_back(record(KindNote, begin, pitch, s));
    out.records.push_back(record(KindEnd, last, pitch, s));
}

// Auto mode's added vibrato, a frame at a time: the pitch factor, the gain
// deviation and the share of the dry signal in the formant mix. Its time
// runs from 0 at each voiced stretch; the onset delays and fades it in, and
// band-passed noise varies its rate.
class Frame_Vibrato {
public:
    Frame_Vibrato(const AutoImportSettings& s, double framesPerSecond)
        : shape(s.vibratoShape), pitch(s.vibratoPitch), variation(s.vibratoVariation / 100.0),
          delay(s.onsetDelay * 0.001 * framesPerSecond), onset(s.onsetRate * 0.001 * framesPerSecond),
          cycle(framesPerSecond / std::max(0.1, s.vibratoRate))
    {
        noise.set_sampleRate(framesPerSecond);
        noise.init_BandPass(2.0, 10.0);
        noise.clear();
    }
    bool on() const { return shape >= 1 && shape <= 3; }
    void restart()
    {
        t = 0.0;
        noise.clear();
    }
    double step(double& value, double& mix)
    {
        value = 0.0;
        mix = 1.0;
        if (delay >= t) {
            t += 1.0;
            return 1.0;
        }
        const double envelope = delay + onset > t ? (t - delay) / onset : 1.0;
        seed = seed * 1664525u + 1013904223u;
        const double n = noise.process(double(seed >> 8) / double(1u << 24) - 0.5);
        const double rateStep = std::max(0.1, variation * n * 0.2 + 1.0);
        // Phase from 0 to 1 within the cycle (in frames, not necessarily whole).
        const double x = std::fmod(t - delay, cycle) / cycle;
        t += rateStep;
        double v = 0.0, q = 0.0;
        if (shape == 1) {
            v = std::sin(2.0 * M_PI * x);
            q = std::cos(2.0 * M_PI * x);
        } else if (shape == 2) {
            v = x < 0.5 ? 1.0 : -1.0;
            q = x < 0.25 || x >= 0.75 ? 1.0 : -1.0;
        } else if (shape == 3) {
            v = 2.0 * x - 1.0;
            q = -2.0 * x + 1.0;
        }
        value = envelope * v;
        mix = (q - 1.0) * envelope + 1.0;
        return std::pow(2.0, pitch * envelope * v / 1200.0);
    }

private:
    int shape;
    double pitch, variation, delay, onset;
    double cycle;
    double t = 0.0;
    uint32_t seed = 1;
    biQuad_Filter noise;
};

} // namespace

ObjectList makeNotes(const TrackedFrameArray& frames, double framesPerSecond, const NewObjectSettings& settings)
{
    ObjectList out;
    const std::vector<int32_t> c = pitchesOf(frames);
    const int64_t shortestNote = std::max<int64_t>(2, int64_t(shortestNoteSeconds * framesPerSecond));
    const int64_t shortestRun = std::max<int64_t>(2, int64_t(shortestObjectSeconds * framesPerSecond));
    const int32_t parts = std::clamp<int32_t>(settings.notesPerNote, 1, 10);
    const int64_t halfWindow = std::max<int64_t>(1, int64_t(medianSeconds * 0.5 * framesPerSecond));

    for (const auto& run : voicedRuns(c, shortestRun)) {
        // The semitone of each frame, after a median over a vibrato's cycle.
        std::vector<int32_t> q;
        std::vector<int32_t> w;
        for (int64_t i = run.first; i < run.second; ++i) {
            w.clear();
            for (int64_t k = std::max(run.first, i - halfWindow); k <= std::min(run.second - 1, i + halfWindow); ++k)
                w.push_back(c[size_t(k)]);
            q.push_back(roundAway(median(w) / 100.0));
        }
        // Stable stretches: one semitone held for shortestNote frames;
        // neighbours on the same semitone join.
        struct Stretch {
            int64_t begin, end;
            int32_t semitone;
        };
        std::vector<Stretch> stable;
        for (int64_t i = 0; i < int64_t(q.size());) {
            int64_t j = i;
            while (j < int64_t(q.size()) && q[size_t(j)] == q[size_t(i)]) ++j;
            if (j - i >= shortestNote) {
                if (!stable.empty() && stable.back().semitone == q[size_t(i)])
                    stable.back().end = j;
                else
                    stable.push_back({i, j, q[size_t(i)]});
            }
            i = j;
        }
        if (stable.empty()) stable.push_back({0, int64_t(q.size()), q[q.size() / 2]});
        // Notes: each stable stretch with the transition frames up to the
        // point where the pitch comes nearer the next note than this one.
        std::vector<int64_t> cuts = {0};
        for (size_t s = 0; s + 1 < stable.size(); ++s) {
            const double here = stable[s].semitone * 100.0, there = stable[s + 1].semitone * 100.0;
            int64_t cut = stable[s + 1].begin;
            for (int64_t i = stable[s].end; i < stable[s + 1].begin; ++i)
                if (std::fabs(c[size_t(run.first + i)] - there) < std::fabs(c[size_t(run.first + i)] - here)) {
                    cut = i;
                    break;
                }
            cuts.push_back(cut);
        }
        cuts.push_back(int64_t(q.size()));
        for (size_t s = 0; s + 1 < cuts.size(); ++s) {
            const int64_t begin = run.first + cuts[s], end = run.first + cuts[s + 1];
            // The note's pitch from its stable part alone, so that a scoop
            // or a glide does not pull it.
            const int64_t length = end - begin;
            for (int32_t part = 0; part < parts; ++part) {
                const int64_t a = begin + length * part / parts, b = begin + length * (part + 1) / parts;
                std::vector<int32_t> w;
                for (int64_t i = std::max(a, run.first + stable[s].begin); i < std::min(b, run.first + stable[s].end);
                     ++i)
                    w.push_back(c[size_t(i)]);
                if (w.empty())
                    for (int64_t i = a; i < b; ++i) w.push_back(c[size_t(i)]);
                addNote(out, a, b - 1, notePitch(median(w), settings), settings);
            }
        }
    }
    return out;
}

ObjectList makeCurves(const TrackedFrameArray& frames, double framesPerSecond, const NewObjectSettings& settings)
{
    ObjectList out;
    const std::vector<int32_t> c = pitchesOf(frames);
    const int64_t step = madeCurveStep;
    const int64_t shortestRun = std::max<int64_t>(2 * step, int64_t(shortestObjectSeconds * framesPerSecond));
    for (const auto& run : voicedRuns(c, shortestRun)) {
        const int16_t pitch = int16_t(std::clamp<int32_t>(c[size_t(run.first)], lowestObjectPitch, highestObjectPitch));
        ObjectRecord head = record(KindCurve, run.first, pitch, settings);
        head.curve = std::make_unique<CurveData>();
        head.curve->stepFrames = uint32_t(step);
        for (int64_t at = run.first + step; at < run.second; at += step) {
            CurvePoint p;
            p.pitchDelta = int16_t(std::clamp<int32_t>(c[size_t(at)], lowestObjectPitch, highestObjectPitch) - pitch);
            head.curve->points.push_back(p);
        }
        const int64_t end = run.first + step * head.curve->pointCount();
        const int16_t endPitch = int16_t(pitch + head.curve->points.back().pitchDelta);
        out.records.push_back(std::move(head));
        out.records.push_back(record(KindEnd, end, endPitch, settings));
    }
    return out;
}

ObjectList makeNotesFromMidi(const TrackedFrameArray& frames, const NewObjectSettings& settings)
{
    ObjectList out;
    const int64_t n = frames.trackedEnd();
    for (int64_t i = 0; i < n;) {
        const int8_t note = frames.get(i).midiNote;
        int64_t j = i + 1;
        while (j < n && frames.get(j).midiNote == note) ++j;
        // MIDI note 60 is 0 cents.
        if (note != TrackedFrame::noMidiNote)
            addNote(out, i, j - 1,
                    int16_t(std::clamp<int32_t>((note - 60) * 100 + settings.pitchOffset, lowestObjectPitch,
                                                highestObjectPitch)),
                    settings);
        i = j;
    }
    return out;
}

ObjectList importAuto(const TrackedFrameArray& frames, double framesPerSecond, const AutoImportSettings& s)
{
    ObjectList out;
    const int64_t n = frames.trackedEnd();
    const float rate = float(s.hostRate);
    auto pole = [&](double ms) { return ms <= 0.0 ? 0.0 : std::pow(0.5, 1.0 / (ms / 1000.0 * framesPerSecond)); };
    const double fast = pole(s.retuneSpeed);
    const double slow = pole(s.retuneSpeed + s.humanize);
    const int64_t rampFrames = std::max<int64_t>(1, int64_t(framesPerSecond * 0.4));
    const double rampStep = (slow - fast) / double(rampFrames);
    const double natural = std::pow(10.0, s.naturalVibrato / 20.0) - 1.0;

    int64_t index = 0;
    int64_t lastNote = -1;
    int64_t rampLeft = 0;
    double coefficient = fast;
    double smoothed = 1.0;
    double mean = 0.0;
    std::vector<int16_t> curve;
    std::vector<CurvePoint> modulation;
    int64_t curveStart = -1;
    Frame_Vibrato vibrato(s, framesPerSecond);

    auto flush = [&]() {
        if (curveStart >= 0 && curve.size() >= 2) {
            ObjectRecord head;
            head.kind = KindCurve;
            head.position = int32_t(curveStart);
            head.pitch = curve[0];
            head.curve = std::make_unique<CurveData>();
            head.curve->stepFrames = 1;
            for (size_t k = 1; k < curve.size(); ++k) {
                CurvePoint p = modulation[k];
                p.pitchDelta = int16_t(curve[k] - curve[0]);
                head.curve->points.push_back(p);
            }
            ObjectRecord tail;
            tail.kind = KindEnd;
            tail.position = int32_t(curveStart + int64_t(curve.size()) - 1);
            tail.pitch = curve.back();
            out.records.push_back(std::move(head));
            out.records.push_back(std::move(tail));
        }
        curve.clear();
        modulation.clear();
        curveStart = -1;
        vibrato.restart();
    };

    for (int64_t i = 0; i < n; ++i) {
        const TrackedFrame f = frames.get(i);
        if (!f.voiced() || f.periodB == -1.0f) {
            flush();
            lastNote = -1;
            smoothed = 1.0;
            continue;
        }
        const double p = (double(f.periodA) + double(f.periodB)) * 0.5;
        double wanted = 1.0;
        int64_t note = -1;
        if (s.count > 0 && s.periods && s.bounds) {
            double v = p * s.unit;
            double fold = 1.0;
            if (s.explicitForm) {
                while (index + 1 < s.count && v > double(s.bounds[index + 1])) ++index;
                while (index > 0 && v < double(s.bounds[index])) --index;
            } else {
                while (v < double(s.bounds[0])) v *= 2.0, fold *= 2.0;
                while (v >= double(s.bounds[s.count])) v *= 0.5, fold *= 0.5;
                index = 0;
                while (index + 1 < s.count && v > double(s.bounds[index + 1])) ++index;
            }
            note = index;
            const double t = double(s.periods[index]);
            if (t != 0.0) {
                const double octaves = s.explicitForm && s.octaves ? double(s.octaves[index]) : 0.0;
                wanted = v * std::pow(2.0, octaves) / t;
            }
        }
        if (note != lastNote) {
            coefficient = fast;
            rampLeft = rampFrames;
            lastNote = note;
        } else if (rampLeft > 0) {
            --rampLeft;
            coefficient += rampStep;
        }
        if (curveStart < 0) mean = p;
        smoothed = coefficient * smoothed + (1.0 - coefficient) * wanted;
        // The singer's own vibrato, scaled as "Natural Vibrato" scales it:
        // the deviation from a slow mean of the period.
        mean += (p - mean) * 0.05;
        const double naturalFactor = 1.0 + natural * (1.0 - p / mean);
        double value = 0.0, mix = 1.0;
        const double vibratoFactor = vibrato.on() ? vibrato.step(value, mix) : 1.0;
        CurvePoint point;
        if (vibrato.on()) {
            point.modulationOffset = float(value * s.vibratoAmplitude / 100.0);
            point.modulationGain = float(mix);
            point.modulationParameter = float(s.vibratoFormant);
        }
        modulation.push_back(point);
        const double out_period = p / (smoothed * naturalFactor * vibratoFactor);
        const double cents = double(Period_ToCents(float(out_period), rate));
        if (curveStart < 0) curveStart = i;
        curve.push_back(int16_t(std::clamp<double>(double(Round_ToInt(float(cents))), lowestObjectPitch,
                                                   highestObjectPitch)));
    }
    flush();
    return out;
}
