#include "preload/BayesFile.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>

#include "base/Logger.h"
#include "preload/Bayes.h"
#include "preload/PersistentFile.h"

namespace {

constexpr char TAG[] = "bayes";

// Unsigned, since a damaged file can make it wrap.
std::atomic<uint32_t> gScanCount{0};

}  // namespace

// By hand, as the phone's C++ library is older than <charconv> and models are large.
ModelText& ModelText::operator<<(int number) {
    char digits[11];  // with a sign, the longest there is
    char* const end = digits + sizeof(digits);
    char* begin = end;
    uint32_t rest = static_cast<uint32_t>(number);
    if (number < 0) rest = 0 - rest;
    do {
        *--begin = static_cast<char>('0' + rest % 10);
        rest /= 10;
    } while (rest != 0);
    if (number < 0) *--begin = '-';
    mText.append(begin, static_cast<size_t>(end - begin));
    return *this;
}

int ModelScanner::scan(const char* format, ...) {
    mLastScan = ++gScanCount;
    va_list args;
    va_start(args, format);
    const int items = vfscanf(mFile, format, args);
    va_end(args);
    return items;
}

void ModelScanner::skipScans(int count) {
    gScanCount += static_cast<uint32_t>(count);
}

int storeModelText(const std::string& modelPath, const std::string& text) {
    const PersistentFile file(modelPath);
    const char* const path = file.path().c_str();
    const char* const backup = file.backupPath().c_str();
    switch (file.stepAside()) {
        case PersistentFile::StepAside::DONE:
            break;
        case PersistentFile::StepAside::REMOVE_FAILED:
            ENGINE_LOG(LEVEL_ERROR, TAG, "Bayes::storeDataToDiskLocked remove file %s error %d",
                       path, errno);
            return Bayes::ERROR_REMOVE;
        case PersistentFile::StepAside::RENAME_FAILED:
            ENGINE_LOG(LEVEL_ERROR, TAG,
                       "Bayes::storeDataToDiskLocked rename file %s to %s error %d", path, backup,
                       errno);
            return Bayes::ERROR_RENAME;
    }
    FILE* const stream = fopen(path, "w");
    if (stream == nullptr) {
        ENGINE_LOG(LEVEL_ERROR, TAG, "Bayes::storeDataToDiskLocked open file %s error %d", path,
                   errno);
        return Bayes::ERROR_OPEN;
    }
    // Flushed here, since a full disk shows only then and the backup must outlive it.
    if (fputs(text.c_str(), stream) == EOF || fflush(stream) == EOF) {
        ENGINE_LOG(LEVEL_ERROR, TAG, "Bayes::storeDataToDiskLocked fput file %s error %d", path,
                   errno);
        fclose(stream);
        return Bayes::ERROR_WRITE;
    }
    fclose(stream);
    if (!file.discardBackup()) {
        ENGINE_LOG(LEVEL_ERROR, TAG, "Bayes::storeDataToDiskLocked remove file %s error %d", backup,
                   errno);
    }
    return Bayes::OK;
}
