#pragma once

#include <string>

enum class Colour { BOLD = 1, DIM = 2, RED = 31, GREEN = 32, YELLOW = 33 };  // a terminal's codes

// The text in the colour if what is written to this descriptor is coloured, otherwise as it is:
// colours are used on a terminal only, not at all when NO_COLOR is set, and everywhere when
// CLICOLOR_FORCE is set (to something other than 0), as for a pager.
std::string coloured(const std::string& text, Colour colour, int descriptor);
