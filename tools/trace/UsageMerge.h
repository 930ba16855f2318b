#pragma once

#include "tools/trace/UsageEvent.h"

// Puts a section's events into the order in which they happened: turns it round when more of its
// steps lead back than forth. `leaning` decides when there are as many: it is negative for a file
// that is newest first otherwise.
void orderOldestFirst(UsageEvents& section, int leaning);

// The steps forth in the section less those back, as a sign.
int leaningOf(const UsageEvents& section);

// What the sections, each oldest first, tell together. They are views of the same history: what
// stands in two of them in the same order happened once, what stands twice in one of them happened
// twice. Each section's own order is kept, even where a clock was set back.
UsageEvents mergeSections(std::vector<UsageEvents> sections);
