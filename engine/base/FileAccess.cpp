#include "base/FileAccess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/Environment.h"

namespace {

// Closed at the end of its life, with errno as it was.
class Descriptor {
  public:
    // Never waits, as opening a pipe would.
    Descriptor(const std::string& path, int flags, mode_t mode = 0)
        : mNumber(open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, mode)) {}
    ~Descriptor() {
        const int error = errno;
        if (mNumber >= 0) close(mNumber);
        errno = error;
    }

    // Whether it stands for a regular file, whose size this tells.
    bool isRegular(off_t& size) const {
        struct stat status {};
        if (mNumber < 0 || fstat(mNumber, &status) != 0) return false;
        size = status.st_size;
        if (!S_ISREG(status.st_mode)) errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return S_ISREG(status.st_mode);
    }

    int number() const { return mNumber; }

  private:
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    const int mNumber;
};

// As read() and write(), over interruptions by a signal.
template <typename Call, typename Buffer>
ssize_t transfer(Call call, int descriptor, Buffer* buffer, size_t size) {
    ssize_t count;
    do {
        count = call(descriptor, buffer, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

bool readAll(const Descriptor& file, size_t size, std::string& content) {
    constexpr size_t SPARE = 1;  // what is left of the room shows the end
    size_t filled = 0;
    content.resize(size + SPARE);
    while (true) {
        const ssize_t count =
            transfer(read, file.number(), content.data() + filled, content.size() - filled);
        if (count < 0) return false;
        filled += static_cast<size_t>(count);
        if (count == 0) break;
        if (filled == content.size()) content.resize(2 * filled);  // it has grown meanwhile
    }
    content.resize(filled);
    return true;
}

bool writeAll(const Descriptor& file, std::string_view content) {
    for (size_t written = 0; written < content.size();) {
        const ssize_t count =
            transfer(write, file.number(), content.data() + written, content.size() - written);
        if (count < 0) return false;
        written += static_cast<size_t>(count);
    }
    return true;
}

// Notes the failure that errno names, and keeps errno.
void note(const std::string& path) {
    const int error = errno;
    environment::noteStorageFailure(path, error);
    errno = error;
}

}  // namespace

FileRead readFile(const std::string& path, size_t maxBytes, std::string& content) {
    const Descriptor file(path, O_RDONLY);
    if (file.number() < 0 && isAbsence(errno)) return FileRead::MISSING;
    off_t size = 0;
    if (file.isRegular(size)) {
        if (static_cast<uint64_t>(size) > maxBytes) {
            errno = EFBIG;
        } else if (readAll(file, static_cast<size_t>(size), content)) {
            return FileRead::READ;
        }
    }
    note(path);
    content.clear();
    return FileRead::FAILED;
}

FileWrite writeFile(const std::string& path, mode_t mode, std::string_view content, bool synced) {
    const Descriptor file(path, O_WRONLY | O_CREAT | O_TRUNC, mode);
    FileWrite result = FileWrite::WRITTEN;
    if (file.number() < 0) {
        result = FileWrite::OPEN_FAILED;
    } else if (!writeAll(file, content) || (synced && !environment::sync(file.number()))) {
        result = FileWrite::WRITE_FAILED;
    }
    if (result != FileWrite::WRITTEN) note(path);
    return result;
}

bool appendToFile(const std::string& path, mode_t mode, std::string_view content) {
    const Descriptor file(path, O_WRONLY | O_CREAT | O_APPEND, mode);
    off_t size = 0;
    const bool regular = file.isRegular(size);
    if (regular && writeAll(file, content)) return true;
    note(path);
    // A name that was cut would be read back as another one.
    if (regular && ftruncate(file.number(), size) != 0) note(path);
    return false;
}

bool syncDirectoryOf(const std::string& path) {
    const std::string directory = path.substr(0, path.rfind('/'));
    const Descriptor opened(directory, O_RDONLY | O_DIRECTORY);
    if (opened.number() >= 0 && environment::sync(opened.number())) return true;
    note(directory);
    return false;
}
