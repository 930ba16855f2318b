#include "tools/common/OutputDirectory.h"

#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const std::string& path, const std::error_code& error) {
    throw std::runtime_error(printable(path) + ": cannot be made: " + error.message());
}

}  // namespace

OutputDirectory::OutputDirectory(const std::string& path) : mPath(path) {
    while (mPath.size() > 1 && mPath.back() == '/') mPath.pop_back();
    std::error_code error;
    if (fs::exists(mPath, error)) {
        if (!fs::is_directory(mPath, error)) {
            throw InputError(printable(mPath) + ": is no directory: name a new one");
        }
        if (!fs::is_empty(mPath, error)) {
            throw InputError(printable(mPath) +
                             ": is not empty: empty it first, or name a new one");
        }
        mPath = fs::canonical(mPath, error).string();
    }
    if (error) fail(path, error);
    mTemporary = mPath + ".new-" + std::to_string(getpid());
    if (!fs::create_directory(mTemporary, error)) {
        mTemporary.clear();
        fail(path, error ? error : std::make_error_code(std::errc::file_exists));
    }
}

OutputDirectory::~OutputDirectory() {
    std::error_code ignored;
    if (!mTemporary.empty()) fs::remove_all(mTemporary, ignored);
}

void OutputDirectory::commit() {
    std::error_code error;
    fs::rename(mTemporary, mPath, error);
    if (error) fail(mPath, error);
    mTemporary.clear();
}
