#include "cli/Tool_Support.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "hostlib/Plugin_Host.h"

namespace cli {

void fail(const std::string& message)
{
    throw Failure{message};
}

std::string quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

bool parse_whole(const std::string& text, long& value)
{
    if (text.empty() || text.size() > 9) return false;
    for (char c : text) {
        if (c < '0' || c > '9') return false;
    }
    value = std::strtol(text.c_str(), nullptr, 10);
    return true;
}

bool parse_number(const std::string& text, double& value)
{
    if (text.empty() || std::isspace(static_cast<unsigned char>(text[0]))) return false;
    char* end = nullptr;
    errno = 0;
    value = std::strtod(text.c_str(), &end);
    return end != nullptr && *end == '\0' && errno == 0 && std::isfinite(value) &&
           text.find_first_of("xXnN") == std::string::npos;
}

bool parse_size(const std::string& text, int& width, int& height, long min_width, long min_height, long max_side)
{
    const size_t x = text.find('x');
    long w = 0, h = 0;
    if (x == std::string::npos || !parse_whole(text.substr(0, x), w) || !parse_whole(text.substr(x + 1), h))
        return false;
    if (w < min_width || h < min_height || w > max_side || h > max_side) return false;
    width = int(w);
    height = int(h);
    return true;
}

std::string number_text(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

//--- Arguments

bool Arguments::next(std::string& option)
{
    while (++index < argc) {
        std::string arg = argv[index];
        if (ended || arg.size() < 2 || arg[0] != '-') {
            words.push_back(arg);
            continue;
        }
        if (arg == "--") {
            ended = true;
            continue;
        }
        has_inline = false;
        inline_value.clear();
        const size_t eq = arg.find('=');
        if (arg.compare(0, 2, "--") == 0 && eq != std::string::npos) {
            inline_value = arg.substr(eq + 1);
            arg.erase(eq);
            has_inline = true;
        }
        name = option = arg;
        return true;
    }
    return false;
}

std::string Arguments::value()
{
    if (has_inline) return inline_value;
    if (index + 1 >= argc) fail(name + " needs a value (see --help)");
    return argv[++index];
}

void Arguments::no_value()
{
    if (has_inline) fail(name + " takes no value (see --help)");
}

//--- Pending_File

namespace {

// Names of the temporary files not yet renamed, for the signal handler.
// Written outside the handler only; the handler only reads them.
constexpr int kMaxPending = 4;
constexpr size_t kMaxPathBytes = 4096;
char pendingPaths[kMaxPending][kMaxPathBytes];
volatile std::sig_atomic_t pendingUsed[kMaxPending];

extern "C" void remove_pending_and_exit(int signal)
{
    for (int i = 0; i < kMaxPending; ++i) {
        if (pendingUsed[i]) ::unlink(pendingPaths[i]);
    }
    ::_exit(128 + signal);
}

} // namespace

void remove_pending_files_on_signals()
{
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, remove_pending_and_exit);
}

Pending_File::Pending_File(const std::string& path, const char* tool) : target(path), slot(kMaxPending)
{
    const size_t slash = target.find_last_of('/');
    const std::string folder = slash == std::string::npos ? "./" : target.substr(0, slash + 1);
    const std::string pattern = folder + "." + tool + "-XXXXXX";
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
    for (slot = 0; slot < kMaxPending && pendingUsed[slot]; ++slot) {
    }
    if (slot < kMaxPending) {
        std::memcpy(pendingPaths[slot], temp.c_str(), temp.size() + 1);
        pendingUsed[slot] = 1;
    }
}

Pending_File::~Pending_File()
{
    if (!committed) ::unlink(temp.c_str());
    release_slot();
}

void Pending_File::commit()
{
    if (::rename(temp.c_str(), target.c_str()) != 0) fail("cannot write " + target + ": " + std::strerror(errno));
    committed = true;
    release_slot();
}

void Pending_File::release_slot()
{
    if (slot < kMaxPending) pendingUsed[slot] = 0;
    slot = kMaxPending;
}

//--- Parameters

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

    double plain = 0.0;
    const bool isNumber = parse_number(text, plain);
    if (info.is_list()) {
        // Its texts first: a list's texts may themselves be numbers.
        if (instance.set_text(info.id, text)) return;
        if (!isNumber) {
            std::string items;
            for (Steinberg::int32 k = 0; k <= info.step_count; ++k)
                items += (k ? ", " : "") + instance.text_of(info.id, double(k) / info.step_count);
            fail(quoted(title) + " has no value " + quoted(text) + " (one of: " + items + ")");
        }
    } else if (!isNumber) {
        fail(quoted(title) + " takes a number, not " + quoted(text));
    }
    if (plain < info.plain_min() || plain > info.plain_max())
        fail(quoted(title) + " = " + text + " is out of range (" + number_text(info.plain_min()) + " to " +
             number_text(info.plain_max()) + ")");
    if (!instance.set_plain(info.id, plain)) fail("the plug-in refused " + quoted(setting));
}

} // namespace cli
