#include "tools/common/DataDirectory.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

constexpr mode_t MODE = 0775;  // as the engine makes it

bool isWritable(const std::string& directory) {
    return access((directory + "/.").c_str(), R_OK | W_OK | X_OK) == 0;
}

// The engine rewrites its files all the time, and nothing is to be kept: memory suits best.
std::string temporaryParent() {
    const char* const chosen = getenv("TMPDIR");
    if (chosen != nullptr && *chosen != '\0') return chosen;
    return isWritable("/dev/shm") ? "/dev/shm" : "/tmp";
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() : mPath(temporaryParent() + "/ksbrain-XXXXXX") {
    if (mkdtemp(mPath.data()) == nullptr) {
        throw std::runtime_error(printable(mPath) + ": no temporary directory: " + strerror(errno));
    }
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

void prepareDataDirectory(const std::string& path) {
    const auto refuse = [&](const char* reason) {
        throw InputError(printable(path) + ": " + reason + ": " + strerror(errno));
    };
    const bool there = mkdir(path.c_str(), MODE) == 0 || errno == EEXIST;
    if (!there) refuse("the data directory cannot be made");
    if (!isWritable(path)) refuse("is no directory that the engine can write");
}

DirectoryLock::DirectoryLock(const std::string& path)
    : mDescriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    // A file system without locks does not keep one from working on it.
    if (mDescriptor < 0 || flock(mDescriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK)
        return;
    close(mDescriptor);
    throw InputError(printable(path) +
                     ": another run uses the directory: wait for its end, or name another one");
}

DirectoryLock::~DirectoryLock() {
    if (mDescriptor >= 0) close(mDescriptor);
}

bool canHoldData(const std::string& path) {
    if (access(path.c_str(), F_OK) == 0) return isWritable(path);
    return isWritable(std::filesystem::path(path).parent_path());
}
