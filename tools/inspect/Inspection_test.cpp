#include "tools/inspect/Inspection.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <filesystem>

#include "platform/testing/TempDir.h"
#include "tools/common/EngineLog.h"
#include "tools/common/InputError.h"
#include "tools/common/JsonLine.h"
#include "tools/inspect/test/SmallState.h"
#include "tools/test/ProgramRun.h"

namespace {

using ::testing::HasSubstr;

// Names, contents, times of change and modes of everything in a directory.
std::string snapshot(const TempDir& files) {
    std::vector<std::string> names = entriesOf(files.path());
    std::sort(names.begin(), names.end());
    std::string result;
    for (const std::string& name : names) {
        struct stat status {};
        lstat(files.file(name).c_str(), &status);
        result += name + ' ' + std::to_string(status.st_mode) + ' ' +
                  std::to_string(status.st_mtim.tv_sec) + '.' +
                  std::to_string(status.st_mtim.tv_nsec) + ' ' + std::to_string(status.st_ino) +
                  '\n' + (S_ISREG(status.st_mode) ? files.read(name) : "") + '\n';
    }
    return result;
}

class InspectionOf : public ::testing::Test {
  protected:
    InspectionOf() {
        silenceEngineLog();
        writeSmallState(mFiles);
    }

    Inspection inspect() const {
        const std::string before = snapshot(mFiles);
        const Inspection inspection = inspectDirectory(mFiles.path());
        EXPECT_EQ(snapshot(mFiles), before);
        return inspection;
    }

    const TempDir mFiles;
};

const FileReport& reportOf(const Inspection& inspection, const std::string& title) {
    for (const FileReport& report : inspection.reports) {
        if (report.title == title) return report;
    }
    throw std::runtime_error(title);
}

std::string joined(const std::vector<std::string>& remarks) {
    std::string text;
    for (const std::string& remark : remarks) text += remark + '\n';
    return text;
}

TEST_F(InspectionOf, WholeFilesSaysWhatTheyHold) {
    mFiles.write("notes.txt", "mine");
    const Inspection inspection = inspect();
    EXPECT_TRUE(inspection.whole()) << inspectionText(inspection);
    EXPECT_EQ(inspection.foreign, (std::map<std::string, uint64_t>{{"notes.txt", 4}}));
    const Json& model = *reportOf(inspection, "Bayes model").facts;
    EXPECT_EQ(model["samples"], 4);
    EXPECT_EQ(model["classes"], 2);
    EXPECT_EQ(model["dimensions"], 4);
    EXPECT_EQ(model["entries"], 11);
    EXPECT_EQ(model["zeroEntries"], 1);
    const Json& history = *reportOf(inspection, "history").facts;
    EXPECT_EQ(history["entries"], 3);
    EXPECT_EQ(history["distinct"], 2);
    EXPECT_EQ(history["first"], "com.a");
    EXPECT_EQ(history["openingsToTraining"], 4996);
    EXPECT_EQ((*reportOf(inspection, "usage table").facts)["mostUsed"]["application"], "app.29");
    EXPECT_EQ((*reportOf(inspection, "sequence network").facts)["checksumRight"], true);
    EXPECT_EQ((*reportOf(inspection, "evaluation").facts)["predictor"], "network");
    EXPECT_THAT(joined(reportOf(inspection, "evaluation").remarks),
                HasSubstr("25.0 % first and 50.0 % among"));
}

// Replaces the only occurrence.
std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    EXPECT_NE(at, text.npos) << from;
    return text.replace(at, from.size(), to);
}

TEST_F(InspectionOf, DamageIsNamed) {
    const std::string model = mFiles.read("AppPreloadBayesModel");
    const std::string map = mFiles.read("AppPreloadMap");
    const std::string usage = mFiles.read("AppUsage");
    const std::string network = mFiles.read("aiPreloadApp.zml");
    std::string flipped = network;
    flipped[100] = static_cast<char>(flipped[100] ^ 1);
    const struct {
        const char* file;
        std::string content;
        const char* title;
        FileState state;
        const char* words;
    } cases[] = {
        {"AppPreloadBayesModel", model.substr(0, model.size() - 6), "Bayes model",
         FileState::DAMAGED, "line 21: cut off"},
        {"AppPreloadBayesModel", replaced(model, "0:5:1 1", "0:5:1 7"), "Bayes model",
         FileState::DAMAGED, "class 1 has 1 samples, but 7 values of feature 0"},
        {"AppPreloadBayesModel", replaced(model, "Count 4", "Count 5"), "Bayes model",
         FileState::DAMAGED, "4 samples together, not 5"},
        {"AppPreloadBayesModel", replaced(model, "Count 4", "Count 0"), "Bayes model",
         FileState::DAMAGED, "refuse it and begin untrained"},
        {"AppPreloadBayesModel", "", "Bayes model", FileState::DAMAGED, "line 1: cut off"},
        {"AppPreloadBayesModel", replaced(model, "\n1\n1\n1\n", "\n0\n1\n1\n"), "Bayes model",
         FileState::REFUSED, "weekends only"},
        {"AppPreloadBayesModel", replaced(model, "SpaceY 2", "SpaceY 0"), "Bayes model",
         FileState::REFUSED, "started afresh"},
        {"AppPreloadBayesModel", replaced(model, "SpaceY 2", "SpaceY 9"), "application table",
         FileState::DAMAGED, "names only 2 of them"},
        {"AppPreloadMap", map.substr(0, map.size() - 9), "application table", FileState::DAMAGED,
         "refuse it, delete it"},
        {"AppPreloadMap", replaced(map, "com.b 1", "com.b 0"), "application table",
         FileState::DAMAGED, "load it all the same"},
        {"AppHistory", "com.a\ncom.", "history", FileState::DAMAGED, "last line is cut"},
        {"AppHistory", "", "history", FileState::DAMAGED, "is empty"},
        {"AppHistory", std::string("com.a\n\0\n", 8), "history", FileState::DAMAGED, "control"},
        {"AppUsage", replaced(usage, "30\n", "31\n"), "usage table", FileState::DAMAGED,
         "refuse it, delete it"},
        {"AppUsage", replaced(usage, "28 29 ", "29 29 "), "usage table", FileState::DAMAGED,
         "repeats a name or id"},
        {"AppUsage", "x", "sequence network", FileState::REFUSED, "refuses the usage table"},
        {"aiPreloadApp.zml", flipped, "sequence network", FileState::DAMAGED, "CRC-32 is wrong"},
        {"aiPreloadApp.zml", network.substr(0, 20), "sequence network", FileState::DAMAGED,
         "cut off"},
        {"aiPreloadApp.zml", "foreign, and long enough to have a whole header", "sequence network",
         FileState::DAMAGED, "not a network"},
        {"AppPreloadEvaluation", "ai 1\nTop1AppHitCount 1\n", "evaluation", FileState::DAMAGED,
         "line 3: cut off"},
        {"AppPreloadEvaluation", "ai x\n", "evaluation", FileState::DAMAGED, "\"ai x\""},
    };
    for (const auto& [file, content, title, state, words] : cases) {
        const std::string whole = mFiles.read(file);
        mFiles.write(file, content);
        const Inspection inspection = inspect();
        const FileReport& report = reportOf(inspection, title);
        EXPECT_EQ(nameOf(report.state), nameOf(state)) << words;
        EXPECT_THAT(joined(report.remarks), HasSubstr(words));
        EXPECT_FALSE(inspection.whole()) << words;
        mFiles.write(file, whole);
    }
}

