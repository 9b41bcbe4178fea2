// The editor of the built module, drawn offscreen through the editor's
// snapshot interface as our tools reach it: the panel at its size, the page
// that the correction mode shows, a knob's picture following its value and
// the limits of the size. Where the panel must be right, the expected
// pixels come from the bundle's own pictures, placed where the UI
// description puts them; nothing is compared with a stored snapshot.
//
// The last group opens the same description through the effect library
// itself, to watch the view registry while a control switches the pages.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "effect/Corvane_SingleComponentEffect.h"
#include "graph/views/Corvane_GraphContainerView.h"
#include "support/editor_host.h"
#include "support/picture.h"
#include "support/recording_handler.h"
#include "support/ui_layout.h"
#include "vstgui/lib/cframe.h"
#include "vstgui/lib/controls/ccontrol.h"
#include "vstgui/lib/cresourcedescription.h"
#include "vstgui/lib/cviewcontainer.h"

using namespace Steinberg;
using test_host::PluginInstance;
using test_panel::Picture;
using test_panel::Rect;
using test_panel::UiLayout;
using test_panel::UiView;

namespace {

constexpr char kTemplate[] = "Corvane_Editor";
constexpr char kDescription[] = "Corvane_Editor.uidesc";

const UiLayout& layout()
{
    static UiLayout loaded;
    static bool done = false;
    if (!done) {
        done = true;
        loaded.load(test_host::resourcePath(kDescription), kTemplate);
    }
    return loaded;
}

// Points of a view's own background: inside it, outside every view it holds.
std::vector<std::pair<int, int>> uncoveredPoints(const UiView& view)
{
    const auto inside = layout().descendantsOf(view);
    std::vector<std::pair<int, int>> points;
    for (int y = view.rect.y; y < view.rect.bottom(); ++y) {
        for (int x = view.rect.x; x < view.rect.right(); ++x) {
            bool covered = false;
            for (const UiView* v : inside) {
                if (v->rect.contains(x, y)) {
                    covered = true;
                    break;
                }
            }
            if (!covered) points.emplace_back(x, y);
        }
    }
    return points;
}

// How many of a view's uncovered points show its background picture, drawn
// at its top left corner, and how many there are.
struct Match {
    long matching = 0;
    long total = 0;
};

Match backgroundMatch(const Picture& panel, const UiView& view)
{
    Match m;
    const Picture background = test_panel::readPNG(test_host::resourcePath(view.bitmap));
    if (background.empty()) return m;
    for (const auto& p : uncoveredPoints(view)) {
        const int bx = p.first - view.rect.x, by = p.second - view.rect.y;
        if (bx >= background.width || by >= background.height || background.alpha(bx, by) != 255) continue;
        ++m.total;
        if (panel.at(p.first, p.second) == background.at(bx, by)) ++m.matching;
    }
    return m;
}

// What a page shows at a point where a background picture is on top: the
// top-most of the page and its views there (the last in the description's
// order) is a container with a picture, opaque at that point. False where
// a control or a view without a picture is on top.
class PageLook {
public:
    explicit PageLook(const UiView& page) : page(page), inside(layout().descendantsOf(page)) {}

    bool at(int x, int y, uint32_t& colour)
    {
        const UiView* top = page.rect.contains(x, y) ? &page : nullptr;
        for (const UiView* v : inside) {
            if (v->rect.contains(x, y)) top = v;
        }
        if (top == nullptr || top->bitmap.empty() || top->className.find("Container") == std::string::npos)
            return false;
        const Picture& picture = pictureOf(top->bitmap);
        const int bx = x - top->rect.x, by = y - top->rect.y;
        if (bx >= picture.width || by >= picture.height || picture.alpha(bx, by) != 255) return false;
        colour = picture.at(bx, by);
        return true;
    }

private:
    const Picture& pictureOf(const std::string& file)
    {
        auto it = pictures.find(file);
        if (it == pictures.end()) it = pictures.emplace(file, test_panel::readPNG(test_host::resourcePath(file))).first;
        return it->second;
    }

