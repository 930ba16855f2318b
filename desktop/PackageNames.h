#pragma once

#include <string>
#include <string_view>

// Any text as a name that the engine takes, of letters, digits, '.' and '_', the same one each
// time. Every other byte becomes '_', so that two texts may get one name ("a b" and "a_b"); long
// ones are cut to 100 bytes that end with a hash of the whole. A text of no bytes has no name: the
// result is empty too.
std::string packageNameOf(std::string_view text);
