#pragma once

#include "tools/common/Verb.h"

// ksbrain merge: what compare found on several traces, added up.
Verb makeMergeVerb();
