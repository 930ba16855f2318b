#include "attack/fuzz/Fuzz.h"

#include <android/log.h>

#include <cstdio>
#include <cstdlib>

#include "base/Logger.h"

void promise(bool kept, const char* what) {
    if (kept) return;
    fprintf(stderr, "broken promise: %s\n", what);
    abort();
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Logger::getInstance()->updateDefaultLevel(LEVEL_TRACE);
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    return 0;
}
