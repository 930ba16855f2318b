#include "preload/ZmlAdapter.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <map>
#include <sstream>
#include <unordered_set>
#include <utility>

#include "base/ExceptionBarrier.h"
#include "base/Logger.h"
#include "preload/FileNames.h"
#include "preload/LivingAdapters.h"
#include "preload/Ranking.h"
#include "preload/TextTable.h"
#include "zml/ZmlSessionManager.h"

namespace {

constexpr char TAG[] = "AppPreloadModel";

constexpr int VOCABULARY = ZmlSession::VOCABULARY;
constexpr int CONTEXT = ZmlSession::CONTEXT;
constexpr size_t DROPPED_PART = 5;  // a training drops this part of the history, the oldest

bool isControl(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == 0x7f;
}

// Whether a name comes back from the usage file as it went in; the first of an empty history does
// not.
bool isWord(const std::string& name) {
    return !name.empty() &&
           std::none_of(name.begin(), name.end(), [](char c) { return c == ' ' || isControl(c); });
}

// A damaged file may hold other ids.
bool isKnown(const AppUsage& usage) {
    return usage.index >= 0 && usage.index < VOCABULARY;
}

// Sets failbit when the text is no table.
void readUsage(std::istream& stream, std::vector<AppUsage>& table) {
    int count = 0;
    stream >> count;
    if (count < 0) stream.setstate(std::ios::failbit);
    for (int i = 0; i < count && stream; ++i) {
        AppUsage usage;
        stream >> usage.index >> usage.count >> usage.package;
        table.push_back(usage);
    }
}

std::string textOf(const std::vector<AppUsage>& table) {
    std::string text = std::to_string(table.size()) + '\n';
    for (const AppUsage& usage : table) {
        text += std::to_string(usage.index) + ' ' + std::to_string(usage.count) + ' ' +
                usage.package + '\n';
    }
    return text;
}

}  // namespace

ZmlAdapter::ZmlAdapter()
    : mUsageFile(engine_file::pathOf(engine_file::USAGE)),
      mHistoryFile(engine_file::pathOf(engine_file::HISTORY)) {
    living_adapters::add(this);
    MutexLock lock(mLock);
    if (!initData()) {
        mState = STATE_DATA_ERROR;
        return;
    }
    initZml();
}

ZmlAdapter::~ZmlAdapter() {
    // A callback under way comes to its end, a later one finds nobody.
    living_adapters::remove(this);
    {
        MutexLock lock(mLock);
        if (mSession == nullptr) return;
        mSession->releaseNetwork();
        mSession = nullptr;
    }
    // May wait for a later callback, and so must not hold a lock.
    ZmlSessionManager::getInstance()->releaseSessionLocked(SESSION_NAME);
}

bool ZmlAdapter::initData() {
    if (loadAppUsage() != 0) return false;
    loadHistoryAppsLocked();
    return true;
}

bool ZmlAdapter::initZml() {
    mSession = ZmlSessionManager::getInstance()->startSessionLocked(SESSION_NAME);
    if (mSession == nullptr) {
        ENGINE_LOG(LEVEL_ERROR, TAG, "start startSessionLocked failed!");
        return false;
    }
    if (mSession->isNetworkTrained()) {
        if (!loadNetworkLocked()) return false;
        mState = STATE_READY;
        ENGINE_LOG(LEVEL_DEBUG, TAG, "ZmlAdapter inited and trained");
    } else {
        mState = STATE_UNTRAINED;
        ENGINE_LOG(LEVEL_DEBUG, TAG, "ZmlAdapter inited, but need trained");
    }
    ENGINE_LOG(LEVEL_DEBUG, TAG, "ZmlAdapter init ok");
    return true;
}

bool ZmlAdapter::ready() {
    MutexLock lock(mLock);
    return mState == STATE_READY;
}

void ZmlAdapter::addSample(std::string& package) {
    if (std::any_of(package.begin(), package.end(), isControl)) return;
    MutexLock lock(mLock);
    mPendingHistoryApps.push_back(package);
    mHistoryApps.push_back(package);
}

void ZmlAdapter::update(int charging, std::vector<std::string>& packages) {
    MutexLock lock(mLock);
    if (!mPendingHistoryApps.empty()) {
        if (storeHistoryAppsLocked(mPendingHistoryApps, true)) mPendingHistoryApps.clear();
        ENGINE_LOG(LEVEL_DEBUG, TAG, "ZmlAdapter::update store mPendingHistoryApps");
    }
    std::vector<AppUsage> table = prepareTableLocked(packages);
    if (charging == 0) {
        ENGINE_LOG(LEVEL_DEBUG, TAG, "ZmlAdapter update, not charging");
        return;
    }
    if (!table.empty()) retrainLocked(std::move(table));
}

