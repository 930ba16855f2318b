#include "base/LogThreshold.h"

#include <string>
#include <vector>

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

void writeFirst(int level) {
    write(level);
    char** old = environ;
    const char* const value = text();
    if (old == nullptr || value == nullptr) return;
    // Never freed: whoever walks the environment may be at any entry of it.
    static std::vector<char*>& entries = *new std::vector<char*>;
    entries.push_back(const_cast<char*>(value - VALUE));
    for (char** entry = old; *entry != nullptr; ++entry) {
        if (!isVariable(*entry)) entries.push_back(*entry);
    }
    entries.push_back(nullptr);
    __atomic_compare_exchange_n(&environ, &old, entries.data(), false, __ATOMIC_RELEASE,
                                __ATOMIC_RELAXED);
}

}  // namespace log_threshold
