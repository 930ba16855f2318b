#include "tools/inspect/ExplanationText.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <random>
#include <sstream>

#include "platform/testing/TempDir.h"
#include "platform/workstation/SettableEnvironment.h"
#include "preload/BayesAdapter.h"
#include "preload/ZmlAdapter.h"
#include "tools/common/DataDirectory.h"
#include "tools/common/EngineLog.h"
#include "tools/common/InputError.h"
#include "tools/common/JsonLine.h"
#include "tools/inspect/test/SmallState.h"
#include "tools/replay/Replayer.h"
#include "tools/synth/SynthCsv.h"
#include "tools/test/ProgramRun.h"
#include "tools/trace/Trace.h"

namespace {

using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

// The numbers of the first printed row that begins with a label, one for each prediction.
std::vector<float> rowOf(const std::string& text, const std::string& label) {
    const size_t at = text.find("\n" + label);
    EXPECT_NE(at, text.npos) << label;
    const std::string line = text.substr(at + 1, text.find('\n', at + 1) - at - 1);
    std::istringstream words(line);
    std::vector<std::string> all;
    for (std::string word; words >> word;) all.push_back(word);
    std::vector<float> numbers;
    for (size_t i = all.size() - 4; i < all.size(); ++i) numbers.push_back(std::stof(all[i]));
    return numbers;
}

// Multiplies what stands in the printed table, as a reader would who has only that.
void expectTheTableToMultiply(const std::string& text) {
    const char* const factors[] = {"  x working day",
                                   "  x before: ", "  x in front: ", "  x prior"};
    std::vector<float> product = rowOf(text, "    time slot ");
    for (const char* const label : factors) {
        const std::vector<float> row = rowOf(text, label);
        for (size_t i = 0; i < product.size(); ++i) product[i] *= row[i];
    }
    EXPECT_EQ(product, rowOf(text, "  = product"));
    const std::vector<float> sum = rowOf(text, "  / sum of all");
    for (size_t i = 0; i < product.size(); ++i) product[i] /= sum[i];
    EXPECT_EQ(product, rowOf(text, "  = score"));
}

size_t greatest(const std::vector<float>& scores) {
    return static_cast<size_t>(std::max_element(scores.begin(), scores.end()) - scores.begin());
}

// The slot's alternative against all slots asked of the engine's own model.
void expectTheNearestSlot(const Explanation& why, Bayes& model) {
    std::vector<int> x(why.features.begin(), why.features.end());
    const auto leads = [&](int slot) {
        x[0] = (slot + 48) % 48;
        return static_cast<int>(greatest(model.predict(x))) == why.predictions[1].number;
    };
    std::optional<std::string> nearest;
    for (int distance = 1; distance <= 24 && !nearest; ++distance) {
        for (const int slot : {why.features[0] + distance, why.features[0] - distance}) {
            if (!nearest && leads(slot)) nearest = slotText((slot + 48) % 48);
        }
    }
    EXPECT_EQ(why.alternatives[0].to, nearest);
}

TEST(ExplanationOf, AMonthsStateIsTheEnginesOwnAnswer) {
    silenceEngineLog();
    const TemporaryDirectory files;  // in memory, for a replay is long
    const TempDir copy;
    const TempDir traces;
    SynthPlan plan;
    plan.days = 28;
    plan.perDay = 200;
    std::string csv;
    writeSynthCsv(plan, 0, [&](const std::string& piece) {
        csv += piece;
        return true;
    });
    traces.write("month.csv", csv);
    const Trace trace = Trace::read(traces.file("month.csv"));
    Replayer(ChargingPlan::parse("23:00-07:00"), files.path()).run(trace, [](size_t, const auto&) {
        return true;
    });
    std::filesystem::copy(files.path(), copy.path(), std::filesystem::copy_options::recursive);
    const auto model = Bayes::createBayesFromModel(copy.file("AppPreloadBayesModel").c_str());
    ASSERT_NE(model, nullptr);

    std::mt19937 random(1);
    for (int i = 0; i < 12; ++i) {
        const auto anyName = [&] { return trace.names()[random() % trace.names().size()]; };
        Question question;
        question.directory = files.path();
        question.time = wholeSeconds(trace.time(random() % trace.size()));
        question.names.emplace(anyName(), anyName());
        question.predictor = Question::Predictor::BAYES;
        const Explanation why = explain(question);
        environment::setDataDirectory(copy.path());
        SystemData data{question.names->second, question.names->first};
        std::vector<std::string> answer;
        BayesAdapter().predict(data, answer);
        const std::vector<float> scores =
            model->predict(std::vector<int>(why.features.begin(), why.features.end()));
        ASSERT_EQ(why.predictions.size(), 4U);
        for (size_t rank = 0; rank < 4; ++rank) {
            const Prediction& prediction = why.predictions[rank];
            EXPECT_EQ(prediction.application, answer[rank]);
            EXPECT_EQ(prediction.score, scores[static_cast<size_t>(prediction.number)]);
        }
        if (why.features[1] == 1) expectTheTableToMultiply(explanationText(why));
        if (i < 4) expectTheNearestSlot(why, *model);
    }

    Question question;
    question.directory = files.path();
    const Explanation why = explain(question);
    ASSERT_TRUE(why.usesNetwork);
    copy.write("AppHistory", why.older + "\n");
    environment::setDataDirectory(copy.path());
    ZmlAdapter network;
    std::string newer = why.newer;
    network.addSample(newer);
    std::vector<std::string> answer;
    network.predict(answer);
    std::vector<std::string> explained;
    for (const Prediction& prediction : why.predictions) {
        explained.push_back(prediction.application);
    }
    answer.resize(explained.size());
    EXPECT_THAT(explained, ElementsAreArray(answer));
}

class ExplainProgram : public ::testing::Test {
  protected:
    ExplainProgram() { writeSmallState(mFiles); }

