#pragma once

#include <string>

#include "brain/BrainMainApi.h"

// The five functions of an engine, as a host knows them (see brain/BrainMainApi.h).
struct EngineLibrary {
    decltype(&brain_main_init) init;
    decltype(&brain_main_exit) exit;
    decltype(&brain_main_send_data) sendData;
    decltype(&brain_main_app_preload_predict) predict;
    decltype(&brain_main_app_clean_predict) cleanPredict;
};

// Loads libksbrain.so from a path. It stays loaded until the process ends. Throws
// std::runtime_error, one line, when the library or one of its functions is missing.
EngineLibrary loadEngine(const std::string& path);

// Where it lies as a rule: beside this program.
std::string defaultEnginePath();
