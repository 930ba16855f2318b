#pragma once

#include <string>
#include <string_view>

// Takes the next field off a row of comma-separated values. A field that begins with a double quote
// ends with one and holds doubled ones for its own (RFC 4180); any other stands as it is, up to the
// next comma or, for the `last` field of a row, with all its commas up to the end.
//
//     std::string_view row = "8,\"a \"\"b\"\"\"";
//     takeCsvField(row, false);  // 8
//     takeCsvField(row, true);   // a "b"
//
// Throws InputError when the quoting is broken, or when the row ends before its last field.
std::string takeCsvField(std::string_view& row, bool last);
