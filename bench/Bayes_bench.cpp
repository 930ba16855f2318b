#include "preload/Bayes.h"

#include <catch2/catch.hpp>
#include <cstdio>
#include <random>
#include <string>

#include "bench/Rounds.h"

namespace {

constexpr int SAMPLES = 3000;
constexpr int ROUNDS = 21;

struct Batch {
    std::vector<std::vector<int>> X;
    std::vector<int> Y;
};

Batch makeBatch(int apps) {
    std::mt19937 random(1);
    Batch batch;
    for (int i = 0; i < SAMPLES; ++i) {
        const auto app = [&] { return static_cast<int>(random() % static_cast<unsigned>(apps)); };
        batch.X.push_back(
            {static_cast<int>(random() % 48), static_cast<int>(random() % 2), app(), app()});
        batch.Y.push_back(i < apps ? i : app());
    }
    return batch;
}

// The rival's times, round by round; empty where Python or its library is missing.
std::vector<double> timesOfScikitLearn(int apps) {
    const std::string command = "/usr/bin/python3 " BENCH_DIR "/naive_bayes.py " +
                                std::to_string(apps) + " " + std::to_string(ROUNDS);
    std::vector<double> times;
    FILE* const output = popen(command.c_str(), "r");
    for (double time = 0; output != nullptr && fscanf(output, "%lf", &time) == 1;) {
        times.push_back(time);
    }
    if (output != nullptr) pclose(output);
    return times;
}

}  // namespace

TEST_CASE("Bayes: one prediction") {
    for (const int apps : {60, 300}) {
        const std::vector<double> rival = timesOfScikitLearn(apps);
        REQUIRE(rival.size() == ROUNDS);
        const Batch batch = makeBatch(apps);
        const std::unique_ptr<Bayes> model = Bayes::createEmptyBayes(4, nullptr);
        REQUIRE(model->update(batch.X, batch.Y) == 0);
        const std::string classes = " over " + std::to_string(apps) + " applications";
        size_t round = 0;
        compareInRounds({{"reference: scikit-learn's CategoricalNB.predict_proba" + classes,
                          [&] { return rival[round++]; }},
                         {"Bayes::predict" + classes, meanOf(2000,
                                                             [&] {
                                                                 model->predict({20, 1, 17, 42});
                                                             })}},
                        ROUNDS);
    }
}
