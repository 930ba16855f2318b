#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "desktop/FileNeed.h"

// A process that has mapped files and sleeps until the end, with a child of its own that has too.
class Mapper {
  public:
    // Each maps its file with these rights and touches the pages; written ones become its own.
    struct Work {
        std::string path;
        int rights;
        std::vector<uint32_t> touched;
        std::vector<uint32_t> written;
    };

    Mapper(const Work& own, const Work& childs);
    ~Mapper();

    pid_t process() const { return mProcess; }
    pid_t child() const { return mChild; }

  private:
    Mapper(const Mapper&) = delete;
    Mapper& operator=(const Mapper&) = delete;

    pid_t mProcess;
    pid_t mChild;
};

// Whether the page of the file is among the needs.
bool isNeeded(const std::string& path, uint32_t page, const std::vector<FileNeed>& needs);
