#include "preload/BayesAdapter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/testing/LogCapture.h"
#include "platform/testing/TempDir.h"
#include "platform/workstation/SettableEnvironment.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr time_t MONDAY = 1704067200;  // 2024-01-01T00:00:00Z
constexpr char MODEL[] = "AppPreloadBayesModel";
constexpr char MAP[] = "AppPreloadMap";

TEST(BayesSample, TellsHalfHourAndWorkingDayInLocalTime) {
    constexpr long DAY = 86400;
    const struct {
        const char* zone;
        long t;
        int slot;
        int weekDay;
    } CASES[] = {
        {"UTC", MONDAY + 29 * 60 + 59, 0, 1},
        {"UTC", MONDAY + 30 * 60, 1, 1},
        {"UTC", MONDAY + DAY - 1, 47, 1},
        {"UTC", MONDAY - 1, 47, 0},
        {"UTC", MONDAY + 5 * DAY, 0, 0},
        {"NPT-5:45", MONDAY, 11, 1},
        {"EST+5", MONDAY, 38, 0},
        {"UTC", 0, 25, 1},  // now
    };
    environment::setNow(MONDAY + 3 * DAY + 45000);
    for (const auto& time : CASES) {
        setenv("TZ", time.zone, 1);
        EXPECT_EQ(getTimeSlot(time.t), time.slot) << time.zone << " " << time.t;
        EXPECT_EQ(getWeekDay(time.t), time.weekDay) << time.zone << " " << time.t;
    }
}

class BayesAdapterTest : public testing::Test {
  protected:
    BayesAdapterTest() {
        setenv("TZ", "UTC", 1);
        environment::setNow(MONDAY);
    }

    void open(BayesAdapter& adapter, const std::vector<std::string>& packages) {
        for (const std::string& package : packages) {
            mData.lastApp = mData.currentApp;
            mData.currentApp = package;
            adapter.addSample(mData);
        }
    }

    void openInTurn(BayesAdapter& adapter, int times) {
        for (int i = 0; i < times; ++i) open(adapter, {std::string(1, "abc"[mOpened++ % 3])});
    }

    std::vector<std::string> predict(BayesAdapter& adapter, SystemData data) {
        std::vector<std::string> out{"kept"};
        adapter.predict(data, out);
        out.erase(out.begin());
        return out;
    }

    TempDir mDir;
    SystemData mData;
    int mOpened = 0;
};

TEST_F(BayesAdapterTest, LearnsBatchesOfElevenLabelledByTheNextApp) {
    BayesAdapter adapter;
    LogCapture log;
    openInTurn(adapter, 12);  // the first has no app before it and gives no sample
    EXPECT_FALSE(adapter.ready());
    EXPECT_THAT(predict(adapter, mData), IsEmpty());
    EXPECT_TRUE(log.contains("WARNING  BayesAdapter predict error because mStatus 0"));

    log.clear();
    open(adapter, {"not-valid"});  // stands for index 0 as a label
    EXPECT_THAT(log.texts(), ElementsAre("DEBUG  AppPreload BayesAdapter train new model",
                                         "DEBUG  AppPreload BayesAdapter train ok",
                                         "DEBUG  AppPreload BayesAdapter dataset num 0"));
    // At midnight on a working day: (a, b) and (b, c) four times, (c, a) three times.
    EXPECT_EQ(mDir.read(MODEL),
              "mTotalSampleCount 11\nmDimensionX 4\nmVariableSpaceX 0\nmVariableSpaceY 0\n"
              "mDistributionY 3\n0 4\n1 3\n2 4\n"
              "mDistributionXandY 12\n0:0:0 4\n0:0:1 3\n0:0:2 4\n1:1:0 4\n1:1:1 3\n1:1:2 4\n"
              "2:0:2 4\n2:1:0 4\n2:2:1 3\n3:0:1 3\n3:1:2 4\n3:2:0 4\n");
    EXPECT_TRUE(adapter.ready());
    EXPECT_THAT(predict(adapter, mData), IsEmpty());  // the first batch leaves no classes

    openInTurn(adapter, 13);
    EXPECT_TRUE(log.contains("AppPreload BayesAdapter train updated model"));
    EXPECT_THAT(predict(adapter, {"b", "a"}), ElementsAre("c", "b", "a"));
    EXPECT_THAT(predict(adapter, {"c", "b"}), ElementsAre("a", "b", "c"));
    EXPECT_THAT(predict(adapter, {"c", ""}), IsEmpty());
    EXPECT_EQ(log.lines().back().text, "DEBUG  BayesAdapter predict need 2 history apps");

    BayesAdapter restarted;
    EXPECT_THAT(predict(restarted, {"b", "a"}), SizeIs(3));
}

