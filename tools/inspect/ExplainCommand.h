#pragma once

#include "tools/common/Verb.h"

// ksbrain explain: why the engine predicts what it predicts.
Verb makeExplainVerb();
