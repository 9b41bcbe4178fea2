#include "render/Output_Files.h"

#include <limits.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cassert>
#include <cerrno>
#include <cstring>

#include "cli/Tool_Support.h"

namespace render {

namespace {

using cli::fail;

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
// The longest path the handler's table holds, and the longest name a folder
// entry may have, in bytes with the terminating zero.
constexpr size_t kMaxPathBytes = PATH_MAX;
constexpr size_t kMaxNameBytes = NAME_MAX + 1;

// The temporaries not yet renamed, for the signal handler. Changed only with
// the three signals held, so the handler never sees a half-written entry.
char temporaryPaths[Output_Files::kMaxFiles][kMaxPathBytes];
volatile sig_atomic_t temporaryUsed[Output_Files::kMaxFiles];

// Async-signal-safe: unlink, signal and raise only. The signal is held while
// the handler runs, so the raised one ends the process once it returns.
extern "C" void remove_temporaries_and_raise(int signal)
{
    for (int i = 0; i < Output_Files::kMaxFiles; ++i) {
        if (temporaryUsed[i]) ::unlink(temporaryPaths[i]);
    }
    ::signal(signal, SIG_DFL);
    ::raise(signal);
}

// Holds SIGINT, SIGTERM and SIGHUP for its lifetime; one that comes
// meanwhile is delivered at the end.
class Signals_Held {
public:
    Signals_Held()
    {
        sigset_t held;
        sigemptyset(&held);
        for (int s : kSignals) sigaddset(&held, s);
        sigprocmask(SIG_BLOCK, &held, &saved);
    }
    ~Signals_Held() { sigprocmask(SIG_SETMASK, &saved, nullptr); }
    Signals_Held(const Signals_Held&) = delete;
    Signals_Held& operator=(const Signals_Held&) = delete;

private:
    sigset_t saved;
};

[[noreturn]] void cannot_write(const std::string& target, int error)
{
    fail("cannot write " + target + ": " + std::strerror(error));
}

// The folder part of a path, ending in '/', or empty for the current folder.
std::string folder_of(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

} // namespace

Output_Files::~Output_Files()
{
    const Signals_Held held;
    for (size_t i = 0; i < files.size(); ++i) {
        if (files[i].temporary.empty()) continue;
        ::unlink(files[i].temporary.c_str());
        forget(int(i));
    }
}

int Output_Files::claim(const std::string& target, const std::string& what)
{
    assert(files.size() < size_t(kMaxFiles) && "Output_Files::claim: more outputs than the handler's table holds");
    const std::string folder = folder_of(target);
    const std::string name = target.substr(folder.size());
    if (name.empty() || name == "." || name == "..") cannot_write(target, EISDIR);

    // Two spellings of one file ("out.wav", "./out.wav") are one identity.
    char* real = ::realpath(folder.empty() ? "." : folder.c_str(), nullptr);
    const std::string identity = real != nullptr ? std::string(real) + "/" + name : target;
    ::free(real);
    for (const File& f : files) {
        if (f.identity == identity) fail(what + " and " + f.what + " name the same file");
    }

    struct stat status;
    if (::stat(target.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode)) cannot_write(target, EISDIR);
        if (::access(target.c_str(), W_OK) != 0) cannot_write(target, errno);
    } else if (errno != ENOENT) {
        cannot_write(target, errno);
    }
    if (::access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) != 0) cannot_write(target, errno);
    files.push_back({target, identity, what, {}});
    return int(files.size()) - 1;
}

const std::string& Output_Files::temporary(int index)
{
    File& f = files[size_t(index)];
    assert(f.temporary.empty() && "Output_Files::temporary: the output has a temporary already");
    const std::string folder = folder_of(f.target);
    std::string name = f.target.substr(folder.size());
    const std::string suffix = "." + std::to_string(::getpid()) + ".XXXXXX";
    // ".", the name, the suffix and the zero within a folder entry's limit.
    if (1 + name.size() + suffix.size() + 1 > kMaxNameBytes) name.resize(kMaxNameBytes - 2 - suffix.size());
    const std::string pattern = folder + "." + name + suffix;
    if (pattern.size() + 1 > kMaxPathBytes) fail("cannot write " + f.target + ": the name is too long");
    char path[kMaxPathBytes];
    std::memcpy(path, pattern.c_str(), pattern.size() + 1);

    // mkstemp makes the file private; it gets the mode any new file gets.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    const Signals_Held held;
    const int fd = ::mkstemp(path);
    if (fd < 0) cannot_write(f.target, errno);
    ::fchmod(fd, 0666 & ~mask);
    ::close(fd);
    std::memcpy(temporaryPaths[index], path, pattern.size() + 1);
    temporaryUsed[index] = 1;
    f.temporary = path;
    return f.temporary;
}

void Output_Files::commit()
{
    const Signals_Held held;
    for (size_t i = 0; i < files.size(); ++i) {
        File& f = files[i];
        assert(!f.temporary.empty() && "Output_Files::commit: an output was not written");
        if (::rename(f.temporary.c_str(), f.target.c_str()) != 0) cannot_write(f.target, errno);
        forget(int(i));
    }
}

void Output_Files::forget(int index)
{
    temporaryUsed[index] = 0;
    files[size_t(index)].temporary.clear();
}

void remove_temporaries_on_signals()
{
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = remove_temporaries_and_raise;
    sigemptyset(&action.sa_mask);
    for (int s : kSignals) sigaddset(&action.sa_mask, s);
    for (int s : kSignals) {
        struct sigaction before;
        if (::sigaction(s, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
        ::sigaction(s, &action, nullptr);
    }
}

} // namespace render
