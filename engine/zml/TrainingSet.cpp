#include "zml/TrainingSet.h"

#include <numeric>

#include "zml/Recency.h"

namespace zml {

namespace {

// What an opening is worth as a target, by how many openings lie between it and the context.
constexpr std::array<float, 5> HORIZON = {1.0f, 0.1f, 0.05f, 0.025f, 0.0125f};

}  // namespace

std::vector<Example> makeTrainingSet(const std::vector<int>& ids) {
    std::vector<Example> byContext(VOCABULARY * VOCABULARY);
    const std::vector<float> recency = recencyWeights(ids.size());
    for (size_t i = CONTEXT; i < ids.size(); ++i) {
        for (size_t gap = 0; gap < HORIZON.size() && i >= gap + CONTEXT; ++gap) {
            const int context = ids[i - gap - 2] * VOCABULARY + ids[i - gap - 1];
            byContext[static_cast<size_t>(context)].target[static_cast<size_t>(ids[i])] +=
                HORIZON[gap] * recency[i];
        }
    }

    std::vector<Example> examples;
    float total = 0.0f;
    for (size_t context = 0; context < byContext.size(); ++context) {
        Example& example = byContext[context];
        example.weight = std::accumulate(example.target.begin(), example.target.end(), 0.0f);
        if (example.weight == 0.0f) continue;
        example.older = static_cast<int>(context) / VOCABULARY;
        example.newer = static_cast<int>(context) % VOCABULARY;
        for (float& share : example.target) share /= example.weight;
        total += example.weight;
        examples.push_back(example);
    }
    for (Example& example : examples) {
        example.weight *= static_cast<float>(examples.size()) / total;
    }
    return examples;
}

}  // namespace zml
