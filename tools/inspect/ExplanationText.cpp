#include "tools/inspect/ExplanationText.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "preload/BayesSample.h"
#include "tools/common/JsonLine.h"
#include "tools/common/Text.h"
#include "zml/ZmlSession.h"

namespace {

constexpr size_t COLUMNS = 4;  // predictions beside each other
constexpr int NUMBER_WIDTH = 16;
constexpr int REACH = 12;  // of a bar, to each side

// Nine significant digits, which name exactly one number of single precision.
std::string number(float value) {
    return formatted("%.9g", static_cast<double>(value));
}

std::string title(const std::string& application) {
    return application.empty() ? "(no application)" : printable(application);
}

// "   (1) com.example.mail", to begin a line with.
std::string rankAndTitle(const Explanation& explanation, size_t rank, size_t width) {
    return rightAligned("(" + std::to_string(rank + 1) + ")", 6) + ' ' +
           padded(title(explanation.predictions[rank].application), width);
}

bool localeIsUtf8() {
    for (const char* const variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* const value = getenv(variable);
        if (value == nullptr || *value == '\0') continue;
        std::string name = value;
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(tolower(c)); });
        return name.find("utf-8") != name.npos || name.find("utf8") != name.npos;
    }
    return false;
}

// A factor as "x 3.1", or "/ 2" when it is below 1, and as a bar from a centre line to the right or
// to the left, one block for each doubling or halving, rounded. What is longer than REACH ends in
// '>' or '<'.
std::string factorBar(double factor) {
    const std::string text =
        factor < 1 ? formatted("/ %.3g", 1 / factor) : formatted("x %.3g", factor);
    const auto blocks = std::lround(std::clamp<double>(std::log2(factor), -REACH - 1, REACH + 1));
    const size_t shown = static_cast<size_t>(std::min<long>(std::labs(blocks), REACH));
    const bool cut = std::labs(blocks) > REACH;
    std::string bar;
    for (size_t i = 0; i < shown; ++i) bar += localeIsUtf8() ? "\u2588" : "#";
    return padded(text, 9) +
           (blocks >= 0 ? std::string(REACH + 1, ' ') + '|' + bar + (cut ? ">" : "")
                        : std::string(REACH - shown, ' ') + (cut ? "<" : " ") + bar + '|');
}

// What the factors belong to, with their values at this moment, as wide as each other.
std::vector<std::string> factorLabels(const Explanation& explanation) {
    std::vector<std::string> labels = {"time slot " + slotText(explanation.features[0]),
                                       explanation.features[1] == 1 ? "working day" : "weekend",
                                       "before: " + printable(explanation.last),
                                       "in front: " + printable(explanation.current), "prior"};
    size_t width = 26;
    for (const std::string& label : labels) width = std::max(width, label.size());
    for (std::string& label : labels) label = padded(label, width);
    return labels;
}

// A calculation from top to bottom, for some of the predictions beside each other.
std::string calculation(const Explanation& explanation, size_t begin, size_t end) {
    const std::vector<std::string> labels = factorLabels(explanation);
    std::string text;
    const auto row = [&](const std::string& label, const auto& value) {
        std::string line = padded(label, labels[0].size() + 4);
        for (size_t i = begin; i < end; ++i) line += rightAligned(value(i), NUMBER_WIDTH);
        text += line + '\n';
    };
    row("", [](size_t i) { return "(" + std::to_string(i + 1) + ")"; });
    for (size_t i = 0; i < labels.size(); ++i) {
        row((i == 0 ? "    " : "  x ") + labels[i], [&](size_t prediction) {
            return number(explanation.predictions[prediction].factors[i].value);
        });
    }
    row("  = product", [&](size_t i) { return number(explanation.predictions[i].product); });
    row("  / sum of all " + amount(static_cast<uint64_t>(explanation.classes), "product"),
        [&](size_t) { return number(explanation.sum); });
    row("  = score", [&](size_t i) { return number(explanation.predictions[i].score); });
    return text + '\n';
}

std::string bars(const Explanation& explanation) {
    const std::vector<std::string> labels = factorLabels(explanation);
    std::string text =
        "What speaks for each (right) and against it (left), beside the average of all " +
        amount(static_cast<uint64_t>(explanation.classes), "application") +
        "\n(geometric mean of the factor). The scale is logarithmic: a block is a doubling or a "
        "halving.\n\n";
    for (size_t rank = 0; rank < explanation.predictions.size(); ++rank) {
        const Prediction& prediction = explanation.predictions[rank];
        const int openings = prediction.factors.back().count;
        text += "  (" + std::to_string(rank + 1) + ") " + title(prediction.application) + '\n';
        for (size_t i = 0; i < labels.size(); ++i) {
            const bool isPrior = i + 1 == labels.size();
            const std::string counts =
                grouped(static_cast<uint64_t>(prediction.factors[i].count)) + " of " +
                grouped(static_cast<uint64_t>(isPrior ? explanation.samples : openings));
            text += "      " + labels[i] + rightAligned(counts, 16) + "  " +
                    factorBar(prediction.lifts[i]) + '\n';
        }
        text += '\n';
    }
    return text;
}

