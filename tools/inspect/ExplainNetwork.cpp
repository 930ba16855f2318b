#include "tools/inspect/ExplainNetwork.h"

#include <algorithm>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"
#include "tools/inspect/NetworkSession.h"

namespace {

std::vector<AppUsage> readTable(const EngineStart& start) {
    const std::optional<std::string> text = start.content(engine_file::USAGE);
    if (!text) return {};
    std::string problem;
    const auto table = readUsageTable(*text, problem);
    if (table) return *table;
    throw InputError("AppUsage: " + problem + "; ksbrain inspect says more");
}

}  // namespace

void explainNetwork(const EngineStart& start, const std::vector<std::string>& history, size_t top,
                    Explanation& result) {
    const std::vector<AppUsage> table = readTable(start);
    const auto find = [&](const auto& matches) {
        const auto found = std::find_if(table.begin(), table.end(), matches);
        return found == table.end() ? nullptr : &*found;
    };
    std::vector<const AppUsage*> seen;  // newest first
    for (auto name = history.rbegin(); name != history.rend() && seen.size() < 2; ++name) {
        const AppUsage* const usage =
            find([&](const AppUsage& candidate) { return candidate.package == *name; });
        if (usage != nullptr) {
            seen.push_back(usage);
        } else if (name - history.rbegin() < 2) {
            result.notes.push_back((name->empty() ? "An empty name" : printable(*name)) +
                                   " is not among the 30 applications that the network knows: it "
                                   "passes over it to the one before.");
        }
    }
    if (seen.size() < 2) {
        result.notes.push_back(
            "The network finds no two applications that it knows in the history "
            "and answers nothing; the Bayes model is not asked in its place.");
        return;
    }
    result.newer = seen[0]->package;
    result.older = seen[1]->package;
    const int ids[] = {seen[1]->index, seen[0]->index};

    NetworkSession network;
    const zml::Scores scores = network.ask(ids[0], ids[1]);
    const std::vector<int> ranking = NetworkSession::ranking(scores);
    const auto nameOf = [&](int id) {
        const AppUsage* const usage =
            find([&](const AppUsage& candidate) { return candidate.index == id; });
        return usage == nullptr ? std::string() : usage->package;
    };
    for (size_t i = 0; i < std::min(top, ranking.size()); ++i) {
        result.network.push_back(
            {nameOf(ranking[i]), ranking[i], scores[static_cast<size_t>(ranking[i])]});
    }
    if (ranking.size() < 2) return;
    for (const bool newer : {false, true}) {
        Alternative alternative{newer ? "newer" : "older", newer ? result.newer : result.older,
                                std::nullopt};
        for (int id = zml::VOCABULARY - 1; id >= 0; --id) {  // the most used first
            if (id == ids[newer] || nameOf(id).empty()) continue;
            const std::vector<int> changed =
                NetworkSession::ranking(newer ? network.ask(ids[0], id) : network.ask(id, ids[1]));
            if (changed.empty() || changed.front() != ranking[1]) continue;
            alternative.to = nameOf(id);
            break;
        }
        result.alternatives.push_back(alternative);
    }
}
