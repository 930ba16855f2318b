#pragma once

#include <vector>

#include "zml/SequenceNetwork.h"

namespace zml {

// The cross-entropy of a network on mini-batches of examples, with t(x) an example's target,
//
//     L = 1 / BATCH * sum over examples of  weight * sum over x of  -t(x) log p(x)
//
// and its gradient by back-propagation. Keeps the working space of a batch: for one thread.
class SequenceGradient {
  public:
    static constexpr size_t BATCH = 32;

    // What the hidden units of an example are multiplied with: 1 each when none is dropped.
    using Mask = SequenceNetwork::HiddenRow;

    struct Item {
        const Example* example = nullptr;
        Mask mask;
    };

    SequenceGradient() : mGradient(SequenceNetwork::SIZE), mRows(BATCH) {}

    // Computes the gradient of L over the first `count` items of the batch, at most BATCH.
    void compute(const SequenceNetwork& network, const std::vector<Item>& batch, size_t count);

    // By parameter, in the network's order.
    const std::vector<float>& gradient() const { return mGradient; }

    // L itself, which training does not need.
    static double loss(const SequenceNetwork& network, const std::vector<Item>& batch,
                       size_t count);

  private:
    struct Rows {
        SequenceNetwork::HiddenRow hidden;       // after the mask
        SequenceNetwork::HiddenRow hiddenError;  // dL / d(input of the hidden unit)
        SequenceNetwork::OutputRow outputError;  // dL / d(input of the softmax)
    };

    void forward(const SequenceNetwork& network, const Item& item, Rows& rows);
    void backward(const Item& item, Rows& rows);
    void transposeOutput(const SequenceNetwork& network);

    std::vector<float> mGradient;
    std::vector<Rows> mRows;
    std::array<SequenceNetwork::HiddenRow, LANES> mTransposed;  // W with a row per output
};

}  // namespace zml
