#pragma once

#include <cstdint>
#include <string>

// What the fuzz targets share. Each defines LLVMFuzzerTestOneInput(), which is handed one input
// after another for as long as the process lives. All of the engine's log lines are put together,
// and none is shown.

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Ends the process when a promise is broken, and says which.
void promise(bool kept, const char* what);

inline std::string asText(const uint8_t* data, size_t size) {
    return std::string(reinterpret_cast<const char*>(data), size);
}
