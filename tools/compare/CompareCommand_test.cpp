#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "platform/testing/TempDir.h"
#include "tools/common/JsonLine.h"
#include "tools/test/ProgramRun.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

class CompareProgram : public ::testing::Test {
  protected:
    // A trace of so many openings, of more applications the longer it is.
    std::string trace(size_t openings) const {
        std::string rows;
        for (size_t row = 0; row < openings; ++row) {
            rows += "com.app" + std::to_string((row * row + row / 7) % (2 + openings / 300)) + '\n';
        }
        const std::string name = std::to_string(openings) + ".txt";
        mFiles.write(name, rows);
        return path(name);
    }

    std::string path(const std::string& name) const { return mFiles.file(name); }

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

TEST_F(CompareProgram, MergesLinesInAnyOrder) {
    const std::string one = output({"compare", "--json", trace(300)});
    EXPECT_EQ(output({"merge", "-"}, one), output({"compare", trace(300)}));

    const std::string two = output({"compare", "--json", trace(900)});
    const std::string three = output({"compare", "--json", trace(1200)});
    mFiles.write("a", one + three);
    mFiles.write("b", two);
    const std::string merged = output({"merge", "--json", path("a"), path("b")});
    EXPECT_EQ(output({"merge", "--json", "-"}, three + two + one), merged);
    const Json total = Json::parse(merged);
    uint64_t hits = 0;
    uint64_t repeats = 0;
    for (const std::string& line : {one, two, three}) {
        hits += Json::parse(line)["methods"]["order_2"]["top4"].get<uint64_t>();
        repeats += Json::parse(line)["repeats"].get<uint64_t>();
    }
    EXPECT_EQ(total["methods"]["order_2"]["top4"], hits);
    EXPECT_GT(repeats, 0U);
    EXPECT_EQ(total["repeats"], repeats);
    EXPECT_EQ(total["openings"], 299 + 899 + 1199 - repeats);

    const ProgramRun twice = runKsbrain({"merge", path("b"), path("a"), path("b")});
    EXPECT_EQ(twice.status, 2);
    EXPECT_THAT(twice.err, HasSubstr(path("b") + ":1: the trace "));
    EXPECT_THAT(twice.err, HasSubstr("is there already, from " + path("b") + ":1"));
}

TEST_F(CompareProgram, RefusesWhatIsNoScore) {
    mFiles.write("good", output({"compare", "--json", trace(30)}));
    mFiles.write("cut", mFiles.read("good") + mFiles.read("good").substr(0, 500));
    mFiles.write("empty", "");
    const std::pair<const char*, const char*> conditions[] = {{"zone", "Europe/Berlin"},
                                                              {"charging", "never"}};
    for (const auto& [member, value] : conditions) {
        Json other = Json::parse(output({"compare", "--json", trace(60)}));
        other[member] = value;
        mFiles.write(member, mFiles.read("good") + jsonLine(other));
    }
    const struct {
        std::string file;
        std::string message;
    } cases[] = {
        {path("zone"), path("zone") + ":2: was made with another TZ (Europe/Berlin) than " +
                           path("zone") + ":1 (UTC)"},
        {path("charging"), ":2: was made with another --charging (never) than "},
        {trace(40), ":1: is no JSON: \"com.app0\""},
        {path("cut"), path("cut") + ":2: is no JSON: "},
        {path("empty"), "there is no score"},
        {path("none"), path("none") + ": cannot be opened"},
        {path("."), ": cannot be read"},
    };
    for (const auto& [file, message] : cases) {
        const ProgramRun refused = runKsbrain({"merge", file});
        EXPECT_EQ(refused.status, 2) << message;
        EXPECT_THAT(refused.err, HasSubstr(message));
        EXPECT_EQ(refused.out, "") << message;
    }
}

TEST_F(CompareProgram, LeavesNothingBehindWhenItIsInterrupted) {
    mkdir(path("tmp").c_str(), 0700);
    setenv("TMPDIR", path("tmp").c_str(), 1);
    ::signal(SIGHUP, SIG_DFL);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const ProgramRun run =
            runKsbrain({"compare", "--json", trace(60'000)}, "", [&](pid_t program) {
                // It runs the methods once it has a directory for the engine's files.
                while (entriesOf(path("tmp")).empty() && kill(program, 0) == 0) usleep(1000);
                kill(program, signal);
            });
        EXPECT_EQ(run.status, 128 + signal);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "");
        EXPECT_THAT(entriesOf(path("tmp")), IsEmpty());
    }
    unsetenv("TMPDIR");
}

}  // namespace
