#include "preload/ZmlAdapter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <thread>

#include "platform/testing/LogCapture.h"
#include "platform/testing/ResourceLimit.h"
#include "platform/testing/TempDir.h"
#include "zml/test/ScriptedZml.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Names = std::vector<std::string>;

// "app10", "app11", ...
std::string app(int number) {
    return "app" + std::to_string(10 + number);
}

Names apps(int count) {
    Names names;
    for (int i = 0; i < count; ++i) names.push_back(app(i));
    return names;
}

// A usage file of 30 records, app(0) with id 29 to app(29) with id 0.
std::string usageOf30() {
    std::string text = "30\n";
    for (int i = 0; i < 30; ++i) text += std::to_string(29 - i) + " 7 " + app(i) + "\n";
    return text;
}

class ZmlAdapterTest : public testing::Test {
  protected:
    // Opens `total` applications, `distinct` different ones by turns.
    void open(ZmlAdapter& adapter, int total, int distinct) {
        for (int i = 0; i < total; ++i) open(adapter, app(i % distinct));
    }
    void open(ZmlAdapter& adapter, std::string package) { adapter.addSample(package); }

    void update(ZmlAdapter& adapter, int charging, Names packages = apps(40)) {
        adapter.update(charging, packages);
    }

    Names predict(ZmlAdapter& adapter) {
        Names out = {"kept"};
        adapter.predict(out);
        EXPECT_EQ(out[0], "kept");
        out.erase(out.begin());
        return out;
    }

    // Whether a training is refused because of this state.
    bool refusesToTrainIn(ZmlAdapter& adapter, int state) {
        open(adapter, 6000, 30);
        update(adapter, 1);
        return mLog.contains("ZmlAdapter is not init, mState " + std::to_string(state));
    }

    auto historyLines() {
        const std::string text = mDir.read("AppHistory");
        return std::count(text.begin(), text.end(), '\n');
    }

    const TempDir mDir;
    LogCapture mLog;
    ScriptedZml mZml;
};
using ZmlAdapterThreads = ZmlAdapterTest;

TEST_F(ZmlAdapterTest, whatTheLibraryRefusesIsLoggedAndFinal) {
    ZmlScript scripts[6];
    scripts[0].startSucceeds = false;
    scripts[1].networkTrained = true;
    scripts[1].loadSucceeds = false;
    scripts[2].createSucceeds = false;
    scripts[3].asyncTrainResult = -1;
    scripts[4].loadSucceeds = false;
    const std::string lines[] = {"start startSessionLocked failed!",
                                 "ZmlAdapter trainingCallback failed to create network.",
                                 "ZmlAdapter train:failed to create createSequenceNetwork.",
                                 "ZmlAdapter train:asyncTrain failed.",
                                 "ZmlAdapter trainingCallback failed to create network.",
                                 "ZmlAdapter trainingCallback:result failed 1"};
    for (int i = 0; i < 6; ++i) {
        const TempDir dir;
        mZml.setScript(scripts[i]);
        mLog.clear();
        ZmlAdapter adapter;
        if (i >= 2) {
            EXPECT_TRUE(mLog.contains("DEBUG  ZmlAdapter inited, but need trained"));
            open(adapter, 5000, 30);
            update(adapter, 1);
            mZml.finishTraining(i == 5 ? TRAINING_FAILED : TRAINING_SUCCESS);
        }
        EXPECT_EQ(mLog.count("ERROR  " + lines[i]), 1) << i;
        EXPECT_TRUE(refusesToTrainIn(adapter, i == 0 ? 0 : 5));
        EXPECT_EQ(adapter.trainingsReady(), 0);
    }
    // No session is released that was not started.
    const Names calls = mZml.calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "releaseSessionLocked aiPreloadApp"), 5);
}

TEST_F(ZmlAdapterTest, loadsTheHistoryWithItsLastNameTwice) {
    const std::vector<std::pair<std::string, int>> cases = {
        {"a\nbb\n", 5},
        {"a bb\n\n c\n", 5},
        {"a\nbb", 3},  // without the last newline no second read happens
        {"", 0},       // one empty name
    };
    for (const auto& [file, letters] : cases) {
        mDir.write("AppHistory", file);
        ZmlAdapter adapter;
        EXPECT_EQ(adapter.dumpMemory(), "ZmlAdapter size " + std::to_string(letters) + "\n");
        EXPECT_EQ(mLog.count("load history mHistoryApps ok"), 1);
        mLog.clear();
    }
    ZmlAdapter adapter;
    open(adapter, 4999, 30);
    update(adapter, 1);  // the empty name counts as the 5000th entry
    EXPECT_TRUE(adapter.isTraining());
}

