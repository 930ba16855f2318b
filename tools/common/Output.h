#pragma once

#include <stdexcept>
#include <string>

// Nobody reads standard output any more, as after `| head`: the program ends without a word.
class OutputClosed : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Writes to standard output, through to the reader. Throws OutputClosed when the reader is gone
// (the program ignores SIGPIPE) and std::runtime_error when it fails otherwise, on a full disk for
// instance.
void writeOutput(const std::string& text);

// Prints an error as one line on standard error. A message that begins with its place, "FILE:LINE:
// ", stays as it is, so that editors find the place; any other begins with the program, "ksbrain:
// error: ".
void printError(const std::string& message);
