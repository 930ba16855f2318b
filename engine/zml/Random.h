#pragma once

#include <cstdint>

namespace zml {

// A small seeded generator, SplitMix64 (Steele, Lea and Flood 2014): the same numbers on every
// machine.
class Random {
  public:
    explicit Random(uint64_t seed) : mState(seed) {}

    uint64_t next() {
        mState += 0x9E3779B97F4A7C15u;
        uint64_t bits = mState;
        bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9u;
        bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBu;
        return bits ^ (bits >> 31);
    }

    // Evenly over 0..limit - 1, as nearly as 32 bits allow.
    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(((next() >> 32) * limit) >> 32); }

    // Evenly over -range..range.
    float symmetric(float range) {
        return range * (static_cast<float>(next() >> 40) * 0x1p-23f - 1.0f);
    }

  private:
    uint64_t mState;
};

}  // namespace zml
