#include "base/Callback.h"

#include <gtest/gtest.h>

#include <deque>
#include <optional>

namespace {

struct Parcel : RefBase {};

struct Receiver {
    virtual ~Receiver() = default;
    virtual int number() { return 1; }
    void receive(sp<Parcel> parcel) {
        tasks.clear();
        count = parcel->getStrongCount();
    }

    std::deque<Callback<void (*)()>> tasks;
    int count = 0;
};

TEST(Callback, CallsTheMostDerivedOverrideAndReturnsItsResult) {
    struct SpecialReceiver : Receiver {
        int number() override { return 2; }
    } special;
    const Callback<int (*)()> callback(&Receiver::number, UnsafeRawPtr<Receiver>(&special));
    EXPECT_EQ(callback(), 2);
}

TEST(Callback, KeepsItsArgumentUntilTheLastCopyHasRunAndGone) {
    Receiver receiver;
    const sp<Parcel> parcel(new Parcel);
    std::optional<Callback<void (*)()>> copy;
    receiver.tasks.emplace_back(&Receiver::receive, UnsafeRawPtr<Receiver>(&receiver), parcel);
    copy = receiver.tasks.front();
    EXPECT_TRUE(*copy == receiver.tasks.front());
    EXPECT_EQ(parcel->getStrongCount(), 2) << "copies share it";
    (*copy)();
    EXPECT_EQ(parcel->getStrongCount(), 2) << "also after the delivery";

    receiver.tasks.push_back(*copy);
    copy.reset();
    receiver.tasks.front()();  // drops itself
    EXPECT_EQ(receiver.count, 3) << "the test's, the running context's and the call's";
    EXPECT_EQ(parcel->getStrongCount(), 1);
}

TEST(Callback, RunsOnceAndIsEmptyAfterwards) {
    Receiver receiver;
    const sp<Parcel> parcel(new Parcel);
    Callback<void (*)()> task(&Receiver::receive, UnsafeRawPtr<Receiver>(&receiver), parcel);
    task.runOnce();
    EXPECT_FALSE(task);
    EXPECT_EQ(receiver.count, 3) << "the test's, the running context's and the call's";
    EXPECT_EQ(parcel->getStrongCount(), 1);
}

}  // namespace
