#include "zml/Trainer.h"

#include <algorithm>
#include <utility>

#include "zml/AdamW.h"
#include "zml/SequenceGradient.h"

namespace zml {

namespace {

constexpr int STEPS = 800;
constexpr int WARM_UP_STEPS = 40;
constexpr float PEAK_RATE = 0.01f;

float learningRate(int step) {
    if (step < WARM_UP_STEPS) return PEAK_RATE * static_cast<float>(step + 1) / WARM_UP_STEPS;
    return PEAK_RATE * static_cast<float>(STEPS - step) / (STEPS - WARM_UP_STEPS);
}

// Drops each unit with a probability of 1/8 and scales the others up, so that the expected input of
// the next layer stays (Srivastava et al. 2014).
void drawMask(Random& random, SequenceGradient::Mask& mask) {
    constexpr float KEPT = 8.0f / 7.0f;
    static_assert(SequenceNetwork::HIDDEN == 64, "a bit for each unit");
    const uint64_t keep = random.next() | random.next() | random.next();
    for (size_t i = 0; i < mask.size(); ++i) mask[i] = ((keep >> i) & 1u) != 0 ? KEPT : 0.0f;
}

// Deals the examples in a random order, and in a new one once all are dealt.
class Deck {
  public:
    Deck(const std::vector<Example>& examples, Random& random) : mRandom(random) {
        for (const Example& example : examples) mCards.push_back(&example);
        mNext = mCards.size();
    }

    const Example* deal() {
        if (mNext == mCards.size()) shuffle();
        return mCards[mNext++];
    }

  private:
    void shuffle() {
        for (size_t i = mCards.size(); i > 1; --i) {
            std::swap(mCards[i - 1], mCards[mRandom.below(static_cast<uint32_t>(i))]);
        }
        mNext = 0;
    }

    Random& mRandom;
    std::vector<const Example*> mCards;
    size_t mNext;
};

}  // namespace

bool trainNetwork(SequenceNetwork& network, const std::vector<Example>& examples, uint64_t seed,
                  const std::atomic<bool>& cancelled) {
    Random random(seed);
    network = SequenceNetwork(random);
    AdamW optimiser(SequenceNetwork::SIZE, SequenceNetwork::OUTPUT_BIAS);
    SequenceGradient gradient;
    Deck deck(examples, random);
    std::vector<SequenceGradient::Item> batch(SequenceGradient::BATCH);
    for (int step = 0; step < STEPS; ++step) {
        if (cancelled.load(std::memory_order_relaxed)) return false;
        for (SequenceGradient::Item& item : batch) {
            item.example = deck.deal();
            drawMask(random, item.mask);
        }
        gradient.compute(network, batch, batch.size());
        optimiser.step(network.parameters(), gradient.gradient(), learningRate(step));
    }
    return true;
}

}  // namespace zml
