// corvane-snapshot: draws the plug-in's editor into a PNG file without a
// window or a display. The module is loaded and its effect initialized as a
// host would; parameters are set by their titles and the texts a host shows
// for them; the view "editor" is then asked, through the editor's private
// snapshot interface, to draw the whole panel.

#include <cairo.h>
#include <fontconfig/fontconfig.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "Common_VST3/IEditorSnapshot.h"
#include "cli/Tool_Support.h"
#include "hostlib/Plugin_Host.h"
#include "pluginterfaces/base/smartpointer.h"
#include "pluginterfaces/gui/iplugview.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"

#ifndef CORVANE_DEFAULT_BUNDLE
#error "CORVANE_DEFAULT_BUNDLE must name the bundle the tool loads by default"
#endif

namespace {

using cli::fail;

// The window sizes the editor takes, in pixels.
constexpr long kMinWidth = 850;
constexpr long kMinHeight = 630;
constexpr long kMaxSide = 4000;

const char* const kUsage =
    "usage: corvane-snapshot [options] OUT.png\n"
    "\n"
    "Draws the plug-in's editor, as it opens in a host, into OUT.png. No window\n"
    "and no display are needed.\n"
    "\n"
    "  --plugin BUNDLE        the .vst3 bundle (or .so) to load\n"
    "                         (default: " CORVANE_DEFAULT_BUNDLE ")\n"
    "  --load-state FILE      restore a state saved by corvane-render --save-state\n"
    "                         (or by a host) before the --set values: the Graph\n"
    "                         page then shows its tracked take and objects\n"
    "  --set \"Title=value\"    set the parameter of that exact title to the value\n"
    "                         a host would show for it, e.g. \"Correction Mode=Graph\"\n"
    "                         or \"Retune Speed=20\"; may be repeated, applied in order\n"
    "  --size WxH             size of the editor in pixels, from 850x630 to\n"
    "                         4000x4000 (default: the size the editor opens at)\n"
    "  --open-dialog NAME     draw the dialog NAME over the panel, as the user sees\n"
    "                         it: options, paste-hint, ibeam-hint, clear-all or\n"
    "                         data-folder\n"
    "  --help                 show this text and exit\n";

struct Options {
    std::string plugin = CORVANE_DEFAULT_BUNDLE;
    std::vector<std::string> settings;
    std::string loadState;
    // 0 leaves the size to the editor.
    int width = 0;
    int height = 0;
    std::string dialog;
    bool help = false;
    std::string output;
};

Options parse(int argc, char** argv)
{
    Options o;
    cli::Arguments args(argc, argv);
    std::string arg;
    while (args.next(arg)) {
        if (arg == "--help" || arg == "-h") {
            args.no_value();
            o.help = true;
        } else if (arg == "--plugin") {
            o.plugin = args.value();
        } else if (arg == "--load-state") {
            o.loadState = args.value();
        } else if (arg == "--set") {
            o.settings.push_back(args.value());
        } else if (arg == "--open-dialog") {
            o.dialog = args.value();
            if (o.dialog.empty()) fail("--open-dialog takes the name of a dialog (see --help)");
        } else if (arg == "--size") {
            if (!cli::parse_size(args.value(), o.width, o.height, kMinWidth, kMinHeight, kMaxSide))
                fail("--size takes WIDTHxHEIGHT in pixels, from 850x630 to 4000x4000");
        } else {
            fail("unknown option " + arg + " (see --help)");
        }
    }
    if (o.help) return o;
    const auto& files = args.files();
    if (files.empty()) fail("no output file given (see --help)");
    if (files.size() > 1) fail("too many files given: only OUT.png (see --help)");
    o.output = files[0];
    return o;
}

// The width and height of a PNG file, or false when it is none.
bool png_size(const std::string& path, int& width, int& height)
{
    cairo_surface_t* picture = cairo_image_surface_create_from_png(path.c_str());
    const bool ok = cairo_surface_status(picture) == CAIRO_STATUS_SUCCESS;
    if (ok) {
        width = cairo_image_surface_get_width(picture);
        height = cairo_image_surface_get_height(picture);
    }
    cairo_surface_destroy(picture);
    return ok;
}

void write_snapshot(const Options& options, cli::Pending_File& output)
{
    std::string error;
    const auto module = hostlib::Module::load(options.plugin, error);
    if (!module) fail(error);
    {
        const auto instance = hostlib::Instance::create(*module, "", error);
        if (!instance) fail(error);
        if (!options.loadState.empty()) {
            std::ifstream file(options.loadState, std::ios::binary);
            if (!file) fail("cannot open \"" + options.loadState + "\": " + std::strerror(errno));
            const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
            if (!instance->set_state(bytes)) fail("the plug-in refuses the state in \"" + options.loadState + "\"");
        }
        for (const auto& setting : options.settings) cli::set_parameter(*instance, setting);

        const auto view = Steinberg::owned(instance->controller()->createView(Steinberg::Vst::ViewType::kEditor));
        if (!view) fail("the plug-in gives no editor (is its UI description missing from the bundle?)");
        IEditorSnapshot* snapshotPtr = nullptr;
        if (view->queryInterface(INLINE_UID_OF(IEditorSnapshot), reinterpret_cast<void**>(&snapshotPtr)) !=
                Steinberg::kResultOk ||
            snapshotPtr == nullptr)
            fail("the plug-in's editor cannot draw itself into a file");
        const auto snapshot = Steinberg::owned(snapshotPtr);
        const Steinberg::tresult drawn =
            snapshot->writeSnapshot(output.path().c_str(), options.width, options.height, options.dialog.c_str());
        if (drawn == Steinberg::kInvalidArgument)
            fail("the plug-in has no dialog called \"" + options.dialog +
                 "\" (options, paste-hint, ibeam-hint, clear-all, data-folder)");
        if (drawn != Steinberg::kResultOk) fail("the plug-in's editor could not be drawn into " + options.output);
    }
    // The module, its editor and every surface it drew are gone here.
}

int run(int argc, char** argv)
{
    const Options options = parse(argc, argv);
    if (options.help) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    cli::Pending_File output(options.output, "corvane-snapshot");
    write_snapshot(options, output);
    int width = 0, height = 0;
    if (!png_size(output.path(), width, height)) fail("the plug-in wrote no picture for " + options.output);
    output.commit();
    std::printf("%s: %d x %d\n", options.output.c_str(), width, height);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    cli::remove_pending_files_on_signals();
    int status = 1;
    try {
        status = run(argc, argv);
    } catch (const cli::Failure& failure) {
        std::fprintf(stderr, "corvane-snapshot: %s\n", failure.message.c_str());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "corvane-snapshot: %s\n", e.what());
    }
    // Text drawn by the module leaves font caches in cairo and fontconfig;
    // nothing of either is in use any more.
    cairo_debug_reset_static_data();
    FcFini();
    return status;
}
