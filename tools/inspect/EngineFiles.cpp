#include "tools/inspect/EngineFiles.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <stdexcept>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

// Far above what the engine writes; a file beyond it is not read.
constexpr uint64_t MAX_BYTES = 256 << 20;

bool isEngineFile(const std::string& name) {
    using namespace engine_file;
    static const std::set<std::string> names = [] {
        std::set<std::string> all = {NETWORK, UNFINISHED_NETWORK};
        for (const char* const file : {MODEL, APP_TABLE, HISTORY, USAGE, EVALUATION}) {
            all.insert({file, backupOf(file)});
        }
        return all;
    }();
    return names.count(name) > 0;
}

StoredFile readFile(const std::filesystem::path& path) {
    StoredFile file;
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (std::filesystem::is_regular_file(status)) {
        file.bytes = std::filesystem::file_size(path, error);
    } else if (!error) {  // opening a pipe would wait for its other end
        file.problem =
            std::filesystem::is_directory(status) ? "is a directory" : "is no ordinary file";
    }
    if (error) file.problem = error.message();
    if (file.bytes > MAX_BYTES) file.problem = "is far larger than the engine writes it";
    if (!file.problem.empty()) return file;
    const std::unique_ptr<FILE, int (*)(FILE*)> stream(fopen(path.c_str(), "re"), &fclose);
    file.content.resize(stream == nullptr ? 0 : file.bytes);
    if (stream != nullptr) {
        file.content.resize(fread(file.content.data(), 1, file.content.size(), stream.get()));
    }
    if (stream == nullptr || ferror(stream.get()) != 0) file.problem = strerror(errno);
    return file;
}

}  // namespace

EngineFiles::EngineFiles(const std::string& directory) {
    std::error_code error;
    std::filesystem::directory_iterator entry(directory, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename();
        std::error_code ignored;
        if (isEngineFile(name)) {
            mFiles[name] = readFile(entry->path());
        } else {
            const bool plain = !entry->is_symlink(ignored) && entry->is_regular_file(ignored);
            mForeign[name] = plain ? entry->file_size(ignored) : 0;
        }
    }
    if (!error) return;
    throw InputError(printable(directory) +
                     ": the data directory cannot be read: " + error.message());
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
