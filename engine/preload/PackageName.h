#pragma once

#include <algorithm>
#include <string_view>

// What may stand for a package: letters, digits, '.' and '_'. Independent of the locale, unlike
// isalnum().
inline bool isPackageCharacter(char c) {
    return c == '.' || c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
           (c >= 'a' && c <= 'z');
}

inline bool isPackageName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), isPackageCharacter);
}
