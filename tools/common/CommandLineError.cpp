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

std::vector<std::string> namesOf(const std::vector<Argument>& options) {
    std::vector<std::string> names;
    for (const Argument& option : options) {
        names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return names;
}

// What there is to say of an option among the words that the command does not have.
std::string unknownOption(const std::string& command, const std::vector<std::string>& unknown,
                          const std::vector<Argument>& options, const std::string& help) {
    const auto option = std::find_if(unknown.begin(), unknown.end(),
                                     [](const std::string& word) { return word[0] == '-'; });
    if (option == unknown.end()) return "";
    const std::string word = option->substr(0, option->find('='));
    const std::string hint = suggestion(word, namesOf(options));
    return command + " has no option " + printable(word) + (hint.empty() ? help : hint);
}

}  // namespace

std::string commandLineError(const Program& program, const std::vector<std::string>& unknown,
                             const std::string& message) {
    const std::string help = " (see " + program.name + " --help)";
    if (unknown.empty()) return printable(message) + help;
    const std::string option = unknownOption(program.name, unknown, optionsOf(program), help);
    if (!option.empty()) return option;
    std::vector<std::string> verbs;
    for (const Verb& verb : program.verbs) verbs.push_back(verb.name);
    const std::string hint = suggestion(unknown.front(), verbs);
    return "there is no verb " + inQuotes(unknown.front()) + (hint.empty() ? help : hint);
}

std::string commandLineError(const Program& program, const Verb& verb,
                             const std::vector<std::string>& unknown, const std::string& message) {
    const std::string help = " (see " + program.name + ' ' + verb.name + " --help)";
    if (unknown.empty()) return verb.name + ": " + printable(message) + help;
    const std::string option = unknownOption(verb.name, unknown, optionsOf(verb), help);
    if (!option.empty()) return option;
    return verb.name + ": too much is " + inQuotes(unknown.front()) + help;
}
