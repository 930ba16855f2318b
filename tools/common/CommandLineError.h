#pragma once

#include <string>

namespace CLI {
class App;
}

// What is wrong with a command line that the parser has refused with this message: one line that
// names the nearest verb or option where there is one, and otherwise says where help is.
std::string commandLineError(const CLI::App& program, const std::string& message);
