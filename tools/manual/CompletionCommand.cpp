#include "tools/manual/CompletionCommand.h"

#include <algorithm>
#include <memory>
#include <sstream>

#include "tools/common/InputError.h"
#include "tools/common/Output.h"
#include "tools/common/Text.h"

namespace {

// What follows does not depend on the command line. A value after '=' is a word of its own to bash.
constexpr char START[] = R"(# bash completion for ksbrain: source this file
_ksbrain_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current"); }
_ksbrain_files() {
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen "$1" -- "$current")
}
_ksbrain() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
    COMPREPLY=()
    if [[ $current == = ]]; then
        current=
    elif [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD-2]}
    fi
)";

std::string wordsCall(const std::string& words) {
    return "_ksbrain_words '" + words + "'";
}

// Of the alternatives of a value those that are typed as they stand, "always never".
std::string literals(const std::string& value) {
    std::string words;
    std::istringstream alternatives(value);
    for (std::string word; std::getline(alternatives, word, '|');) {
        if (std::all_of(word.begin(), word.end(), islower))
            words += (words.empty() ? "" : " ") + word;
    }
    return words;
}

// Completes the value of an option or an operand; what it is follows from its name. A word that
// only the user knows has no completion.
std::string valueCall(const Argument& argument) {
    const std::string words = literals(argument.value);
    if (!words.empty()) return wordsCall(words);
    if (argument.value == "DIR") return "_ksbrain_files -d";
    const bool file =
        argument.isOperand() || startsWith(argument.value, "FILE") || argument.value == "PATH";
    return file ? "_ksbrain_files -f" : ":";
}

std::string namesOf(const Argument& option, const char* between) {
    return option.names.size() == 1 ? option.names[0] : option.names[0] + between + option.names[1];
}

std::string optionsCall(const std::vector<Argument>& options) {
    std::string words;
    for (const Argument& option : options)
        words += (words.empty() ? "" : " ") + namesOf(option, " ");
    return "if [[ $current == -* ]]; then " + wordsCall(words) + "; return; fi\n";
}

std::string verbCase(const Verb& verb) {
    std::string options, operand;
    for (const Argument& argument : verb.arguments) {
        if (argument.isOperand()) {
            operand = "            " + valueCall(argument) + '\n';
        } else if (!argument.isFlag()) {
            options += "                " + namesOf(argument, " | ") + ") " + valueCall(argument) +
                       "; return ;;\n";
        }
    }
    return "        " + verb.name + ")\n            case $previous in\n" + options +
           "            esac\n            " + optionsCall(optionsOf(verb)) + operand +
           "            ;;\n";
}

std::string bashCompletion(const Program& program) {
    std::string verbs, cases;
    for (const Verb& verb : program.verbs) {
        verbs += (verbs.empty() ? "" : " ") + verb.name;
        cases += verbCase(verb);
    }
    return START + std::string("    if [[ $COMP_CWORD == 1 ]]; then\n        ") +
           optionsCall(optionsOf(program)) + "        " + wordsCall(verbs) +
           "\n        return\n    fi\n    case ${COMP_WORDS[1]} in\n" + cases +
           "    esac\n}\ncomplete -F _ksbrain ksbrain\n";
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
