#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "platform/testing/TempDir.h"
#include "tools/common/JsonLine.h"
#include "tools/test/ProgramRun.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

class CompareProgram : public ::testing::Test {
  protected:
    CompareProgram() {
        mkdir(path("traces").c_str(), 0700);
        for (size_t i = 1; i <= 6; ++i) {
            std::string rows;
            for (size_t row = 0; row < 300 * i; ++row) {
                rows += "com.app" + std::to_string((row * row + row / 7) % (2 + i)) + '\n';
            }
            mFiles.write("traces/" + std::to_string(i) + ".txt", rows);
        }
    }

    std::string path(const std::string& name) const { return mFiles.file(name); }
    std::string trace(int number) const {
        return path("traces/" + std::to_string(number) + ".txt");
    }

    // What the program prints when all goes well.
    static std::string output(const std::vector<std::string>& arguments,
                              const std::string& input = "") {
        const ProgramRun run = runKsbrain(arguments, input);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, "");
        return run.out;
    }

    const TempDir mFiles;
};

TEST_F(CompareProgram, MergesAnySplitToWhatOneRunPrints) {
    const std::string table = output({"compare", path("traces")});
    const std::string total =
        output({"compare", "--json", "--total", "--jobs", "1", path("traces")});
    EXPECT_EQ(Json::parse(total)["openings"], 300 * (1 + 2 + 3 + 4 + 5 + 6));
    mFiles.write("list", trace(6) + '\n' + trace(1) + '\n');
    mFiles.write("one", output({"compare", "--json", "--from-list", path("list")}));
    mFiles.write("two", output({"compare", "--json", trace(5), trace(3)}));
    output({"compare", "--save", path("saved"), trace(4), trace(2)});
    EXPECT_EQ(output({"merge", path("saved"), path("two"), path("one")}), table);
    EXPECT_EQ(
        output({"merge", "--json", path("saved"), "-"}, mFiles.read("one") + mFiles.read("two")),
        total);

    const ProgramRun twice = runKsbrain({"merge", path("one"), path("one")});
    EXPECT_EQ(twice.status, 2);
    EXPECT_THAT(twice.err, HasSubstr(path("one") + ":1: the trace "));
    EXPECT_THAT(twice.err, HasSubstr("is there already, from " + path("one") + ":1"));
}

TEST_F(CompareProgram, ABadFileIsNamedAndTheOthersCount) {
    const std::string table = output({"compare", trace(1), trace(3)});
    mFiles.write("bad.csv", "time,package\n5,com.a\n4,com.b\n");
    const ProgramRun run =
        runKsbrain({"compare", trace(1), path("bad.csv"), trace(3), path("none")});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, table);
    EXPECT_THAT(run.err, HasSubstr(path("bad.csv") + ":3: the time runs backwards"));
    EXPECT_THAT(run.err, HasSubstr(path("none") + ":1: cannot be opened"));

    mFiles.write("empty", "");
    const struct {
        std::vector<std::string> arguments;
        const char* message;
    } cases[] = {
        {{"compare"}, "there is no trace"},
        {{"compare", trace(1), path("traces")}, "is named twice"},
        {{"compare", "--from-list", path("none")}, "cannot be opened"},
        {{"compare", "--jobs", "0", trace(1)}, "--jobs"},
        {{"compare", "--total", trace(1)}, "requires --json"},
        {{"compare", "--save", path("bad.csv"), trace(1)}, "is left as it was"},
        {{"compare", "--save", "/dev/full", trace(1)}, "is no plain file"},
        {{"merge", path("bad.csv")}, "bad.csv:1: is no JSON: \"time,package\""},
        {{"merge", path("empty")}, "no result"},
    };
    for (const auto& [arguments, message] : cases) {
        const ProgramRun refused = runKsbrain(arguments);
        EXPECT_EQ(refused.status, 2) << message;
        EXPECT_THAT(refused.err, HasSubstr(message));
        EXPECT_EQ(refused.out, "") << message;
    }
    EXPECT_EQ(mFiles.read("bad.csv"), "time,package\n5,com.a\n4,com.b\n");
}

// The number of lines the file has by now.
size_t linesOf(const TempDir& files, const std::string& name) {
    const std::string text = files.read(name);
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST_F(CompareProgram, GoesOnWhereItWasInterrupted) {
    const std::string table = output({"compare", path("traces")});
    mkdir(path("tmp").c_str(), 0700);
    setenv("TMPDIR", path("tmp").c_str(), 1);
    prctl(PR_SET_CHILD_SUBREAPER, 1);  // a worker that is left behind becomes a child of this test
    size_t lines = 1;
    for (const int signal : {SIGINT, SIGTERM, SIGKILL}) {
        ++lines;
        const ProgramRun run =
            runKsbrain({"compare", "--jobs", "2", "--save", path("saved"), path("traces")}, "",
                       [&](pid_t program) {
                           while (linesOf(mFiles, "saved") < lines && kill(program, 0) == 0)
                               usleep(1000);
                           kill(program, signal);
                       });
        EXPECT_EQ(run.status, 128 + signal);
        EXPECT_EQ(run.out, "");
        if (signal == SIGKILL) {
            while (waitpid(-1, nullptr, 0) > 0) {
            }
            // Where the emulator does not hand orphans over, they go by themselves.
            for (int i = 0; i < 10000 && !entriesOf(path("tmp")).empty(); ++i) usleep(1000);
        } else {
            EXPECT_THAT(run.err, HasSubstr("the same command goes on from " + path("saved")));
        }
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
        EXPECT_THAT(entriesOf(path("tmp")), IsEmpty());
    }
    EXPECT_EQ(output({"compare", "--save", path("saved"), path("traces")}), table);
    const std::string saved = mFiles.read("saved");
    EXPECT_EQ(output({"compare", "--save", path("saved"), path("traces")}), table);
    EXPECT_EQ(mFiles.read("saved"), saved);

    const ProgramRun other =
        runKsbrain({"compare", "--charging", "never", "--save", path("saved"), path("traces")});
    unsetenv("TMPDIR");
    EXPECT_EQ(other.status, 2);
    EXPECT_THAT(other.err, HasSubstr("charging is \"always\" there and \"never\" here"));
}

}  // namespace
