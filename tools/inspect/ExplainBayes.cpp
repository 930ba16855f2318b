#include "tools/inspect/ExplainBayes.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "preload/BayesSample.h"
#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

constexpr int SLOTS = 48;
constexpr int MAX_VALUE = 10000;  // the model refuses questions with more

constexpr const char* FEATURE_KEYS[BAYES_FEATURES] = {"timeSlot", "weekDay", "previous", "current"};

AppTable readTable(const EngineStart& start) {
    const std::optional<std::string> text = start.content(engine_file::APP_TABLE);
    if (!text) return {};
    std::string problem;
    const std::optional<AppTable> table = AppTable::read(*text, problem);
    if (table) return *table;
    throw InputError("AppPreloadMap: " + problem + "; ksbrain inspect says more");
}

// The index as the engine finds it, with a note when the name is new to it.
int indexOf(const std::string& name, AppTable& table, Explanation& result) {
    const bool known = table.knows(name);
    const int index = table.indexOf(name);
    if (index < 0) {
        result.notes.push_back((name.empty() ? "An empty name" : inQuotes(name)) +
                               " is no package name (letters, digits, '.' and '_'): the engine "
                               "predicts nothing while it is one of the two.");
    } else if (!known) {
        result.notes.push_back(
            printable(name) + " is new to the engine: it would enter it in its table under index " +
            std::to_string(index) + ", and no sample has that value yet.");
    }
    return index;
}

// Other values of a feature, nearest first: slots by the distance on the clock and the later one of
// two at the same distance, applications by how often the model saw them opened.
std::vector<int> otherValues(size_t feature, const BayesFeatures& x, const BayesExplanation& model,
                             const AppTable& table) {
    std::vector<int> values;
    if (feature == 0) {
        for (int distance = 1; distance <= SLOTS / 2; ++distance) {
            values.push_back((x[0] + distance) % SLOTS);
            values.push_back((x[0] + SLOTS - distance) % SLOTS);
        }
    } else if (feature == 1) {
        values.push_back(1 - x[1]);
    } else {
        for (const auto& [name, index] : table.indexes()) {
            if (index != x[feature]) values.push_back(index);
        }
        std::sort(values.begin(), values.end(), [&](int a, int b) {
            return std::pair(-model.samplesOf(a), a) < std::pair(-model.samplesOf(b), b);
        });
    }
    return values;
}

std::string valueText(size_t feature, int value, const AppTable& table) {
    if (feature == 0) return slotText(value);
    if (feature == 1) return value == 1 ? "working day" : "weekend";
    return table.nameOf(value);
}

std::vector<Alternative> findAlternatives(int second, const BayesFeatures& x,
                                          const BayesExplanation& model, const AppTable& known,
                                          const AppTable& all) {
    std::vector<Alternative> alternatives;
    for (size_t i = 0; i < BAYES_FEATURES; ++i) {
        Alternative alternative{FEATURE_KEYS[i], valueText(i, x[i], all), std::nullopt};
        for (const int value : otherValues(i, x, model, known)) {
            BayesFeatures changed = x;
            changed[i] = value;
            const std::vector<int> ranking = BayesExplanation::ranking(model.ask(changed));
            if (ranking.empty() || ranking.front() != second) continue;
            alternative.to = valueText(i, value, all);
            break;
        }
        alternatives.push_back(alternative);
    }
    return alternatives;
}

void setLifts(const BayesAnswer& answer, std::vector<BayesPrediction>& predictions) {
    for (size_t i = 0; i <= BAYES_FEATURES; ++i) {
        const auto factor = [&](const BayesFactors& factors) {
            return static_cast<double>(i < BAYES_FEATURES ? factors.likelihoods[i] : factors.prior);
        };
        double logs = 0;
        for (const BayesFactors& factors : answer.classes) logs += std::log(factor(factors));
        const double mean = std::exp(logs / static_cast<double>(answer.classes.size()));
        for (BayesPrediction& prediction : predictions) {
            prediction.lift[i] = factor(prediction.factors) / mean;
        }
    }
}

}  // namespace

void explainBayes(const EngineStart& start, size_t top, Explanation& result) {
    const BayesCounts& counts = start.model().value();
    if (counts.dimension != static_cast<int>(BAYES_FEATURES)) {
        throw InputError("AppPreloadBayesModel: it has " + std::to_string(counts.dimension) +
                         " dimensions, not 4, and so the engine gets no scores from it");
    }
    std::string problem;
    const std::optional<BayesCounts> file =
        readBayesCounts(start.content(engine_file::MODEL).value_or(""), problem);
    if (file && file->maxima.empty()) {
        result.notes.push_back(
            "The model's file lists no largest values: this is what an engine started on it "
            "answers. The one that wrote it smooths with them.");
    }
    const BayesExplanation model(counts);
    const AppTable known = readTable(start);
    AppTable all = known;
    const int last = indexOf(result.last, all, result);
    const int current = indexOf(result.current, all, result);
    result.features = {getTimeSlot(result.time), getWeekDay(result.time), last, current};
    result.samples = model.samples();
    result.classes = model.classCount();
    if (last < 0 || current < 0) return;
    if (std::max(last, current) > MAX_VALUE) {
        throw InputError("AppPreloadMap: an index above 10000, of which the engine asks nothing");
    }

    const BayesAnswer answer = model.ask(result.features);
    const std::vector<int> ranking = BayesExplanation::ranking(answer);
    result.sum = answer.sum;
    for (size_t i = 0; i < std::min(top, ranking.size()); ++i) {
        const int y = ranking[i];
        result.bayes.push_back({y, all.nameOf(y), answer.classes[static_cast<size_t>(y)], {}});
    }
    setLifts(answer, result.bayes);
    if (ranking.size() < 2) return;
    result.alternatives = findAlternatives(ranking[1], result.features, model, known, all);
}
