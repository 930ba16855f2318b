#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>

#include "platform/testing/TempDir.h"
#include "tools/common/DataDirectory.h"
#include "tools/test/ProgramRun.h"

namespace {

using ::testing::HasSubstr;

struct Case {
    const char* wrong;
    std::vector<std::string> arguments;
    const char* message;
    int status = 2;
};

const Case CASES[] = {
    // The command line.
    {"no verb", {}, "Usage: ksbrain VERB"},
    {"a mistyped verb", {"repaly", "good.csv"}, "no verb \"repaly\"; did you mean replay?"},
    {"an unknown verb", {"dance"}, "no verb \"dance\" (see ksbrain --help)"},
    {"help on a mistyped verb", {"help", "repaly"}, "no verb \"repaly\"; did you mean replay?"},
    {"a mistyped option",
     {"replay", "--chargin", "never", "good.csv"},
     "replay has no option --chargin; did you mean --charging?"},
    {"an option before the verb",
     {"--quiet", "replay", "good.csv"},
     "ksbrain has no option --quiet"},
    {"no trace", {"replay"}, "replay: TRACE is required (see ksbrain replay --help)"},
    {"one trace too many", {"replay", "good.csv", "back.csv"}, "too much is \"back.csv\""},
    {"an option without its value", {"report", "good.csv", "-o"}, "--output"},
    {"a number below the range", {"synth", "--days", "-1"}, "--days"},
    {"no number", {"synth", "--seed", "x"}, "--seed"},
    {"a negative seed", {"compare", "--seed", "-1", "good.csv"}, "--seed"},
    {"two traces to compare", {"compare", "good.csv", "back.csv"}, "too much is \"back.csv\""},
    {"options that exclude each other",
     {"replay", "--json", "--moments", "2", "good.csv"},
     "excludes"},
    {"two orders of dates", {"convert", "--day-first", "--month-first", "dates.txt"}, "excludes"},
    {"half a question", {"explain", "--last", "com.a", "folder"}, "--last requires --current"},
    {"a bad charging plan", {"replay", "--charging", "25:00-07:00", "good.csv"}, "25:00"},
    {"a bad moment", {"explain", "folder", "--time", "yesterday"}, "--time: \"yesterday\""},
    {"a shell nobody completes for", {"completion", "zsh"}, "none for \"zsh\""},
    {"an empty path to read", {"replay", ""}, "TRACE: is empty"},
    {"an empty path to write", {"convert", "good.csv", "-o", ""}, "--output: is empty"},
    // What is read.
    {"a missing file", {"replay", "missing.csv"}, "error: missing.csv: cannot be opened: No such"},
    {"missing scores",
     {"merge", "missing.jsonl"},
     "error: missing.jsonl: cannot be opened: No such"},
    {"a directory", {"replay", "folder"}, "error: folder: cannot be read: Is a directory"},
    {"a directory of scores", {"merge", "folder"}, "error: folder: cannot be read: Is a directory"},
    {"a file that cannot be read",
     {"convert", "/proc/self/mem"},
     "error: /proc/self/mem: cannot be"},
    {"an empty file", {"replay", "empty.csv"}, "error: empty.csv: the file is empty"},
    {"binary garbage", {"convert", "garbage", "-o", "out.csv"}, "garbage"},
    {"a truncated gzip", {"convert", "cut.csv.gz", "-o", "out.csv"}, "error: cut.csv.gz: the comp"},
    {"time running backwards", {"replay", "back.csv"}, "back.csv:3: the time runs backwards"},
    {"a wrong header", {"convert", "header.csv", "-o", "out.csv"}, "header.csv:1: "},
    {"a wrong time", {"report", "time.csv", "-o", "out.html"}, "time.csv:3: "},
    {"a wrong time to compare", {"compare", "time.csv"}, "time.csv:3: "},
    {"a directory of traces", {"compare", "folder"}, "folder"},
    {"an ambiguous date", {"convert", "dates.txt", "-o", "out.csv"}, "--day-first"},
    {"an unknown user",
     {"convert", "--user", "77", "dates.txt", "-o", "out.csv"},
     "error: dates.txt: the file"},
    {"garbage to merge", {"merge", "garbage.jsonl"}, "garbage.jsonl:1: is no JSON"},
    {"a trace merged twice", {"merge", "scores.jsonl", "scores.jsonl"}, "scores.jsonl:1: "},
    {"files of no engine", {"explain", "folder"}, "folder"},
    {"a missing directory", {"inspect", "missing"}, "missing"},
    {"a library that is none", {"serve", "--library", "good.csv"}, "good.csv", 1},
    // What is written.
    {"a page in a missing directory", {"report", "good.csv", "-o", "none/page.html"}, "none/", 1},
    {"a page onto a directory", {"report", "good.csv", "-o", "folder"}, "folder", 1},
    {"a trace in a missing directory", {"synth", "-o", "none/trace.csv"}, "none/", 1},
    {"users into a full directory", {"synth", "--users", "2", "-o", "."}, "not empty"},
    {"users to standard output", {"synth", "--users", "2", "-o", "-"}, "--users makes a directory"},
    {"CSV onto a directory", {"convert", "good.csv", "-o", "folder"}, "folder", 1},
    {"CSV onto its trace", {"convert", "good.csv", "-o", "./good.csv"}, "./good.csv: is the file"},
    {"CSV onto a link to it", {"convert", "good.csv", "-o", "soft.csv"}, "soft.csv: is the file"},
    {"a page onto its trace", {"report", "hard.csv", "-o", "good.csv"}, "good.csv: is the file"},
    {"a page onto its scores",
     {"report", "--from", "scores.jsonl", "-o", "scores.jsonl"},
     "scores.jsonl: is the file"},
    {"a page of no scores", {"report", "--from", "good.csv", "-o", "out.html"}, "good.csv:1: "},
    {"the engine's files in a file",
     {"replay", "--data-dir", "good.csv", "good.csv"},
     "no directory"},
    {"a directory of the engine's that another run uses",
     {"replay", "--data-dir", "used", "good.csv"},
     "used: another run"},
    {"the engine's root in a file", {"serve", "--root", "good.csv"}, "no directory"},
};

class WrongInput : public ::testing::Test {
  protected:
    WrongInput() : mHome(std::filesystem::current_path()) {
        std::string rows = "time,package\n";
        for (int i = 0; i < 40; ++i) {
            rows += std::to_string(1700000000 + 60 * i) + (i % 2 == 0 ? ",com.a\n" : ",com.b\n");
        }
        mFiles.write("good.csv", rows);
        mFiles.write("back.csv", "time,package\n5,com.a\n4,com.b\n");
        mFiles.write("header.csv", "when,what\n5,com.a\n");
        mFiles.write("time.csv", "time,package\n5,com.a\nsoon,com.b\n");
        mFiles.write("empty.csv", "");
        mFiles.write("garbage", std::string("\x7f\0\xff\x01\n\xfe\0\x80", 8));
        // A stored block of 32 bytes of which only 13 are there.
        mFiles.write(
            "cut.csv.gz",
            std::string("\x1f\x8b\x08\0\0\0\0\0\0\x03\x01\x20\0\xdf\xff", 15) + "time,package\n");
        mFiles.write("dates.txt",
                     "user=0\n"
                     "  time=\"03/04/2017 21:18\" type=MOVE_TO_FOREGROUND package=com.a class=a\n"
                     "  time=\"03/04/2017 21:19\" type=MOVE_TO_FOREGROUND package=com.b class=b\n");
        mFiles.write("garbage.jsonl", "{\"name\":\n");
        std::filesystem::create_directory(mFiles.file("folder"));
        std::filesystem::current_path(mFiles.path());
        std::filesystem::create_hard_link("good.csv", "hard.csv");
        std::filesystem::create_symlink("good.csv", "soft.csv");
        std::filesystem::create_directory("used");
        mUsed.emplace("used");
        mFiles.write("scores.jsonl", runKsbrain({"compare", "--json", "good.csv"}).out);
    }
    ~WrongInput() override { std::filesystem::current_path(mHome); }

