#pragma once

#include "tools/common/Verb.h"

// ksbrain completion: a script by which bash completes the verbs, options, literal values, files
// and directories of the program, which must live as long as the verb.
Verb makeCompletionVerb(const Program& program);
