#pragma once

#include "tools/common/Verb.h"

// Runs the verb that is named on the command line, or prints what --help and --version ask for.
// Returns the exit status. Throws InputError when the command line cannot be used, and what the
// verb throws.
int runCommandLine(const Program& program, int argc, char** argv);
