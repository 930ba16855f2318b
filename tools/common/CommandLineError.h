#pragma once

#include "tools/common/Verb.h"

// What is wrong with a command line that the parser has refused with this message: one line that
// names the nearest verb or option where there is one, and otherwise says where help is. `verb` is
// null for what stands before it, and `unknown` are the words there that the parser could not
// place.
std::string commandLineError(const Program& program, const Verb* verb,
                             const std::vector<std::string>& unknown, const std::string& message);
