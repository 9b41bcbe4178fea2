#include "panelart/Panel_Pictures.h"

#include "panelart/Cursor_Pictures.h"
#include "panelart/Keyboard_Pictures.h"
#include "panelart/List_Pictures.h"
#include "panelart/Panel_Painter.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

namespace panelart {

namespace {

// Pictures of knobs have this many frames, so that the middle one stands
// exactly at the centre of the travel.
constexpr int kKnobFrames = 101;
// The height of the dark band across the top of the common area.
constexpr double kHeaderHeight = 28;

struct Plain {
    const char* name;
    int width, height;
};

struct Knob {
    const char* name;
    int size;
    KnobStyle style;
};

// Captions of the segments, separated by '|'.
struct Switch {
    const char* name;
    int width, height;
    const char* captions;
};

struct Button {
    const char* name;
    int width, height;
    const char* caption;
};

struct Arrow {
    const char* name;
    int width, height;
    Direction direction;
};

struct Zoom {
    const char* name;
    int width, height;
    ZoomKind kind;
};

// The LED colours of two-state buttons: amber for settings, red for the
// buttons that record.
enum class Led { amber, red };

struct Toggle {
    const char* name;
    int width, height;
    const char* caption;
    Led led;
    // The name of its flash picture, or null for a button that never
    // flashes.
    const char* flash_name;
};

// Backgrounds of the common area and of the two pages; the first has the
// header band.
const Plain backgrounds[] = {
    {"bg_common", 850, 122},
    {"bg_auto", 850, 508},
    {"bg_graph", 850, 508},
};

const Plain plates[] = {
    {"plate_correction", 112, 82},
    {"plate_input", 176, 82},
    {"plate_scale", 252, 82},
    {"plate_shift", 276, 82},
    {"plate_retune", 244, 128},
    {"plate_vibrato", 584, 128},
    {"plate_scale_notes", 250, 356},
    {"plate_keyboard", 578, 176},
    {"plate_midi", 284, 174},
    {"plate_meter", 288, 174},
    {"plate_tracking", 260, 56},
    {"plate_tools", 316, 56},
    {"plate_clock", 246, 56},
    {"plate_edit", 240, 124},
    {"plate_objects", 372, 124},
    {"plate_time", 210, 124},
};

const Knob knobs[] = {
    {"knob_56", 56, KnobStyle::from_start},
    {"knob_40", 40, KnobStyle::from_start},
    {"knob_40_centre", 40, KnobStyle::from_centre},
    {"knob_32", 32, KnobStyle::from_start},
    {"knob_32_centre", 32, KnobStyle::from_centre},
};

const Plain popups[] = {
    {"popup_58", 58, 22},
    {"popup_104", 104, 22},
    {"popup_112", 112, 22},
    {"popup_128", 128, 22},
};

const Plain thumbs[] = {
    {"thumb_horizontal", 64, 16},
    {"thumb_vertical", 16, 48},
};

const Switch switches[] = {
    {"switch_mode", 96, 22, "Auto|Graph"},
    {"switch_stereo", 76, 20, "Left|Right"},
    {"switch_keyboard_edits", 104, 20, "Remove|Bypass"},
    {"switch_keyboard_mode", 104, 20, "Latch|Play"},
    {"switch_midi_octaves", 260, 22, "As Played|All"},
    {"switch_clock_source", 94, 22, "Internal|Host"},
    {"switch_tie", 110, 20, "Free|Tied"},
    {"switch_time_display", 96, 20, "Time|Bars"},
};

// The graph tools, in the order of their values.
const SegmentMark tool_marks[] = {
    SegmentMark::icon_draw_lines, SegmentMark::icon_draw_curves, SegmentMark::icon_draw_notes,
    SegmentMark::icon_arrow,     SegmentMark::icon_scissors,   SegmentMark::icon_zoom,
    SegmentMark::icon_i_beam,     SegmentMark::icon_hand_scroll, SegmentMark::icon_move_point,
    SegmentMark::icon_move_region,
};
constexpr int kToolCount = int(sizeof tool_marks / sizeof tool_marks[0]);
const Plain tool_switch = {"switch_tools", 300, 24};

const Button buttons[] = {
    {"button_options", 60, 20, "Options"},
    {"button_major", 74, 20, "Major"},
    {"button_minor", 74, 20, "Minor"},
    {"button_set_all", 76, 20, "Set All"},
    {"button_bypass_all", 114, 20, "Bypass All"},
    {"button_remove_all", 114, 20, "Remove All"},
    {"button_undo", 72, 20, "Undo"},
    {"button_redo", 72, 20, "Redo"},
    {"button_select_all", 72, 20, "Select All"},
    {"button_cut", 72, 20, "Cut"},
    {"button_copy", 72, 20, "Copy"},
    {"button_paste", 72, 20, "Paste"},
    {"button_clear_data", 72, 20, "Clear Data"},
    {"button_make_curves", 86, 20, "Make Curves"},
    {"button_make_notes", 86, 20, "Make Notes"},
    {"button_from_midi", 86, 20, "From MIDI"},
    {"button_import_auto", 86, 20, "Import Auto"},
    {"button_time_undo", 46, 20, "Undo"},
    {"button_time_redo", 46, 20, "Redo"},
    {"button_time_clear", 96, 20, "Clear All"},
    {"button_reset_clocks", 44, 22, "Reset"},
};

const Arrow arrows[] = {
    {"arrow_up_20", 20, 20, Direction::up},
    {"arrow_down_20", 20, 20, Direction::down},
    {"nudge_up", 34, 20, Direction::up},
    {"nudge_down", 34, 20, Direction::down},
    {"scroll_up", 16, 16, Direction::up},
    {"scroll_down", 16, 16, Direction::down},
    {"scroll_left", 16, 16, Direction::left},
    {"scroll_right", 16, 16, Direction::right},
};

const Zoom zooms[] = {
    {"zoom_h_out", 40, 16, ZoomKind::horizontal_out},
    {"zoom_h_in", 40, 16, ZoomKind::horizontal_in},
    {"zoom_v_out", 40, 16, ZoomKind::vertical_out},
    {"zoom_v_in", 40, 16, ZoomKind::vertical_in},
};

// The data folder button flashes red while the session's data files are
// missing.
const Plain folder_button = {"button_data_folder", 24, 22};
const char* const folder_flash = "flash_data_folder";

const Toggle toggles[] = {
    {"toggle_use_formants", 104, 22, "Use Formants", Led::amber, nullptr},
    {"toggle_ignore_vibrato", 140, 20, "Ignore Vibrato", Led::amber, nullptr},
    {"toggle_hold_note", 112, 20, "Hold Note", Led::amber, nullptr},
    {"toggle_learn_scale", 124, 22, "Learn Scale", Led::amber, nullptr},
    {"toggle_target_notes", 124, 22, "Target Notes", Led::amber, nullptr},
    {"toggle_snap", 110, 20, "Snap To Note", Led::amber, nullptr},
    {"toggle_show_lanes", 96, 20, "Show Lanes", Led::amber, nullptr},
    {"toggle_show_midi", 96, 20, "Show MIDI", Led::amber, nullptr},
    {"toggle_time_warp", 96, 20, "Time Warp", Led::amber, nullptr},
    {"toggle_auto_scroll", 94, 20, "Auto Scroll", Led::amber, nullptr},
    {"toggle_track_pitch", 92, 22, "Track Pitch", Led::red, "flash_track_pitch"},
    {"toggle_track_pitch_time", 120, 22, "Track Pitch + Time", Led::red, "flash_track_pitch_time"},
};

std::vector<std::string> split_captions(const char* captions)
{
    std::vector<std::string> parts(1);
    for (const char* c = captions; *c; ++c) {
        if (*c == '|')
            parts.emplace_back();
        else
            parts.back() += *c;
    }
    return parts;
}


using Visitor = std::function<bool(const std::string&, cairo_surface_t*)>;

bool emit(const Visitor& visit, const std::string& name, const Canvas& canvas)
{
    return visit(name + ".png", canvas.picture());
}

Colour led_colour(Led led)
{
    return led == Led::red ? palette::red : palette::amber;
}

} // namespace

bool for_each_picture(const Visitor& visit)
{
    for (const Plain& p : backgrounds) {
        Canvas canvas(p.width, p.height);
        paint_background(canvas.context(), p.width, p.height, &p == &backgrounds[0] ? kHeaderHeight : 0);
        if (!emit(visit, p.name, canvas)) return false;
    }
    for (const Plain& p : plates) {
        Canvas canvas(p.width, p.height);
        paint_plate(canvas.context(), Box{0, 0, double(p.width), double(p.height)});
        if (!emit(visit, p.name, canvas)) return false;
    }
    for (const Knob& k : knobs) {
        Canvas canvas(k.size, k.size * kKnobFrames);
        for (int frame = 0; frame < kKnobFrames; ++frame) {
            const Box box{0, double(k.size * frame), double(k.size), double(k.size)};
            paint_knob(canvas.context(), box, double(frame) / (kKnobFrames - 1), k.style);
        }
        if (!emit(visit, k.name, canvas)) return false;
    }
    for (const Plain& p : popups) {
        Canvas canvas(p.width, p.height);
        paint_popup(canvas.context(), Box{0, 0, double(p.width), double(p.height)});
        if (!emit(visit, p.name, canvas)) return false;
    }
    for (const Plain& p : thumbs) {
        Canvas canvas(p.width, p.height);
        paint_thumb(canvas.context(), Box{0, 0, double(p.width), double(p.height)});
        if (!emit(visit, p.name, canvas)) return false;
    }
    for (const Switch& s : switches) {
        const std::vector<std::string> captions = split_captions(s.captions);
        const int count = int(captions.size());
        const std::vector<SegmentMark> marks(captions.size(), SegmentMark::caption);
        Canvas canvas(s.width, s.height * count);
        for (int state = 0; state < count; ++state) {
            const Box box{0, double(s.height * state), double(s.width), double(s.height)};
            paint_switch(canvas.context(), box, count, state, marks.data(), captions.data());
        }
        if (!emit(visit, s.name, canvas)) return false;
    }
    {
        const std::vector<std::string> no_captions(kToolCount);
        Canvas canvas(tool_switch.width, tool_switch.height * kToolCount);
        for (int state = 0; state < kToolCount; ++state) {
            const Box box{0, double(tool_switch.height * state), double(tool_switch.width), double(tool_switch.height)};
            paint_switch(canvas.context(), box, kToolCount, state, tool_marks, no_captions.data());
        }
        if (!emit(visit, tool_switch.name, canvas)) return false;
    }
    for (const Button& b : buttons) {
        Canvas canvas(b.width, b.height * 2);
        for (int half = 0; half < 2; ++half) {
            const Box box{0, double(b.height * half), double(b.width), double(b.height)};
            paint_button_face(canvas.context(), box, half ? FaceState::pressed : FaceState::rest);
            const Box text{box.x + 3, box.y + half, box.w - 6, box.h};
            paint_caption(canvas.context(), text, b.caption, 11, true, half ? palette::accent : palette::text);
        }
        if (!emit(visit, b.name, canvas)) return false;
    }
    for (const Arrow& a : arrows) {
        Canvas canvas(a.width, a.height * 2);
        for (int half = 0; half < 2; ++half) {
            const Box box{0, double(a.height * half), double(a.width), double(a.height)};
            paint_button_face(canvas.context(), box, half ? FaceState::pressed : FaceState::rest);
            const Box mark{box.x, box.y + half, box.w, box.h};
            paint_arrow(canvas.context(), mark, a.direction, half ? palette::accent : palette::text);
        }
        if (!emit(visit, a.name, canvas)) return false;
    }
    for (const Zoom& z : zooms) {
        Canvas canvas(z.width, z.height * 2);
        for (int half = 0; half < 2; ++half) {
            const Box box{0, double(z.height * half), double(z.width), double(z.height)};
            paint_button_face(canvas.context(), box, half ? FaceState::pressed : FaceState::rest);
            const Box mark{box.x, box.y + half, box.w, box.h};
            paint_zoom(canvas.context(), mark, z.kind, half ? palette::accent : palette::text);
        }
        if (!emit(visit, z.name, canvas)) return false;
    }
    for (int flash = 0; flash < 2; ++flash) {
        const Plain& f = folder_button;
        Canvas canvas(f.width, f.height * 2);
        for (int half = 0; half < 2; ++half) {
            const Box box{0, double(f.height * half), double(f.width), double(f.height)};
            const FaceState face = flash ? (half ? FaceState::flash_pressed : FaceState::flash)
                                         : (half ? FaceState::pressed : FaceState::rest);
            paint_button_face(canvas.context(), box, face);
            const Colour ink = flash ? rgb(0xffffff) : (half ? palette::accent : palette::text);
            paint_folder(canvas.context(), Box{box.x, box.y + half, box.w, box.h}, ink);
        }
        if (!emit(visit, flash ? folder_flash : f.name, canvas)) return false;
    }
    for (const Toggle& t : toggles) {
        // The flash picture has the layout of the button's own: the bright
        // phase of the flash in both halves, so that it reads alike however
        // the button places it.
        for (int flash = 0; flash < (t.flash_name ? 2 : 1); ++flash) {
            Canvas canvas(t.width, t.height * 2);
            for (int half = 0; half < 2; ++half) {
                const Box box{0, double(t.height * half), double(t.width), double(t.height)};
                paint_toggle(canvas.context(), box, t.caption, flash || half, led_colour(t.led), flash != 0);
            }
            if (!emit(visit, flash ? t.flash_name : t.name, canvas)) return false;
        }
    }
    if (!for_each_list_picture(visit)) return false;
    if (!for_each_keyboard_picture(visit)) return false;
    if (!for_each_cursor_picture(visit)) return false;
    return true;
}

bool write_all_pictures(const std::string& folder, std::string& error)
{
    return for_each_picture([&](const std::string& file_name, cairo_surface_t* picture) {
        const std::string path = folder + "/" + file_name;
        const std::string temporary = path + ".part";
        const cairo_status_t status = cairo_surface_write_to_png(picture, temporary.c_str());
        if (status != CAIRO_STATUS_SUCCESS) {
            std::remove(temporary.c_str());
            error = "cannot write " + path + ": " + cairo_status_to_string(status);
            return false;
        }
        if (std::rename(temporary.c_str(), path.c_str()) != 0) {
            error = "cannot write " + path + ": " + std::strerror(errno);
            std::remove(temporary.c_str());
            return false;
        }
        return true;
    });
}

} // namespace panelart
