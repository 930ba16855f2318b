#include "tools/common/CommandLineError.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <numeric>
#include <string_view>

#include "tools/common/CommandOutline.h"
#include "tools/common/Text.h"

namespace {

// How many letters must be put in, left out or replaced to make one word the other; two neighbours
// that changed places count as one.
size_t distance(std::string_view a, std::string_view b) {
    std::vector<size_t> before(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
    std::iota(last.begin(), last.end(), 0U);
    for (size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({row[j - 1] + 1, last[j] + 1, last[j - 1] + (a[i - 1] != b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], before[j - 2] + 1);
            }
        }
        before = last;
        last = row;
    }
    return last.back();
}

// What may have been meant, as the end of a message; the word's beginning is as good as a typing
// error.
std::string suggestion(const std::string& word, const std::vector<std::string>& candidates) {
    std::string best;
    size_t least = 1 + std::max<size_t>(1, word.size() / 3);
    for (const std::string& candidate : candidates) {
        const bool begun = word.size() > 3 && candidate.compare(0, word.size(), word) == 0;
        const size_t off = begun ? 0 : distance(word, candidate);
        if (off >= least) continue;
        least = off;
        best = candidate;
    }
    return best.empty() ? "" : "; did you mean " + best + '?';
}

}  // namespace

std::string commandLineError(const CLI::App& program, const std::string& message) {
    const std::vector<CLI::App*> given = program.get_subcommands();
    const bool beforeVerb = given.empty() || !program.remaining().empty();
    const CLI::App& command = beforeVerb ? program : *given.front();
    const std::string name = command.get_name();
    const std::string help =
        " (see " + (beforeVerb ? "" : program.get_name() + ' ') + name + " --help)";

    const CommandOutline outline = outlineOf(command);
    const std::vector<std::string> unknown = command.remaining();
    const auto option = std::find_if(unknown.begin(), unknown.end(),
                                     [](const std::string& word) { return word[0] == '-'; });
    if (option != unknown.end()) {
        const std::string word = option->substr(0, option->find('='));
        std::vector<std::string> names;
        for (const CommandArgument& each : outline.options) {
            names.insert(names.end(), each.names.begin(), each.names.end());
        }
        const std::string hint = suggestion(word, names);
        return name + " has no option " + printable(word) + (hint.empty() ? help : hint);
    }
    if (unknown.empty()) {
        return (given.empty() ? "" : name + ": ") + printable(message) + help;
    }
    if (outline.verbs.empty()) return name + ": too much is " + inQuotes(unknown.front()) + help;
    std::vector<std::string> names;
    for (const CommandOutline& verb : outline.verbs) names.push_back(verb.name);
    const std::string hint = suggestion(unknown.front(), names);
    return "there is no verb " + inQuotes(unknown.front()) + (hint.empty() ? help : hint);
}
