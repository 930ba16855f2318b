#include "tools/common/HelpText.h"

#include <string_view>

#include "tools/common/Text.h"

namespace {

constexpr size_t COLUMN = 22;  // where descriptions start

std::string entry(const std::string& title, const std::string& description) {
    std::string head = "  " + title;
    if (head.size() + 2 > COLUMN) head += '\n';
    const size_t line = head.back() == '\n' ? 0 : head.size();
    return head + std::string(COLUMN - line, ' ') + wrapped(description, COLUMN) + '\n';
}

// "-o, --output FILE", or an operand's name.
std::string titleOf(const Argument& argument) {
    std::string title;
    for (const std::string& name : argument.names) title += (title.empty() ? "" : ", ") + name;
    return title + (title.empty() || argument.isFlag() ? "" : " ") + argument.value;
}

// The operands or the options.
std::string section(const char* title, const std::vector<Argument>& arguments, bool operands) {
    std::string text;
    for (const Argument& argument : arguments) {
        if (argument.isOperand() != operands) continue;
        text += entry(titleOf(argument), argument.description);
    }
    return text.empty() ? "" : std::string("\n") + title + ":\n" + text;
}

std::string beginning(const std::string& description, const std::string& usage) {
    constexpr std::string_view USAGE = "Usage: ";
    return wrapped(description, 0) + "\n\n" + std::string(USAGE) + wrapped(usage, USAGE.size()) +
           '\n';
}

std::string ending(const std::vector<Example>& examples, const std::string& note) {
    std::string text = "\nExamples:\n";
    for (const Example& example : examples) text += entry(example.command, example.effect);
    return text + (note.empty() ? "" : '\n' + note + '\n');
}

// "ksbrain replay [OPTIONS] TRACE".
std::string usage(const Program& program, const Verb& verb) {
    std::string options, operands;
    for (const Argument& argument : verb.arguments) {
        const std::string value = argument.value + (argument.isRepeated ? "..." : "");
        if (argument.isOperand()) {
            operands += argument.isRequired ? ' ' + value : " [" + value + ']';
        } else if (argument.isRequired) {
            options += ' ' + argument.names.front() + ' ' + value;
        }
    }
    return program.name + ' ' + verb.name + " [OPTIONS]" + options + operands;
}

std::string verbs(const Program& program) {
    std::string text =
        beginning(program.description, program.name + " VERB [OPTIONS]") + "\nVerbs:\n";
    for (const Verb& verb : program.verbs) {
        const std::string& description = verb.description;
        text += entry(verb.name, description.substr(0, description.find(". ")));
    }
    return text;
}

}  // namespace

std::string helpText(const Program& program) {
    return verbs(program) + section("Options", program.options, false) +
           ending(program.examples, program.note);
}

std::string helpText(const Program& program, const Verb& verb) {
    return beginning(verb.description, usage(program, verb)) +
           section("Arguments", verb.arguments, true) + section("Options", verb.arguments, false) +
           ending(verb.examples, verb.note);
}

std::string overview(const Program& program) {
    return verbs(program) + "\nTry \"" + program.name + " VERB --help\".\n";
}
