#pragma once

#include <cstdint>

#include "base/RefBase.h"

class Handler;

// What a Handler receives. Handler::obtainMessage() makes it.
class Message : public RefBase {
  public:
    Message(Handler* handler, int32_t code, void* rawData)
        : what(code), data(rawData), target(handler) {}
    Message(Handler* handler, int32_t code, const sp<RefBase>& held)
        : what(code), target(handler), object(held.get()), obj(held) {}

    const char* getName() const override { return "Message"; }

    // Has the target receive this message. The same message may be sent several times.
    void sendToTarget();

    int32_t what;
    int32_t arg1 = 0;
    int32_t arg2 = 0;
    void* data = nullptr;       // not owned
    Handler* target;            // not owned; who made the message
    RefBase* object = nullptr;  // what `obj` holds
    sp<RefBase> obj;
    void* reserved = nullptr;  // always null; part of the layout
};
