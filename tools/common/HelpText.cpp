#include "tools/common/HelpText.h"

#include <algorithm>
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

std::string section(const char* title, const std::vector<Argument>& arguments) {
    if (arguments.empty()) return "";
    std::string text = std::string("\n") + title + ":\n";
    for (const Argument& argument : arguments) {
        text += entry(titleOf(argument), argument.description);
    }
    return text;
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
std::string usage(const Program& program, const Verb& verb, const std::vector<Argument>& operands) {
    std::string text = program.name + ' ' + verb.name + " [OPTIONS]";
    for (const Argument& option : optionsOf(verb)) {
        if (option.isRequired) text += ' ' + option.names.front() + ' ' + option.value;
    }
    for (const Argument& operand : operands) {
        const std::string name = operand.value + (operand.isRepeated ? "..." : "");
        text += operand.isRequired ? ' ' + name : " [" + name + ']';
    }
    return text;
}

// The beginning of a description, for where there is little room.
std::string brief(const std::string& description) {
    size_t end = description.size();
    for (const char* const stop : {". ", ": ", "; ", " ("}) {
        end = std::min(end, description.find(stop));
    }
    return description.substr(0, end);
}

std::string verbs(const Program& program) {
    std::string text =
        beginning(program.description, program.name + " VERB [OPTIONS]") + "\nVerbs:\n";
    for (const Verb& verb : program.verbs) text += entry(verb.name, brief(verb.description));
    return text;
}

}  // namespace

std::string helpText(const Program& program) {
    return verbs(program) + section("Options", optionsOf(program)) +
           ending(program.examples, program.note);
}

std::string helpText(const Program& program, const Verb& verb) {
    std::vector<Argument> operands;
    std::copy_if(verb.arguments.begin(), verb.arguments.end(), std::back_inserter(operands),
                 [](const Argument& argument) { return argument.isOperand(); });
    return beginning(verb.description, usage(program, verb, operands)) +
           section("Arguments", operands) + section("Options", optionsOf(verb)) +
           ending(verb.examples, verb.note);
}

std::string overview(const Program& program) {
    return verbs(program) + "\nTry \"" + program.name + " VERB --help\".\n";
}
