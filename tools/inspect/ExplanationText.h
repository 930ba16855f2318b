#pragma once

#include <string>

#include "tools/inspect/Explanation.h"

// An explanation for people, and as one JSON object.
std::string explanationText(const Explanation& explanation);
std::string explanationJson(const Explanation& explanation);
