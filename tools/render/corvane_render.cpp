// corvane-render: renders a WAV file, or the embedded demo phrase, through the
// built plug-in module block by block, as a host would, without compensating
// its latency.

#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "hostlib/Plugin_Host.h"
#include "voicegen/Voice_Generator.h"

namespace {

const char* const kUsage =
    "usage: corvane-render [--plugin BUNDLE] [--set \"Title=value\"]... [--rate HZ] [--block N]\n"
    "                      [--write-input FILE.wav] [--list-classes] [--list-params]\n"
    "                      [IN.wav] OUT.wav\n"
    "\n"
    "Renders IN.wav (mono or stereo, any rate) through the plug-in into OUT.wav\n"
    "(32-bit float, same rate and channels, latency not compensated). Without\n"
    "IN.wav it renders the embedded demo phrase.\n"
    "\n"
    "  --plugin BUNDLE        the .vst3 bundle to load (default: the build's own)\n"
    "  --set \"Title=value\"    set a parameter by its title to a plain value, or a\n"
    "                         list parameter to one of its texts; may repeat\n"
    "  --rate HZ              sample rate of the demo phrase (default 48000)\n"
    "  --block N              host block size, 1 to 65536 (default 512)\n"
    "  --write-input FILE     also write the demo phrase that was rendered\n"
    "  --list-classes         print the module's classes and exit\n"
    "  --list-params          print the parameter table as a host sees it and exit\n"
    "  --help                 show this text\n";

struct Options {
    std::string plugin = CORVANE_DEFAULT_BUNDLE;
    std::vector<std::string> settings;
    double rate = 48000.0;
    bool rateGiven = false;
    long block = 512;
    std::string writeInput;
    bool listClasses = false;
    bool listParams = false;
    std::string input;
    std::string output;
};

[[noreturn]] void fail(const std::string& message)
{
    std::fprintf(stderr, "corvane-render: %s\n", message.c_str());
    std::exit(1);
}

bool parse_number(const std::string& text, double& value)
{
    if (text.empty()) return false;
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return end && *end == '\0' && std::isfinite(value);
}

Options parse(int argc, char** argv)
{
    Options o;
    std::vector<std::string> positional;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&](const char* name) -> std::string {
            if (i + 1 >= argc) fail(std::string(name) + " needs a value");
            return argv[++i];
        };
        if (arg == "--help" || arg == "-h") {
            std::fputs(kUsage, stdout);
            std::exit(0);
        } else if (arg == "--plugin") {
            o.plugin = value("--plugin");
        } else if (arg == "--set") {
            o.settings.push_back(value("--set"));
        } else if (arg == "--rate") {
            double rate = 0.0;
            if (!parse_number(value("--rate"), rate) || rate < 8000.0 || rate > 384000.0)
                fail("--rate takes a sample rate from 8000 to 384000 Hz");
            o.rate = rate;
            o.rateGiven = true;
        } else if (arg == "--block") {
            double block = 0.0;
            if (!parse_number(value("--block"), block) || block < 1 || block > 65536 ||
                block != std::floor(block))
                fail("--block takes a whole number from 1 to 65536");
            o.block = long(block);
        } else if (arg == "--write-input") {
            o.writeInput = value("--write-input");
        } else if (arg == "--list-classes") {
            o.listClasses = true;
        } else if (arg == "--list-params") {
            o.listParams = true;
        } else if (arg.size() > 1 && arg[0] == '-') {
            fail("unknown option " + arg + " (see --help)");
        } else {
            positional.push_back(arg);
        }
    }
    if (o.listClasses || o.listParams) return o;
    if (positional.empty()) fail("no output file given (see --help)");
    if (positional.size() > 2) fail("too many files given (see --help)");
    o.output = positional.back();
    if (positional.size() == 2) o.input = positional[0];
    if (!o.input.empty() && !o.writeInput.empty())
        fail("--write-input writes the demo phrase, which is rendered only without an input file");
    return o;
}

// Channel-major audio.
struct Audio {
    std::vector<std::vector<float>> channels;
    double rate = 0.0;
};

