#pragma once

#include "looper/Looper.h"
#include "looper/Message.h"

// Receives messages on the thread of the looper that it is bound to, in the order of their sending.
//
//     handler->obtainMessage(event, 4)->sendToTarget();  // any thread
//
// Any thread may obtain and send messages. A message in flight holds neither the handler nor the
// looper: both must outlive it, or the looper drops it.
class Handler : public virtual RefBase {
  public:
    // Bound to the calling thread's looper. Without a looper nothing is ever received.
    Handler() : Handler(Looper::current()) {}
    explicit Handler(Looper* looper) : mLooper(looper) {}

    const char* getName() const override { return "Handler"; }
    ~Handler() override = default;

    virtual void sendMessage(sp<Message> msg);
    virtual void sendDelayedMessage(sp<Message> msg, int delayMs);

    // Messages for this handler. `data` is not owned; `obj` is held as long as the message lives.
    virtual sp<Message> obtainMessage(int what, void* data);
    virtual sp<Message> obtainMessage(int what, int arg1, void* data);
    virtual sp<Message> obtainMessage(int what, int arg1, int arg2, void* data);
    virtual sp<Message> obtainMessage(sp<RefBase> obj, int what);
    virtual sp<Message> obtainMessage(sp<RefBase> obj, int what, int arg1);
    virtual sp<Message> obtainMessage(sp<RefBase> obj, int what, int arg1, int arg2);

    virtual void handleMessage(sp<Message> msg) = 0;

  private:
    Callback<void (*)()> makeDelivery(const sp<Message>& msg);

    Looper* const mLooper;  // not owned
};
