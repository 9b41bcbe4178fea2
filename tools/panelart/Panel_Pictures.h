#pragma once

// The pictures of the plug-in's panel, by the file names its UI description
// gives them: backgrounds, group plates, knob film strips (frames stacked
// downwards), switch strips (one picture per state, stacked downwards),
// buttons of two halves (top at rest or off, bottom pressed or on), the
// flash pictures of the flashing buttons, pop-up plates and scrollbar thumbs.

#include <cairo.h>

#include <functional>
#include <string>

namespace panelart {

// Paints every picture in turn and hands it to the visitor with its file
// name ("knob_40.png"). The surface belongs to the caller of the visitor and
// lives until the visitor returns. Stops, and answers false, at the first
// visit that answers false.
bool for_each_picture(const std::function<bool(const std::string& file_name, cairo_surface_t* picture)>& visit);

// Writes every picture as a PNG file into the folder, each through a
// temporary file renamed into place, so that no file is ever left half
// written. False with a message at the first failure.
bool write_all_pictures(const std::string& folder, std::string& error);

} // namespace panelart
