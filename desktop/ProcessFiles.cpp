#include "desktop/ProcessFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>

#include "tools/common/Text.h"

namespace {

constexpr size_t MOST_PROCESSES = 256;
constexpr size_t MOST_FILES = 2000;
constexpr uint64_t PRESENT_OR_SWAPPED = uint64_t{3} << 62;  // a page of pagemap

std::string procPath(pid_t process, const char* file) {
    return "/proc/" + std::to_string(process) + "/" + file;
}

struct Mapping {
    uint64_t begin;
    uint64_t end;
    uint64_t offset;
    uint64_t inode;
    bool isProgram;
    std::string path;
};

// A line of maps that names a file: "7f..-7f.. r-xp 00001000 fe:00 1234    /usr/bin/xterm".
std::optional<Mapping> parseMapping(const std::string& line) {
    Mapping mapping{};
    char rights[5] = {};
    int path = 0;
    if (sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64 " %4s %" SCNx64 " %*x:%*x %" SCNu64 " %n",
               &mapping.begin, &mapping.end, rights, &mapping.offset, &mapping.inode, &path) < 5) {
        return {};
    }
    mapping.path = line.substr(static_cast<size_t>(path));
    mapping.isProgram = rights[2] == 'x';
    if (mapping.inode == 0 || !startsWith(mapping.path, "/")) return {};
    return mapping;
}

bool isBelow(const std::string& path, const std::string& folder) {
    return startsWith(path, folder) && path.size() > folder.size() && path[folder.size()] == '/';
}

bool mayBeRead(const Mapping& mapping, const std::string& home) {
    if (mapping.isProgram) return true;
    if (!home.empty() && isBelow(mapping.path, home)) return false;
    constexpr const char* PASSING[] = {"/home", "/root", "/tmp", "/var/tmp", "/run",
                                       "/dev",  "/proc", "/sys", "/media",   "/mnt"};
    return std::none_of(std::begin(PASSING), std::end(PASSING),
                        [&](const char* folder) { return isBelow(mapping.path, folder); });
}

// Pages of one file that processes have, while they are gathered.
struct Gathered {
    uint64_t inode;
    bool mayBeRead;  // by at least one of its mappings
    std::vector<uint32_t> pages;
};

void gatherPages(int pagemap, const Mapping& mapping, std::vector<uint32_t>& pages) {
    std::array<uint64_t, 512> entries;
    const uint64_t last = mapping.end / PAGE_BYTES;
    for (uint64_t page = mapping.begin / PAGE_BYTES; page < last; page += entries.size()) {
        const size_t wanted = std::min<uint64_t>(entries.size(), last - page);
        const ssize_t bytes = pread(pagemap, entries.data(), wanted * sizeof(entries[0]),
                                    static_cast<off_t>(page * sizeof(entries[0])));
        if (bytes <= 0) return;  // it has ended
        for (size_t i = 0; i < static_cast<size_t>(bytes) / sizeof(entries[0]); ++i) {
            if ((entries[i] & PRESENT_OR_SWAPPED) == 0) continue;
            const uint64_t inMapping = page + i - mapping.begin / PAGE_BYTES;
            pages.push_back(static_cast<uint32_t>(mapping.offset / PAGE_BYTES + inMapping));
        }
    }
}

void sortOut(std::vector<uint32_t>& pages) {
    std::sort(pages.begin(), pages.end());
    pages.erase(std::unique(pages.begin(), pages.end()), pages.end());
}

void gather(pid_t process, const std::string& home, std::map<std::string, Gathered>& files) {
    std::ifstream maps(procPath(process, "maps"));
    const int pagemap = open(procPath(process, "pagemap").c_str(), O_RDONLY | O_CLOEXEC);
    std::string line;
    while (pagemap >= 0 && std::getline(maps, line)) {
        const std::optional<Mapping> mapping = parseMapping(line);
        if (!mapping) continue;
        const auto found = files.find(mapping->path);
        if (found == files.end() && files.size() == MOST_FILES) continue;
        Gathered& file = found != files.end() ? found->second : files[mapping->path];
        file.inode = mapping->inode;
        file.mayBeRead |= mayBeRead(*mapping, home);
        gatherPages(pagemap, *mapping, file.pages);
    }
    if (pagemap >= 0) close(pagemap);
    for (auto& [path, file] : files) sortOut(file.pages);
}

}  // namespace

std::vector<pid_t> processTree(pid_t root, const std::set<pid_t>& others) {
    std::vector<pid_t> tree = {root};
    for (size_t i = 0; i < tree.size(); ++i) {
        std::error_code error;
        const std::filesystem::directory_iterator threads(procPath(tree[i], "task"), error);
        if (error) continue;
        for (auto thread = begin(threads); thread != end(threads); thread.increment(error)) {
            std::ifstream children(thread->path() / "children");
            for (pid_t child; children >> child;) {
                if (tree.size() < MOST_PROCESSES && others.count(child) == 0) tree.push_back(child);
            }
            if (error) break;
        }
    }
    return tree;
}

std::vector<FileNeed> mappedFiles(const std::vector<pid_t>& processes, const std::string& home) {
    std::map<std::string, Gathered> files;
    for (const pid_t process : processes) gather(process, home, files);

    std::vector<FileNeed> needs;
    for (auto& [path, file] : files) {
        if (!file.mayBeRead) continue;
        const OpenFile now(path);
        if (now.descriptor() < 0 || now.state().inode != file.inode || file.pages.empty()) continue;
        const auto pages = static_cast<uint64_t>(now.state().size) / PAGE_BYTES + 1;
        while (!file.pages.empty() && file.pages.back() >= pages) file.pages.pop_back();
        if (file.pages.empty()) continue;
        needs.push_back({path, now.state(), placeOnDisk(now.descriptor(), file.pages.front()),
                         rangesOf(file.pages)});
        file.pages = {};
    }
    return needs;
}

std::string programOf(pid_t process) {
    std::error_code error;
    return std::filesystem::read_symlink(procPath(process, "exe"), error);
}

uint64_t bytesFromDisk(const std::vector<pid_t>& processes) {
    uint64_t bytes = 0;
    for (const pid_t process : processes) {
        std::ifstream io(procPath(process, "io"));
        for (std::string line; std::getline(io, line);) {
            uint64_t read = 0;
            if (sscanf(line.c_str(), "read_bytes: %" SCNu64, &read) == 1) bytes += read;
        }
    }
    return bytes;
}
