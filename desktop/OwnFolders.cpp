#include "desktop/OwnFolders.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <set>

namespace {

namespace fs = std::filesystem;

constexpr size_t MOST_LOOKED_AT = 5000;
constexpr uint64_t MOST_BYTES = 64 << 20;
constexpr size_t SHORTEST_NAME = 3;

bool isLater(const timespec& a, const timespec& b) {
    return a.tv_sec != b.tv_sec ? a.tv_sec > b.tv_sec : a.tv_nsec > b.tv_nsec;
}

// The libraries' folders of this machine's kind.
std::vector<fs::path> libraryFolders() {
    std::vector<fs::path> folders = {"/usr/lib"};
    std::error_code error;
    for (const char* const triplet : {"x86_64-linux-gnu", "aarch64-linux-gnu"}) {
        const fs::path folder = folders.front() / triplet;
        if (fs::is_directory(folder, error)) folders.push_back(folder);
    }
    return folders;
}

bool isLibraryFolder(const fs::path& path) {
    const std::vector<fs::path> folders = libraryFolders();
    return std::find(folders.begin(), folders.end(), path) != folders.end();
}

std::set<std::string> namesOf(const fs::path& program) {
    const std::string file = program.filename();
    std::set<std::string> names = {file.substr(0, file.find_first_of("-."))};
    for (const fs::path& folder : libraryFolders()) {
        const fs::path below = program.lexically_relative(folder);
        if (below.empty() || std::next(below.begin()) == below.end()) continue;
        const fs::path first = *below.begin();
        if (first != ".." && !isLibraryFolder(folder / first)) names.insert(first);
    }
    return names;
}

// Adds the file if the rule counts it.
void add(const fs::path& path, std::vector<FileNeed>& files, uint64_t& bytes) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0)
        return;
    if (!isLater(status.st_atim, status.st_ctim)) return;
    const auto size = static_cast<uint64_t>(status.st_size);
    if (bytes + size > MOST_BYTES) return;
    const OpenFile file(path);
    if (file.descriptor() < 0) return;
    bytes += size;
    const auto pages = static_cast<uint32_t>((size + PAGE_BYTES - 1) / PAGE_BYTES);
    files.push_back({path, file.state(), placeOnDisk(file.descriptor(), 0), {{0, pages}}});
}

}  // namespace

std::vector<std::string> ownFolders(const std::string& program) {
    std::vector<std::string> folders;
    for (const std::string& name : namesOf(program)) {
        if (name.size() < SHORTEST_NAME) continue;
        for (const fs::path& folder : libraryFolders()) {
            folders.push_back(folder / name);
        }
        for (const char* const parent : {"/usr/share/", "/usr/libexec/", "/etc/", "/opt/"}) {
            folders.push_back(parent + name);
        }
    }
    return folders;
}

std::vector<FileNeed> filesOfOwnFolders(const std::string& program) {
    std::vector<FileNeed> files;
    uint64_t bytes = 0;
    size_t lookedAt = 0;
    for (const std::string& folder : ownFolders(program)) {
        std::error_code error;
        fs::recursive_directory_iterator entry(
            folder, fs::directory_options::skip_permission_denied, error);
        for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
            if (++lookedAt > MOST_LOOKED_AT) return files;
            add(entry->path(), files, bytes);
        }
    }
    return files;
}
