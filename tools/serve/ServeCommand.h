#pragma once

#include "tools/common/Verb.h"

// ksbrain serve: a host of libksbrain.so that is driven line by line.
Verb makeServeVerb();
