#pragma once

#include <array>
#include <cstdint>
#include <nlohmann/json.hpp>

#include "tools/common/JsonLine.h"
#include "tools/compare/Method.h"

// A hit is an opening whose application stood among so many first names of the list made before it.
constexpr std::array<uint32_t, 3> DEPTHS = {1, 4, 8};

// Some openings, and how many of them were hits of each method at each depth.
struct HitCounts {
    uint64_t openings = 0;
    std::array<std::array<uint64_t, DEPTHS.size()>, METHODS.size()> hits{};

    // Takes in openings that stood at this rank of the method's list, 0 for not on it.
    void addHits(size_t method, uint32_t rank, uint64_t count = 1);
    void add(const HitCounts& other);

    // The share of the openings, 0 to 1; 0 without openings.
    double rate(size_t method, size_t depth) const;
};

// The openings some predictors made a list for, and trainings that ended meanwhile.
struct AnswerCounts {
    uint64_t bayes = 0;
    uint64_t network = 0;
    uint64_t none = 0;  // openings before which there was no list
    uint64_t trainings = 0;

    void add(const AnswerCounts& other);
};

// Both as a short array of numbers, and back.
void to_json(Json& json, const HitCounts& counts);
void from_json(const Json& json, HitCounts& counts);
void to_json(Json& json, const AnswerCounts& counts);
void from_json(const Json& json, AnswerCounts& counts);
