#pragma once

#include <string>
#include <vector>

#include "desktop/FileNeed.h"

// Programs also read files without mapping them: icons, menus, plug-ins that end at once. Which
// ones cannot be seen from outside, so this is a rule:
//
// The folders of a program are /usr/share/NAME, /usr/lib/NAME, /usr/lib/TRIPLET/NAME,
// /usr/libexec/NAME, /etc/NAME and /opt/NAME, where NAME is its file's name up to the first '-' or
// '.', or the folder below /usr/lib that it lies in. Of their files those count that were read
// since they were installed and within the last day, by their times of access. Whatever a program
// read when it was launched just now is among them: file systems note an access at least once a day
// (relatime). Where none is noted, no file counts.

// A thousand files and 32 MiB at most, those read last first.
std::vector<FileNeed> filesOfOwnFolders(const std::string& program);

// The folders that the rule names for a program, whether they are there or not.
std::vector<std::string> ownFolders(const std::string& program);
