#pragma once

#include <type_traits>

// Calls work(argument). An exception that comes out of it, as when memory runs out, ends the
// process with a line in the log that names `where`.
//
// The engine's own code neither throws nor catches: an exception of the C++ library or of a host's
// object passes through its frames without releasing a lock. So whatever enters the engine from
// outside, be it a host's thread or one of its own, enters through here.
void runGuarded(const char* where, void (*work)(void*), void* argument);

// The same for anything callable; gives what that gives.
template <typename Work>
auto guarded(const char* where, Work work) {
    if constexpr (std::is_void_v<decltype(work())>) {
        const auto run = [](void* argument) { (*static_cast<Work*>(argument))(); };
        runGuarded(where, run, &work);
    } else {
        decltype(work()) result{};
        guarded(where, [&] { result = work(); });
        return result;
    }
}
