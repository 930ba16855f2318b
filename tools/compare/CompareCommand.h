#pragma once

#include "tools/common/Verb.h"

// ksbrain compare: how well the engine and simple rules predict recorded traces, side by side.
Verb makeCompareVerb();
