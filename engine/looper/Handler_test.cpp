#include "looper/Handler.h"

#include <gtest/gtest.h>

#include "looper/LooperThread.h"
#include "looper/test/LooperTesting.h"

namespace {

struct StoryHandler : Handler {
    using Handler::Handler;
    void handleMessage(sp<Message> msg) override { story += std::to_string(msg->what) + " "; }
    std::string story;
};

class HandlerTest : public testing::Test {
  protected:
    Looper looper{new KsTimer};
    const sp<StoryHandler> handler{new StoryHandler};  // of the current looper
};

TEST_F(HandlerTest, FillsTheMessagesItIsAskedFor) {
    int data = 0;
    const sp<RefBase> object(new AtRelease([] {}));
    const sp<Message> withData = handler->obtainMessage(7, 1, 2, &data);
    const sp<Message> withObject = handler->obtainMessage(object, 7, 1, 2);
    for (const sp<Message>& message : {withData, withObject}) {
        EXPECT_EQ(message->what, 7);
        EXPECT_EQ(message->arg1, 1);
        EXPECT_EQ(message->arg2, 2);
        EXPECT_EQ(message->target, handler.get());
        EXPECT_EQ(message->object, message->obj.get());
    }
    EXPECT_EQ(withData->data, &data);
    EXPECT_EQ(withObject->obj, object);
    EXPECT_EQ(object->getStrongCount(), 2);
    EXPECT_EQ(handler->obtainMessage(7, 1, nullptr)->arg1, 1);
    EXPECT_EQ(handler->obtainMessage(object, 7, 1)->arg2, 0);
}

TEST_F(HandlerTest, BuildsTheLongerFormsOnAnOverriddenShorterOne) {
    struct Doubling : StoryHandler {
        using Handler::obtainMessage;
        sp<Message> obtainMessage(int what, void* data) override {
            return Handler::obtainMessage(2 * what, data);
        }
    };
    EXPECT_EQ(sp<Handler>(new Doubling)->obtainMessage(4, 1, 2, nullptr)->what, 8);
}

TEST_F(HandlerTest, ReceivesAMessageAsOftenAsItWasSent) {
    const sp<Message> message = handler->obtainMessage(1, nullptr);
    message->sendToTarget();
    handler->sendMessage(handler->obtainMessage(2, nullptr));
    handler->sendDelayedMessage(handler->obtainMessage(3, nullptr), 0);
    message->sendToTarget();
    EXPECT_EQ(message->getStrongCount(), 3) << "the test's and one for each delivery";
    EXPECT_EQ(handler->story, "");
    looper.processEvents(0, looper.getTimer());
    EXPECT_EQ(handler->story, "3 1 2 1 ") << "timers come first";
    EXPECT_EQ(message->getStrongCount(), 1);
}

// What the looper drops with itself still sends to it.
TEST(HandlerThreads, AMessageMayBeSentWhileAnotherIsDropped) {
    const sp<LooperThread> worker(new LooperThread);
    worker->start("worker", 0, 0);
    const sp<StoryHandler> handler(new StoryHandler(worker->getLooper()));
    bool dropped = false;
    sp<RefBase> held(new AtRelease([&] {
        handler->obtainMessage(2, nullptr)->sendToTarget();
        handler->sendDelayedMessage(handler->obtainMessage(3, nullptr), 0);
        dropped = true;
    }));
    handler->sendDelayedMessage(handler->obtainMessage(held, 1), 60000);
    held.reset();
    worker->requestExitAndWait();
    EXPECT_TRUE(dropped);
    EXPECT_EQ(handler->story, "");
}

// The exit line is written only when something was posted.
TEST_F(HandlerTest, SendsNothingWithoutALooperOrAMessage) {
    const sp<StoryHandler> unbound(new StoryHandler(nullptr));
    const sp<Message> message = unbound->obtainMessage(1, nullptr);
    const LogCapture log;
    message->sendToTarget();
    unbound->sendDelayedMessage(message, 0);
    handler->sendMessage(nullptr);
    handler->sendDelayedMessage(nullptr, 0);
    EXPECT_EQ(logged(log),
              ">sendMessage\n>sendDelayedMessage\n>sendMessage\n>sendDelayedMessage\n");
}

}  // namespace
