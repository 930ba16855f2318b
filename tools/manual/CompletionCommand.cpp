#include "tools/manual/CompletionCommand.h"

#include <algorithm>
#include <memory>
#include <sstream>

#include "tools/common/InputError.h"
#include "tools/common/Output.h"
#include "tools/common/Text.h"

namespace {

// Looks up with what arguments compgen completes: "replay --charging" for an option's value,
// "replay -" for the options and "replay " for an operand. Without a verb the verbs are the
// operands. A value after '=' is a word of its own to bash.
constexpr char SCRIPT[] = R"(_ksbrain() {
    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} verb=${COMP_WORDS[1]} how
    [[ $before != = ]] || before=${COMP_WORDS[COMP_CWORD-2]}
    [[ $current != = ]] || current=
    [[ $COMP_CWORD != 1 ]] || verb=
    how=${_ksbrain_values[$verb $before]-unset}
    [[ $how != unset || $current != -* ]] || how=${_ksbrain_values[$verb -]}
    [[ $how != unset ]] || how=${_ksbrain_values[$verb ]}
    COMPREPLY=()
    [[ $how == -W* ]] || compopt -o filenames
    [[ -z $how ]] || mapfile -t COMPREPLY < <(eval "compgen $how" -- '"$current"')
}
complete -F _ksbrain ksbrain
)";

std::string fromWords(const std::string& words) {
    return "-W '" + words + "'";
}

std::string fromVerbs(const Program& program) {
    std::string verbs;
    for (const Verb& verb : program.verbs) verbs += verb.name + ' ';
    return fromWords(verbs);
}

// How a value is completed follows from its name; a word that only the user knows is not.
std::string fromValue(const Program& program, const Argument& argument) {
    std::string words;  // of the alternatives those that are typed as they stand, "always never"
    std::istringstream alternatives(argument.value);
    for (std::string word; std::getline(alternatives, word, '|');) {
        if (std::all_of(word.begin(), word.end(), islower)) words += word + ' ';
    }
    if (!words.empty()) return fromWords(words);
    if (argument.value == "VERB") return fromVerbs(program);
    if (argument.value == "DIR") return "-d";
    const bool file =
        argument.isOperand() || startsWith(argument.value, "FILE") || argument.value == "PATH";
    return file ? "-f" : "";
}

std::string entry(const std::string& verb, const std::string& before, const std::string& how) {
    return "    [\"" + verb + ' ' + before + "\"]=\"" + how + "\"\n";
}

// What can be typed after a verb.
std::string entries(const Program& program, const std::string& verb,
                    const std::vector<Argument>& arguments) {
    std::string text, options;
    for (const Argument& argument : arguments) {
        if (argument.isOperand()) text += entry(verb, "", fromValue(program, argument));
        for (const std::string& name : argument.names) {
            options += name + ' ';
            if (!argument.isFlag()) text += entry(verb, name, fromValue(program, argument));
        }
    }
    return text + entry(verb, "-", fromWords(options));
}

std::string bashCompletion(const Program& program) {
    std::string text = entries(program, "", program.options);
    for (const Verb& verb : program.verbs) text += entries(program, verb.name, verb.arguments);
    return "# bash completion for ksbrain: source this file\ndeclare -gA _ksbrain_values=(\n" +
           text + entry("", "", fromVerbs(program)) + ")\n" + SCRIPT;
}

}  // namespace

Verb makeCompletionVerb(const Program& program) {
    const auto shell = std::make_shared<std::string>();
    Verb verb{"completion",
              "Print a script that completes ksbrain's command line in a shell",
              {{"source <(ksbrain completion bash)", "for this bash; a line for ~/.bashrc"},
               {"ksbrain completion bash "
                ">~/.local/share/bash-completion/completions/ksbrain",
                "for every bash from now on"}}};
    verb.text("bash", *shell, "The shell that it is for").required();
    verb.run = [&program, shell] {
        if (*shell != "bash") {
            throw InputError("completion: there is none for " + inQuotes(*shell) +
                             ", only for bash");
        }
        writeOutput(bashCompletion(program));
        return 0;
    };
    return verb;
}
