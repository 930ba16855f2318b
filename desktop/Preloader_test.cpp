#include "desktop/Preloader.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/time.h>
#include <unistd.h>

#include <cinttypes>
#include <csignal>
#include <cstring>

#include "desktop/test/CachedFile.h"
#include "platform/testing/TempDir.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using State = Preloader::State;

State readAll(Preloader& preloader) {
    while (preloader.step() == State::READING) {
    }
    return preloader.state();
}

// Files on a disk, and counters of pressure that the test sets.
class PreloaderTest : public ::testing::Test {
  protected:
    PreloaderTest() {
        press("memory", 0);
        press("io", 0);
    }

    void SetUp() override {
        if (!CachedFile(mDirectory.path() + "/probe", 4).dropFromCache()) {
            GTEST_SKIP() << "the file system of " << mDirectory.path() << " is memory";
        }
    }

    void press(const std::string& what, uint64_t microseconds) const {
        char line[80];
        const int length =
            snprintf(line, sizeof(line), "some avg10=0.00 avg60=0.00 avg300=0.00 total=%016" PRIu64,
                     microseconds);
        const int file = open((mDirectory.path() + "/" + what).c_str(), O_WRONLY | O_CREAT, 0600);
        EXPECT_EQ(length, write(file, line, static_cast<size_t>(length)));
        close(file);
    }

    CachedFile makeFile(const std::string& name, uint32_t pages) const {
        const CachedFile file(mDirectory.path() + "/" + name, pages);
        EXPECT_TRUE(file.dropFromCache());
        return file;
    }

    const TempDir mDirectory;
};

// While it lives somebody waits for the disk all the time, also when this thread sleeps and the
// machine has no processor for another: a signal comes first thing when it goes on.
class BusyDisk {
  public:
    explicit BusyDisk(const std::string& counters) {
        sFile = open(counters.c_str(), O_WRONLY | O_CLOEXEC);
        signal(SIGALRM, wait);
        setTimer(1000);
    }
    ~BusyDisk() {
        setTimer(0);
        signal(SIGALRM, SIG_DFL);
        close(sFile);
    }

  private:
    static void setTimer(suseconds_t interval) {
        const itimerval timer = {{0, interval}, {0, interval}};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }

    // One second more.
    static void wait(int) {
        for (char* digit = sText + strlen(sText) - 7; ++*digit > '9'; --digit) *digit = '0';
        if (pwrite(sFile, sText, strlen(sText), 0) < 0) abort();
    }

    static int sFile;
    static char sText[];
};
int BusyDisk::sFile = -1;
char BusyDisk::sText[] = "some avg10=0.00 avg60=0.00 avg300=0.00 total=0000000000000000";

TEST_F(PreloaderTest, ReadsThePartsThatAreNeededAndNoOthers) {
    const CachedFile one = makeFile("one", 2000);
    const CachedFile two = makeFile("two", 50);
    Pressure pressure(mDirectory.path());
    Preloader preloader(pressure);
    preloader.begin(100 << 20);
    preloader.plan("com.a", {one.need({{3, 2}, {1000, 600}})});
    preloader.plan("com.b", {two.need({{49, 1}})});

    EXPECT_EQ(State::DONE, readAll(preloader));

    std::vector<uint32_t> expected = {3, 4};
    for (uint32_t page = 1000; page < 1600; ++page) expected.push_back(page);
    EXPECT_EQ(expected, one.cachedPages());
    EXPECT_THAT(two.cachedPages(), ElementsAre(49));
    EXPECT_THAT(preloader.completed(), ElementsAre("com.a", "com.b"));
    EXPECT_EQ(603 * PAGE_BYTES, preloader.plannedBytes());
    EXPECT_GE(preloader.bytesRead(), 603 * PAGE_BYTES);
    EXPECT_LE(preloader.bytesRead(), 640 * PAGE_BYTES);  // and what tells where the parts lie

    preloader.begin(100 << 20);
    preloader.plan("com.a", {one.need({{3, 2}, {1000, 600}})});
    EXPECT_EQ(State::DONE, readAll(preloader));
    EXPECT_EQ(0, preloader.bytesRead()) << "all of it was in memory";
}

TEST_F(PreloaderTest, StaysWithinTheBudget) {
    const CachedFile file = makeFile("file", 3000);
    for (const uint64_t budget : {uint64_t{0}, 10 * PAGE_BYTES, uint64_t{5 << 20}}) {
        ASSERT_TRUE(file.dropFromCache());
        Pressure pressure(mDirectory.path());
        Preloader preloader(pressure);
        preloader.begin(budget);
        preloader.plan("com.a", {file.need({{0, 3000}})});
        EXPECT_EQ(State::BUDGET, readAll(preloader));
        EXPECT_LE(preloader.bytesRead(), budget);
        EXPECT_GE(preloader.bytesRead() + 4 * PAGE_BYTES, budget);
        EXPECT_LE(file.cachedPages().size() * PAGE_BYTES, budget);
        EXPECT_THAT(preloader.completed(), IsEmpty());
    }
}

TEST_F(PreloaderTest, DoesNotReadByAnOldMap) {
    const CachedFile old = makeFile("library", 20);
    const CachedFile gone = makeFile("gone", 20);
    const std::vector<FileNeed> needs = {old.need({{0, 20}}), gone.need({{0, 20}})};
    const CachedFile update = makeFile("library.new", 20);
    ASSERT_EQ(0, rename(update.path().c_str(), old.path().c_str()));
    ASSERT_EQ(0, remove(gone.path().c_str()));

    Pressure pressure(mDirectory.path());
    Preloader preloader(pressure);
    preloader.begin(100 << 20);
    preloader.plan("com.a", needs);
    EXPECT_EQ(State::DONE, readAll(preloader));
    EXPECT_THAT(old.cachedPages(), IsEmpty());
    EXPECT_THAT(preloader.changedFiles(),
                ElementsAre(Pair("com.a", old.path()), Pair("com.a", gone.path())));
}

TEST_F(PreloaderTest, StopsWhenOthersWait) {
    const CachedFile file = makeFile("file", 6000);
    Pressure pressure(mDirectory.path());
    Preloader preloader(pressure);
    preloader.begin(100 << 20);
    preloader.plan("com.a", {file.need({{0, 6000}})});
    EXPECT_EQ(State::READING, preloader.step());
    press("memory", 60'000'000);
    EXPECT_EQ(State::MEMORY_PRESSURE, readAll(preloader));
    EXPECT_LE(file.cachedPages().size() * PAGE_BYTES, 10u << 20);
    EXPECT_THAT(preloader.completed(), IsEmpty());

    // Nobody has waited since, but somebody does for the disk.
    {
        const BusyDisk busy(mDirectory.path() + "/io");
        preloader.begin(100 << 20);
        preloader.plan("com.a", {file.need({{3000, 3000}})});
        EXPECT_EQ(State::IO_PRESSURE, readAll(preloader));
    }
    EXPECT_LE(file.cachedPages().size() * PAGE_BYTES, 10u << 20) << "before anything was read";

    // What pressed before it goes on does not count.
    preloader.resume();
    EXPECT_EQ(State::DONE, readAll(preloader));
    EXPECT_GE(file.cachedPages().size(), 3000);
}

TEST(PressureTest, IsNoneWhereItCannotBeRead) {
    const TempDir directory;
    Pressure pressure(directory.path());
    EXPECT_FALSE(pressure.canBeRead());
    pressure.begin();
    EXPECT_EQ(Pressure::Kind::NONE, pressure.look());
}

}  // namespace
