#include "tools/inspect/Explanation.h"

#include <algorithm>
#include <sstream>

#include "base/Environment.h"
#include "platform/workstation/SettableEnvironment.h"
#include "tools/common/InputError.h"
#include "tools/common/Text.h"
#include "tools/inspect/ExplainBayes.h"
#include "tools/inspect/ExplainNetwork.h"

namespace {

std::vector<std::string> historyLines(const EngineStart& start) {
    std::vector<std::string> names;
    std::istringstream text(start.content(engine_file::HISTORY).value_or(""));
    for (std::string line; std::getline(text, line);) names.push_back(line);
    return names;
}

[[noreturn]] void refuse(const Question& question, const std::string& why) {
    throw InputError(printable(question.directory) + ": " + why);
}

void choosePredictor(const Question& question, const EngineStart& start, Explanation& result) {
    result.networkReady = start.networkReady();
    result.bayesReady = start.bayesReady();
    result.usesNetwork =
        question.predictor == Question::Predictor::NETWORK ||
        (question.predictor == Question::Predictor::ENGINES_CHOICE && start.networkReady());
    if (result.usesNetwork ? result.networkReady : result.bayesReady) return;
    const std::string advice =
        "; ksbrain inspect says what is there, and ksbrain replay --data-dir makes such files";
    if (result.usesNetwork) {
        refuse(question,
               "there is no sequence network that a start of the engine would load" + advice);
    }
    refuse(question, "there is no Bayes model that a start of the engine would load" + advice);
}

}  // namespace

std::string slotText(int slot) {
    const unsigned hour = static_cast<unsigned>(slot) / 2;
    const unsigned minute = static_cast<unsigned>(slot) % 2 * 30;
    return formatted("%02u:%02u-%02u:%02u", hour, minute, hour, minute + 29);
}

Explanation explain(const Question& question) {
    const EngineFiles files = EngineFiles::read(question.directory);
    const EngineStart start(files);
    Explanation result;
    if (question.time) {
        environment::setNow(*question.time);
    } else {
        environment::useSystemClock();
    }
    result.time = environment::now();
    environment::setNow(result.time);
    choosePredictor(question, start, result);

    std::vector<std::string> history = historyLines(start);
    if (question.names) {
        std::tie(result.last, result.current) = *question.names;
        history.push_back(result.last);
        history.push_back(result.current);
    } else if (history.size() >= 2) {
        result.last = history[history.size() - 2];
        result.current = history.back();
    } else {
        refuse(question,
               "AppHistory does not name the last two applications; give them with "
               "--last and --current");
    }
    if (result.usesNetwork) {
        explainNetwork(start, history, question.top, result);
    } else {
        explainBayes(start, question.top, result);
    }
    return result;
}
