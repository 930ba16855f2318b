#include "looper/Handler.h"

#include <gtest/gtest.h>

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
    const struct {
        sp<Message> message;
        int arg1, arg2;
        bool hasObject;
    } cases[] = {
        {handler->obtainMessage(7, &data), 0, 0, false},
        {handler->obtainMessage(7, 1, &data), 1, 0, false},
        {handler->obtainMessage(7, 1, 2, &data), 1, 2, false},
        {handler->obtainMessage(object, 7), 0, 0, true},
        {handler->obtainMessage(object, 7, 1), 1, 0, true},
        {handler->obtainMessage(object, 7, 1, 2), 1, 2, true},
    };
    EXPECT_EQ(object->getStrongCount(), 4);
    for (const auto& c : cases) {
        EXPECT_EQ(c.message->what, 7);
        EXPECT_EQ(c.message->arg1, c.arg1);
        EXPECT_EQ(c.message->arg2, c.arg2);
        EXPECT_EQ(c.message->target, handler.get());
        EXPECT_EQ(c.message->data, c.hasObject ? nullptr : &data);
        EXPECT_EQ(c.message->object, c.hasObject ? object.get() : nullptr);
    }
}

TEST_F(HandlerTest, BuildsTheLongerFormsOnAnOverriddenShorterOne) {
    struct Doubling : StoryHandler {
        using Handler::obtainMessage;
        sp<Message> obtainMessage(int what, void* data) override {
            return Handler::obtainMessage(2 * what, data);
        }
        sp<Message> obtainMessage(sp<RefBase> obj, int what) override {
            return Handler::obtainMessage(obj, 2 * what);
        }
    };
    const sp<Doubling> doubling(new Doubling);
    EXPECT_EQ(doubling->obtainMessage(4, 1, 2, nullptr)->what, 8);
    EXPECT_EQ(doubling->obtainMessage(sp<RefBase>(), 4, 1, 2)->what, 8);
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

// The exit line is written only when something was posted.
TEST_F(HandlerTest, ASentMessageWritesTheseLinesAndOneThatCannotBeSentFewer) {
    LogCapture log;
    const sp<Message> message = handler->obtainMessage(1, 2, nullptr);
    message->sendToTarget();
    EXPECT_EQ(logged(log),
              ">obtainMessage\n>obtainMessage\n<obtainMessage\n<obtainMessage\n"
              ">sendMessage\n>sendTask\n>wake\n<wake\n<sendTask\n<sendMessage\n");
    log.clear();
    const sp<StoryHandler> unbound(new StoryHandler(nullptr));
    unbound->sendMessage(message);
    unbound->sendDelayedMessage(message, 0);
    handler->sendMessage(nullptr);
    handler->sendDelayedMessage(nullptr, 0);
    EXPECT_EQ(logged(log),
              ">sendMessage\n>sendDelayedMessage\n>sendMessage\n>sendDelayedMessage\n");
}

}  // namespace
