#pragma once

#include <optional>
#include <string>
#include <vector>

// The trace files that a command line means, in its order: each argument is a file, "-" for
// standard input, or a directory, which stands for all files in and below it but those whose name
// begins with a dot, in order of their paths. `listFile` ("-" for standard input) holds more of
// them, one a line. Throws InputError when nothing is left, a file occurs twice, or a directory or
// the list cannot be read.
std::vector<std::string> listTraces(const std::vector<std::string>& arguments,
                                    const std::optional<std::string>& listFile);
