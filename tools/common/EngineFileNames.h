#pragma once

#include <string>

// The names of the engine's files in its data directory.
namespace engine_file {

constexpr char MODEL[] = "AppPreloadBayesModel";
constexpr char APP_TABLE[] = "AppPreloadMap";
constexpr char HISTORY[] = "AppHistory";
constexpr char USAGE[] = "AppUsage";
constexpr char NETWORK[] = "aiPreloadApp.zml";
constexpr char EVALUATION[] = "AppPreloadEvaluation";

inline std::string backupOf(const std::string& name) {
    return name + ".bak";
}

}  // namespace engine_file
