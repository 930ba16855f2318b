#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// What a verb of the program can be given on the command line, as the verb declares it. Help, man
// page and completion read the declarations, and one source turns them into a parser.
//
//     Verb verb{"replay", "Run a recorded trace through the engine's model",
//               {{"ksbrain replay phone.csv", "how often the engine would have been right"}}};
//     verb.text("TRACE", options->trace, "What to run").required();
//     verb.flag("--json", options->json, "Print one JSON object instead of the table");
//     verb.number("--moments N", 1, 1000, options->moments, "Show so many moments")
//         .excludes("--json");
//     verb.run = [options] { return replay(*options); };

// An option, or an operand: a value with no name of its own before it.
struct Argument {
    std::vector<std::string> names;  // "-o" and "--output"; none for an operand
    std::string value;               // "FILE", "always|never|HH:MM-HH:MM"; empty for a flag
    std::string description;         // one paragraph without line breaks

    // Receives what was given; an empty text for a flag. Throws InputError, whose message need not
    // name the option, when the value cannot be used. The parser itself sees to --help and
    // --version, which have none.
    std::function<void(const std::string&)> take = {};

    bool isRequired = false;
    bool isRepeated = false;  // may be given several times, an operand with several values
    std::vector<std::string> needed = {};    // options that must be given too
    std::vector<std::string> excluded = {};  // options that must not

    bool isOperand() const { return names.empty(); }
    bool isFlag() const { return value.empty(); }

    Argument& required();
    Argument& needs(const std::string& option);
    Argument& excludes(const std::string& option);
};

inline const Argument HELP_OPTION = {{"-h", "--help"}, "", "Show this help"};
inline const Argument VERSION_OPTION = {{"--version"}, "", "Show the version"};

// A command line for a verb's help, and what it does.
struct Example {
    std::string command;
    std::string effect;
};

struct Verb {
    std::string name;
    std::string description;
    std::vector<Example> examples;
    std::string note = {};  // stands below the examples as it is
    std::vector<Argument> arguments = {HELP_OPTION};
    std::function<int()> run = {};  // gives the exit status

    // Each declares an argument. `title` is how it is given: "-o,--output FILE" for an option,
    // "TRACE" for an operand. Where the value goes must live as long as the verb and keeps what it
    // holds when the argument is not given. The reference is good until the next declaration.

    Argument& flag(const std::string& title, bool& given, const std::string& about);

    // `to` is a text, or one that may be absent.
    template <typename Text>
    Argument& text(const std::string& title, Text& to, const std::string& about) {
        return custom(title, about, [&to](const std::string& given) { to = given; });
    }
    Argument& texts(const std::string& title, std::vector<std::string>& to,
                    const std::string& about);

    // A whole number from `least` to `most`.
    template <typename Number>
    Argument& number(const std::string& title, uint64_t least, uint64_t most, Number& to,
                     const std::string& about) {
        return custom(title, about, [&to, least, most](const std::string& given) {
            to = static_cast<Number>(wholeNumber(given, least, most));
        });
    }
    template <typename Number>
    Argument& number(const std::string& title, uint64_t least, uint64_t most,
                     std::optional<Number>& to, const std::string& about) {
        return custom(title, about, [&to, least, most](const std::string& given) {
            to = static_cast<Number>(wholeNumber(given, least, most));
        });
    }

    // Any other value, or a flag that is more than true.
    Argument& custom(const std::string& title, const std::string& about,
                     std::function<void(const std::string&)> take);

  private:
    static uint64_t wholeNumber(const std::string& text, uint64_t least, uint64_t most);
};

// The program: what it is, and its verbs.
struct Program {
    std::string name;
    std::string version;
    std::string description;
    std::vector<Example> examples;
    std::string note;
    std::vector<Verb> verbs = {};
    std::vector<Argument> options = {HELP_OPTION, VERSION_OPTION};
};
