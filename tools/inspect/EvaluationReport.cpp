#include "tools/inspect/EvaluationReport.h"

#include <nlohmann/json.hpp>

#include "tools/common/JsonLine.h"
#include "tools/common/Text.h"
#include "tools/inspect/StrictLines.h"

FileReport reportEvaluation(const EngineFiles& files, const EngineStart& start) {
    FileReport report("evaluation", engine_file::EVALUATION);
    const std::string* const content = openReport(report, files);
    if (content == nullptr) return report;
    StrictLines lines(*content);
    const std::optional<int> network = lines.number("ai");
    const std::optional<int> top1 = lines.number("Top1AppHitCount");
    const std::optional<int> top4 = lines.number("Top4AppHitCount");
    const std::optional<int> opened = lines.number("AppOpenCount");
    lines.atEnd();

    const AppEvaluation& loaded = start.evaluation();
    const bool isNetwork = network ? *network == 1 : start.networkInUse();
    const bool anySense = loaded.appOpenCount >= 0;
    const auto rate = [&](int hits) {
        return hits < 0 || !anySense ? "-"
                                     : percentage(static_cast<uint64_t>(hits),
                                                  static_cast<uint64_t>(loaded.appOpenCount));
    };
    Json& facts = *report.facts;
    facts["predictor"] = isNetwork ? "network" : "bayes";
    facts["top1"] = loaded.top1HitCount;
    facts["top4"] = loaded.top4HitCount;
    facts["opened"] = loaded.appOpenCount;
    report.remark(std::string("The last prediction came from the ") +
                  (isNetwork ? "sequence network" : "Bayes model") + ". Of " +
                  (anySense ? amount(static_cast<uint64_t>(loaded.appOpenCount), "opening")
                            : std::to_string(loaded.appOpenCount) + " openings") +
                  " scored, it had " + rate(loaded.top1HitCount) + " first and " +
                  rate(loaded.top4HitCount) + " among its first four.");

    std::string problem = lines.problem();
    if (problem.empty() && *network != 0 && *network != 1) problem = "line 1: neither 0 nor 1";
    if (problem.empty() && (*top1 < 0 || *top4 < *top1 || *opened < 0)) {
        problem = "the counts contradict each other";
    }
    if (!problem.empty()) {
        report.damaged("It is not as the engine writes it: " + problem +
                       ". The next start reads it as far as it goes and begins the rest at 0.");
    }
    return report;
}
