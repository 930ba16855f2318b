#pragma once

#include <string>

namespace CLI {
class App;
}

// What --help prints, laid out for 80 columns; `name` is the command with the program's, "ksbrain
// replay".
std::string helpText(const CLI::App& command, const std::string& name);

// The verbs alone, for who has named none.
std::string overview(const CLI::App& program);
