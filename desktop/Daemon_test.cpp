#include "desktop/Daemon.h"

#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include "desktop/test/CachedFile.h"
#include "desktop/test/Mapper.h"
#include "platform/testing/TempDir.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsSupersetOf;
using ::testing::Le;
using ::testing::SizeIs;

// Says what the test wants, and notes what it is told.
class FakePredictor : public Predictor {
  public:
    void setInstalled(const std::vector<std::string>& names) override { installed = names; }
    void setCharging(bool) override {}
    void opened(const std::string& name) override { seen.push_back(name); }
    std::vector<std::string> predict() override { return next; }

    std::vector<std::string> installed;
    std::vector<std::string> seen;
    std::vector<std::string> next;
};

class DaemonTest : public ::testing::Test {
  protected:
    DaemonTest() {
        mOptions.places = 2;
        mOptions.budget = 8 << 20;
        mOptions.batteryBudget = 1 << 20;
    }

    Daemon& daemon() {
        if (!mDaemon) mDaemon.emplace(mOptions, mPredictor, mStore, mPreloader);
        return *mDaemon;
    }

    // An application with a file of so many pages, none of them in memory.
    CachedFile application(const std::string& name, uint32_t pages) {
        const CachedFile file(mDirectory.path() + "/" + name, pages);
        EXPECT_TRUE(file.dropFromCache());
        mStore.setNeeds(name, {file.need({{0, pages}})});
        return file;
    }

    void open(const std::string& name, std::set<std::string> running = {}) {
        daemon().front({name, 0}, std::move(running));
        daemon().settled();
        while (daemon().isReading()) daemon().readMore();
    }

    const TempDir mDirectory;
    DaemonOptions mOptions;
    FakePredictor mPredictor;
    NeedsStore mStore{""};
    Pressure mPressure{mDirectory.path()};  // where there is none
    Preloader mPreloader{mPressure};
    std::optional<Daemon> mDaemon;
};

TEST_F(DaemonTest, CountsWhatWasForeseen) {
    mPredictor.next = {"com.a", "com.a", "", "com.b", "com.c", "com.d"};
    open("com.a");             // nothing was predicted before
    open("com.a");             // no change
    open("com.c");             // the list was b, c: a was in front
    open("com.d");             // a, b
    open("com.b", {"com.b"});  // a, b; from now on it runs
    open("com.a", {"com.b"});  // a, c
    open("com.b", {"com.b"});  // b, c; no launch
    const Totals totals = mStore.totals();
    EXPECT_EQ(6, totals.openings);
    EXPECT_EQ(5, totals.answered);
    EXPECT_EQ(4, totals.hits);
    EXPECT_EQ(5, totals.launches);
    EXPECT_THAT(mPredictor.seen, ElementsAre("com.a", "com.c", "com.d", "com.b", "com.a", "com.b"));
    EXPECT_THAT(mPredictor.installed, Contains("com.d")) << "though the desktop does not list it";
}

TEST_F(DaemonTest, ForgetsNamesThatCameOnce) {
    daemon().setInstalled({"com.listed"});
    for (int i = 0; i < 2300; ++i) daemon().front({"com.a" + std::to_string(i), 0}, {});
    EXPECT_THAT(mPredictor.installed, SizeIs(Le(2001)));
    EXPECT_THAT(mPredictor.installed, IsSupersetOf({"com.listed", "com.a1400", "com.a2299"}));
    daemon().setInstalled({"com.listed"});
    EXPECT_THAT(mPredictor.installed, SizeIs(1001)) << "which the store knows";
}

