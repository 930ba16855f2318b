#include <cutils/properties.h>

// libcutils.so as far as the linker asks, for kits that lack it: only what the header declares. The
// platform's own takes its place on the phone, so nothing here ever runs.

extern "C" __attribute__((visibility("default"))) int property_get(const char*, char*,
                                                                   const char*) {
    __builtin_trap();
}

extern "C" __attribute__((visibility("default"))) int32_t property_get_int32(const char*, int32_t) {
    __builtin_trap();
}
