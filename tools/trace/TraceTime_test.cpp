#include <gmock/gmock.h>

#include <cstdlib>

#include "tools/common/InputError.h"
#include "tools/trace/TraceTime.h"

namespace {

using ::testing::HasSubstr;

constexpr char BERLIN[] = "CET-1CEST,M3.5.0,M10.5.0/3";

void useZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

// In microseconds.
int64_t parsed(const std::string& text, int64_t notBefore = 0) {
    return parseTraceTime(text, TraceTime(notBefore)).count();
}

std::string refusal(const std::string& text) {
    try {
        parsed(text);
    } catch (const InputError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(TraceTime, ReadsSecondsAndIso8601) {
    useZone(BERLIN);
    const struct {
        const char* text;
        int64_t expected;
    } cases[] = {
        {"0", 0},
        {"1709280309", 1709280309000000},
        {"1709280309.5", 1709280309500000},
        {"1709280309.0000019", 1709280309000001},
        {"2024-03-01T08:05:09Z", 1709280309000000},
        {"2024-03-01 08:05:09.25Z", 1709280309250000},
        {"2024-03-01T10:05:09+02:00", 1709280309000000},
        {"2024-03-01T04:35:09-0330", 1709280309000000},
        {"2024-03-01T10:05+02", 1709280300000000},
        {"2024-02-29T23:59:59Z", 1709251199000000},
        {"2024-03-01T09:05:09", 1709280309000000},  // winter here
        {"2024-07-01T10:00:00", 1719820800000000},  // summer here
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(parsed(text), expected) << text;
}

TEST(TraceTime, SaysWhatIsWrong) {
    useZone(BERLIN);
    const struct {
        const char* text;
        const char* message;
    } cases[] = {
        {"", "is no time"},
        {"yesterday", "is no time"},
        {"-5", "is no time"},
        {" 5", "is no time"},
        {"5.", "is no time"},
        {"1e9", "is no time"},
        {"2024-03-01", "is no time"},
        {"2024-03-01T08:05:09+2", "is no time"},
        {"2024-03-01T08:05:09+24:00", "is no time"},
        {"2024-03-01T08:05:09Zulu", "is no time"},
        {"2024-3-1T08:05:09", "is no time"},
        {"2023-02-29T08:05:09", "there is no"},
        {"2024-13-01T08:05:09Z", "there is no"},
        {"2024-03-01T24:00:00", "there is no"},
        {"2024-03-31T02:30:00", "the clocks skip it"},
        {"1709280309000", "outside the years"},   // milliseconds
        {"18446744073710", "outside the years"},  // as microseconds more than 64 bits hold
        {"999999999999999999", "outside the years"},
        {"999999999999999999999", "is no time"},
        {"1969-12-31T23:59:59Z", "outside the years"},
        {"2024-03-01T08:05:09\n", "\"2024-03-01T08:05:09?\" is no time"},
    };
    for (const auto& [text, message] : cases) {
        EXPECT_THAT(refusal(text), HasSubstr(message)) << text;
    }
}

TEST(TraceTime, LocalTimeThatHappensTwiceGoesOnFromTheRowBefore) {
    useZone(BERLIN);
    constexpr int64_t SUMMER = 1729989000000000;  // 2024-10-27T02:30+02:00
    constexpr int64_t WINTER = SUMMER + 3600000000;
    EXPECT_EQ(parsed("2024-10-27T02:30:00"), SUMMER);
    EXPECT_EQ(parsed("2024-10-27T02:30:00", SUMMER), SUMMER);
    EXPECT_EQ(parsed("2024-10-27T02:30:00", SUMMER + 1), WINTER);
}

}  // namespace
