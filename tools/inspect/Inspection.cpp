#include "tools/inspect/Inspection.h"

#include <unistd.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/common/Colour.h"
#include "tools/common/JsonLine.h"
#include "tools/common/Text.h"
#include "tools/inspect/ModelReport.h"
#include "tools/inspect/NetworkReport.h"
#include "tools/inspect/TextReports.h"

namespace {

constexpr size_t LINE_WIDTH = 96;

Colour colourOf(FileState state) {
    constexpr Colour COLOURS[] = {Colour::DIM, Colour::GREEN, Colour::YELLOW, Colour::RED};
    return COLOURS[static_cast<size_t>(state)];
}

std::string bytesText(const FileReport& report) {
    return report.bytes == 0 && report.state == FileState::MISSING
               ? ""
               : grouped(report.bytes) + " bytes";
}

}  // namespace

bool Inspection::empty() const {
    return std::all_of(reports.begin(), reports.end(),
                       [](const FileReport& report) { return report.state == FileState::MISSING; });
}

bool Inspection::whole() const {
    return std::all_of(reports.begin(), reports.end(), [](const FileReport& report) {
        return report.state == FileState::MISSING || report.state == FileState::WHOLE;
    });
}

Inspection inspectDirectory(const std::string& directory) {
    const EngineFiles files(directory);
    const EngineStart start(files);
    return {
        directory,
        {reportModel(files, start), reportAppTable(files, start), reportHistory(files),
         reportUsage(files, start), reportNetwork(files, start), reportEvaluation(files, start)},
        files.foreign()};
}

std::string inspectionText(const Inspection& inspection) {
    std::string text;
    for (const FileReport& report : inspection.reports) {
        text += padded(report.title, 18) + "  " + padded(report.name, 24) + "  " +
                rightAligned(bytesText(report), 14) + "   " +
                coloured(nameOf(report.state), colourOf(report.state), STDOUT_FILENO) + '\n';
        for (const std::string& remark : report.remarks) {
            text += "    " + wrapped(remark, 4, LINE_WIDTH) + '\n';
        }
        text += '\n';
    }
    if (!inspection.foreign.empty()) {
        text += "not the engine's (it never looks at these)\n";
        for (const auto& [name, bytes] : inspection.foreign) {
            text += "    " + printable(name) + "  " + grouped(bytes) + " bytes\n";
        }
        text += '\n';
    }
    if (inspection.empty()) {
        return text + "No file here is the engine's: a start of it would begin untrained.\n";
    }
    return text + (inspection.whole() ? "All that is there is whole.\n"
                                      : "Not everything is whole: see above.\n");
}

std::string inspectionJson(const Inspection& inspection) {
    Json object;
    object["directory"] = inspection.directory;
    object["whole"] = inspection.whole();
    object["files"] = Json::array();
    for (const FileReport& report : inspection.reports) {
        object["files"].push_back({{"what", report.title},
                                   {"file", report.name},
                                   {"state", nameOf(report.state)},
                                   {"bytes", report.bytes},
                                   {"facts", *report.facts},
                                   {"remarks", report.remarks}});
    }
    object["foreign"] = Json::array();
    for (const auto& [name, bytes] : inspection.foreign) {
        object["foreign"].push_back({{"file", name}, {"bytes", bytes}});
    }
    return jsonLine(object);
}
