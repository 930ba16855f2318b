#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <utility>

#include "base/Logger.h"
#include "preload/Bayes.h"
#include "preload/FileAccess.h"
#include "preload/PersistentFile.h"

// The Bayes model's file: how it is written, and how it is read, leniently: a field that does not
// parse is passed over, only one that parses out of its range makes the file malformed.

namespace {

constexpr char TAG[] = "bayes";

// How many features a file may claim; it bounds the allocation, as MAX_CLASSES does.
constexpr int MAX_STORED_DIMENSION = 1 << 16;

// Calls of scan() in the life of the process, over all loads: the number in the log that tells at
// which field a load failed. Unsigned, since a damaged file can make it wrap.
std::atomic<uint32_t> gScanCount{0};

class ModelScanner {
  public:
    explicit ModelScanner(FILE* file) : mFile(file) {}

    // fscanf(), counted.
    int scan(const char* format, ...) __attribute__((format(scanf, 2, 3))) {
        mScanCount = ++gScanCount;
        va_list args;
        va_start(args, format);
        const int items = vfscanf(mFile, format, args);
        va_end(args);
        return items;
    }

    // Calls `readEntry`, which scans once and returns the items read or REFUSED, `count` times.
    // False when it refused. Ends early where the file does, or where no further call could get
    // past what stands in it: the rest of the calls would do nothing but count.
    template <typename ReadEntry>
    bool scanEntries(int count, const ReadEntry& readEntry) {
        for (int i = 0; i < count; ++i) {
            const long position = ftell(mFile);
            const int items = readEntry();
            if (items == REFUSED) return false;
            if (items == EOF || (items == 0 && ftell(mFile) == position)) {
                gScanCount += static_cast<uint32_t>(count - i - 1);
                return true;
            }
        }
        return true;
    }

    int fail() const {
        ENGINE_LOG(LEVEL_WARNING, TAG, "index %d\n", static_cast<int>(mScanCount));
        return Bayes::ERROR_PARSE;
    }

    static constexpr int REFUSED = -100;

