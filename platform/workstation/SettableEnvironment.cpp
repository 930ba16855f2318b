#include "platform/workstation/SettableEnvironment.h"

#include "base/Mutex.h"

namespace environment {

namespace {

struct Settings {
    Mutex lock;
    std::string dataDirectory GUARDED_BY(lock);
    bool clockStopped GUARDED_BY(lock) = false;
    time_t now GUARDED_BY(lock) = 0;
    std::optional<StorageFailure> failure GUARDED_BY(lock);
    std::function<bool(int)> sync GUARDED_BY(lock);
};

// Never destroyed: threads may still ask while the process ends.
Settings& settings() {
    static Settings* const instance = new Settings;
    return *instance;
}

}  // namespace

std::string dataDirectory() {
    MutexLock lock(settings().lock);
    return settings().dataDirectory;
}

time_t now() {
    MutexLock lock(settings().lock);
    return settings().clockStopped ? settings().now : time(nullptr);
}

void noteStorageFailure(const std::string& path, int error) {
    MutexLock lock(settings().lock);
    if (!settings().failure) settings().failure = StorageFailure{path, error};
}

bool sync(int descriptor) {
    std::function<bool(int)> sync;
    {
        MutexLock lock(settings().lock);
        sync = settings().sync;
    }
    return sync == nullptr || sync(descriptor);
}

void setSync(std::function<bool(int)> sync) {
    MutexLock lock(settings().lock);
    settings().sync = std::move(sync);
}

std::optional<StorageFailure> storageFailure() {
    MutexLock lock(settings().lock);
    return settings().failure;
}

void setDataDirectory(const std::string& directory) {
    MutexLock lock(settings().lock);
    settings().dataDirectory = directory;
    settings().failure.reset();
}

void setNow(time_t seconds) {
    MutexLock lock(settings().lock);
    settings().clockStopped = true;
    settings().now = seconds;
}

void useSystemClock() {
    MutexLock lock(settings().lock);
    settings().clockStopped = false;
}

}  // namespace environment