    const UiView& page;
    std::vector<const UiView*> inside;
    std::map<std::string, Picture> pictures;
};

// Which of two pages lying on the same place shows: at the points where
// both would show a background picture and the two differ, how many show
// the first page and how many the second.
struct PageEvidence {
    long likeFirst = 0;
    long likeSecond = 0;
    long total = 0;
};

PageEvidence pageEvidence(const Picture& panel, const UiView& first, const UiView& second)
{
    PageEvidence e;
    PageLook a(first), b(second);
    for (int y = first.rect.y; y < first.rect.bottom(); ++y) {
        for (int x = first.rect.x; x < first.rect.right(); ++x) {
            uint32_t ca = 0, cb = 0;
            if (!a.at(x, y, ca) || !b.at(x, y, cb) || ca == cb) continue;
            ++e.total;
            const uint32_t shown = panel.at(x, y);
            if (shown == ca) ++e.likeFirst;
            if (shown == cb) ++e.likeSecond;
        }
    }
    return e;
}

// The views bound to a parameter.
std::vector<const UiView*> controlsOf(Vst::ParamID id)
{
    std::vector<const UiView*> found;
    for (const auto& v : layout().views()) {
        if (v.tag == int(id)) found.push_back(&v);
    }
    return found;
}

class EditorModule : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(layout().error().empty()) << layout().error();
        ASSERT_TRUE(plugin.ok()) << plugin.error;
        folder = test_host::scratchFolder("editor_module");
    }

    // The panel of an instance as its editor draws it.
    Picture draw(PluginInstance& from, const std::string& name, int32 width = 0, int32 height = 0)
    {
        const std::string path = folder + "/" + name + ".png";
        std::remove(path.c_str());
        const tresult result = from.snapshot(path, width, height);
        EXPECT_EQ(result, kResultOk) << name;
        return test_panel::readPNG(path);
    }

    PluginInstance plugin;
    std::string folder;
};

} // namespace

TEST_F(EditorModule, OnlyTheViewNamedEditorIsMade)
{
    auto editor = plugin.createView("editor");
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->isPlatformTypeSupported(kPlatformTypeX11EmbedWindowID), kResultTrue);
    EXPECT_EQ(editor->isPlatformTypeSupported(kPlatformTypeHWND), kResultFalse);
    EXPECT_EQ(editor->canResize(), kResultTrue);
    ViewRect size;
    ASSERT_EQ(editor->getSize(&size), kResultOk);
    EXPECT_EQ(size.getWidth(), layout().templateRect().width);
    EXPECT_EQ(size.getHeight(), layout().templateRect().height);

    EXPECT_EQ(plugin.createView("other"), nullptr);
    EXPECT_EQ(plugin.createView(""), nullptr);
    EXPECT_EQ(plugin.instance->controller()->createView(nullptr), nullptr);
}

TEST_F(EditorModule, TheDefaultPanelShowsTheCommonAreaAndTheAutoPage)
{
    const Picture panel = draw(plugin, "default");
    ASSERT_FALSE(panel.empty());
    EXPECT_EQ(panel.width, layout().templateRect().width);
    EXPECT_EQ(panel.height, layout().templateRect().height);

    for (const char* name : {"CommonArea", "AutoModePage"}) {
        const UiView* view = layout().find(name);
        ASSERT_NE(view, nullptr) << name;
        ASSERT_FALSE(view->bitmap.empty()) << name << " has a background picture";
        const Match m = backgroundMatch(panel, *view);
        ASSERT_GT(m.total, 1000) << name;
        EXPECT_EQ(m.matching, m.total) << name << ": its background shows between its views";
    }
    // The Graph page lies on the same place and is hidden.
    const UiView* autoPage = layout().find("AutoModePage");
    const UiView* graphPage = layout().find("GraphModePage");
    ASSERT_NE(graphPage, nullptr);
    ASSERT_EQ(graphPage->rect.x, autoPage->rect.x);
    ASSERT_EQ(graphPage->rect.y, autoPage->rect.y);
    const PageEvidence e = pageEvidence(panel, *autoPage, *graphPage);
    ASSERT_GT(e.total, 100) << "the pages' backgrounds tell them apart";
    EXPECT_EQ(e.likeFirst, e.total);
    EXPECT_EQ(e.likeSecond, 0);
}

