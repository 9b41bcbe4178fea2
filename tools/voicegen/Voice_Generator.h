#pragma once

// A synthetic singer: a glottal pulse source with small jitter and shimmer,
// through vowel formant resonators, following a pitch contour. Deterministic
// from its seed. It renders the embedded demo phrase and the known voices of
// the tests, whose true pitch it reports sample by sample.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace voicegen {

enum class Vowel { A, E, I, O, U };

struct Voice_Note {
    double start_s;       // onset, seconds from the start of the phrase
    double length_s;      // duration, attack and release included
    double midi_note;     // the sung note (fractional allowed), 69 = 440 Hz
    double detune_cents;  // how far the singer is off the note while holding it
    double scoop_cents;   // pitch offset at the onset, gliding to the note
    double scoop_s;       // duration of that glide
    Vowel vowel;
    double level;         // peak amplitude, linear
};

struct Voice_Settings {
    double sample_rate = 48000.0;
    uint32_t seed = 1;
    double jitter = 0.004;             // relative random period variation per cycle
    double shimmer = 0.03;             // relative random amplitude variation per cycle
    double vibrato_rate_hz = 5.5;
    double vibrato_depth_cents = 25.0; // peak deviation
    double vibrato_onset_s = 0.3;      // vibrato fades in after this long into each note
    double breath = 0.005;             // aspiration noise relative to the voice
    // Formant frequencies and bandwidths over those of an adult man: a
    // shorter vocal tract raises them all (about 1.17 for a woman, 1.35 for
    // a child).
    double formant_scale = 1.0;
};

// Formant scales of the usual voice kinds.
constexpr double kManFormants = 1.0;
constexpr double kWomanFormants = 1.17;
constexpr double kChildFormants = 1.35;

class Voice_Generator {
public:
    explicit Voice_Generator(const Voice_Settings& settings);

    // A phrase of total_s seconds: the notes, which must not overlap, with
    // exact silence between them and smooth attacks and releases.
    std::vector<float> render(const std::vector<Voice_Note>& notes, double total_s);

    // A voice following an explicit fundamental per sample, in Hz (0 is
    // silence there), at a peak of about `level`.
    std::vector<float> render_contour(const std::vector<double>& f0_hz, Vowel vowel, double level);

    // The fundamental in Hz that the last render followed at each sample,
    // without jitter; 0 where silent.
    const std::vector<double>& pitch_contour() const { return contour; }

    // Frequency in Hz of a (fractional) MIDI note.
    static double note_to_hz(double midi_note);

private:
    struct Formants {
        double freq[4];
        double bandwidth[4];
    };
    static Formants formants_of(Vowel vowel);

    // Synthesises out[begin, end) following contour, with the vowel held,
    // scaled so that its peak is `level`.
    void synthesise(std::vector<float>& out, size_t begin, size_t end, Vowel vowel, double level,
                    const std::vector<double>& envelope);

    double uniform();
    double gaussian();

    Voice_Settings settings;
    uint32_t state;
    std::vector<double> contour;
};

// The demo phrase: about eight seconds, a short melody in C major between A3
// and A4, each note a little out of tune, with vibrato and a scoop into each.
std::vector<Voice_Note> demo_phrase_notes();
std::vector<float> render_demo_phrase(double sample_rate, uint32_t seed = 7);
double demo_phrase_seconds();

} // namespace voicegen
