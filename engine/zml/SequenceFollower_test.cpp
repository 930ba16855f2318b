#include "zml/SequenceFollower.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <thread>

#include "platform/testing/LogCapture.h"
#include "platform/testing/TempDir.h"
#include "zml/NeuralLearner.h"
#include "zml/SessionState.h"

namespace zml {
namespace {

constexpr int ROUND = VOCABULARY;  // openings of a cycle

// `count` openings of all applications in turn, and each as many as `step` places on.
std::vector<int> makeCycle(int count, int step) {
    std::vector<int> ids;
    for (int i = 0; i < count; ++i) ids.push_back(i * step % VOCABULARY);
    return ids;
}

int best(const Scores& scores) {
    return static_cast<int>(std::max_element(scores.begin(), scores.end()) - scores.begin());
}

void expectScores(const Scores& scores) {
    EXPECT_NEAR(std::accumulate(scores.begin(), scores.end(), 0.0), 1.0, 1e-4);
    for (const float score : scores) {
        ASSERT_TRUE(std::isfinite(score));
        ASSERT_GT(score, 0.0f);
    }
}

// A session, driven by its calls, whose network was trained on 1,500 openings in turn.
class SequenceFollowerTest : public testing::Test {
  protected:
    SequenceFollowerTest() {
        EXPECT_TRUE(mNetwork.train(makeCycle(1500, 1), std::atomic<bool>(false)));
        const NetworkFile file(mDir.path(), "habits");
        EXPECT_TRUE(file.write({mNetwork.kind(), mNetwork.serialise()}));
    }

    // A session that has just loaded the network.
    std::unique_ptr<SessionState> start() {
        auto session = std::make_unique<SessionState>("habits", NeuralLearner::create);
        EXPECT_TRUE(session->createSequenceNetwork(ZmlSession::MODE_LOAD, nullptr, 0));
        return session;
    }

    static Scores ask(SessionState& session, int older, int newer) {
        const int input[] = {older, newer};
        Scores scores = {};
        int length = VOCABULARY;
        EXPECT_TRUE(session.predictSequence(input, CONTEXT, scores.data(), length));
        return scores;
    }

    // Asks after every `distance`th of the openings, and from `begin` on counts how often the one
    // that came next had been first.
    int hits(SessionState& session, const std::vector<int>& ids, size_t begin, size_t distance) {
        int count = 0;
        for (size_t i = distance; i + 1 < ids.size(); i += distance) {
            const Scores scores = ask(session, ids[i - 1], ids[i]);
            if (i + 1 >= begin && best(scores) == ids[i + 1]) ++count;
        }
        return count;
    }

    // The same of the network, which needs not be asked all the time.
    int networksHits(const std::vector<int>& ids, size_t begin) {
        int count = 0;
        for (size_t i = begin; i < ids.size(); ++i) {
            if (best(mNetwork.scores(ids[i - 2], ids[i - 1])) == ids[i]) ++count;
        }
        return count;
    }

