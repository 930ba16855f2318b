#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/inspect/BayesExplanation.h"
#include "tools/inspect/EngineStart.h"
#include "tools/inspect/Tables.h"

// What is to be explained.
struct Question {
    std::string directory;
    std::optional<time_t> time;  // now when absent
    std::optional<std::pair<std::string, std::string>>
        names;  // the one before and the one in front
    enum class Predictor { ENGINES_CHOICE, BAYES, NETWORK } predictor = Predictor::ENGINES_CHOICE;
    size_t top = 4;
};

// A change of one thing alone that would put the second prediction first.
struct Alternative {
    std::string feature;  // "timeSlot", "weekDay", "previous", "current"; "older", "newer"
    std::string from;
    std::optional<std::string> to;  // nothing when no value does
};

struct BayesPrediction {
    int y = 0;
    std::string application;  // empty when no application has the index
    BayesFactors factors;
    std::array<double, BAYES_FEATURES + 1> lift{};  // of each likelihood and the prior: see below
};

struct NetworkPrediction {
    std::string application;  // empty when no record of the usage table has the id
    int id = 0;
    float score = 0;
};

// Why the engine, started on these files, would predict what it predicts at that moment.
struct Explanation {
    time_t time = 0;
    std::string last;
    std::string current;
    bool networkReady = false;
    bool bayesReady = false;
    bool usesNetwork = false;        // which of the two is explained
    std::vector<std::string> notes;  // sentences about names that are not known and the like

    // By the Bayes model. The lift of a factor is what it is beside the geometric mean of the same
    // factor over all classes: multiplied, a prediction's lifts say how far it stands above the
    // average.
    BayesFeatures features{};
    int samples = 0;
    int classes = 0;
    float sum = 0;
    std::vector<BayesPrediction> bayes;

    // By the sequence network, with the two names that it looked back on.
    std::string older;
    std::string newer;
    std::vector<NetworkPrediction> network;

    std::vector<Alternative> alternatives;  // empty when there is no second
};

// Works on a copy. Throws InputError when the files do not allow an answer, with what to do.
Explanation explain(const Question& question);

// Half an hour of the day as "08:00-08:29".
std::string slotText(int slot);

std::string explanationText(const Explanation& explanation);
std::string explanationJson(const Explanation& explanation);
