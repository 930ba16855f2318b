#pragma once

#include <vector>

#include "zml/Learner.h"
#include "zml/SequenceNetwork.h"

namespace zml {

// The learner of the shipped library: the mean of two sequence networks that started from different
// random parameters. It keeps what they were trained on, from which a SequenceFollower goes on.
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
    const std::vector<int>& ids() const override { return mIds; }

    // The number of networks, of hidden units and of parameters of a network, then the parameters,
    // 32-bit floating point, network by network; the number of ids, and the ids, a byte each.
    Bytes serialise() const override;
    bool deserialise(const Bytes& bytes) override;

  private:
    std::vector<SequenceNetwork> mNetworks;
    std::vector<int> mIds;
};

}  // namespace zml
