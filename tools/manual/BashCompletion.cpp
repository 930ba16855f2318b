#include "tools/manual/ShellCompletion.h"

namespace {

using Kind = CommandArgument::Kind;

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

std::string joined(const std::vector<std::string>& words, const char* between) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
    return text;
}

std::string wordsCall(const std::vector<std::string>& words) {
    return "_ksbrain_words '" + joined(words, " ") + "'";
}

// Completes the value of an option or an operand; a word that only the user knows has none.
std::string valueCall(const CommandArgument& argument) {
    if (!argument.choices.empty()) return wordsCall(argument.choices);
    if (argument.kind == Kind::FILE) return "_ksbrain_files -f";
    if (argument.kind == Kind::DIRECTORY) return "_ksbrain_files -d";
    return ":";
}

std::vector<std::string> optionNames(const CommandOutline& command) {
    std::vector<std::string> names;
    for (const CommandArgument& option : command.options) {
        names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return names;
}

std::string verbCase(const CommandOutline& verb) {
    std::string text = "        " + verb.name + ")\n            case $previous in\n";
    for (const CommandArgument& option : verb.options) {
        if (option.kind == Kind::FLAG) continue;
        text += "                " + joined(option.names, " | ") + ") " + valueCall(option) +
                "; return ;;\n";
    }
    text += "            esac\n            if [[ $current == -* ]]; then " +
            wordsCall(optionNames(verb)) + "; return; fi\n";
    if (!verb.operands.empty()) text += "            " + valueCall(verb.operands.back()) + '\n';
    return text + "            ;;\n";
}

}  // namespace

std::string bashCompletion(const CommandOutline& program) {
    std::vector<std::string> verbs;
    for (const CommandOutline& verb : program.verbs) verbs.push_back(verb.name);
    std::string text = START;
    text += "    if [[ $COMP_CWORD == 1 && $current == -* ]]; then " +
            wordsCall(optionNames(program)) + "; return; fi\n    if [[ $COMP_CWORD == 1 ]]; then " +
            wordsCall(verbs) + "; return; fi\n    case ${COMP_WORDS[1]} in\n";
    for (const CommandOutline& verb : program.verbs) text += verbCase(verb);
    return text + "    esac\n}\ncomplete -F _ksbrain ksbrain\n";
}
