#pragma once

#include <string>

#include "tools/common/CommandOutline.h"

// Scripts that complete the program's verbs, options, literal values, files and directories. Each
// is whole: it needs nothing but the shell.
std::string bashCompletion(const CommandOutline& program);
std::string zshCompletion(const CommandOutline& program);
std::string fishCompletion(const CommandOutline& program);
