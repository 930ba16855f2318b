#pragma once

#include <string>

// The text of a trace file, unpacked when it is compressed and without its byte order mark. UTF-16
// with such a mark, as a shell on Windows redirects text, becomes UTF-8. "-" is standard input.
// Throws InputError when it cannot be read or unpacked, or is larger than 1 GiB.
std::string readTraceText(const std::string& path);
