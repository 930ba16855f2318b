#include "desktop/NeedsStore.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "platform/testing/ResourceLimit.h"
#include "platform/testing/TempDir.h"
#include "tools/common/InputError.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

FileNeed need(const std::string& path, uint32_t pages) {
    return {path, {1, 2, 3, -4}, uint64_t{1} << 40, {{7, pages}, {100, 1}}};
}

class NeedsStoreTest : public ::testing::Test {
  protected:
    const TempDir mDirectory;
    const std::string mPath = mDirectory.path() + "/needs.sqlite";
};

TEST_F(NeedsStoreTest, GivesBackWhatItWasGiven) {
    {
        NeedsStore store(mPath);
        store.setNeeds("com.a", {need("/usr/lib/old", 1)});
        store.setNeeds("com.a", {need("/usr/lib/a'; DROP TABLE file; --", 5), need("/b\n\xff", 6)});
        store.setNeeds("com.b", {need("/b\n\xff", 7)});
        store.countOpening("com.b");
        store.countOpening("com.b");
        store.countOpening("com.c");
        Totals totals;
        totals.openings = 3;
        totals.bytesUsed = uint64_t{1} << 50;
        store.setTotals(totals);
    }
    NeedsStore store(mPath);
    const std::vector<FileNeed> files = store.needs("com.a");
    ASSERT_EQ(2, files.size());
    EXPECT_EQ("/b\n\xff", files[0].path);
    EXPECT_EQ((FileState{1, 2, 3, -4}), files[0].state);
    EXPECT_EQ(uint64_t{1} << 40, files[0].place);
    EXPECT_EQ(7 * PAGE_BYTES, bytesOf(files[0].pages));
    EXPECT_TRUE(store.needs("com.c").empty());
    EXPECT_THAT(store.mostOpened(5), ElementsAre("com.b", "com.c"));
    EXPECT_EQ(3, store.totals().openings);
    EXPECT_EQ(uint64_t{1} << 50, totalsOf(mPath).bytesUsed);

    store.forget("com.a", "/b\n\xff");
    EXPECT_EQ(1, store.needs("com.a").size());
    EXPECT_EQ(1, store.needs("com.b").size()) << "another's";
}

TEST_F(NeedsStoreTest, ForgetsThoseNotSeenForLongest) {
    NeedsStore store(mPath);
    for (int i = 0; i < 201; ++i) store.setNeeds("com.app" + std::to_string(i), {need("/f", 1)});
    EXPECT_TRUE(store.needs("com.app0").empty());
    EXPECT_FALSE(store.needs("com.app1").empty());
    EXPECT_FALSE(store.needs("com.app200").empty());

    for (int i = 0; i < 1001; ++i) store.countOpening("com.app" + std::to_string(i));
    const std::vector<std::string> counted = store.mostOpened(2000);
    EXPECT_EQ(1000, counted.size());
    EXPECT_EQ("com.app1", counted.front());
}

TEST_F(NeedsStoreTest, BeginsAnewBesideAFileThatIsNoStore) {
    std::ofstream(mPath) << std::string(5000, 'x');
    testing::internal::CaptureStderr();
    NeedsStore store(mPath);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("needs.sqlite.broken"));
    store.setNeeds("com.a", {need("/f", 1)});
    EXPECT_EQ(1, NeedsStore(mPath).needs("com.a").size());
    EXPECT_TRUE(std::filesystem::exists(mPath + ".broken"));
    EXPECT_THROW(totalsOf(mDirectory.path() + "/none"), InputError);
}

TEST_F(NeedsStoreTest, GoesOnWithoutRoomAndSaysSoOnce) {
    NeedsStore store(mPath);
    store.setNeeds("com.a", {need("/f", 1)});
    testing::internal::CaptureStderr();
    {
        const ResourceLimit limit(RLIMIT_FSIZE, 40'000);
        for (int i = 0; i < 20; ++i) {
            store.setNeeds("com.b", std::vector<FileNeed>(1, need(std::string(9000, 'f'), 1)));
            store.countOpening("com.c");
        }
    }
    const std::string complaint = testing::internal::GetCapturedStderr();
    EXPECT_THAT(complaint, HasSubstr("needs.sqlite cannot be written: "));
    EXPECT_EQ(1, std::count(complaint.begin(), complaint.end(), '\n'));
    EXPECT_EQ(1, store.needs("com.a").size());
    store.setNeeds("com.d", {need("/f", 1)});  // there is room again
    EXPECT_EQ(1, NeedsStore(mPath).needs("com.d").size());
}

TEST_F(NeedsStoreTest, IsWholeAfterAKill) {
    for (int round = 0; round < 10; ++round) {
        int pipe[2];
        ASSERT_EQ(0, pipe2(pipe, O_CLOEXEC));
        const pid_t child = fork();
        if (child == 0) {
            NeedsStore store(mPath);
            for (char ready = 0;; ready = 1) {
                store.setNeeds("com.a", {need("/one", 1), need("/two", 2)});
                store.countOpening("com.a");
                if (ready == 0 && write(pipe[1], &ready, 1) != 1) _exit(1);
            }
        }
        close(pipe[1]);
        char ready;
        EXPECT_EQ(1, read(pipe[0], &ready, 1));
        close(pipe[0]);
        usleep(static_cast<useconds_t>(3'000 * round));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        NeedsStore store(mPath);
        EXPECT_EQ(2, store.needs("com.a").size());
        EXPECT_FALSE(std::filesystem::exists(mPath + ".broken"));
    }
}

}  // namespace
