#pragma once

// Helpers of the library's tests: files in a scratch folder, pictures
// written with cairo directly (not through the library), pixel reads, a
// frame without a window, a log of a control's edits and descriptions made
// from text.

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/cframe.h"
#include "vstgui/lib/coffscreencontext.h"
#include "vstgui/lib/controls/ccontrol.h"
#include "vstgui/uidescription/uidescription.h"
#include "vstgui/uidescription/uiviewfactory.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <utility>
#include <sys/stat.h>
#include <unistd.h>

namespace vstgui_test {

// A fresh folder under the build's scratch folder, named after the test.
inline std::string scratchDir()
{
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string dir = std::string(CORVANE_TEST_TMP) + "/vstgui_" + info->test_suite_name() + "_" + info->name();
    ::mkdir(CORVANE_TEST_TMP, 0755);
    ::mkdir(dir.c_str(), 0755);
    return dir;
}

inline void writeText(const std::string& path, const std::string& text)
{
    std::ofstream out(path, std::ios::binary);
    out << text;
}

struct Rgba {
    uint8_t r, g, b, a;
};

// A PNG of vertical bands: band i (of height bandHeight, full width) has
// colours[i].
inline void writeBandsPNG(const std::string& path, int width, int bandHeight, const std::vector<Rgba>& colours)
{
    cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, bandHeight * int(colours.size()));
    cairo_t* cr = cairo_create(s);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    for (size_t i = 0; i < colours.size(); ++i) {
        const Rgba& c = colours[i];
        cairo_set_source_rgba(cr, c.r / 255.0, c.g / 255.0, c.b / 255.0, c.a / 255.0);
        cairo_rectangle(cr, 0, double(i) * bandHeight, width, bandHeight);
        cairo_fill(cr);
    }
    cairo_destroy(cr);
    cairo_surface_write_to_png(s, path.c_str());
    cairo_surface_destroy(s);
}

// The colour of one pixel of a bitmap, read straight from its surface.
inline VSTGUI::CColor pixel(VSTGUI::CBitmap* bitmap, int x, int y)
{
    VSTGUI::CColor c(0, 0, 0, 0);
    auto* access = VSTGUI::CBitmapPixelAccess::create(bitmap);
    if (!access) return c;
    if (access->setPosition(uint32_t(x), uint32_t(y))) access->getColor(c);
    access->forget();
    return c;
}

inline VSTGUI::CColor pixel(VSTGUI::COffscreenContext* context, int x, int y)
{
    return pixel(context->getBitmap(), x, y);
}

inline std::string str(const VSTGUI::CColor& c)
{
    return c.toString();
}

// Two colours alike within a tolerance per channel.
inline bool near(const VSTGUI::CColor& a, const VSTGUI::CColor& b, int tolerance = 2)
{
    auto d = [](int x, int y) { return x > y ? x - y : y - x; };
    return d(a.red, b.red) <= tolerance && d(a.green, b.green) <= tolerance && d(a.blue, b.blue) <= tolerance &&
           d(a.alpha, b.alpha) <= tolerance;
}

// Hears a control as its listener and, once added, as its dependent:
// " begin", each value sent, " end", and the messages " ~begin", " ~value",
// " ~end", in the order they come.
struct EditLog : VSTGUI::IControlListener, VSTGUI::CBaseObject {
    std::string log;
    void valueChanged(VSTGUI::CControl* c) override
    {
        char text[32];
        std::snprintf(text, sizeof text, " %g", double(c->getValue()));
        log += text;
    }
    void controlBeginEdit(VSTGUI::CControl*) override { log += " begin"; }
    void controlEndEdit(VSTGUI::CControl*) override { log += " end"; }
    // Messages are told apart by the identity of the constants.
    VSTGUI::CMessageResult notify(VSTGUI::CBaseObject*, VSTGUI::IdStringPtr message) override
    {
        using VSTGUI::CControl;
        log += message == CControl::kMessageValueChanged ? " ~value"
               : message == CControl::kMessageBeginEdit  ? " ~begin"
               : message == CControl::kMessageEndEdit    ? " ~end"
                                                         : " ~?";
        return VSTGUI::kMessageNotified;
    }
    // The log so far, cleared.
    std::string take() { return std::exchange(log, ""); }
};

// A 200 x 200 frame without a window that takes events as its window sends
// them; its editor asks knobs for `knobMode`, -1 for their own.
struct FrameTest : ::testing::Test, VSTGUI::VSTGUIEditorInterface {
    int32_t knobMode = -1;
    int32_t getKnobMode() const override { return knobMode; }
    EditLog edits; // outlives the frame and its views
    VSTGUI::SharedPointer<VSTGUI::CFrame> frame = VSTGUI::owned(new VSTGUI::CFrame(VSTGUI::CRect(0, 0, 200, 200), this));

    VSTGUI::CMouseEventResult down(VSTGUI::CPoint p, int32_t buttons = VSTGUI::kLButton)
    {
        return frame->platformOnMouseDown(p, buttons);
    }
    void move(VSTGUI::CPoint p, int32_t buttons = VSTGUI::kLButton) { frame->platformOnMouseMoved(p, buttons); }
    void up(VSTGUI::CPoint p, int32_t buttons = VSTGUI::kLButton) { frame->platformOnMouseUp(p, buttons); }
    void click(VSTGUI::CPoint p, int32_t buttons = VSTGUI::kLButton)
    {
        down(p, buttons);
        up(p, buttons);
    }
};

// The test's scratch folder as the resource folder while the object lives.
struct ResourceFolder {
    std::string dir = scratchDir();
    ResourceFolder() { VSTGUI::setResourceDirectory(dir.c_str()); }
    ~ResourceFolder() { VSTGUI::setResourceDirectory(nullptr); }
    // A PNG of one flat colour, or of bands as writeBandsPNG draws them.
    void png(const std::string& name, int width, int bandHeight, const std::vector<Rgba>& bands)
    {
        writeBandsPNG(dir + "/" + name, width, bandHeight, bands);
    }
    // The description of `xml`, written into the folder and read back.
    VSTGUI::SharedPointer<VSTGUI::UIDescription> describe(const std::string& xml, const std::string& file = "test.uidesc")
    {
        writeText(dir + "/" + file, xml);
        auto description = VSTGUI::owned(new VSTGUI::UIDescription(VSTGUI::CResourceDescription(file.c_str())));
        EXPECT_TRUE(description->parse()) << description->getLastError();
        return description;
    }
};

// Attributes from names and values, and the view a factory makes of them.
inline VSTGUI::UIAttributes attributesOf(const std::vector<std::pair<const char*, const char*>>& list)
{
    VSTGUI::UIAttributes attributes;
    for (const auto& [name, value] : list) attributes.setAttribute(name, value);
    return attributes;
}

template <class View>
VSTGUI::SharedPointer<View> made(const VSTGUI::UIAttributes& attributes, const VSTGUI::IUIDescription* description)
{
    return VSTGUI::owned(dynamic_cast<View*>(VSTGUI::UIViewFactory().createView(attributes, description)));
}

} // namespace vstgui_test
