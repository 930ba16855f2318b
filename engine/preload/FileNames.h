#pragma once

#include <string>

#include "base/Environment.h"

// The engine's files in its data directory.
namespace engine_file {

constexpr char MODEL[] = "AppPreloadBayesModel";
constexpr char APP_TABLE[] = "AppPreloadMap";
constexpr char HISTORY[] = "AppHistory";
constexpr char USAGE[] = "AppUsage";
constexpr char EVALUATION[] = "AppPreloadEvaluation";

// Kept by libzml.so under the session's name; a new one is written beside it.
constexpr char NETWORK[] = "aiPreloadApp.zml";
constexpr char UNFINISHED_NETWORK[] = "aiPreloadApp.zml.tmp";

// Where the last complete copy of a file waits while it is rewritten.
inline std::string backupOf(const std::string& file) {
    return file + ".bak";
}

inline std::string pathOf(const std::string& file) {
    return environment::dataDirectory() + '/' + file;
}

}  // namespace engine_file
