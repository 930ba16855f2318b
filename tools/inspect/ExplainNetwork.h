#pragma once

#include <string>
#include <vector>

#include "tools/inspect/Explanation.h"

// The part of explain() for the sequence network. `history` ends with the two names.
void explainNetwork(const EngineStart& start, const std::vector<std::string>& history, size_t top,
                    Explanation& result);
