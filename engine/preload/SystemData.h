#pragma once

#include <string>

// What the preload model hands to the Bayes adapter: the packages in front now and before.
struct SystemData {
    std::string currentApp;
    std::string lastApp;
};
