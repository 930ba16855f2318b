#pragma once

#include "tools/common/Verb.h"

// Options that several verbs have. What they set keeps its value without the option.

// --seed N, a whole number from 0 on.
void addSeedOption(Verb& verb, uint64_t& seed, const std::string& description);

// --log LEVEL; `level` receives 1..8.
void addLogOption(Verb& verb, int& level);
