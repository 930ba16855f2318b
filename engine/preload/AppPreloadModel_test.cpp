#include "preload/AppPreloadModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <thread>

#include "looper/Looper.h"
#include "platform/testing/LogCapture.h"
#include "platform/testing/TempDir.h"
#include "platform/workstation/SettableEnvironment.h"
#include "zml/test/ScriptedZml.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char EVALUATION[] = "AppPreloadEvaluation";

class AppPreloadModelTest : public testing::Test {
  protected:
    AppPreloadModelTest() {
        setenv("TZ", "UTC", 1);
        environment::setNow(1704067200);  // a Monday, midnight
    }

    // The Bayes model ranks a, b, c, d, e whatever was opened before.
    void storeBayesModel() {
        mDir.write(
            "AppPreloadBayesModel",
            "n 1 d 4 x 4 1 1 1 1 k 5 y 1 0 0 xy 5 0:0:0 9 0:0:1 8 0:0:2 7 0:0:3 6 0:0:4 5\n");
        mDir.write("AppPreloadMap", "appmap 5\na 0\nb 1\nc 2\nd 3\ne 4\n");
    }

    // The sequence network is ready; it knows z twice and y, and ranks z, z, y.
    ZmlScript storeTrainedNetwork() {
        mDir.write("AppUsage", "3\n29 7 z\n28 5 z\n27 3 y\n");
        mDir.write("AppHistory", "y\nz\n");
        ZmlScript script;
        script.networkTrained = true;
        script.scores.resize(30);
        script.scores[29] = 3;
        script.scores[28] = 2;
        script.scores[27] = 1;
        return script;
    }

    AppPreloadModel& start() {
        mModel = new AppPreloadModel;
        return *mModel;
    }

    void send(int type, const std::string& package, const std::vector<std::string>* list = nullptr,
              uint8_t charging = 0) {
        sp<BrainEvent> event(new BrainEvent);
        event->type = type;
        event->package = package;
        event->charging = charging;
        event->hasPackageList = list != nullptr;
        if (list != nullptr) event->packageList = *list;
        mModel->onBrainDataAvailable(event);
    }
    void open(const std::vector<std::string>& packages) {
        for (const std::string& package : packages) send(4, package);
    }

    static std::vector<int> counts(const AppEvaluation& evaluation) {
        return {evaluation.top1HitCount, evaluation.top4HitCount, evaluation.appOpenCount};
    }

    TempDir mDir;
    ScriptedZml mZml;
    sp<AppPreloadModel> mModel;
};

TEST_F(AppPreloadModelTest, CountsHitsAmongTheFirstFour) {
    storeBayesModel();
    AppPreloadModel& model = start();
    open({"e", "e"});  // without a prediction before them
    LogCapture log;
    EXPECT_THAT(model.predict(), ElementsAre("a", "b", "c", "d", "e"));
    EXPECT_EQ(log.texts().front(), "DEBUG  using bayes model");
    EXPECT_EQ(log.lines().back().text, "DEBUG  app e should preload");
    open({"a"});
    EXPECT_TRUE(log.contains("DEBUG  Top1AppHitCount 1") && log.contains("Top4AppHitCount 1"));
    EXPECT_EQ(log.lines().back().text, "DEBUG  AppOpenCount 3");
    EXPECT_THAT(counts(model.bayesEvaluation()), ElementsAre(1, 1, 3));
    open({"d"});
    EXPECT_THAT(counts(model.bayesEvaluation()), ElementsAre(1, 2, 4));
    open({"e"});
    EXPECT_THAT(counts(model.bayesEvaluation()), ElementsAre(1, 2, 5));
    EXPECT_THAT(counts(model.zmlEvaluation()), ElementsAre(0, 0, 0));

    model.updateModel();
    EXPECT_EQ(mDir.read(EVALUATION),
              "ai 0\nTop1AppHitCount 1\nTop4AppHitCount 2\nAppOpenCount 5\n");
    EXPECT_THAT(counts(start().bayesEvaluation()), ElementsAre(1, 2, 5));
}

