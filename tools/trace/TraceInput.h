#pragma once

#include <functional>
#include <string>

// The text of a trace file, unpacked when it is compressed and without its byte order mark. UTF-16
// with such a mark, as a shell on Windows redirects text, becomes UTF-8. "-" is standard input.
// Throws InputError when it cannot be read or unpacked, or is larger than 1 GiB.
std::string readTraceText(const std::string& path);

// Calls `take` with each line of a file, without its newline; of a compressed one too, and of
// standard input for "-". No more than a line and a block is kept. Throws InputError when it cannot
// be read or unpacked.
void readTextLines(const std::string& path, const std::function<void(const std::string&)>& take);
