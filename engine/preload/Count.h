#pragma once

#include <cstdint>

// A counter read from a damaged file may stand at the type's end: counting stops there.
inline void countUp(int32_t& count, int32_t by = 1) {
    count = count > INT32_MAX - by ? INT32_MAX : count + by;
}