std::vector<AppUsage> ZmlAdapter::prepareTableLocked(const std::vector<std::string>& packages) {
    if (mHistoryApps.size() < TRAINING_HISTORY) return {};
    const std::unordered_set<std::string> known(packages.begin(), packages.end());
    mHistoryApps.erase(
        std::remove_if(mHistoryApps.begin(), mHistoryApps.end(),
                       [&](const std::string& app) { return known.count(app) == 0; }),
        mHistoryApps.end());
    std::vector<AppUsage> table = calculateAppUsage(mHistoryApps);
    table.erase(std::remove_if(table.begin(), table.end(),
                               [](const AppUsage& usage) { return !isWord(usage.package); }),
                table.end());
    if (table.size() < VOCABULARY) return {};
    table.resize(VOCABULARY);
    int32_t id = VOCABULARY;
    for (AppUsage& usage : table) usage.index = --id;
    return table;
}

// The table is replaced and the history cut even when no training can start: the ids then change
// under the network that is loaded.
void ZmlAdapter::retrainLocked(std::vector<AppUsage> table) {
    mAppUsage = std::move(table);
    storeAppUsage();
    {
        std::vector<int> sequence;
        for (const std::string& app : mHistoryApps) {
            const AppUsage* const usage = findUsageLocked(app);
            if (usage != nullptr) sequence.push_back(usage->index);
        }
        const int length = static_cast<int>(sequence.size());
        ENGINE_LOG(LEVEL_DEBUG, TAG,
                   "AppPreloadModel::updateModel train AI model before, trainSet.size %d", length);
        trainLocked(sequence.data(), length);
        ENGINE_LOG(LEVEL_DEBUG, TAG, "AppPreloadModel::updateModel train AI model after");
    }
    const auto dropped = static_cast<std::ptrdiff_t>(mHistoryApps.size() / DROPPED_PART);
    mHistoryApps.erase(mHistoryApps.begin(), mHistoryApps.begin() + dropped);
    if (storeHistoryAppsLocked(mHistoryApps, false)) mPendingHistoryApps.clear();
    ENGINE_LOG(LEVEL_DEBUG, TAG, "AppPreloadModel::updateModel train AI model ok");
}

std::vector<AppUsage> ZmlAdapter::calculateAppUsage(std::vector<std::string>& apps) {
    std::map<std::string, int32_t> counts;
    for (const std::string& app : apps) ++counts[app];
    std::vector<AppUsage> table;
    table.reserve(counts.size());
    for (const auto& [package, count] : counts) table.push_back({package, count, 0});
    std::stable_sort(table.begin(), table.end(),
                     [](const AppUsage& a, const AppUsage& b) { return a.count > b.count; });
    for (size_t rank = 0; rank < table.size(); ++rank) {
        table[rank].index = static_cast<int32_t>(rank);
    }
    return table;
}

bool ZmlAdapter::trainLocked(int* sequence, int length) {
    const int state = mState;
    if (state != STATE_UNTRAINED && state != STATE_READY) {
        ENGINE_LOG(LEVEL_WARNING, TAG, "ZmlAdapter is not init, mState %d", state);
        return false;
    }
    if (mSession->isNetworkTrained()) mSession->releaseNetwork();
    mState = STATE_TRAINING;
    if (!mSession->createSequenceNetwork(ZmlSession::MODE_CREATE, sequence, length)) {
        ENGINE_LOG(LEVEL_ERROR, TAG, "ZmlAdapter train:failed to create createSequenceNetwork.");
        mState = STATE_FAILED;
        return false;
    }
    long job = 0;
    if (mSession->asyncTrain(trainingCallback, job, this) != 0) {
        ENGINE_LOG(LEVEL_ERROR, TAG, "ZmlAdapter train:asyncTrain failed.");
        mState = STATE_FAILED;
        return false;
    }
    return true;
}

void ZmlAdapter::trainingCallback(TrainingResult result, void* adapter) {
    guarded("trainingCallback", [=] {
        auto* const self = static_cast<ZmlAdapter*>(adapter);
        bool expected = false;
        living_adapters::visit(self, [&] { expected = self->endTraining(result); });
        if (expected) return;
        ENGINE_LOG(LEVEL_WARNING, TAG, "state is not TRANING, while training Callback execute");
    });
}

bool ZmlAdapter::endTraining(TrainingResult result) {
    MutexLock lock(mLock);
    if (mState != STATE_TRAINING) return false;
    if (result != TRAINING_SUCCESS) {
        ENGINE_LOG(LEVEL_ERROR, TAG, "ZmlAdapter trainingCallback:result failed %d", result);
        mState = STATE_FAILED;
        return true;
    }
    mSession->releaseNetwork();
    if (!loadNetworkLocked()) return true;
    ++mTrainingsReady;  // before the state, for those who wait for the state alone
    mState = STATE_READY;
    return true;
}

