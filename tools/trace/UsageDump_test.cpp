#include <gmock/gmock.h>

#include <cstdlib>

#include "platform/testing/TempDir.h"
#include "tools/common/InputError.h"
#include "tools/trace/TraceCsv.h"
#include "tools/trace/TraceFile.h"

namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::AnyOfArray;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using Openings = std::vector<std::string>;

// An event's line as the phone prints it.
std::string event(const std::string& time, const std::string& type, const std::string& package,
                  const std::string& rest = "") {
    return "      time=\"" + time + "\" type=" + type + " package=" + package +
           " class=" + package + ".Main" + rest + "\n";
}

std::string resumed(const std::string& time, const std::string& package) {
    return event(time, "ACTIVITY_RESUMED", package, " instanceId=7 flags=0x0");
}

std::string moved(const std::string& time, const std::string& package) {
    return event(time, "MOVE_TO_FOREGROUND", package);
}

class UsageDump : public ::testing::Test {
  protected:
    UsageDump() { setZone("UTC0"); }
    ~UsageDump() override { unsetenv("TZ"); }

    static void setZone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }

    // The openings, "2026-03-01T14:22:10Z com.x", or what is wrong behind the path. What convert
    // writes reads back as the same.
    Openings read(const std::string& dump) {
        mFiles.write("dump.txt", dump);
        try {
            mFile = TraceFile::read(mFiles.file("dump.txt"), mOptions);
        } catch (const InputError& error) {
            return {std::string(error.what()).substr(mFiles.file("dump.txt").size())};
        }
        EXPECT_EQ(mFile.format, "usagestats");
        const Openings openings = listed(mFile.traces.at(0).trace);
        std::string csv;
        writeCsv(mFile.traces[0].trace, [&](const std::string& piece) { csv += piece; });
        mFiles.write("converted.csv", csv);
        EXPECT_EQ(listed(Trace::read(mFiles.file("converted.csv"))), openings);
        return openings;
    }

    static Openings listed(const Trace& trace) {
        Openings openings;
        for (size_t i = 0; i < trace.size(); ++i) {
            openings.push_back(isoTime(trace.time(i)) + " " + trace.name(i));
        }
        return openings;
    }

    const TempDir mFiles;
    TraceOptions mOptions;
    TraceFile mFile;
};

// As of a phone of 2026: several users, other events, the day's events in two sections.
const std::string NEW_DUMP =
    "$ adb shell dumpsys usagestats\r\n"
    "user=0 \n"
    "  Last 24 hour events (timeRange=\"2/28/2026, 14:22 – 3/1/2026, 14:22\")\n" +
    resumed("2026-03-01 08:00:00", "com.sec.android.app.launcher") +
    event("2026-03-01 08:00:02", "ACTIVITY_PAUSED", "com.sec.android.app.launcher") +
    resumed("2026-03-01 08:00:03", "com.chat") + resumed("2026-03-01 08:00:09", "com.chat") +
    "      time=\"2026-03-01 08:05:00\" type=SCREEN_NON_INTERACTIVE package=android flags=0x0\n" +
    event("2026-03-01 08:05:00", "ACTIVITY_STOPPED", "com.chat") +
    resumed("2026-03-01 09:00:00", "com.chat") +
    event("2026-03-01 09:00:01", "STANDBY_BUCKET_CHANGED", "com.mail",
          " standbyBucket=10 reason=u-mf") +
    resumed("2026-03-01 09:01:00", "com.mail") +
    resumed("2026-03-01 09:02:00", "com.google.android.permissioncontroller") +
    resumed("2026-03-01 09:02:05", "com.mail") + resumed("2026-03-01 09:03:00", "com.chat") +
    "  In-memory daily stats\n"
    "    timeRange=\"3/1/2026, 00:00 – 3/1/2026, 14:22\"\n"
    "    packages\n"
    "      package=com.maps totalTimeUsed=\"12:34\" lastTimeUsed=\"2026-03-01 08:05:00\"\n"
    "    ChooserCounts\n"
    "    configurations\n"
    "      config=mcc262-de-rDE totalTime=\"1:00\" lastTime=\"2026-03-01 09:03:00\"\n"
    "    events\n" +
    resumed("2026-02-28 23:00:00", "com.maps") +
    resumed("2026-03-01 08:00:00", "com.sec.android.app.launcher") +
    resumed("2026-03-01 08:00:03", "com.chat") + resumed("2026-03-01 09:00:00", "com.chat") +
    resumed("2026-03-01 09:01:00", "com.mail") + "  In-memory yearly stats\n    events\n" +
    "user=10 \n  In-memory daily stats\n    events\n" + resumed("2026-03-01 07:00:00", "com.work") +
    "shell@phone:/ $ exit\n";

