#pragma once

#include <string>

#include "tools/common/Text.h"

// "1 name", "7,000 names": with an s unless `many` is given.
inline std::string amount(uint64_t number, const std::string& one, const std::string& many = "") {
    if (number == 1) return "1 " + one;
    return grouped(number) + ' ' + (many.empty() ? one + 's' : many);
}
