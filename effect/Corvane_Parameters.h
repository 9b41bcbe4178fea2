#pragma once

#include "panel/Corvane_ParameterIds.h"
#include "public.sdk/source/vst/vstparameters.h"

// The parameter catalogue of the effect: every control of the front panel and
// every automatable setting, with the numbers of Corvane_ParameterIds.h.
namespace corvane {

// Fills the host's parameters with the 90 numbered rows and the private
// set with the extra ones. Interface thread, once, from initialize.
void addParameters(Steinberg::Vst::ParameterContainer& parameters,
                   Steinberg::Vst::ParameterContainer& privateParameters);

// The key names for a scale: one list per spelling (major keys, minor keys,
// plain keys of the other scales). Index of the list for a scale.
int keySpellingOf(int scale);

} // namespace corvane
