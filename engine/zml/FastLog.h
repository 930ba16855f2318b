#pragma once

#include <cstdint>
#include <cstring>

namespace zml {

// The natural logarithm of a normal number above 0, within one part in a million of it or of 1,
// whichever is greater. Like fastExp() it is free of branches and library calls.
//
// x is split into a power of two and a rest m within sqrt(1/2)..sqrt(2), and ln m is a series in
// s = (m - 1) / (m + 1): 2 (s + s^3/3 + s^5/5 + s^7/7).
inline float fastLog(float x) {
    constexpr float LN_2 = 0.69314718f;
    constexpr uint32_t ROOT_OF_HALF = 0x3f3504f3;  // the bits of sqrt(1/2)
    constexpr int MANTISSA_BITS = 23;

    uint32_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    const int32_t exponent = static_cast<int32_t>(bits - ROOT_OF_HALF) >> MANTISSA_BITS;
    bits -= static_cast<uint32_t>(exponent) << MANTISSA_BITS;
    float rest;
    std::memcpy(&rest, &bits, sizeof rest);
    const float s = (rest - 1.0f) / (rest + 1.0f);
    const float square = s * s;
    const float series =
        s * (2.0f + square * (0.66666667f + square * (0.4f + square * 0.28571429f)));
    return static_cast<float>(exponent) * LN_2 + series;
}

}  // namespace zml
