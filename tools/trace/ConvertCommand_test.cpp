#include <gmock/gmock.h>

#include "platform/testing/TempDir.h"
#include "tools/test/ProgramRun.h"

namespace {

using ::testing::HasSubstr;

const std::string DUMP =
    "user=0\n"
    "    time=\"2026-03-01 08:00:00\" type=ACTIVITY_RESUMED package=com.miui.home class=A\n"
    "    time=\"2026-03-01 08:00:05\" type=ACTIVITY_RESUMED package=com.a class=A\n";
const std::string CSV = "time,package\n2026-03-01T08:00:05Z,com.a\n";
const std::string TABLE =
    "user_id\tsession_id\ttimestamp\tapp_name\tevent_type\n"
    "3\t1\t2018-01-16 06:00:00\tMessages\tOpened\n"
    "5\t1\t2018-01-16 06:00:00\tGoogle Chrome\tOpened\n";

class ConvertProgram : public ::testing::Test {
  protected:
    std::string path(const std::string& name) const { return mFiles.file(name); }

    const TempDir mFiles;
};

TEST_F(ConvertProgram, WritesAFileOrStandardOutput) {
    const ProgramRun piped = runKsbrain({"convert", "-"}, DUMP);
    EXPECT_EQ(piped.status, 0);
    EXPECT_EQ(piped.out, CSV);
    EXPECT_EQ(piped.err,
              "standard input: dropped as not opened by the user (--keep NAME to keep one): "
              "com.miui.home 1\n");
    EXPECT_EQ(runKsbrain({"convert", "--quiet", "-", "-o", path("a.csv")}, DUMP).err, "");
    EXPECT_EQ(mFiles.read("a.csv"), CSV);
    EXPECT_EQ(runKsbrain({"convert", path("a.csv")}).out, CSV);
    EXPECT_EQ(runKsbrain({"replay", "--quiet", "-"}, DUMP).status, 0);
}

TEST_F(ConvertProgram, KeepsTheFileBehindStandardInput) {
    mFiles.write("dump.txt", DUMP);
    const ProgramRun run = runKsbrain({"convert", "-", "-o", path("dump.txt")}, "", nullptr,
                                      {"/bin/sh", "-c", "exec \"$@\" <" + path("dump.txt"), "sh"});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("dump.txt: is the file that is read"));
    EXPECT_EQ(mFiles.read("dump.txt"), DUMP);
}

TEST_F(ConvertProgram, TakesOneOfSeveralUsersOrAllIntoADirectory) {
    mFiles.write("t.tsv", TABLE);
    EXPECT_EQ(runKsbrain({"convert", "--user", "5", path("t.tsv")}).out,
              "time,package\n2018-01-16T06:00:00Z,Google_Chrome\n");
    for (const char* const verb : {"convert", "replay"}) {
        const ProgramRun refused = runKsbrain({verb, path("t.tsv")});
        EXPECT_EQ(refused.status, 2);
        EXPECT_EQ(refused.err, "ksbrain: error: " + path("t.tsv") +
                                   ": holds 2 users (3, 5): choose one with --user N\n");
    }
    EXPECT_EQ(runKsbrain({"convert", path("t.tsv"), "-o", path("all/")}).status, 0);
    EXPECT_THAT(entriesOf(path("all")), ::testing::UnorderedElementsAre("3.csv", "5.csv"));
    EXPECT_EQ(mFiles.read("all/3.csv"), "time,package\n2018-01-16T06:00:00Z,Messages\n");
}

TEST_F(ConvertProgram, LeavesNothingHalfWritten) {
    mFiles.write("bad.txt", DUMP + "    time=\"noon\" type=1 package=com.a class=A\n");
    mFiles.write("late.csv", "time,package\n18446744073710,com.a\n");
    mFiles.write("old.csv", "old");
    const struct {
        std::vector<std::string> arguments;
        std::string message;
    } cases[] = {
        {{path("bad.txt"), "-o", path("old.csv")}, ":4: \"noon\" is no time"},
        {{path("late.csv"), "-o", path("old.csv")}, ":2: \"18446744073710\" lies outside"},
        {{path("none.txt"), "-o", path("old.csv")}, ": cannot be opened"},
        {{path("bad.txt"), "--skip-bad", "-o", "/dev/full"}, "/dev/full: cannot be written"},
        {{path("bad.txt"), "--skip-bad", "-o", path("none/x.csv")}, "x.csv: cannot be written"},
        {{path("bad.txt"), "--skip-bad", "-o", path("old.csv/")}, "is no directory"},
        {{path("bad.txt"), "--day-first", "--month-first"}, "excludes"},
        {{path("bad.txt"), "--user", "-3"}, "--user"},
    };
    for (const auto& [arguments, message] : cases) {
        std::vector<std::string> all = {"convert"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const ProgramRun run = runKsbrain(all);
        EXPECT_NE(run.status, 0) << message;
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(run.err, HasSubstr(message));
        EXPECT_THAT(entriesOf(mFiles.path()),
                    ::testing::UnorderedElementsAre("bad.txt", "late.csv", "old.csv"));
        EXPECT_EQ(mFiles.read("old.csv"), "old");
    }
}

}  // namespace
