#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "zml/Bytes.h"
#include "zml/ZmlSession.h"

namespace zml {

// A network knows the ids 0..VOCABULARY - 1 and predicts from the last CONTEXT of them.
constexpr int VOCABULARY = ZmlSession::VOCABULARY;
constexpr int CONTEXT = ZmlSession::CONTEXT;

// One score per id.
using Scores = std::array<float, VOCABULARY>;

// What stands inside a network: it learns a sequence of ids and then scores each id as the next
// one. One thread uses a learner while it trains; a trained one may be asked from several.
class Learner {
  public:
    virtual ~Learner() = default;

    // The number under which files name this kind of learner and its parameters' layout.
    virtual uint32_t kind() const = 0;

    // Learns from scratch. `ids` are all in range, oldest first, more than CONTEXT of them. False
    // when it failed or was cancelled; it looks at `cancelled` at least every few milliseconds.
    virtual bool train(const std::vector<int>& ids, const std::atomic<bool>& cancelled) = 0;

    // The scores after `older`, `newer`: all above 0 and 1 in sum.
    virtual Scores scores(int older, int newer) const = 0;

    // What it was trained on, oldest first, or the newest part of that.
    virtual const std::vector<int>& ids() const = 0;

    virtual Bytes serialise() const = 0;

    // Takes what serialise() gave. False for anything else, after which the learner is of no use;
    // every number in `bytes` is checked before it is relied on.
    virtual bool deserialise(const Bytes& bytes) = 0;
};

using LearnerFactory = std::function<std::unique_ptr<Learner>()>;

}  // namespace zml
