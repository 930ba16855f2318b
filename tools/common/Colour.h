#pragma once

#include <string>

// Colours for a person. They are used on a terminal only, not at all when NO_COLOR is set, and
// everywhere when CLICOLOR_FORCE is set (to something other than 0), as for a pager.

enum class Colour { BOLD, DIM, RED, GREEN, YELLOW };

// Whether what is written to this descriptor is coloured.
bool coloursWanted(int descriptor);

// The text in the colour if colours are wanted there, otherwise as it is.
std::string coloured(const std::string& text, Colour colour, int descriptor);
