#include "tools/common/DataDirectory.h"

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

bool isDirectory(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isWritable(const std::string& directory) {
    return isDirectory(directory) && access(directory.c_str(), R_OK | W_OK | X_OK) == 0;
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
    const auto refuse = [&](const std::string& reason) {
        throw InputError(printable(path) + ": " + reason);
    };
    if (mkdir(path.c_str(), MODE) == 0) return;
    const int error = errno;
    if (error != EEXIST && !isDirectory(path)) {
        refuse(std::string("the data directory cannot be made: ") + strerror(error));
    }
    if (!isDirectory(path)) refuse("the data directory is no directory");
    if (!isWritable(path)) {
        refuse(std::string("the data directory is not writable: ") + strerror(errno));
    }
}

bool canHoldData(const std::string& path) {
    if (access(path.c_str(), F_OK) == 0) return isWritable(path);
    return isWritable(std::filesystem::path(path).parent_path());
}
