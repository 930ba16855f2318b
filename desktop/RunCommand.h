#pragma once

#include "tools/common/Verb.h"

// ksbrain-desktop run: the daemon.
Verb makeRunVerb();
