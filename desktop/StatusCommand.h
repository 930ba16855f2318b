#pragma once

#include "tools/common/Verb.h"

// ksbrain-desktop status: what has been counted since the beginning.
Verb makeStatusVerb();
