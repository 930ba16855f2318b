#include "tools/manual/ShellCompletion.h"

namespace {

using Kind = CommandArgument::Kind;

std::string escaped(const std::string& text, const char* special) {
    std::string result;
    for (const char c : text) {
        if (c == '\'') {
            result += "'\\''";
            continue;
        }
        if (std::string(special).find(c) != std::string::npos) result += '\\';
        result += c;
    }
    return result;
}

std::string valueAction(const CommandArgument& argument) {
    if (!argument.choices.empty()) {
        std::string words;
        for (const std::string& choice : argument.choices)
            words += (words.empty() ? "" : " ") + choice;
        return '(' + words + ')';
    }
    if (argument.kind == Kind::FILE) return "_files";
    return argument.kind == Kind::DIRECTORY ? "_files -/" : " ";
}

std::string value(const CommandArgument& argument) {
    return ':' + escaped(argument.value, ":\\") + ':' + valueAction(argument);
}

// One entry a name; an option that has been given is not offered again unless it may be.
std::string optionSpecifications(const CommandArgument& option, const std::string& indent) {
    std::string text;
    for (const std::string& name : option.names) {
        const bool flag = option.kind == Kind::FLAG;
        const char* const attached = flag ? "" : name[1] == '-' ? "=" : "+";
        text += " \\\n" + indent + '\'' + (option.repeated ? "*" : "") + name + attached + '[' +
                escaped(brief(option.description), "[]\\:") + ']' + (flag ? "" : value(option)) +
                '\'';
    }
    return text;
}

std::string verbCase(const CommandOutline& verb) {
    const std::string indent(16, ' ');
    std::string text = "            " + verb.name + ")\n            _arguments -s";
    for (const CommandArgument& option : verb.options) text += optionSpecifications(option, indent);
    for (const CommandArgument& operand : verb.operands) {
        text += " \\\n" + indent + '\'' + (operand.repeated ? "*" : "") + value(operand) + '\'';
    }
    return text + " ;;\n";
}

}  // namespace

std::string zshCompletion(const CommandOutline& program) {
    std::string text =
        "#compdef ksbrain\n"
        "# zsh completion for ksbrain: a file _ksbrain in a directory of fpath\n"
        "_ksbrain() {\n"
        "    local context state state_descr line\n"
        "    typeset -A opt_args\n"
        "    _arguments -C";
    for (const CommandArgument& option : program.options) {
        text += optionSpecifications(option, std::string(8, ' '));
    }
    text +=
        " \\\n        '1:verb:->verb' '*::argument:->verb_arguments'\n    case $state in\n"
        "        verb)\n        local -a verbs=(";
    for (const CommandOutline& verb : program.verbs) {
        text += "\n            '" + verb.name + ':' + escaped(verb.description, "\\") + '\'';
    }
    text +=
        "\n        )\n        _describe verb verbs ;;\n"
        "        verb_arguments)\n        case $words[1] in\n";
    for (const CommandOutline& verb : program.verbs) text += verbCase(verb);
    return text +
           "        esac ;;\n    esac\n}\n"
           "if [[ $funcstack[1] == _ksbrain ]]; then _ksbrain \"$@\"; else compdef _ksbrain "
           "ksbrain; fi\n";
}
