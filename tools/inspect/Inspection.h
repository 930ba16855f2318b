#pragma once

#include <map>
#include <string>
#include <vector>

#include "tools/inspect/FileReport.h"

// What lies in a data directory of the engine, file by file.
struct Inspection {
    std::string directory;
    std::vector<FileReport> reports;
    std::map<std::string, uint64_t> foreign;

    // Whether nothing that is there is the engine's.
    bool empty() const;

    // Whether everything that is there is whole, and would be taken by the next start.
    bool whole() const;
};

// Reads the directory and changes nothing in it. Throws InputError when it cannot be listed.
Inspection inspectDirectory(const std::string& directory);

std::string inspectionText(const Inspection& inspection);
std::string inspectionJson(const Inspection& inspection);