Audio read_wav(const std::string& path)
{
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr) fail("cannot read " + path + ": " + sf_strerror(nullptr));
    if (info.channels < 1 || info.channels > 2) {
        sf_close(file);
        fail(path + " has " + std::to_string(info.channels) + " channels; mono or stereo only");
    }
    std::vector<float> interleaved(size_t(info.frames) * size_t(info.channels));
    const sf_count_t got = sf_readf_float(file, interleaved.data(), info.frames);
    sf_close(file);
    Audio audio;
    audio.rate = info.samplerate;
    audio.channels.assign(size_t(info.channels), std::vector<float>(size_t(got)));
    for (sf_count_t i = 0; i < got; ++i) {
        for (int c = 0; c < info.channels; ++c)
            audio.channels[size_t(c)][size_t(i)] = interleaved[size_t(i) * size_t(info.channels) + size_t(c)];
    }
    return audio;
}

// Writes through a temporary file beside the target, renamed at the end, so
// a failure leaves no half-written file behind.
void write_wav(const std::string& path, const Audio& audio)
{
    const size_t slash = path.find_last_of('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash);
    std::string temp = folder + "/.corvane-render-XXXXXX";
    std::vector<char> name(temp.begin(), temp.end());
    name.push_back('\0');
    const int fd = ::mkstemp(name.data());
    if (fd < 0) fail("cannot write " + path + ": " + std::strerror(errno));
    temp = name.data();
    // mkstemp makes the file private; give it the mode any new file gets.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(fd, 0666 & ~mask);

    SF_INFO info{};
    info.samplerate = int(audio.rate);
    info.channels = int(audio.channels.size());
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* file = sf_open_fd(fd, SFM_WRITE, &info, SF_TRUE);
    if (file == nullptr) {
        ::unlink(temp.c_str());
        fail("cannot write " + path + ": " + sf_strerror(nullptr));
    }
    const size_t frames = audio.channels.empty() ? 0 : audio.channels[0].size();
    std::vector<float> interleaved(frames * audio.channels.size());
    for (size_t i = 0; i < frames; ++i) {
        for (size_t c = 0; c < audio.channels.size(); ++c)
            interleaved[i * audio.channels.size() + c] = audio.channels[c][i];
    }
    const sf_count_t written = sf_writef_float(file, interleaved.data(), sf_count_t(frames));
    const int closed = sf_close(file);
    if (written != sf_count_t(frames) || closed != 0 || ::rename(temp.c_str(), path.c_str()) != 0) {
        ::unlink(temp.c_str());
        fail("cannot write " + path);
    }
}

void apply_setting(hostlib::Instance& instance, const std::string& setting)
{
    const size_t eq = setting.find('=');
    if (eq == std::string::npos) fail("--set takes \"Title=value\", not \"" + setting + "\"");
    const std::string title = setting.substr(0, eq);
    const std::string text = setting.substr(eq + 1);
    hostlib::Parameter_Info info;
    if (!instance.find_parameter(title, info)) fail("no parameter titled \"" + title + "\"");

    const bool isList = (info.flags & Steinberg::Vst::ParameterInfo::kIsList) != 0;
    double plain = 0.0;
    if (isList && !parse_number(text, plain)) {
        if (!instance.set_text(info.id, text))
            fail("\"" + text + "\" is not a value of \"" + title + "\"");
        return;
    }
    if (!parse_number(text, plain)) fail("\"" + title + "\" takes a number, not \"" + text + "\"");
    const double low = instance.plain_of(info.id, 0.0);
    const double high = instance.plain_of(info.id, 1.0);
    if (plain < std::fmin(low, high) || plain > std::fmax(low, high)) {
        char range[128];
        std::snprintf(range, sizeof range, "%g to %g", std::fmin(low, high), std::fmax(low, high));
        fail("\"" + title + "\" = " + text + " is out of range (" + range + ")");
    }
    if (!instance.set_plain(info.id, plain)) fail("the plug-in refused \"" + setting + "\"");
}

// One line per parameter: id, title, short title, units, plain range,
// default, steps and flags.
void list_parameters(hostlib::Instance& instance)
{
    using Steinberg::Vst::ParameterInfo;
    std::printf("%-4s %-24s %-6s %-10s %-22s %-14s %-5s %s\n", "id", "title", "short", "units",
                "range", "default", "steps", "flags");
    for (const auto& p : instance.parameters()) {
        char range[64], fallback[64];
        std::snprintf(range, sizeof range, "%g .. %g", instance.plain_of(p.id, 0.0),
                      instance.plain_of(p.id, 1.0));
        std::snprintf(fallback, sizeof fallback, "%g", instance.plain_of(p.id, p.default_normalized));
        std::string text = instance.text_of(p.id, p.default_normalized);
        if (text.empty()) text = fallback;
        std::string flags;
        const struct {
            Steinberg::int32 bit;
            const char* name;
        } names[] = {{ParameterInfo::kCanAutomate, "automate"}, {ParameterInfo::kIsReadOnly, "read-only"},
                     {ParameterInfo::kIsList, "list"}, {ParameterInfo::kIsHidden, "hidden"},
                     {ParameterInfo::kIsBypass, "bypass"}};
        for (const auto& n : names) {
            if (p.flags & n.bit) flags += (flags.empty() ? "" : ",") + std::string(n.name);
        }
        std::printf("%-4u %-24s %-6s %-10s %-22s %-14s %-5d %s\n", p.id, p.title.c_str(),
                    p.short_title.c_str(), p.units.c_str(), range, text.c_str(), p.step_count,
                    flags.c_str());
    }
}

} // namespace

