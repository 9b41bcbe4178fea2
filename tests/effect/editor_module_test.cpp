// The editor of the built module, drawn offscreen through the editor's
// snapshot interface as our tools reach it: the panel at its size and the
// page that the correction mode shows. The expected pixels come from the
// bundle's own pictures, placed where the UI description puts them; nothing
// is compared with a stored snapshot.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/editor_host.h"
#include "support/picture.h"
#include "support/ui_layout.h"

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
    static const UiLayout loaded = [] {
        UiLayout read;
        read.load(test_host::resourcePath(kDescription), kTemplate);
        return read;
    }();
    return loaded;
}

// How many of a view's own background points (inside it, outside every
// view it holds) show its background picture, drawn at its top left corner,
// and how many there are.
struct Match {
    long matching = 0;
    long total = 0;
};

Match backgroundMatch(const Picture& panel, const UiView& view)
{
    Match m;
    const Picture background = test_panel::readPNG(test_host::resourcePath(view.bitmap));
    const auto inside = layout().descendantsOf(view);
    for (int y = view.rect.y; y < std::min(view.rect.bottom(), view.rect.y + background.height); ++y) {
        for (int x = view.rect.x; x < std::min(view.rect.right(), view.rect.x + background.width); ++x) {
            const int bx = x - view.rect.x, by = y - view.rect.y;
            const bool covered =
                std::any_of(inside.begin(), inside.end(), [&](const UiView* v) { return v->rect.contains(x, y); });
            if (covered || background.alpha(bx, by) != 255) continue;
            ++m.total;
            if (panel.at(x, y) == background.at(bx, by)) ++m.matching;
        }
    }
    return m;
}

// Of two pages lying on the same place, the one shown: its background shows
// at all its own points, and the other's does not (their pictures differ).
void expectPageShown(const Picture& panel, const char* shown, const char* hidden)
{
    const UiView* page = layout().find(shown);
    const UiView* other = layout().find(hidden);
    ASSERT_TRUE(page && other && !page->bitmap.empty());
    ASSERT_TRUE(page->rect.x == other->rect.x && page->rect.y == other->rect.y) << "one place for both pages";
    const Match m = backgroundMatch(panel, *page), o = backgroundMatch(panel, *other);
    ASSERT_GT(m.total, 1000) << shown;
    EXPECT_EQ(m.matching, m.total) << shown << ": its background shows between its views";
    EXPECT_LT(o.matching, o.total - 100) << hidden << " is hidden";
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
    Picture draw(PluginInstance& from, const std::string& name)
    {
        const std::string path = folder + "/" + name + ".png";
        std::remove(path.c_str());
        EXPECT_EQ(from.snapshot(path), kResultOk) << name;
        return test_panel::readPNG(path);
    }

    PluginInstance plugin;
    std::string folder;
};

} // namespace

TEST_F(EditorModule, TheDefaultPanelShowsTheCommonAreaAndTheAutoPage)
{
    EXPECT_EQ(plugin.createView("other"), nullptr) << "only the view named \"editor\" is made";
    const Picture panel = draw(plugin, "default");
    ASSERT_FALSE(panel.empty());
    EXPECT_EQ(panel.width, layout().templateRect().width);
    EXPECT_EQ(panel.height, layout().templateRect().height);

    const UiView* common = layout().find("CommonArea");
    ASSERT_TRUE(common && !common->bitmap.empty());
    const Match m = backgroundMatch(panel, *common);
    ASSERT_GT(m.total, 1000);
    EXPECT_EQ(m.matching, m.total) << "the common area's background shows between its views";
    expectPageShown(panel, "AutoModePage", "GraphModePage");
}

TEST_F(EditorModule, GraphModeFromTheHostOrFromASessionShowsTheGraphPageWhenTheEditorOpens)
{
    const Picture autoPanel = draw(plugin, "default");
    // The host's generic controls set the mode while the editor is closed;
    // a session saved so is opened again, as a host reloads a project. Both
    // editors open with the mode's switch and the mode's page.
    ASSERT_TRUE(plugin.setText("Correction Mode", "Graph"));
    const Picture byHost = draw(plugin, "graph-by-host");
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
    EXPECT_EQ(test_panel::differingPixels(byHost, graphPanel, graphPanel.whole()), 0);

    expectPageShown(graphPanel, "GraphModePage", "AutoModePage");
    const UiView* autoPage = layout().find("AutoModePage");
    const UiView* common = layout().find("CommonArea");

    // Above the pages only the controls of the mode changed.
    std::vector<Rect> modeRects;
    for (const UiView& v : layout().views()) {
        if (v.tag == int(plugin.idOf("Correction Mode"))) modeRects.push_back(v.rect);
    }
    ASSERT_FALSE(modeRects.empty()) << "the panel has a control for the correction mode";
    std::vector<Rect> allowed = modeRects;
    allowed.push_back(autoPage->rect);
    EXPECT_EQ(test_panel::differingPixelsOutside(autoPanel, graphPanel, allowed), 0);
    for (const Rect& r : modeRects) {
        if (r.bottom() <= common->rect.bottom()) {
            EXPECT_GT(test_panel::differingPixels(autoPanel, graphPanel, r), 0);
        }
    }
}

// Sizes held within the editor's limits: EditorModuleX11.TheHostResizesTheEditorWithinItsLimits
// (the snapshot takes the same size constraint) and SnapshotTool.DrawsAtTheSizeAsked.
// A knob's picture following its value: EditorModuleX11.AValueSetByTheHostMovesItsKnobOnScreen.
// A snapshot that cannot be written: SnapshotTool.MistakesAreOneLineOnStderrAndLeaveNoFile.
// The real panel's pages switched by its mode switch: Panel.OnlyNamedControlsReachTheEffectsDispatch,
// with EditorDescription's check that every control of the panel is named.

TEST_F(EditorModule, PicturesShowEachDialogOverThePanelAndRefuseAnUnknownOne)
{
    const Picture panel = draw(plugin, "default");
    std::vector<Picture> dialogs;
    for (const char* name : {"options", "paste-hint", "ibeam-hint", "clear-all", "data-folder"}) {
        const std::string path = folder + "/dialog-" + name + ".png";
        ASSERT_EQ(plugin.snapshot(path, 0, 0, name), kResultOk) << name;
        dialogs.push_back(test_panel::readPNG(path));
        const Picture& shown = dialogs.back();
        ASSERT_EQ(shown.width, panel.width) << name;
        // The whole panel is dimmed under a sheet: its corners darken.
        for (const auto& [x, y] : {std::pair{1, panel.height - 2}, std::pair{panel.width - 2, panel.height - 2}}) {
            const uint32_t before = panel.at(x, y), after = shown.at(x, y);
            EXPECT_LT(after & 0xff, (before & 0xff) + 1u) << name;
            EXPECT_NE(after, before) << name << " dims the panel at " << x << "," << y;
        }
    }
    for (size_t a = 0; a < dialogs.size(); ++a)
        for (size_t b = a + 1; b < dialogs.size(); ++b)
            EXPECT_GT(test_panel::differingPixels(dialogs[a], dialogs[b], dialogs[a].whole()), 1000) << a << b;

    const std::string refused = folder + "/dialog-none.png";
    EXPECT_EQ(plugin.snapshot(refused, 0, 0, "no-such-dialog"), kInvalidArgument);
    EXPECT_TRUE(test_panel::readPNG(refused).empty()) << "no picture is left for a refused dialog";
}