    const TempDir mDir;
    const LogCapture mLog;
    NeuralLearner mNetwork;
};
using SequenceFollowerThreads = SequenceFollowerTest;

TEST_F(SequenceFollowerTest, FollowsAChangeOfHabitWithinSixtyOpenings) {
    for (const int step : {7, 11, 29}) {
        const std::vector<int> changed = makeCycle(60 + ROUND, step);
        EXPECT_EQ(hits(*start(), changed, 60, 1), ROUND) << step;
        EXPECT_LE(networksHits(changed, 60), ROUND / 3) << step;
        // And what was trained is not forgotten over it.
        const auto session = start();
        hits(*session, changed, 60, 1);
        EXPECT_GE(hits(*session, makeCycle(2 * ROUND, 1), ROUND, 1), ROUND - 3) << step;
    }
}

TEST_F(SequenceFollowerTest, AskingTwiceIsAskingOnce) {
    Random random(2);
    const auto once = start();
    const auto often = start();
    int older = 3;
    int newer = 3;
    for (int i = 0; i < 500; ++i) {
        const Scores scores = ask(*once, older, newer);
        for (uint32_t j = 0; j <= random.below(3); ++j)
            ASSERT_EQ(ask(*often, older, newer), scores);
        older = newer;
        do newer = static_cast<int>(random.below(5));
        while (newer == older);
    }
}

TEST_F(SequenceFollowerTest, ARareQuestionLosesNothingAndTeachesPairs) {
    const std::vector<int> usual = makeCycle(20 * ROUND, 1);
    EXPECT_EQ(hits(*start(), usual, 0, 3), static_cast<int>(usual.size()) / 3 - 1);
    const std::vector<int> changed = makeCycle(147 * ROUND, 11);
    EXPECT_EQ(hits(*start(), changed, 140 * ROUND, 7), ROUND);  // each place once in seven rounds
    EXPECT_LE(networksHits(changed, 146 * ROUND), ROUND / 3);
}

TEST_F(SequenceFollowerTest, TheSameCallsGiveTheSameScoresAndALoadBeginsAnew) {
    Random random(4);
    const auto first = start();
    const auto second = start();
    const Scores fresh = ask(*start(), 3, 4);
    for (int i = 0; i < 3000; ++i) {
        const int older = static_cast<int>(random.below(VOCABULARY));
        const int newer = static_cast<int>(random.below(VOCABULARY));
        ASSERT_EQ(ask(*first, older, newer), ask(*second, older, newer));
    }
    EXPECT_NE(ask(*first, 3, 4), fresh);
    ASSERT_TRUE(first->createSequenceNetwork(ZmlSession::MODE_LOAD, nullptr, 0));
    EXPECT_EQ(ask(*first, 3, 4), fresh);
}

TEST_F(SequenceFollowerTest, AnExplanationTeachesNothingAndMultipliesToTheScores) {
    const auto session = start();
    hits(*session, makeCycle(45, 7), 0, 1);
    const int input[] = {8, 15};
    Scores scores;
    ScoreParts parts;
    ASSERT_TRUE(session->explain(input, CONTEXT, scores, parts));
    const auto product = [&](size_t id) {
        double product = 1;
        for (const Scores& part : parts.factors) product *= static_cast<double>(part[id]);
        return product;
    };
    for (size_t id = 1; id < VOCABULARY; ++id) {
        EXPECT_NEAR(product(id) / product(0), static_cast<double>(scores[id] / scores[0]),
                    1e-3 * product(id) / product(0));
    }
    const auto unexplained = start();
    hits(*unexplained, makeCycle(45, 7), 0, 1);
    const int another[] = {29, 3};
    Scores unused;
    ASSERT_TRUE(session->explain(another, CONTEXT, unused, parts));
    EXPECT_EQ(ask(*unexplained, 8, 15), scores);
    EXPECT_EQ(ask(*session, 8, 15), scores);
    const int unusable[] = {8, VOCABULARY};
    EXPECT_FALSE(session->explain(unusable, CONTEXT, scores, parts));
    session->releaseNetwork();
    EXPECT_FALSE(session->explain(input, CONTEXT, scores, parts));
}

TEST(SequenceFollower, LearnsHowMuchTheNetworkIsWorth) {
    for (const bool right : {true, false}) {
        Random random(8);
        SequenceFollower follower({});
        int older = 0;
        int newer = 1;
        double sum = 0;  // of the scores of what came next, of which nothing else knows
        for (int i = 0; i < 1200; ++i) {
            const int next = static_cast<int>(random.below(VOCABULARY));
            Scores network;
            network.fill(0.1f / (VOCABULARY - 1));
            network[static_cast<size_t>(right ? next : (next + 1) % VOCABULARY)] = 0.9f;
            const Scores scores = follower.ask(older, newer, network);
            if (i == 0) EXPECT_EQ(best(scores), best(network)) << "it is heard from the start";
            if (i >= 1000) sum += static_cast<double>(scores[static_cast<size_t>(next)]);
            older = newer;
            newer = next;
        }
        if (right) EXPECT_GT(sum / 200, 0.6);
        if (!right) EXPECT_NEAR(sum / 200, 1.0 / VOCABULARY, 0.01);
    }
}

TEST(SequenceFollower, ScoresStayNumbersAboveZeroWhateverIsAsked) {
    Scores sure = {};  // of a network that rules all but one out
    sure[5] = 1.0f;
    const struct {
        const char* what;
        std::function<int(int)> id;
    } cases[] = {
        {"one id only", [](int) { return 5; }},
        {"never what the network says", [](int i) { return i % 3; }},
        {"a habit that turns round", [](int i) { return i / 700 % 2 == 0 ? i % 30 : 29 - i % 30; }},
        {"anything",
         [random = Random(6)](int) mutable { return static_cast<int>(random.below(30)); }},
    };
    for (const auto& [what, id] : cases) {
        SCOPED_TRACE(what);
        for (const int trained : {0, 1, 2, 4000}) {
            std::vector<int> ids;
            for (int i = 0; i < trained; ++i) ids.push_back(id(i));
            SequenceFollower follower(ids);
            int older = 0;
            for (int i = 0; i < 12000; ++i) {
                const int newer = id(i);
                const Scores scores = follower.ask(older, newer, sure);
                if (i % 50 == 0) expectScores(scores);
                older = i % 1000 < 900 ? newer : (newer + 1) % 30;  // at times nothing overlaps
            }
        }
    }
}

TEST_F(SequenceFollowerThreads, MayBeAskedFromSeveral) {
    const auto session = start();
    std::vector<std::thread> threads;
    for (int seed = 0; seed < 4; ++seed) {
        threads.emplace_back([&, seed] {
            Random random(static_cast<uint64_t>(seed));
            for (int i = 0; i < 400; ++i) {
                const int newer = static_cast<int>(random.below(VOCABULARY));
                expectScores(ask(*session, seed, newer));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace zml
