#pragma once

// The pictures of the Auto-mode page's keyboard: the whole keyboard in each
// look a key can have, all drawn by the same key shapes as the keyboard
// view uses, so that the view can copy any key out of any picture and get
// that key alone. "keyboard.png" is the keyboard at rest; in
// "keyboard_highlighted.png" every key is lit as the current note, in
// "keyboard_bypassed.png" every key is marked bypassed, in
// "keyboard_removed.png" every key is marked removed, and
// "keyboard_off.png" shows the keyboard out of use. Between the keys all
// five are alike.

#include <cairo.h>

#include <functional>
#include <string>

namespace panelart {

// Paints each keyboard picture in turn and hands it to the visitor with its
// file name, as for_each_picture does; false at the first visit that
// answers false.
bool for_each_keyboard_picture(
    const std::function<bool(const std::string& file_name, cairo_surface_t* picture)>& visit);

} // namespace panelart