TEST_F(ZmlAdapterTest, aMalformedUsageFileIsDeletedAndDisablesTheAdapter) {
    for (const std::string text : {"", "x 1\n", "3\n29 5 a\n28 4 b\n", "1\n29 many a\n", "-1\n",
                                   "2147483647\n29 5 a\n", "99999999999\n29 5 a\n"}) {
        const TempDir dir;
        dir.write("AppUsage", text);
        mLog.clear();
        ZmlAdapter adapter;
        EXPECT_THAT(mLog.texts(),
                    ElementsAre("WARNING  file " + dir.file("AppUsage") + " format error"));
        EXPECT_FALSE(dir.exists("AppUsage"));
        EXPECT_EQ(adapter.usageRecordsOf("a"), 0);
        EXPECT_TRUE(refusesToTrainIn(adapter, ZmlAdapter::STATE_DATA_ERROR));
    }
    EXPECT_THAT(mZml.calls(), IsEmpty());
}

TEST_F(ZmlAdapterTest, takesTheBackupAfterAnInterruptedStore) {
    for (const bool fileLeft : {true, false}) {
        const TempDir dir;
        if (fileLeft) dir.write("AppUsage", "2\n29 5 new\n28");
        dir.write("AppUsage.bak", "2\n29 5 old\n28 4 old\n3 3 beyond\n");
        ZmlAdapter adapter;
        EXPECT_EQ(adapter.usageRecordsOf("old"), 2);
        EXPECT_EQ(adapter.usageRecordsOf("beyond"), 0);
        EXPECT_FALSE(dir.exists("AppUsage.bak"));
    }
}

// A directory stands for whatever cannot be read or written just now.
TEST_F(ZmlAdapterTest, aUsageFileThatCannotBeReadIsLeftAlone) {
    ASSERT_EQ(mkdir(mDir.file("AppUsage").c_str(), 0700), 0);
    {
        ZmlAdapter adapter;
        EXPECT_TRUE(refusesToTrainIn(adapter, ZmlAdapter::STATE_DATA_ERROR));
    }
    EXPECT_TRUE(mDir.exists("AppUsage"));
    EXPECT_FALSE(mDir.exists("AppUsage.bak"));
}

TEST_F(ZmlAdapterTest, aHistoryThatCannotBeStoredIsStoredLater) {
    ZmlAdapter adapter;
    ASSERT_EQ(mkdir(mDir.file("AppHistory").c_str(), 0700), 0);
    open(adapter, "a");
    update(adapter, 0);
    ASSERT_EQ(rmdir(mDir.file("AppHistory").c_str()), 0);
    open(adapter, "b");
    update(adapter, 0);
    update(adapter, 0);
    EXPECT_EQ(mDir.read("AppHistory"), "a\nb\n");
    {
        const ResourceLimit limit(RLIMIT_FSIZE, 6);
        open(adapter, "long");
        update(adapter, 0);
        EXPECT_EQ(mDir.read("AppHistory"), "a\nb\n");  // not a part of the name
    }
    update(adapter, 0);
    EXPECT_EQ(mDir.read("AppHistory"), "a\nb\nlong\n");
}

TEST_F(ZmlAdapterTest, aHistoryThatCannotBeRewrittenStaysWhole) {
    ZmlAdapter adapter;
    open(adapter, 5000, 30);
    update(adapter, 0);
    {
        const ResourceLimit limit(RLIMIT_FSIZE, 4096);
        update(adapter, 1);
        open(adapter, "new");
        update(adapter, 1);
    }
    EXPECT_EQ(historyLines(), 5000);
    update(adapter, 1);
    EXPECT_EQ(historyLines(), 5001);
}

// Such names are none, and the files are read back by words and lines.
TEST_F(ZmlAdapterTest, namesThatWouldNotComeBackEnterNoFile) {
    ZmlAdapter adapter;
    Names listed = apps(30);
    listed.push_back("two words");
    listed.push_back("");
    for (int i = 0; i < 100; ++i) open(adapter, "two words"), open(adapter, "");
    open(adapter, "line\nbreak");
    open(adapter, "tab\tor bell\a");
    open(adapter, 4998, 30);
    update(adapter, 1, listed);
    EXPECT_TRUE(adapter.isTraining());
    EXPECT_THAT(mDir.read("AppHistory"), Not(HasSubstr("break")));
    EXPECT_THAT(mDir.read("AppHistory"), Not(HasSubstr("bell")));
    EXPECT_EQ(mDir.read("AppUsage").substr(0, 15), "30\n29 167 app10");
    mLog.clear();
    ZmlAdapter restarted;
    EXPECT_TRUE(mLog.contains("load app usage ok"));
}

