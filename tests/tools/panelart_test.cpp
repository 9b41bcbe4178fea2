// corvane-panelart run as the build runs it, and the panel's UI description
// read by the library's own loader against the pictures the program draws
// and the effect's own parameter catalogue.

#include "Common_VST3/VSTGUI4_Controls.h"
#include "graph/Corvane_GraphContainerView.h"
#include <cairo.h>
#include <dirent.h>
#include <fontconfig/fontconfig.h>
#include <expat.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "effect/Corvane_Parameters.h"
#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/controls/cbuttons.h"
#include "vstgui/lib/controls/cknob.h"
#include "vstgui/lib/controls/coptionmenu.h"
#include "vstgui/lib/controls/cparamdisplay.h"
#include "vstgui/lib/controls/cswitch.h"
#include "vstgui/lib/cviewcontainer.h"
#include "vstgui/lib/platform/cairo_support.h"
#include "vstgui/uidescription/delegationcontroller.h"
#include "vstgui/uidescription/uiattributes.h"
#include "vstgui/uidescription/uidescription.h"
#include "vstgui/uidescription/uiviewfactory.h"

using namespace VSTGUI;

namespace {

const std::string kTool = CORVANE_PANELART_PATH;
const std::string kDescription = CORVANE_EDITOR_DESCRIPTION;
const std::string kTmp = CORVANE_TEST_TMP;

constexpr const char* kTemplate = "Corvane_Editor";
constexpr const char* kSubController = "Corvane_SubController";
constexpr int kPanelWidth = 850;
constexpr int kPanelHeight = 630;

//--- Files and the program

struct Result {
    int status;
    std::string out;
    std::string err;
};

std::string slurp(const std::string& path)
{
    std::string text;
    if (FILE* f = std::fopen(path.c_str(), "rb")) {
        char buffer[4096];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) text.append(buffer, n);
        std::fclose(f);
    }
    return text;
}