TEST_F(EditorModule, ARestoredGraphSessionShowsTheGraphPageInPlaceOfTheAutoPage)
{
    const Picture autoPanel = draw(plugin, "default");
    // A session saved in Graph mode and opened again, as a host reloads a
    // project.
    ASSERT_TRUE(plugin.setText("Correction Mode", "Graph"));
    std::vector<char> state;
    ASSERT_TRUE(plugin.instance->get_state(state));
    std::string error;
    auto restored = hostlib::Instance::create(*plugin.module, "", error);
    ASSERT_NE(restored, nullptr) << error;
    ASSERT_TRUE(restored->set_state(state));

    const std::string graphPath = folder + "/graph.png";
    {
        test_host::Held<IPlugView> view(restored->controller()->createView("editor"));
        ASSERT_NE(view, nullptr);
        ASSERT_EQ(PluginInstance::snapshotOf(view.get(), graphPath.c_str(), 0, 0), kResultOk);
    }
    restored.reset();
    const Picture graphPanel = test_panel::readPNG(graphPath);
    ASSERT_EQ(graphPanel.width, autoPanel.width);
    ASSERT_EQ(graphPanel.height, autoPanel.height);

    const UiView* graphPage = layout().find("GraphModePage");
    const UiView* autoPage = layout().find("AutoModePage");
    const UiView* common = layout().find("CommonArea");
    ASSERT_TRUE(graphPage && autoPage && common);
    const Match shown = backgroundMatch(graphPanel, *graphPage);
    ASSERT_GT(shown.total, 1000);
    EXPECT_EQ(shown.matching, shown.total) << "the Graph page's background shows between its views";
    const PageEvidence e = pageEvidence(graphPanel, *graphPage, *autoPage);
    ASSERT_GT(e.total, 100);
    EXPECT_EQ(e.likeFirst, e.total) << "the Auto page is hidden";

    // Above the pages only the controls of the mode changed.
    const auto modeControls = controlsOf(plugin.idOf("Correction Mode"));
    ASSERT_FALSE(modeControls.empty()) << "the panel has a control for the correction mode";
    std::vector<Rect> modeRects;
    for (const UiView* v : modeControls) modeRects.push_back(v->rect);
    std::vector<Rect> allowed = modeRects;
    allowed.push_back(autoPage->rect);
    EXPECT_EQ(test_panel::differingPixelsOutside(autoPanel, graphPanel, allowed), 0);
    for (const Rect& r : modeRects) {
        if (r.bottom() <= common->rect.bottom()) {
            EXPECT_GT(test_panel::differingPixels(autoPanel, graphPanel, r), 0);
        }
    }
}

TEST_F(EditorModule, CorrectionModeSetByTheHostShowsItsPageWhenTheEditorOpens)
{
    // The host's generic controls set the mode while the editor is closed;
    // the editor then opens with the mode's switch and the mode's page.
    ASSERT_TRUE(plugin.setText("Correction Mode", "Graph"));
    const Picture panel = draw(plugin, "graph-by-host");
    const UiView* graphPage = layout().find("GraphModePage");
    const UiView* autoPage = layout().find("AutoModePage");
    ASSERT_TRUE(graphPage && autoPage);
    const PageEvidence e = pageEvidence(panel, *graphPage, *autoPage);
    ASSERT_GT(e.total, 100);
    EXPECT_EQ(e.likeFirst, e.total) << "the Graph page is shown with the switch at Graph";
}

TEST_F(EditorModule, AKnobShowsThePictureOfItsValueAndNothingElseChanges)
{
    const auto knobs = controlsOf(plugin.idOf("Retune Speed"));
    ASSERT_EQ(knobs.size(), 1u);
    const UiView& knob = *knobs[0];
    const Picture strip = test_panel::readPNG(test_host::resourcePath(knob.bitmap));
    ASSERT_FALSE(strip.empty());
    ASSERT_EQ(strip.width, knob.rect.width);
    ASSERT_EQ(strip.height % knob.rect.height, 0) << "a strip of pictures of the knob's height";
    const int frames = strip.height / knob.rect.height;
    ASSERT_GT(frames, 2);

    hostlib::Parameter_Info info;
    ASSERT_TRUE(plugin.instance->find_parameter("Retune Speed", info));
    struct Row {
        double normalized;
        int frame;
    };
    // The ends of the range show the first and the last picture.
    const Row rows[] = {{0.0, 0}, {1.0, frames - 1}};
    std::vector<Picture> panels;
    for (const Row& row : rows) {
        ASSERT_TRUE(plugin.instance->set_normalized(info.id, row.normalized));
        panels.push_back(draw(plugin, "knob-" + std::to_string(row.frame)));
        const Picture& panel = panels.back();
        ASSERT_FALSE(panel.empty());
        long opaque = 0, same = 0;
        for (int y = 0; y < knob.rect.height; ++y) {
            for (int x = 0; x < knob.rect.width; ++x) {
                const int sy = row.frame * knob.rect.height + y;
                if (strip.alpha(x, sy) != 255) continue;
                ++opaque;
                if (panel.at(knob.rect.x + x, knob.rect.y + y) == strip.at(x, sy)) ++same;
            }
        }
        ASSERT_GT(opaque, knob.rect.width * knob.rect.height / 4) << row.frame;
        EXPECT_EQ(same, opaque) << "picture " << row.frame << " of the strip";
    }
    EXPECT_GT(test_panel::differingPixels(panels[0], panels[1], knob.rect), 0);
    EXPECT_EQ(test_panel::differingPixelsOutside(panels[0], panels[1], {knob.rect}), 0);
}

