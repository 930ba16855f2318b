#include "tools/report/Periods.h"

#include <gtest/gtest.h>

namespace {

TEST(Periods, BeginWhereTheCalendarSays) {
    const struct {
        const char* day;
        const char* week;
        const char* month;
    } cases[] = {
        {"2026-03-01", "2026-02-23", "2026-03-01"},  // a Sunday
        {"2026-03-02", "2026-03-02", "2026-03-01"},  // a Monday
        {"2024-02-29", "2024-02-26", "2024-02-01"}, {"2025-01-01", "2024-12-30", "2025-01-01"},
        {"1969-12-31", "1969-12-29", "1969-12-01"},
    };
    for (const auto& [day, week, month] : cases) {
        EXPECT_EQ(periodStart(day, Period::DAY), day);
        EXPECT_EQ(periodStart(day, Period::WEEK), week);
        EXPECT_EQ(periodStart(day, Period::MONTH), month);
    }
}

TEST(Periods, LeaveNoneOutBetweenTheFirstAndTheLast) {
    const std::map<std::string, uint64_t> days = {
        {"2023-12-30", 1}, {"2024-01-01", 2}, {"2024-01-31", 4}, {"2024-03-03", 8}};
    using Sums = std::map<std::string, uint64_t>;
    EXPECT_EQ(byPeriod(days, Period::MONTH),
              (Sums{{"2023-12-01", 1}, {"2024-01-01", 6}, {"2024-02-01", 0}, {"2024-03-01", 8}}));
    const Sums weeks = byPeriod(days, Period::WEEK);
    EXPECT_EQ(weeks.size(), 10U);
    EXPECT_EQ(weeks.at("2024-01-01"), 2U);
    EXPECT_EQ(weeks.at("2024-02-26"), 8U);
    EXPECT_EQ(byPeriod(days, Period::DAY).size(), 65U);
    EXPECT_EQ(byPeriod(days, Period::DAY).at("2024-02-29"), 0U);
}

TEST(Periods, GrowWithTheTimeBetweenTwoDays) {
    EXPECT_EQ(periodFor("2026-03-01", "2026-03-31", 31), Period::DAY);
    EXPECT_EQ(periodFor("2026-03-01", "2026-04-01", 31), Period::WEEK);
    EXPECT_EQ(periodFor("2026-01-01", "2026-08-05", 31), Period::WEEK);
    EXPECT_EQ(periodFor("2026-01-01", "2026-08-06", 31), Period::MONTH);
}

}  // namespace