TEST_F(UsageDump, ListsWhatAPersonWould) {
    EXPECT_THAT(read(NEW_DUMP),
                ElementsAre("2026-02-28T23:00:00Z com.maps", "2026-03-01T08:00:03Z com.chat",
                            "2026-03-01T09:01:00Z com.mail", "2026-03-01T09:03:00Z com.chat"));
    EXPECT_EQ(mFile.traces[0].name, mFiles.file("dump.txt") + "#0");
    EXPECT_THAT(mFile.notes,
                ElementsAre("read user 0; --user for another: 10",
                            "dropped as not opened by the user (--keep NAME to keep one): "
                            "com.google.android.permissioncontroller 1, "
                            "com.sec.android.app.launcher 1"));
    mOptions.user = 10;
    EXPECT_THAT(read(NEW_DUMP), ElementsAre("2026-03-01T07:00:00Z com.work"));
    mOptions.user = 11;
    EXPECT_THAT(read(NEW_DUMP), ElementsAre(HasSubstr("has no user 11, only 0, 10")));
}

TEST_F(UsageDump, DropsAndKeepsNames) {
    mOptions.keep = {"com.sec.android.app.launcher"};
    mOptions.drop = {"com.mail"};
    EXPECT_THAT(read(NEW_DUMP), ElementsAre("2026-02-28T23:00:00Z com.maps",
                                            "2026-03-01T08:00:00Z com.sec.android.app.launcher",
                                            "2026-03-01T08:00:03Z com.chat"));
}

TEST_F(UsageDump, KnowsOpeningsAndTimesOfAllVersions) {
    const struct {
        const char* line;
        const char* opening;
    } cases[] = {
        {"time=\"2017-09-03 21:18:05\" type=MOVE_TO_FOREGROUND package=a.b",
         "2017-09-03T21:18:05Z a.b"},
        {"time=1504473480123 type=1 package=a.b class=a.C", "2017-09-03T21:18:00.123Z a.b"},
        {"time=2026-03-01 14:22:10 type=1 package=a.b", "2026-03-01T14:22:10Z a.b"},
        {"time=\"27/08/2017 21:18\" type=1 package=\"a.b\" class=\"a.C\"",
         "2017-08-27T21:18:00Z a.b"},
        {"time=\"4/27/2019, 22:58\" type=1 package=a.b", "2019-04-27T22:58:00Z a.b"},
        {"time=\"4/27/2019, 10:58 PM\" type=1 package=a.b", "2019-04-27T22:58:00Z a.b"},
        {"time=\"27/4/2019 12:05:30 am\" type=1 package=a.b", "2019-04-27T00:05:30Z a.b"},
        {"time=\"05/05/2017 21:18\" type=1 package=a.b", "2017-05-05T21:18:00Z a.b"},
    };
    for (const auto& [line, opening] : cases) {
        EXPECT_THAT(read(std::string(line) + "\n"), ElementsAre(opening)) << line;
    }
}

TEST_F(UsageDump, AsksForADumpInMillisecondsWhenDatesAreInALanguage) {
    const char* const times[] = {
        "4/27/19, 10:58 PM",     "4/27/2019, 10:58\u202fPM", "27/4/2019 12:05 a. m.",
        "03.09.2017, 21:18",     "3.9.2017 klo 21.18",       "2017/09/03 21:18",
        "2017. 9. 3. 오후 9:18", "2017年9月3日 下午9:18",    "Sep 3, 2017 9:18 PM",
        "27/4/2019 13:05 PM",    "27/4/2019 13:05 Uhr",      "1504473480",
    };
    const std::string good = moved("2017-09-13 21:18:00", "a");
    for (const char* const time : times) {
        const std::string dump = good + moved(time, "b") + good;
        mOptions.skipBad = false;
        EXPECT_THAT(read(dump),
                    ElementsAre(AllOf(StartsWith(":2: \""),
                                      HasSubstr("dump again with `dumpsys usagestats -c`"))));
        mOptions.skipBad = true;
        EXPECT_THAT(read(dump), ElementsAre("2017-09-13T21:18:00Z a"));
        EXPECT_EQ(mFile.skipped, 1U);
    }
}

