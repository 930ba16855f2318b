#include "tools/inspect/Explanation.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <sstream>
#include <stdexcept>

#include "platform/workstation/SettableEnvironment.h"
#include "preload/BayesSample.h"
#include "preload/PackageName.h"
#include "preload/Ranking.h"
#include "preload/ZmlAdapter.h"
#include "tools/common/InputError.h"
#include "tools/common/Text.h"
#include "tools/inspect/EngineStart.h"
#include "tools/inspect/StrictText.h"
#include "zml/NeuralLearner.h"
#include "zml/SessionState.h"

namespace {

// One of the engine's tables; empty when it is not there.
template <typename Table>
Table readTable(const EngineStart& start, const std::string& file,
                std::string (*read)(const std::string& text, Table& table)) {
    Table table;
    const std::optional<std::string> text = start.content(file);
    const std::string problem = text ? read(*text, table) : "";
    if (problem.empty()) return table;
    throw InputError(file + ": " + problem + "; ksbrain inspect says more");
}

// One of the things that a predictor was asked with.
struct Feature {
    std::string key;
    std::vector<int> others;  // the other values there are, nearest first
    std::function<std::string(int)> text;
};

// Takes up the best of a predictor's scores for `x`, and for each feature the first other value
// with which the second of them would lead.
void takeScores(const std::vector<int>& x,
                const std::function<std::vector<float>(const std::vector<int>& x)>& ask,
                const std::vector<Feature>& features, const std::function<std::string(int)>& nameOf,
                size_t top, Explanation& result) {
    const std::vector<float> scores = ask(x);
    const std::vector<int> ranked = ranking(scores);
    for (size_t i = 0; i < std::min(top, ranked.size()); ++i) {
        result.predictions.push_back(
            {ranked[i], nameOf(ranked[i]), scores[static_cast<size_t>(ranked[i])], {}, 0, {}});
    }
    if (ranked.size() < 2) return;
    result.second = nameOf(ranked[1]);
    for (size_t i = 0; i < x.size(); ++i) {
        const Feature& feature = features[i];
        const auto leads = [&](int value) {
            std::vector<int> changed = x;
            changed[i] = value;
            const std::vector<int> order = ranking(ask(changed));
            return !order.empty() && order[0] == ranked[1];
        };
        const auto found = std::find_if(feature.others.begin(), feature.others.end(), leads);
        Alternative alternative{feature.key, feature.text(x[i]), std::nullopt};
        if (found != feature.others.end()) alternative.to = feature.text(*found);
        result.alternatives.push_back(alternative);
    }
}

// The index of a name in the table, where a new one is entered as the engine does; -1 for a name
// that the engine does not take in. Both are worth a note.
int indexOf(const std::string& name, std::vector<std::string>& names, Explanation& result) {
    if (!isPackageName(name)) {
        result.notes.push_back((name.empty() ? "An empty name" : inQuotes(name)) +
                               " is no package name (letters, digits, '.' and '_'): the engine "
                               "predicts nothing while it is one of the two.");
        return -1;
    }
    const auto found = std::find(names.begin(), names.end(), name);
    const int index = static_cast<int>(found - names.begin());
    if (found != names.end()) return index;
    names.push_back(name);
    result.notes.push_back(printable(name) +
                           " is new to the engine: it would enter it in its table under index " +
                           std::to_string(index) + ", and no sample has that value yet.");
    return index;
}

// The other slots by the distance on the clock, the later one of two at the same distance first.
std::vector<int> otherSlots(int slot) {
    std::vector<int> slots;
    for (int distance = 1; distance <= SLOTS_PER_DAY / 2; ++distance) {
        slots.push_back((slot + distance) % SLOTS_PER_DAY);
        slots.push_back((slot + SLOTS_PER_DAY - distance) % SLOTS_PER_DAY);
    }
    return slots;
}

// The other indexes below `count` by how often the model saw the application opened.
std::vector<int> otherIndexes(int index, size_t count, const BayesAnswer& answer) {
    std::vector<int> indexes(count);
    std::iota(indexes.begin(), indexes.end(), 0);
    indexes.erase(std::remove(indexes.begin(), indexes.end(), index), indexes.end());
    const auto samplesOf = [&](int i) {
        const auto y = static_cast<size_t>(i);
        return y < answer.classes.size() ? answer.classes[y].factors.back().count : 0;
    };
    std::stable_sort(indexes.begin(), indexes.end(),
                     [&](int a, int b) { return samplesOf(a) > samplesOf(b); });
    return indexes;
}

void takeFactors(const BayesAnswer& answer, std::vector<Prediction>& predictions) {
    for (Prediction& prediction : predictions) {
        const BayesAnswer::Class& how = answer.classes[static_cast<size_t>(prediction.number)];
        prediction.factors = how.factors;
        prediction.product = how.product;
    }
    for (size_t i = 0; i <= BayesSample::DIMENSION; ++i) {
        double logs = 0;
        for (const BayesAnswer::Class& y : answer.classes) {
            logs += std::log(static_cast<double>(y.factors[i].value));
        }
        const double mean = std::exp(logs / static_cast<double>(answer.classes.size()));
        for (Prediction& prediction : predictions) {
            prediction.lifts.push_back(static_cast<double>(prediction.factors[i].value) / mean);
        }
    }
}

void explainBayes(const EngineStart& start, size_t top, Explanation& result) {
    BayesCounts file;
    if (readBayesCounts(start.content(engine_file::MODEL).value_or(""), file).empty() &&
        file.maxima.empty()) {
        result.notes.push_back(
            "The model's file lists no largest values: this is what an engine started on it "
            "answers. The one that wrote it smooths with them.");
    }
    std::vector<std::string> names = readTable(start, engine_file::APP_TABLE, readAppTable);
    const size_t known = names.size();
    const int last = indexOf(result.last, names, result);
    const int current = indexOf(result.current, names, result);
    const int slot = getTimeSlot(result.time);
    const int day = getWeekDay(result.time);
    result.features = BayesSample{slot, day, last, current, -1, result.time}.toVecX();
    Bayes& model = *start.model();
    const BayesAnswer answer = model.explain(result.features);
    if (answer.maxima.size() != BayesSample::DIMENSION) {
        throw InputError(std::string(engine_file::MODEL) + ": it has " +
                         std::to_string(answer.maxima.size()) + " dimensions, not " +
                         std::to_string(BayesSample::DIMENSION) +
                         ", and so the engine gets no scores from it");
    }
    result.samples = answer.samples;
    result.classes = static_cast<int>(answer.classes.size());
    result.sum = answer.sum;
    if (last < 0 || current < 0) return;
    if (std::max(last, current) > Bayes::MAX_FEATURE_VALUE) {
        throw InputError(std::string(engine_file::APP_TABLE) + ": an index above " +
                         std::to_string(Bayes::MAX_FEATURE_VALUE) +
                         ", of which the engine asks nothing");
    }

    const auto nameOf = [&](int index) {
        const auto i = static_cast<size_t>(index);
        return i < names.size() ? names[i] : std::string();
    };
    const auto dayText = [](int value) -> std::string {
        return value == 1 ? "working day" : "weekend";
    };
    const std::vector<Feature> features = {
        {FEATURE_KEYS[0], otherSlots(slot), slotText},
        {FEATURE_KEYS[1], {1 - day}, dayText},
        {FEATURE_KEYS[2], otherIndexes(last, known, answer), nameOf},
        {FEATURE_KEYS[3], otherIndexes(current, known, answer), nameOf},
    };
    const auto ask = [&](const std::vector<int>& x) { return model.explain(x).scores; };
    takeScores(result.features, ask, features, nameOf, top, result);
    takeFactors(answer, result.predictions);
}

// `history` ends with the two names.
void explainNetwork(const EngineStart& start, const std::vector<std::string>& history, size_t top,
                    Explanation& result) {
    const std::vector<AppUsage> table = readTable(start, engine_file::USAGE, readUsageTable);
    const auto nameOf = [&](int id) {
        const auto i = static_cast<size_t>(id);
        return i < table.size() ? table[i].package : std::string();
    };
    std::vector<int> seen;  // newest first
    for (auto name = history.rbegin(); name != history.rend() && seen.size() < 2; ++name) {
        const auto usage = std::find_if(table.begin(), table.end(), [&](const AppUsage& candidate) {
            return candidate.package == *name;
        });
        if (usage != table.end()) {
            seen.push_back(usage->index);
        } else if (name - history.rbegin() < 2) {
            result.notes.push_back((name->empty() ? "An empty name" : printable(*name)) +
                                   " is not among the " + std::to_string(ZmlSession::VOCABULARY) +
                                   " applications that the network knows: it passes over it to "
                                   "the one before.");
        }
    }
    if (seen.size() < 2) {
        result.notes.push_back(
            "The network finds no two applications that it knows in the history "
            "and answers nothing; the Bayes model is not asked in its place.");
        return;
    }
    const std::vector<int> x = {seen[1], seen[0]};
    result.older = nameOf(x[0]);
    result.newer = nameOf(x[1]);

    // The engine's own session is closed by now. This one is not asked, as that would teach it.
    zml::SessionState session(ZmlAdapter::SESSION_NAME, zml::NeuralLearner::create);
    if (!session.createSequenceNetwork(ZmlSession::MODE_LOAD, nullptr, 0)) {
        throw std::runtime_error("the sequence network cannot be loaded");
    }
    zml::ScoreParts parts;
    const auto ask = [&](const std::vector<int>& input) {
        zml::Scores scores = {};  // zeros when it does not answer
        session.explain(input.data(), ZmlSession::CONTEXT, scores, parts);
        return std::vector<float>(scores.begin(), scores.end());
    };
    const auto others = [&](int id) {
        std::vector<int> ids;
        for (int other = static_cast<int>(table.size()) - 1; other >= 0; --other) {
            if (other != id) ids.push_back(other);  // the most used first
        }
        return ids;
    };
    takeScores(x, ask, {{"older", others(x[0]), nameOf}, {"newer", others(x[1]), nameOf}}, nameOf,
               top, result);
    ask(x);
    for (Prediction& prediction : result.predictions) {
        prediction.lifts = {static_cast<double>(prediction.score) * ZmlSession::VOCABULARY};
        for (const zml::Scores& part : parts.factors) {
            prediction.lifts.push_back(
                static_cast<double>(part[static_cast<size_t>(prediction.number)]));
        }
    }
}

void choosePredictor(const Question& question, const EngineStart& start, Explanation& result) {
    result.networkReady = start.networkReady();
    result.bayesReady = start.bayesReady();
    result.usesNetwork =
        question.predictor == Question::Predictor::NETWORK ||
        (question.predictor == Question::Predictor::ENGINES_CHOICE && start.networkReady());
    if (result.usesNetwork ? result.networkReady : result.bayesReady) return;
    throw InputError(printable(question.directory) + ": there is no " +
                     (result.usesNetwork ? "sequence network" : "Bayes model") +
                     " that a start of the engine would load; ksbrain inspect says what is there, "
                     "and ksbrain replay --data-dir makes such files");
}

}  // namespace

