#include "preload/Bayes.h"

#include <catch2/catch.hpp>
#include <map>
#include <random>
#include <string>

namespace {

constexpr int APPS = 300;
constexpr int SAMPLES = 3000;

struct Batch {
    std::vector<std::vector<int>> X;
    std::vector<int> Y;
};

Batch makeBatch() {
    std::mt19937 random(1);
    Batch batch;
    for (int i = 0; i < SAMPLES; ++i) {
        const auto app = [&] { return static_cast<int>(random() % APPS); };
        batch.X.push_back(
            {static_cast<int>(random() % 48), static_cast<int>(random() % 2), app(), app()});
        batch.Y.push_back(app());
    }
    return batch;
}

// The plain way: one key formatted and looked up for every class and feature.
float lookUpEach(std::map<std::string, int>& counts, const std::vector<int>& x) {
    float sum = 0;
    for (int y = 0; y < APPS; ++y) {
        float score = 1;
        for (size_t i = 0; i < x.size(); ++i) {
            char key[64];
            snprintf(key, sizeof(key), "%d:%d:%d", static_cast<int>(i), x[i], y);
            score *= static_cast<float>(counts[key] + 1) / 100.0F;
        }
        sum += score;
    }
    return sum;
}

}  // namespace

TEST_CASE("Bayes: one prediction over 300 applications") {
    const Batch batch = makeBatch();
    const std::vector<int> x = {20, 1, 17, 42};
    std::map<std::string, int> counts;
    for (size_t j = 0; j < batch.X.size(); ++j) {
        for (size_t i = 0; i < x.size(); ++i) {
            ++counts[std::to_string(i) + ':' + std::to_string(batch.X[j][i]) + ':' +
                     std::to_string(batch.Y[j])];
        }
    }
    const std::unique_ptr<Bayes> model = Bayes::createEmptyBayes(4, nullptr);
    REQUIRE(model->update(batch.X, batch.Y) == 0);

    BENCHMARK("reference: a key formatted and looked up per class and feature") {
        return lookUpEach(counts, x);
    };
    BENCHMARK("Bayes::predict") {
        return model->predict(x);
    };
}