TEST_F(AppPreloadModelTest, ScoresTheSequenceNetworkOnTheAppsItKnows) {
    storeBayesModel();
    ZmlScript script = storeTrainedNetwork();
    mZml.setScript(script);
    AppPreloadModel& model = start();
    EXPECT_THAT(model.predict(), ElementsAre("z", "z", "y"));
    LogCapture log;
    open({"z"});  // stands in two records of the table and in two places of the prediction
    EXPECT_EQ(log.count("DEBUG  app z is top 30 app"), 2);
    EXPECT_THAT(counts(model.zmlEvaluation()), ElementsAre(1, 2, 1));
    open({"a"});  // none of its apps: the Bayes model's, although that has not predicted
    EXPECT_THAT(counts(model.zmlEvaluation()), ElementsAre(1, 2, 1));
    EXPECT_THAT(counts(model.bayesEvaluation()), ElementsAre(0, 0, 1));
    model.updateModel();
    EXPECT_EQ(mDir.read(EVALUATION),
              "ai 1\nTop1AppHitCount 1\nTop4AppHitCount 2\nAppOpenCount 1\n");
    EXPECT_THAT(counts(start().zmlEvaluation()), ElementsAre(1, 2, 1));

    script.predictSucceeds = false;
    mZml.setScript(script);
    EXPECT_THAT(mModel->predict(), IsEmpty());  // the Bayes model is not asked instead
}

TEST_F(AppPreloadModelTest, LearnsOnlyAppsThatOneLaunches) {
    AppPreloadModel& model = start();
    LogCapture log;
    EXPECT_THAT(model.predict(), IsEmpty());
    EXPECT_EQ(log.texts(), std::vector<std::string>{"DEBUG  no AI modelcan be used"});
    open({"a", "com.veltra.launcher", "com.quorin.recents", "com.quorin.safecenter",
          "com.android.packageinstaller", "", "b"});
    for (const int type : {0, 1, 5, 22}) send(type, "c");
    EXPECT_TRUE(log.contains("DEBUG  AppPreloadModel::onBrainDataAvailable 22"));
    EXPECT_EQ(model.appCount(), 2);
    EXPECT_EQ(log.count("dataset num"), 2);
    EXPECT_THAT(counts(model.bayesEvaluation()), ElementsAre(0, 0, 0));  // no predictor was ready
    model.updateModel();
    EXPECT_EQ(mDir.read("AppHistory"), "a\nb\n");
}

TEST_F(AppPreloadModelTest, TrainsOnTheListedAppsWhileCharging) {
    std::vector<std::string> packages;
    for (int i = 0; i < 30; ++i) packages.push_back("app" + std::to_string(i));
    std::string history;
    for (size_t i = 0; i < 5000; ++i) history += packages[i % 30] + "\n";
    mDir.write("AppHistory", history);
    AppPreloadModel& model = start();
    send(4, "", &packages);  // carries the list alone
    open({""});              // leaves the list as it is
    model.updateModel();
    EXPECT_FALSE(model.isTraining());
    send(6, "", nullptr, 128);
    model.updateModel();
    EXPECT_TRUE(model.isTraining());
    EXPECT_EQ(mZml.sequence().size(), 5001U);
    EXPECT_EQ(model.trainingsReady(), 0);
    mZml.finishTraining(TRAINING_SUCCESS);
    EXPECT_FALSE(model.isTraining());
    EXPECT_EQ(model.trainingsReady(), 1);
}

TEST_F(AppPreloadModelTest, KeepsTheEvaluationThroughASaveThatWasCutOrCouldNotBeRead) {
    mDir.write(EVALUATION, "ai 0\n");
    mDir.write("AppPreloadEvaluation.bak", "ai 0\na 1\nb 2\nc 3\n");
    EXPECT_THAT(counts(start().bayesEvaluation()), ElementsAre(1, 2, 3));
    ASSERT_EQ(rename(mDir.file(EVALUATION).c_str(), mDir.file("kept").c_str()), 0);
    ASSERT_EQ(mkdir(mDir.file(EVALUATION).c_str(), 0700), 0);
    start().updateModel();
    ASSERT_EQ(::remove(mDir.file(EVALUATION).c_str()), 0);
    ASSERT_EQ(rename(mDir.file("kept").c_str(), mDir.file(EVALUATION).c_str()), 0);
    EXPECT_THAT(counts(start().bayesEvaluation()), ElementsAre(1, 2, 3));
}

