#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "preload/Bayes.h"

// What is to be explained.
struct Question {
    std::string directory;
    std::optional<time_t> time;  // now when absent
    std::optional<std::pair<std::string, std::string>>
        names;  // the one before and the one in front
    enum class Predictor { ENGINES_CHOICE, BAYES, NETWORK } predictor = Predictor::ENGINES_CHOICE;
    size_t top = 4;
};

struct Prediction {
    int number = 0;           // the class, or the id in the network's vocabulary
    std::string application;  // empty when no application has the number
    float score = 0;

    // By the Bayes model: a factor for each feature, then the prior. By the network: none.
    std::vector<BayesAnswer::Factor> factors;
    float product = 0;

    // How far the prediction stands above the average. By the Bayes model: each factor beside the
    // geometric mean of the same factor over all classes. By the network: the score beside 1 in 30,
    // then what each of PART_KEYS multiplied it by, beside the geometric mean over all ids.
    std::vector<double> lifts;
};

// A change of one thing alone that would put the second prediction first.
struct Alternative {
    std::string feature;  // one of FEATURE_KEYS; "older", "newer"
    std::string from;
    std::optional<std::string> to;  // nothing when no value does
};

// The Bayes model's features in their order.
constexpr const char* FEATURE_KEYS[] = {"timeSlot", "weekDay", "previous", "current"};

// What makes up a score of the sequence network's session, in the order of zml::ScoreParts.
constexpr const char* PART_KEYS[] = {"network", "counts", "recency", "repeats"};

// Why the engine, started on these files, would predict what it predicts at that moment.
struct Explanation {
    time_t time = 0;
    std::string last;
    std::string current;
    bool networkReady = false;
    bool bayesReady = false;
    bool usesNetwork = false;        // which of the two is explained
    std::vector<std::string> notes;  // sentences about names that are not known and the like

    std::vector<Prediction> predictions;    // as many as were asked for
    std::string second;                     // the application that came second
    std::vector<Alternative> alternatives;  // to put it first; empty when there is none

    // By the Bayes model.
    std::vector<int> features;
    int samples = 0;
    int classes = 0;
    float sum = 0;  // of the products of all classes

    // By the sequence network: the two names that it looked back on.
    std::string older;
    std::string newer;
};

// Works on a copy. Throws InputError when the files do not allow an answer, with what to do.
Explanation explain(const Question& question);

// Half an hour of the day as "08:00-08:29".
std::string slotText(int slot);
