#include "tools/inspect/Bars.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "tools/common/Text.h"

bool localeIsUtf8() {
    for (const char* const variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* const value = getenv(variable);
        if (value == nullptr || *value == '\0') continue;
        std::string name = value;
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(tolower(c)); });
        return name.find("utf-8") != name.npos || name.find("utf8") != name.npos;
    }
    return false;
}

std::string logBar(double factor, int reach, bool utf8) {
    const double doublings = std::log2(factor);
    const int blocks =
        static_cast<int>(std::lround(std::clamp<double>(doublings, -reach - 1, reach + 1)));
    const auto repeat = [&](int count) {
        std::string bar;
        for (int i = 0; i < count; ++i) bar += utf8 ? "\u2588" : "#";
        return bar;
    };
    const int shown = std::min(std::abs(blocks), reach);
    const bool cut = std::abs(blocks) > reach;
    if (blocks >= 0) {
        return std::string(static_cast<size_t>(reach) + 1, ' ') + '|' + repeat(shown) +
               (cut ? ">" : "");
    }
    return std::string(static_cast<size_t>(reach - shown), ' ') + (cut ? "<" : " ") +
           repeat(shown) + '|';
}

std::string factorText(double factor) {
    return factor < 1 ? formatted("/ %.3g", 1 / factor) : formatted("x %.3g", factor);
}
