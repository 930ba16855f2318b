#include "brain/BrainMain.h"

#include <algorithm>

#include "base/Logger.h"
#include "looper/Message.h"

namespace {

constexpr char TAG[] = "BrainMain";

struct CodeAction {
    bool dispatched;
    const char* notice;  // logged when the code arrives, or null
};

// Indexed by message code. Code 11 is logged on purpose without being passed on.
constexpr CodeAction ACTIONS[] = {
    /*  0 */ {false, nullptr},
    /*  1 */ {true, nullptr},
    /*  2 */ {true, nullptr},
    /*  3 */ {true, nullptr},
    /*  4 */ {true, nullptr},
    /*  5 */ {true, nullptr},
    /*  6 */ {true, nullptr},
    /*  7 */ {true, nullptr},
    /*  8 */ {false, nullptr},
    /*  9 */ {true, nullptr},
    /* 10 */ {true, "ksbrain: battery update from kernel received"},
    /* 11 */ {false, "ksbrain: thermal update received"},
    /* 12 */ {true, "ksbrain: memory update received"},
    /* 13 */ {true, "ksbrain: process update from kernel received"},
    /* 14 */ {true, nullptr},
    /* 15 */ {false, nullptr},
    /* 16 */ {true, "ksbrain: cpu trigger received"},
    /* 17 */ {true, "ksbrain: io trigger received"},
    /* 18 */ {true, "ksbrain: memory trigger received"},
    /* 19 */ {true, "ksbrain: temperature trigger received"},
    /* 20 */ {false, nullptr},
    /* 21 */ {false, nullptr},
    /* 22 */ {true, nullptr},
};
constexpr int CODE_COUNT = sizeof(ACTIONS) / sizeof(ACTIONS[0]);

}  // namespace

BrainMain::BrainMain(Looper* looper) : Handler(looper) {}

BrainMain::~BrainMain() {
    mRespHandler = nullptr;
}

void BrainMain::handleMessage(sp<Message> msg) {
    const int code = msg->what;
    ENGINE_LOG(LEVEL_DEBUG, TAG, "received event what: %d", code);
    if (code < 1 || code >= CODE_COUNT) return;
    const CodeAction& action = ACTIONS[code];
    if (action.notice != nullptr) ENGINE_LOG(LEVEL_DEBUG, TAG, "%s", action.notice);
    sp<BrainEvent> event(static_cast<BrainEvent*>(msg->obj.get()));
    if (action.dispatched && event) onBrainDataAvailable(event);
}

void BrainMain::onBrainDataAvailable(sp<BrainEvent>& event) {
    MutexLock lock(mListenerLock);
    for (const sp<BrainDataListener>& listener : mListeners) listener->onBrainDataAvailable(event);
}

void BrainMain::registerDataListener(sp<BrainDataListener>& listener) {
    MutexLock lock(mListenerLock);
    if (std::find(mListeners.begin(), mListeners.end(), listener) != mListeners.end()) {
        ENGINE_LOG(LEVEL_INFO, TAG, "dumplicated register a DataListener ");
        return;
    }
    mListeners.push_back(listener);
}

void BrainMain::unregisterDataListener(sp<BrainDataListener>& listener) {
    MutexLock lock(mListenerLock);
    for (auto it = mListeners.begin(); it != mListeners.end();) {
        if (*it != listener) {
            ++it;
            continue;
        }
        it = mListeners.erase(it);
        ENGINE_LOG(LEVEL_INFO, TAG, "unregister DataListener");
    }
}

void BrainMain::sendRequest(BrainIndicationCmd cmd, int value) {
    if (mRespHandler == nullptr) {
        ENGINE_LOG(LEVEL_DEBUG, TAG, "error: mRespHandler is NULL");
        return;
    }
    sp<Message> message = mRespHandler->obtainMessage(cmd, value, nullptr);
    ENGINE_LOG(LEVEL_DEBUG, TAG, "BrainMain send indication: %d", cmd);
    message->sendToTarget();
}
