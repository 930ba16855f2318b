#pragma once

#include <sys/types.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "desktop/FileNeed.h"

// What a running application has of files, as /proc tells its owner.

// The process and its descendants, at most some hundred; without the `others` below it and theirs.
// Those that end meanwhile are left out.
std::vector<pid_t> processTree(pid_t root, const std::set<pid_t>& others = {});

// The parts of files that the processes have mapped and touched. A page counts once a process had
// it in its page table (pagemap), which its user may ask about; mincore() tells of other users'
// files that all of it is in memory. Files of the system count in any case; those below `home` and
// in places for passing things (/tmp, /run, /dev and so on) only where they are mapped as programs.
// A file that is not any more what the process mapped is left out.
std::vector<FileNeed> mappedFiles(const std::vector<pid_t>& processes, const std::string& home);

// The program that a process runs; empty when that cannot be read.
std::string programOf(pid_t process);

// What the processes, and those of their children that have ended, had fetched from disks.
uint64_t bytesFromDisk(const std::vector<pid_t>& processes);
