#pragma once

#include <cstdint>
#include <string>

// One record of the usage table: an application whose id the sequence network knows.
struct AppUsage {
    std::string package;
    int32_t count = 0;  // its openings in the history from which the table was built
    int32_t index = 0;  // its id in the network's vocabulary, 0..29: the most used has 29
};
