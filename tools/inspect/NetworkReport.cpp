#include "tools/inspect/NetworkReport.h"

#include <nlohmann/json.hpp>

#include "preload/ZmlAdapter.h"
#include "tools/common/JsonLine.h"
#include "tools/common/Text.h"
#include "zml/NetworkFile.h"

namespace {

void describe(FileReport& report, const zml::NetworkHeader& header) {
    const std::string kind = header.kind == 1   ? "counts alone"
                             : header.kind == 2 ? "a neural network beside counts"
                                                : "unknown to this version";
    Json& facts = *report.facts;
    facts["version"] = header.version;
    facts["kind"] = header.kind;
    facts["parameterBytes"] = header.size;
    facts["checksumRight"] = header.checksumRight;
    report.remark("Version " + std::to_string(header.version) + ", kind " +
                  std::to_string(header.kind) + " (" + kind + "), " + grouped(header.size) +
                  " bytes of parameters; its CRC-32 is " +
                  (header.checksumRight ? "right." : "wrong."));
}

}  // namespace

FileReport reportNetwork(const EngineFiles& files, const EngineStart& start) {
    FileReport report("sequence network", engine_file::NETWORK);
    const bool leftOver = files.find(engine_file::UNFINISHED_NETWORK) != nullptr;
    (*report.facts)["unfinishedSave"] = leftOver;
    const std::string* const content = openReport(report, files, Backup::NONE);
    if (report.state != FileState::MISSING) (*report.facts)["loads"] = start.networkReady();
    if (content != nullptr) {
        const auto header = zml::NetworkFile::readHeader({content->begin(), content->end()});
        if (header) describe(report, *header);
        zml::StoredNetwork network;
        std::string problem;
        const zml::NetworkFile stored(environment::dataDirectory(), ZmlAdapter::SESSION_NAME);
        if (stored.read(network, problem) != zml::NetworkFile::Read::WHOLE) {
            report.damaged("It counts as no network at the next start: it is " + problem + ".");
        } else if (!start.networkReady()) {
            const bool noTable =
                files.find(engine_file::USAGE) != nullptr && !start.content(engine_file::USAGE);
            report.refused(noTable ? "The next start would not look at it, since it refuses the "
                                     "usage table."
                                   : "The next start would refuse it: its parameters are not of a "
                                     "kind that this engine reads.");
        }
    }
    if (leftOver) {
        report.remark(std::string("An unfinished save lies beside it (") +
                      engine_file::UNFINISHED_NETWORK +
                      "): the engine never reads that, and its next training replaces it.");
    }
    return report;
}
