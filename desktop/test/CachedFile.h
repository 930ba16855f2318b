#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "desktop/FileNeed.h"

// A file of so many pages on a disk, for trials of what is in the page cache.
class CachedFile {
  public:
    CachedFile(const std::string& path, uint32_t pages);

    // False on file systems that are memory themselves.
    bool dropFromCache() const;

    // The pages that are in the page cache, as mincore() tells a file's owner.
    std::vector<uint32_t> cachedPages() const;

    FileNeed need(std::vector<PageRange> pages) const;

    const std::string& path() const { return mPath; }

  private:
    const std::string mPath;
    const uint32_t mPages;
};
