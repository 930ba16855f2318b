#include "preload/Bayes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <random>

#include "platform/testing/LogCapture.h"
#include "platform/testing/ResourceLimit.h"
#include "platform/testing/TempDir.h"

namespace {

using testing::ElementsAre;
using testing::FloatEq;
using testing::HasSubstr;
using testing::IsEmpty;

using Matrix = std::vector<std::vector<int>>;

// Two features, samples ((1,0), class 0) and ((1,2), class 1).
constexpr char SMALL_MODEL[] =
    "mTotalSampleCount 2\nmDimensionX 2\nmVariableSpaceX 2\n1\n2\nmVariableSpaceY 2\n"
    "mDistributionY 2\n0 1\n1 1\n"
    "mDistributionXandY 4\n0:1:0 1\n0:1:1 1\n1:0:0 1\n1:2:1 1\n";

int teachSmallModel(Bayes& model) {
    return model.update({{1, 0}, {1, 2}}, {0, 1});
}

// The formula, with every count taken from the samples themselves.
std::vector<float> plainScores(const Matrix& X, const std::vector<int>& Y, int classes,
                               const std::vector<int>& maxima, const std::vector<int>& x) {
    std::vector<float> scores;
    float sum = 0;
    for (int y = 0; y < classes; ++y) {
        const auto ofClass = std::count(Y.begin(), Y.end(), y);
        float p = 1;
        for (size_t i = 0; i < x.size(); ++i) {
            int count = 1;
            for (size_t j = 0; j < X.size(); ++j) count += Y[j] == y && X[j][i] == x[i];
            p *= static_cast<float>(count) / static_cast<float>(ofClass + maxima[i] + 1);
        }
        p *= static_cast<float>(ofClass + 1) /
             static_cast<float>(static_cast<size_t>(classes) + Y.size());
        scores.push_back(p);
        sum += p;
    }
    for (float& score : scores) score /= sum;
    return scores;
}

TEST(Bayes, ScoresEqualAPlainCalculationToTheBit) {
    const auto model = Bayes::createEmptyBayes(12, nullptr);
    std::mt19937 random(7);
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    Matrix X;
    std::vector<int> Y;
    std::vector<int> x(12);
    std::vector<int> maxima(12);
    int classes = 0;
    for (int round = 0; round < 300; ++round) {
        const bool afresh = round == 150;
        if (afresh) X.clear(), Y.clear();
        for (size_t i = 0; i < x.size(); ++i) {
            x[i] = below(14);
            maxima[i] = std::max(maxima[i], x[i]);
        }
        X.push_back(x);
        Y.push_back(below(1 + round / 3));
        classes = afresh ? 0 : std::max(classes, Y.back() + 1);
        ASSERT_EQ(afresh ? model->learn({x}, {Y.back()}) : model->update({x}, {Y.back()}), 0);
        x[0] = below(14);
        ASSERT_EQ(model->predict(x), plainScores(X, Y, classes, maxima, x)) << "round " << round;
    }
}

TEST(Bayes, ExplainsItsScoresAndStaysAsItIs) {
    const TempDir dir;
    dir.write("model", SMALL_MODEL);
    const auto model = Bayes::createBayesFromModel(dir.file("model").c_str());
    const BayesAnswer answer = model->explain({1, 0});
    EXPECT_EQ(model->toString(), SMALL_MODEL);
    EXPECT_EQ(answer.scores, model->predict({1, 0}));
    ASSERT_EQ(answer.classes.size(), 2U);
    EXPECT_EQ(answer.samples, 2);
    EXPECT_THAT(answer.maxima, ElementsAre(1, 2));
    const int counts[2][3] = {{1, 1, 1}, {1, 0, 1}};
    for (size_t y = 0; y < 2; ++y) {
        float product = 1;
        ASSERT_EQ(answer.classes[y].factors.size(), 3U);
        for (size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(answer.classes[y].factors[i].count, counts[y][i]);
            product *= answer.classes[y].factors[i].value;
        }
        EXPECT_EQ(answer.classes[y].product, product);
        EXPECT_EQ(answer.scores[y], product / answer.sum);
    }
    EXPECT_THAT(model->explain({1, -1}).classes[0].factors, IsEmpty());
}

TEST(Bayes, WritesTheModelItLearned) {
    const TempDir dir;
    const auto model = Bayes::createEmptyBayes(2, dir.file("model").c_str());
    EXPECT_THAT(model->predict({1, 0}), IsEmpty());
    ASSERT_EQ(teachSmallModel(*model), 0);
    EXPECT_EQ(dir.read("model"), SMALL_MODEL);
    EXPECT_EQ(Bayes::createBayesFromModel(dir.file("model").c_str())->toString(), SMALL_MODEL);
    // 1/2 * 2/3 * 2/4 against 1/2 * 2/3 * 1/4.
    EXPECT_THAT(model->predict({1, 0}), ElementsAre(FloatEq(2 / 3.0F), FloatEq(1 / 3.0F)));
    EXPECT_THAT(model->toString(), HasSubstr("XandY 5\n0:1:0 1\n0:1:1 1\n1:0:0 1\n1:0:1 0\n"));
    errno = ENOENT;
    EXPECT_EQ(model->dumpMemory(),
              "No such file or directoryDistributionXandY size 5\n"
              "No such file or directoryDistributionXandY byte 45\n"
              "No such file or directoryDistributionY size 2\n"
              "No such file or directoryDistributionY byte 16\n");
}

TEST(Bayes, RefusesIllegalInput) {
    LogCapture log;
    for (const int dimension : {0, 101, -1}) {
        EXPECT_EQ(Bayes::createEmptyBayes(dimension, nullptr), nullptr);
    }
    EXPECT_EQ(log.lines().back().text, "WARNING  dimensionX -1 is illegal");
    EXPECT_NE(Bayes::createEmptyBayes(1, nullptr), nullptr);
    EXPECT_NE(Bayes::createEmptyBayes(100, nullptr), nullptr);

    const struct {
        Matrix X;
        std::vector<int> Y;
        int result;
        size_t classes;  // known afterwards
    } BATCHES[] = {
        {{}, {0}, -1, 0},
        {{{1, 1}}, {}, -1, 0},
        {{{1, 1}}, {0, 1}, -2, 0},
        {{{1, 1}, {1}}, {8, 9}, -3, 0},
        {{{1, 1}, {1, 1}}, {3, -1}, -4, 4},  // what stood before the illegal class stays known
        {{{1, 1}}, {INT_MAX}, -4, 0},
    };
    for (const auto& batch : BATCHES) {
        log.clear();
        const auto model = Bayes::createEmptyBayes(2, nullptr);
        EXPECT_EQ(model->update(batch.X, batch.Y), batch.result);
        EXPECT_EQ(model->learn(batch.X, batch.Y), batch.result);
        EXPECT_EQ(log.count("WARNING  train set is illegal, ignore this train"), 2);
        EXPECT_EQ(model->predict({1, 1}), std::vector<float>(batch.classes));
    }

    const auto model = Bayes::createEmptyBayes(2, nullptr);
    teachSmallModel(*model);
    log.clear();
    EXPECT_THAT(model->predict({0, 10000}), testing::Each(testing::Gt(0.0F)));
    EXPECT_THAT(model->predict({10001, -1}), ElementsAre(0, 0));
    EXPECT_THAT(model->predict({0, -1}), ElementsAre(0, 0));
    EXPECT_THAT(model->predict({0}), ElementsAre(0, 0));
    EXPECT_THAT(log.texts(),
                ElementsAre("WARNING  x vec element 10001 is illegal, ignore this predict",
                            "WARNING  x vec element -1 is illegal, ignore this predict",
                            "WARNING  x vec is illegal, ignore this predict"));
}

TEST(Bayes, LearningAfreshForgetsTheClassesUntilTheNextUpdate) {
    const TempDir dir;
    const std::string path = dir.file("model");
    const auto model = Bayes::createEmptyBayes(2, path.c_str());
    teachSmallModel(*model);
    LogCapture log;
    ASSERT_EQ(model->learn({{3, 1}}, {5}), 0);
    EXPECT_TRUE(log.contains("the model have been trained, will be override"));
    EXPECT_THAT(model->predict({3, 1}), IsEmpty());
    EXPECT_EQ(Bayes::createBayesFromModel(path.c_str()), nullptr);  // its class count is 0

    model->update({{3, 1}}, {2});
    EXPECT_THAT(model->predict({3, 1}), testing::SizeIs(3));
    const auto loaded = Bayes::createBayesFromModel(path.c_str());
    ASSERT_NE(loaded, nullptr);
    // The file lists no maxima: they are 0 for the loaded model.
    EXPECT_THAT(loaded->toString(), HasSubstr("mVariableSpaceX 2\n0\n0\n"));
}

// A failed save shows in the log alone.
TEST(BayesFile, ReportsEachFailureToSave) {
    const TempDir dir;
    for (const char* name : {"folder", "folder.bak", "blocked.bak"}) {
        mkdir(dir.file(name).c_str(), 0755);
    }
    const std::string longName(255, 'n');  // leaves no room for ".bak"
    dir.write(longName, "");
    const struct {
        std::string path;
        const char* failure;
        const char* result;  // empty: the save counts as done
    } CASES[] = {
        {"", "", "-15"},
        {dir.file("missing/model"), "open file ", "-6"},
        {dir.file(longName), "rename file ", "-9"},
        {dir.file("folder"), "remove file ", "-10"},
        {dir.file("blocked"), "remove file ", ""},
    };
    const std::string WARNING = "WARNING  Bayes storeDataToDiskLocked error ";
    for (const auto& save : CASES) {
        LogCapture log;
        EXPECT_EQ(teachSmallModel(*Bayes::createEmptyBayes(2, save.path.c_str())), 0);
        EXPECT_EQ(log.count("ERROR  Bayes::storeDataToDiskLocked " + (save.failure + save.path)),
                  save.path.empty() ? 0 : 1);
        EXPECT_EQ(log.count(WARNING), *save.result != 0);
        if (*save.result != 0) EXPECT_EQ(log.lines().back().text, WARNING + save.result);
    }
}

TEST(BayesFile, AFailedWriteLeavesTheLastCompleteModelUnderItsOwnName) {
    const TempDir dir;
    const std::string path = dir.file("model");
    const auto model = Bayes::createEmptyBayes(2, path.c_str());
    teachSmallModel(*model);
    LogCapture log;
    {
        const ResourceLimit limit(RLIMIT_FSIZE, 20);
        for (int i = 0; i < 2; ++i) model->update({{4, 4}}, {1});
    }
    EXPECT_EQ(dir.read("model"), SMALL_MODEL);
    EXPECT_FALSE(dir.exists("model.bak"));
    EXPECT_EQ(log.count("fput file " + path + " error 27"), 2);
    EXPECT_EQ(log.count("Bayes storeDataToDiskLocked error -7"), 2);
    model->update({{4, 4}}, {1});  // with what could not be stored before
    EXPECT_THAT(dir.read("model"), testing::StartsWith("mTotalSampleCount 5\n"));
}

class BayesLoading : public testing::Test {
  protected:
    std::unique_ptr<Bayes> load(const std::string& text) {
        mDir.write("model", text);
        return Bayes::createBayesFromModel(mDir.file("model").c_str());
    }

