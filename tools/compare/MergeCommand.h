#pragma once

#include "tools/common/Verb.h"

// ksbrain merge: the results of several runs of compare as those of one.
Verb makeMergeVerb();