TEST_F(ZmlAdapterTest, idsThatTheNetworkDoesNotKnowAreNone) {
    mDir.write("AppUsage", "5\n56 9 a\n-1 8 b\n4 7 c\n30 6 d\n0 5 e\n");
    ZmlScript script;
    script.networkTrained = true;
    script.scores.resize(30, 0.1f);
    mZml.setScript(script);
    ZmlAdapter adapter;
    for (const char* name : {"c", "e", "a", "b", "d"}) open(adapter, name);
    EXPECT_THAT(predict(adapter), ElementsAre("e", "c"));
    EXPECT_EQ(mZml.calls().back(), "predictSequence 4 0");
    EXPECT_EQ(adapter.usageRecordsOf("a"), 0);
    EXPECT_EQ(adapter.usageRecordsOf("c"), 1);
}

TEST_F(ZmlAdapterTest, trainsFrom5000EntriesOf30ListedAppsWhileCharging) {
    ZmlAdapter adapter;
    open(adapter, 4999, 40);
    update(adapter, 1);
    open(adapter, app(39));
    update(adapter, 0);
    EXPECT_EQ(historyLines(), 5000);
    EXPECT_EQ(mZml.calls().size(), 2u);
    mLog.clear();
    update(adapter, 1);
    EXPECT_THAT(mLog.texts(),
                ElementsAre("DEBUG  store app usage ok",
                            "DEBUG  AppPreloadModel::updateModel train AI model before, "
                            "trainSet.size 3750",
                            "DEBUG  AppPreloadModel::updateModel train AI model after",
                            "DEBUG  replace store history apps", "DEBUG  store history apps ok",
                            "DEBUG  AppPreloadModel::updateModel train AI model ok"));
    EXPECT_EQ(historyLines(), 4000);
    EXPECT_TRUE(adapter.isTraining());
    // A training that runs keeps another from its start, but not from its table and its cut.
    open(adapter, 1000, 1);
    update(adapter, 1);
    EXPECT_EQ(mLog.count("WARNING  ZmlAdapter is not init, mState 3"), 1);
    EXPECT_EQ(mDir.read("AppUsage").substr(0, 16), "30\n29 1100 app10");
    EXPECT_EQ(historyLines(), 4000);

    EXPECT_THAT(predict(adapter), IsEmpty());
    ASSERT_TRUE(mZml.finishTraining(TRAINING_SUCCESS));
    EXPECT_TRUE(adapter.ready());
    EXPECT_EQ(adapter.trainingsReady(), 1);
    open(adapter, 1000, 1);
    update(adapter, 1);
    EXPECT_THAT(mZml.calls(),
                ElementsAre("startSessionLocked aiPreloadApp", "isNetworkTrained",
                            "isNetworkTrained", "createSequenceNetwork 1", "asyncTrain",
                            "releaseNetwork", "createSequenceNetwork 0", "isNetworkTrained",
                            "releaseNetwork", "createSequenceNetwork 1", "asyncTrain"));
}

TEST_F(ZmlAdapterTest, the30MostUsedAppsGetTheIdsFrom29Down) {
    ZmlAdapter adapter;
    open(adapter, 4980, 40);  // the first 20 apps 125 times, the others 124 times
    open(adapter, 25, 1);     // app(0) leads
    open(adapter, app(39));   // behind app(19) by name now
    open(adapter, "unlisted");
    open(adapter, app(1));
    update(adapter, 1);
    std::string expected = "30\n29 150 app10\n28 126 app11\n";
    for (int i = 2; i < 20; ++i) expected += std::to_string(29 - i) + " 125 " + app(i) + "\n";
    expected += "9 125 " + app(39) + "\n";
    for (int i = 20; i < 29; ++i) expected += std::to_string(28 - i) + " 124 " + app(i) + "\n";
    EXPECT_EQ(mDir.read("AppUsage"), expected);
    const std::vector<int> ids = mZml.sequence();
    ASSERT_GT(ids.size(), 3u);
    EXPECT_THAT(std::vector<int>(ids.begin(), ids.begin() + 3), ElementsAre(29, 28, 27));
    EXPECT_THAT(std::vector<int>(ids.end() - 3, ids.end()), ElementsAre(29, 9, 28));
}

TEST_F(ZmlAdapterTest, tooFewListedAppsKeepTheTableButFilterTheHistory) {
    mDir.write("AppUsage", usageOf30());
    ZmlAdapter adapter;
    open(adapter, 5000, 40);
    update(adapter, 1, apps(29));
    EXPECT_THAT(mZml.sequence(), IsEmpty());
    EXPECT_EQ(mDir.read("AppUsage"), usageOf30());
    EXPECT_EQ(historyLines(), 5000);  // the file keeps all of it
    // 3625 names of five letters are left; the table counts 32 * (0 + 1 + ... + 29).
    EXPECT_EQ(adapter.dumpMemory(), "ZmlAdapter size " + std::to_string(3625 * 5 + 13920) + "\n");
}

