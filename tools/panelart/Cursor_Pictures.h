#pragma once

#include <cairo.h>

#include <functional>
#include <string>

namespace panelart {

// The custom cursors of the graph tools, 24 x 24 pictures under the names
// the integer resource ids 9000 to 9014 resolve to ("bmp09000.png" ...):
// black outlines with a white rim on transparent ground, each drawn about
// the hot spot the graph views hand to the window.
bool for_each_cursor_picture(const std::function<bool(const std::string& file_name, cairo_surface_t* picture)>& visit);

} // namespace panelart
