#include "desktop/FileNeed.h"

#include <fcntl.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

namespace {

constexpr uint32_t NEAR = 8;  // pages

}  // namespace

OpenFile::OpenFile(const std::string& path)
    : mDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {
    if (mDescriptor < 0) return;
    struct stat status {};
    if (fstat(mDescriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        close(mDescriptor);
        mDescriptor = -1;
        return;
    }
    mState = {status.st_dev, status.st_ino, status.st_size,
              status.st_ctim.tv_sec * 1'000'000'000 + status.st_ctim.tv_nsec};
}

OpenFile::~OpenFile() {
    if (mDescriptor >= 0) close(mDescriptor);
}

uint64_t placeOnDisk(int descriptor, uint32_t page) {
    // A request with room for one extent behind it, which the structure ends in.
    alignas(fiemap) char request[sizeof(fiemap) + sizeof(fiemap_extent)] = {};
    auto* const map = reinterpret_cast<fiemap*>(request);
    map->fm_start = page * PAGE_BYTES;
    map->fm_length = PAGE_BYTES;
    map->fm_extent_count = 1;
    if (ioctl(descriptor, FS_IOC_FIEMAP, map) != 0 || map->fm_mapped_extents == 0) return 0;
    fiemap_extent extent;
    memcpy(&extent, request + sizeof(fiemap), sizeof(extent));
    return extent.fe_physical + (map->fm_start - extent.fe_logical);
}

std::vector<PageRange> rangesOf(const std::vector<uint32_t>& pages) {
    std::vector<PageRange> ranges;
    for (const uint32_t page : pages) {
        if (!ranges.empty() && page < ranges.back().first + ranges.back().count + NEAR) {
            const uint32_t count = page + 1 - ranges.back().first;
            if (count > ranges.back().count) ranges.back().count = count;
        } else {
            ranges.push_back({page, 1});
        }
    }
    return ranges;
}

uint64_t bytesOf(const std::vector<PageRange>& pages) {
    uint64_t bytes = 0;
    for (const PageRange& range : pages) bytes += range.count * PAGE_BYTES;
    return bytes;
}

uint64_t bytesOf(const std::vector<FileNeed>& files) {
    uint64_t bytes = 0;
    for (const FileNeed& file : files) bytes += bytesOf(file.pages);
    return bytes;
}
