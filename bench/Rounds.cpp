#include "bench/Rounds.h"

#include <sched.h>
#include <time.h>

#include <algorithm>
#include <cstdio>

namespace {

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// Those that the process had when it was first asked.
cpu_set_t allProcessors() {
    static const cpu_set_t all = [] {
        cpu_set_t processors;
        sched_getaffinity(0, sizeof(processors), &processors);
        return processors;
    }();
    return all;
}

double read(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

}  // namespace

void useProcessor(int number) {
    const cpu_set_t all = allProcessors();
    cpu_set_t one;
    CPU_ZERO(&one);
    for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (!CPU_ISSET(processor, &all) || --number >= 0) continue;
        CPU_SET(processor, &one);
        sched_setaffinity(0, sizeof(one), &one);
        return;
    }
}

void useAnyProcessor() {
    const cpu_set_t all = allProcessors();
    sched_setaffinity(0, sizeof(all), &all);
}

double nanoseconds() {
    return read(CLOCK_MONOTONIC);
}

double ownNanoseconds() {
    return read(CLOCK_THREAD_CPUTIME_ID);
}

void compareInRounds(const std::vector<Contestant>& contestants, int rounds) {
    std::vector<std::vector<double>> times(contestants.size());
    std::vector<std::vector<double>> ratios(contestants.size());
    for (int round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < contestants.size(); ++i) {
            times[i].push_back(contestants[i].round());
            ratios[i].push_back(times[i].back() / times[0].back());
        }
    }
    for (size_t i = 0; i < contestants.size(); ++i) {
        printf("  %-68s %14.1f ns %9.3f x\n", contestants[i].name.c_str(), median(times[i]),
               median(ratios[i]));
    }
    fflush(stdout);
}
