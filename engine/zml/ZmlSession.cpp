#include "zml/ZmlSession.h"

#include <utility>

#include "zml/SessionState.h"

ZmlSession::ZmlSession(std::shared_ptr<zml::SessionState> state) : mState(std::move(state)) {}

ZmlSession::~ZmlSession() = default;

bool ZmlSession::isNetworkTrained() {
    return mState->isNetworkTrained();
}

bool ZmlSession::createSequenceNetwork(int mode, int* data, int length) {
    return mState->createSequenceNetwork(mode, data, length);
}

int ZmlSession::asyncTrain(void (*callback)(TrainingResult, void*), long& job, void* user) {
    return mState->asyncTrain(callback, job, user);
}

bool ZmlSession::predictSequence(int* input, int inputLength, float* output, int& outputLength) {
    return mState->predictSequence(input, inputLength, output, outputLength);
}

void ZmlSession::releaseNetwork() {
    mState->releaseNetwork();
}