TEST_F(UsageDump, RefusesTimesThatAreNone) {
    for (const char* const line :
         {"time=18446744073710 type=1 package=b class=B", "time=4102444800000 type=1 package=b",
          "time=\"1969-12-31 23:59:59\" type=1 package=b class=B"}) {
        EXPECT_THAT(read(moved("2026-03-01 08:00:00", "a") + line + "\n"),
                    ElementsAre(AllOf(StartsWith(":2: "), HasSubstr("outside the years 1970"))));
    }
}

TEST_F(UsageDump, TellsDayAndMonthFromTheFileAsAWhole) {
    const std::string september = moved("03/09/2017 21:18", "a");
    const std::string range = "user=0\n  Last 24 hour events (timeRange=\"";
    const std::string dayFirst = "2017-09-03T21:18:00Z a";
    const std::string monthFirst = "2017-03-09T21:18:00Z a";
    const struct {
        std::string dump;
        std::string first;
    } cases[] = {
        {september + moved("13/09/2017 08:00", "b"), dayFirst},
        {september + event("09/13/2017 08:00", "NOTIFICATION_SEEN", "b"), monthFirst},
        {"  package=b lastTimeUsed=\"31/08/2017 21:18\"\n" + september, dayFirst},
        {range + "8/31/2017, 22:00 – 9/1/2017, 22:00\")\n" + september, monthFirst},
        {september + "user=10\n" + moved("13/09/2017 08:00", "b"), dayFirst},
        {september + moved("04/10/2017 21:18", "b"),
         ":1: \"03/09/2017 21:18\" is ambiguous, and no other date of the file tells whether the "
         "day or the month comes first: say --day-first or --month-first, or dump again with "
         "`dumpsys usagestats -c`"},
        {september + moved("13/09/2017 08:00", "b") + moved("09/14/2017 08:00", "c"),
         ":3: \"09/14/2017 08:00\" begins with the month, but \"13/09/2017 08:00\" in line 2 with "
         "the day: say --day-first or --month-first"},
        // Of no matter where no time needs it.
        {range + "8/31/2017, 22:00 – 9/1/2017, 22:00\")\n  lastTimeUsed=\"31/08/2017 21:18\"\n" +
             moved("2017-09-03 21:18:00", "a"),
         dayFirst},
    };
    for (const auto& [dump, first] : cases) EXPECT_EQ(read(dump)[0], first) << dump;

    mOptions.dateOrder = DateOrder::MONTH_FIRST;
    EXPECT_THAT(read(september), ElementsAre(monthFirst));
    EXPECT_THAT(read(september + moved("13/09/2017 08:00", "b"))[0], HasSubstr(":2: "));
}

