#include "tools/replay/Replayer.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <stdexcept>

#include "platform/testing/LogCapture.h"
#include "platform/testing/TempDir.h"
#include "preload/PackageName.h"
#include "tools/replay/ResultTable.h"
#include "tools/trace/PackageNames.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Replay : public ::testing::Test {
  protected:
    Replay() {
        setenv("TZ", "UTC", 1);
        tzset();
    }

    Trace trace(const std::string& rows) {
        mInput.write("t.csv", "time,package\n" + rows);
        return Trace::read(mInput.file("t.csv"));
    }

    // com.a and com.b in turn, a minute apart.
    Trace inTurn(int openings) {
        std::string rows;
        for (int i = 0; i < openings; ++i) {
            rows += std::to_string(1709280000 + 60 * i) + (i % 2 == 0 ? ",com.a\n" : ",com.b\n");
        }
        return trace(rows);
    }

    // Enough for two trainings.
    Trace longTrace() {
        std::string rows;
        for (int i = 0; i < 6000; ++i) {
            rows += std::to_string(1709280000 + 6 * i) + ",app" +
                    std::to_string(i * i % 37 + i % 3) + "\n";
        }
        return trace(rows);
    }

    ReplayResult run(const Trace& trace, const std::string& charging) {
        Replayer replayer(ChargingPlan::parse(charging), mData.path());
        const auto goOn = [](size_t, const std::vector<std::string>&) { return true; };
        return replayer.run(trace, goOn).value();
    }

    // How a replay on the files in that directory fails.
    static std::string failure(const Trace& trace, const TempDir& data) {
        Replayer replayer(ChargingPlan::always(), data.path());
        try {
            replayer.run(trace, [](size_t, const auto&) { return true; });
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "none";
    }

    const TempDir mInput;
    const TempDir mData;
};

// The model learns batches of 11 samples, the first from the 2nd opening on: it is ready at the
// 13th opening and knows its classes from the 24th on.
TEST_F(Replay, CountsWhatTheModelGotRight) {
    const ReplayResult first = run(inTurn(40), "never");
    EXPECT_EQ(first.openings, 40U);
    EXPECT_EQ(first.predictions, 17U);
    EXPECT_EQ(first.bayes.opened, 28);
    EXPECT_EQ(first.bayes.top1, 16);
    EXPECT_EQ(first.bayes.top4, 16);
    EXPECT_EQ(first.network.opened, 0);
    EXPECT_EQ(first.apps, 2);

    // The counters go on where they were left, what is counted for the run does not.
    const ReplayResult second = run(inTurn(40), "never");
    EXPECT_EQ(second.openings, 40U);
    EXPECT_EQ(second.bayes.opened, 68);
    EXPECT_GT(second.bayes.top1, 16 + 30);
}

// Marks lie at 300, 600, ... seconds behind the first opening.
TEST_F(Replay, KeepsTheOrderOfEdgesMarksAndOpenings) {
    const struct {
        const char* charging;
        const char* rows;
        std::string expected;  // c charging event, u update, o opening; the last update ends it
    } cases[] = {
        {"never", "0,a\n299,b\n300,c\n301,d\n",
         "co"
         "o"
         "uo"
         "o"
         "u"},
        {"always", "0,a\n3000,b\n",
         "co"
         "uo"
         "u"},  // one mark will do in a long gap
        {"never", "0.5,a\n300,b\n300.5,c\n",
         "co"
         "o"
         "uo"
         "u"},
        {"never", "0,a\n600,b\n600,c\n900,d\n",
         "co"
         "uo"
         "o"
         "uo"
         "u"},
        // Edges at 3600 and 7200, each followed by a mark of its own.
        {"01:00-02:00", "0,a\n10000,b\n",
         "co"
         "u"
         "cu"
         "cu"
         "o"
         "u"},
        {"01:00-02:00", "0,a\n3600,b\n",
         "co"
         "u"
         "cu"
         "o"
         "u"},
        // Edges at 3660 and 3720: the mark at 3900 serves both, or comes behind the opening.
        {"01:01-01:02", "3599,a\n4500,b\n",
         "co"
         "ccu"
         "o"
         "u"},
        {"01:01-01:02", "3600,a\n3661,b\n3901,c\n",
         "co"
         "co"
         "cuo"
         "u"},
    };
    for (const auto& [charging, rows, expected] : cases) {
        const Trace input = trace(rows);
        const LogCapture log(2);
        run(input, charging);
        std::string order;
        for (const std::string& line : log.texts()) {
            if (line.find("onBrainDataAvailable 6") != std::string::npos) order += 'c';
            if (line.find("onBrainDataAvailable 4") != std::string::npos) order += 'o';
            if (line.find("AppPreloadModel::updateModel") != std::string::npos &&
                line.find("train") == std::string::npos) {
                order += 'u';
            }
        }
        EXPECT_EQ(order, expected) << charging << "\n" << rows;
    }
}

