#pragma once

#include "zml/Learner.h"

namespace zml {

// A learner with next to nothing to learn: for tests of what surrounds learners.
class TinyLearner : public Learner {
  public:
    static std::unique_ptr<Learner> create() { return std::make_unique<TinyLearner>(); }

    uint32_t kind() const override { return 1; }
    bool train(const std::vector<int>&, const std::atomic<bool>&) override { return true; }
    Scores scores(int, int) const override { return {}; }
    const std::vector<int>& ids() const override { return mIds; }
    Bytes serialise() const override { return {1, 2, 3, 4, 5}; }
    bool deserialise(const Bytes& bytes) override { return bytes == serialise(); }

  private:
    const std::vector<int> mIds;
};

}  // namespace zml
