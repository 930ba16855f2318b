#include "brain/BrainMain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "looper/Message.h"
#include "platform/testing/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RecordingListener : public BrainDataListener {
  public:
    void onBrainDataAvailable(sp<BrainEvent>& event) override { events.push_back(event.get()); }

    std::vector<BrainEvent*> events;
};

class BrainMainTest : public testing::Test {
  protected:
    void deliver(int code) { brain->handleMessage(brain->obtainMessage(event, code)); }

    const sp<BrainMain> brain{new BrainMain(nullptr)};
    const sp<BrainEvent> event{new BrainEvent};
    const sp<RecordingListener> recorder{new RecordingListener};
    sp<BrainDataListener> listener{recorder};
};

TEST_F(BrainMainTest, DispatchesAndLogsByCode) {
    struct Case {
        std::vector<int> codes;
        bool dispatched;
        std::string notice;
    };
    const Case cases[] = {
        {{1, 2, 3, 4, 5, 6, 7, 9, 14, 22}, true, ""},
        {{10}, true, "ksbrain: battery update from kernel received"},
        {{11}, false, "ksbrain: thermal update received"},
        {{12}, true, "ksbrain: memory update received"},
        {{13}, true, "ksbrain: process update from kernel received"},
        {{16}, true, "ksbrain: cpu trigger received"},
        {{17}, true, "ksbrain: io trigger received"},
        {{18}, true, "ksbrain: memory trigger received"},
        {{19}, true, "ksbrain: temperature trigger received"},
        {{8, 15, 20, 21}, false, ""},
        {{0, -1, 23, 1000000}, false, ""},
    };
    brain->registerDataListener(listener);
    for (const Case& expected : cases) {
        for (const int code : expected.codes) {
            SCOPED_TRACE(code);
            recorder->events.clear();
            LogCapture log(2);
            deliver(code);
            EXPECT_EQ(recorder->events.size(), expected.dispatched ? 1u : 0u);
            std::vector<std::string> lines = {"DEBUG  received event what: " +
                                              std::to_string(code)};
            if (!expected.notice.empty()) lines.push_back("DEBUG  " + expected.notice);
            EXPECT_EQ(log.texts(), lines);
        }
    }
}

TEST_F(BrainMainTest, ListenersAreCalledInOrderWithTheEventItself) {
    const sp<RecordingListener> second(new RecordingListener);
    sp<BrainDataListener> secondListener(second);
    brain->registerDataListener(listener);
    brain->registerDataListener(secondListener);
    deliver(4);
    EXPECT_THAT(recorder->events, ElementsAre(event.get()));
    EXPECT_THAT(second->events, ElementsAre(event.get()));

    brain->unregisterDataListener(listener);
    deliver(4);
    EXPECT_EQ(recorder->events.size(), 1u);
    EXPECT_EQ(second->events.size(), 2u);
    EXPECT_EQ(event->getStrongCount(), 1) << "the dispatcher keeps no event";
}

TEST_F(BrainMainTest, AListenerStandsOnceAndIsHeldUntilItGoes) {
    LogCapture log(3);
    brain->registerDataListener(listener);
    brain->registerDataListener(listener);
    EXPECT_THAT(log.texts(), ElementsAre("INFO   dumplicated register a DataListener "));
    EXPECT_EQ(recorder->getStrongCount(), 3);

    log.clear();
    brain->unregisterDataListener(listener);
    brain->unregisterDataListener(listener);
    EXPECT_THAT(log.texts(), ElementsAre("INFO   unregister DataListener"));
    EXPECT_EQ(recorder->getStrongCount(), 2);
}

TEST_F(BrainMainTest, AMessageWithoutAnEventReachesNobody) {
    brain->registerDataListener(listener);
    brain->handleMessage(brain->obtainMessage(sp<RefBase>(), 4));
    EXPECT_THAT(recorder->events, IsEmpty());
}

TEST_F(BrainMainTest, ARequestWithoutAResponseHandlerIsOnlyLogged) {
    LogCapture log(2);
    brain->sendRequest(static_cast<BrainIndicationCmd>(3), 7);
    EXPECT_THAT(log.texts(), ElementsAre("DEBUG  error: mRespHandler is NULL"));
}

}  // namespace
