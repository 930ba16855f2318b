#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "tools/common/JsonLine.h"

// The whole report, one HTML file that needs nothing else: the page that was assembled from
// tools/report/page/ when the program was built, with the data in it.
std::string makePage(const Json& data);
