#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>

#include "platform/testing/TempDir.h"
#include "tools/test/ProgramRun.h"

namespace {

using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

TEST(ReportProgram, RefusesBadInputAndWritesNothing) {
    const TempDir files;
    files.write("good.csv", "time,package\n5,com.a\n6,com.b\n");
    files.write("bad.csv", "time,package\n5,com.a\n4,com.b\n");
    const std::string page = files.file("page.html");
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string message;
    } cases[] = {
        {{"-o", page, files.file("bad.csv")}, 2, files.file("bad.csv") + ":3: "},
        {{"-o", page, files.file("none.csv")}, 2, files.file("none.csv")},
        {{"-o", page, "--from", files.file("good.csv")}, 2, files.file("good.csv") + ":1: is no"},
        {{"-o", page}, 2, "either a TRACE or --from"},
        {{"-o", page, "--from", "-", files.file("good.csv")}, 2, "either a TRACE or --from"},
        {{"-o", page, "--from", "-", "--charging", "never"}, 2, "--charging excludes --from"},
        {{files.file("good.csv")}, 2, "--output"},
        {{"-o", files.file("no/page.html"), files.file("good.csv")}, 1, files.file("no/page.html")},
        {{"-o", page, "--charging", "noon", files.file("good.csv")}, 2, "noon"},
    };
    for (const auto& [arguments, status, message] : cases) {
        std::vector<std::string> all = {"report"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const ProgramRun run = runKsbrain(all);
        EXPECT_EQ(run.status, status) << message;
        EXPECT_THAT(run.err, HasSubstr(message));
        EXPECT_FALSE(files.exists("page.html")) << message;
    }
}

// What the page says of itself: the command line that made it.
std::string takeCommand(std::string& page) {
    const std::string begin = "\"command\":\"";
    const size_t from = page.find(begin) + begin.size();
    const std::string command = page.substr(from, page.find('"', from) - from);
    page.erase(from, command.size());
    return command;
}

TEST(ReportProgram, AScoreGivesThePageOfItsTrace) {
    const TempDir files;
    files.write("names.txt", "com.a\ncom.b\ncom.a\ncaf\xe9\ncaf\xe8\n");
    const std::string names = files.file("names.txt");
    const std::string score = runKsbrain({"compare", "--json", "--charging", "never", names}).out;
    const ProgramRun direct = runKsbrain(
        {"report", "--quiet", "--charging", "never", "-o", files.file("direct.html"), names});
    EXPECT_EQ(direct.status, 0) << direct.err;
    EXPECT_THAT(files.read("direct.html"), HasSubstr("\"openings\":4"));
    const ProgramRun indirect =
        runKsbrain({"report", "--quiet", "--from", "-", "-o", files.file("from.html")}, score);
    EXPECT_EQ(indirect.status, 0) << indirect.err;
    EXPECT_THAT(files.read("from.html"), HasSubstr("\"charging\":\"never\""));

    files.write("names.txt", "com.a\ncom.b\ncom.a\n");
    const std::string plain = runKsbrain({"compare", "--json", names}).out;
    runKsbrain({"report", "--quiet", "-o", files.file("direct.html"), names});
    runKsbrain({"report", "--quiet", "--from", "-", "-o", files.file("from.html")}, plain);
    std::string one = files.read("direct.html");
    std::string other = files.read("from.html");
    EXPECT_EQ(takeCommand(one), "ksbrain report --quiet -o direct.html names.txt");
    EXPECT_EQ(takeCommand(other), "ksbrain report --quiet --from - -o from.html");
    EXPECT_TRUE(one == other) << "another page";

    const std::string blank = files.file("a page's.html");
    files.write("names.txt", "com.a\ncom.b\ncom.a\n");
    runKsbrain({"report", "--quiet", "--output=" + blank, "--drop", "x y", names});
    std::string third = files.read("a page's.html");
    EXPECT_EQ(takeCommand(third),
              R"(ksbrain report --quiet '--output=a page'\\''s.html' --drop 'x y' names.txt)");
}

TEST(ReportProgram, AnInterruptLeavesTheOldPage) {
    const TempDir files;
    std::string rows;
    for (int i = 0; i < 60'000; ++i) rows += "com.app" + std::to_string(i * i % 23) + '\n';
    files.write("long.txt", rows);
    files.write("page.html", "old");
    const ProgramRun run = runKsbrain(
        {"report", "-o", files.file("page.html"), files.file("long.txt")}, "", [&](pid_t program) {
            // The new page stands beside the old one while the work goes on.
            while (entriesOf(files.path()).size() < 3 && kill(program, 0) == 0) usleep(1000);
            kill(program, SIGINT);
        });
    EXPECT_EQ(run.status, 128 + SIGINT);
    EXPECT_THAT(entriesOf(files.path()), UnorderedElementsAre("long.txt", "page.html"));
    EXPECT_EQ(files.read("page.html"), "old");
}

}  // namespace
