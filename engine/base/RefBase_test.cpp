#include "base/RefBase.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>

namespace {

struct Told : RefBase {
    explicit Told(std::string& story) : story(story) {}
    ~Told() override { story += "destroyed"; }
    void onFirstRef() const override { story += "first "; }
    void onLastRef() const override { story += "last "; }

    std::string& story;
    sp<Told> next;
};

TEST(RefBase, LivesFromItsFirstReferenceToItsLast) {
    std::string story;
    auto* const object = new Told(story);
    EXPECT_EQ(object->getStrongCount(), 0x10000000);
    object->incStrong(nullptr);
    EXPECT_EQ(object->getStrongCount(), 1);
    object->incStrong(nullptr);
    object->decStrong(nullptr);
    EXPECT_EQ(story, "first ");
    object->decStrong(nullptr);
    EXPECT_EQ(story, "first last destroyed");
}

TEST(RefBase, IsTakenBeforeItIsGivenUp) {
    std::string story;
    std::string nextStory;
    sp<Told> pointer(new Told(story));
    const sp<Told>& same = pointer;
    pointer = same;
    EXPECT_EQ(story, "first ");
    pointer->next = new Told(nextStory);
    pointer = pointer->next;  // its only owner goes
    EXPECT_EQ(story, "first last destroyed");
    EXPECT_EQ(nextStory, "first ");
    EXPECT_EQ(pointer->getStrongCount(), 1);
}

TEST(RefBase, AMovedPointerLeavesNullAndCountsNothing) {
    std::string story;
    std::string nextStory;
    sp<Told> pointer(new Told(story));
    sp<Told> moved(std::move(pointer));
    EXPECT_EQ(pointer.get(), nullptr);
    EXPECT_EQ(moved->getStrongCount(), 1);
    moved->next = new Told(nextStory);
    moved = std::move(moved->next);  // what it moves from goes with its only owner
    EXPECT_EQ(story, "first last destroyed");
    EXPECT_EQ(nextStory, "first ");
    EXPECT_EQ(moved->getStrongCount(), 1);
    sp<Told>& same = moved;
    moved = std::move(same);
    EXPECT_EQ(nextStory, "first ");
}

// Whoever deletes the object must see what the other wrote before it let go.
TEST(RefBaseThreads, DeleteAfterTheLastUse) {
    struct Shared : RefBase {
        explicit Shared(int& sum) : sum(sum) {}
        ~Shared() override { sum = mine + others; }
        int mine = 0;
        int others = 0;
        int& sum;
    };
    int sum = 0;
    sp<Shared> shared(new Shared(sum));
    std::thread other([own = shared]() mutable {
        own->others = 1;
        own.reset();
    });
    shared->mine = 1;
    shared.reset();
    other.join();
    EXPECT_EQ(sum, 2);
}

}  // namespace
