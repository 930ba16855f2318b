#pragma once

#include <string>

// The whole report, one HTML file that needs nothing else: the page that was assembled from
// tools/report/page/ when the program was built, with the data, JSON in ASCII, in it.
std::string makePage(const std::string& data);
