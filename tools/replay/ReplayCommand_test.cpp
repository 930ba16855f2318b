#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <filesystem>

#include "platform/testing/TempDir.h"
#include "tools/common/JsonLine.h"
#include "tools/test/ProgramRun.h"

namespace {

using ::testing::HasSubstr;

class ReplayProgram : public ::testing::Test {
  protected:
    ReplayProgram() {
        std::string rows;
        for (int i = 0; i < 40; ++i) rows += i % 2 == 0 ? "com.a\n" : "com.b\n";
        mFiles.write("t.txt", rows);
    }

    std::string path(const std::string& name) const { return mFiles.file(name); }

    const TempDir mFiles;
};

TEST_F(ReplayProgram, PrintsATableOrAnObject) {
    const ProgramRun table = runKsbrain({"replay", "--moments", "2", path("t.txt")});
    EXPECT_EQ(table.status, 0);
    EXPECT_EQ(table.err, "");
    EXPECT_THAT(table.out, HasSubstr("Mon 2024-01-01 00:26  com.a is in front\n"
                                     "    predicted (Bayes):  com.b  com.a\n"
                                     "    opened next: com.b  -> hit, the first\n"));
    EXPECT_THAT(table.out, HasSubstr("57.1 %"));

    const ProgramRun json = runKsbrain({"replay", "--json", path("t.txt")});
    EXPECT_EQ(json.status, 0);
    const Json object = Json::parse(json.out);
    EXPECT_EQ(object["openings"], 40);
    EXPECT_EQ(object["predictions"], 17);
    EXPECT_EQ(object["bayes"], Json::parse(R"({"opened":28,"top1":16,"top4":16})"));
    EXPECT_EQ(object["network"]["trainings"], 0);
    EXPECT_EQ(object["apps"], 2);
}

TEST_F(ReplayProgram, ShowsTheEnginesLogFromALevelOn) {
    const ProgramRun trace = runKsbrain({"replay", "--log", "1", path("t.txt")});
    EXPECT_THAT(trace.err, HasSubstr("AppPreload BayesAdapter train ok"));
    const ProgramRun info = runKsbrain({"replay", "--log", "info", path("t.txt")});
    EXPECT_THAT(info.err, testing::Not(HasSubstr("AppPreload BayesAdapter train ok")));
    EXPECT_EQ(info.status, 0);
}

TEST_F(ReplayProgram, RefusesBadInputAndLeavesTheDirectoryAlone) {
    mFiles.write("bad.csv", "time,package\n5,com.a\n4,com.b\n");
    const ProgramRun bad = runKsbrain({"replay", "--data-dir", path("new"), path("bad.csv")});
    EXPECT_EQ(bad.status, 2);
    EXPECT_EQ(bad.out, "");
    EXPECT_EQ(bad.err, path("bad.csv") + ":3: the time runs backwards, by 1 s\n");
    EXPECT_FALSE(mFiles.exists("new"));

    const struct {
        std::vector<std::string> arguments;
        std::string message;
    } cases[] = {
        {{path("none.csv")}, path("none.csv") + ": cannot be opened"},
        {{"--data-dir", path("t.txt"), path("t.txt")}, "is no directory"},
        {{"--data-dir", path("a/b"), path("t.txt")}, "cannot be made"},
        {{"--charging", "07:00-07:00", path("t.txt")}, "ends where it starts"},
        {{"--log", "9", path("t.txt")}, "no log level"},
        {{"--moments", "2", "--json", path("t.txt")}, "excludes"},
        {{}, "TRACE is required"},
    };
    for (const auto& [arguments, message] : cases) {
        std::vector<std::string> all = {"replay"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const ProgramRun run = runKsbrain(all);
        EXPECT_EQ(run.status, 2) << message;
        EXPECT_THAT(run.err, HasSubstr(message));
        EXPECT_EQ(run.out, "") << message;
    }
    EXPECT_EQ(runKsbrain({}).status, 2);
    EXPECT_EQ(runKsbrain({"replay", "--help"}).status, 0);
}

TEST_F(ReplayProgram, KeepsADataDirectoryToItself) {
    // An evaluation is stored for every night of more than a century.
    mFiles.write("long.csv", "time,package\n0,com.a\n4000000000,com.b\n");
    const std::string data = path("data");
    ProgramRun second{};
    const ProgramRun first = runKsbrain(
        {"replay", "--charging", "23:00-07:00", "--data-dir", data, path("long.csv")}, "",
        [&](pid_t program) {
            while (!mFiles.exists("data/AppPreloadEvaluation") && kill(program, 0) == 0) {
                usleep(1000);
            }
            second = runKsbrain({"replay", "--data-dir", path("./data/"), path("t.txt")});
            kill(program, SIGINT);
        });
    EXPECT_EQ(first.status, 128 + SIGINT);
    EXPECT_EQ(second.status, 2);
    EXPECT_EQ(second.out, "");
    EXPECT_THAT(second.err, HasSubstr("data/: another run uses the directory"));
    EXPECT_EQ(runKsbrain({"replay", "--data-dir", data, path("t.txt")}).status, 0);
    EXPECT_THAT(entriesOf(data),
                ::testing::UnorderedElementsAre("AppPreloadBayesModel", "AppPreloadMap",
                                                "AppPreloadEvaluation", "AppHistory"));
}

// Whether a file of that name lies below the directory.
bool holds(const std::string& directory, const std::string& name) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        if (entry.path().filename() == name) return true;
    }
    return false;
}

TEST_F(ReplayProgram, CleansUpWhenItIsInterrupted) {
    // An evaluation is stored for every night of more than a century.
    mFiles.write("long.csv", "time,package\n0,com.a\n4000000000,com.b\n");
    const std::string temporary = path("tmp");
    mkdir(temporary.c_str(), 0700);
    setenv("TMPDIR", temporary.c_str(), 1);
    const ProgramRun run = runKsbrain(
        {"replay", "--charging", "23:00-07:00", path("long.csv")}, "", [&](pid_t program) {
            while (!holds(temporary, "AppPreloadEvaluation") && kill(program, 0) == 0) usleep(1000);
            kill(program, SIGINT);
        });
    unsetenv("TMPDIR");
    EXPECT_EQ(run.status, 128 + SIGINT);
    EXPECT_TRUE(std::filesystem::is_empty(temporary));
}

}  // namespace
