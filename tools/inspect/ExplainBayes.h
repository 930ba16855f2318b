#pragma once

#include "tools/inspect/Explanation.h"

// The part of explain() for the Bayes model; `result` holds the moment and the two names.
void explainBayes(const EngineStart& start, size_t top, Explanation& result);