// Sections are views of one history, of any spans. Old versions show minutes only.
TEST_F(UsageDump, CountsAnEventAsOftenAsTheSectionThatHasItMostOften) {
    const std::string first = moved("13/09/2017 21:18", "a");
    const std::string other = moved("13/09/2017 21:18", "b");
    const std::string late = moved("13/09/2017 21:20", "c");
    const std::string early = moved("12/09/2017 08:00", "d");
    const std::string last = moved("14/09/2017 08:00", "e");
    const Openings all = {"2017-09-12T08:00:00Z d", "2017-09-13T21:18:00Z a",
                          "2017-09-13T21:18:00Z b", "2017-09-13T21:18:00Z a",
                          "2017-09-13T21:20:00Z c", "2017-09-14T08:00:00Z e"};
    const std::string daily = "  In-memory daily stats\n    events\n";
    const std::string weekly = "  In-memory weekly stats\n    events\n";
    const std::string dumps[] = {
        early + first + other + first + late + last,
        // Overlapping at either end, the same, and one inside the other.
        daily + first + other + first + late + last + weekly + early + first + other + first + late,
        weekly + early + first + other + first + daily + first + other + first + late + last,
        daily + early + first + other + first + late + last + weekly + early + first + other +
            first + late + last,
        daily + first + weekly + early + first + other + first + late + last,
        // What one section has twice happened twice, though the others have it once.
        daily + first + last + weekly + early + first + other + first + late + last,
        daily + first + other + weekly + early + first + other + first + late + last + weekly +
            other + late,
        // Disjoint, in any order.
        weekly + early + daily + first + other + first + late + daily + last,
        daily + last + weekly + early + daily + first + other + first + late,
        // Two captures, one behind the other.
        "user=0\n" + daily + early + first + other + first + "user=0\n" + daily + first + other +
            first + late + last,
    };
    for (const std::string& dump : dumps) {
        EXPECT_EQ(read(dump), all) << dump;
        EXPECT_THAT(mFile.notes, IsEmpty());
    }
}

TEST_F(UsageDump, RefusesEventsThatStandNewestFirst) {
    EXPECT_THAT(read(moved("2026-03-01 07:00:00", "z") + "  events\n" +
                     resumed("2026-03-01 08:00:00", "a") + resumed("2026-03-01 07:30:00", "b") +
                     resumed("2026-03-01 07:00:00", "c")),
                ElementsAre(":3: from here on events stand newest first"));
}

TEST_F(UsageDump, ShiftsWhatFollowsAClockThatWasSetBack) {
    const std::string after = resumed("2026-03-01 13:00:00", "c") +
                              resumed("2026-03-01 13:10:00", "d") +
                              resumed("2026-03-01 13:20:00", "e");
    const std::string before =
        resumed("2026-03-01 14:00:00", "a") + resumed("2026-03-01 14:05:00", "b");
    EXPECT_THAT(
        read("user=0\n  Last 24 hour events\n" + after + "  In-memory daily stats\n" + before +
             after),
        ElementsAre("2026-03-01T14:00:00Z a", "2026-03-01T14:05:00Z b", "2026-03-01T14:05:00Z c",
                    "2026-03-01T14:15:00Z d", "2026-03-01T14:25:00Z e"));
    EXPECT_THAT(mFile.notes,
                ElementsAre("line 9: the clock was set back by 1 h 5 min; what follows "
                            "is shifted so that times do not decrease"));
}

TEST_F(UsageDump, TakesTheLaterOfTwoInstantsWhenTheEarlierWouldRunBackwards) {
    setZone("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_THAT(
        read(resumed("2025-10-26 02:30:00", "a") + resumed("2025-10-26 02:50:00", "b") +
             resumed("2025-10-26 02:10:00", "c") + resumed("2025-10-26 02:20:00", "d") +
             resumed("2025-10-26 03:00:00", "e")),
        ElementsAre("2025-10-26T00:30:00Z a", "2025-10-26T00:50:00Z b", "2025-10-26T01:10:00Z c",
                    "2025-10-26T01:20:00Z d", "2025-10-26T02:00:00Z e"));
    EXPECT_THAT(mFile.notes, IsEmpty());
}

// The dump as a terminal of so many columns breaks it, or an editor at blanks.
std::string wrapped(const std::string& dump, size_t width, bool atBlanks) {
    std::string result;
    size_t column = 0;
    size_t blank = 0;  // the last one in the result's line, behind the indentation
    for (const char c : dump) {
        if (c == '\n') {
            column = blank = 0;
        } else if (column++ == width) {
            if (atBlanks && blank > 0) {
                result[blank] = '\n';
                column = result.size() - blank;
            } else {
                result += '\n';
                column = 1;
            }
            blank = 0;
        }
        if (c == ' ' && column > 7) blank = result.size();
        result += c;
    }
    return result;
}

