#include <algorithm>

#include "tools/common/Text.h"
#include "tools/inspect/Bars.h"
#include "tools/inspect/Explanation.h"

namespace {

constexpr size_t COLUMNS = 4;  // predictions beside each other
constexpr int NUMBER_WIDTH = 16;
constexpr int REACH = 12;  // of a bar, to each side
constexpr int VOCABULARY = 30;

std::string number(float value) {
    return formatted("%.9g", static_cast<double>(value));
}

std::string percent(float score) {
    return formatted("%.1f %%", 100 * static_cast<double>(score));
}

std::string title(const std::string& application) {
    return application.empty() ? "(no application)" : printable(application);
}

// What the factors belong to, with their values at this moment.
std::vector<std::string> factorLabels(const Explanation& explanation) {
    return {"time slot " + slotText(explanation.features[0]),
            explanation.features[1] == 1 ? "working day" : "weekend",
            "before: " + printable(explanation.last), "in front: " + printable(explanation.current),
            "prior"};
}

float factorOf(const BayesFactors& factors, size_t i) {
    return i < BAYES_FEATURES ? factors.likelihoods[i] : factors.prior;
}

// A calculation from top to bottom, for some of the predictions beside each other.
std::string calculation(const Explanation& explanation, size_t begin, size_t end) {
    const std::vector<std::string> labels = factorLabels(explanation);
    size_t width = 30;
    for (const std::string& label : labels) width = std::max(width, label.size() + 4);
    std::string text;
    const auto row = [&](const std::string& label, const auto& value) {
        std::string line = padded(label, width);
        for (size_t i = begin; i < end; ++i) line += rightAligned(value(i), NUMBER_WIDTH);
        text += line + '\n';
    };
    row("", [](size_t i) { return "(" + std::to_string(i + 1) + ")"; });
    for (size_t i = 0; i < labels.size(); ++i) {
        row((i == 0 ? "    " : "  x ") + labels[i], [&](size_t prediction) {
            return number(factorOf(explanation.bayes[prediction].factors, i));
        });
    }
    row("  = product", [&](size_t i) { return number(explanation.bayes[i].factors.product); });
    row("  / sum of all " + amount(static_cast<uint64_t>(explanation.classes), "product"),
        [&](size_t) { return number(explanation.sum); });
    row("  = score", [&](size_t i) { return number(explanation.bayes[i].factors.score); });
    return text + '\n';
}

std::string bars(const Explanation& explanation) {
    const bool utf8 = localeIsUtf8();
    const std::vector<std::string> labels = factorLabels(explanation);
    size_t width = 26;
    for (const std::string& label : labels) width = std::max(width, label.size());
    std::string text =
        "What speaks for each (right) and against it (left), beside the average of all " +
        amount(static_cast<uint64_t>(explanation.classes), "application") +
        "\n(geometric mean of the factor). The scale is logarithmic: a block is a doubling or a "
        "halving.\n\n";
    for (size_t i = 0; i < explanation.bayes.size(); ++i) {
        const BayesPrediction& prediction = explanation.bayes[i];
        const BayesFactors& factors = prediction.factors;
        text += "  (" + std::to_string(i + 1) + ") " + title(prediction.application) + '\n';
        for (size_t f = 0; f < labels.size(); ++f) {
            const bool isPrior = f == BAYES_FEATURES;
            const auto count =
                static_cast<uint64_t>(isPrior ? factors.classCount : factors.counts[f]);
            const auto of =
                static_cast<uint64_t>(isPrior ? explanation.samples : factors.classCount);
            text += "      " + padded(labels[f], width) +
                    rightAligned(grouped(count) + " of " + grouped(of), 16) + "  " +
                    padded(factorText(prediction.lift[f]), 9) +
                    logBar(prediction.lift[f], REACH, utf8) + '\n';
        }
        text += '\n';
    }
    return text;
}

std::string bayesText(const Explanation& explanation) {
    std::string text;
    for (size_t i = 0; i < explanation.bayes.size(); ++i) {
        text += rightAligned("(" + std::to_string(i + 1) + ")", 6) + " " +
                padded(title(explanation.bayes[i].application), 40) +
                rightAligned(percent(explanation.bayes[i].factors.score), 8) + '\n';
    }
    text +=
        "\nThe factors, in the order in which the engine multiplies them in single precision\n\n";
    for (size_t begin = 0; begin < explanation.bayes.size(); begin += COLUMNS) {
        text +=
            calculation(explanation, begin, std::min(begin + COLUMNS, explanation.bayes.size()));
    }
    return text + bars(explanation);
}

std::string networkText(const Explanation& explanation) {
    const bool utf8 = localeIsUtf8();
    std::string text =
        "The two names that it looked back on: " + printable(explanation.older) + ", then " +
        printable(explanation.newer) +
        "\n\n  A block of a bar is a doubling of the score (right) or a halving "
        "(left), beside 1/30,\n  which it would give to each if it knew nothing.\n\n";
    for (size_t i = 0; i < explanation.network.size(); ++i) {
        const NetworkPrediction& prediction = explanation.network[i];
        const double lift = static_cast<double>(prediction.score) * VOCABULARY;
        text += rightAligned("(" + std::to_string(i + 1) + ")", 6) + " " +
                padded(title(prediction.application), 32) +
                rightAligned(number(prediction.score), NUMBER_WIDTH) + "  " +
                padded(factorText(lift), 9) + logBar(lift, REACH, utf8) + '\n';
    }
    return text + '\n';
}

std::string alternativesText(const Explanation& explanation) {
    if (explanation.alternatives.empty()) return "";
    const std::string& second = explanation.usesNetwork ? explanation.network[1].application
                                                        : explanation.bayes[1].application;
    std::string text = "What alone would put " + title(second) + " first\n\n";
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
    if (network ? explanation.network.empty() : explanation.bayes.empty()) {
        return text + "Nothing is predicted.\n";
    }
    text += network ? networkText(explanation) : bayesText(explanation);
    return text + alternativesText(explanation);
}
