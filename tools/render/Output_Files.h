#pragma once

// The files one run of a tool writes, all of them or none. Each is written
// under a hidden temporary name in its target's folder, ".NAME.PID.XXXXXX",
// and the targets are replaced, one rename after another, only once every
// file of the run is written. Temporaries not renamed are removed when the
// run fails, and on SIGINT, SIGTERM and SIGHUP once
// remove_temporaries_on_signals has run.
//
// One Output_Files per process, used from the tool's main thread only: the
// signal handler reads a table of its temporaries kept at file scope.

#include <string>
#include <vector>

namespace render {

class Output_Files {
public:
    // The outputs one run may claim; the signal handler's table is this long.
    static constexpr int kMaxFiles = 6;

    Output_Files() = default;
    // Removes the temporaries not renamed onto their targets.
    ~Output_Files();
    Output_Files(const Output_Files&) = delete;
    Output_Files& operator=(const Output_Files&) = delete;

    // Claims `target` for the option `what` ("--pitch-plot", or "the output")
    // and answers the number that names it below. Fails with one line when
    // an earlier claim names the same file, or when the user may not replace
    // it: an existing target must be a writable file, and its folder
    // writable, as the rename needs.
    int claim(const std::string& target, const std::string& what);

    // A new, empty temporary file beside the target of claim `index`, to be
    // written in its place; fails with one line naming the target.
    const std::string& temporary(int index);
    const std::string& target(int index) const { return files[size_t(index)].target; }

    // Renames every temporary onto its target in the order claimed. Every
    // claim must have its temporary written by now. The three signals are
    // held meanwhile, so they see all targets replaced or none.
    void commit();

private:
    struct File {
        std::string target;
        std::string identity;  // the folder's real path and the name
        std::string what;
        std::string temporary;  // empty until made, and again once renamed
    };

    void forget(int index);

    std::vector<File> files;
};

// Installs the handler that removes the temporaries on SIGINT, SIGTERM and
// SIGHUP and then lets the signal end the process as it would have. A signal
// the process was started ignoring stays ignored.
void remove_temporaries_on_signals();

} // namespace render
