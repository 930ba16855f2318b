#pragma once

#include "tools/trace/UsageSections.h"

// What becomes of the lines of a dump that end too early.

// Where opening lines of a type go on behind the package, the few that stop there are cut, perhaps
// in the name's middle; so is the last line of a file that does not end with a newline.
void findCutNames(UsageSections& dump);

// A cut line is no loss when another section holds the event whole, nor is the last line of a
// capture that was ended in the middle of it. Any other is a bad line, which is counted or refused
// with LineError. `merged` is what the sections tell together.
void judgeCutLines(UsageSections& dump, DateOrder order, const std::vector<UsageEvents>& sections,
                   const UsageEvents& merged, TraceFile& file);
