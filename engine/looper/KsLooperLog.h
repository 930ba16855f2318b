#pragma once

// What the parts of KsLooper share in their log lines.
namespace ksLooperLog {

constexpr char TAG[] = "KsLooper";

void logCriticalError(const char* message, int error);

// The line that follows a critical error: what `error`, a value of errno, means.
void logErrno(int error);

}  // namespace ksLooperLog
