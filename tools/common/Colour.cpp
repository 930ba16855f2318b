#include "tools/common/Colour.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace {

std::string_view variable(const char* name) {
    const char* const value = getenv(name);
    return value == nullptr ? "" : value;
}

const char* code(Colour colour) {
    switch (colour) {
        case Colour::BOLD:
            return "1";
        case Colour::DIM:
            return "2";
        case Colour::RED:
            return "1;31";
        case Colour::GREEN:
            return "32";
        case Colour::YELLOW:
            return "33";
    }
    return "";
}

}  // namespace

bool coloursWanted(int descriptor) {
    if (!variable("NO_COLOR").empty()) return false;
    const std::string_view force = variable("CLICOLOR_FORCE");
    if (!force.empty() && force != "0") return true;
    return isatty(descriptor) != 0 && variable("TERM") != "dumb";
}

std::string coloured(const std::string& text, Colour colour, int descriptor) {
    if (!coloursWanted(descriptor)) return text;
    return std::string("\033[") + code(colour) + 'm' + text + "\033[0m";
}
