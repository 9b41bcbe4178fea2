#pragma once

// The pictures of the Auto-mode page's scales list and pitch-change meter.
// The list's come in four: the empty table (its rows' background), the
// same with every Bypass box lit, with every Remove box lit, and the table
// out of use; the list view copies a row's lit box out of the lit picture.
// The meter's come in two of the same shape, every segment lit and every
// segment dark; the meter view shows a part of each.

#include <cairo.h>

#include <functional>
#include <string>

namespace panelart {

// Paints each of these pictures in turn and hands it to the visitor with
// its file name, as for_each_picture does; false at the first visit that
// answers false.
bool for_each_list_picture(const std::function<bool(const std::string& file_name, cairo_surface_t* picture)>& visit);

} // namespace panelart
