#pragma once

// Running a command-line tool of ours as a user runs it, and looking at the
// folders it writes into.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace test_tool {

struct Result {
    int status;
    std::string out;
    std::string err;
};

inline std::string slurp(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

// The names in a folder, sorted.
inline std::vector<std::string> files_in(const std::string& folder)
{
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// An empty folder under `parent` of the running test's own: ctest runs the
// cases of a program side by side.
inline std::string empty_test_folder(const std::string& parent)
{
    const std::string path = parent + "/" + ::testing::UnitTest::GetInstance()->current_test_info()->name();
    std::filesystem::remove_all(path);
    std::filesystem::create_directories(path);
    return path;
}

// Runs the tool with these arguments; its output streams are caught in files
// beside the folder.
inline Result run(const std::string& tool, const std::string& folder, const std::vector<std::string>& args)
{
    auto quote = [](const std::string& s) {
        std::string q = "'";
        for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
        return q + "'";
    };
    const std::string out = folder + ".stdout";
    const std::string err = folder + ".stderr";
    std::string command = quote(tool);
    for (const auto& a : args) command += " " + quote(a);
    const int status = std::system((command + " >" + quote(out) + " 2>" + quote(err)).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(out), slurp(err)};
}

} // namespace test_tool
