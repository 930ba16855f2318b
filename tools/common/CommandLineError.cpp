#include "tools/common/CommandLineError.h"

#include <algorithm>
#include <numeric>
#include <string_view>

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
// error. When nothing is near, where help is.
std::string hint(const std::string& word, const std::vector<std::string>& candidates,
                 const std::string& help) {
    std::string best;
    size_t least = 1 + std::max<size_t>(1, word.size() / 3);
    for (const std::string& candidate : candidates) {
        const bool begun = word.size() > 3 && startsWith(candidate, word);
        const size_t off = begun ? 0 : distance(word, candidate);
        if (off >= least) continue;
        least = off;
        best = candidate;
    }
    return best.empty() ? help : "; did you mean " + best + '?';
}

}  // namespace

std::string commandLineError(const Program& program, const Verb* verb,
                             const std::vector<std::string>& unknown, const std::string& message) {
    const std::string help =
        " (see " + program.name + (verb == nullptr ? "" : ' ' + verb->name) + " --help)";
    const std::string place = verb == nullptr ? "" : verb->name + ": ";
    if (unknown.empty()) return place + printable(message) + help;

    std::vector<std::string> names;
    const auto option = std::find_if(unknown.begin(), unknown.end(),
                                     [](const std::string& word) { return word[0] == '-'; });
    if (option != unknown.end()) {
        for (const Argument& each : verb == nullptr ? program.options : verb->arguments) {
            names.insert(names.end(), each.names.begin(), each.names.end());
        }
        const std::string word = option->substr(0, option->find('='));
        return (verb == nullptr ? program.name : verb->name) + " has no option " + printable(word) +
               hint(word, names, help);
    }
    if (verb != nullptr) return place + "too much is " + inQuotes(unknown.front()) + help;
    for (const Verb& each : program.verbs) names.push_back(each.name);
    return "there is no verb " + inQuotes(unknown.front()) + hint(unknown.front(), names, help);
}
