#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

// The parts of files that an application needs.

// Pages of a file, PAGE_BYTES each.
struct PageRange {
    uint32_t first;
    uint32_t count;
};

constexpr uint64_t PAGE_BYTES = 4096;

// What tells a file from one that has been put in its place, or was changed.
struct FileState {
    uint64_t device = 0;
    uint64_t inode = 0;
    int64_t size = 0;
    int64_t changed = 0;  // nanoseconds since the epoch: of the content or the inode, as ctime

    bool operator==(const FileState& other) const {
        return device == other.device && inode == other.inode && size == other.size &&
               changed == other.changed;
    }
};

struct FileNeed {
    std::string path;
    FileState state;
    uint64_t place = 0;            // on the disk, in bytes, where its first needed page lies
    std::vector<PageRange> pages;  // ascending, apart from each other
};

// An open file for as long as it lives; -1 when it cannot be opened. Follows no pipe, device or
// terminal: only regular files are opened.
class OpenFile {
  public:
    explicit OpenFile(const std::string& path);
    ~OpenFile();

    int descriptor() const { return mDescriptor; }
    const FileState& state() const { return mState; }

  private:
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int mDescriptor = -1;
    FileState mState;
};

// Where the page lies on the disk, in bytes; 0 when the file system does not say.
uint64_t placeOnDisk(int descriptor, uint32_t page);

// Ascending page numbers as ranges. Those that stand nearer than some pages are joined: one longer
// read costs less than two.
std::vector<PageRange> rangesOf(const std::vector<uint32_t>& pages);

uint64_t bytesOf(const std::vector<PageRange>& pages);
uint64_t bytesOf(const std::vector<FileNeed>& files);