TEST_F(BayesAdapterTest, NumbersPackagesAsTheyAppear) {
    BayesAdapter adapter;
    LogCapture log;
    open(adapter, {"com.b", "com.a", "com.a", "bad-name", "", "com.b", "C_9.z"});
    EXPECT_EQ(mDir.read(MAP), "appmap 3\nC_9.z 2\ncom.a 1\ncom.b 0\n");
    EXPECT_EQ(log.count("DEBUG  store app map ok"), 3);
    EXPECT_EQ(adapter.appCount(), 3);
    // (b, a), (a, a) and (b, C): a sample needs two valid names.
    open(adapter, {"com.b"});
    EXPECT_EQ(log.lines().back().text, "DEBUG  AppPreload BayesAdapter dataset num 3");
    EXPECT_THAT(adapter.dumpMemory(), testing::StartsWith("BayesAdapter size 27\n"));

    log.clear();
    BayesAdapter restarted;
    EXPECT_THAT(log.texts(),
                testing::IsSupersetOf({"DEBUG  load app map ok", "DEBUG  BayesAdapter init ok"}));
    // A table that cannot be stored grows all the same.
    environment::setDataDirectory(mDir.file("missing"));
    BayesAdapter unstored;
    open(unstored, {"com.new"});
    EXPECT_EQ(unstored.appCount(), 2);
}

TEST_F(BayesAdapterTest, LoadsOrRefusesTheTable) {
    const struct {
        const char* map;     // null: there is none
        const char* backup;  // so here
        const char* result;  // the table after one more app; null: the adapter refuses all work
    } CASES[] = {
        {"any 1\nx 0\nbeyond 1\n", nullptr, "appmap 2\nb 1\nx 0\n"},
        {"appmap 2\nx 0", "appmap 1\ny 0\n", "appmap 2\nb 1\ny 0\n"},
        {"appmap 2\nx 0\n", nullptr, nullptr},
        {"x 0\ny 1\n", nullptr, "appmap 1\nb 0\n"},
        {"", nullptr, nullptr},
        {"appmap 2147483647\nx 0\n", nullptr, nullptr},
        {"appmap 1\nx 2147483647\n", nullptr, nullptr},
        {"appmap 1\nx -2147483648\n", nullptr, "appmap 2\nb 1\nx -2147483648\n"},
        {nullptr, "appmap 1\ny 0\n", "appmap 2\nb 1\ny 0\n"},
        // Stored again, these would not be read back.
        {"appmap 2\nx 0\nx 1\n", nullptr, nullptr},
        {"appmap -1\nx 0\n", nullptr, nullptr},
    };
    for (const auto& table : CASES) {
        ::remove(mDir.file(MAP).c_str());
        if (table.map != nullptr) mDir.write(MAP, table.map);
        if (table.backup != nullptr) mDir.write("AppPreloadMap.bak", table.backup);
        LogCapture log;
        BayesAdapter adapter;
        open(adapter, {"b"});
        EXPECT_FALSE(mDir.exists("AppPreloadMap.bak"));
        if (table.result != nullptr) {
            EXPECT_EQ(mDir.read(MAP), table.result);
            continue;
        }
        EXPECT_FALSE(mDir.exists(MAP)) << table.map;
        EXPECT_TRUE(log.contains("WARNING  file " + mDir.file(MAP) + " format error"));
        EXPECT_TRUE(log.contains("WARNING  BayesAdapter addSample error because mStatus 3"));
    }
}

// Counts this large drive all scores but those of classes 1 and 3 to 0.
TEST_F(BayesAdapterTest, RepeatsTheFirstPackageOnceTheScoresAreUsedUp) {
    mDir.write(MODEL,
               "mTotalSampleCount 2147483647\nmDimensionX 4\nmVariableSpaceX 4\n"
               "2147483647\n2147483647\n2147483647\n2147483647\nmVariableSpaceY 5\n"
               "mDistributionY 1\n1 0\nmDistributionXandY 8\n"
               "0:0:1 2147483647\n1:1:1 2147483647\n2:0:1 2147483647\n3:1:1 2147483647\n"
               "0:0:3 2147483647\n1:1:3 2147483647\n2:0:3 2147483647\n3:1:3 2147483647\n");
    // Of two packages with one index the first by name counts; index 3 has none.
    mDir.write(MAP, "appmap 3\nfirst 0\nsecond 1\nalso 1\n");
    BayesAdapter adapter;
    EXPECT_THAT(predict(adapter, {"second", "first"}),
                ElementsAre("also", "", "first", "first", "first"));
    openInTurn(adapter, 13);
    EXPECT_THAT(mDir.read(MODEL), testing::StartsWith("mTotalSampleCount 2147483647\n"));
}

