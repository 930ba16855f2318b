#include <cstdlib>
#include <nlohmann/json.hpp>

#include "tools/common/JsonLine.h"
#include "tools/common/Text.h"
#include "tools/inspect/Explanation.h"

namespace {

// Nine significant digits, which name exactly one number of single precision.
double nineDigits(float value) {
    return strtod(formatted("%.9g", static_cast<double>(value)).c_str(), nullptr);
}

Json predictionJson(const BayesPrediction& prediction) {
    constexpr const char* KEYS[BAYES_FEATURES] = {"timeSlot", "weekDay", "previous", "current"};
    Json object;
    object["application"] = prediction.application;
    object["class"] = prediction.y;
    object["openings"] = prediction.factors.classCount;
    for (size_t i = 0; i < BAYES_FEATURES; ++i) {
        object["counts"][KEYS[i]] = prediction.factors.counts[i];
        object["factors"][KEYS[i]] = nineDigits(prediction.factors.likelihoods[i]);
    }
    object["factors"]["prior"] = nineDigits(prediction.factors.prior);
    object["product"] = nineDigits(prediction.factors.product);
    object["score"] = nineDigits(prediction.factors.score);
    return object;
}

}  // namespace

std::string explanationJson(const Explanation& explanation) {
    Json object;
    object["time"] = explanation.time;
    object["last"] = explanation.last;
    object["current"] = explanation.current;
    object["predictor"] = explanation.usesNetwork ? "network" : "bayes";
    object["enginesChoice"] = explanation.networkReady ? "network" : "bayes";
    object["notes"] = explanation.notes;
    object["predictions"] = Json::array();
    if (explanation.usesNetwork) {
        object["older"] = explanation.older;
        object["newer"] = explanation.newer;
        for (const NetworkPrediction& prediction : explanation.network) {
            object["predictions"].push_back({{"application", prediction.application},
                                             {"id", prediction.id},
                                             {"score", nineDigits(prediction.score)}});
        }
    } else {
        object["timeSlot"] = explanation.features[0];
        object["weekDay"] = explanation.features[1];
        object["samples"] = explanation.samples;
        object["classes"] = explanation.classes;
        object["sum"] = nineDigits(explanation.sum);
        for (const BayesPrediction& prediction : explanation.bayes) {
            object["predictions"].push_back(predictionJson(prediction));
        }
    }
    object["alternatives"] = Json::array();
    for (const Alternative& alternative : explanation.alternatives) {
        object["alternatives"].push_back(
            {{"feature", alternative.feature},
             {"from", alternative.from},
             {"to", alternative.to ? Json(*alternative.to) : Json(nullptr)}});
    }
    return jsonLine(object);
}
