#include "attack/faults/Survivors.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "attack/faults/Host.h"
#include "preload/FileNames.h"

using namespace engine_file;

namespace {

std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

// The number behind a key; 0 without it.
long numberAfter(const std::string& text, const std::string& key) {
    const size_t at = text.find(key);
    return at == std::string::npos ? 0 : strtol(text.c_str() + at + key.size(), nullptr, 10);
}

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

}  // namespace

Survivors::Survivors(const std::string& directory, const std::string& log) {
    const auto file = [&](const char* name) { return contentOf(directory + "/" + name); };
    const std::string evaluation = file(EVALUATION);
    const std::string history = file(HISTORY);
    const bool modelLoaded =
        !contains(log, "does not exist") && !contains(log, "bayes unserialize error");
    scoredNetwork = numberAfter(evaluation, "ai ") != 0;
    items = {
        {"samples", modelLoaded ? numberAfter(file(MODEL), "mTotalSampleCount ") : 0},
        {"names", contains(log, "load app map ok") ? numberAfter(file(APP_TABLE), "appmap ") : 0},
        {"history", std::count(history.begin(), history.end(), '\n')},
        {"scored", numberAfter(evaluation, "AppOpenCount ")},
        {"usage",
         contains(log, "load app usage ok") ? strtol(file(USAGE).c_str(), nullptr, 10) : 0},
        {"network", contains(log, "ZmlAdapter inited and trained") ? 1 : 0},
        {"predicted", numberAfter(log, "PREDICTED ")},
    };
}

std::string Survivors::toString() const {
    std::string text;
    for (const Item& item : items)
        text += std::string(item.name) + " " + std::to_string(item.count) + "  ";
    return text;
}

Judgement judge(const Survivors& survivors, const Survivors& before, const Survivors& undisturbed) {
    Judgement judgement;
    for (size_t i = 0; i < survivors.items.size(); ++i) {
        const auto& [name, count] = survivors.items[i];
        const long least = std::min(before.items[i].count, undisturbed.items[i].count);
        if (count >= least && count >= undisturbed.items[i].count) continue;
        // A training drops a part of the history: what is appended after it is this run's.
        const long ofThisRun = std::string(name) == "history" ? OPENINGS : 0;
        // Only the predictor that is in use is scored, from 0 when it comes into use.
        const bool otherScored =
            std::string(name) == "scored" && survivors.scoredNetwork != before.scoredNetwork;
        const bool lost = count < least - ofThisRun && !otherScored;
        judgement.verdict = std::max(judgement.verdict, lost ? Verdict::LOST : Verdict::SHORT);
        judgement.what += std::string(judgement.what.empty() ? "" : ", ") + name + " " +
                          std::to_string(count) + " (before " +
                          std::to_string(before.items[i].count) + ", undisturbed " +
                          std::to_string(undisturbed.items[i].count) + ")";
    }
    return judgement;
}
