#pragma once

#include <chrono>
#include <ctime>
#include <string_view>

// A moment of a trace, since the epoch. The engine's clock counts whole seconds; the order of what
// happens is kept to the microsecond.
using TraceTime = std::chrono::microseconds;

// The moment as the engine's clock shows it.
inline time_t wholeSeconds(TraceTime time) {
    return std::chrono::floor<std::chrono::seconds>(time).count();
}

constexpr TraceTime TRACE_TIME_END = std::chrono::seconds(4102444800);  // 2100-01-01T00:00:00Z

// Reads a time as traces hold it, from 1970 to 2099: seconds since the epoch, whole or decimal, or
// ISO 8601 as 2024-03-01T08:05:09 (a blank may stand for the T, seconds and their fraction may be
// left out), followed by Z, +02:00, +0200, +02 or nothing, which means local time. Digits below the
// microsecond are dropped.
//
// When the clocks are set back a local time happens twice: the first that is not before `notBefore`
// is meant. Throws InputError, saying what is wrong with the text.
TraceTime parseTraceTime(std::string_view text, TraceTime notBefore);
