#include "tools/common/CommonOptions.h"

#include <iterator>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

// By their numbers, of which 7 has no name.
constexpr const char* LOG_LEVELS[] = {"0",     "trace", "debug", "info",    "warning",
                                      "error", "fatal", "7",     "critical"};

int logLevel(const std::string& text) {
    for (int level = 1; level < static_cast<int>(std::size(LOG_LEVELS)); ++level) {
        if (text == LOG_LEVELS[level] || text == std::to_string(level)) return level;
    }
    throw InputError(
        inQuotes(text) +
        " is no log level: 1 to 8, trace, debug, info, warning, error, fatal or critical");
}

}  // namespace

void addSeedOption(Verb& verb, uint64_t& seed, const std::string& description) {
    verb.number("--seed N", 0, UINT64_MAX, seed,
                description + " (default: " + std::to_string(seed) + ")");
}

void addLogOption(Verb& verb, int& level) {
    verb.custom("--log LEVEL",
                "Show the engine's log on standard error from this level on: 1 to 8, or trace, "
                "debug, info, warning, error, fatal, critical (default: none)",
                [&level](const std::string& text) { level = logLevel(text); });
}
