#pragma once

#include <string>
#include <vector>

#include "desktop/FileNeed.h"

// Programs also read files without mapping them: icons, menus, plug-ins that end at once. Which
// ones cannot be seen from outside, so this is a rule:
//
// The folders of a program are /usr/share/NAME, /usr/lib/NAME, /usr/lib/TRIPLET/NAME,
// /usr/libexec/NAME, /etc/NAME and /opt/NAME, where NAME is its file's name up to the first '-' or
// '.', or the folder below /usr/lib that it lies in. Of their files those count that have been
// read since they were installed: whose time of access is later than that of their last change.
// (The file systems of desktops keep that much of the times of access; mounted without, none
// counts.)

// At most some thousand files are looked at, and some MiB taken.
std::vector<FileNeed> filesOfOwnFolders(const std::string& program);

// The folders that the rule names for a program, whether they are there or not.
std::vector<std::string> ownFolders(const std::string& program);