int main(int argc, char** argv)
{
    const Options options = parse(argc, argv);

    std::string error;
    auto module = hostlib::Module::load(options.plugin, error);
    if (!module) fail(error);

    if (options.listClasses) {
        std::printf("factory vendor: %s\n", module->factory_vendor().c_str());
        for (const auto& c : module->classes()) {
            std::printf("class \"%s\"  category \"%s\"  sub-categories \"%s\"  vendor \"%s\"  "
                        "version \"%s\"  SDK \"%s\"\n",
                        c.name.c_str(), c.category.c_str(), c.sub_categories.c_str(),
                        c.vendor.c_str(), c.version.c_str(), c.sdk_version.c_str());
        }
        return 0;
    }

    if (options.listParams) {
        auto instance = hostlib::Instance::create(*module, "", error);
        if (!instance) fail(error);
        list_parameters(*instance);
        return 0;
    }

    Audio input;
    if (options.input.empty()) {
        input.rate = options.rate;
        input.channels.push_back(voicegen::render_demo_phrase(options.rate));
    } else {
        input = read_wav(options.input);
        if (options.rateGiven && input.rate != options.rate)
            fail("--rate " + std::to_string(long(options.rate)) + " differs from the rate of " +
                 options.input + " (" + std::to_string(long(input.rate)) + " Hz)");
    }
    const int channels = int(input.channels.size());

    auto instance = hostlib::Instance::create(*module, "", error);
    if (!instance) fail(error);
    if (!instance->set_channels(channels, channels))
        fail("the plug-in refuses " + std::to_string(channels) + " channels");
    if (!instance->setup(input.rate, Steinberg::int32(options.block), true))
        fail("the plug-in refuses a rate of " + std::to_string(long(input.rate)) + " Hz");
    for (const auto& setting : options.settings) apply_setting(*instance, setting);
    if (!instance->activate(true)) fail("the plug-in failed to activate");

    Audio output;
    output.rate = input.rate;
    const auto start = std::chrono::steady_clock::now();
    instance->process_all(input.channels, output.channels, Steinberg::int32(options.block));
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const Steinberg::uint32 latency = instance->latency();
    instance->activate(false);

    if (!options.writeInput.empty()) write_wav(options.writeInput, input);
    write_wav(options.output, output);

    const double audioSeconds = double(input.channels[0].size()) / input.rate;
    std::printf("latency: %u samples (%.1f ms)\n", latency, 1000.0 * latency / input.rate);
    std::printf("rendered %.2f s of audio in %.3f s: real-time factor %.4f (%.0fx faster than real time)\n",
                audioSeconds, seconds, audioSeconds > 0.0 ? seconds / audioSeconds : 0.0,
                seconds > 0.0 ? audioSeconds / seconds : 0.0);
    return 0;
}
