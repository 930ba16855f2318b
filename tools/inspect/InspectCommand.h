#pragma once

#include "tools/common/Verb.h"

// ksbrain inspect: what the engine's files hold, and whether they are whole.
Verb makeInspectVerb();
