#pragma once

#include <unistd.h>

#include <string>

// Whether something stands under a path, whatever may be done with it.
inline bool fileExists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

// Whether this process may read what stands under a path.
inline bool fileReadable(const std::string& path) {
    return access(path.c_str(), R_OK) == 0;
}
