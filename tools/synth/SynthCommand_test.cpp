#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>

#include "platform/testing/TempDir.h"
#include "tools/test/ProgramRun.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

using Arguments = std::vector<std::string>;

class SynthProgram : public ::testing::Test {
  protected:
    static ProgramRun run(Arguments arguments, const std::function<void(pid_t)>& meanwhile = {}) {
        arguments.insert(arguments.begin(), "synth");
        return runKsbrain(arguments, "", meanwhile);
    }

    std::string path(const std::string& name) const { return mFiles.file(name); }

    const TempDir mFiles;
};

TEST_F(SynthProgram, WritesTheSamePersonEverywhere) {
    const Arguments small = {"--openings", "50", "--seed", "5", "--start", "2025-12-31"};
    const auto with = [&](Arguments more) {
        more.insert(more.end(), small.begin(), small.end());
        return run(more);
    };
    const ProgramRun out = with({});
    EXPECT_EQ(out.status, 0);
    EXPECT_THAT(out.out, StartsWith("time,package\n2025-12-31T"));
    mFiles.write("one.csv", "is replaced");
    EXPECT_EQ(with({"-o", path("one.csv")}).status, 0);
    EXPECT_EQ(mFiles.read("one.csv"), out.out);

    EXPECT_EQ(with({"--users", "2", "-o", path("two/")}).status, 0);
    EXPECT_EQ(with({"--users", "3", "-o", path("three")}).status, 0);
    EXPECT_THAT(entriesOf(path("two")), UnorderedElementsAre("user-0001.csv", "user-0002.csv"));
    EXPECT_EQ(mFiles.read("two/user-0001.csv"), out.out);
    EXPECT_EQ(mFiles.read("two/user-0002.csv"), mFiles.read("three/user-0002.csv"));
    EXPECT_NE(mFiles.read("three/user-0002.csv"), mFiles.read("three/user-0003.csv"));
    EXPECT_THAT(entriesOf(mFiles.path()), UnorderedElementsAre("one.csv", "two", "three"));
}

TEST_F(SynthProgram, RefusesWhatItCannotDoAndMakesNothing) {
    mFiles.write("file", "");
    const struct {
        Arguments arguments;
        int status;
        std::string message;
    } cases[] = {
        {{"--users", "2"}, 2, "requires"},
        {{"--users", "0", "-o", path("new")}, 2, "--users"},
        {{"--users", "2", "-o", path("file")}, 2, "file: is no directory: name a new one"},
        {{"--users", "2", "-o", mFiles.path()}, 2, "is not empty: empty it first"},
        {{"--users", "2", "-o", path("a/b")}, 1, "a/b: cannot be made: "},
        {{"-o", mFiles.path()}, 2, "is a directory: name a file, or say --users N"},
        {{"-o", path("a/b")}, 1, "a/b: cannot be written: "},
        {{"-o", "/dev/full"}, 1, "/dev/full: cannot be written: No space"},
        {{"--apps", "1", "-o", path("new")}, 2, "--apps"},
        {{"--days", "1.5", "-o", path("new")}, 2, "--days"},
        {{"--start", "2025-02-29", "-o", path("new")}, 2, "\"2025-02-29\" is no date"},
        {{"--start", "2099-12-01", "-o", path("new")}, 2, "beyond the year 2099"},
        {{"--start", "2099-12-01", "--openings", "99999", "-o", path("new")}, 2, "beyond the year"},
    };
    for (const auto& [arguments, status, message] : cases) {
        const ProgramRun refused = run(arguments);
        EXPECT_EQ(refused.status, status) << message;
        EXPECT_THAT(refused.err, HasSubstr(message));
        EXPECT_EQ(refused.out, "");
        EXPECT_THAT(entriesOf(mFiles.path()), UnorderedElementsAre("file"));
    }
}

TEST_F(SynthProgram, LeavesNothingWhenItIsInterrupted) {
    const Arguments many = {"--users", "1000000", "-o", path("users")};
    const ProgramRun stopped = run(many, [&](pid_t program) {
        while (entriesOf(mFiles.path()).empty() && kill(program, 0) == 0) usleep(1000);
        kill(program, SIGINT);
    });
    EXPECT_EQ(stopped.status, 128 + SIGINT);
    EXPECT_THAT(entriesOf(mFiles.path()), testing::IsEmpty());
}

}  // namespace
