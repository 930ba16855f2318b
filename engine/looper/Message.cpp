#include "looper/Message.h"

#include "looper/Handler.h"

void Message::sendToTarget() {
    target->sendMessage(sp<Message>(this));
}
