// corvane-snapshot run as a user runs it: the picture it writes is the one
// the module's editor draws for the same settings, and every mistake is one
// line on stderr, a non-zero exit and no file.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "support/editor_host.h"
#include "support/tool_run.h"
#include "support/picture.h"
#include "support/ui_layout.h"

using test_host::PluginInstance;
using test_panel::Picture;

namespace {

const std::string kTool = CORVANE_SNAPSHOT_PATH;

using test_tool::files_in;
using test_tool::Result;
using test_tool::slurp;

// An empty folder of the running test's own.
std::string emptyFolder()
{
    const std::string folder = test_host::scratchFolder("snapshot_tool");
    for (const auto& name : files_in(folder)) std::remove((folder + "/" + name).c_str());
    return folder;
}

Result run(const std::string& folder, const std::vector<std::string>& args)
{
    return test_tool::run(kTool, folder, args);
}

} // namespace

TEST(SnapshotTool, WritesWhatTheEditorDrawsForTheSameSettings)
{
    const std::string folder = emptyFolder();
    test_panel::UiLayout layout;
    ASSERT_TRUE(layout.load(test_host::resourcePath("Corvane_Editor.uidesc"), "Corvane_Editor")) << layout.error();

    struct Row {
        const char* name;
        std::vector<std::string> settings;  // title, text
        const char* dialog = nullptr;
    };
    const Row rows[] = {
        {"default", {}},
        {"retune", {"Retune Speed", "400"}},
        {"graph", {"Correction Mode", "Graph"}},
        {"both", {"Transpose", "12", "Correction Mode", "Graph"}},
        {"options", {}, "options"},
        {"hint", {"Correction Mode", "Graph"}, "paste-hint"},
    };
    std::vector<Picture> written;
    for (const Row& row : rows) {
        std::vector<std::string> args;
        PluginInstance plugin;
        ASSERT_TRUE(plugin.ok()) << plugin.error;
        for (size_t i = 0; i < row.settings.size(); i += 2) {
            args.push_back("--set");
            args.push_back(row.settings[i] + "=" + row.settings[i + 1]);
            ASSERT_TRUE(plugin.setText(row.settings[i], row.settings[i + 1])) << row.name;
        }
        if (row.dialog) {
            args.push_back("--open-dialog");
            args.push_back(row.dialog);
        }
        const std::string path = folder + "/" + row.name + ".png";
        args.push_back(path);
        const Result r = run(folder, args);
        ASSERT_EQ(r.status, 0) << row.name << ": " << r.err;
        EXPECT_EQ(r.out, path + ": " + std::to_string(layout.templateRect().width) + " x " +
                             std::to_string(layout.templateRect().height) + "\n");
        const Picture picture = test_panel::readPNG(path);
        ASSERT_EQ(picture.width, layout.templateRect().width) << row.name;
        ASSERT_EQ(picture.height, layout.templateRect().height) << row.name;

        const std::string direct = folder + "/" + row.name + "-direct.png";
        ASSERT_EQ(plugin.snapshot(direct, 0, 0, row.dialog), Steinberg::kResultOk);
        EXPECT_EQ(test_panel::differingPixels(picture, test_panel::readPNG(direct), picture.whole()), 0)
            << row.name << ": the tool's picture is the editor's";
        written.push_back(picture);
    }
    // Each setting changed the picture.
    for (size_t i = 1; i < written.size(); ++i)
        EXPECT_GT(test_panel::differingPixels(written[0], written[i], written[0].whole()), 0) << rows[i].name;
    EXPECT_GT(test_panel::differingPixels(written[2], written[3], written[0].whole()), 0);

    // The README shows the two pages and two dialogs as the tool draws them
    // today (`make snapshots` draws them anew).
    for (const auto& [file, index] : {std::pair<const char*, int>{"panel-auto.png", 0}, {"panel-graph.png", 2},
                                      {"dialog-options.png", 4}, {"dialog-hint.png", 5}}) {
        const Picture shown = test_panel::readPNG(std::string(CORVANE_DOCS_DIR) + "/" + file);
        ASSERT_FALSE(shown.empty()) << file;
        EXPECT_EQ(test_panel::differingPixels(shown, written[size_t(index)], shown.whole()), 0)
            << file << " is out of date: run make snapshots";
    }
}