TEST_F(InspectionOf, BackupsSaysWhichCopyTheNextStartReads) {
    mFiles.write("AppPreloadBayesModel.bak", mFiles.read("AppPreloadBayesModel"));
    mFiles.write("AppPreloadBayesModel", "cut");
    mFiles.write("AppPreloadMap.bak", mFiles.read("AppPreloadMap"));
    mFiles.write("aiPreloadApp.zml.tmp", "half");
    const Inspection both = inspect();
    EXPECT_TRUE(both.whole()) << inspectionText(both);
    EXPECT_EQ(reportOf(both, "Bayes model").name, "AppPreloadBayesModel.bak");
    EXPECT_THAT(joined(reportOf(both, "sequence network").remarks), HasSubstr("unfinished save"));

    unlink(mFiles.file("AppPreloadMap").c_str());
    unlink(mFiles.file("AppPreloadBayesModel").c_str());
    const Inspection alone = inspect();
    EXPECT_TRUE(alone.whole()) << inspectionText(alone);
    EXPECT_THAT(joined(reportOf(alone, "application table").remarks),
                HasSubstr("in place of the missing AppPreloadMap"));
}

TEST_F(InspectionOf, FilesThatCannotBeReadGoesOn) {
    for (const char* const name : {"AppPreloadBayesModel", "AppHistory", "AppUsage"}) {
        unlink(mFiles.file(name).c_str());
    }
    ASSERT_EQ(symlink("AppHistory", mFiles.file("AppHistory").c_str()), 0);
    mkfifo(mFiles.file("AppPreloadBayesModel").c_str(), 0600);
    mkdir(mFiles.file("AppUsage").c_str(), 0700);
    const Inspection inspection = inspect();
    for (const char* const title : {"Bayes model", "history", "usage table"}) {
        EXPECT_EQ(reportOf(inspection, title).state, FileState::DAMAGED) << title;
    }
}

// As another user where the tests run as root, whom no mode keeps out.
TEST_F(InspectionOf, FilesOfOthersInAReadOnlyDirectory) {
    chmod(mFiles.file("AppHistory").c_str(), 0);
    chmod(mFiles.path().c_str(), 0555);
    const std::string before = snapshot(mFiles);
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(3);
        const Inspection inspection = inspectDirectory(mFiles.path());
        const bool right = reportOf(inspection, "history").state == FileState::DAMAGED &&
                           reportOf(inspection, "application table").state == FileState::WHOLE;
        _exit(right ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(snapshot(mFiles), before);
    chmod(mFiles.path().c_str(), 0755);
}

TEST_F(InspectionOf, ADirectoryByTheProgram) {
    const ProgramRun whole = runKsbrain({"inspect", mFiles.path()});
    EXPECT_EQ(whole.status, 0) << whole.err;
    EXPECT_THAT(whole.out, HasSubstr("All that is there is whole."));
    mFiles.write("AppHistory", "com");
    const ProgramRun damaged = runKsbrain({"inspect", "--json", mFiles.path()});
    EXPECT_EQ(damaged.status, 1);
    EXPECT_EQ(Json::parse(damaged.out)["files"][2]["state"], "damaged");
    mkdir(mFiles.file("other").c_str(), 0755);
    mFiles.write("other/notes.txt", "mine");
    const ProgramRun other = runKsbrain({"inspect", mFiles.file("other")});
    EXPECT_EQ(other.status, 1);
    EXPECT_THAT(other.out, HasSubstr("No file here is the engine's"));
    EXPECT_EQ(runKsbrain({"inspect", "--json", mFiles.file("other")}).status, 1);
    const ProgramRun missing = runKsbrain({"inspect", mFiles.file("none")});
    EXPECT_EQ(missing.status, 2);
    EXPECT_THAT(missing.err, HasSubstr("none: the data directory cannot be read"));
}

}  // namespace