    ProgramRun run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"explain", mFiles.path()});
        return runKsbrain(arguments);
    }

    const TempDir mFiles;
};

TEST_F(ExplainProgram, ShowsTheFactorsAndWhatWouldTurnThem) {
    const ProgramRun run = this->run({"--bayes", "--json", "--time", "2024-03-01T02:10"});
    ASSERT_EQ(run.status, 0) << run.err;
    const Json why = Json::parse(run.out);
    // Class 0 by hand: (3+1)/(3+5+1), (3+1)/(3+2), 1/(3+2), 1/(3+2), (3+1)/(2+4).
    const Json& first = why["predictions"][0];
    EXPECT_EQ(why["enginesChoice"], "network");
    EXPECT_EQ(why["last"], "com.b");
    EXPECT_EQ(first["application"], "com.a");
    EXPECT_EQ(first["factors"]["timeSlot"], 0.444444448);
    EXPECT_EQ(first["factors"]["prior"], 0.666666687);
    EXPECT_EQ(first["counts"],
              Json::parse(R"({"timeSlot":3,"weekDay":3,"previous":0,"current":0})"));
    EXPECT_EQ(why["alternatives"][1]["from"], "working day");
    EXPECT_THAT(this->run({"--bayes", "--top", "1", "--time", "2024-03-01T02:10"}).out,
                HasSubstr("would put com.b first"));
}

TEST_F(ExplainProgram, ShowsWhatTheSequenceNetworksScoresAreMadeOf) {
    const Json why = Json::parse(
        this->run({"--network", "--json", "--last", "app.29", "--current", "app.28"}).out);
    const auto product = [](const Json& prediction) {
        double product = 1;
        for (const Json& part : prediction["parts"]) product *= part.get<double>();
        return product;
    };
    const Json& first = why["predictions"][0];
    const Json& second = why["predictions"][1];
    EXPECT_EQ(first["parts"].size(), 4U);
    EXPECT_NEAR(first["score"].get<double>() / second["score"].get<double>(),
                product(first) / product(second), 1e-4 * product(first) / product(second));
    EXPECT_GT(first["parts"]["network"], second["parts"]["network"]);
    EXPECT_THAT(this->run({"--last", "app.29", "--current", "app.28"}).out,
                HasSubstr("what the network learned when it was trained"));
}

TEST_F(ExplainProgram, SaysWhatTheEngineDoesWithNamesThatItDoesNotKnow) {
    const struct {
        std::vector<std::string> arguments;
        const char* words;
    } cases[] = {
        {{"--bayes", "--last", "com.a", "--current", "com.new"}, "under index 2"},
        {{"--bayes", "--last", "a name", "--current", "com.a"}, "is no package name"},
        {{"--bayes", "--last", "", "--current", "com.a"}, "Nothing is predicted."},
        {{"--last", "app.3", "--current", "com.a"}, "com.a is not among the 30"},
        {{"--last", "com.b", "--current", "com.a"}, "the Bayes model is not asked in its place"},
        {{"--last", "app.29", "--current", "app.28"}, "looked back on: app.29, then app.28"},
    };
    for (const auto& [arguments, words] : cases) {
        const ProgramRun run = this->run(arguments);
        EXPECT_EQ(run.status, 0) << words;
        EXPECT_THAT(run.out, HasSubstr(words));
    }
}

TEST_F(ExplainProgram, RefusesWhatCannotBeExplained) {
    const TempDir empty;
    EXPECT_EQ(runKsbrain({"explain", empty.path()}).status, 2);
    EXPECT_THAT(runKsbrain({"explain", empty.path()}).err, HasSubstr("ksbrain replay --data-dir"));
    EXPECT_THAT(this->run({"--time", "noon"}).err, HasSubstr("--time: \"noon\""));
    EXPECT_EQ(this->run({"--last", "com.a"}).status, 2);
    EXPECT_EQ(this->run({"--bayes", "--network"}).status, 2);
    mFiles.write("AppHistory", "com.a\n");
    EXPECT_THAT(this->run({}).err, HasSubstr("give them with --last and --current"));
    mFiles.write("AppPreloadMap", "appmap 2\ncom.a 0\ncom.b 0\n");
    EXPECT_THAT(this->run({"--bayes", "--last", "com.a", "--current", "com.b"}).err,
                HasSubstr("AppPreloadMap: line 3"));
}

}  // namespace