TEST_F(AppPreloadModelTest, LoadsWhatItCanOfTheEvaluation) {
    const struct {
        const char* content;
        std::vector<int> bayes;
        std::vector<int> zml;
    } CASES[] = {
        {"any 0 key 1 does 2 well 3", {1, 2, 3}, {0, 0, 0}},
        {"ai 1 a 1 b many c 3", {0, 0, 0}, {1, 0, 0}},
        {"ai 1 a 99999999999 b 2 c 3", {0, 0, 0}, {0, 0, 0}},
        {"ai 2 a 1 b 2 c 3", {0, 0, 0}, {0, 0, 0}},
        {"", {0, 0, 0}, {0, 0, 0}},
    };
    for (const auto& file : CASES) {
        mDir.write(EVALUATION, file.content);
        LogCapture log;
        AppPreloadModel& model = start();
        EXPECT_TRUE(log.contains("DEBUG  load Evaluation result ok"));
        EXPECT_EQ(counts(model.bayesEvaluation()), file.bayes) << file.content;
        EXPECT_EQ(counts(model.zmlEvaluation()), file.zml) << file.content;
    }
}

TEST_F(AppPreloadModelTest, CreatesItsDirectory) {
    environment::setDataDirectory(mDir.file("new"));
    const mode_t mask = umask(0);
    start();
    umask(mask);
    struct stat status {};
    ASSERT_EQ(stat(mDir.file("new").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0775U);
}

TEST_F(AppPreloadModelTest, LearnsButDoesNotPredictWithoutADirectory) {
    mDir.write("file", "");
    environment::setDataDirectory(mDir.file("file/new"));
    LogCapture log;
    AppPreloadModel& model = start();
    EXPECT_EQ(log.lines().back().text,
              "ERROR  Could not create directory status: -1, error: Not a directory");
    open({"a", "b"});
    EXPECT_EQ(model.appCount(), 2);
    log.clear();
    EXPECT_THAT(model.predict(), IsEmpty());
    model.updateModel();
    EXPECT_EQ(log.texts(), std::vector<std::string>(
                               2, "WARNING  AppPreloadModel can not work due to status=-3"));
    const sp<Looper> looper(new Looper(new KsTimer));
    model.start(looper.get());
    EXPECT_EQ(looper->getTimer()->nextTimerEvent(), -1);
    mModel.reset();
    EXPECT_EQ(log.lines().back().text, "WARNING  AppPreloadModel destroy");
}

TEST_F(AppPreloadModelTest, UpdatesEveryFiveMinutes) {
    const sp<Looper> looper(new Looper(new KsTimer));
    start().start(nullptr);  // on the looper of this thread
    EXPECT_GT(looper->getTimer()->nextTimerEvent(), 200000);
    EXPECT_LE(looper->getTimer()->nextTimerEvent(), 300000);
    EXPECT_EQ(AppPreloadModel::TimerCallBack(mModel.get()), 0);  // so that the timer repeats
    EXPECT_TRUE(mDir.exists(EVALUATION));
}

using AppPreloadModelThreads = AppPreloadModelTest;

TEST_F(AppPreloadModelThreads, PredictionsGoOnWhileAppsOpen) {
    AppPreloadModel& model = start();
    const std::vector<std::string> packages{"a", "b", "c", "d"};
    std::atomic<bool> opened{false};
    std::thread host([&] {
        while (!opened) {
            model.predict();
            model.bayesEvaluation();
        }
    });
    for (size_t i = 0; i < 60; ++i) {
        send(4, packages[i % 4], &packages);
        if (i % 10 == 0) model.updateModel();
    }
    opened = true;
    host.join();
    EXPECT_EQ(model.appCount(), 4);
    EXPECT_EQ(model.bayesEvaluation().appOpenCount, 60 - 12);  // from the first training on
}

}  // namespace
