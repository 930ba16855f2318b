#pragma once

#include <memory>
#include <vector>

#include "attack/fuzz/Descriptors.h"
#include "attack/fuzz/Input.h"
#include "attack/fuzz/Posting.h"

// A looper on the calling thread, turn by turn, with its timers and descriptors. A next one is made
// when the last has ended.
class LocalLoop {
  public:
    explicit LocalLoop(Input& input) : mInput(input) {}
    ~LocalLoop() { end(); }

    // Does something with the looper; what that calls back does the same.
    void act();

    // These two do nothing when they are called back.
    void turn();
    void end();

  private:
    void begin();
    int drawId(const std::vector<int>& ids);
    static void calledBack(void* self);
    static int timeOut(void* self);

    Input& mInput;
    sp<KsTimer> mTimer;
    sp<KsTimer> mKeptTimer;  // outlives its looper, and serves the next
    sp<Looper> mLooper;
    sp<Actor> mActor;
    std::unique_ptr<Descriptors> mPipes;
    std::vector<int> mTimerIds;
    std::vector<int> mTaskIds;
    int mDepth = 0;
    bool mTurning = false;
};
