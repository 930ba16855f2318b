#pragma once

#include <cstdint>
#include <cstring>

namespace zml {

// e to the power of x, within five parts in a million of it, for x clipped to +-EXP_LIMIT: so that
// the result and a sum of some are neither 0 nor infinite. Free of branches and library calls:
// loops over it are vectorised, and it gives the same bits on every machine.
//
// x / ln 2 is split into the nearest whole number, which goes into the exponent of the result, and
// a rest within +-1/2, whose power of two is a polynomial in the rest: its Taylor series.
constexpr float EXP_LIMIT = 40.0f;

inline float fastExp(float x) {
    constexpr float LOG2_E = 1.44269504f;
    constexpr float ROUNDING = 12582912.0f;  // 1.5 * 2^23: adding it leaves no bits for a fraction
    constexpr int MANTISSA_BITS = 23;

    x = x < -EXP_LIMIT ? -EXP_LIMIT : x;
    x = x > EXP_LIMIT ? EXP_LIMIT : x;
    const float scaled = x * LOG2_E;
    const float whole = (scaled + ROUNDING) - ROUNDING;
    const float rest = scaled - whole;
    const float power =
        1.0f + rest * (0.69314718f +
                       rest * (0.24022651f +
                               rest * (0.05550411f + rest * (0.00961813f + rest * 0.00133336f))));
    uint32_t bits;
    std::memcpy(&bits, &power, sizeof bits);
    bits += static_cast<uint32_t>(static_cast<int32_t>(whole)) << MANTISSA_BITS;
    float result;
    std::memcpy(&result, &bits, sizeof result);
    return result;
}

}  // namespace zml
