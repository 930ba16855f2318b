#pragma once

#include <string>

// Writes to standard output, through to the reader. Throws std::runtime_error when that fails, on a
// full disk for instance.
void writeOutput(const std::string& text);
