#include "zml/test/ScriptedZml.h"

#include <mutex>
#include <thread>
#include <utility>

#include "zml/ZmlSessionManager.h"

namespace {

struct Training {
    void (*callback)(TrainingResult, void*) = nullptr;
    void* user = nullptr;
};

struct Double {
    ZmlScript script;
    std::vector<std::string> calls;
    std::vector<int> sequence;
    Training training;
};

std::mutex gLock;
Double gDouble;

// Records a call and gives what it is to answer.
ZmlScript record(const std::string& call) {
    std::lock_guard<std::mutex> lock(gLock);
    gDouble.calls.push_back(call);
    return gDouble.script;
}

}  // namespace

ScriptedZml::ScriptedZml() {
    std::lock_guard<std::mutex> lock(gLock);
    gDouble = {};
}

void ScriptedZml::setScript(const ZmlScript& script) {
    std::lock_guard<std::mutex> lock(gLock);
    gDouble.script = script;
}

std::vector<std::string> ScriptedZml::calls() const {
    std::lock_guard<std::mutex> lock(gLock);
    return gDouble.calls;
}

std::vector<int> ScriptedZml::sequence() const {
    std::lock_guard<std::mutex> lock(gLock);
    return gDouble.sequence;
}

bool ScriptedZml::finishTraining(TrainingResult result) {
    const std::function<void(TrainingResult)> end = takeTraining();
    if (!end) return false;
    std::thread(end, result).join();
    return true;
}

std::function<void(TrainingResult)> ScriptedZml::takeTraining() {
    std::lock_guard<std::mutex> lock(gLock);
    const Training training = std::exchange(gDouble.training, {});
    if (training.callback == nullptr) return {};
    return [training](TrainingResult result) {
        if (result == TRAINING_SUCCESS) {
            std::lock_guard<std::mutex> trained(gLock);
            gDouble.script.networkTrained = true;
        }
        training.callback(result, training.user);
    };
}

ZmlSession::ZmlSession(std::shared_ptr<zml::SessionState> state) : mState(std::move(state)) {}
ZmlSession::~ZmlSession() = default;

bool ZmlSession::isNetworkTrained() {
    return record("isNetworkTrained").networkTrained;
}

bool ZmlSession::createSequenceNetwork(int mode, int* data, int length) {
    const ZmlScript script = record("createSequenceNetwork " + std::to_string(mode));
    if (mode == MODE_LOAD) return script.loadSucceeds;
    std::lock_guard<std::mutex> lock(gLock);
    gDouble.sequence.assign(data, data + length);
    return script.createSucceeds;
}

int ZmlSession::asyncTrain(void (*callback)(TrainingResult, void*), long&, void* user) {
    const ZmlScript script = record("asyncTrain");
    std::lock_guard<std::mutex> lock(gLock);
    if (script.asyncTrainResult == 0) gDouble.training = {callback, user};
    return script.asyncTrainResult;
}

bool ZmlSession::predictSequence(int* input, int inputLength, float* output, int& outputLength) {
    std::string call = "predictSequence";
    for (int i = 0; i < inputLength; ++i) call += " " + std::to_string(input[i]);
    ZmlScript script = record(call);
    script.scores.resize(static_cast<size_t>(outputLength));
    std::copy(script.scores.begin(), script.scores.end(), output);
    return script.predictSucceeds;
}

void ZmlSession::releaseNetwork() {
    record("releaseNetwork");
}

ZmlSessionManager* ZmlSessionManager::getInstance() {
    static ZmlSessionManager* const instance = new ZmlSessionManager;
    return instance;
}

ZmlSession* ZmlSessionManager::startSessionLocked(std::string name) {
    static ZmlSession* const session = new ZmlSession(nullptr);
    return record("startSessionLocked " + name).startSucceeds ? session : nullptr;
}

void ZmlSessionManager::releaseSessionLocked(std::string name) {
    const ZmlScript script = record("releaseSessionLocked " + name);
    if (script.onReleaseSession) script.onReleaseSession();
}
