#include "tools/compare/UnusedPreloads.h"

#include <gtest/gtest.h>

namespace {

struct Step {
    size_t front;
    std::vector<size_t> list;
};

// Worked out by hand: with one, two and three names preloaded.
TEST(UnusedPreloads, AreThoseThatDropOutUnopened) {
    const struct {
        const char* what;
        std::vector<Step> steps;
        std::array<uint64_t, 3> unused;
    } cases[] = {
        {"what still waits may yet be used", {{0, {1, 2, 3}}, {1, {2, 3, 0}}}, {0, 0, 0}},
        {"opened while it waits", {{0, {1}}, {1, {0}}, {0, {2}}, {1, {2}}}, {0, 0, 0}},
        {"opened after it was pushed back", {{0, {1, 2}}, {3, {2, 1}}, {1, {2, 0}}}, {1, 0, 0}},
        {"it waits over several openings", {{0, {1}}, {2, {1}}, {3, {1}}, {4, {5}}}, {1, 1, 1}},
        {"and again when it comes back",
         {{0, {1}}, {2, {3}}, {0, {1}}, {2, {3}}, {0, {}}},
         {4, 4, 4}},
        {"without a list nothing is held", {{0, {1, 2}}, {3, {}}, {1, {}}}, {1, 2, 2}},
        {"what was in front needs no preload", {{1, {}}, {0, {1}}, {2, {3}}, {0, {3}}}, {0, 0, 0}},
        {"only the first place counts", {{0, {1, 1, 2}}, {3, {1, 2, 2}}, {3, {}}}, {1, 2, 2}},
    };
    for (const auto& [what, steps, unused] : cases) {
        UnusedPreloads preloads;
        for (const auto& [front, list] : steps) preloads.next(front, list);
        for (size_t i = 0; i < unused.size(); ++i) {
            EXPECT_EQ(preloads.counts()[i], unused[i]) << what << ", " << i + 1;
        }
    }
}

}  // namespace
