#include "desktop/Preloader.h"

#include <fcntl.h>
#include <linux/ioprio.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace {

constexpr uint64_t PIECE_BYTES = 1 << 20;
constexpr uint64_t LOOK_BYTES = 8 << 20;  // between two looks at the pressure

// Waits until the pages are there: one of the last asked for comes last.
void awaitPage(int descriptor, uint32_t page) {
    char byte;
    if (pread(descriptor, &byte, 1, static_cast<off_t>(page * PAGE_BYTES)) < 0) {
        // A page that cannot be read is the application's trouble.
    }
}

}  // namespace

void useIdleIoClass() {
    syscall(SYS_ioprio_set, IOPRIO_WHO_PROCESS, 0, IOPRIO_PRIO_VALUE(IOPRIO_CLASS_IDLE, 0));
}

Preloader::Preloader(Pressure& pressure)
    : mPressure(pressure), mAccounts(open("/proc/thread-self/io", O_RDONLY | O_CLOEXEC)) {}

Preloader::~Preloader() {
    if (mAccounts >= 0) close(mAccounts);
}

void Preloader::begin(uint64_t budget) {
    mBudget = budget;
    mItems.clear();
    mFile.reset();
    mPlannedBytes = 0;
    mBytesRead = 0;
    mByApp.clear();
    mCompleted.clear();
    mChanged.clear();
    resume();
}

void Preloader::plan(const std::string& app, std::vector<FileNeed> files) {
    if (files.empty()) return;
    mPlannedBytes += bytesOf(files);
    std::stable_sort(files.begin(), files.end(),
                     [](const FileNeed& a, const FileNeed& b) { return a.place < b.place; });
    for (FileNeed& file : files) mItems.push_back({app, std::move(file)});
}

void Preloader::resume() {
    mState = State::READING;
    mSinceLook = LOOK_BYTES;  // look before anything is read
    mPressure.begin();
}

Preloader::State Preloader::step() {
    if (mState != State::READING) return mState;
    if (!openNext()) return mState = State::DONE;
    if (mSinceLook >= LOOK_BYTES) {
        mSinceLook = 0;
        const Pressure::Kind pressure = mPressure.look();
        if (pressure == Pressure::Kind::MEMORY) return mState = State::MEMORY_PRESSURE;
        if (pressure == Pressure::Kind::IO) return mState = State::IO_PRESSURE;
    }
    if (mBytesRead + PAGE_BYTES > mBudget) return mState = State::BUDGET;
    readPiece();
    return mState;
}

// Whether there is a file to read from, and something of it.
bool Preloader::openNext() {
    while (!mItems.empty()) {
        const Item& item = mItems.front();
        if (mFile == nullptr) {
            mFile = std::make_unique<OpenFile>(item.file.path);
            if (mFile->descriptor() >= 0 && mFile->state() == item.file.state) return true;
            mChanged.emplace_back(item.app, item.file.path);
        } else if (!item.file.pages.empty()) {
            return true;
        }
        if (mItems.size() == 1 || mItems[1].app != item.app) mCompleted.insert(item.app);
        mFile.reset();
        mItems.pop_front();
    }
    return false;
}

// Asks for as much of the file as a piece and the budget allow, then waits for it.
void Preloader::readPiece() {
    std::vector<PageRange>& pages = mItems.front().file.pages;
    const uint64_t before = fetchedSoFar();
    auto left = static_cast<uint32_t>(std::min(PIECE_BYTES, mBudget - mBytesRead) / PAGE_BYTES);
    std::vector<uint32_t> lastPages;
    size_t used = 0;
    while (left > 0 && used < pages.size()) {
        PageRange& range = pages[used];
        const uint32_t count = std::min(left, range.count);
        readahead(mFile->descriptor(), static_cast<off64_t>(range.first * PAGE_BYTES),
                  count * PAGE_BYTES);
        lastPages.push_back(range.first + count - 1);
        mSinceLook += count * PAGE_BYTES;
        left -= count;
        range.first += count;
        range.count -= count;
        if (range.count == 0) ++used;
    }
    pages.erase(pages.begin(), pages.begin() + static_cast<ptrdiff_t>(used));
    for (const uint32_t page : lastPages) awaitPage(mFile->descriptor(), page);
    const uint64_t fetched = fetchedSoFar() - before;
    mBytesRead += fetched;
    mByApp[mItems.front().app] += fetched;
}

uint64_t Preloader::fetchedSoFar() const {
    char text[512];
    const ssize_t length = pread(mAccounts, text, sizeof(text) - 1, 0);
    if (length <= 0) return 0;
    text[length] = '\0';
    const char* const line = strstr(text, "\nread_bytes: ");
    uint64_t bytes = 0;
    if (line != nullptr) sscanf(line, "\nread_bytes: %" SCNu64, &bytes);
    return bytes;
}
