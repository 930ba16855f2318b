#include "base/ExceptionBarrier.h"

#include <cxxabi.h>

#include <cstdlib>
#include <typeinfo>

#include "base/Logger.h"

// The only source of the libraries that is compiled with exceptions, since it catches them.

namespace {

// There may be no memory left: neither this nor the logger takes any.
[[noreturn]] void endFor(const char* where) noexcept {
    const std::type_info* const type = abi::__cxa_current_exception_type();
    FRAMEWORK_LOG(LEVEL_FATAL, "ExceptionBarrier", "an exception in %s ends the process: %s", where,
                  type == nullptr ? "of unknown type" : type->name());
    abort();
}

}  // namespace

void runGuarded(const char* where, void (*work)(void*), void* argument) {
    // Where the compiler sees through the pointer it finds code that does not throw, and drops the
    // handler.
    void (*volatile const opaque)(void*) = work;
    try {
        opaque(argument);
    } catch (...) {
        endFor(where);
    }
}
