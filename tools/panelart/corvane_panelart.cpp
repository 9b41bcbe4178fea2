// corvane-panelart: draws the pictures of the plug-in's panel into a folder,
// as PNG files under the names its UI description gives them. The build
// runs it to fill the bundle's resources, so that no picture is kept in the
// source tree.

#include "panelart/Panel_Pictures.h"

#include <cairo.h>
#include <fontconfig/fontconfig.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

const char* const kUsage =
    "usage: corvane-panelart OUTDIR\n"
    "\n"
    "Draws every picture of the plug-in's panel (backgrounds, group plates,\n"
    "knob and switch strips, buttons) into OUTDIR as PNG files, replacing\n"
    "files of the same names. OUTDIR is made if it does not exist; its parent\n"
    "must.\n"
    "\n"
    "  --help    show this text and exit\n";

int fail(const std::string& message)
{
    std::fprintf(stderr, "corvane-panelart: %s\n", message.c_str());
    return 1;
}

// cairo and fontconfig keep their font caches for the life of the process;
// freeing them at the end keeps a leak checker's report to what is ours.
void release_font_caches()
{
    cairo_debug_reset_static_data();
    FcFini();
}

} // namespace

int main(int argc, char** argv)
{
    std::string folder;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (arg.size() > 1 && arg[0] == '-') return fail("unknown option " + arg + " (see --help)");
        if (!folder.empty()) return fail("more than one output folder given (see --help)");
        folder = arg;
    }
    if (folder.empty()) return fail("no output folder given (see --help)");

    struct stat info;
    if (::stat(folder.c_str(), &info) != 0) {
        if (::mkdir(folder.c_str(), 0755) != 0)
            return fail("cannot make the folder " + folder + ": " + std::strerror(errno));
    } else if (!S_ISDIR(info.st_mode)) {
        return fail(folder + " is not a folder");
    }

    std::string error;
    const bool written = panelart::write_all_pictures(folder, error);
    release_font_caches();
    if (!written) return fail(error);
    return 0;
}
