#include "tools/inspect/EngineFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

// Far above what the engine writes; a file beyond it is not read.
constexpr uint64_t MAX_BYTES = 256 << 20;

bool isEngineFile(const std::string& name) {
    using namespace engine_file;
    const std::string names[] = {
        MODEL,      backupOf(MODEL), APP_TABLE, backupOf(APP_TABLE),          HISTORY, USAGE,
        EVALUATION, backupOf(USAGE), NETWORK,   std::string(NETWORK) + ".tmp"};
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

std::string readAll(int file, std::string& content) {
    char buffer[64 * 1024];
    for (;;) {
        const ssize_t count = read(file, buffer, sizeof(buffer));
        if (count == 0) return "";
        if (count > 0) {
            content.append(buffer, static_cast<size_t>(count));
        } else if (errno != EINTR) {
            return strerror(errno);
        }
    }
}

StoredFile readFile(const std::string& path) {
    StoredFile file;
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        file.problem = strerror(errno);
        return file;
    }
    file.bytes = static_cast<uint64_t>(status.st_size);
    if (!S_ISREG(status.st_mode)) {  // opening a pipe would wait for its other end
        file.bytes = 0;
        file.problem = S_ISDIR(status.st_mode) ? "is a directory" : "is no ordinary file";
        return file;
    }
    if (file.bytes > MAX_BYTES) {
        file.problem = "is far larger than the engine writes it";
        return file;
    }
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        file.problem = strerror(errno);
        return file;
    }
    file.problem = readAll(descriptor, file.content);
    close(descriptor);
    return file;
}

uint64_t sizeOf(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)
               ? static_cast<uint64_t>(status.st_size)
               : 0;
}

}  // namespace

EngineFiles EngineFiles::read(const std::string& directory) {
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), &closedir);
    if (stream == nullptr) {
        throw InputError(printable(directory) +
                         ": the data directory cannot be read: " + strerror(errno));
    }
    EngineFiles files;
    while (const dirent* const entry = readdir(stream.get())) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        const std::string path = directory + "/" + name;
        if (isEngineFile(name)) {
            files.mFiles[name] = readFile(path);
        } else {
            files.mForeign[name] = sizeOf(path);
        }
    }
    return files;
}

const StoredFile* EngineFiles::find(const std::string& name) const {
    const auto found = mFiles.find(name);
    return found == mFiles.end() ? nullptr : &found->second;
}

void EngineFiles::copyTo(const std::string& directory) const {
    for (const auto& [name, file] : mFiles) {
        const std::string path = directory + "/" + name;
        if (!file.problem.empty()) {
            // A link to itself keeps everybody out, root included.
            if (symlink(name.c_str(), path.c_str()) == 0) continue;
        } else {
            std::ofstream out(path, std::ios::binary);
            out << file.content;
            out.close();
            if (out) continue;
        }
        throw std::runtime_error(printable(path) +
                                 ": the copy cannot be written: " + strerror(errno));
    }
}
