#include "desktop/ProcessFiles.h"

#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "desktop/OwnFolders.h"
#include "desktop/test/CachedFile.h"
#include "desktop/test/Mapper.h"
#include "platform/testing/TempDir.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

TEST(ProcessFilesTest, FindsWhatAProcessAndItsChildHaveTouched) {
    const TempDir directory;
    const CachedFile program(directory.path() + "/program", 400);
    const CachedFile document(directory.path() + "/document", 400);
    // Dropped from the cache: the kernel maps what it finds there around a page, up to a block of
    // 16 pages.
    if (!program.dropFromCache()) GTEST_SKIP() << "the file system is memory";
    const Mapper mapper({program.path(), PROT_READ | PROT_EXEC, {3, 100}, {}},
                        {program.path(), PROT_READ | PROT_WRITE | PROT_EXEC, {}, {200, 399}});
    const Mapper reader({document.path(), PROT_READ, {1}, {}},
                        {document.path(), PROT_READ, {1}, {}});

    const std::vector<pid_t> processes = processTree(mapper.process());
    EXPECT_EQ(2, processes.size());
    EXPECT_THAT(processTree(mapper.process(), {mapper.process(), mapper.child()}),
                ElementsAre(mapper.process()))
        << "the child is another application";
    const std::vector<FileNeed> needs = mappedFiles(processes, "");
    for (const uint32_t page : {3U, 100U, 200U, 399U}) {
        EXPECT_TRUE(isNeeded(program.path(), page, needs)) << page;
    }
    for (const uint32_t page : {50U, 150U, 250U, 350U}) {
        EXPECT_FALSE(isNeeded(program.path(), page, needs)) << page;
    }
    EXPECT_EQ(programOf(getpid()), programOf(mapper.process()));
    EXPECT_TRUE(std::any_of(needs.begin(), needs.end(),
                            [](const FileNeed& need) { return need.path == programOf(getpid()); }));

    EXPECT_FALSE(isNeeded(document.path(), 1, mappedFiles(processTree(reader.process()), "")))
        << "what lies in a place for passing things is no program's";
}

TEST(ProcessFilesTest, LeavesOutFilesThatWereReplaced) {
    const TempDir directory;
    const CachedFile library(directory.path() + "/library", 400);
    const Mapper mapper({library.path(), PROT_READ | PROT_EXEC, {3}, {}},
                        {library.path(), PROT_READ | PROT_EXEC, {3}, {}});
    const CachedFile update(directory.path() + "/update", 400);
    ASSERT_EQ(0, rename(update.path().c_str(), library.path().c_str()));
    EXPECT_FALSE(isNeeded(library.path(), 3, mappedFiles(processTree(mapper.process()), "")));
}

TEST(ProcessFilesTest, TakesProcessesThatVanish) {
    pid_t gone;
    {
        const TempDir directory;
        const CachedFile file(directory.path() + "/file", 400);
        gone =
            Mapper({file.path(), PROT_READ, {1}, {}}, {file.path(), PROT_READ, {1}, {}}).process();
    }
    EXPECT_TRUE(mappedFiles(processTree(gone), "").empty());
    EXPECT_EQ(0, bytesFromDisk({gone}));
    EXPECT_EQ("", programOf(gone));

    // While they are looked at.
    for (int i = 0; i < 50; ++i) {
        const pid_t child = fork();
        if (child == 0) _exit(0);
        const std::vector<pid_t> tree = processTree(getpid());
        mappedFiles(tree, "");
        waitpid(child, nullptr, 0);
    }
}

TEST(OwnFoldersTest, FollowTheProgramsName) {
    EXPECT_THAT(ownFolders("/usr/bin/gimp-2.10"), Contains("/usr/share/gimp"));
    const std::vector<std::string> office = ownFolders("/usr/lib/libreoffice/program/soffice.bin");
    EXPECT_THAT(office, Contains("/usr/lib/libreoffice"));
    EXPECT_THAT(office, Contains("/etc/libreoffice"));
    EXPECT_THAT(office, Contains("/usr/share/soffice"));
    EXPECT_THAT(ownFolders("/usr/lib/x86_64-linux-gnu/thunar/helper"),
                Not(Contains("/usr/share/x86_64-linux-gnu")));
    EXPECT_TRUE(ownFolders("/bin/sh").empty()) << "too short to be anybody's name";
}

TEST(FileNeedTest, OpensRegularFilesOnly) {
    const TempDir directory;
    const std::string pipe = directory.path() + "/pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    for (const std::string& path :
         {pipe, directory.path(), std::string("/dev/zero"), directory.path() + "/none"}) {
        EXPECT_LT(OpenFile(path).descriptor(), 0) << path;
    }
}

}  // namespace
