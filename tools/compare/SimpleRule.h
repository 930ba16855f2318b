#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "tools/compare/Method.h"

// A rule of thumb for which application comes next, to hold the engine against. Its list is all
// applications it has seen but the one in front, by a score that the rule gives them; among equals
// the one that was seen first comes first.
//
// Applications go by numbers, in the order in which they were first learned: 0, 1, 2, ...
class SimpleRule {
  public:
    virtual ~SimpleRule() = default;

    // Where the application that is opened next stands on the list.
    Guess guess(uint32_t opened) const;

    // The application has come to the front.
    void learn(uint32_t app);

  protected:
    // Whole, so that no rounding decides between equals. For probabilities of order 2 the common
    // denominator is 16 times the openings so far to the third.
    __extension__ using Score = unsigned __int128;

    // Adds what the rule wants to know.
    virtual void count(uint32_t app) = 0;

    // One score for each application; there is at least one.
    virtual std::vector<Score> scores() const = 0;

    uint32_t known() const { return mKnown; }

  private:
    uint32_t mKnown = 0;
    uint32_t mFront = 0;  // once one is known
};

// The rule of a method, MOST_USED to ORDER_2.
std::unique_ptr<SimpleRule> makeSimpleRule(Method method);
