#pragma once

#include <vector>

#include "zml/CountModel.h"
#include "zml/Learner.h"
#include "zml/SequenceNetwork.h"

namespace zml {

// The learner of the shipped library: the mean of two sequence networks that started from different
// random parameters, blended with the counts of what they were trained on. The networks generalise
// over contexts, the counts know the frequent ones by heart.
//
// Training is a matter of the sequence alone: the same ids give the same scores, bit for bit.
class NeuralLearner : public Learner {
  public:
    static constexpr size_t MEMBERS = 2;

    // How many of the newest ids are learned from; it bounds the size of the stored network.
    static constexpr size_t MAX_IDS = 8192;

    static std::unique_ptr<Learner> create() { return std::make_unique<NeuralLearner>(); }

    uint32_t kind() const override { return 2; }
    bool train(const std::vector<int>& ids, const std::atomic<bool>& cancelled) override;
    Scores scores(int older, int newer) const override;

    // The number of networks, of hidden units and of parameters of a network, then the parameters,
    // 32-bit floating point, network by network; the number of ids, and the ids, a byte each, from
    // which the counts are made again.
    Bytes serialise() const override;
    bool deserialise(const Bytes& bytes) override;

  private:
    std::vector<SequenceNetwork> mNetworks;
    std::vector<int> mIds;
    CountModel mCounts;
};

}  // namespace zml
