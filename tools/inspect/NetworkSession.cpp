#include "tools/inspect/NetworkSession.h"

#include <algorithm>
#include <stdexcept>

#include "zml/ZmlSessionManager.h"

namespace {

constexpr char SESSION_NAME[] = "aiPreloadApp";

}  // namespace

NetworkSession::NetworkSession()
    : mSession(ZmlSessionManager::getInstance()->startSessionLocked(SESSION_NAME)) {
    if (mSession != nullptr && mSession->createSequenceNetwork(ZmlSession::MODE_LOAD, nullptr, 0)) {
        return;
    }
    if (mSession != nullptr) ZmlSessionManager::getInstance()->releaseSessionLocked(SESSION_NAME);
    throw std::runtime_error("the sequence network cannot be loaded");
}

NetworkSession::~NetworkSession() {
    mSession->releaseNetwork();
    ZmlSessionManager::getInstance()->releaseSessionLocked(SESSION_NAME);
}

zml::Scores NetworkSession::ask(int older, int newer) {
    int input[zml::CONTEXT] = {older, newer};
    zml::Scores scores{};
    int length = zml::VOCABULARY;
    if (!mSession->predictSequence(input, zml::CONTEXT, scores.data(), length)) {
        throw std::runtime_error("the sequence network does not answer");
    }
    return scores;
}

std::vector<int> NetworkSession::ranking(const zml::Scores& scores) {
    std::vector<int> ids;
    const auto score = [&](int id) { return scores[static_cast<size_t>(id)]; };
    for (int id = 0; id < zml::VOCABULARY; ++id) {
        if (score(id) > 0.0F) ids.push_back(id);
    }
    std::stable_sort(ids.begin(), ids.end(), [&](int a, int b) { return score(a) > score(b); });
    return ids;
}
