#include "looper/KsLooperLog.h"

#include <cstring>

#include "base/Logger.h"

namespace ksLooperLog {

void logErrno(int error) {
    FRAMEWORK_LOG(LEVEL_ERROR, TAG, "    %s (Errno %d)", strerror(error), error);
}

void logCriticalError(const char* message, int error) {
    FRAMEWORK_LOG(LEVEL_ERROR, TAG, "Critical Error: %s", message);
    logErrno(error);
}

}  // namespace ksLooperLog
