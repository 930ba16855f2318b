#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "zml/SequenceNetwork.h"

namespace zml {

// Trains a network from random parameters on mini-batches of the examples, which must not be empty:
// AdamW, dropout of the hidden units, a learning rate that warms up and then falls to 0. The number
// of batches is fixed, so that the time it takes hardly depends on the examples. The result depends
// on the examples and the seed alone. False when cancelled, which it looks for before each batch.
bool trainNetwork(SequenceNetwork& network, const std::vector<Example>& examples, uint64_t seed,
                  const std::atomic<bool>& cancelled);

}  // namespace zml
