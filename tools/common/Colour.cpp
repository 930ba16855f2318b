#include "tools/common/Colour.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace {

std::string_view variable(const char* name) {
    const char* const value = getenv(name);
    return value == nullptr ? "" : value;
}

bool coloursWanted(int descriptor) {
    if (!variable("NO_COLOR").empty()) return false;
    const std::string_view force = variable("CLICOLOR_FORCE");
    if (!force.empty() && force != "0") return true;
    return isatty(descriptor) != 0 && variable("TERM") != "dumb";
}

}  // namespace

std::string coloured(const std::string& text, Colour colour, int descriptor) {
    if (!coloursWanted(descriptor)) return text;
    return "\033[" + std::to_string(static_cast<int>(colour)) + 'm' + text + "\033[0m";
}
