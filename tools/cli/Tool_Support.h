#pragma once

// What the command-line tools share: one-line failures, the scanning of
// options and numbers, output files that appear whole or not at all, and
// setting a plug-in's parameter by its title.

#include <string>
#include <vector>

namespace hostlib {
class Instance;
}

namespace cli {

// A user's mistake or an unusable file: the tool prints one line on stderr
// and exits with status 1.
struct Failure {
    std::string message;
};

[[noreturn]] void fail(const std::string& message);
std::string quoted(const std::string& text);
// A whole decimal number, digits only.
bool parse_whole(const std::string& text, long& value);
// A finite decimal number as the C locale writes it.
bool parse_number(const std::string& text, double& value);
// "WIDTHxHEIGHT" with each side within its limits.
bool parse_size(const std::string& text, int& width, int& height, long min_width, long min_height, long max_side);
std::string number_text(double value);

// The command line, option by option: "--name value" and "--name=value"
// alike; words that are not options, and everything after "--", are files.
class Arguments {
public:
    Arguments(int argc, char** argv) : argc(argc), argv(argv) {}
    // The next option's name, or false when the line is read.
    bool next(std::string& name);
    // The value of the option just read; fails when there is none.
    std::string value();
    // Fails when the option just read was given a value.
    void no_value();
    const std::vector<std::string>& files() const { return words; }

private:
    int argc;
    char** argv;
    int index = 0;
    bool ended = false;
    std::string name;
    std::string inline_value;
    bool has_inline = false;
    std::vector<std::string> words;
};

// A file written under a temporary name in the target's folder and renamed
// onto the target by commit, so that no half-written target is ever seen.
// Made before the work starts, so an unwritable target fails early; removed
// if never committed, also on SIGINT, SIGTERM and SIGHUP once
// remove_pending_files_on_signals has run.
class Pending_File {
public:
    // `tool` names the temporary file, as ".tool-XXXXXX".
    Pending_File(const std::string& path, const char* tool);
    ~Pending_File();
    Pending_File(const Pending_File&) = delete;
    Pending_File& operator=(const Pending_File&) = delete;

    const std::string& path() const { return temp; }
    const std::string& target_path() const { return target; }
    void commit();

private:
    void release_slot();

    std::string target;
    std::string temp;
    int slot;
    bool committed = false;
};

void remove_pending_files_on_signals();

// "Title=value": the parameter of that exact title takes the value as a host
// shows it: one of a list's texts (or its item number), or a number within
// the parameter's range.
void set_parameter(hostlib::Instance& instance, const std::string& setting);

} // namespace cli
