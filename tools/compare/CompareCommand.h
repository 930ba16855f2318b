#pragma once

#include "tools/common/Verb.h"

// ksbrain compare: how well the engine, its predictors alone and simple rules do on a trace.
Verb makeCompareVerb();
