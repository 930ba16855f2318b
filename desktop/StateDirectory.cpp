#include "desktop/StateDirectory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

namespace fs = std::filesystem;

constexpr mode_t OWNER_ONLY = 0700;  // what a person opens is nobody else's business

// Whether it is a directory that this user can write; errno says why not.
bool makeWritable(const std::string& path) {
    std::error_code error;
    fs::create_directories(fs::path(path).parent_path(), error);
    if (mkdir(path.c_str(), OWNER_ONLY) != 0 && errno != EEXIST) return false;
    return access((path + "/.").c_str(), R_OK | W_OK | X_OK) == 0;
}

// root writes wherever the file system lets it, whatever access() says of the rights.
bool canHoldFiles(const std::string& path) {
    const std::string probe = path + "/.writable";
    const int descriptor = creat(probe.c_str(), 0600);
    if (descriptor < 0) return false;
    close(descriptor);
    unlink(probe.c_str());
    return true;
}

}  // namespace

StateDirectory::StateDirectory(const std::string& path) {
    std::string directory = path;
    if (makeWritable(path) && makeWritable(path + "/engine") && canHoldFiles(path)) {
        mLock = std::make_unique<DirectoryLock>(path);
    } else {
        fprintf(stderr, "%s cannot be written: %s; what is learned now is lost at the end\n",
                printable(path).c_str(), strerror(errno));
        directory = mCopy.emplace().path();
        std::error_code ignored;
        fs::copy(path, directory, fs::copy_options::recursive, ignored);
        fs::permissions(directory, fs::perms::owner_all, ignored);
        makeWritable(directory + "/engine");
    }
    mEngine = directory + "/engine";
    mNeeds = needsIn(directory);
}

std::string StateDirectory::usual() {
    const char* const state = getenv("XDG_STATE_HOME");
    if (state != nullptr && *state == '/') return std::string(state) + "/ksbrain";
    const char* const home = getenv("HOME");
    if (home == nullptr || *home != '/') {
        throw InputError("no state directory: set XDG_STATE_HOME or HOME, or give --state DIR");
    }
    return std::string(home) + "/.local/state/ksbrain";
}
