#pragma once

#include "tools/common/Verb.h"

// ksbrain synth: traces of people who are made up.
Verb makeSynthVerb();