TEST_F(EditorModule, SnapshotSizesAreHeldWithinTheEditorsLimits)
{
    const Rect& low = layout().minimumSize();
    const Rect& high = layout().maximumSize();
    ASSERT_GT(low.width, 0);
    ASSERT_GE(high.width, low.width);
    struct Row {
        int32 width, height;
        int expectedWidth, expectedHeight;
    };
    const Row rows[] = {
        {low.width + 350, low.height + 270, low.width + 350, low.height + 270},
        {low.width, low.height, low.width, low.height},
        {100, 100, low.width, low.height},
        {high.width + 1, low.height + 10, high.width, low.height + 10},
        {low.width + 1, high.height + 500, low.width + 1, high.height},
    };
    for (const Row& row : rows) {
        const std::string name = std::to_string(row.width) + "x" + std::to_string(row.height);
        const Picture panel = draw(plugin, name, row.width, row.height);
        EXPECT_EQ(panel.width, row.expectedWidth) << name;
        EXPECT_EQ(panel.height, row.expectedHeight) << name;
    }
}

TEST_F(EditorModule, ASnapshotThatCannotBeWrittenFailsAndLeavesNothing)
{
    const std::string missing = folder + "/no-such-folder/panel.png";
    EXPECT_EQ(plugin.snapshot(missing), kResultFalse);
    EXPECT_NE(::access(missing.c_str(), F_OK), 0);
    EXPECT_EQ(plugin.snapshot(""), kResultFalse) << "no path";

    // The same editor draws again after a failure.
    auto view = plugin.createView();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(PluginInstance::snapshotOf(view.get(), missing.c_str(), 0, 0), kResultFalse);
    const std::string good = folder + "/after-failure.png";
    EXPECT_EQ(PluginInstance::snapshotOf(view.get(), good.c_str(), 0, 0), kResultOk);
    EXPECT_EQ(test_panel::readPNG(good).width, layout().templateRect().width);
}

//--- The same panel through the effect library.

namespace {

VSTGUI::CControl* findControl(VSTGUI::CView* view, int32_t tag)
{
    if (auto* control = dynamic_cast<VSTGUI::CControl*>(view)) {
        if (control->getTag() == tag) return control;
    }
    if (auto* container = dynamic_cast<VSTGUI::CViewContainer*>(view)) {
        for (uint32_t i = 0; i < container->getNbViews(); ++i) {
            if (VSTGUI::CControl* found = findControl(container->getView(i), tag)) return found;
        }
    }
    return nullptr;
}

bool shown(const VSTGUI::CView* view)
{
    return view->isVisible() && view->getMouseEnabled();
}

} // namespace

TEST(EditorLibrary, TheRealPanelsPagesSwitchWithTheCorrectionModeControl)
{
    VSTGUI::setResourceDirectory((test_host::bundlePath() + "/Contents/Resources").c_str());
    auto* effect = new Corvane_SingleComponentEffect();
    test_host::RecordingHandler handler;
    ASSERT_EQ(effect->initialize(nullptr), kResultOk);
    effect->setComponentHandler(&handler);

    for (int opening = 0; opening < 2; ++opening) {
        auto* editor = dynamic_cast<VSTGUI::VST3Editor*>(effect->createView("editor"));
        ASSERT_NE(editor, nullptr);
        ASSERT_TRUE(editor->open(nullptr)) << editor->getLastError();
        const Corvane_ViewRegistry& registry = effect->getEditorPresenter().getViewRegistry();
        ASSERT_NE(registry.autoModePage, nullptr);
        ASSERT_NE(registry.graphModePage, nullptr);
        // The first opening shows the default Auto mode; the second the
        // Graph mode the control left.
        const bool graph = opening == 1;
        EXPECT_EQ(shown(registry.graphModePage), graph) << opening;
        EXPECT_EQ(shown(registry.autoModePage), !graph) << opening;

        if (opening == 0) {
            VSTGUI::CControl* mode = findControl(editor->getFrame()->getView(0), 0);
            ASSERT_NE(mode, nullptr);
            // A user's gesture: press, move to Graph, release.
            handler.clear();
            mode->beginEdit();
            mode->setValueNormalized(1.f);
            mode->valueChanged();
            mode->endEdit();
            EXPECT_EQ(handler.calls, (std::vector<std::string>{"begin 0", "perform 0 1.0000", "end 0"}));
            EXPECT_TRUE(effect->isGraphMode());
            EXPECT_TRUE(shown(registry.graphModePage));
            EXPECT_FALSE(shown(registry.autoModePage));
        }
        editor->close();
        editor->release();
        EXPECT_EQ(effect->getEditorPresenter().getViewRegistry().autoModePage, nullptr);
        EXPECT_EQ(effect->getEditorPresenter().getViewRegistry().graphModePage, nullptr);
    }
    effect->setComponentHandler(nullptr);
    effect->terminate();
    effect->release();
    VSTGUI::setResourceDirectory(nullptr);
}
