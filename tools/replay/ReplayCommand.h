#pragma once

#include "tools/common/Verb.h"

// ksbrain replay: runs a recorded trace through the preload model and counts how well it predicts.
Verb makeReplayVerb();