std::string slotText(int slot) {
    const auto minute = static_cast<unsigned>(slot * MINUTES_PER_SLOT);
    const unsigned end = minute + MINUTES_PER_SLOT - 1;
    return formatted("%02u:%02u-%02u:%02u", minute / 60, minute % 60, end / 60, end % 60);
}

Explanation explain(const Question& question) {
    const EngineStart start{EngineFiles(question.directory)};
    Explanation result;
    if (question.time) {
        environment::setNow(*question.time);
    } else {
        environment::useSystemClock();
    }
    result.time = environment::now();
    environment::setNow(result.time);
    choosePredictor(question, start, result);

    std::vector<std::string> history;
    std::istringstream lines(start.content(engine_file::HISTORY).value_or(""));
    for (std::string line; std::getline(lines, line);) history.push_back(line);
    if (question.names) {
        history.push_back(question.names->first);
        history.push_back(question.names->second);
    } else if (history.size() < 2) {
        throw InputError(printable(question.directory) + ": " + engine_file::HISTORY +
                         " does not name the last two applications; give them with --last and "
                         "--current");
    }
    result.last = history[history.size() - 2];
    result.current = history.back();
    if (result.usesNetwork) {
        explainNetwork(start, history, question.top, result);
    } else {
        explainBayes(start, question.top, result);
    }
    return result;
}
