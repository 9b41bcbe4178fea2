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
#include <memory>
#include <string>
#include <vector>

#include "Common_VST3/IEditorSnapshot.h"
#include "hostlib/Plugin_Host.h"
#include "pluginterfaces/gui/iplugview.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"

#ifndef CORVANE_DEFAULT_BUNDLE
#error "CORVANE_DEFAULT_BUNDLE must name the bundle the tool loads by default"
#endif

namespace {

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
    "  --set \"Title=value\"    set the parameter of that exact title to the value\n"
    "                         a host would show for it, e.g. \"Correction Mode=Graph\"\n"
    "                         or \"Retune Speed=20\"; may be repeated, applied in order\n"
    "  --size WxH             size of the editor in pixels, from 850x630 to\n"
    "                         4000x4000 (default: the size the editor opens at)\n"
    "  --help                 show this text and exit\n";

// A user's mistake or an unusable file: one line on stderr, exit status 1.
struct Failure {
    std::string message;
};

[[noreturn]] void fail(const std::string& message)
{
    throw Failure{message};
}

std::string quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

// A whole decimal number, digits only.
bool parse_whole(const std::string& text, long& value)
{
    if (text.empty() || text.size() > 9) return false;
    for (char c : text) {
        if (c < '0' || c > '9') return false;
    }
    value = std::strtol(text.c_str(), nullptr, 10);
    return true;
}

// "WIDTHxHEIGHT" within the editor's limits.
bool parse_size(const std::string& text, int& width, int& height)
{
    const size_t x = text.find('x');
    long w = 0, h = 0;
    if (x == std::string::npos || !parse_whole(text.substr(0, x), w) || !parse_whole(text.substr(x + 1), h))
        return false;
    if (w < kMinWidth || h < kMinHeight || w > kMaxSide || h > kMaxSide) return false;
    width = int(w);
    height = int(h);
    return true;
}

struct Options {
    std::string plugin = CORVANE_DEFAULT_BUNDLE;
    std::vector<std::string> settings;
    // 0 leaves the size to the editor.
    int width = 0;
    int height = 0;
    bool help = false;
    std::string output;
};

Options parse(int argc, char** argv)
{
    Options o;
    std::vector<std::string> files;
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            files.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        // "--name=value" and "--name value" alike.
        std::string inlineValue;
        bool hasInline = false;
        const size_t eq = arg.find('=');
        if (arg.compare(0, 2, "--") == 0 && eq != std::string::npos) {
            inlineValue = arg.substr(eq + 1);
            arg.erase(eq);
            hasInline = true;
        }
        auto value = [&]() -> std::string {
            if (hasInline) return inlineValue;
            if (i + 1 >= argc) fail(arg + " needs a value (see --help)");
            return argv[++i];
        };
        if (arg == "--help" || arg == "-h") {
            if (hasInline) fail(arg + " takes no value (see --help)");
            o.help = true;
        } else if (arg == "--plugin") {
            o.plugin = value();
        } else if (arg == "--set") {
            o.settings.push_back(value());
        } else if (arg == "--size") {
            if (!parse_size(value(), o.width, o.height))
                fail("--size takes WIDTHxHEIGHT in pixels, from 850x630 to 4000x4000");
        } else {
            fail("unknown option " + arg + " (see --help)");
        }
    }
    if (o.help) return o;
    if (files.empty()) fail("no output file given (see --help)");
    if (files.size() > 1) fail("too many files given: only OUT.png (see --help)");
    o.output = files[0];
    return o;
}

// The name of the temporary file not yet renamed, for the signal handler.
// Written outside the handler only; the handler only reads it.
constexpr size_t kMaxPathBytes = 4096;
char pendingPath[kMaxPathBytes];
volatile std::sig_atomic_t pendingUsed = 0;

extern "C" void remove_pending_and_exit(int signal)
{
    if (pendingUsed) ::unlink(pendingPath);
    ::_exit(128 + signal);
}

