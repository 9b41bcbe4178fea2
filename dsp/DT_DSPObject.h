#pragma once

#include "dsp/CV_DSPObject.h"

// The concrete engine: CV_DSPObject's loop with the settings of its formant
// stage. Embedded by value in the effect.
class DT_DSPObject final : public CV_DSPObject {
public:
    // Interface thread. Allocates every ring and work buffer for blocks of up
    // to block_limit host frames.
    explicit DT_DSPObject(int64_t block_limit = engine::max_block) : CV_DSPObject(block_limit) {}

    // Owner thread: the audio thread between blocks while processing, the
    // interface thread while inactive. "Use Formants", and the length of the
    // synthesis tube over that of the analysis ("Throat Length").
    void set_formants(bool on) noexcept { formants.set_enabled(on); }
    void set_throat_ratio(double ratio) noexcept { formants.set_throat_ratio(ratio); }

    // Owner thread. The settings as last set.
    bool get_formants() const noexcept { return formants.is_enabled(); }
    double get_throat_ratio() const noexcept { return formants.get_throat_ratio(); }
};
