#include "tools/common/TimeZone.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/testing/TempDir.h"
#include "tools/common/InputError.h"

namespace {

class TimeZone : public ::testing::Test {
  protected:
    TimeZone() {
        mFiles.write("Somewhere", "TZif2 and so on");
        mFiles.write("notes", "no zone");
        setenv("TZDIR", mFiles.path().c_str(), 1);
    }
    ~TimeZone() override {
        unsetenv("TZDIR");
        unsetenv("TZ");
    }

    const TempDir mFiles;
};

TEST_F(TimeZone, IsKnownByAFileOrARule) {
    const std::string file = mFiles.file("Somewhere");
    const struct {
        std::string zone;
        std::string name;
    } cases[] = {
        {"", "UTC"},
        {"UTC", "UTC"},
        {"UTC0", "UTC"},
        {"Etc/UTC", "UTC"},
        {"Somewhere", "Somewhere"},
        {":Somewhere", "Somewhere"},
        {file, file},
        {"CET-1", "CET-1"},
        {"EST5EDT", "EST5EDT"},
        {"<+0530>-5:30", "<+0530>-5:30"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", "CET-1CEST,M3.5.0,M10.5.0/3"},
        {"IST-2IDT,M3.4.4/26,J300", "IST-2IDT,M3.4.4/26,J300"},
    };
    for (const auto& [zone, name] : cases) {
        setenv("TZ", zone.c_str(), 1);
        EXPECT_NO_THROW(requireKnownZone()) << zone;
        EXPECT_EQ(zoneName(), name);
    }
    setenv("TZ", "/somewhere/zoneinfo/Europe/Berlin", 1);
    EXPECT_EQ(zoneName(), "Europe/Berlin");
    unsetenv("TZ");
    EXPECT_NO_THROW(requireKnownZone());
    EXPECT_NE(zoneName(), "");
}

TEST_F(TimeZone, IsRefusedWhenTheLibraryWouldTakeItForUtc) {
    for (const char* const zone :
         {"Nowhere", "notes", ".", "/", "CET", "CET-", "CE-1", "CET-1CEST,M3.5.0", "+1",
          "CET-1CEST,M3.5.0,M10.5.0/3 ", "Europe/Berlin\n", "CET-1CEST,M3.9.0,M10.5.0"}) {
        setenv("TZ", zone, 1);
        EXPECT_THROW(requireKnownZone(), InputError) << zone;
    }
}

}  // namespace