bool ZmlAdapter::loadNetworkLocked() {
    if (!mSession->createSequenceNetwork(ZmlSession::MODE_LOAD, nullptr, 0)) {
        ENGINE_LOG(LEVEL_ERROR, TAG, "ZmlAdapter trainingCallback failed to create network.");
        mState = STATE_FAILED;
        return false;
    }
    return true;
}

bool ZmlAdapter::inferenceLocked(int* input, int inputLength, float* output, int outputLength) {
    if (mState != STATE_READY) {
        ENGINE_LOG(LEVEL_WARNING, TAG, "ZmlAdapter is not ready");
        return false;
    }
    int length = outputLength;
    return mSession->predictSequence(input, inputLength, output, length);
}

void ZmlAdapter::predict(std::vector<std::string>& out) {
    MutexLock lock(mLock);
    if (mState != STATE_READY) return;

    int input[CONTEXT] = {};
    int missing = CONTEXT;
    for (auto app = mHistoryApps.rbegin(); app != mHistoryApps.rend() && missing > 0; ++app) {
        const AppUsage* const usage = findUsageLocked(*app);
        if (usage != nullptr) input[--missing] = usage->index;
    }
    if (missing > 0) {
        ENGINE_LOG(LEVEL_WARNING, TAG, "no 2 history apps");
        return;
    }

    std::vector<float> scores(VOCABULARY);
    if (!inferenceLocked(input, CONTEXT, scores.data(), VOCABULARY)) return;
    for (const int best : ranking(scores)) {
        const auto usage =
            std::find_if(mAppUsage.begin(), mAppUsage.end(),
                         [&](const AppUsage& candidate) { return candidate.index == best; });
        if (usage != mAppUsage.end()) out.push_back(usage->package);
    }
}

const AppUsage* ZmlAdapter::findUsageLocked(const std::string& package) {
    const auto usage =
        std::find_if(mAppUsage.begin(), mAppUsage.end(), [&](const AppUsage& candidate) {
            return candidate.package == package && isKnown(candidate);
        });
    return usage == mAppUsage.end() ? nullptr : &*usage;
}

int ZmlAdapter::usageRecordsOf(const std::string& package) {
    MutexLock lock(mLock);
    return static_cast<int>(std::count_if(
        mAppUsage.begin(), mAppUsage.end(),
        [&](const AppUsage& usage) { return usage.package == package && isKnown(usage); }));
}

std::string ZmlAdapter::dumpMemory() {
    MutexLock lock(mLock);
    size_t size = 0;
    for (const std::string& app : mPendingHistoryApps) size += app.size();
    for (size_t i = 0; i < mAppUsage.size(); ++i) size += 32 * i;  // by position, on purpose
    for (const std::string& app : mHistoryApps) size += app.size();
    char line[64] = {};
    snprintf(line, sizeof(line), "ZmlAdapter size %d\n", static_cast<int>(size));
    return line;
}

void ZmlAdapter::loadHistoryAppsLocked() {
    std::string text;
    if (mHistoryFile.load(text) != FileRead::READ) return;
    mHistoryApps.clear();
    std::istringstream stream(text);
    std::string app;
    // The read that meets the end of the file leaves the last name standing, which thus counts
    // twice.
    do {
        stream >> app;
        mHistoryApps.push_back(app);
    } while (stream.good());
    ENGINE_LOG(LEVEL_DEBUG, TAG, "load history mHistoryApps ok");
}

bool ZmlAdapter::storeHistoryAppsLocked(std::vector<std::string>& apps, bool append) {
    ENGINE_LOG(LEVEL_DEBUG, TAG,
               append ? "append store history apps" : "replace store history apps");
    std::string text;
    for (const std::string& app : apps) text += app + '\n';
    const bool stored =
        append ? mHistoryFile.append(text) : PersistentFile::isStored(mHistoryFile.store(text));
    // Said even when the file could not be written.
    ENGINE_LOG(LEVEL_DEBUG, TAG, "store history apps ok");
    return stored;
}

int ZmlAdapter::loadAppUsage() {
    std::vector<AppUsage> table;
    switch (loadTable(mUsageFile, [&](std::istream& stream) { readUsage(stream, table); })) {
        case TableLoad::MISSING:
            return 0;
        case TableLoad::REFUSED:
            mAppUsage.clear();
            return -1;
        case TableLoad::LOADED:
            break;
    }
    mAppUsage = std::move(table);
    ENGINE_LOG(LEVEL_DEBUG, TAG, "load app usage ok");
    return 0;
}

int ZmlAdapter::storeAppUsage() {
    if (!PersistentFile::isStored(mUsageFile.store(textOf(mAppUsage)))) return -1;
    ENGINE_LOG(LEVEL_DEBUG, TAG, "store app usage ok");
    return 0;
}