TEST_F(BayesAdapterTest, StartsAfreshOnceTheModelFileIsBeyondItsLimit) {
    for (const off_t size : {512 * 1024, 512 * 1024 + 1}) {
        BayesAdapter adapter;
        openInTurn(adapter, 24);
        ASSERT_EQ(truncate(mDir.file(MODEL).c_str(), size), 0);
        LogCapture log;
        openInTurn(adapter, 11);
        EXPECT_EQ(log.contains("train updated model"), size == 512 * 1024);
        EXPECT_EQ(log.contains("train new model"), size != 512 * 1024);
    }
}

TEST_F(BayesAdapterTest, AModelOfOtherDimensionsIsNone) {
    mDir.write(MODEL, "n 1 d 1 x 1 1 k 1 y 1 0 1 xy 1 0:1:0 1\n");
    BayesAdapter adapter;
    EXPECT_FALSE(adapter.ready());
    openInTurn(adapter, 14);
    EXPECT_TRUE(adapter.ready());
    EXPECT_THAT(mDir.read(MODEL), testing::HasSubstr("mDimensionX 4\n"));
}

// A pipe stands for whatever cannot be read just now. Nobody waits for it, and nothing is stored in
// its place.
TEST_F(BayesAdapterTest, WhatCannotBeReadIsLeftAloneUntilTheNextStart) {
    {
        BayesAdapter adapter;
        openInTurn(adapter, 24);
    }
    for (const auto& [name, status] : {std::pair(MODEL, 2), std::pair(MAP, 3)}) {
        const std::string content = mDir.read(name);
        ::remove(mDir.file(name).c_str());
        ASSERT_EQ(mkfifo(mDir.file(name).c_str(), 0600), 0);
        {
            BayesAdapter adapter;
            LogCapture log;
            openInTurn(adapter, 24);
            open(adapter, {"new"});
            EXPECT_EQ(log.count("addSample error because mStatus " + std::to_string(status)), 25);
        }
        struct stat left {};
        EXPECT_TRUE(stat(mDir.file(name).c_str(), &left) == 0 && S_ISFIFO(left.st_mode)) << name;
        ::remove(mDir.file(name).c_str());
        mDir.write(name, content);
        EXPECT_TRUE(BayesAdapter().ready());
    }
}

TEST_F(BayesAdapterTest, AModelFileThatCannotBeLookedAtIsNoReasonToStartAfresh) {
    BayesAdapter adapter;
    openInTurn(adapter, 24);
    ASSERT_EQ(rename(mDir.file(MODEL).c_str(), mDir.file("kept").c_str()), 0);
    ASSERT_EQ(symlink(MODEL, mDir.file(MODEL).c_str()), 0);  // to itself
    openInTurn(adapter, 11);
    ::remove(mDir.file(MODEL).c_str());
    ASSERT_EQ(rename(mDir.file("kept").c_str(), mDir.file(MODEL).c_str()), 0);
    openInTurn(adapter, 11);
    EXPECT_THAT(mDir.read(MODEL), testing::StartsWith("mTotalSampleCount 44\n"));
}

TEST_F(BayesAdapterTest, TakesNoMoreNamesThanItWouldReadBack) {
    std::string table = "appmap 65535\n";
    for (int i = 0; i < 65535; ++i)
        table += "n" + std::to_string(i) + " " + std::to_string(i) + "\n";
    mDir.write(MAP, table);
    {
        BayesAdapter adapter;
        open(adapter, {"last", "beyond"});
        EXPECT_EQ(adapter.appCount(), 65536);
    }
    BayesAdapter restarted;
    EXPECT_EQ(restarted.appCount(), 65536);
    open(restarted, {"beyond", "last"});
    EXPECT_EQ(restarted.appCount(), 65536);
}

}  // namespace
