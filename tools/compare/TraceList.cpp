#include "tools/compare/TraceList.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

namespace fs = std::filesystem;

void addDirectory(const std::string& directory, std::vector<std::string>& files) {
    std::vector<std::string> found;
    try {
        for (auto entry = fs::recursive_directory_iterator(directory);
             entry != fs::recursive_directory_iterator(); ++entry) {
            const bool hidden = entry->path().filename().string()[0] == '.';
            if (hidden && entry->is_directory()) entry.disable_recursion_pending();
            if (!hidden && !entry->is_directory()) found.push_back(entry->path());
        }
    } catch (const fs::filesystem_error& error) {
        throw InputError(printable(directory) +
                         ": the directory cannot be read: " + error.code().message());
    }
    std::sort(found.begin(), found.end());
    files.insert(files.end(), found.begin(), found.end());
}

void readList(const std::string& path, std::vector<std::string>& arguments) {
    std::ifstream file;
    if (path != "-") {
        file.open(path);
        if (!file) throw InputError(printable(path) + ": cannot be opened");
    }
    std::istream& lines = path == "-" ? std::cin : file;
    std::string line;
    while (std::getline(lines, line)) {
        if (!line.empty()) arguments.push_back(line);
    }
    if (lines.bad()) throw InputError(printable(path) + ": cannot be read");
}

}  // namespace

std::vector<std::string> listTraces(const std::vector<std::string>& arguments,
                                    const std::optional<std::string>& listFile) {
    std::vector<std::string> all = arguments;
    if (listFile) readList(*listFile, all);
    std::vector<std::string> files;
    for (const std::string& argument : all) {
        std::error_code ignored;
        if (fs::is_directory(argument, ignored)) {
            addDirectory(argument, files);
        } else {
            files.push_back(argument);
        }
    }
    if (files.empty()) {
        throw InputError("there is no trace: name files or a directory that holds some");
    }
    std::set<std::string> seen;
    for (const std::string& file : files) {
        if (!seen.insert(file).second) throw InputError(printable(file) + ": is named twice");
    }
    return files;
}