TEST_F(Replay, TrainsWhileChargingAndIsTheSameTwice) {
    const Trace input = longTrace();
    const ReplayResult first = run(input, "always");
    EXPECT_EQ(first.trainings,
              2);  // at 5,000 openings and, behind the fifth that is dropped, 1,000 later
    EXPECT_GT(first.network.opened, 900);

    const TempDir other;
    Replayer again(ChargingPlan::always(), other.path());
    const auto second = again.run(input, [](size_t, const auto&) { return true; });
    EXPECT_EQ(second->network.top4, first.network.top4);
    for (const char* file : {"AppPreloadBayesModel", "AppPreloadMap", "AppPreloadEvaluation",
                             "AppHistory", "AppUsage"}) {
        EXPECT_EQ(other.read(file), mData.read(file)) << file;
    }
}

constexpr const char* FILES[] = {"AppPreloadBayesModel", "AppPreloadMap", "AppPreloadEvaluation",
                                 "AppHistory",           "AppUsage",      "aiPreloadApp.zml"};

TEST_F(Replay, GivesNoFiguresWhenAFileCannotBeStored) {
    const Trace input = longTrace();
    for (const std::string file : FILES) {
        const TempDir data;
        for (const char* const end : {"", ".bak", ".tmp"}) {
            std::filesystem::create_directories(data.file(file + end + "/in the way"));
        }
        EXPECT_THAT(failure(input, data),
                    AllOf(HasSubstr(data.file(file)), HasSubstr("Is a directory")));
    }
}

TEST_F(Replay, LeavesADirectoryAloneInWhichAFileCannotBeRead) {
    const Trace input = inTurn(40);
    for (const std::string file : FILES) {
        const TempDir data;
        std::filesystem::create_symlink(file, data.file(file));  // keeps everybody out
        EXPECT_THAT(failure(input, data), HasSubstr(data.file(file)));
        EXPECT_THAT(entriesOf(data.path()), ElementsAre(file));
    }
}

TEST_F(Replay, StopsWhenItIsTold) {
    Replayer replayer(ChargingPlan::never(), mData.path());
    size_t last = 0;
    const auto result = replayer.run(inTurn(40), [&](size_t row, const auto&) {
        last = row;
        return row < 6;
    });
    EXPECT_FALSE(result);
    EXPECT_EQ(last, 6U);
}

TEST(PackageNames, AreThoseThatTheEngineTakes) {
    const std::string taken = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._";
    EXPECT_FALSE(isPackageName(""));
    for (int c = 0; c < 256; ++c) {
        const std::string name = {'a', static_cast<char>(c)};
        EXPECT_EQ(isPackageName(name), taken.find(name[1]) != taken.npos) << c;
        EXPECT_TRUE(isPackageName(packageLikeName(name))) << c;
    }
}

TEST(ResultTable, ShowsCountsAndRates) {
    ReplayResult result;
    result.bayes = {2393, 974, 1649};
    result.apps = 68;
    result.openings = 2405;
    result.predictions = 2381;
    result.trainings = 3;
    result.duration = std::chrono::duration<double>(1.23456);
    setenv("TZ", "CET-1", 1);
    const std::string table = resultTable(result);
    for (const char* part :
         {"2,393", "974", "40.7 %", "1,649", "68.9 %", "2,405", "CET-1", "1.23 s"}) {
        EXPECT_THAT(table, HasSubstr(part));
    }
    EXPECT_EQ(resultJson(result),
              "{\"openings\":2405,\"predictions\":2381,"
              "\"bayes\":{\"opened\":2393,\"top1\":974,\"top4\":1649},"
              "\"network\":{\"opened\":0,\"top1\":0,\"top4\":0,\"trainings\":3},"
              "\"apps\":68,\"zone\":\"CET-1\",\"seconds\":1.235}\n");
    unsetenv("TZ");
}

}  // namespace
