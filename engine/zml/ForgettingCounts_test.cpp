#include "zml/ForgettingCounts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "zml/Random.h"

namespace zml {
namespace {

constexpr int BREAK = -1;

// Openings with habits, and every `runLength` of them a break.
std::vector<int> makeRuns(size_t count, size_t runLength) {
    Random random(3);
    std::vector<int> ids;  // the ids from 20 on never occur
    while (ids.size() < count) {
        const int habit = ids.empty() || ids.back() == BREAK ? 1 : (ids.back() * 7 + 1) % 20;
        ids.push_back(random.below(3) == 0 ? static_cast<int>(random.below(20)) : habit);
        if (ids.size() % runLength == 0) ids.push_back(BREAK);
    }
    return ids;
}

bool matches(const std::vector<int>& ids, size_t place, size_t end, size_t length) {
    for (size_t i = 1; i <= length; ++i) {
        if (i > place || i > end) return false;
        if (ids[place - i] == BREAK || ids[place - i] != ids[end - i]) return false;
    }
    return true;
}

// What findRepeats() is to find at `end`, gathered from the whole sequence.
Repeats repeatsOf(const std::vector<int>& ids, size_t end) {
    Repeats repeats;
    const size_t oldest = std::max(end, OpeningHistory::CAPACITY) - OpeningHistory::CAPACITY;
    for (size_t place = end; place-- > oldest + 2 && repeats.count < Repeats::MAX;) {
        if (ids[place] == BREAK || !matches(ids, place, end, 2)) continue;
        repeats.ids[repeats.count] = static_cast<uint8_t>(ids[place]);
        repeats.ages[repeats.count] = static_cast<float>(end - 1 - place);
        ++repeats.count;
        size_t length = 2;
        while (length < Repeats::LONGEST && place > oldest + length &&
               matches(ids, place, end, length + 1)) {
            ++length;
        }
        if (length <= repeats.matched) continue;
        repeats.matched = length;
        repeats.matchedId = static_cast<size_t>(ids[place]);
    }
    return repeats;
}

TEST(OpeningHistory, FindsWhatFollowedWhereTheLastTwoIdsStoodBefore) {
    for (const size_t runLength : {size_t{4}, size_t{500}}) {
        const std::vector<int> ids = makeRuns(3 * OpeningHistory::CAPACITY, runLength);
        OpeningHistory history;
        Repeats found;
        for (size_t end = 0; end < ids.size(); ++end) {
            const bool tried = end % 97 == 3 || (end > 8100 && end < 8300);  // where it is full
            if (tried && ids[end - 1] != BREAK) {
                history.findRepeats(found);
                const Repeats right = repeatsOf(ids, end);
                ASSERT_EQ(found.count, right.count) << end;
                ASSERT_EQ(found.matched, right.matched) << end;
                if (right.matched > 0) ASSERT_EQ(found.matchedId, right.matchedId) << end;
                for (size_t i = 0; i < right.count; ++i) {
                    ASSERT_EQ(found.ids[i], right.ids[i]) << end;
                    ASSERT_EQ(found.ages[i], right.ages[i]) << end;
                }
            }
            ids[end] == BREAK ? history.beginRun() : history.add(ids[end]);
        }
    }
}

// The definition, taken literally and in double precision: what followed the last `order` ids is
// gathered from the sequence each time. One probability for each id.
std::vector<double> naive(const std::vector<int>& ids, double halfLife, size_t order) {
    constexpr double DISCOUNT = 0.5;
    std::vector<double> counts(VOCABULARY);
    for (size_t i = 0; i < ids.size(); ++i) {
        if (ids[i] == BREAK || !matches(ids, i, ids.size(), order)) continue;
        const auto later = std::count_if(ids.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                                         ids.end(), [](int next) { return next != BREAK; });
        counts[static_cast<size_t>(ids[i])] += std::exp2(-static_cast<double>(later) / halfLife);
    }
    std::vector<double> result = order == 0 ? std::vector<double>(VOCABULARY, 1.0 / VOCABULARY)
                                            : naive(ids, halfLife, order - 1);
    const double total = std::accumulate(counts.begin(), counts.end(), 0.0);
    if (total == 0) return result;
    double freed = 0;
    for (const double count : counts) freed += std::min(count, DISCOUNT);
    for (size_t id = 0; id < VOCABULARY; ++id) {
        result[id] = (std::max(counts[id] - DISCOUNT, 0.0) + freed * result[id]) / total;
    }
    return result;
}

TEST(ForgettingCounts, AreTheDiscountedFadingCountsOfAllThreeOrders) {
    for (const float halfLife : {15.0f, 3000.0f}) {
        for (const size_t length :
             {size_t{2000}, size_t{60}, size_t{2}}) {  // long enough for the unit to start anew
            const std::vector<int> ids = makeRuns(length, 3000);
            ForgettingCounts counts(halfLife);
            OpeningHistory history;
            int last = ForgettingCounts::NONE;
            for (const int id : ids) {
                counts.add(last, id);
                history.add(id);
                last = id;
            }
            Repeats repeats;
            history.findRepeats(repeats);
            LogRow rows[ForgettingCounts::ORDERS];
            counts.predict(last, repeats, rows);
            for (size_t order = 0; order < ForgettingCounts::ORDERS; ++order) {
                const auto right = naive(ids, static_cast<double>(halfLife), order);
                double sum = 0;
                for (size_t id = 0; id < VOCABULARY; ++id) {
                    const double found = std::exp(static_cast<double>(rows[order][id]));
                    sum += found;
                    EXPECT_NEAR(found, right[id], 2e-4) << "order " << order << " after " << length;
                }
                EXPECT_NEAR(sum, 1.0, 1e-4);
                EXPECT_EQ(rows[order][VOCABULARY], 0.0f);
            }
        }
    }
}

}  // namespace
}  // namespace zml
