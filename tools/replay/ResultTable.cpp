#include "tools/replay/ResultTable.h"

#include <unistd.h>

#include <nlohmann/json.hpp>

#include "tools/common/Colour.h"
#include "tools/common/JsonLine.h"
#include "tools/common/Text.h"
#include "tools/common/TimeZone.h"

namespace {

std::string count(int number) {
    return grouped(static_cast<uint64_t>(number));
}

std::string predictorRow(const char* name, const PredictorScore& score) {
    const auto rate = [&](int hits) {
        return percentage(static_cast<uint64_t>(hits), static_cast<uint64_t>(score.opened));
    };
    return formatted("%-18s%10s%12s%9s%12s%9s\n", name, count(score.opened).c_str(),
                     count(score.top1).c_str(), rate(score.top1).c_str(), count(score.top4).c_str(),
                     rate(score.top4).c_str());
}

std::string totalRow(const char* name, const std::string& value, const std::string& remark = "") {
    return formatted("%-18s%10s%s\n", name, value.c_str(), remark.c_str());
}

Json scoreJson(const PredictorScore& score) {
    return {{"opened", score.opened}, {"top1", score.top1}, {"top4", score.top4}};
}

}  // namespace

std::string resultTable(const ReplayResult& result) {
    const std::string rule = coloured(std::string(70, '-'), Colour::DIM, STDOUT_FILENO);
    return coloured("predictor             scored   top-1 hits     rate  top-4 hits     rate",
                    Colour::BOLD, STDOUT_FILENO) +
           "\n" + rule + "\n" + predictorRow("Bayes", result.bayes) +
           predictorRow("sequence network", result.network) + rule + "\n" +
           totalRow("openings", grouped(result.openings),
                    "   of " + count(result.apps) + " apps in the table, " +
                        grouped(result.predictions) + " answered with a prediction") +
           totalRow("trainings", count(result.trainings)) +
           totalRow("zone", printable(zoneName())) +
           totalRow("time taken", formatted("%.2f s", result.duration.count()));
}

std::string resultJson(const ReplayResult& result) {
    Json network = scoreJson(result.network);
    network["trainings"] = result.trainings;
    Json object;
    object["openings"] = result.openings;
    object["predictions"] = result.predictions;
    object["bayes"] = scoreJson(result.bayes);
    object["network"] = network;
    object["apps"] = result.apps;
    object["zone"] = zoneName();
    object["seconds"] = std::round(result.duration.count() * 1000) / 1000;
    return jsonLine(object);
}
