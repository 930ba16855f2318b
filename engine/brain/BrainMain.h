#pragma once

#include <vector>

#include "base/BrainDataListener.h"
#include "base/Mutex.h"
#include "looper/Handler.h"

// An indication sent back to the host. The values are the caller's.
enum BrainIndicationCmd : int {};

// The dispatcher: receives every event of the host as a message on the worker thread, logs it and
// passes it to the registered listeners. Listeners are called with the listener lock held, so they
// must not register or unregister from inside the call.
class BrainMain : public Handler {
  public:
    explicit BrainMain(Looper* looper);
    ~BrainMain() override;

    const char* getName() const override { return "BrainMain"; }

    // The message's code says what happened, its object is the BrainEvent. Worker thread only.
    void handleMessage(sp<Message> msg) override;

    // Passes the event to every listener, in the order of registration.
    void onBrainDataAvailable(sp<BrainEvent>& event) EXCLUDES(mListenerLock);

    // Any thread. Listeners are held by strong references; one that is registered twice stands
    // once.
    void registerDataListener(sp<BrainDataListener>& listener) EXCLUDES(mListenerLock);
    void unregisterDataListener(sp<BrainDataListener>& listener) EXCLUDES(mListenerLock);

    // Sends an indication to the response handler, if there is one.
    void sendRequest(BrainIndicationCmd cmd, int value);

  private:
    Handler* mRespHandler = nullptr;  // not owned; nothing sets it yet
    std::vector<sp<BrainDataListener>> mListeners GUARDED_BY(mListenerLock);
    Mutex mListenerLock{LockRank::LISTENERS};
};
