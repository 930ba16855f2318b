#include "attack/fuzz/Posting.h"

std::atomic<int> Sender::sAlive{0};

Sender::Sender(Handler* handler, int delayMs) : mHandler(handler), mDelayMs(delayMs) {
    ++sAlive;
}

Sender::~Sender() {
    --sAlive;
    if (mHandler == nullptr) return;
    const sp<Message> message = mHandler->obtainMessage(2, nullptr);
    mDelayMs < 0 ? mHandler->sendMessage(message) : mHandler->sendDelayedMessage(message, mDelayMs);
}

Callback<void (*)()> Actor::task(const sp<RefBase>& held) {
    const UnsafeRawPtr<Actor> self(this);
    return held ? Callback<void (*)()>(&Actor::runHolding, self, held)
                : Callback<void (*)()>(&Actor::run, self);
}

void post(Input& input, Looper& looper, Actor& actor, std::vector<int>& ids) {
    sp<RefBase> held;
    if (input.draw(2) == 1) {
        held = new Sender(input.draw(3) == 0 ? nullptr : &actor, input.draw(4) - 1);
    }
    switch (input.draw(4)) {
        case 0:
            looper.sendTask(actor.task(held));
            break;
        case 1:
            ids.push_back(looper.sendDelayTask(actor.task(held), input.drawOf(DELAYS)));
            break;
        case 2:
            actor.obtainMessage(held, 1, 2)->sendToTarget();
            break;
        default:
            actor.sendDelayedMessage(actor.obtainMessage(held, 1), input.drawOf(DELAYS));
            break;
    }
}
