#include "tools/common/CommonOptions.h"

#include <CLI/CLI.hpp>

#include "tools/common/EngineLog.h"
#include "tools/common/InputError.h"
#include "tools/common/Text.h"

CLI::App* addVerb(CLI::App& program, const std::string& name, const std::string& description,
                  const std::vector<Example>& examples) {
    CLI::App* const verb = program.add_subcommand(name, description);
    std::string footer = "Examples:";
    for (const Example& example : examples) {
        footer += "\n  " + example.command + "\n      " + wrapped(example.effect, 6);
    }
    verb->footer(footer);
    return verb;
}

void addSeedOption(CLI::App& verb, uint64_t& seed, const std::string& description) {
    verb.add_option("--seed", seed, description + " (default: " + std::to_string(seed) + ")")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);  // a sign would wrap round
}

void addLogOption(CLI::App& verb, int& level) {
    verb.add_option_function<std::string>(
            "--log", [&level](const std::string& text) { level = parseLogLevel(text); },
            "Show the engine's log on standard error from this level on:\n"
            "1 to 8, or trace, debug, info, warning, error, fatal, critical (default: none)")
        ->type_name("LEVEL");
}