// The picture is drawn under a temporary name in the target's folder and
// renamed onto the target by commit, so that no half-written target is ever
// seen. Claimed before the work starts, so an unwritable target fails
// early; removed if never committed, also on SIGINT, SIGTERM and SIGHUP.
class Pending_File {
public:
    explicit Pending_File(const std::string& path) : target(path)
    {
        const size_t slash = target.find_last_of('/');
        const std::string folder = slash == std::string::npos ? "./" : target.substr(0, slash + 1);
        const std::string pattern = folder + ".corvane-snapshot-XXXXXX";
        if (pattern.size() + 1 > kMaxPathBytes) fail("cannot write " + target + ": the name is too long");
        std::vector<char> name(pattern.begin(), pattern.end());
        name.push_back('\0');
        const int fd = ::mkstemp(name.data());
        if (fd < 0) fail("cannot write " + target + ": " + std::strerror(errno));
        temp = name.data();
        // mkstemp makes the file private; give it the mode any new file gets.
        const mode_t mask = ::umask(0);
        ::umask(mask);
        ::fchmod(fd, 0666 & ~mask);
        ::close(fd);
        std::memcpy(pendingPath, temp.c_str(), temp.size() + 1);
        pendingUsed = 1;
    }

    ~Pending_File()
    {
        if (!committed) ::unlink(temp.c_str());
        pendingUsed = 0;
    }

    Pending_File(const Pending_File&) = delete;
    Pending_File& operator=(const Pending_File&) = delete;

    const std::string& path() const { return temp; }

    void commit()
    {
        if (::rename(temp.c_str(), target.c_str()) != 0)
            fail("cannot write " + target + ": " + std::strerror(errno));
        committed = true;
        pendingUsed = 0;
    }

private:
    std::string target;
    std::string temp;
    bool committed = false;
};

// Sets a parameter by its title from the text a host shows for a value, read
// by the parameter itself.
void set_parameter(hostlib::Instance& instance, const std::string& setting)
{
    const size_t eq = setting.find('=');
    if (eq == std::string::npos) fail("--set takes \"Title=value\", not " + quoted(setting));
    const std::string title = setting.substr(0, eq);
    const std::string text = setting.substr(eq + 1);
    hostlib::Parameter_Info info;
    if (!instance.find_parameter(title, info)) fail("no parameter titled " + quoted(title));
    if (info.flags & Steinberg::Vst::ParameterInfo::kIsReadOnly)
        fail("parameter " + quoted(title) + " is read-only");
    if (instance.set_text(info.id, text)) return;
    if (info.is_list()) {
        std::string items;
        for (Steinberg::int32 k = 0; k <= info.step_count; ++k)
            items += (k ? ", " : "") + instance.text_of(info.id, double(k) / info.step_count);
        fail(quoted(title) + " has no value " + quoted(text) + " (one of: " + items + ")");
    }
    fail(quoted(title) + " does not take " + quoted(text) + " (it takes a number, e.g. " +
         quoted(instance.text_of(info.id, info.default_normalized)) + ")");
}

// Releases an interface pointer when it goes out of scope.
template <class Interface>
struct Releaser {
    void operator()(Interface* p) const
    {
        if (p) p->release();
    }
};
template <class Interface>
using Held = std::unique_ptr<Interface, Releaser<Interface>>;

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

void write_snapshot(const Options& options, Pending_File& output)
{
    std::string error;
    const auto module = hostlib::Module::load(options.plugin, error);
    if (!module) fail(error);
    {
        const auto instance = hostlib::Instance::create(*module, "", error);
        if (!instance) fail(error);
        for (const auto& setting : options.settings) set_parameter(*instance, setting);

        Held<Steinberg::IPlugView> view(instance->controller()->createView(Steinberg::Vst::ViewType::kEditor));
        if (!view) fail("the plug-in gives no editor (is its UI description missing from the bundle?)");
        IEditorSnapshot* snapshotPtr = nullptr;
        if (view->queryInterface(INLINE_UID_OF(IEditorSnapshot), reinterpret_cast<void**>(&snapshotPtr)) !=
                Steinberg::kResultOk ||
            snapshotPtr == nullptr)
            fail("the plug-in's editor cannot draw itself into a file");
        Held<IEditorSnapshot> snapshot(snapshotPtr);
        if (snapshot->writeSnapshot(output.path().c_str(), options.width, options.height) != Steinberg::kResultOk)
            fail("the plug-in's editor could not be drawn into " + options.output);
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
    Pending_File output(options.output);
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
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, remove_pending_and_exit);
    int status = 1;
    try {
        status = run(argc, argv);
    } catch (const Failure& failure) {
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
