#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

// How a program that was run has ended.
struct ProgramRun {
    int status;  // its exit status, or 128 and the number of the signal that ended it
    std::string out;
    std::string err;
};

// Runs build/ksbrain with these arguments and this input to its end. `TZ` is UTC for it.
// `meanwhile` is called with its process id while it runs. `launcher` is a command that becomes the
// program, whose name and arguments follow its own.
ProgramRun runKsbrain(const std::vector<std::string>& arguments, const std::string& input = "",
                      const std::function<void(pid_t)>& meanwhile = nullptr,
                      const std::vector<std::string>& launcher = {});

// Whether the program is another machine's, which a shell of this one cannot start.
bool isEmulated();
