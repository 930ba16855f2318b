#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

// Random numbers that are the same for a seed on every machine: the generator's sequence is fixed
// by the C++ standard, and the distributions, which are not, are made here from exact operations.
class DemoRandom {
  public:
    explicit DemoRandom(uint64_t seed) : mGenerator(seed) {}

    // 0 included, 1 excluded.
    double unit() { return static_cast<double>(mGenerator() >> 11) * 0x1p-53; }

    bool chance(double probability) { return unit() < probability; }

    // 0..count-1.
    size_t below(size_t count) { return static_cast<size_t>(unit() * static_cast<double>(count)); }

    // low..high, both included.
    int64_t between(int64_t low, int64_t high) {
        return low + static_cast<int64_t>(below(static_cast<size_t>(high - low + 1)));
    }

    // A place in a list of `count`, the k-th with a weight of 1/(k+1): a few favourites, a long
    // tail.
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

    template <typename T>
    void shuffle(std::vector<T>& items) {
        for (size_t i = items.size(); i > 1; --i) std::swap(items[i - 1], items[below(i)]);
    }

  private:
    std::mt19937_64 mGenerator;
};
