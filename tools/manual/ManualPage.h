#pragma once

#include <string>

#include "tools/common/CommandOutline.h"

// The program's man page, with every verb and option, in the man macros of roff. `version` is the
// program's name and version.
std::string manualPage(const CommandOutline& program, const std::string& version);