  private:
    FILE* const mFile;
    uint32_t mScanCount = 0;
};

class ModelText {
  public:
    ModelText& operator<<(std::string_view text) {
        mText += text;
        return *this;
    }
    ModelText& operator<<(char c) {
        mText += c;
        return *this;
    }
    // By hand, as the phone's C++ library is older than <charconv> and models are large.
    ModelText& operator<<(int number) {
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
    std::string& text() { return mText; }

  private:
    std::string mText;
};

}  // namespace

std::string Bayes::serializeLocked() {
    ModelText out;
    out << "mTotalSampleCount " << mTotalSampleCount << '\n';
    out << "mDimensionX " << mDimensionX << '\n';
    out << "mVariableSpaceX " << mListedSpaceX << '\n';
    for (int i = 0; i < mListedSpaceX; ++i) out << mVariableSpaceX[static_cast<size_t>(i)] << '\n';
    out << "mVariableSpaceY " << mVariableSpaceY << '\n';
    out << "mDistributionY " << static_cast<int>(mDistributionY.size()) << '\n';
    for (const auto& [y, count] : mDistributionY) out << y << ' ' << count << '\n';
    out << "mDistributionXandY " << static_cast<int>(mDistributionXandY.size()) << '\n';
    for (const auto& [key, count] : mDistributionXandY) out << key << ' ' << count << '\n';
    return std::move(out.text());
}

int Bayes::storeDataToDiskLocked() {
    if (mModelPath.empty()) return ERROR_NO_PATH;
    const PersistentFile file(mModelPath);
    const char* const path = file.path().c_str();
    const char* const backup = file.backupPath().c_str();
    switch (file.stepAside()) {
        case PersistentFile::StepAside::DONE:
            break;
        case PersistentFile::StepAside::REMOVE_FAILED:
            ENGINE_LOG(LEVEL_ERROR, TAG, "Bayes::storeDataToDiskLocked remove file %s error %d",
                       path, errno);
            return ERROR_REMOVE;
        case PersistentFile::StepAside::RENAME_FAILED:
            ENGINE_LOG(LEVEL_ERROR, TAG,
                       "Bayes::storeDataToDiskLocked rename file %s to %s error %d", path, backup,
                       errno);
            return ERROR_RENAME;
    }
    FILE* const stream = fopen(path, "w");
    if (stream == nullptr) {
        ENGINE_LOG(LEVEL_ERROR, TAG, "Bayes::storeDataToDiskLocked open file %s error %d", path,
                   errno);
        return ERROR_OPEN;
    }
    // Flushed here, since a full disk shows only then and the backup must outlive it.
    if (fputs(serializeLocked().c_str(), stream) == EOF || fflush(stream) == EOF) {
        ENGINE_LOG(LEVEL_ERROR, TAG, "Bayes::storeDataToDiskLocked fput file %s error %d", path,
                   errno);
        fclose(stream);
        return ERROR_WRITE;
    }
    fclose(stream);
    if (!file.discardBackup()) {
        ENGINE_LOG(LEVEL_ERROR, TAG, "Bayes::storeDataToDiskLocked remove file %s error %d", backup,
                   errno);
    }
    return OK;
}

std::unique_ptr<Bayes> Bayes::createBayesFromModel(const char* path) {
    if (path == nullptr) return nullptr;
    const PersistentFile file(path);
    if (fileExists(file.backupPath())) file.restoreBackup();
    FILE* const stream = fopen(path, "r");
    if (stream == nullptr) {
        ENGINE_LOG(LEVEL_DEBUG, TAG, "model file %s does not exist \n", path);
        return nullptr;
    }
    std::unique_ptr<Bayes> model(new Bayes(path));
    int error = OK;
    {
        MutexLock lock(model->mLock);
        error = model->unserializeLocked(stream);
    }
    fclose(stream);
    if (error != OK) {
        ENGINE_LOG(LEVEL_DEBUG, TAG, "bayes unserialize error %d\n", error);
        return nullptr;
    }
    return model;
}

int Bayes::unserializeLocked(FILE* file) {
    if (file == nullptr) return ERROR_STREAM;
    ModelScanner scanner(file);

    int totalSampleCount = 0;
    if (scanner.scan("%*s %d", &totalSampleCount) == 1 && totalSampleCount <= 0) {
        return scanner.fail();
    }
    int dimension = 0;
    if (scanner.scan("%*s %d", &dimension) == 1 &&
        (dimension <= 0 || dimension > MAX_STORED_DIMENSION)) {
        return scanner.fail();
    }

    // How many maxima follow is the dimension's affair, not that of the count written before them.
    if (scanner.scan("%*s %*d\n") != 0) return scanner.fail();
    mVariableSpaceX.resize(static_cast<size_t>(dimension));
    int maximum = 0;
    for (int32_t& stored : mVariableSpaceX) {
        if (scanner.scan("%d", &maximum) == 1 && maximum < 1) return scanner.fail();
        stored = maximum;
    }

    int classes = 0;
    if (scanner.scan("%*s %d\n", &classes) == 1 && (classes <= 0 || classes > MAX_CLASSES)) {
        return scanner.fail();
    }

    std::map<int, int> distributionY;
    int entries = 0;
    if (scanner.scan("%*s %d\n", &entries) == 1 && entries <= 0) return scanner.fail();
    int y = 0;
    int count = 0;
    bool anyRead = false;
    const auto readClass = [&] {
        const int items = scanner.scan("%d %d\n", &y, &count);
        if (items == 2 && y >= 0 && count < 0) return ModelScanner::REFUSED;
        anyRead |= items > 0;
        if (anyRead) distributionY[y] = count;
        return items;
    };
    if (!scanner.scanEntries(entries, readClass)) return scanner.fail();

    std::map<std::string, int> distributionXandY;
    entries = 0;
    if (scanner.scan("%*s %d\n", &entries) == 1 && entries <= 0) return scanner.fail();
    char key[64] = "";  // ample for "feature:value:class"; a longer word is read in pieces
    count = 0;
    anyRead = false;
    const auto readKey = [&] {
        const int items = scanner.scan("%63s %d\n", key, &count);
        if (items == 2 && count < 0) return ModelScanner::REFUSED;
        anyRead |= items > 0;
        // The file is sorted, as a rule.
        if (anyRead) distributionXandY.insert_or_assign(distributionXandY.end(), key, count);
        return items;
    };
    if (!scanner.scanEntries(entries, readKey)) return scanner.fail();

    mTrained = true;
    mTotalSampleCount = totalSampleCount;
    mDimensionX = dimension;
    mListedSpaceX = dimension;
    mVariableSpaceY = classes;
    mDistributionY.swap(distributionY);
    mDistributionXandY.swap(distributionXandY);
    return OK;
}
