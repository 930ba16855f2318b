#pragma once

#include <array>
#include <vector>

#include "zml/Random.h"
#include "zml/TrainingSet.h"

namespace zml {

// A neural language model (Bengio, Ducharme, Vincent and Jauvin 2003) over two ids: a learned
// vector for each id in each position, a hidden layer of rectifiers, and a softmax over all ids as
// the next one. With a the older and b the newer id,
//
//     h = max(0, O[a] + N[b]),    p = softmax(c + W h)
//
// The first layer's matrix is folded into the vectors O and N, which makes that layer a table
// look-up. A simple recurrent network that reads a and then b computes the same function, its first
// step being a table over a as well.
//
// A plain value; a network that nobody changes may be asked from several threads.
class SequenceNetwork {
  public:
    static constexpr int HIDDEN = 64;

    // Where the parameters stand, row by row: O, N, W with a row of LANES outputs per hidden unit,
    // c. The hidden layer needs no bias, since every N[b] can hold it.
    static constexpr size_t OLDER = 0;
    static constexpr size_t NEWER = OLDER + VOCABULARY * HIDDEN;
    static constexpr size_t OUTPUT = NEWER + VOCABULARY * HIDDEN;
    static constexpr size_t OUTPUT_BIAS = OUTPUT + HIDDEN * LANES;
    static constexpr size_t SIZE = OUTPUT_BIAS + LANES;

    using HiddenRow = std::array<float, HIDDEN>;
    using OutputRow = std::array<float, LANES>;

    // All parameters 0: every id is as likely as the others.
    SequenceNetwork() : mParameters(SIZE) {}

    // Small random matrices, from which training can start.
    explicit SequenceNetwork(Random& random);

    std::vector<float>& parameters() { return mParameters; }
    const std::vector<float>& parameters() const { return mParameters; }

    // The probabilities of the ids after `older`, `newer`; 0 beyond the vocabulary.
    OutputRow predict(int older, int newer) const;

    // What predict() and SequenceGradient share. `hidden` receives h.
    void computeHidden(int older, int newer, HiddenRow& hidden) const;
    void computeOutput(const HiddenRow& hidden, OutputRow& probabilities) const;

  private:
    std::vector<float> mParameters;
};

}  // namespace zml
