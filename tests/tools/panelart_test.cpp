// corvane-panelart run as the build runs it, and the panel's UI description
// read by the library's own loader against the pictures the program draws
// and the effect's own parameter catalogue.

#include "support/tool_run.h"
#include "Common_VST3/VSTGUI4_Controls.h"
#include "effect/Corvane_Parameters.h"
#include "Common_VST3/VSTGUI4_Scrollbars.h"
#include "graph/views/Corvane_GraphContainerView.h"
#include "graph/views/Corvane_CursorHotSpots.h"
#include "graph/views/Corvane_GraphView.h"
#include "panel/Corvane_KeyboardView.h"
#include "panel/Corvane_MeterView.h"
#include "panel/Corvane_ScalesListView.h"
#include "panel/Corvane_SubController.h"
#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/controls/cknob.h"
#include "vstgui/lib/controls/coptionmenu.h"
#include "vstgui/lib/controls/cparamdisplay.h"
#include "vstgui/lib/controls/cswitch.h"
#include "vstgui/lib/controls/cvumeter.h"
#include "vstgui/lib/cviewcontainer.h"
#include "vstgui/lib/platform/cairo_support.h"
#include "vstgui/uidescription/delegationcontroller.h"
#include "vstgui/uidescription/uidescription.h"

#include <cairo.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

using namespace VSTGUI;
namespace fs = std::filesystem;
using test_tool::files_in;
using test_tool::Result;

namespace {

constexpr int kPanelWidth = 850, kPanelHeight = 630;

// Runs the program; its output streams are caught in files beside the
// folder given, and removed with it by removeAll.
Result run(const std::string& folder, const std::vector<std::string>& args)
{
    return test_tool::run(CORVANE_PANELART_PATH, folder, args);
}

void removeAll(const std::string& folder)
{
    for (const char* tail : {"", ".stdout", ".stderr"}) fs::remove_all(folder + tail);
}

// An empty folder of the running test's own.
std::string testFolder(const char* kind = "")
{
    return test_tool::empty_test_folder(std::string(CORVANE_TEST_TMP) + "/panelart" + kind);
}

// The program's pictures, drawn once per process into a folder named for
// the process (ctest runs the cases side by side), removed at its end.
std::string drawnFolder;
const std::string& pictureFolder()
{
    if (drawnFolder.empty()) {
        drawnFolder = std::string(CORVANE_TEST_TMP) + "/panelart/pictures-" + std::to_string(::getpid());
        fs::create_directories(drawnFolder);
        const Result r = run(drawnFolder, {drawnFolder});
        EXPECT_EQ(r.status, 0) << r.err;
    }
    return drawnFolder;
}
struct Cleanup : ::testing::Environment {
    void TearDown() override
    {
        if (!drawnFolder.empty()) removeAll(drawnFolder);
    }
};
const auto* const cleanupRegistered = ::testing::AddGlobalTestEnvironment(new Cleanup);

// The pixels of a picture as cairo holds them, 0xAARRGGBB premultiplied, row
// after row; none for a picture that is not loaded.
struct Image {
    explicit Image(const CBitmap& picture)
    {
        if (cairo_surface_t* s = picture.getCairoSurface()) {
            width = cairo_image_surface_get_width(s);
            height = cairo_image_surface_get_height(s);
            for (int y = 0; y < height; ++y) {
                const auto* row = reinterpret_cast<const uint32_t*>(cairo_image_surface_get_data(s) +
                                                                    y * cairo_image_surface_get_stride(s));
                pixels.insert(pixels.end(), row, row + width);
            }
        }
    }
    explicit Image(const std::string& file) : Image(*owned(new CBitmap(CResourceDescription(file.c_str())))) {}

    // Whether two bands of rows, each `rows` high, differ in any pixel.
    bool bandsDiffer(int a, int b, int rows) const
    {
        auto band = [&](int i) { return pixels.begin() + ptrdiff_t(i) * rows * width; };
        return !std::equal(band(a), band(a + 1), band(b));
    }
    int width = 0, height = 0;
    std::vector<uint32_t> pixels;
};

// One view as the description made it, with the attributes it was made from.
struct Made {
    CView* view;
    UIAttributes attributes;

