#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <vector>

#include "tools/synth/Person.h"
#include "tools/synth/Rhythm.h"

// What is to be made up. A person depends on the seed and the person's number, and on `apps` and
// `perDay`, but not on how long the trace is: a shorter one is the beginning of a longer one.
struct SynthPlan {
    uint64_t seed = 1;
    time_t start = 1709510400;         // 2024-03-04, a Monday: 00:00 UTC of the first day
    std::optional<int> days;           // the trace ends with whichever comes first
    std::optional<uint64_t> openings;  //
    std::optional<size_t> apps;        // on the phone at first, from 2 on; else the person's own
    std::optional<double> perDay;      // openings, about; else the person's own
};

// Throws InputError when the days of the plan go beyond the calendar of traces, which ends with the
// year 2099.
void requireCalendar(const SynthPlan& plan);

struct SynthOpening {
    time_t time;   // seconds since the epoch, never less than that of the opening before
    uint64_t app;  // its number in the catalogue
};

// The days of an invented person, who lives by UTC.
class Diary {
  public:
    Diary(const SynthPlan& plan, uint64_t user);

    // The openings of the next day, none on a quiet one; nothing when the trace has ended. Throws
    // InputError when the calendar is over before the openings of the plan are made.
    std::optional<std::vector<SynthOpening>> nextDay();

    const Phone& phone() const { return mPerson.phone(); }

  private:
    Diary(const Diary&) = delete;
    Diary& operator=(const Diary&) = delete;

    const SynthPlan mPlan;
    Random mRandom;
    Rhythm mRhythm;
    Person mPerson;
    int mDay = 0;
    uint64_t mOpenings = 0;
};
