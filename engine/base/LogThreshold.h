#pragma once

#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>

// The threshold of the logger, which is the environment variable "DYNAMIC_LOGLEVEL_ENV". Any thread
// may call, as far as any thread may call getenv() and setenv().
//
// The variable is looked at for every line, and getenv() would compare every name in front of it.
// So the place where it was found is remembered, but nothing of its text.
namespace log_threshold {

// Reads what another thread may be changing with setenv() and its like; getenv() does no less, but
// no sanitizer sees it.
#define KS_AS_GETENV __attribute__((no_sanitize("address", "thread")))

constexpr char NAME_AND_SIGN[] = "DYNAMIC_LOGLEVEL_ENV=";
constexpr size_t VALUE = sizeof(NAME_AND_SIGN) - 1;  // its offset in an entry

// Where the variable was found last: the position of its entry, and the entry.
extern std::atomic<size_t> gPosition;
extern std::atomic<const char*> gEntry;

// Looks for the variable in the whole environment. Returns its value, or null.
const char* search(char* const* entries);

// Whether an entry that has held the variable before, and so is long enough, holds it still. In
// three words, since a sanitizer looks into memcmp() wherever it is called from.
KS_AS_GETENV inline bool isStillThere(const char* entry) {
    for (const size_t part : {size_t{0}, sizeof(uint64_t), VALUE - sizeof(uint64_t)}) {
        uint64_t is = 0;
        uint64_t expected = 0;
        __builtin_memcpy(&is, entry + part, sizeof(is));
        __builtin_memcpy(&expected, NAME_AND_SIGN + part, sizeof(expected));
        if (is != expected) return false;
    }
    return true;
}

// Whether one of the first entries is the end of all. A few at a time, as there are dozens.
KS_AS_GETENV inline bool endsBefore(size_t position, char* const* entries) {
    size_t i = 0;
    for (; i + 8 <= position; i += 8) {
        char* const* const next = entries + i;
        if (next[0] == nullptr || next[1] == nullptr || next[2] == nullptr || next[3] == nullptr ||
            next[4] == nullptr || next[5] == nullptr || next[6] == nullptr || next[7] == nullptr) {
            return true;
        }
    }
    for (; i < position; ++i) {
        if (entries[i] == nullptr) return true;
    }
    return false;
}

// The variable's value, or null.
KS_AS_GETENV inline const char* text() {
    char* const* const entries = __atomic_load_n(&environ, __ATOMIC_RELAXED);
    if (entries == nullptr) return nullptr;
    // The array may have been cut short, with old entries left behind its end.
    const size_t position = gPosition.load(std::memory_order_relaxed);
    if (endsBefore(position, entries)) return search(entries);
    const char* const entry = entries[position];
    const bool found =
        entry != nullptr && entry == gEntry.load(std::memory_order_relaxed) && isStillThere(entry);
    return found ? entry + VALUE : search(entries);
}

// The value as a number, 0 when the variable is unset.
KS_AS_GETENV inline int read() {
    const char* const value = text();
    if (value == nullptr) return 0;
    const bool oneDigit = value[0] >= '0' && value[0] <= '9' && value[1] == '\0';
    return oneDigit ? value[0] - '0' : atoi(value);
}

// Sets the variable.
void write(int level);

}  // namespace log_threshold
