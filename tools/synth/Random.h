#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

// Random numbers that are the same for a seed on every machine: the generator's sequence is fixed
// by the C++ standard, and the distributions, which are not, are made here from the four basic
// operations, which are rounded alike everywhere.
class Random {
  public:
    // Another stream of the same seed is as good as another seed.
    Random(uint64_t seed, uint64_t stream) : mGenerator(mixed(mixed(seed) + stream)) {}

    // 0 included, 1 excluded. With 32 bits, so that the product with a sum is less than the sum.
    double unit() { return static_cast<double>(mGenerator() >> 32) * 0x1p-32; }

    bool chance(double probability) { return unit() < probability; }

    // low included, high excluded.
    double within(double low, double high) { return low + unit() * (high - low); }

    // 0..count-1.
    size_t below(size_t count) { return static_cast<size_t>(unit() * static_cast<double>(count)); }

    // low..high, both included.
    int between(int low, int high) {
        return low + static_cast<int>(below(static_cast<size_t>(high - low + 1)));
    }

    // A place in a list of `count`, the k-th with a weight of 1/(k+1).
    size_t ranked(size_t count) {
        double sum = 0;
        for (size_t k = 0; k < count; ++k) sum += 1.0 / static_cast<double>(k + 1);
        double rest = unit() * sum;
        for (size_t k = 0; k + 1 < count; ++k) {
            rest -= 1.0 / static_cast<double>(k + 1);
            if (rest < 0) return k;
        }
        return count - 1;
    }

  private:
    // Neighbouring numbers become unlike ones.
    static uint64_t mixed(uint64_t number) {
        number += 0x9e3779b97f4a7c15U;
        number = (number ^ (number >> 30)) * 0xbf58476d1ce4e5b9U;
        number = (number ^ (number >> 27)) * 0x94d049bb133111ebU;
        return number ^ (number >> 31);
    }

    std::mt19937_64 mGenerator;
};
