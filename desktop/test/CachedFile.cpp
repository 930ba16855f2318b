#include "desktop/test/CachedFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <fstream>

CachedFile::CachedFile(const std::string& path, uint32_t pages) : mPath(path), mPages(pages) {
    std::ofstream file(path, std::ios::trunc);
    for (uint32_t page = 0; page < pages; ++page) file << std::string(PAGE_BYTES, 'x');
}

bool CachedFile::dropFromCache() const {
    const OpenFile file(mPath);
    fsync(file.descriptor());
    posix_fadvise(file.descriptor(), 0, 0, POSIX_FADV_DONTNEED);
    return cachedPages().empty();
}

std::vector<uint32_t> CachedFile::cachedPages() const {
    const OpenFile file(mPath);
    const size_t length = mPages * PAGE_BYTES;
    void* const memory = mmap(nullptr, length, PROT_NONE, MAP_SHARED, file.descriptor(), 0);
    std::vector<unsigned char> isIn(mPages);
    mincore(memory, length, isIn.data());
    munmap(memory, length);
    std::vector<uint32_t> pages;
    for (uint32_t page = 0; page < mPages; ++page) {
        if ((isIn[page] & 1) != 0) pages.push_back(page);
    }
    return pages;
}

FileNeed CachedFile::need(std::vector<PageRange> pages) const {
    const OpenFile file(mPath);
    return {mPath, file.state(), 0, std::move(pages)};
}
