#include "tools/common/HelpText.h"

#include <CLI/CLI.hpp>
#include <string_view>

#include "tools/common/CommandOutline.h"
#include "tools/common/Text.h"

namespace {

constexpr size_t COLUMN = 22;  // where descriptions start

std::string entry(const std::string& title, const std::string& description) {
    std::string head = "  " + title;
    if (head.size() + 2 > COLUMN) head += '\n';
    const size_t line = head.back() == '\n' ? 0 : head.size();
    return head + std::string(COLUMN - line, ' ') + wrapped(description, COLUMN) + '\n';
}

std::string section(const char* title, const std::vector<CommandArgument>& arguments) {
    if (arguments.empty()) return "";
    std::string text = std::string("\n") + title + ":\n";
    for (const CommandArgument& argument : arguments) {
        text += entry(titleOf(argument), argument.description);
    }
    return text;
}

std::string beginning(const CommandOutline& command, const std::string& name) {
    std::string text = wrapped(command.description, 0) + "\n\nUsage: " +
                       wrapped(name + ' ' + usageOf(command), std::string_view("Usage: ").size()) +
                       '\n';
    if (!command.verbs.empty()) text += "\nVerbs:\n";
    for (const CommandOutline& verb : command.verbs)
        text += entry(verb.name, brief(verb.description));
    return text;
}

}  // namespace

std::string helpText(const CLI::App& command, const std::string& name) {
    const CommandOutline outline = outlineOf(command);
    std::string text = beginning(outline, name) + section("Arguments", outline.operands) +
                       section("Options", outline.options);
    if (!outline.footer.empty()) text += '\n' + outline.footer + '\n';
    return text;
}

std::string overview(const CLI::App& program) {
    const std::string name = program.get_name();
    return beginning(outlineOf(program), name) + "\nTry \"" + name + " VERB --help\".\n";
}
