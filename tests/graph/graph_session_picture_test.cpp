// The Graph page drawn by corvane-snapshot with a known session loaded: the
// demo phrase tracked by corvane-render and made into notes on the
// semitones. The picture is compared with the one in the docs, which the
// build drew, so that an unintended change of the graph's look fails here.

#include <gtest/gtest.h>

#include <string>

#include "support/picture.h"
#include "support/tool_run.h"

#ifndef CORVANE_RENDER_PATH
#error "CORVANE_RENDER_PATH must name corvane-render"
#endif

TEST(GraphSessionPicture, ATrackedPhraseWithNotesLooksAsTheDocsShowIt)
{
    const std::string folder = test_tool::empty_test_folder(std::string(CORVANE_TEST_TMP) + "/graph_session");
    const std::string data = folder + "/data";
    const std::string tracked = folder + "/tracked.state", noted = folder + "/noted.state";
    auto run = [&](const std::string& tool, const std::vector<std::string>& args) {
        const test_tool::Result r = test_tool::run(tool, folder, args);
        EXPECT_EQ(r.status, 0) << tool << ": " << r.err;
        return r.status == 0;
    };
    ASSERT_TRUE(run(CORVANE_RENDER_PATH, {"--data-folder", data, "--set", "Correction Mode=Graph", "--press",
                                          "Track Pitch", "--save-state", tracked, folder + "/tracked.wav"}));
    ASSERT_TRUE(run(CORVANE_RENDER_PATH, {"--data-folder", data, "--load-state", tracked, "--snap", "--object-retune",
                                          "0", "--press", "Make Notes", "--save-state", noted, folder + "/noted.wav"}));
    const std::string picture = folder + "/graph.png";
    ASSERT_TRUE(run(CORVANE_SNAPSHOT_PATH, {"--load-state", noted, picture}));

    const test_panel::Picture drawn = test_panel::readPNG(picture);
    const test_panel::Picture reference = test_panel::readPNG(std::string(CORVANE_DOCS_DIR) + "/panel-graph-session.png");
    const test_panel::Picture empty = test_panel::readPNG(std::string(CORVANE_DOCS_DIR) + "/panel-graph.png");
    ASSERT_FALSE(drawn.empty());
    ASSERT_FALSE(reference.empty()) << "docs/panel-graph-session.png is missing";
    ASSERT_EQ(drawn.width, reference.width);
    ASSERT_EQ(drawn.height, reference.height);
    // A few pixels of smoothing may fall otherwise on another build; the
    // session's take and notes differ from the empty page in thousands.
    EXPECT_LE(test_panel::differingPixels(drawn, reference, reference.whole()), 200)
        << "docs/panel-graph-session.png is out of date, or the graph's look changed";
    EXPECT_GT(test_panel::differingPixels(drawn, empty, empty.whole()), 5000);
}
