#pragma once

#include "tools/common/Verb.h"

// ksbrain convert: a trace of any kind as CSV.
Verb makeConvertVerb();