TEST_F(DaemonTest, ReadsForTheFirstThatDoNotRun) {
    const CachedFile a = application("com.a", 20);
    const CachedFile b = application("com.b", 20);
    const CachedFile c = application("com.c", 20);
    const CachedFile d = application("com.d", 20);
    mPredictor.next = {"com.a", "com.b", "com.c", "com.d"};
    open("com.x", {"com.b", "com.x"});
    EXPECT_EQ(20, a.cachedPages().size());
    EXPECT_EQ(0, b.cachedPages().size()) << "it runs";
    EXPECT_EQ(20, c.cachedPages().size());
    EXPECT_EQ(0, d.cachedPages().size()) << "two are read ahead for";
    open("com.a");
    open("com.d");
    EXPECT_EQ(1, mStore.totals().foreseen);
    mPredictor.next = {};
    open("com.a");
    EXPECT_EQ(2, mStore.totals().foreseen) << "it was read ahead for again";
    open("com.d");
    open("com.a");
    EXPECT_EQ(2, mStore.totals().foreseen) << "and not since";
    EXPECT_GE(mStore.totals().bytesRead, 60 * PAGE_BYTES);
}

TEST_F(DaemonTest, KeepsToTheBudgetOfTheBattery) {
    const CachedFile big = application("com.big", 1500);
    mPredictor.next = {"com.big"};
    daemon().setCharging(false);
    open("com.x");
    EXPECT_LE(big.cachedPages().size() * PAGE_BYTES, mOptions.batteryBudget);
    EXPECT_GE(big.cachedPages().size(), 200);
    daemon().setCharging(true);
    open("com.y");
    EXPECT_EQ(1500, big.cachedPages().size());
}

TEST_F(DaemonTest, StopsWhenTheFrontChanges) {
    const CachedFile big = application("com.big", 1500);
    mPredictor.next = {"com.big"};
    daemon().front({"com.x", 0}, {});
    daemon().settled();
    daemon().readMore();
    ASSERT_TRUE(daemon().isReading());
    daemon().front({"com.y", 0}, {});
    EXPECT_FALSE(daemon().isReading());
    EXPECT_LE(big.cachedPages().size() * PAGE_BYTES, 2u << 20);
    EXPECT_GT(mStore.totals().bytesRead, 0);
}

TEST_F(DaemonTest, OnlyTellsInADryRun) {
    mOptions.isDryRun = true;
    const CachedFile a = application("com.a", 20);
    mPredictor.next = {"com.a"};
    open("com.x");
    open("com.a");
    EXPECT_EQ(0, a.cachedPages().size());
    EXPECT_EQ(1, mStore.totals().hits);
}

TEST_F(DaemonTest, RecordsWhatTheProcessInFrontNeeds) {
    daemon().front({"com.self", getpid()}, {});
    daemon().settled();
    const std::vector<FileNeed> files = mStore.needs("com.self");
    EXPECT_TRUE(std::any_of(files.begin(), files.end(), [](const FileNeed& file) {
        return file.path.find("libc.so") != std::string::npos && bytesOf(file.pages) > 100'000;
    }));
    daemon().front({"com.other", 0x7fffffff}, {});  // a process that does not exist
    daemon().settled();
    EXPECT_TRUE(mStore.needs("com.other").empty());
}

TEST_F(DaemonTest, ATerminalDoesNotNeedTheApplicationsStartedInIt) {
    const CachedFile shell(mDirectory.path() + "/shell", 400);
    const CachedFile editor(mDirectory.path() + "/editor", 400);
    const Mapper terminal({shell.path(), PROT_READ | PROT_EXEC, {3}, {}},
                          {editor.path(), PROT_READ | PROT_EXEC, {7}, {}});
    const auto needsOfTerminal = [&](std::set<std::string> running) {
        daemon().front({"com.terminal", terminal.process()}, std::move(running));
        daemon().settled();
        return mStore.needs("com.terminal");
    };
    EXPECT_TRUE(isNeeded(editor.path(), 7, needsOfTerminal({}))) << "no window of its own yet";
    daemon().front({"com.editor", terminal.child()}, {});
    daemon().settled();
    EXPECT_TRUE(isNeeded(editor.path(), 7, mStore.needs("com.editor")));
    const std::vector<FileNeed> needs = needsOfTerminal({"com.editor"});
    EXPECT_TRUE(isNeeded(shell.path(), 3, needs));
    EXPECT_FALSE(isNeeded(editor.path(), 7, needs));
}

}  // namespace