TEST_F(UsageDump, NamesALineThatATerminalBroke) {
    const Openings whole = read(NEW_DUMP);
    size_t refused = 0;
    for (size_t width = 48; width < 130; ++width) {
        for (const bool atBlanks : {false, true}) {
            const Openings openings = read(wrapped(NEW_DUMP, width, atBlanks));
            if (openings[0][0] == ':') {
                EXPECT_THAT(openings, ElementsAre(HasSubstr("cut off or broken in two"))) << width;
                ++refused;
            } else {
                EXPECT_EQ(openings, whole) << width;
            }
        }
    }
    EXPECT_GT(refused, 40U);
    mOptions.skipBad = true;
    EXPECT_THAT(read(wrapped(NEW_DUMP, 80, false)),
                Each(AnyOf(HasSubstr("com.chat"), HasSubstr("com.mail"), HasSubstr("com.maps"))));
    EXPECT_GT(mFile.skipped, 0U);
}

TEST_F(UsageDump, SaysWhichLinesAreCutOrWrong) {
    const std::string a = resumed("2026-03-01 08:00:00", "com.a");
    const std::string begun = "      time=\"2026-03-01 09:00:00\" type=ACTIVITY_RESUMED ";
    const struct {
        std::string line;
        const char* message;
    } cases[] = {
        {begun + "pack\n", ":2: the line is cut off"},
        {"      time=\"2026-03-01 09:0\n", ":2: the line is cut off"},
        {"      time=\"2026-03-01 09:00:00\" type=ACTIVITY\n", ":2: the line is cut off"},
        {begun + "package=com.ba\nnk class=com.bank.Main flags=0x0\n", ":2: the line is cut off"},
        {resumed("noon", "com.b"), ":2: \"noon\" is no time of an event"},
        {resumed("2026-02-30 09:00:00", "com.b"), ":2: there is no \"2026-02-30 09:00:00\""},
    };
    for (const auto& [line, message] : cases) {
        mOptions.skipBad = false;
        EXPECT_THAT(read(a + line + a), ElementsAre(HasSubstr(message)));
        mOptions.skipBad = true;
        EXPECT_THAT(read(a + line + a), ElementsAre("2026-03-01T08:00:00Z com.a"));
        EXPECT_EQ(mFile.skipped, 1U);
    }
}

TEST_F(UsageDump, ACaptureCutAnywhereLosesNoMoreThanTheEventThatWasCut) {
    const std::string lines[] = {resumed("2026-03-01 08:00:00", "com.a"),
                                 resumed("2026-03-01 09:00:00", "com.bank"),
                                 resumed("2026-03-01 10:00:00", "com.c")};
    const Openings whole = read(lines[0] + lines[1] + lines[2]);
    ASSERT_EQ(whole.size(), 3U);
    const size_t indentation = 6;
    for (size_t size = 0; size < lines[2].size(); ++size) {
        const Openings cut = read(lines[0] + lines[1] + lines[2].substr(0, size));
        EXPECT_THAT(cut, AnyOf(whole, Openings(whole.begin(), whole.end() - 1))) << size;
        const bool isLost = cut.size() < whole.size() && size > indentation;
        EXPECT_EQ(mFile.notes,
                  isLost ? Openings{"line 3: the last line is cut off and left out"} : Openings{})
            << size;
    }
    for (size_t from = 0; from < lines[0].size(); ++from) {
        const std::string rest = lines[0].substr(from);
        const Openings cut = read(rest + lines[1] + lines[2]);
        EXPECT_EQ(cut, Openings(whole.begin() + (from > indentation ? 1 : 0), whole.end())) << from;
        // The last digits of its last number say nothing.
        const bool isSeen = from > indentation && rest.find('=') != std::string::npos;
        EXPECT_EQ(mFile.notes,
                  isSeen ? Openings{"line 1: the first line is cut off and left out"} : Openings{})
            << from;
    }
}

TEST_F(UsageDump, ADumpOfManySectionsCutAnywhereIsReadOrRefused) {
    const Openings whole = read(NEW_DUMP);
    for (size_t size = NEW_DUMP.find("  Last 24 hour events ("); size < NEW_DUMP.size();
         size += 5) {
        const Openings cut = read(NEW_DUMP.substr(0, size));
        if (cut[0][0] == ':') {
            EXPECT_THAT(cut[0], HasSubstr("no opening")) << size;
        } else {
            EXPECT_THAT(cut, Each(AnyOfArray(whole))) << size;
        }
    }
}

}  // namespace
