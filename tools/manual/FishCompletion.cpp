#include "tools/manual/ShellCompletion.h"

namespace {

using Kind = CommandArgument::Kind;

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) {
        if (c == '\'' || c == '\\') result += '\\';
        result += c;
    }
    return result + '\'';
}

// What fish is told about a value, with what it completes to.
std::string value(const CommandArgument& argument) {
    if (!argument.choices.empty()) {
        std::string words;
        for (const std::string& choice : argument.choices)
            words += (words.empty() ? "" : " ") + choice;
        return " -x -a " + quoted(words);
    }
    if (argument.kind == Kind::FILE) return " -r -F";
    if (argument.kind == Kind::DIRECTORY) return " -x -a '(__fish_complete_directories)'";
    return argument.kind == Kind::FLAG ? "" : " -x";
}

std::string optionLine(const std::string& start, const CommandArgument& option) {
    std::string text = start;
    for (const std::string& name : option.names) {
        text += name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    return text + value(option) + " -d " + quoted(brief(option.description)) + '\n';
}

// The last operand stands for all, since fish does not count them.
std::string operandLine(const std::string& start, const CommandArgument& operand) {
    if (!operand.choices.empty() || operand.kind == Kind::DIRECTORY)
        return start + value(operand) + '\n';
    return operand.kind == Kind::FILE ? start + " -F\n" : "";
}

}  // namespace

std::string fishCompletion(const CommandOutline& program) {
    std::string text =
        "# fish completion for ksbrain: a file ksbrain.fish in a directory of fish_complete_path\n"
        "complete -c ksbrain -f\n";
    for (const CommandArgument& option : program.options) {
        text += optionLine("complete -c ksbrain -n __fish_use_subcommand", option);
    }
    for (const CommandOutline& verb : program.verbs) {
        text += "complete -c ksbrain -n __fish_use_subcommand -a " + verb.name + " -d " +
                quoted(verb.description) + '\n';
        const std::string start =
            "complete -c ksbrain -n '__fish_seen_subcommand_from " + verb.name + '\'';
        for (const CommandArgument& option : verb.options) text += optionLine(start, option);
        if (!verb.operands.empty()) text += operandLine(start, verb.operands.back());
    }
    return text;
}
