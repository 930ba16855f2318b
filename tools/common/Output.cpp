#include "tools/common/Output.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/common/Colour.h"

namespace {

bool beginsWithPlace(const std::string& message) {
    const size_t end = message.find(": ");
    if (end == std::string::npos) return false;
    const size_t colon = message.rfind(':', end - 1);
    return end > 0 && colon != std::string::npos && colon + 1 < end &&
           std::all_of(message.begin() + static_cast<ptrdiff_t>(colon) + 1,
                       message.begin() + static_cast<ptrdiff_t>(end),
                       [](unsigned char c) { return isdigit(c) != 0; });
}

}  // namespace

void writeOutput(const std::string& text) {
    if (fwrite(text.data(), 1, text.size(), stdout) == text.size() && fflush(stdout) == 0) return;
    const std::string reason = std::string("standard output cannot be written: ") + strerror(errno);
    if (errno == EPIPE) throw OutputClosed(reason);
    throw std::runtime_error(reason);
}

void printError(const std::string& message) {
    std::string prefix;
    if (!beginsWithPlace(message)) {
        const std::string program = program_invocation_short_name;
        prefix = coloured(program + ": error:", Colour::RED, STDERR_FILENO) + ' ';
    }
    fprintf(stderr, "%s%s\n", prefix.c_str(), message.c_str());
}
