#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

// What a verb can be given on the command line: an option, or an operand without names.
struct CommandArgument {
    enum class Kind { FLAG, WORD, FILE, DIRECTORY };

    std::vector<std::string> names;  // "-o" and "--output"; none for an operand
    std::string value;               // "DIR", "always|never|HH:MM-HH:MM"; empty for a flag
    std::string description;         // one paragraph without line breaks
    Kind kind;
    std::vector<std::string> choices;  // of the value those that are literal, "always" and "never"
    bool required;
    bool repeated;
};

// A verb, or the program with its verbs, as it was declared to the parser of the command line.
// Help, man page and shell completion are all made from this. Hidden arguments and verbs are left
// out.
struct CommandOutline {
    std::string name;
    std::string description;
    std::string footer;  // examples and the like, as they are to be shown
    std::vector<CommandArgument> operands;
    std::vector<CommandArgument> options;
    std::vector<CommandOutline> verbs;
};

CommandOutline outlineOf(const CLI::App& command);

// "[OPTIONS] -o FILE TRACE...", what follows the command's name.
std::string usageOf(const CommandOutline& command);

// "-o, --output FILE", or an operand's name.
std::string titleOf(const CommandArgument& argument);

// The beginning of a description, for where there is little room.
std::string brief(const std::string& description);