    // Every path below the directory, with what a file holds.
    std::map<std::string, std::string> everything() const {
        std::map<std::string, std::string> result;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(mFiles.path())) {
            std::ifstream file(entry.path(), std::ios::binary);
            result[entry.path()] = std::string(std::istreambuf_iterator<char>(file), {});
        }
        return result;
    }

    const std::filesystem::path mHome;
    const TempDir mFiles;
    std::optional<DirectoryLock> mUsed;
};

TEST_F(WrongInput, IsNamedAndLeavesNothingBehind) {
    const auto before = everything();
    for (const Case& each : CASES) {
        SCOPED_TRACE(each.wrong);
        const ProgramRun run = runKsbrain(each.arguments);
        EXPECT_EQ(run.status, each.status);
        EXPECT_THAT(run.err, HasSubstr(each.message));
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(everything() == before) << "files have changed";
    }
}

using SmallDisk = WrongInput;

TEST_F(SmallDisk, IsNamedAndGivesNoFigures) {
    std::string rows;
    for (int i = 0; i < 200; ++i) rows += "com.example.app" + std::to_string(i) + "\n";
    mFiles.write("many.txt", rows);
    ASSERT_EQ(runKsbrain({"replay", "--data-dir", "state", "many.txt"}).status, 0);
    rows.clear();
    for (int i = 0; i < 200; ++i) rows += i % 2 == 0 ? "com.a\n" : "com.b\n";
    mFiles.write("two.txt", rows);
    const std::vector<std::string> cases[] = {
        {"replay", "two.txt"},  // where the history alone grows
        {"replay", "many.txt"},
        {"replay", "--json", "--quiet", "many.txt"},
        {"compare", "many.txt"},
        {"compare", "--json", "many.txt"},
        {"report", "many.txt", "-o", "page.html"},
        {"report", "--from", "scores.jsonl", "-o", "page.html"},
        {"convert", "many.txt", "-o", "out.csv"},
        {"convert", "many.txt", "-o", "out/"},
        {"synth", "-o", "out.csv"},
        {"inspect", "state"},
        {"explain", "state"},
    };
    // Files of 512 bytes, which is less than any of those that are written.
    const std::vector<std::string> roomForNone = {"/bin/sh", "-c", "ulimit -f 1; exec \"$@\"",
                                                  "sh"};
    const auto before = everything();
    for (const std::vector<std::string>& arguments : cases) {
        SCOPED_TRACE(arguments[0] + " " + arguments[1]);
        const ProgramRun run = runKsbrain(arguments, "", nullptr, roomForNone);
        EXPECT_EQ(run.status, 1);
        EXPECT_THAT(run.err, HasSubstr("File too large"));
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(everything() == before) << "files have changed";
    }
}

}  // namespace
