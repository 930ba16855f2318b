#pragma once

#include "tools/common/Verb.h"

// ksbrain report: judges the engine on recorded traces and writes the result as a page with charts.
Verb makeReportVerb();