    std::string operator[](const char* name) const
    {
        const std::string* v = attributes.getAttributeValue(name);
        return v ? *v : "";
    }
    std::string describe() const
    {
        const Made& m = *this;
        return m["class"] + " \"" + m["view-name"] + "\" at " + m["origin"] + " (control-tag " + m["control-tag"] + ")";
    }
};

// The editor's side as the description sees it: it makes the sub-controller
// the template names, which records every view verified through it.
struct Recorder : IController {
    struct Sub : DelegationController, CBaseObject {
        explicit Sub(Recorder* parent) : DelegationController(parent), recorder(parent) {}
        CView* verifyView(CView* view, const UIAttributes& attributes, const IUIDescription* d) override
        {
            recorder->made.push_back(Made{view, attributes});
            return DelegationController::verifyView(view, attributes, d);
        }
        Recorder* recorder;
    };
    void valueChanged(CControl*) override {}
    IController* createSubController(UTF8StringPtr name, const IUIDescription*) override
    {
        subControllersAsked.push_back(name);
        return std::string(name) == "Corvane_SubController" ? new Sub(this) : nullptr;
    }
    std::vector<Made> made;
    std::vector<std::string> subControllersAsked;
};

// Controls a user moves; displays and meters only show their values.
bool isInput(CView* view)
{
    return dynamic_cast<CControl*>(view) && !dynamic_cast<CVuMeter*>(view) &&
           (!dynamic_cast<CParamDisplay*>(view) || dynamic_cast<COptionMenu*>(view));
}

// Classes whose picture is two halves stacked, as high as the view each.
const std::set<std::string> kTwoHalfClasses = {"VSTGUI4_PushButton", "VSTGUI4_FlashingPushButton",
                                               "VSTGUI4_FlashingOnOffButton", "COnOffButton"};

// The description read once for all cases of the process against the
// program's pictures: its loader, the template's view tree and the record of
// every view made.
struct EditorDescription : ::testing::Test {
    static void SetUpTestSuite()
    {
        VSTGUI4_registerControls();
        Corvane_GraphContainerView_register();
        VSTGUI4_registerScrolling();
        Corvane_GraphView_register();
        Corvane_KeyboardView_register();
        Corvane_ScalesListView_register();
        Corvane_MeterView_register();
        setResourceDirectory(pictureFolder().c_str());
        description = owned(new UIDescription(CResourceDescription(CORVANE_EDITOR_DESCRIPTION)));
        if (description->parse()) root = owned(description->createView("Corvane_Editor", &recorder));
    }
    static void TearDownTestSuite()
    {
        recorder.made.clear();
        root = nullptr;
        description = nullptr;
        setResourceDirectory(nullptr);
    }
    void SetUp() override { ASSERT_TRUE(root && description->getLastError().empty()) << description->getLastError(); }

    static const Made* named(const std::string& name)
    {
        for (const Made& m : recorder.made)
            if (m["view-name"] == name) return &m;
        return nullptr;
    }

    static inline SharedPointer<UIDescription> description;
    static inline SharedPointer<CView> root;
    static inline Recorder recorder;
};

// A parameter of the effect's catalogue, with the control the last letter
// of its short title asks for: 'K' knob, 'R' switch, 'B' button, 'P' pop-up
// menu, or none.
struct CatalogueRow { int id; std::string title; char control; int steps; };

std::vector<CatalogueRow> catalogue()
{
    Steinberg::Vst::ParameterContainer parameters, privateParameters;
    corvane::addParameters(parameters, privateParameters);
    // Titles are plain ASCII.
    auto narrow = [](const Steinberg::Vst::TChar* t) { std::string s; while (*t) s += char(*t++); return s; };
    std::vector<CatalogueRow> rows;
    for (auto* container : {&parameters, &privateParameters}) {
        for (int32_t i = 0; i < container->getParameterCount(); ++i) {
            const auto& info = container->getParameterByIndex(i)->getInfo();
            const std::string shortTitle = narrow(info.shortTitle);
            const char last = shortTitle.empty() ? 0 : shortTitle.back();
            const bool onPanel = last == 'K' || last == 'R' || last == 'B' || last == 'P';
            rows.push_back({int(info.id), narrow(info.title), onPanel ? last : '\0', int(info.stepCount)});
        }
    }
    return rows;
}

} // namespace

//--- The program

TEST(PanelArt, DrawsEveryPictureWholeAndTheSameOnEveryRun)
{
    const std::vector<std::string> files = files_in(pictureFolder());
    ASSERT_GE(files.size(), 20u);
    // A second run draws the same bytes: nothing in the pictures depends on
    // the time, the machine or memory left uninitialised.
    const std::string again = testFolder();
    ASSERT_EQ(run(again, {again}).status, 0);
    ASSERT_EQ(files_in(again), files);
    for (const std::string& file : files) {
        SCOPED_TRACE(file);
        EXPECT_EQ(test_tool::slurp(again + "/" + file), test_tool::slurp(pictureFolder() + "/" + file));
        const Image image(pictureFolder() + "/" + file);
        ASSERT_GT(image.width, 0) << "readable as a PNG";
        const auto opaque = std::count_if(image.pixels.begin(), image.pixels.end(), [](uint32_t p) { return p >> 24; });
        EXPECT_GT(opaque, ptrdiff_t(image.pixels.size() / 10)) << "a picture shows something";
        EXPECT_GT(std::set<uint32_t>(image.pixels.begin(), image.pixels.end()).size(), 3u) << "more than a flat fill";
    }
    removeAll(again);
}

