#include "preload/BayesFile.h"

#include <atomic>
#include <cerrno>

#include "base/Logger.h"
#include "preload/Bayes.h"
#include "preload/PersistentFile.h"

namespace {

constexpr char TAG[] = "bayes";

// Ample for "feature:value:class"; a longer word is read in pieces.
constexpr size_t KEY_WIDTH = 63;

// Unsigned, since a damaged file can make it wrap.
std::atomic<uint32_t> gScanCount{0};

}  // namespace

void ModelScanner::beginScan() {
    mLastScan = ++gScanCount;
}

void ModelScanner::skipScans(int count) {
    gScanCount += static_cast<uint32_t>(count);
}

int ModelScanner::scanNumber(int& number) {
    beginScan();
    switch (mReader.readInt(number)) {
        case TextReader::READ:
            return 1;
        case TextReader::UNFIT:
            return 0;
        case TextReader::END:
            break;
    }
    return END;
}

int ModelScanner::scanKeyAndNumber(int& number) {
    std::string key;
    mReader.readWord(key);
    return scanNumber(number);
}

int ModelScanner::skipKeyAndNumber() {
    int number = 0;
    const int items = scanKeyAndNumber(number);
    if (items == 1) mReader.skipSpace();
    return items == END ? END : 0;
}

int ModelScanner::scanNumbers(int& first, int& second) {
    const int items = scanNumber(first);
    if (items != 1) return items;
    if (mReader.readInt(second) != TextReader::READ) return 1;
    mReader.skipSpace();
    return 2;
}

int ModelScanner::scanWordAndNumber(std::string& word, int& number) {
    beginScan();
    if (mReader.readWord(word, KEY_WIDTH) == TextReader::END) return END;
    if (mReader.readInt(number) != TextReader::READ) return 1;
    mReader.skipSpace();
    return 2;
}

int storeModelText(PersistentFile& file, const std::string& text) {
    const char* const path = file.path().c_str();
    const char* const backup = file.backupPath().c_str();
    const PersistentFile::Store result = file.store(text);
    const int error = errno;
    switch (result) {
        case PersistentFile::Store::DONE:
            return Bayes::OK;
        case PersistentFile::Store::BACKUP_LEFT:
            ENGINE_LOG(LEVEL_ERROR, TAG, "Bayes::storeDataToDiskLocked remove file %s error %d",
                       backup, error);
            return Bayes::OK;
        case PersistentFile::Store::REMOVE_FAILED:
            ENGINE_LOG(LEVEL_ERROR, TAG, "Bayes::storeDataToDiskLocked remove file %s error %d",
                       path, error);
            return Bayes::ERROR_REMOVE;
        case PersistentFile::Store::RENAME_FAILED:
            ENGINE_LOG(LEVEL_ERROR, TAG,
                       "Bayes::storeDataToDiskLocked rename file %s to %s error %d", path, backup,
                       error);
            return Bayes::ERROR_RENAME;
        case PersistentFile::Store::OPEN_FAILED:
            ENGINE_LOG(LEVEL_ERROR, TAG, "Bayes::storeDataToDiskLocked open file %s error %d", path,
                       error);
            return Bayes::ERROR_OPEN;
        case PersistentFile::Store::WRITE_FAILED:
            break;
    }
    ENGINE_LOG(LEVEL_ERROR, TAG, "Bayes::storeDataToDiskLocked fput file %s error %d", path, error);
    return Bayes::ERROR_WRITE;
}
