#pragma once

#include <functional>
#include <string>

#include "tools/synth/Diary.h"

// Writes a person's trace piece by piece as CSV with the header time,package: ISO 8601 in UTC, a
// row for each opening. The same plan and number give the same bytes on every machine. Throws
// InputError as Diary does, and what `write` throws; a `write` that returns false stops it.
void writeSynthCsv(const SynthPlan& plan, uint64_t user,
                   const std::function<bool(const std::string& piece)>& write);
