#include "tools/common/EngineLog.h"

#include <android/log.h>

#include <algorithm>
#include <iterator>

#include "base/Logger.h"
#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

constexpr struct {
    const char* name;
    int level;
} LEVELS[] = {
    {"trace", LEVEL_TRACE},       {"debug", LEVEL_DEBUG}, {"info", LEVEL_INFO},
    {"warning", LEVEL_WARNING},   {"error", LEVEL_ERROR}, {"fatal", LEVEL_FATAL},
    {"critical", LEVEL_CRITICAL},
};

}  // namespace

int parseLogLevel(const std::string& text) {
    if (text.size() == 1 && text[0] >= '1' && text[0] <= '8') return text[0] - '0';
    const auto found = std::find_if(std::begin(LEVELS), std::end(LEVELS),
                                    [&](const auto& level) { return text == level.name; });
    if (found != std::end(LEVELS)) return found->level;
    throw InputError(
        inQuotes(text) +
        " is no log level: 1 to 8, trace, debug, info, warning, error, fatal or critical");
}

void silenceEngineLog() {
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
}

void showEngineLog(int level) {
    openPlatformLog();
    Logger::getInstance()->updateDefaultLevel(level);
}

void openPlatformLog() {
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
}
