#include "tools/common/CommandOutline.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

namespace {

using Kind = CommandArgument::Kind;

std::string inOneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

bool isLiteral(const std::string& alternative) {
    return !alternative.empty() &&
           std::all_of(alternative.begin(), alternative.end(),
                       [](unsigned char c) { return (c >= 'a' && c <= 'z') || c == '-'; });
}

std::vector<std::string> literals(const std::string& value) {
    std::vector<std::string> result;
    std::istringstream alternatives(value);
    for (std::string alternative; std::getline(alternatives, alternative, '|');) {
        if (isLiteral(alternative)) result.push_back(alternative);
    }
    return result;
}

// What a value is follows from its name, so that nobody has to say it twice.
Kind kindOf(const std::string& value) {
    if (value.empty()) return Kind::FLAG;
    if (value == "DIR") return Kind::DIRECTORY;
    if (value.compare(0, 4, "FILE") == 0 || value == "PATH") return Kind::FILE;
    return Kind::WORD;
}

// Without the parser's own remarks on it, "N:INT in [1 - 1000]".
std::string valueName(const CLI::Option& option) {
    std::string name = option.get_type_name();
    for (const char* const remark : {":{", ":INT in", ":FLOAT in", ":NONNEGATIVE", ":POSITIVE"}) {
        name = name.substr(0, name.find(remark));
    }
    return name;
}

CommandArgument outlineOf(const CLI::Option& option) {
    CommandArgument result{};
    for (const std::string& name : option.get_snames()) result.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) result.names.push_back("--" + name);
    result.description = inOneLine(option.get_description());
    result.required = option.get_required();
    result.repeated = option.get_items_expected_max() > 1;
    if (option.get_type_size() == 0) return result;
    result.value = valueName(option);
    result.choices = literals(result.value);
    if (option.get_positional()) {
        result.value = option.get_name(true);
        result.kind = result.value == "DIR" ? Kind::DIRECTORY : Kind::FILE;
    } else {
        result.kind = kindOf(result.value);
    }
    return result;
}

}  // namespace

CommandOutline outlineOf(const CLI::App& command) {
    CommandOutline result{
        command.get_name(), inOneLine(command.get_description()), command.get_footer(), {}, {}, {}};
    for (const CLI::Option* const option : command.get_options()) {
        if (option->get_group().empty()) continue;
        (option->get_positional() ? result.operands : result.options).push_back(outlineOf(*option));
    }
    for (const CLI::App* const verb : command.get_subcommands({})) {
        if (!verb->get_group().empty()) result.verbs.push_back(outlineOf(*verb));
    }
    return result;
}

std::string usageOf(const CommandOutline& command) {
    std::string usage = command.verbs.empty() ? "" : "VERB ";
    usage += "[OPTIONS]";
    for (const CommandArgument& option : command.options) {
        if (option.required) usage += ' ' + option.names.front() + ' ' + option.value;
    }
    for (const CommandArgument& operand : command.operands) {
        const std::string name = operand.value + (operand.repeated ? "..." : "");
        usage += operand.required ? ' ' + name : " [" + name + ']';
    }
    return usage;
}

std::string titleOf(const CommandArgument& argument) {
    std::string title;
    for (const std::string& name : argument.names) title += (title.empty() ? "" : ", ") + name;
    if (argument.value.empty()) return title;
    return title.empty() ? argument.value : title + ' ' + argument.value;
}

std::string brief(const std::string& description) {
    size_t end = description.size();
    for (const char* const stop : {". ", ": ", "; ", " ("}) {
        end = std::min(end, description.find(stop));
    }
    return description.substr(0, end);
}
