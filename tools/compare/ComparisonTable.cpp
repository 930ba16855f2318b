#include "tools/compare/ComparisonTable.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "tools/common/JsonLine.h"
#include "tools/common/Text.h"

namespace {

constexpr size_t MRR = RECIPROCAL_RANK;

std::string measureName(size_t measure) {
    return measure == MRR ? "MRR" : "top-" + std::to_string(DEPTHS[measure]);
}

std::string measureKey(size_t measure) {
    return measure == MRR ? "mrr" : depthKey(DEPTHS[measure]);
}

// As the table shows it: percentages, but for the mean reciprocal rank.
std::string valueText(size_t measure, double value) {
    return measure == MRR ? formatted("%.3f", value) : formatted("%.1f %%", 100 * value);
}

std::string intervalText(size_t measure, const Estimate& estimate) {
    if (!estimate.interval) return "-";
    const auto [low, high] = *estimate.interval;
    return measure == MRR ? formatted("%.3f-%.3f", low, high)
                          : formatted("%.1f-%.1f %%", 100 * low, 100 * high);
}

std::string headLines(const Comparison& comparison) {
    const std::string lines[] = {
        amount(comparison.counts.openings, "opening") + " of " +
            amount(comparison.traces, "trace") + "; 95 % intervals by drawing from " +
            amount(comparison.units, comparison.byTrace ? "trace" : "day"),
        "left out: " + amount(comparison.repeats, "repeat") + " of the application in front, and " +
            (comparison.traces == 1 ? "the first opening" : "each trace's first opening"),
        "charging: " + printable(comparison.charging) + "; local times are those of " +
            printable(comparison.zone)};
    std::string text;
    for (const std::string& line : lines) text += wrapped(line, 2) + "\n";
    return text +
           "\nmethod              answered        top-1        top-4        top-8          MRR\n";
}

// The hits themselves are in the JSON only: a terminal of 80 columns takes no more.
std::string methodRows(const Comparison& comparison, Method method) {
    const auto place = static_cast<size_t>(method);
    const Estimates& estimates = comparison.methods[place];
    const uint64_t answered = comparison.answered[place];
    std::string row = padded(methodName(method), 18) + rightAligned(grouped(answered), 10);
    std::string below = rightAligned(percentage(answered, comparison.counts.openings), 28);
    for (size_t i = 0; i < MEASURES; ++i) {
        row += rightAligned(valueText(i, estimates[i].value), 13);
        below += rightAligned(intervalText(i, estimates[i]), 13);
    }
    return row + "\n" + below + "\n";
}

std::string leadText(size_t measure, double lead) {
    return measure == MRR ? formatted("%+.3f", lead) : formatted("%+.1f", 100 * lead);
}

// Who wins by a measure, the engine or the best simple rule, and whether that may be chance.
std::string rivalLine(const Comparison& comparison, size_t measure) {
    const auto& [rule, lead] = comparison.rivals[measure];
    const auto value = [&](Method method) {
        return valueText(measure, comparison.methods[static_cast<size_t>(method)][measure].value);
    };
    std::string line = measureName(measure) + ": ";
    if (lead.value < 0) {
        line += std::string(methodName(rule)) + " (" + value(rule) +
                ") does better than the engine (" + value(Method::ENGINE) + ")";
    } else {
        line += "the engine (" + value(Method::ENGINE) + ") does " +
                (lead.value > 0 ? "better than" : "as well as") + " the best simple rule, " +
                methodName(rule) + " (" + value(rule) + ")";
    }
    if (lead.interval) {
        const auto [low, high] = *lead.interval;
        line += "; the engine's lead is " + leadText(measure, low) + " to " +
                leadText(measure, high) + (measure == MRR ? "" : " points");
        if (low <= 0 && high >= 0) line += ", which may be chance";
    }
    return wrapped(line, 2) + "\n";
}

// The engine's counters go by another yardstick than the rows of the table.
std::string ownLines(const OwnCounts& own) {
    std::string text =
        "the engine's own counters, as replay prints them: of all openings that it\n"
        "scored, repeats too, those among its first one and four, where the application\n"
        "in front keeps its place\n";
    for (const auto& [name, predictor] :
         {std::pair("Bayes", BY_BAYES), std::pair("sequence network", BY_NETWORK)}) {
        const auto [scored, first, firstFour] = own[predictor];
        text += padded(name, 18) + rightAligned(grouped(scored), 10) +
                rightAligned(grouped(first), 10) + rightAligned(percentage(first, scored), 8) +
                rightAligned(grouped(firstFour), 10) +
                rightAligned(percentage(firstFour, scored), 8) + "\n";
    }
    return text;
}

double rounded(double value) {
    return std::round(value * 1e6) / 1e6;
}

Json estimateJson(const Estimate& estimate) {
    Json object = {{"value", rounded(estimate.value)}};
    if (estimate.interval) {
        object["low"] = rounded(estimate.interval->low);
        object["high"] = rounded(estimate.interval->high);
    }
    return object;
}

}  // namespace

std::string comparisonTable(const Comparison& comparison) {
    std::string text = headLines(comparison) + std::string(80, '-') + "\n";
    for (const Method method : METHODS) text += methodRows(comparison, method);
    text += std::string(80, '-') + "\n";
    for (size_t i = 0; i < MEASURES; ++i) text += rivalLine(comparison, i);
    return text + "\n" + ownLines(comparison.own);
}

std::string comparisonJson(const Comparison& comparison) {
    Json object = {
        {"traces", comparison.traces},   {"charging", comparison.charging},
        {"zone", comparison.zone},       {"openings", comparison.counts.openings},
        {"repeats", comparison.repeats}, {"drawn", comparison.byTrace ? "traces" : "days"},
        {"units", comparison.units}};
    for (size_t m = 0; m < METHODS.size(); ++m) {
        Json& entry = object["methods"][methodKey(METHODS[m])];
        entry["answered"] = comparison.answered[m];
        for (size_t depth = 0; depth < DEPTHS.size(); ++depth) {
            entry[depthKey(DEPTHS[depth])] = comparison.counts.hits[m][depth];
        }
        for (size_t i = 0; i < MEASURES; ++i) {
            entry["rates"][measureKey(i)] = estimateJson(comparison.methods[m][i]);
        }
    }
    for (size_t i = 0; i < MEASURES; ++i) {
        object["best_rule"][measureKey(i)] = {
            {"method", methodKey(comparison.rivals[i].rule)},
            {"engine_lead", estimateJson(comparison.rivals[i].lead)}};
    }
    object["own"] = comparison.own;
    return jsonLine(object);
}
