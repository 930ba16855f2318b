#pragma once

#include <functional>
#include <string>
#include <vector>

// One way of doing a piece of work; `round` does it many times over and returns the nanoseconds
// that one time took.
struct Contestant {
    std::string name;
    std::function<double()> round;
};

// Lets the contestants take turns, round after round, so that what slows the machine down slows all
// of them down, and prints the median of each with its ratio to the first one, the reference.
void compareInRounds(const std::vector<Contestant>& contestants, int rounds = 21);

// Keeps the calling thread on the first or the second of the process's processors (0, 1), as far as
// it has two, or frees it again: where two threads run side by side is not left to chance.
void useProcessor(int number);
void useAnyProcessor();

// The nanoseconds since an unspecified moment, and those of them in which the calling thread ran.
double nanoseconds();
double ownNanoseconds();

// Makes a round of a function: the mean over this many calls of its time, or of the time in which
// its thread ran, where nothing is waited for.
template <typename Function>
std::function<double()> meanOf(int calls, Function function, double (*clock)() = ownNanoseconds) {
    return [=] {
        const double begin = clock();
        for (int i = 0; i < calls; ++i) function();
        return (clock() - begin) / calls;
    };
}
