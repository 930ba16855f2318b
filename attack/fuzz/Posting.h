#pragma once

#include <atomic>
#include <vector>

#include "attack/fuzz/Input.h"
#include "looper/Handler.h"

// What is posted to loopers, and how.

// What a task or a message holds. Sends through a handler when it is released.
class Sender : public RefBase {
  public:
    // `handler` may be null, for one that sends nothing; a negative delay sends at once.
    Sender(Handler* handler, int delayMs);
    ~Sender() override;

    static std::atomic<int> sAlive;

  private:
    Handler* const mHandler;
    const int mDelayMs;
};

// Does something whenever it is called back, as a handler or as a task.
class Actor : public Handler {
  public:
    Actor(Looper* looper, void (*act)(void*), void* user)
        : Handler(looper), mAct(act), mUser(user) {}

    void handleMessage(sp<Message> /*message*/) override { mAct(mUser); }

    // `held`, if it is not null, lives as long as the task.
    Callback<void (*)()> task(const sp<RefBase>& held);

  private:
    void run() { mAct(mUser); }
    void runHolding(sp<RefBase> /*held*/) { mAct(mUser); }

    void (*const mAct)(void*);
    void* const mUser;
};

constexpr int DELAYS[] = {0, 1, 2, 5, 100, -3, INT32_MAX, INT32_MIN};

// Posts to a looper in one of its ways; the ids of delayed tasks are added to `ids`. Any thread,
// while the looper lives.
void post(Input& input, Looper& looper, Actor& actor, std::vector<int>& ids);
