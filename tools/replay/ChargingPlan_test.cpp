#include "tools/replay/ChargingPlan.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "tools/common/InputError.h"

namespace {

constexpr char BERLIN[] = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr time_t HOUR = 3600;
constexpr time_t DAY = 24 * HOUR;

void useZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

// The edges in (from, to].
std::vector<time_t> edges(const ChargingPlan& plan, time_t from, time_t to) {
    std::vector<time_t> found;
    std::optional<time_t> edge = plan.nextEdge(from);
    for (; edge && *edge <= to; edge = plan.nextEdge(*edge)) found.push_back(*edge);
    return found;
}

TEST(ChargingPlan, AlwaysAndNeverHaveNoEdges) {
    EXPECT_TRUE(ChargingPlan::parse("always").chargingAt(0));
    EXPECT_FALSE(ChargingPlan::parse("never").chargingAt(0));
    EXPECT_FALSE(ChargingPlan::parse("always").nextEdge(0));
}

TEST(ChargingPlan, WindowIncludesItsStartAndExcludesItsEnd) {
    useZone("UTC");
    for (const char* text : {"22:30-06:00", "06:00-22:30"}) {
        const ChargingPlan plan = ChargingPlan::parse(text);
        EXPECT_EQ(plan.text(), text);
        const bool overMidnight = text[0] == '2';
        EXPECT_EQ(plan.chargingAt(22 * HOUR + 1799), !overMidnight) << text;
        EXPECT_EQ(plan.chargingAt(22 * HOUR + 1800), overMidnight) << text;
        EXPECT_EQ(plan.chargingAt(DAY + 6 * HOUR - 1), overMidnight) << text;
        EXPECT_EQ(plan.chargingAt(DAY + 6 * HOUR), !overMidnight) << text;
        EXPECT_EQ(edges(plan, 6 * HOUR, 2 * DAY),
                  (std::vector<time_t>{22 * HOUR + 1800, DAY + 6 * HOUR, DAY + 22 * HOUR + 1800}))
            << text;
    }
}

TEST(ChargingPlan, WindowFollowsTheClockOnTheWall) {
    useZone(BERLIN);
    constexpr time_t SPRING = 1711839600;  // Sunday 2024-03-31 00:00 there; 02:00 becomes 03:00
    constexpr time_t AUTUMN = 1729980000;  // Sunday 2024-10-27 00:00 there; 03:00 becomes 02:00
    const struct {
        const char* window;
        time_t midnight;
        std::vector<time_t> hours;  // of the edges, counted from that midnight
    } cases[] = {
        {"23:00-07:00", SPRING - DAY, {7, 23, 30, 46, 54}},
        {"23:00-07:00", AUTUMN - DAY, {7, 23, 32, 48, 56}},
        {"02:00-04:00", SPRING, {2, 3, 25, 27, 49, 51}},  // starts with the jump
        {"03:00-05:00", AUTUMN, {4, 6, 28, 30, 52, 54}},
        {"01:00-03:00", AUTUMN, {1, 4, 26, 28, 50, 52}},  // the hour that comes twice belongs to it
    };
    for (const auto& [window, midnight, hours] : cases) {
        std::vector<time_t> expected;
        for (const time_t hour : hours) expected.push_back(midnight + hour * HOUR);
        EXPECT_EQ(edges(ChargingPlan::parse(window), midnight, expected.back()), expected)
            << window;
    }
}

TEST(ChargingPlan, EveryEdgeChangesTheStateAndNothingElseDoes) {
    useZone("LHST-10:30LHDT-11,M10.1.0,M4.1.0");  // clocks that are set by half an hour
    for (const char* window : {"01:45-02:15", "23:00-07:00", "02:10-01:50"}) {
        const ChargingPlan plan = ChargingPlan::parse(window);
        constexpr time_t BEGIN = 1711800000;  // a week around the change of April
        time_t expected = BEGIN;
        for (const time_t edge : edges(plan, BEGIN, BEGIN + 14 * DAY)) {
            for (; expected < edge; expected += 60) {
                ASSERT_EQ(plan.chargingAt(expected), !plan.chargingAt(edge)) << window;
            }
        }
        EXPECT_GT(expected, BEGIN + 13 * DAY);
    }
}

TEST(ChargingPlan, RefusesWhatIsNoWindow) {
    for (const char* text : {"", "sometimes", "7:00-8:00", "07:00", "07:00-24:00", "07:60-08:00",
                             "07:00-08:00 ", "07:00-07:00", "07:00+08:00"}) {
        EXPECT_THROW(ChargingPlan::parse(text), InputError) << text;
    }
}

}  // namespace