TEST(PanelArt, RefusesAUsersMistakesWithOneLineAndLeavesNoPartOfAPictureItCannotWrite)
{
    const std::string scratch = testFolder();
    const std::string aFile = scratch + "/not-a-folder";
    std::ofstream{aFile};
    // A folder where a picture must go: the picture cannot take its place.
    const std::string blocked = testFolder("-blocked");
    fs::create_directory(blocked + "/bg_graph.png");
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, "no output folder"},
        {{"--colour"}, "unknown option --colour"},
        {{scratch, scratch + "/b"}, "more than one output folder"},
        {{aFile}, aFile + " is not a folder"},
        {{scratch + "/missing/parent"}, "cannot make the folder"},
        {{blocked}, "cannot write " + blocked + "/bg_graph.png"},
    };
    for (const auto& [args, message] : cases) {
        const Result r = run(scratch, args);
        EXPECT_EQ(r.status, 1) << message;
        EXPECT_EQ(r.err.rfind("corvane-panelart: " + message, 0), 0u) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    }
    EXPECT_EQ(files_in(scratch), std::vector<std::string>{"not-a-folder"}) << "a refused run writes nothing";
    EXPECT_TRUE(fs::is_directory(blocked + "/bg_graph.png")) << "what stood there stays";
    for (const std::string& file : files_in(blocked)) {
        EXPECT_EQ(fs::path(file).extension(), ".png") << file;
        EXPECT_TRUE(file == "bg_graph.png" || Image(blocked + "/" + file).width > 0) << file << " is whole";
    }

    const Result help = run(scratch, {"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind("usage: corvane-panelart OUTDIR", 0), 0u) << help.out;
    EXPECT_TRUE(help.err.empty());
    EXPECT_EQ(run(scratch, {scratch + "/new"}).status, 0) << "a new folder is made when its parent exists";
    EXPECT_FALSE(files_in(scratch + "/new").empty());
    removeAll(scratch);
    removeAll(blocked);
}

//--- The description against the pictures, the parameters and the registry

TEST_F(EditorDescription, EveryPictureNamedIsDrawnShownAndShapedForItsView)
{
    std::set<std::string> shownFiles;
    int strips = 0, twoHalves = 0;
    for (const Made& m : recorder.made) {
        SCOPED_TRACE(m.describe());
        for (const char* key : {"bitmap", "flashBitmap", "highlighted-bitmap", "bypassed-bitmap", "removed-bitmap",
                                "off-bitmap"}) {
            if (m[key].empty()) continue;
            CBitmap* bitmap = description->getBitmap(m[key].c_str());
            ASSERT_TRUE(bitmap && bitmap->isLoaded()) << key << "=\"" << m[key] << "\" names no drawn picture";
            shownFiles.insert(bitmap->getResourceDescription().u.name);
            // The pictures of a view's states each cover the whole view.
            if (std::string(key).find('-') != std::string::npos) {
                EXPECT_EQ(bitmap->getWidth(), m.view->getWidth()) << key;
                EXPECT_EQ(bitmap->getHeight(), m.view->getHeight()) << key;
            }
        }
        if (m["bitmap"].empty()) continue;
        const int height = int(m.view->getHeight());
        const Image image(*m.view->getBackground());
        EXPECT_EQ(image.width, m.view->getWidth());
        if (auto* strip = dynamic_cast<IMultiBitmapControl*>(m.view)) {
            // Knobs and switches: a picture per step, each as high as the view.
            ++strips;
            EXPECT_EQ(strip->getHeightOfOneImage(), height);
            ASSERT_EQ(image.height, strip->getNumSubPixmaps() * height);
            for (int i = 1; i < strip->getNumSubPixmaps(); ++i)
                EXPECT_TRUE(image.bandsDiffer(i - 1, i, height)) << "steps " << i - 1 << " and " << i;
        } else if (kTwoHalfClasses.count(m["class"])) {
            ++twoHalves;
            ASSERT_EQ(image.height, 2 * height);
            EXPECT_TRUE(image.bandsDiffer(0, 1, height)) << "rest and pressed differ";
            if (CBitmap* flashBitmap = description->getBitmap(m["flashBitmap"].c_str())) {
                const Image flash(*flashBitmap);
                EXPECT_TRUE(flash.width == image.width && flash.height == image.height) << "the flash's shape";
                EXPECT_NE(flash.pixels, image.pixels) << "the flash shows";
            }
        } else {
            EXPECT_EQ(image.height, height);
        }
    }
    EXPECT_GT(strips, 20);
    EXPECT_GT(twoHalves, 30);
    // The custom cursors are handed to the window, not shown by views: each
    // is a picture of the cursors' size.
    for (const Corvane_CursorHotSpot& h : corvaneCursorHotSpots) {
        char name[32];
        std::snprintf(name, sizeof name, "bmp%05u.png", unsigned(h.id));
        shownFiles.insert(name);
        auto cursor = owned(new CBitmap(CResourceDescription((pictureFolder() + "/" + name).c_str())));
        ASSERT_TRUE(cursor->isLoaded()) << name;
        const Image image(*cursor);
        EXPECT_EQ(image.width, corvaneCursorSize) << name;
        EXPECT_EQ(image.height, corvaneCursorSize) << name;
    }
    EXPECT_EQ(std::vector<std::string>(shownFiles.begin(), shownFiles.end()), files_in(pictureFolder()))
        << "every picture is shown";
}

TEST_F(EditorDescription, EveryPanelParameterHasOneControlOfItsKindAndEveryRegistryNameOneViewOfItsClass)
{
    std::map<int, std::vector<const Made*>> inputsByTag;
    std::map<std::string, int> names;
    for (const Made& m : recorder.made) {
        const std::string name = m["view-name"];
        EXPECT_TRUE(name.empty() || ++names[name] == 1) << name << " names more than one view";
        EXPECT_LT(name.size(), 32u) << name << ": the registry keeps 31 characters of a name";
        if (!isInput(m.view)) continue;
        const int32_t tag = static_cast<CControl*>(m.view)->getTag();
        EXPECT_GE(tag, 0) << m.describe() << ": a control without a parameter";
        // The sub-controller observes named controls only, and only what it
        // observes reaches the effect.
        EXPECT_FALSE(name.empty()) << m.describe() << ": a control without a view-name";
        inputsByTag[tag].push_back(&m);
    }
    std::set<int> onPanel;
    for (const CatalogueRow& row : catalogue()) {
        SCOPED_TRACE(std::to_string(row.id) + " \"" + row.title + "\"");
        const std::vector<const Made*> controls = inputsByTag[row.id];
        inputsByTag.erase(row.id);
        if (!row.control) {
            EXPECT_TRUE(controls.empty()) << "a control for a parameter the panel does not show";
            continue;
        }
        onPanel.insert(row.id);
        ASSERT_EQ(controls.size(), 1u);
        const Made& m = *controls.front();
        const bool ofItsKind = row.control == 'K'   ? dynamic_cast<CKnob*>(m.view) != nullptr
                               : row.control == 'P' ? dynamic_cast<COptionMenu*>(m.view) != nullptr
                               : row.control == 'B' ? kTwoHalfClasses.count(m["class"]) > 0
                                                    : dynamic_cast<CHorizontalSwitch*>(m.view) != nullptr;
        EXPECT_TRUE(ofItsKind) << row.control << ": " << m.describe();
        if (auto* sw = dynamic_cast<CHorizontalSwitch*>(m.view)) {
            EXPECT_EQ(sw->getNumSubPixmaps(), row.steps + 1) << "a picture for each position";
        }
    }
    EXPECT_GT(onPanel.size(), 70u);
    for (const auto& entry : inputsByTag) ADD_FAILURE() << "tag " << entry.first << " is no parameter";
    // Displays show parameters of the panel only.
    for (const Made& m : recorder.made) {
        auto* display = dynamic_cast<CParamDisplay*>(m.view);
        if (display && !isInput(m.view) && display->getTag() >= 0) {
            EXPECT_TRUE(onPanel.count(display->getTag())) << m.describe();
        }
    }

    // Every name of the registry the effect fills names a view; the classes
    // each row needs are checked with the panel layer's own descriptions.
    for (int row = 0; row < Corvane_SubController::registryRowCount(); ++row)
        EXPECT_NE(named(Corvane_SubController::registryRowName(row)), nullptr) << Corvane_SubController::registryRowName(row);
    for (const char* axis : {"Vertical", "Horizontal"}) {
        const Made* thumb = named(std::string(axis) + "Thumb");
        auto* bar = dynamic_cast<CViewContainer*>(named(std::string(axis) + "Scrollbar")->view);
        EXPECT_TRUE(thumb && bar && bar->isChild(thumb->view)) << axis << ": the thumb lies in its scrollbar";
    }
}

//--- The description's tree and geometry

TEST_F(EditorDescription, EveryViewIsMadeInsideItsParentNoControlCoversAnotherAndLabelsHoldTheirTitle)
{
    EXPECT_EQ(recorder.subControllersAsked, std::vector<std::string>{"Corvane_SubController"});
    EXPECT_EQ(root->getViewSize(), CRect(0, 0, kPanelWidth, kPanelHeight));
    CPoint minSize, maxSize; // the window's limits: never smaller than the panel
    const UIAttributes* window = description->getViewAttributes("Corvane_Editor");
    ASSERT_TRUE(window && window->getPointAttribute("minSize", minSize) &&
                window->getPointAttribute("maxSize", maxSize));
    EXPECT_TRUE(minSize == CPoint(kPanelWidth, kPanelHeight) && maxSize == CPoint(4000, 4000));

    // Where each view of the tree lies on the panel, and the page it is on.
    const Made* common = named("CommonArea");
    const Made* autoPage = named("AutoModePage");
    const Made* graphPage = named("GraphModePage");
    ASSERT_TRUE(common && autoPage && graphPage);
    struct Place { CRect onPanel; CView* page; };
    std::map<CView*, Place> places;
    std::function<void(CView*, CPoint, CView*)> place = [&](CView* view, CPoint origin, CView* page) {
        CRect r = view->getViewSize();
        places[view] = {r.offset(origin), page};
        if (view == autoPage->view || view == graphPage->view) page = view;
        if (auto* c = dynamic_cast<CViewContainer*>(view)) {
            for (uint32_t i = 0; i < c->getNbViews(); ++i) place(c->getView(i), r.getTopLeft(), page);
        }
    };
    place(root, CPoint(0, 0), nullptr);
    EXPECT_EQ(recorder.made.size(), places.size()) << "every view of the tree was made under the sub-controller";

    std::vector<const Made*> controls;
    int labels = 0;
    CairoSupport::MeasuringContext measure;
    for (const Made& m : recorder.made) {
        SCOPED_TRACE(m.describe());
        ASSERT_TRUE(places.count(m.view)) << "placed in the tree";
        EXPECT_FALSE(m.view->getViewSize().isEmpty()) << "a view of no size";
        // Inside its parent, and so inside the panel.
        if (auto* c = dynamic_cast<CViewContainer*>(m.view)) {
            for (uint32_t i = 0; i < c->getNbViews(); ++i) {
                CRect inner = c->getView(i)->getViewSize();
                EXPECT_TRUE(CRect(inner).bound(CRect(0, 0, c->getWidth(), c->getHeight())) == inner)
                    << "a view outside it at " << inner.left << ", " << inner.top;
            }
        }
        if (dynamic_cast<CControl*>(m.view)) controls.push_back(&m);
        // A label's text fits it whole.
        auto* label = dynamic_cast<CTextLabel*>(m.view);
        if (!label || !*label->getText()) continue;
        ++labels;
        CairoSupport::selectFont(measure.get(), *label->getFont());
        cairo_text_extents_t text;
        cairo_text_extents(measure.get(), label->getText(), &text);
        cairo_font_extents_t font;
        cairo_font_extents(measure.get(), &font);
        EXPECT_LE(text.x_advance, label->getWidth() - 2 * label->getTextInset().x);
        EXPECT_LE(font.ascent, label->getHeight());
    }
    EXPECT_GT(labels, 40);
    // The two pages share one place, below the common area.
    EXPECT_EQ(places[autoPage->view].onPanel, places[graphPage->view].onPanel);
    EXPECT_FALSE(places[common->view].onPanel.rectOverlap(places[autoPage->view].onPanel));
    // No control covers another that shows at the same time: the common
    // area's with either page's, a page's with its own.
    for (size_t i = 0; i < controls.size(); ++i) {
        for (size_t j = i + 1; j < controls.size(); ++j) {
            const Place& a = places[controls[i]->view];
            const Place& b = places[controls[j]->view];
            if ((!a.page || !b.page || a.page == b.page) && a.onPanel.rectOverlap(b.onPanel)) {
                ADD_FAILURE() << controls[i]->describe() << " overlaps " << controls[j]->describe();
            }
        }
    }
}
