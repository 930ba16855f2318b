#include <gmock/gmock.h>

#include "platform/testing/TempDir.h"
#include "tools/test/ProgramRun.h"

namespace {

using ::testing::HasSubstr;

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

TEST(ReportProgram, LeavesBadFilesOutAndSaysSo) {
    const TempDir files;
    files.write("good.csv", "time,package\n5,com.a\n6,com.b\n");
    files.write("bad.csv", "time,package\n5,com.a\n4,com.b\n");
    const ProgramRun run = runKsbrain(
        {"report", "-o", files.file("page.html"), files.file("good.csv"), files.file("bad.csv")});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr(files.file("bad.csv") + ":3: "));
    EXPECT_THAT(files.read("page.html"), HasSubstr("\"openings\":2"));
}

}  // namespace
