#include "zml/ZmlSessionManager.h"

#include <algorithm>
#include <vector>

#include "base/Mutex.h"
#include "zml/Log.h"
#include "zml/NeuralLearner.h"
#include "zml/SessionState.h"

namespace {

struct Entry {
    std::string name;
    ZmlSession* session;  // null once it was released by its own callback, which still runs
    std::shared_ptr<zml::SessionState> state;
};

struct Register {
    Mutex lock{LockRank::SESSIONS};
    std::vector<Entry> entries GUARDED_BY(lock);
};

// Never destroyed: threads may still call while the process ends.
Register& sessions() {
    static Register* const instance = new Register;
    return *instance;
}

// Whether a name can be part of a file's name.
bool isUsable(const std::string& name) {
    const std::string forbidden("/\0", 2);
    return !name.empty() && name[0] != '.' && name.find_first_of(forbidden) == std::string::npos;
}

}  // namespace

ZmlSessionManager* ZmlSessionManager::getInstance() {
    static ZmlSessionManager* const instance = new ZmlSessionManager;
    return instance;
}

ZmlSession* ZmlSessionManager::startSessionLocked(std::string name) {
    MutexLock lock(sessions().lock);
    std::vector<Entry>& entries = sessions().entries;
    const bool open = std::any_of(entries.begin(), entries.end(), [&](const Entry& entry) {
        return entry.name == name && entry.session != nullptr;
    });
    if (open || !isUsable(name)) {
        ZML_LOG(ANDROID_LOG_WARN, "session \"%s\" is not started: %s", name.c_str(),
                open ? "it is open already" : "the name is not usable");
        return nullptr;
    }
    const auto state = std::make_shared<zml::SessionState>(name, zml::NeuralLearner::create);
    entries.push_back({name, new ZmlSession(state), state});
    return entries.back().session;
}

void ZmlSessionManager::releaseSessionLocked(std::string name) {
    std::vector<std::shared_ptr<zml::SessionState>> released;
    {
        MutexLock lock(sessions().lock);
        for (const Entry& entry : sessions().entries) {
            if (entry.name == name) released.push_back(entry.state);
        }
    }
    // The name counts as open until the callbacks are over, so that two sessions never write one
    // file.
    for (const auto& state : released) state->close();

    MutexLock lock(sessions().lock);
    std::vector<Entry>& entries = sessions().entries;
    const auto isOver = [&](Entry& entry) {
        if (std::find(released.begin(), released.end(), entry.state) == released.end()) {
            return false;
        }
        delete entry.session;
        entry.session = nullptr;
        return entry.state->isIdle();
    };
    entries.erase(std::remove_if(entries.begin(), entries.end(), isOver), entries.end());
}
