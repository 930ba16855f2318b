#pragma once

#include <android/log.h>

// A line of this library, which knows nothing of the engine's logger and its threshold.
#define ZML_LOG(priority, ...) __android_log_print(priority, "zml", __VA_ARGS__)
