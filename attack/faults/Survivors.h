#pragma once

#include <string>
#include <vector>

// What an engine that has just started had of what was learned before it.
struct Survivors {
    struct Item {
        const char* name;
        long count;
    };

    // `log` is what the start logged at level 2, `directory` its data directory.
    Survivors(const std::string& directory, const std::string& log);

    std::vector<Item> items;
    bool scoredNetwork = false;  // whose predictions the evaluation counts

    std::string toString() const;
};

// How much of what there was before a run, and of what the run itself came to when nothing failed,
// has survived it.
enum class Verdict {
    SAME,   // all of it
    SHORT,  // what there was before, and not all of the run's
    LOST,   // less than there was before
};

struct Judgement {
    Verdict verdict = Verdict::SAME;
    std::string what;  // which items, with their counts
};

Judgement judge(const Survivors& survivors, const Survivors& before, const Survivors& undisturbed);
