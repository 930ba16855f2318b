#pragma once

#include "tools/common/Verb.h"

// ksbrain help: what --help prints, of the program or of a verb of it, for who asks that way round.
// The program must live as long as the verb.
Verb makeHelpVerb(const Program& program);
