#pragma once

#include <cstdint>

// One hop of the pitch tracker: waveform peaks, detected periods and cents,
// the correction wanted on playback and the host's musical position.
// Periods are in host samples (the engine's period times decimationFactor);
// cents as Period_ToCents gives them (0 is the C below A 440).
struct TrackedFrame {
    float minSample = 1.0f;      // smallest sample of the hop; 1.0 while unfilled
    float maxSample = -1.0f;     // largest sample of the hop
    float periodA = 0.0f;        // smaller period of the hop, host samples
    float periodB = -1.0f;       // larger period; -1.0 marks an unvoiced hop
    int32_t centsA = 0;          // periodA as cents
    int32_t centsB = 30000;      // periodB as cents; 30000 marks no pitch
    float outputPeriod = 0.0f;   // wanted period on playback; 0.0 leaves the hop
    float modulationOffset = 0.0f;
    float modulationGain = 1.0f;
    float modulationParameter = 0.0f;
    float throatOffset = 0.0f;
    int32_t bar = 0;             // host bar in which a beat begins here, else 0
    uint8_t beat = 0;            // beat within `bar`, 0 when none begins here
    int8_t midiNote = -128;      // MIDI note held, -128 for none

    bool filled() const { return minSample != 1.0f; }
    bool voiced() const { return centsB != unvoicedCents; }

    static constexpr int32_t unvoicedCents = 30000;
    static constexpr int8_t noMidiNote = -128;
    // Bytes of one frame in the session stream, and in its older form.
    static constexpr uint32_t streamBytes = 50;
    static constexpr uint32_t olderStreamBytes = 56;
};

// Samples per frame as every conversion uses it: 200 while unset.
inline int64_t effectiveSamplesPerFrame(int64_t samplesPerFrame)
{
    return samplesPerFrame == 0 ? 200 : samplesPerFrame;
}

// Downsampled samples per frame, the scale between frames and the store's
// positions: samplesPerFrame / decimationFactor, integer division, as a double.
inline double storeSamplesPerFrame(int64_t samplesPerFrame, int64_t decimationFactor)
{
    return double(effectiveSamplesPerFrame(samplesPerFrame) / (decimationFactor < 1 ? 1 : decimationFactor));
}

// Frame index to store position (downsampled samples), truncating.
inline int64_t frameToStorePosition(int64_t frame, int64_t samplesPerFrame, int64_t decimationFactor)
{
    return int64_t(double(frame) * storeSamplesPerFrame(samplesPerFrame, decimationFactor));
}

// Store position (downsampled samples) to frame index, truncating.
inline int64_t storePositionToFrame(int64_t position, int64_t samplesPerFrame, int64_t decimationFactor)
{
    return int64_t(double(position) / storeSamplesPerFrame(samplesPerFrame, decimationFactor));
}
