#pragma once

#include "tools/common/Verb.h"

// ksbrain report: the score of a trace, or the sum of several, as a page with charts.
Verb makeReportVerb();
