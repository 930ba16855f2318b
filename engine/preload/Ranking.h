#pragma once

#include <vector>

// The places with a score above 0, best first, equals in order.
std::vector<int> ranking(const std::vector<float>& scores);
