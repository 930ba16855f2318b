#include "tools/report/HitCounts.h"

void HitCounts::addHits(size_t method, uint32_t rank, uint64_t count) {
    if (rank == 0) return;
    for (size_t depth = 0; depth < DEPTHS.size(); ++depth) {
        if (rank <= DEPTHS[depth]) hits[method][depth] += count;
    }
}

void HitCounts::add(const HitCounts& other) {
    openings += other.openings;
    for (size_t method = 0; method < hits.size(); ++method) {
        for (size_t depth = 0; depth < DEPTHS.size(); ++depth) {
            hits[method][depth] += other.hits[method][depth];
        }
    }
}

double HitCounts::rate(size_t method, size_t depth) const {
    if (openings == 0) return 0;
    return static_cast<double>(hits[method][depth]) / static_cast<double>(openings);
}

void AnswerCounts::add(const AnswerCounts& other) {
    bayes += other.bayes;
    network += other.network;
    none += other.none;
    trainings += other.trainings;
}

void to_json(Json& json, const HitCounts& counts) {
    json = {counts.openings, counts.hits};
}

void from_json(const Json& json, HitCounts& counts) {
    json.at(0).get_to(counts.openings);
    json.at(1).get_to(counts.hits);
}

void to_json(Json& json, const AnswerCounts& counts) {
    json = {counts.bayes, counts.network, counts.none, counts.trainings};
}

void from_json(const Json& json, AnswerCounts& counts) {
    json.at(0).get_to(counts.bayes);
    json.at(1).get_to(counts.network);
    json.at(2).get_to(counts.none);
    json.at(3).get_to(counts.trainings);
}