    // How many fields were scanned, from the first of `text`, until one was refused; 0 when none
    // was.
    int scansOf(const std::string& text) {
        const unsigned start = refusedIndex("");  // an empty file is refused
        const unsigned end = refusedIndex(text);
        return end == 0 ? 0 : static_cast<int>(end - start);
    }

    unsigned refusedIndex(const std::string& text) {
        LogCapture log;
        int index = 0;
        if (load(text) == nullptr) {
            EXPECT_EQ(sscanf(log.texts().at(0).c_str(), "WARNING  index %d\n", &index), 1);
            EXPECT_EQ(log.texts().at(1), "DEBUG  bayes unserialize error -11\n");
        }
        return static_cast<unsigned>(index);
    }

    // SMALL_MODEL with a part replaced.
    static std::string withPart(const std::string& part, const std::string& replacement) {
        std::string text = SMALL_MODEL;
        return text.replace(text.find(part), part.size(), replacement);
    }

    const TempDir mDir;
};

TEST_F(BayesLoading, RefusesWhatIsOutOfRange) {
    const struct {
        const char* part;
        const char* replacement;
        int scans;
    } CASES[] = {
        {"mTotalSampleCount 2", "mTotalSampleCount 0", 1},
        {"mTotalSampleCount 2", "mTotalSampleCount many", 0},
        {"mDimensionX 2", "mDimensionX -1", 2},
        {"mDimensionX 2", "mDimensionX 2000000000", 2},
        {"\n1\n2\n", "\n1\n0\n", 5},
        {"mVariableSpaceY 2", "mVariableSpaceY 0", 6},
        {"mVariableSpaceY 2", "mVariableSpaceY 65537", 6},
        {"mDistributionY 2", "mDistributionY 0", 7},
        {"\n1 1\n", "\n1 -1\n", 9},
        {"\n1 1\n", "\n-3 -1\n", 0},
        {"mDistributionXandY 4", "mDistributionXandY -4", 10},
        {"0:1:1 1", "0:1:1 -1", 12},
    };
    for (const auto& damage : CASES) {
        EXPECT_EQ(scansOf(withPart(damage.part, damage.replacement)), damage.scans)
            << damage.part << " as " << damage.replacement;
    }
}

TEST_F(BayesLoading, SurvivesEveryTruncationAndAnyCount) {
    for (int i = 0; i < 3; ++i) {  // the count of scans wraps on the way
        const unsigned start = refusedIndex("");
        ASSERT_NE(load(withPart("mDistributionXandY 4", "mDistributionXandY 2000000000")), nullptr);
        EXPECT_EQ(refusedIndex("") - start, 10U + 2000000000U + 3U);  // all counted, few made
    }

    const std::string whole = SMALL_MODEL;
    for (size_t length = 0; length <= whole.size(); ++length) {
        const auto model = load(whole.substr(0, length));
        if (model == nullptr) continue;
        model->predict({1, 0});
        teachSmallModel(*model);
    }
}

// Zeros, as a power cut leaves them in a file: they are no key, with which the model could not be
// read back.
TEST_F(BayesLoading, ATailOfZerosIsNoKey) {
    const auto model = load(withPart("XandY 4", "XandY 6") + std::string(20, '\0'));
    ASSERT_NE(model, nullptr);
    EXPECT_EQ(model->toString(), SMALL_MODEL);
}

#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool ALLOCATIONS_ARE_COUNTED = false;  // the sanitizers' allocator answers 0
#else
constexpr bool ALLOCATIONS_ARE_COUNTED = true;
#endif

TEST_F(BayesLoading, ASmallFileThatClaimsManyClassesTakesLittleMemory) {
    if (!ALLOCATIONS_ARE_COUNTED) GTEST_SKIP() << "the sanitizers have an allocator of their own";
    const auto inUse = [] {
        const struct mallinfo2 info = mallinfo2();
        return info.uordblks + info.hblkhd;
    };
    const size_t before = inUse();
    const auto model = load(withPart("mVariableSpaceY 2", "mVariableSpaceY 65536"));
    ASSERT_NE(model, nullptr);
    EXPECT_THAT(model->predict({1, 0}), testing::SizeIs(65536));
    EXPECT_GT(inUse(), before);
    EXPECT_LT(inUse() - before, 16U << 20);
}

TEST_F(BayesLoading, KeysInAnotherSpellingStandForNoClass) {
    const auto model = load(SMALL_MODEL);
    std::string text = withPart("XandY 4", "XandY 9");
    text.replace(text.find("1:2:1 1\n"), 8,
                 "1:2: 5\n1:2:+1 5\n1:2:00 5\n1:2:1 1\n1:2:1x 5\n1:2:4294967297 5\n");
    const auto damaged = load(text);
    ASSERT_NE(damaged, nullptr);
    EXPECT_EQ(damaged->predict({1, 2}), model->predict({1, 2}));
    EXPECT_THAT(damaged->toString(), HasSubstr("1:2:00 5\n"));
}

}  // namespace