std::string bayesText(const Explanation& explanation) {
    const size_t count = explanation.predictions.size();
    std::string text;
    for (size_t rank = 0; rank < count; ++rank) {
        text +=
            rankAndTitle(explanation, rank, 40) +
            formatted("%6.1f %%", 100 * static_cast<double>(explanation.predictions[rank].score)) +
            '\n';
    }
    text +=
        "\nThe factors, in the order in which the engine multiplies them in single precision\n\n";
    for (size_t begin = 0; begin < count; begin += COLUMNS) {
        text += calculation(explanation, begin, std::min(begin + COLUMNS, count));
    }
    return text + bars(explanation);
}

// In the order of PART_KEYS.
constexpr const char* PART_LABELS[] = {
    "what the network learned when it was trained",
    "how often, lately and in all",
    "how long ago",
    "what followed when it last was like now",
};

std::string networkText(const Explanation& explanation) {
    std::string text =
        "The two names that it looked back on: " + printable(explanation.older) + ", then " +
        printable(explanation.newer) +
        "\n\n  A block of a bar is a doubling of the score (right) or a halving (left), beside 1/" +
        std::to_string(ZmlSession::VOCABULARY) +
        ",\n  which it would give to each if it knew nothing. Below it what the score is the "
        "product "
        "of, but\n  for a factor that all have in common, each beside the average of all "
        "applications\n  (geometric mean).\n\n";
    for (size_t rank = 0; rank < explanation.predictions.size(); ++rank) {
        const Prediction& prediction = explanation.predictions[rank];
        text += rankAndTitle(explanation, rank, 32) +
                rightAligned(number(prediction.score), NUMBER_WIDTH) + "  " +
                factorBar(prediction.lifts[0]) + '\n';
        for (size_t part = 0; part < std::size(PART_KEYS); ++part) {
            text += std::string(10, ' ') + padded(PART_LABELS[part], 29 + NUMBER_WIDTH) + "  " +
                    factorBar(prediction.lifts[1 + part]) + '\n';
        }
    }
    return text + '\n';
}

std::string alternativesText(const Explanation& explanation) {
    if (explanation.alternatives.empty()) return "";
    std::string text = "What alone would put " + title(explanation.second) + " first\n\n";
    const auto label = [](const std::string& feature) -> std::string {
        if (feature == "timeSlot") return "time slot";
        if (feature == "weekDay") return "day";
        if (feature == "previous" || feature == "older") return "before";
        return "in front";
    };
    for (const Alternative& alternative : explanation.alternatives) {
        const std::string from = title(alternative.from);
        text += "    " + padded(label(alternative.feature), 12) +
                (alternative.to ? title(*alternative.to) + " instead of " + from
                                : "no other value than " + from + " would") +
                '\n';
    }
    return text +
           "\n  The nearest such value: a slot by the clock, an application by how often it "
           "was opened.\n";
}

// The number that its nine digits name.
double nineDigits(float value) {
    return strtod(number(value).c_str(), nullptr);
}

Json predictionJson(const Prediction& prediction, bool byNetwork) {
    Json object;
    object["application"] = prediction.application;
    object[byNetwork ? "id" : "class"] = prediction.number;
    if (!byNetwork) {
        object["openings"] = prediction.factors.back().count;
        for (size_t i = 0; i < std::size(FEATURE_KEYS); ++i) {
            object["counts"][FEATURE_KEYS[i]] = prediction.factors[i].count;
            object["factors"][FEATURE_KEYS[i]] = nineDigits(prediction.factors[i].value);
        }
        object["factors"]["prior"] = nineDigits(prediction.factors.back().value);
        object["product"] = nineDigits(prediction.product);
    }
    for (size_t part = 0; byNetwork && part < std::size(PART_KEYS); ++part) {
        object["parts"][PART_KEYS[part]] =
            nineDigits(static_cast<float>(prediction.lifts[1 + part]));
    }
    object["score"] = nineDigits(prediction.score);
    return object;
}

}  // namespace

std::string explanationText(const Explanation& explanation) {
    const bool network = explanation.usesNetwork;
    std::string text =
        localTimeText(explanation.time, "%a %Y-%m-%d %H:%M %Z") + ", " +
        title(explanation.current) + " in front, " + title(explanation.last) + " before it\n" +
        (network ? "Answered by the sequence network" : "Answered by the Bayes model") +
        (network == explanation.networkReady
             ? ", as the engine would at this moment.\n"
             : ", where the engine would ask the sequence network.\n");
    for (const std::string& note : explanation.notes) text += "Note: " + note + '\n';
    text += '\n';
    if (explanation.predictions.empty()) return text + "Nothing is predicted.\n";
    text += network ? networkText(explanation) : bayesText(explanation);
    return text + alternativesText(explanation);
}

std::string explanationJson(const Explanation& explanation) {
    Json object;
    object["time"] = explanation.time;
    object["last"] = explanation.last;
    object["current"] = explanation.current;
    object["predictor"] = explanation.usesNetwork ? "network" : "bayes";
    object["enginesChoice"] = explanation.networkReady ? "network" : "bayes";
    object["notes"] = explanation.notes;
    object["predictions"] = Json::array();
    for (const Prediction& prediction : explanation.predictions) {
        object["predictions"].push_back(predictionJson(prediction, explanation.usesNetwork));
    }
    if (explanation.usesNetwork) {
        object["older"] = explanation.older;
        object["newer"] = explanation.newer;
    } else {
        object["timeSlot"] = explanation.features[0];
        object["weekDay"] = explanation.features[1];
        object["samples"] = explanation.samples;
        object["classes"] = explanation.classes;
        object["sum"] = nineDigits(explanation.sum);
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
