#include "panel/Corvane_KeyboardGeometry.h"

#include <algorithm>
#include <cmath>

namespace {

// Where each pitch class (C is 0) sits in its octave, in white-key widths
// from the left edge of its C: a white key's slot, or a black key's centre.
// The black keys divide the tops of their group evenly, as on a piano: C to
// E into five equal parts, F to B into seven, so that C# and D# lean apart
// and F#, G# and A# spread over four white keys.
struct PitchClassPlace {
    bool black;
    double at;
};

const PitchClassPlace placeOfPitchClass[12] = {
    {false, 0.0},           // C
    {true, 1.5 * 3 / 5},    // C#
    {false, 1.0},           // D
    {true, 3.5 * 3 / 5},    // D#
    {false, 2.0},           // E
    {false, 3.0},           // F
    {true, 3 + 1.5 * 4 / 7}, // F#
    {false, 4.0},           // G
    {true, 3 + 3.5 * 4 / 7}, // G#
    {false, 5.0},           // A
    {true, 3 + 5.5 * 4 / 7}, // A#
    {false, 6.0},           // B
};

// White-key slots from the C of MIDI octave 0 to the lowest key, a G.
constexpr double lowestSlot = 1 * 7 + 4;
// A black key is this part of a white key wide and of the keyboard high.
constexpr double blackWidthPart = 7.0 / 12.0;
constexpr double blackLengthPart = 0.6;

int pitchClassOf(int note)
{
    return ((note % 12) + 12) % 12;
}

// The key's slot or centre in white-key widths from the keyboard's left edge.
double placeOf(int note)
{
    const int octave = (note - pitchClassOf(note)) / 12;
    return octave * 7 + placeOfPitchClass[pitchClassOf(note)].at - lowestSlot;
}

Corvane_KeyRect rectangle(double left, double top, double right, double bottom)
{
    return Corvane_KeyRect{left, top, std::max(left, right), std::max(top, bottom)};
}

} // namespace

bool Corvane_IsBlackPitchClass(int pitchClass)
{
    return placeOfPitchClass[pitchClassOf(pitchClass)].black;
}

// Edges lie on whole pixels, so that a key copied out of a picture has no
// blended border. Every key is kept one pixel clear of its neighbours: the
// column after each white key, the columns on both sides of a black key
// and the row under it belong to no key. Since the keys' rectangles are
// hit-tested with their edges included, the clearance is what keeps any
// point of the keyboard in at most one key.
void Corvane_KeyboardLayout(double width, double height, Corvane_KeyShape (&keys)[corvane_keyboard_keys])
{
    const double whiteWidth = std::max(0.0, width) / corvane_keyboard_white_keys;
    // On a small keyboard the black keys narrow, so that the top of a white
    // key between two of them keeps at least a pixel beside its clearance.
    const double narrowestTop = whiteWidth * 4 / 7;
    const double blackWidth =
        std::max(1.0, std::min(std::round(whiteWidth * blackWidthPart), std::floor(2 * narrowestTop - 3)));
    const double frontTop = std::round(std::max(0.0, height) * blackLengthPart);
    const double bottom = std::max(0.0, height);

    for (int i = 0; i < corvane_keyboard_keys; ++i) {
        const int note = corvane_keyboard_lowest_note + i;
        const double place = placeOf(note);
        Corvane_KeyShape& key = keys[i];
        key.black = Corvane_IsBlackPitchClass(pitchClassOf(note));
        if (key.black) {
            // Centred on the clear column between the two white keys it
            // stands over, which lies half a pixel left of their boundary.
            const double left = std::round(place * whiteWidth - 0.5 - blackWidth / 2);
            key.upper = rectangle(left, 0, left + blackWidth, frontTop - 1);
            key.lower = Corvane_KeyRect{0, 0, 0, 0};
        } else {
            const double left = std::round(place * whiteWidth);
            const double right = std::round((place + 1) * whiteWidth) - 1;
            key.upper = rectangle(left, 0, right, frontTop);
            key.lower = rectangle(left, frontTop, right, bottom);
        }
    }
    // The narrow part of a white key stops one pixel short of the black
    // keys beside it.
    for (int i = 0; i < corvane_keyboard_keys; ++i) {
        Corvane_KeyShape& key = keys[i];
        if (key.black) continue;
        if (i > 0 && keys[i - 1].black) key.upper.left = std::max(key.upper.left, keys[i - 1].upper.right + 1);
        if (i + 1 < corvane_keyboard_keys && keys[i + 1].black)
            key.upper.right = std::min(key.upper.right, keys[i + 1].upper.left - 1);
        key.upper.right = std::max(key.upper.left, key.upper.right);
    }
}