TEST_F(ZmlAdapterTest, predictsFromTheTwoNewestKnownApps) {
    mDir.write("AppUsage", "3\n29 9 a\n5 8 b\n4 7 c\n");
    ZmlScript script;
    script.networkTrained = true;
    script.scores = {0.9f, 0, 0, -1.0f, 0.2f, 0.2f};  // id 0 is nobody's
    script.scores.resize(30, 0.1f);
    mZml.setScript(script);
    ZmlAdapter adapter;
    EXPECT_TRUE(adapter.ready());
    open(adapter, "a");
    open(adapter, "unknown");
    EXPECT_THAT(predict(adapter), IsEmpty());
    EXPECT_EQ(mLog.count("no 2 history apps"), 1);
    open(adapter, "b");
    open(adapter, "other");
    EXPECT_THAT(predict(adapter), ElementsAre("c", "b", "a"));
    EXPECT_EQ(mZml.calls().back(), "predictSequence 29 5");
    open(adapter, "b");
    script.scores.clear();
    mZml.setScript(script);
    EXPECT_THAT(predict(adapter), IsEmpty());
    EXPECT_EQ(mZml.calls().back(), "predictSequence 5 5");
}

TEST_F(ZmlAdapterTest, anExceptionDoesNotLeaveTheCallback) {
    ZmlAdapter adapter;
    open(adapter, 5000, 30);
    update(adapter, 1);
    const auto fail = [&] {
        alarm(60);
        mLog.tell([](const char* message) {
            fputs(message, stderr);
            if (strstr(message, "result failed") != nullptr) throw std::bad_alloc();
        });
        mZml.finishTraining(TRAINING_FAILED);
    };
    EXPECT_EXIT(fail(), testing::KilledBySignal(SIGABRT),
                "FATAL  an exception in trainingCallback ends the process: St9bad_alloc");
}

TEST_F(ZmlAdapterThreads, aCallbackAfterTheDestructionFindsNobody) {
    auto adapter = std::make_unique<ZmlAdapter>();
    open(*adapter, 5000, 30);
    update(*adapter, 1);
    const auto endTraining = mZml.takeTraining();
    ASSERT_TRUE(endTraining);
    adapter.reset();
    const size_t calls = mZml.calls().size();
    std::thread(endTraining, TRAINING_SUCCESS).join();
    std::thread(endTraining, TRAINING_FAILED).join();
    EXPECT_EQ(mLog.count("WARNING  state is not TRANING, while training Callback execute"), 2);
    EXPECT_EQ(mZml.calls().size(), calls);
}

TEST_F(ZmlAdapterThreads, callbacksMayComeAtAnyMomentOfTheDestruction) {
    std::function<void(TrainingResult)> endTraining;
    std::optional<ZmlAdapter> adapter;  // always at one address
    std::atomic<int> sent{0};
    std::atomic<bool> done{false};
    std::thread library;
    for (int round = 0; round < 300; ++round) {
        adapter.emplace();
        const bool trains = round % 50 == 0;
        if (trains) {
            open(*adapter, 5000, 30);
            update(*adapter, 1);
            if (round == 0) {
                endTraining = mZml.takeTraining();
                library = std::thread([&] {
                    for (; !done; ++sent) {
                        endTraining(TRAINING_SUCCESS);
                        std::this_thread::yield();
                    }
                });
            }
        }
        const int before = sent;
        while (sent < before + 2) std::this_thread::yield();  // one has come since
        EXPECT_TRUE(adapter->ready());
        EXPECT_EQ(adapter->trainingsReady(), trains ? 1 : 0);
        adapter.reset();
        mLog.clear();
    }
    done = true;
    library.join();
}

TEST_F(ZmlAdapterThreads, aCallbackDuringTheDestructionFindsNothingToDo) {
    ZmlScript script;
    script.onReleaseSession = [&] { EXPECT_TRUE(mZml.finishTraining(TRAINING_SUCCESS)); };
    mZml.setScript(script);
    {
        ZmlAdapter adapter;
        open(adapter, 5000, 30);
        update(adapter, 1);
    }
    EXPECT_EQ(mLog.count("WARNING  state is not TRANING, while training Callback execute"), 1);
    const Names calls = mZml.calls();
    EXPECT_THAT(Names(calls.end() - 3, calls.end()),
                ElementsAre("asyncTrain", "releaseNetwork", "releaseSessionLocked aiPreloadApp"));
}

}  // namespace
