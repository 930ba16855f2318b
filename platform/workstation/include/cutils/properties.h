#pragma once

#include <stdint.h>

// The part of the platform's property interface that the engine uses, for builds without the
// platform's own headers.

#ifdef __cplusplus
extern "C" {
#endif

#define PROPERTY_VALUE_MAX 92

// Copies the property's value, or the default when it is unset or empty, into `value`, which has
// room for PROPERTY_VALUE_MAX bytes. Returns its length.
int property_get(const char* key, char* value, const char* default_value);

// The property as a number; the default when it is unset or no 32-bit number.
int32_t property_get_int32(const char* key, int32_t default_value);

#ifdef __cplusplus
}
#endif
