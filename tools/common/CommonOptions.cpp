#include "tools/common/CommonOptions.h"

#include "tools/common/EngineLog.h"

void addSeedOption(Verb& verb, uint64_t& seed, const std::string& description) {
    verb.number("--seed N", 0, UINT64_MAX, seed,
                description + " (default: " + std::to_string(seed) + ")");
}

void addLogOption(Verb& verb, int& level) {
    verb.custom("--log LEVEL",
                "Show the engine's log on standard error from this level on: 1 to 8, or trace, "
                "debug, info, warning, error, fatal, critical (default: none)",
                [&level](const std::string& text) { level = parseLogLevel(text); });
}
