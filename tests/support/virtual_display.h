#pragma once

// An X server of a test's own (Xvfb) on a display number the server picks
// itself, so that test programs running side by side never share one.

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>

namespace test_x11 {

inline bool haveXvfb()
{
    return std::system("command -v Xvfb > /dev/null 2>&1") == 0;
}

class VirtualDisplay {
public:
    // screen: "WIDTHxHEIGHTxDEPTH" of screen 0.
    explicit VirtualDisplay(const char* screen = "640x480x24")
    {
        int fds[2];
        if (::pipe(fds) != 0) return;
        pid = ::fork();
        if (pid == 0) {
            ::close(fds[0]);
            const std::string fd = std::to_string(fds[1]);
            ::execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", screen, "-nolisten", "tcp", "-noreset",
                     static_cast<char*>(nullptr));
            ::_exit(127);
        }
        ::close(fds[1]);
        if (pid < 0) {
            ::close(fds[0]);
            return;
        }
        // The server writes its display number once it accepts clients.
        std::string number;
        char c;
        while (::read(fds[0], &c, 1) == 1 && c != '\n') number += c;
        ::close(fds[0]);
        if (!number.empty()) name = ":" + number;
    }
    ~VirtualDisplay()
    {
        if (pid > 0) {
            ::kill(pid, SIGTERM);
            ::waitpid(pid, nullptr, 0);
        }
    }
    VirtualDisplay(const VirtualDisplay&) = delete;
    VirtualDisplay& operator=(const VirtualDisplay&) = delete;

    bool ok() const { return !name.empty(); }
    // ":N", for XOpenDisplay and DISPLAY.
    std::string name;

private:
    pid_t pid = -1;
};

} // namespace test_x11
