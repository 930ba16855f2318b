#include "tools/CommonOptions.h"

#include <CLI/CLI.hpp>

#include "tools/EngineLog.h"
#include "tools/InputError.h"

void addLogOption(CLI::App& verb, int& level) {
    verb.add_option_function<std::string>(
            "--log", [&level](const std::string& text) { level = parseLogLevel(text); },
            "Show the engine's log on standard error from this level on:\n"
            "1 to 8, or trace, debug, info, warning, error, fatal, critical")
        ->type_name("LEVEL");
}
