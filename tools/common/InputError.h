#pragma once

#include <stdexcept>

// The program's exit statuses besides 0.
constexpr int EXIT_FAILED = 1;       // something failed while it ran
constexpr int EXIT_BAD_INPUT = 2;    // the command line or a file cannot be used
constexpr int EXIT_SIGNALLED = 128;  // and the number of the signal that ended it

// Input that cannot be used. The message is one line for the user.
class InputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};