TEST(SnapshotTool, DrawsAtTheSizeAsked)
{
    const std::string folder = emptyFolder();
    // The limits and sizes between them; "--size=WxH" is the same option.
    const std::pair<std::vector<std::string>, std::pair<int, int>> rows[] = {
        {{"--size", "850x630"}, {850, 630}},   {{"--size", "1000x700"}, {1000, 700}},
        {{"--size", "4000x630"}, {4000, 630}}, {{"--size", "850x1200"}, {850, 1200}},
        {{"--size=900x640"}, {900, 640}},
    };
    for (const auto& [options, size] : rows) {
        const std::string path = folder + "/" + std::to_string(size.first) + "x" + std::to_string(size.second) + ".png";
        std::vector<std::string> args = options;
        args.push_back(path);
        const Result r = run(folder, args);
        ASSERT_EQ(r.status, 0) << options[0] << ": " << r.err;
        const Picture picture = test_panel::readPNG(path);
        EXPECT_EQ(picture.width, size.first) << path;
        EXPECT_EQ(picture.height, size.second) << path;
    }
}

TEST(SnapshotTool, MistakesAreOneLineOnStderrAndLeaveNoFile)
{
    const std::string folder = emptyFolder();
    const std::string out = folder + "/panel.png";
    // A picture from an earlier run stays as it was when a run fails.
    const std::string kept = folder + "/kept.png";
    ASSERT_EQ(run(folder, {kept}).status, 0);
    const std::string keptBytes = slurp(kept);
    ASSERT_FALSE(keptBytes.empty());

    // A hidden read-only parameter, if the plug-in has one.
    std::string readOnlyTitle;
    {
        PluginInstance plugin;
        ASSERT_TRUE(plugin.ok()) << plugin.error;
        for (const auto& p : plugin.instance->parameters()) {
            if (p.flags & Steinberg::Vst::ParameterInfo::kIsReadOnly) {
                readOnlyTitle = p.title;
                break;
            }
        }
    }

    struct Row {
        std::vector<std::string> args;
        std::string message;
    };
    std::vector<Row> rows = {
        {{"--set", "No Such Knob=1", out}, "no parameter titled \"No Such Knob\""},
        {{"--set", "Retune Speed=fast", out}, "\"Retune Speed\" takes a number, not \"fast\""},
        {{"--set", "Correction Mode=Sideways", out},
         "\"Correction Mode\" has no value \"Sideways\" (one of: Auto, Graph)"},
        {{"--set", "Retune Speed", out}, "--set takes \"Title=value\""},
        {{"--set", "Retune Speed=20", "--set", "Nope=2", out}, "no parameter titled \"Nope\""},
        {{"--size", out}, "--size takes WIDTHxHEIGHT"},
        {{"--plugin", folder + "/missing.vst3", out}, folder + "/missing.vst3"},
        {{"--plugin", kept, out}, kept},
        {{}, "no output file given"},
        {{out, folder + "/second.png"}, "too many files"},
        {{"--colour", out}, "unknown option --colour"},
        {{"--open-dialog", "about", kept}, "no dialog called \"about\""},
        {{"--help=yes", out}, "--help takes no value"},
        {{folder + "/no-such-folder/panel.png"}, "cannot write " + folder + "/no-such-folder/panel.png"},
        // A failed run over an existing picture leaves it as it was.
        {{"--set", "Correction Mode=Graph", "--set", "Bad=1", kept}, "no parameter titled \"Bad\""},
    };
    // Sizes outside the editor's limits, 850..4000 by 630..4000, or not WxH.
    for (const char* size : {"849x630", "850x629", "4001x630", "850x4001", "1000", "-900x700", "900x700x2"})
        rows.push_back({{"--size", size, out}, "--size takes WIDTHxHEIGHT"});
    if (!readOnlyTitle.empty())
        rows.push_back({{"--set", readOnlyTitle + "=1", out}, "parameter \"" + readOnlyTitle + "\" is read-only"});

    for (const Row& row : rows) {
        std::string shown;
        for (const auto& a : row.args) shown += " " + a;
        const Result r = run(folder, row.args);
        EXPECT_NE(r.status, 0) << shown;
        EXPECT_EQ(r.out, "") << shown;
        EXPECT_EQ(r.err.rfind("corvane-snapshot: ", 0), 0u) << shown << ": " << r.err;
        EXPECT_NE(r.err.find(row.message), std::string::npos) << shown << ": " << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << shown << ": " << r.err;
        EXPECT_EQ(files_in(folder), std::vector<std::string>{"kept.png"}) << shown;
        EXPECT_EQ(slurp(kept), keptBytes) << shown;
    }

    // Help tells the options and writes nothing.
    const Result help = run(folder, {"--help", out});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_EQ(help.out.rfind("usage: corvane-snapshot [options] OUT.png\n", 0), 0u) << help.out;
    for (const char* option : {"--plugin BUNDLE", "--set \"Title=value\"", "--size WxH", "--help"})
        EXPECT_NE(help.out.find(option), std::string::npos) << option;
    EXPECT_EQ(files_in(folder), std::vector<std::string>{"kept.png"});
}
