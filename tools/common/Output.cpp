#include "tools/common/Output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

void writeOutput(const std::string& text) {
    if (fwrite(text.data(), 1, text.size(), stdout) != text.size() || fflush(stdout) != 0) {
        throw std::runtime_error(std::string("standard output cannot be written: ") +
                                 strerror(errno));
    }
}
