#include "desktop/OwnFolders.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "platform/workstation/SettableEnvironment.h"

namespace {

namespace fs = std::filesystem;

constexpr time_t A_DAY = 25 * 60 * 60;  // and some
constexpr size_t MOST_LOOKED_AT = 10'000;
constexpr size_t MOST_FILES = 1000;
constexpr uint64_t MOST_BYTES = 32 << 20;
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

struct ReadFile {
    std::string path;
    timespec read;
};

// The regular files below the folder that have been read of late.
void findRead(const std::string& folder, time_t since, size_t& lookedAt,
              std::vector<ReadFile>& found) {
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied,
                                           error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        if (++lookedAt > MOST_LOOKED_AT) return;
        struct stat status {};
        if (lstat(entry->path().c_str(), &status) != 0 || !S_ISREG(status.st_mode)) continue;
        const bool counts = isLater(status.st_atim, status.st_ctim) &&
                            status.st_atim.tv_sec >= since && status.st_size > 0;
        if (counts) found.push_back({entry->path(), status.st_atim});
    }
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
    std::vector<ReadFile> found;
    size_t lookedAt = 0;
    for (const std::string& folder : ownFolders(program)) {
        findRead(folder, environment::now() - A_DAY, lookedAt, found);
    }
    std::sort(found.begin(), found.end(),
              [](const ReadFile& a, const ReadFile& b) { return isLater(a.read, b.read); });

    std::vector<FileNeed> files;
    uint64_t left = MOST_BYTES;
    for (const ReadFile& one : found) {
        const OpenFile file(one.path);
        const uint64_t pages =
            (static_cast<uint64_t>(file.state().size) + PAGE_BYTES - 1) / PAGE_BYTES;
        if (file.descriptor() < 0 || pages == 0 || pages * PAGE_BYTES > left) continue;
        if (files.size() == MOST_FILES) break;
        left -= pages * PAGE_BYTES;
        files.push_back({one.path,
                         file.state(),
                         placeOnDisk(file.descriptor(), 0),
                         {{0, static_cast<uint32_t>(pages)}}});
    }
    return files;
}
