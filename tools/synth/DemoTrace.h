#pragma once

#include <cstdint>
#include <string>

// Eight weeks of an invented person's phone as a .csv trace: some ten thousand openings of some
// sixty apps. The person has habits by hour, weekday and previous app, short loops between two
// apps, a favourite few and a long tail; the habits drift from week to week, and a new game catches
// on and fades. Nights are quiet. A seed is a person: the same one gives the same bytes everywhere.
//
// The person lives by UTC, from Monday 2024-03-04 on.
std::string makeDemoTrace(uint64_t seed);
