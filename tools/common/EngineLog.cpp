#include "tools/common/EngineLog.h"

#include <android/log.h>

#include "base/Logger.h"

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
