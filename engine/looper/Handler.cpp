#include "looper/Handler.h"

#include "base/Logger.h"

namespace {

constexpr char TAG[] = "Handler";

}  // namespace

Callback<void (*)()> Handler::makeDelivery(const sp<Message>& msg) {
    return Callback<void (*)()>(&Handler::handleMessage, UnsafeRawPtr<Handler>(this), msg);
}

void Handler::sendMessage(sp<Message> msg) {
    traceEntry(TAG, "sendMessage");
    if (mLooper == nullptr || !msg) return;
    mLooper->sendTask(makeDelivery(msg));
    traceReturn(TAG, "sendMessage");
}

void Handler::sendDelayedMessage(sp<Message> msg, int delayMs) {
    traceEntry(TAG, "sendDelayedMessage");
    if (mLooper == nullptr || !msg) return;
    mLooper->sendDelayTask(makeDelivery(msg), delayMs);
    traceReturn(TAG, "sendDelayedMessage");
}

sp<Message> Handler::obtainMessage(int what, void* data) {
    const TraceScope trace(TAG, "obtainMessage");
    return new Message(this, what, data);
}

sp<Message> Handler::obtainMessage(int what, int arg1, void* data) {
    const TraceScope trace(TAG, "obtainMessage");
    sp<Message> msg = obtainMessage(what, data);
    msg->arg1 = arg1;
    return msg;
}

sp<Message> Handler::obtainMessage(int what, int arg1, int arg2, void* data) {
    const TraceScope trace(TAG, "obtainMessage");
    sp<Message> msg = obtainMessage(what, arg1, data);
    msg->arg2 = arg2;
    return msg;
}

sp<Message> Handler::obtainMessage(sp<RefBase> obj, int what) {
    const TraceScope trace(TAG, "obtainMessage");
    return new Message(this, what, obj);
}

sp<Message> Handler::obtainMessage(sp<RefBase> obj, int what, int arg1) {
    const TraceScope trace(TAG, "obtainMessage");
    sp<Message> msg = obtainMessage(obj, what);
    msg->arg1 = arg1;
    return msg;
}

sp<Message> Handler::obtainMessage(sp<RefBase> obj, int what, int arg1, int arg2) {
    const TraceScope trace(TAG, "obtainMessage");
    sp<Message> msg = obtainMessage(obj, what, arg1);
    msg->arg2 = arg2;
    return msg;
}
