// Linked into every test binary: before any test runs, the preferences and
// data folders point into the build's scratch folder, so that no test reads
// or writes the preferences or recordings of the user who runs it. Each
// test process has preferences of its own, since tests run side by side
// and some save preferences. Tools the tests start inherit them.

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace {

const bool homesSet = [] {
    const std::string config = std::string(CORVANE_TEST_TMP) + "/config/" + std::to_string(::getpid());
    ::setenv("XDG_CONFIG_HOME", config.c_str(), 1);
    ::setenv("XDG_DATA_HOME", (std::string(CORVANE_TEST_TMP) + "/data").c_str(), 1);
    return true;
}();

} // namespace
