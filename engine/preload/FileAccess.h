#pragma once

#include <unistd.h>

#include <cerrno>
#include <string>

#include "base/Environment.h"

// Whether something stands under a path, whatever may be done with it.
inline bool fileExists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

// Whether this process may read what stands under a path. What is there and may not be read is
// noted as a failure of the storage.
inline bool fileReadable(const std::string& path) {
    if (access(path.c_str(), R_OK) == 0) return true;
    if (errno != ENOENT) environment::noteStorageFailure(path, errno);
    return false;
}
