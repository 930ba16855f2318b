#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "tools/compare/Method.h"

// What is counted of openings, in whole numbers, which add up exactly.
//
// An opening counts when its name is another than the one in front: a daemon has nothing to preload
// before the first and for a repeat. So the name in front is struck from every list, and takes no
// place of it.

// A hit is an opening whose application stood among so many first names of the list made before it.
constexpr std::array<uint32_t, 3> DEPTHS = {1, 4, 8};
constexpr size_t FIRST_FOUR = 1;  // of these

// In JSON, "top4".
inline std::string depthKey(uint32_t depth) {
    return "top" + std::to_string(depth);
}

// Some openings, and how many of them were hits of each method at each depth.
struct HitCounts {
    uint64_t openings = 0;
    std::array<std::array<uint64_t, DEPTHS.size()>, METHODS.size()> hits{};

    // Takes in openings that stood at this rank of the method's list, 0 for not on it.
    void addHits(size_t method, uint32_t rank, uint64_t count = 1) {
        for (size_t depth = 0; depth < DEPTHS.size(); ++depth) {
            if (rank > 0 && rank <= DEPTHS[depth]) hits[method][depth] += count;
        }
    }
};

// Of each simple rule at each depth, the openings that were a hit of either the engine or the rule,
// but not of both: what the spread of the difference between them comes from.
using SplitCounts = std::array<std::array<uint64_t, DEPTHS.size()>, RULES>;

struct PairedCounts {
    HitCounts counts;
    SplitCounts split{};
};

// How many openings stood at each rank of a list, from 1.
using RankCounts = std::map<uint32_t, uint64_t>;

struct MethodScore {
    uint64_t answered = 0;                    // openings before which it had an answer
    PlaceCounts unused{};                     // see UnusedPreloads.h
    std::map<std::string, RankCounts> ranks;  // by day, without the openings not on its list
};

using MethodScores = std::array<MethodScore, METHODS.size()>;

// The openings that the engine answered by one predictor, by the other and not at all, and the
// trainings that ended meanwhile.
enum Answer : size_t { BY_BAYES, BY_NETWORK, NO_ANSWER, TRAININGS };
using AnswerCounts = std::array<uint64_t, 4>;

// What the engine counts itself, BY_BAYES and BY_NETWORK: the openings it scored, repeats among
// them, and of these the ones that the predictor's whole list had first and among the first four.
using OwnCounts = std::array<std::array<uint64_t, 3>, 2>;

inline void addCounts(uint64_t& sum, uint64_t counts) {
    sum += counts;
}

template <typename Counts, size_t SIZE>
void addCounts(std::array<Counts, SIZE>& sum, const std::array<Counts, SIZE>& counts) {
    for (size_t i = 0; i < SIZE; ++i) addCounts(sum[i], counts[i]);
}

inline void addCounts(HitCounts& sum, const HitCounts& counts) {
    sum.openings += counts.openings;
    addCounts(sum.hits, counts.hits);
}

inline void addCounts(PairedCounts& sum, const PairedCounts& counts) {
    addCounts(sum.counts, counts.counts);
    addCounts(sum.split, counts.split);
}

template <typename Key, typename Counts>
void addCounts(std::map<Key, Counts>& sum, const std::map<Key, Counts>& counts) {
    for (const auto& [key, value] : counts) addCounts(sum[key], value);
}

inline void addCounts(MethodScore& sum, const MethodScore& counts) {
    sum.answered += counts.answered;
    addCounts(sum.unused, counts.unused);
    addCounts(sum.ranks, counts.ranks);
}
