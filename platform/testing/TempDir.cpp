#include "platform/testing/TempDir.h"

#include <dirent.h>
#include <ftw.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "platform/workstation/SettableEnvironment.h"

TempDir::TempDir() {
    const char* const directory = getenv("TMPDIR");
    mPath = std::string(directory == nullptr ? "/tmp" : directory) + "/ksbrain-XXXXXX";
    if (mkdtemp(mPath.data()) == nullptr) abort();
    environment::setDataDirectory(mPath);
}

TempDir::~TempDir() {
    remove();
}

void TempDir::remove() const {
    const auto removeEntry = [](const char* path, const struct stat*, int, FTW*) {
        return ::remove(path);
    };
    nftw(mPath.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
}

std::string TempDir::read(const std::string& name) const {
    std::ostringstream content;
    content << std::ifstream(file(name), std::ios::binary).rdbuf();
    return content.str();
}

void TempDir::write(const std::string& name, const std::string& content) const {
    std::ofstream(file(name), std::ios::binary) << content;
}

bool TempDir::exists(const std::string& name) const {
    return access(file(name).c_str(), F_OK) == 0;
}

std::vector<std::string> entriesOf(const std::string& directory) {
    std::vector<std::string> names;
    DIR* const stream = opendir(directory.c_str());
    while (const dirent* const entry = stream == nullptr ? nullptr : readdir(stream)) {
        if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0) {
            names.push_back(entry->d_name);
        }
    }
    if (stream != nullptr) closedir(stream);
    return names;
}
