#pragma once

// The SDK's UTF-16 texts (String128, TChar arrays) to UTF-8 and back.

#include <string>

#include "pluginterfaces/vst/vsttypes.h"

namespace hostlib {

// UTF-8 of a zero-terminated UTF-16 text; a null pointer gives "". A lone
// surrogate becomes U+FFFD.
std::string to_utf8(const Steinberg::Vst::TChar* text);

// Writes text as UTF-16 into out[0, capacity), always zero-terminated, cut
// at a whole character when it does not fit. Malformed UTF-8 bytes become
// U+FFFD. Returns false when the text was cut.
bool from_utf8(const std::string& text, Steinberg::Vst::TChar* out, int capacity);

} // namespace hostlib
