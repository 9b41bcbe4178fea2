// At the end of a test program, cairo's and fontconfig's caches of fonts
// are emptied, so that the leak checker of sanitizer builds sees only what
// the tests themselves left behind. A plug-in cannot do this: the host may
// still use both libraries.

#include <cairo.h>
#include <fontconfig/fontconfig.h>
#include <gtest/gtest.h>

namespace {

class FontCacheCleanup : public ::testing::Environment {
public:
    void TearDown() override
    {
        cairo_debug_reset_static_data();
        FcFini();
    }
};

const auto* registered = ::testing::AddGlobalTestEnvironment(new FontCacheCleanup);

} // namespace
