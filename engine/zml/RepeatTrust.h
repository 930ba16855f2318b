#pragma once

#include <algorithm>
#include <array>

#include "zml/LogRow.h"
#include "zml/OpeningHistory.h"

namespace zml {

// Predicts what followed where the longest row of ids stood before that is the same as now, as data
// compressors do (Bell, Cleary and Witten 1990): with the probability with which that was right
// lately for rows of the same length. All other ids share the rest.
class RepeatTrust {
  public:
    // `id` was opened after what `repeats` was found for.
    void learn(const Repeats& repeats, int id) {
        if (repeats.matched == 0) return;
        Record& record = mRecords[repeats.matched];
        record.tried += 1.0f;
        if (static_cast<size_t>(id) == repeats.matchedId) record.right += 1.0f;
        constexpr float ENOUGH = 200.0f;
        if (record.tried <= ENOUGH) return;
        record.tried /= 2.0f;
        record.right /= 2.0f;
    }

    void predict(const Repeats& repeats, LogRow& row) const {
        row.fill(0.0f);
        if (repeats.matched == 0) return;
        const Record& record = mRecords[repeats.matched];
        const float right = record.right / record.tried;
        ProbabilityRow probabilities = {};
        std::fill_n(probabilities.begin(), VOCABULARY, (1.0f - right) / (VOCABULARY - 1));
        probabilities[repeats.matchedId] = right;
        takeLogarithms(probabilities, row);
    }

  private:
    struct Record {
        float tried = 2.0f;
        float right = 1.0f;
    };

    std::array<Record, Repeats::LONGEST + 1> mRecords;  // by the length of the row
};

}  // namespace zml
