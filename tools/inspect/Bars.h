#pragma once

#include <string>

// Whether the locale of the environment (LC_ALL, LC_CTYPE, LANG) has block characters.
bool localeIsUtf8();

// A bar from a centre line to the right for a factor above 1 and to the left below it, one block
// for each doubling or halving, rounded. Each side has room for `reach` blocks; what is longer ends
// in '>' or '<'.
std::string logBar(double factor, int reach, bool utf8);

// How a factor is said: "x 3.1", or "/ 2.0" when it is below 1.
std::string factorText(double factor);
