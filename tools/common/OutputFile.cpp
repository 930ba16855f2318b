#include "tools/common/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "tools/common/InputError.h"
#include "tools/common/Output.h"
#include "tools/common/Text.h"

bool isStandardOutput(const std::string& output) {
    return output == "-";
}

void requireOtherFile(const std::string& input, const std::string& output) {
    if (isStandardOutput(output)) return;
    struct stat in {};
    struct stat out {};
    const bool haveBoth =
        (input == "-" ? fstat(STDIN_FILENO, &in) : stat(input.c_str(), &in)) == 0 &&
        stat(output.c_str(), &out) == 0;
    if (!haveBoth || !S_ISREG(in.st_mode) || in.st_dev != out.st_dev || in.st_ino != out.st_ino) {
        return;
    }
    throw InputError(printable(output) + ": is the file that is read: name another one to write");
}

OutputFile::OutputFile(const std::string& path) : mPath(path), mTarget(path) {
    if (isStandardOutput(path)) return;
    struct stat status {};
    const bool exists = stat(path.c_str(), &status) == 0;
    if (exists) {
        std::error_code ignored;
        const std::filesystem::path real = std::filesystem::canonical(path, ignored);
        if (!real.empty()) mTarget = real.string();
    }
    if (exists && S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        fail();
    }
    if (exists && !S_ISREG(status.st_mode)) {
        mDescriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    } else {
        mTemporary = mTarget + ".new-" + std::to_string(getpid());
        mDescriptor = open(mTemporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    }
    if (mDescriptor < 0) fail();
}

OutputFile::~OutputFile() {
    if (mDescriptor < 0) return;
    close(mDescriptor);
    if (!mTemporary.empty()) unlink(mTemporary.c_str());
}

void OutputFile::write(const std::string& text) {
    if (isStandardOutput(mPath)) return writeOutput(text);
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = ::write(mDescriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) fail();
        done += static_cast<size_t>(count);
    }
}

void OutputFile::commit() {
    if (isStandardOutput(mPath)) return;
    const int descriptor = mDescriptor;
    mDescriptor = -1;
    const bool closed = close(descriptor) == 0;
    if (mTemporary.empty()) {
        if (!closed) fail();
        return;
    }
    if (closed && rename(mTemporary.c_str(), mTarget.c_str()) == 0) return;
    const int error = errno;
    unlink(mTemporary.c_str());
    errno = error;
    fail();
}

void OutputFile::fail() const {
    throw std::runtime_error(printable(mPath) + ": cannot be written: " + strerror(errno));
}
