#include "base/LogThreshold.h"

#include <string>

namespace {

KS_AS_GETENV bool isVariable(const char* entry) {
    for (const char* expected = log_threshold::NAME_AND_SIGN; *expected != '\0'; ++expected) {
        if (*entry++ != *expected) return false;
    }
    return true;
}

}  // namespace

namespace log_threshold {

std::atomic<size_t> gPosition{0};
std::atomic<const char*> gEntry{nullptr};

KS_AS_GETENV const char* search(char* const* entries) {
    for (size_t i = 0; entries[i] != nullptr; ++i) {
        if (!isVariable(entries[i])) continue;
        gPosition.store(i, std::memory_order_relaxed);
        gEntry.store(entries[i], std::memory_order_relaxed);
        return entries[i] + VALUE;
    }
    return nullptr;
}

void write(int level) {
    const std::string name(NAME_AND_SIGN, VALUE - 1);
    setenv(name.c_str(), std::to_string(level).c_str(), 1);
}

}  // namespace log_threshold
