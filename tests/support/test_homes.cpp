// Linked into every test binary: before any test runs, the preferences and
// data folders point into the build's scratch folder, so that no test reads
// or writes the preferences or recordings of the user who runs it. Tools the
// tests start inherit them.

#include <cstdlib>
#include <string>

namespace {

const bool homesSet = [] {
    ::setenv("XDG_CONFIG_HOME", (std::string(CORVANE_TEST_TMP) + "/config").c_str(), 1);
    ::setenv("XDG_DATA_HOME", (std::string(CORVANE_TEST_TMP) + "/data").c_str(), 1);
    return true;
}();

} // namespace
