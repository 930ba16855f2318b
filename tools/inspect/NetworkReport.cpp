#include <sstream>

#include "tools/common/Text.h"
#include "tools/inspect/FileReport.h"
#include "tools/inspect/StrictLines.h"
#include "zml/Bytes.h"
#include "zml/Crc32.h"
#include "zml/NetworkFile.h"

namespace {

constexpr size_t MAGIC_SIZE = 8;
constexpr size_t HEADER_SIZE = 28;
constexpr size_t CHECKSUM_SIZE = 4;

const char* kindName(uint32_t kind) {
    switch (kind) {
        case 1:
            return "counts alone";
        case 2:
            return "a neural network beside counts";
        default:
            return "unknown to this version";
    }
}

// What stands in the header, as far as there is one.
void describe(FileReport& report, const std::string& text) {
    const zml::Bytes bytes(text.begin(), text.end());
    if (bytes.size() < HEADER_SIZE + CHECKSUM_SIZE ||
        text.compare(0, MAGIC_SIZE, "ZMLNETWK") != 0) {
        return;
    }
    const uint32_t version = zml::readU32(bytes, MAGIC_SIZE);
    const uint32_t kind = zml::readU32(bytes, MAGIC_SIZE + 4);
    const uint32_t size = zml::readU32(bytes, MAGIC_SIZE + 16);
    const size_t checked = bytes.size() - CHECKSUM_SIZE;
    const bool right = zml::readU32(bytes, checked) == zml::crc32(bytes.data(), checked);
    report.facts["version"] = version;
    report.facts["kind"] = kind;
    report.facts["parameterBytes"] = size;
    report.facts["checksumRight"] = right;
    report.remark("Version " + std::to_string(version) + ", kind " + std::to_string(kind) + " (" +
                  kindName(kind) + "), " + grouped(size) + " bytes of parameters; its CRC-32 is " +
                  (right ? "right." : "wrong."));
}

}  // namespace

FileReport reportNetwork(const EngineFiles& files, const EngineStart& start) {
    FileReport report("sequence network", engine_file::NETWORK);
    const StoredFile* const file = files.find(report.name);
    const bool leftOver = files.find(report.name + ".tmp") != nullptr;
    report.facts["unfinishedSave"] = leftOver;
    if (file != nullptr) {
        report.bytes = file->bytes;
        report.state = FileState::WHOLE;
        zml::StoredNetwork network;
        std::string problem;
        const auto read =
            zml::NetworkFile(start.directory(), "aiPreloadApp").read(network, problem);
        report.facts["loads"] = start.networkReady();
        describe(report, file->content);
        if (!file->problem.empty()) {
            report.damaged("It cannot be read: " + file->problem + ".");
        } else if (read != zml::NetworkFile::Read::WHOLE) {
            report.damaged("It counts as no network at the next start: it is " + problem + ".");
        } else if (!start.networkReady()) {
            const StoredFile* const usage = files.find(engine_file::USAGE);
            const bool noTable = usage != nullptr && !start.content(engine_file::USAGE);
            report.refused(noTable ? "The next start would not look at it, since it refuses the "
                                     "usage table."
                                   : "The next start would refuse it: its parameters are not of a "
                                     "kind that this engine reads.");
        }
    }
    if (leftOver) {
        report.remark("An unfinished save lies beside it (" + report.name +
                      ".tmp): the engine never reads that, and its next training replaces it.");
    }
    return report;
}

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
    const auto rate = [&](int hits) {
        return hits < 0 || loaded.appOpenCount < 0
                   ? "-"
                   : percentage(static_cast<uint64_t>(hits),
                                static_cast<uint64_t>(loaded.appOpenCount));
    };
    report.facts["predictor"] = isNetwork ? "network" : "bayes";
    report.facts["top1"] = loaded.top1HitCount;
    report.facts["top4"] = loaded.top4HitCount;
    report.facts["opened"] = loaded.appOpenCount;
    const std::string count = loaded.appOpenCount < 0
                                  ? std::to_string(loaded.appOpenCount) + " openings"
                                  : amount(static_cast<uint64_t>(loaded.appOpenCount), "opening");
    report.remark(std::string("The last prediction came from the ") +
                  (isNetwork ? "sequence network" : "Bayes model") + ". Of " + count +
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
