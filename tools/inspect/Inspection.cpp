#include "tools/inspect/Inspection.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "tools/common/Colour.h"
#include "tools/common/Text.h"

namespace {

constexpr size_t LINE_WIDTH = 96;

// The sentence in lines of at most LINE_WIDTH characters, indented.
std::string wrapped(const std::string& sentence) {
    const std::string indent(4, ' ');
    std::string result;
    std::string line = indent;
    size_t begin = 0;
    while (begin < sentence.size()) {
        const size_t end = std::min(sentence.find(' ', begin), sentence.size());
        const std::string word = sentence.substr(begin, end - begin);
        if (line.size() > indent.size() && line.size() + 1 + word.size() > LINE_WIDTH) {
            result += line + '\n';
            line = indent;
        }
        if (line.size() > indent.size()) line += ' ';
        line += word;
        begin = end + 1;
    }
    return result + line + '\n';
}

// For standard output.
std::string stateText(FileState state) {
    switch (state) {
        case FileState::MISSING:
            return coloured(nameOf(state), Colour::DIM, STDOUT_FILENO);
        case FileState::WHOLE:
            return coloured(nameOf(state), Colour::GREEN, STDOUT_FILENO);
        case FileState::REFUSED:
            return coloured(nameOf(state), Colour::YELLOW, STDOUT_FILENO);
        case FileState::DAMAGED:
            return coloured(nameOf(state), Colour::RED, STDOUT_FILENO);
    }
    return "";
}

std::string bytesText(const FileReport& report) {
    return report.bytes == 0 && report.state == FileState::MISSING
               ? ""
               : grouped(report.bytes) + " bytes";
}

}  // namespace

bool Inspection::whole() const {
    return std::all_of(reports.begin(), reports.end(), [](const FileReport& report) {
        return report.state == FileState::MISSING || report.state == FileState::WHOLE;
    });
}

Inspection inspectDirectory(const std::string& directory) {
    const EngineFiles files = EngineFiles::read(directory);
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
        char head[160];
        snprintf(head, sizeof(head), "%-18s  %-24s  %14s   ", report.title.c_str(),
                 report.name.c_str(), bytesText(report).c_str());
        text += head + stateText(report.state) + '\n';
        for (const std::string& remark : report.remarks) text += wrapped(remark);
        text += '\n';
    }
    if (!inspection.foreign.empty()) {
        text += "not the engine's (it never looks at these)\n";
        for (const auto& [name, bytes] : inspection.foreign) {
            text += "    " + printable(name) + "  " + grouped(bytes) + " bytes\n";
        }
        text += '\n';
    }
    const auto missing = [](const FileReport& r) { return r.state == FileState::MISSING; };
    if (std::all_of(inspection.reports.begin(), inspection.reports.end(), missing)) {
        return text + "There is nothing here yet: a start of the engine would begin untrained.\n";
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
                                   {"facts", report.facts},
                                   {"remarks", report.remarks}});
    }
    object["foreign"] = Json::array();
    for (const auto& [name, bytes] : inspection.foreign) {
        object["foreign"].push_back({{"file", name}, {"bytes", bytes}});
    }
    return jsonLine(object);
}
