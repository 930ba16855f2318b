#pragma once

#include <functional>
#include <optional>

#include "base/Environment.h"

// The environment that tests and tools link in place of the fixed one: a data directory and a wall
// clock that they set. Any thread may call.
namespace environment {

void setDataDirectory(const std::string& directory);

struct StorageFailure {
    std::string path;
    int error;
};

// The first one since the data directory was set.
std::optional<StorageFailure> storageFailure();

// Stops the wall clock at `seconds` since the epoch.
void setNow(time_t seconds);

// Has sync() ask this in place of the disk; null, as it is from the start, lets it do nothing.
void setSync(std::function<bool(int descriptor)> sync);

// Lets the wall clock run with the system's again, as it does from the start.
void useSystemClock();

}  // namespace environment