// Empties a folder, and the folders in it.
void empty(const std::string& path)
{
    if (DIR* folder = ::opendir(path.c_str())) {
        while (const dirent* entry = ::readdir(folder)) {
            const std::string name = entry->d_name;
            if (name == "." || name == "..") continue;
            const std::string inner = path + "/" + name;
            struct stat info;
            if (::lstat(inner.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
                ::chmod(inner.c_str(), 0755);
                empty(inner);
                ::rmdir(inner.c_str());
            } else {
                std::remove(inner.c_str());
            }
        }
        ::closedir(folder);
    }
}

// An empty folder under the build's scratch folder: a fresh one for each
// name, since ctest runs the cases of this program side by side.
std::string freshFolder(const std::string& name)
{
    std::string path = kTmp + "/panelart";
    ::mkdir(path.c_str(), 0777);
    path += "/" + name;
    ::mkdir(path.c_str(), 0777);
    empty(path);
    return path;
}

std::vector<std::string> filesIn(const std::string& folder)
{
    std::vector<std::string> names;
    if (DIR* d = ::opendir(folder.c_str())) {
        while (const dirent* entry = ::readdir(d)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") names.push_back(name);
        }
        ::closedir(d);
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Runs the program with the arguments; its output streams are caught in
// files beside the scratch folder given.
Result run(const std::string& scratch, const std::vector<std::string>& args)
{
    const std::string out = scratch + ".stdout", err = scratch + ".stderr";
    const pid_t child = ::fork();
    if (child == 0) {
        const int o = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int e = ::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ::dup2(o, 1);
        ::dup2(e, 2);
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(kTool.c_str()));
        for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        ::execv(kTool.c_str(), argv.data());
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(out), slurp(err)};
}

bool endsWith(const std::string& s, const std::string& tail)
{
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

bool picturesDrawn = false;

// The program's pictures, drawn once for all the cases of this process
// that read them; ctest runs each case in a process of its own, so each
// process has its own folder.
const std::string& pictureFolder()
{
    static const std::string folder = [] {
        const std::string f = freshFolder("pictures-" + std::to_string(::getpid()));
        picturesDrawn = true;
        const Result r = run(f, {f});
        EXPECT_EQ(r.status, 0) << r.err;
        return f;
    }();
    return folder;
}

void removePictures()
{
    if (!picturesDrawn) return;
    const std::string& folder = pictureFolder();
    empty(folder);
    ::rmdir(folder.c_str());
    std::remove((folder + ".stdout").c_str());
    std::remove((folder + ".stderr").c_str());
}

//--- Pixels

// The colour of each pixel of a PNG file as cairo holds it, 0xAARRGGBB
// premultiplied, opaque for a picture without alpha; empty when the file
// cannot be read.
struct Image {
    int width = 0, height = 0;
    std::vector<uint32_t> pixels;
    uint32_t at(int x, int y) const { return pixels[size_t(y) * size_t(width) + size_t(x)]; }
};

Image readPNG(const std::string& path)
{
    Image image;
    cairo_surface_t* s = cairo_image_surface_create_from_png(path.c_str());
    const cairo_format_t format = cairo_image_surface_get_format(s);
    const bool readable = cairo_surface_status(s) == CAIRO_STATUS_SUCCESS &&
                          (format == CAIRO_FORMAT_ARGB32 || format == CAIRO_FORMAT_RGB24);
    if (readable) {
        image.width = cairo_image_surface_get_width(s);
        image.height = cairo_image_surface_get_height(s);
        const int stride = cairo_image_surface_get_stride(s);
        const unsigned char* data = cairo_image_surface_get_data(s);
        for (int y = 0; y < image.height; ++y) {
            const auto* row = reinterpret_cast<const uint32_t*>(data + size_t(y) * size_t(stride));
            for (int x = 0; x < image.width; ++x)
                image.pixels.push_back(format == CAIRO_FORMAT_RGB24 ? (row[x] | 0xff000000u) : row[x]);
        }
    }
    cairo_surface_destroy(s);
    return image;
}

// Whether two bands of rows, each height high, differ in any pixel.
bool bandsDiffer(const Image& image, int bandA, int bandB, int height)
{
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < image.width; ++x)
            if (image.at(x, bandA * height + y) != image.at(x, bandB * height + y)) return true;
    return false;
}

//--- The description

// One view as the description made it, with the attributes it was made
// from and where it lies on the panel.
struct Made {
    CView* view;
    UIAttributes attributes;
    bool underSubController;
    CView* parent;
    CRect onPanel;
    std::string page; // the "view-name" of the page it lies on, or empty
};

class Recorder;

class SubController : public DelegationController, public CBaseObject {
public:
    explicit SubController(Recorder* parent);
    CView* verifyView(CView* view, const UIAttributes& attributes, const IUIDescription* d) override;

private:
    Recorder* parent;
};

// The editor's side as the description sees it: it hears of every view made
// and makes the sub-controller that the template names.
class Recorder : public IController {
public:
    void valueChanged(CControl*) override {}
    CView* verifyView(CView* view, const UIAttributes& attributes, const IUIDescription*) override
    {
        made.push_back(Made{view, attributes, false, nullptr, CRect(), ""});
        return view;
    }
    IController* createSubController(UTF8StringPtr name, const IUIDescription*) override
    {
        subControllersAsked.push_back(name);
        return std::string(name) == kSubController ? new SubController(this) : nullptr;
    }

    std::vector<Made> made;
    std::vector<std::string> subControllersAsked;
};

SubController::SubController(Recorder* parent) : DelegationController(parent), parent(parent) {}

CView* SubController::verifyView(CView* view, const UIAttributes& attributes, const IUIDescription* d)
{
    CView* kept = DelegationController::verifyView(view, attributes, d);
    parent->made.back().underSubController = true;
    return kept;
}

const std::string* attribute(const Made& m, const char* name)
{
    return m.attributes.getAttributeValue(name);
}

std::string attributeOr(const Made& m, const char* name, const std::string& otherwise = "")
{
    const std::string* v = attribute(m, name);
    return v ? *v : otherwise;
}

// A control a user sets; displays and labels show a value but take none.
bool isInput(CView* view)
{
    auto* control = dynamic_cast<CControl*>(view);
    if (!control) return false;
    return !dynamic_cast<CParamDisplay*>(view) || dynamic_cast<COptionMenu*>(view);
}

// Classes whose picture is two halves stacked, as high as the view each.
const std::set<std::string> kTwoHalfClasses = {"VSTGUI4_PushButton", "VSTGUI4_FlashingPushButton",
                                               "VSTGUI4_FlashingOnOffButton", "COnOffButton"};

// The description built once: its loader, the template's view tree and
// the record of every view made.
struct Panel {
    SharedPointer<UIDescription> description;
    SharedPointer<CView> root;
    Recorder recorder;
    // The <bitmaps> section: name and file of each picture.
    std::vector<std::pair<std::string, std::string>> bitmaps;

    std::string fileOf(const std::string& bitmapName) const
    {
        for (const auto& b : bitmaps)
            if (b.first == bitmapName) return pictureFolder() + "/" + b.second;
        return "";
    }

    const Made* named(const std::string& name) const
    {
        for (const Made& m : recorder.made)
            if (attributeOr(m, "view-name") == name) return &m;
        return nullptr;
    }
};

// Lists the <bitmap> elements of the file with expat, since the loader
// keeps them to itself.
std::vector<std::pair<std::string, std::string>> bitmapEntries(const std::string& path)
{
    struct State {
        std::vector<std::pair<std::string, std::string>> entries;
        int depth = 0;
        bool inBitmaps = false;
    } state;
    XML_Parser parser = XML_ParserCreate("UTF-8");
    XML_SetUserData(parser, &state);
    XML_SetElementHandler(
        parser,
        [](void* data, const XML_Char* name, const XML_Char** atts) {
            auto* s = static_cast<State*>(data);
            ++s->depth;
            if (s->depth == 2 && std::strcmp(name, "bitmaps") == 0) s->inBitmaps = true;
            if (s->inBitmaps && s->depth == 3 && std::strcmp(name, "bitmap") == 0) {
                std::string n, p;
                for (int i = 0; atts[i]; i += 2) {
                    if (std::strcmp(atts[i], "name") == 0) n = atts[i + 1];
                    if (std::strcmp(atts[i], "path") == 0) p = atts[i + 1];
                }
                s->entries.emplace_back(n, p);
            }
        },
        [](void* data, const XML_Char* name) {
            auto* s = static_cast<State*>(data);
            if (s->depth == 2 && std::strcmp(name, "bitmaps") == 0) s->inBitmaps = false;
            --s->depth;
        });
    const std::string text = slurp(path);
    const bool ok = XML_Parse(parser, text.data(), int(text.size()), 1) == XML_STATUS_OK;
    XML_ParserFree(parser);
    EXPECT_TRUE(ok) << path << " is not well-formed XML";
    return state.entries;
}

// Where each view lies on the panel, and on which page.
void placeViews(Panel& panel)
{
    std::map<CView*, Made*> byView;
    for (Made& m : panel.recorder.made) byView[m.view] = &m;
    struct Walk {
        std::map<CView*, Made*>& byView;
        void operator()(CView* view, CView* parent, CPoint origin, const std::string& page)
        {
            CRect r = view->getViewSize();
            r.offset(origin.x, origin.y);
            std::string here = page;
            if (Made* m = byView[view]) {
                m->parent = parent;
                m->onPanel = r;
                m->page = page;
                const std::string name = attributeOr(*m, "view-name");
                if (name == "AutoModePage" || name == "GraphModePage") here = name;
            }
            if (auto* c = dynamic_cast<CViewContainer*>(view)) {
                for (uint32_t i = 0; i < c->getNbViews(); ++i) (*this)(c->getView(i), view, r.getTopLeft(), here);
            }
        }
    } walk{byView};
    walk(panel.root, nullptr, CPoint(0, 0), "");
}

std::unique_ptr<Panel>& builtPanel()
{
    static std::unique_ptr<Panel> panel;
    return panel;
}

Panel& panel()
{
    std::unique_ptr<Panel>& p = builtPanel();
    if (!p) {
        p = std::make_unique<Panel>();
        VSTGUI4_registerControls();
        Corvane_GraphContainerView_register();
        setResourceDirectory(pictureFolder().c_str());
        p->bitmaps = bitmapEntries(kDescription);
        p->description = owned(new UIDescription(CResourceDescription(kDescription.c_str())));
        EXPECT_TRUE(p->description->parse()) << p->description->getLastError();
        p->root = owned(p->description->createView(kTemplate, &p->recorder));
        EXPECT_TRUE(p->description->getLastError().empty()) << p->description->getLastError();
        if (p->root) placeViews(*p);
    }
    return *p;
}

// At the end of the program the panel goes, and then cairo's and
// fontconfig's font caches, so that a leak checker sees only what the
// tests left behind.
class PanelCleanup : public ::testing::Environment {
public:
    void TearDown() override
    {
        builtPanel().reset();
        setResourceDirectory(nullptr);
        removePictures();
        cairo_debug_reset_static_data();
        FcFini();
    }
};

const auto* const cleanupRegistered = ::testing::AddGlobalTestEnvironment(new PanelCleanup);

// A parameter of the effect's catalogue, with the control its short title
// asks for: 'K' knob, 'R' switch, 'B' button, 'P' pop-up menu, or none.
struct CatalogueRow {
    int id;
    std::string title;
    char control;
    int steps;
};

// Titles are plain ASCII.
std::string narrow(const Steinberg::Vst::String128 text)
{
    std::string s;
    for (size_t i = 0; i < 128 && text[i]; ++i) s += char(text[i]);
    return s;
}

std::vector<CatalogueRow> catalogue()
{
    Steinberg::Vst::ParameterContainer parameters, privateParameters;
    corvane::addParameters(parameters, privateParameters);
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

std::string describe(const Made& m)
{
    return attributeOr(m, "class", "?") + " \"" + attributeOr(m, "view-name") + "\" at " +
           attributeOr(m, "origin") + " (line of control-tag " + attributeOr(m, "control-tag", "none") + ")";
}

} // namespace

//--- The program

TEST(PanelArt, DrawsEveryPictureWholeAndAlike)
{
    const std::string folder = pictureFolder();
    const std::vector<std::string> files = filesIn(folder);
    ASSERT_GE(files.size(), 20u);
    for (const std::string& file : files) {
        SCOPED_TRACE(file);
        EXPECT_TRUE(endsWith(file, ".png")) << "only finished pictures are left behind";
        const Image image = readPNG(folder + "/" + file);
        ASSERT_GT(image.width, 0) << "readable as a PNG";
        std::set<uint32_t> colours;
        int opaque = 0;
        for (uint32_t p : image.pixels) {
            colours.insert(p);
            if ((p >> 24) > 0) ++opaque;
        }
        EXPECT_GT(opaque, int(image.pixels.size() / 10)) << "a picture shows something";
        EXPECT_GT(colours.size(), 3u) << "a picture is more than a flat fill";
    }

    // A second run draws the same bytes: nothing in the pictures depends on
    // the time, the machine or memory left uninitialised.
    const std::string again = freshFolder("again");
    const Result r = run(again, {again});
    ASSERT_EQ(r.status, 0) << r.err;
    ASSERT_EQ(filesIn(again), files);
    for (const std::string& file : files) EXPECT_EQ(slurp(again + "/" + file), slurp(folder + "/" + file)) << file;
}

TEST(PanelArt, RefusesAUsersMistakesWithOneLine)
{
    const std::string scratch = freshFolder("mistakes");
    const std::string aFile = scratch + "/not-a-folder";
    std::fclose(std::fopen(aFile.c_str(), "w"));
    struct Case {
        std::vector<std::string> args;
        const char* says;
    };
    const Case cases[] = {
        {{}, "no output folder"},
        {{"--colour"}, "unknown option --colour"},
        {{scratch, scratch + "/b"}, "more than one output folder"},
        {{aFile}, "is not a folder"},
        {{scratch + "/missing/parent"}, "cannot make the folder"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.says);
        const Result r = run(scratch, c.args);
        EXPECT_EQ(r.status, 1);
        EXPECT_EQ(r.err.rfind("corvane-panelart: ", 0), 0u) << r.err;
        EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    }
    EXPECT_EQ(filesIn(scratch), std::vector<std::string>{"not-a-folder"}) << "a refused run writes nothing";

    const Result help = run(scratch, {"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind("usage: corvane-panelart OUTDIR", 0), 0u) << help.out;
    EXPECT_TRUE(help.err.empty());

    // A new folder is made when its parent exists.
    const std::string made = scratch + "/new";
    const Result r = run(scratch, {made});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_FALSE(filesIn(made).empty());
}

TEST(PanelArt, LeavesNoPartOfAPictureItCannotWrite)
{
    // A folder where a picture must go: the picture cannot take its place.
    const std::string folder = freshFolder("blocked");
    const std::string blocker = folder + "/bg_graph.png";
    ASSERT_EQ(::mkdir(blocker.c_str(), 0755), 0);
    const Result r = run(folder, {folder});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err.rfind("corvane-panelart: cannot write " + blocker, 0), 0u) << r.err;
    struct stat info;
    EXPECT_TRUE(::stat(blocker.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) << "what stood there stays";
    for (const std::string& file : filesIn(folder)) {
        EXPECT_FALSE(endsWith(file, ".part")) << file;
        if (file != "bg_graph.png") {
            EXPECT_GT(readPNG(folder + "/" + file).width, 0) << file << " is whole";
        }
    }
}

//--- The description against the pictures

TEST(EditorDescription, NamesOnlyPicturesTheProgramDraws)
{
    Panel& p = panel();
    ASSERT_TRUE(p.root);
    const std::vector<std::string> drawn = filesIn(pictureFolder());
    std::set<std::string> named, used;
    for (const auto& entry : p.bitmaps) {
        SCOPED_TRACE(entry.first);
        EXPECT_TRUE(std::binary_search(drawn.begin(), drawn.end(), entry.second)) << entry.second << " is not drawn";
        CBitmap* bitmap = p.description->getBitmap(entry.first.c_str());
        ASSERT_NE(bitmap, nullptr);
        EXPECT_TRUE(bitmap->isLoaded());
        EXPECT_TRUE(named.insert(entry.first).second) << "named twice";
        used.insert(entry.second);
    }
    for (const std::string& file : drawn) EXPECT_TRUE(used.count(file)) << file << " is drawn but never named";

    // Every attribute that names a picture names one of the list, and every
    // picture of the list is shown by some view.
    std::set<std::string> shown;
    for (const Made& m : p.recorder.made) {
        for (const auto& a : m.attributes) {
            std::string key = a.first;
            std::transform(key.begin(), key.end(), key.begin(), ::tolower);
            if (!endsWith(key, "bitmap")) continue;
            EXPECT_TRUE(named.count(a.second)) << describe(m) << ": " << a.first << "=\"" << a.second << "\"";
            shown.insert(a.second);
        }
    }
    for (const std::string& name : named) EXPECT_TRUE(shown.count(name)) << name << " is named but shown by no view";
}

TEST(EditorDescription, PicturesHaveTheShapeOfTheirViews)
{
    Panel& p = panel();
    ASSERT_TRUE(p.root);
    int strips = 0, twoHalves = 0;
    for (const Made& m : p.recorder.made) {
        CBitmap* bitmap = m.view->getBackground();
        if (!bitmap) continue;
        SCOPED_TRACE(describe(m));
        const CCoord width = m.view->getWidth(), height = m.view->getHeight();
        EXPECT_EQ(bitmap->getWidth(), width);
        if (auto* strip = dynamic_cast<IMultiBitmapControl*>(m.view)) {
            // Knobs and switches: a picture per step, each as high as the view.
            ++strips;
            EXPECT_GE(strip->getNumSubPixmaps(), 2);
            EXPECT_EQ(strip->getHeightOfOneImage(), height);
            EXPECT_EQ(bitmap->getHeight(), strip->getNumSubPixmaps() * height);
            const Image image = readPNG(p.fileOf(attributeOr(m, "bitmap")));
            ASSERT_EQ(image.height, int(bitmap->getHeight()));
            for (int i = 1; i < strip->getNumSubPixmaps(); ++i)
                EXPECT_TRUE(bandsDiffer(image, i - 1, i, int(height))) << "steps " << i - 1 << " and " << i;
        } else if (kTwoHalfClasses.count(attributeOr(m, "class"))) {
            ++twoHalves;
            EXPECT_EQ(int(bitmap->getHeight()) % 2, 0);
            EXPECT_EQ(bitmap->getHeight(), 2 * height);
            const Image image = readPNG(p.fileOf(attributeOr(m, "bitmap")));
            EXPECT_TRUE(bandsDiffer(image, 0, 1, int(height))) << "rest and pressed differ";
            if (const std::string* flash = attribute(m, "flashBitmap")) {
                CBitmap* flashing = p.description->getBitmap(flash->c_str());
                ASSERT_NE(flashing, nullptr);
                EXPECT_EQ(flashing->getSize(), bitmap->getSize());
                const Image flashImage = readPNG(p.fileOf(*flash));
                EXPECT_NE(flashImage.pixels, image.pixels) << "the flash shows";
            }
        } else {
            EXPECT_EQ(bitmap->getHeight(), height);
        }
    }
    EXPECT_GT(strips, 20);
    EXPECT_GT(twoHalves, 30);
}

//--- The description against the parameters and the registry

TEST(EditorDescription, EveryPanelParameterHasOneControlOfItsKind)
{
    Panel& p = panel();
    ASSERT_TRUE(p.root);
    std::map<int, std::vector<const Made*>> inputsByTag;
    for (const Made& m : p.recorder.made) {
        if (!isInput(m.view)) continue;
        SCOPED_TRACE(describe(m));
        const int32_t tag = dynamic_cast<CControl*>(m.view)->getTag();
        EXPECT_GE(tag, 0) << "a control without a parameter";
        // The sub-controller observes named controls only, and only what it
        // observes reaches the effect's dispatch.
        EXPECT_FALSE(attributeOr(m, "view-name").empty()) << "a control without a view-name";
        inputsByTag[tag].push_back(&m);
    }

    int onPanel = 0;
    std::set<int> rows;
    for (const CatalogueRow& row : catalogue()) {
        SCOPED_TRACE(std::to_string(row.id) + " \"" + row.title + "\"");
        rows.insert(row.id);
        const auto found = inputsByTag.find(row.id);
        const size_t count = found == inputsByTag.end() ? 0 : found->second.size();
        if (!row.control) {
            EXPECT_EQ(count, 0u) << "no control for a parameter the panel does not show";
            continue;
        }
        ++onPanel;
        ASSERT_EQ(count, 1u);
        const Made& m = *found->second.front();
        switch (row.control) {
        case 'K':
            EXPECT_NE(dynamic_cast<CKnob*>(m.view), nullptr) << describe(m);
            break;
        case 'R': {
            auto* sw = dynamic_cast<CHorizontalSwitch*>(m.view);
            ASSERT_NE(sw, nullptr) << describe(m);
            EXPECT_EQ(sw->getNumSubPixmaps(), row.steps + 1) << "a picture for each position";
            break;
        }
        case 'P':
            EXPECT_NE(dynamic_cast<COptionMenu*>(m.view), nullptr) << describe(m);
            break;
        case 'B':
            EXPECT_TRUE(kTwoHalfClasses.count(attributeOr(m, "class"))) << describe(m);
            break;
        }
    }
    EXPECT_GT(onPanel, 70);
    for (const auto& entry : inputsByTag) EXPECT_TRUE(rows.count(entry.first)) << "tag " << entry.first;

    // Displays show parameters of the panel only.
    for (const Made& m : p.recorder.made) {
        if (!dynamic_cast<CParamDisplay*>(m.view) || isInput(m.view)) continue;
        const int32_t tag = dynamic_cast<CControl*>(m.view)->getTag();
        if (tag >= 0) {
            EXPECT_EQ(inputsByTag.count(tag), 1u) << describe(m);
        }
    }
}

TEST(EditorDescription, EveryRegistryNameAppearsOnceWithItsClass)
{
    // The registry of named views the effect fills, and the class each must
    // have. Places of views still to come hold a plain view (or a plain
    // container, for those that hold others) under their name.
    enum Place { exact, plainViewForNow, plainContainerForNow, anyView };
    struct Row {
        const char* name;
        const char* type;
        Place place;
    };
    const Row registry[] = {
        {"CommonArea", "CViewContainer", exact},
        {"StereoRefSwitch", "CHorizontalSwitch", exact},
        {"KeyPopup", "COptionMenu", exact},
        {"DetuneHertzDisplay", "CTextLabel", exact},
        {"TransposeKnob", "VSTGUI4_DoubleClickKnob", exact},
        {"ThroatLengthKnob", "VSTGUI4_DoubleClickKnob", exact},
        {"AutoModePage", "CViewContainer", exact},
        {"ScalesList", "Corvane_ScalesListView", plainViewForNow},
        {"ScalesUpButton", "VSTGUI4_PushButton", exact},
        {"ScalesDownButton", "VSTGUI4_PushButton", exact},
        {"SetMajorButton", "VSTGUI4_PushButton", exact},
        {"SetMinorButton", "VSTGUI4_PushButton", exact},
        {"SetAllButton", "VSTGUI4_PushButton", exact},
        {"BypassAllButton", "VSTGUI4_PushButton", exact},
        {"RemoveAllButton", "VSTGUI4_PushButton", exact},
        {"Keyboard", "Corvane_KeyboardView", plainViewForNow},
        {"GraphModePage", "Corvane_GraphContainerView", exact},
        {"ClearAllButton", "VSTGUI4_PushButton", exact},
        {"UndoButton", "VSTGUI4_PushButton", exact},
        {"RedoButton", "VSTGUI4_PushButton", exact},
        {"SelectAllButton", "VSTGUI4_PushButton", exact},
        {"CutButton", "VSTGUI4_PushButton", exact},
        {"CopyButton", "VSTGUI4_PushButton", exact},
        {"PasteButton", "VSTGUI4_PushButton", exact},
        {"Corvane_MainGraphView", "Corvane_MainGraphView", plainViewForNow},
        {"Corvane_EnvelopeGraphView", "Corvane_EnvelopeGraphView", plainViewForNow},
        {"Corvane_KeyboardGraphView", "Corvane_KeyboardGraphView", plainViewForNow},
        {"VerticalScrollbar", "VSTGUI4_VerticalScrollbar", plainContainerForNow},
        {"VerticalThumb", "VSTGUI4_ViewWithMinimumSize", exact},
        {"HorizontalScrollbar", "VSTGUI4_HorizontalScrollbar", plainContainerForNow},
        {"HorizontalThumb", "VSTGUI4_ViewWithMinimumSize", exact},
        {"ObjectPitchDisplay", "CTextLabel", exact},
        {"TrackPitchButton", "VSTGUI4_FlashingOnOffButton", exact},
        {"MakeCurvesButton", "VSTGUI4_PushButton", exact},
        {"ImportAutoButton", "VSTGUI4_PushButton", exact},
        {"MakeNotesButton", "VSTGUI4_PushButton", exact},
        {"NumNotesKnob", "VSTGUI4_DoubleClickKnob", exact},
        {"NumNotesDisplay", "CParamDisplay", exact},
        {"NumNotesCover", "", anyView},
        {"MakeNotesMIDIButton", "VSTGUI4_PushButton", exact},
        {"ObjRetuneSpeedKnob", "VSTGUI4_DoubleClickKnob", exact},
        {"ObjAdjustVibratoKnob", "VSTGUI4_DoubleClickKnob", exact},
        {"ObjThroatLengthKnob", "VSTGUI4_DoubleClickKnob", exact},
        {"PerObjectCover", "", anyView},
        {"ThroatLengthCover", "", anyView},
        {"NudgeUpButton", "VSTGUI4_PushButton", exact},
        {"NudgeDownButton", "VSTGUI4_PushButton", exact},
        {"OutputPitchDisplay", "CTextLabel", exact},
        {"DetectedPitchDisplay", "CTextLabel", exact},
        {"TrackPitchAndTimeButton", "VSTGUI4_FlashingOnOffButton", exact},
        {"TimeUndoButton", "VSTGUI4_PushButton", exact},
        {"TimeRedoButton", "VSTGUI4_PushButton", exact},
        {"TimeClearAllButton", "VSTGUI4_PushButton", exact},
        {"DataFileMgmtButton", "VSTGUI4_FlashingPushButton", exact},
        {"ClockPositionDisplay", "CTextLabel", exact},
        {"ClockSourceSwitch", "CHorizontalSwitch", exact},
        {"CursorPositionDisplay", "CTextLabel", exact},
    };
    ASSERT_EQ(sizeof registry / sizeof registry[0], 57u);

    Panel& p = panel();
    ASSERT_TRUE(p.root);
    std::map<std::string, int> names;
    for (const Made& m : p.recorder.made) {
        const std::string name = attributeOr(m, "view-name");
        if (name.empty()) continue;
        ++names[name];
        EXPECT_LT(name.size(), 32u) << name << ": the registry keeps 31 characters of a name";
    }
    for (const auto& n : names) EXPECT_EQ(n.second, 1) << "\"" << n.first << "\" names more than one view";

    for (const Row& row : registry) {
        SCOPED_TRACE(row.name);
        const Made* m = p.named(row.name);
        ASSERT_NE(m, nullptr) << "missing";
        const std::string cls = attributeOr(*m, "class");
        switch (row.place) {
        case exact:
            EXPECT_EQ(cls, row.type);
            // Stock classes are checked on the view made too.
            if (std::strncmp(row.type, "Corvane_", 8) != 0 && std::strncmp(row.type, "VSTGUI4_", 8) != 0) {
                EXPECT_TRUE(m->view->isTypeOf(row.type)) << m->view->getClassName();
            }
            break;
        case plainViewForNow:
            EXPECT_TRUE(cls == row.type || cls == "CView") << cls;
            break;
        case plainContainerForNow:
            EXPECT_TRUE(cls == row.type || cls == "CViewContainer") << cls;
            EXPECT_NE(dynamic_cast<CViewContainer*>(m->view), nullptr) << "it holds its thumb";
            break;
        case anyView:
            break;
        }
    }
    // Each thumb lies in its scrollbar.
    for (const auto& pair : {std::make_pair("VerticalThumb", "VerticalScrollbar"),
                             std::make_pair("HorizontalThumb", "HorizontalScrollbar")}) {
        const Made* thumb = p.named(pair.first);
        const Made* bar = p.named(pair.second);
        ASSERT_TRUE(thumb && bar);
        EXPECT_EQ(thumb->parent, bar->view) << pair.first;
    }
}

//--- The description's geometry

TEST(EditorDescription, ViewsLieInsideTheirParentsAndControlsApart)
{
    Panel& p = panel();
    ASSERT_TRUE(p.root);
    EXPECT_EQ(p.root->getViewSize(), CRect(0, 0, kPanelWidth, kPanelHeight));
    const UIAttributes* templateAttributes = p.description->getViewAttributes(kTemplate);
    ASSERT_NE(templateAttributes, nullptr);
    CPoint minSize, maxSize;
    EXPECT_TRUE(templateAttributes->getPointAttribute("minSize", minSize));
    EXPECT_TRUE(templateAttributes->getPointAttribute("maxSize", maxSize));
    EXPECT_EQ(minSize, CPoint(kPanelWidth, kPanelHeight));
    EXPECT_EQ(maxSize, CPoint(4000, 4000));

    for (const Made& m : p.recorder.made) {
        SCOPED_TRACE(describe(m));
        const CRect own = m.view->getViewSize();
        EXPECT_FALSE(own.isEmpty()) << "a view of no size";
        if (m.view != p.root) {
            EXPECT_NE(m.parent, nullptr) << "placed in the tree";
        }
        if (CView* parent = m.parent) {
            const CRect inside(0, 0, parent->getWidth(), parent->getHeight());
            EXPECT_TRUE(own.left >= inside.left && own.top >= inside.top && own.right <= inside.right &&
                        own.bottom <= inside.bottom)
                << "outside its parent of " << parent->getWidth() << " x " << parent->getHeight();
        }
        EXPECT_TRUE(m.onPanel.left >= 0 && m.onPanel.top >= 0 && m.onPanel.right <= kPanelWidth &&
                    m.onPanel.bottom <= kPanelHeight);
    }

    // The two pages share one place, below the common area.
    const Made* common = p.named("CommonArea");
    const Made* autoPage = p.named("AutoModePage");
    const Made* graphPage = p.named("GraphModePage");
    ASSERT_TRUE(common && autoPage && graphPage);
    EXPECT_EQ(autoPage->onPanel, graphPage->onPanel);
    CRect shared = common->onPanel;
    EXPECT_TRUE(shared.bound(autoPage->onPanel).isEmpty()) << "the common area and the pages overlap";

    // No control covers another that shows at the same time: the common
    // area's with either page's, a page's with its own.
    std::vector<const Made*> controls;
    for (const Made& m : p.recorder.made)
        if (dynamic_cast<CControl*>(m.view)) controls.push_back(&m);
    for (size_t i = 0; i < controls.size(); ++i) {
        for (size_t j = i + 1; j < controls.size(); ++j) {
            const Made& a = *controls[i];
            const Made& b = *controls[j];
            if (!a.page.empty() && !b.page.empty() && a.page != b.page) continue;
            CRect overlap = a.onPanel;
            EXPECT_TRUE(overlap.bound(b.onPanel).isEmpty()) << describe(a) << " overlaps " << describe(b);
        }
    }
}

TEST(EditorDescription, LabelsHoldTheirWholeTitle)
{
    Panel& p = panel();
    ASSERT_TRUE(p.root);
    int labels = 0;
    for (const Made& m : p.recorder.made) {
        auto* label = dynamic_cast<CTextLabel*>(m.view);
        if (!label || std::strlen(label->getText()) == 0) continue;
        ++labels;
        CairoSupport::MeasuringContext measure;
        CairoSupport::selectFont(measure.get(), *label->getFont());
        cairo_text_extents_t extents;
        cairo_text_extents(measure.get(), label->getText(), &extents);
        const double room = label->getWidth() - 2 * label->getTextInset().x;
        EXPECT_LE(extents.x_advance, room) << "\"" << label->getText() << "\" in " << describe(m);
        cairo_font_extents_t font;
        cairo_font_extents(measure.get(), &font);
        EXPECT_LE(font.ascent, label->getHeight()) << "\"" << label->getText() << "\" in " << describe(m);
    }
    EXPECT_GT(labels, 40);
}

TEST(EditorDescription, EveryViewIsMadeUnderTheSubController)
{
    Panel& p = panel();
    ASSERT_TRUE(p.root);
    EXPECT_EQ(p.recorder.subControllersAsked, std::vector<std::string>{kSubController});
    size_t inTree = 0;
    struct Count {
        size_t& n;
        void operator()(CView* v)
        {
            ++n;
            if (auto* c = dynamic_cast<CViewContainer*>(v))
                for (uint32_t i = 0; i < c->getNbViews(); ++i) (*this)(c->getView(i));
        }
    } count{inTree};
    count(p.root);
    EXPECT_EQ(p.recorder.made.size(), inTree) << "every view of the tree was verified, and no other";
    for (const Made& m : p.recorder.made) EXPECT_TRUE(m.underSubController) << describe(m);
}
