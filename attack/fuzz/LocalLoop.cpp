#include "attack/fuzz/LocalLoop.h"

#include "attack/fuzz/Fuzz.h"

namespace {

constexpr int RESULTS[] = {-1, -1, 0, 1, 7, -2};

class QuitListener : public LooperQuitListener {
  public:
    QuitListener(Looper& looper, bool removesItself)
        : mLooper(looper), mRemovesItself(removesItself) {}
    void onLooperQuit() override {
        if (mRemovesItself) mLooper.removeQuitListener(this);
    }

  private:
    Looper& mLooper;
    const bool mRemovesItself;
};

}  // namespace

void LocalLoop::act() {
    if (!mLooper) begin();
    ++mDepth;
    switch (mInput.draw(9)) {
        case 0:
            mTimerIds.push_back(mTimer->addTimerCallback(mInput.drawOf(DELAYS), timeOut, this));
            break;
        case 1:
            if (!mTimerIds.empty()) mTimer->removeTimerCallback(drawId(mTimerIds));
            break;
        case 2:
            if (!mTaskIds.empty()) mLooper->releaseDelayTask(drawId(mTaskIds));
            break;
        case 3:
            if (mInput.draw(8) == 1) mTimer->clearTimerQueue();
            break;
        case 4:
            mPipes->add(*mLooper);
            break;
        case 5:
            mPipes->disturb(*mLooper, mTurning);
            break;
        case 6:
            if (mInput.draw(4) == 1) mLooper->addTerminatedHandler();
            break;
        case 7:
            mLooper->addQuitListener(new QuitListener(*mLooper, mInput.draw(2) == 1));
            break;
        default:
            post(mInput, *mLooper, *mActor, mTaskIds);
            break;
    }
    --mDepth;
}

void LocalLoop::turn() {
    if (!mLooper || mDepth > 0 || mTurning) return;
    mTurning = true;
    mPipes->setTurning(true);
    mLooper->processEvents(0, mTimer);
    mPipes->setTurning(false);
    mTurning = false;
}

void LocalLoop::end() {
    if (!mLooper || mDepth > 0 || mTurning) return;
    mTurning = true;  // for what is called back meanwhile
    if (mInput.draw(2) == 1) mKeptTimer = mTimer;
    mLooper->clearEvents();
    ++mDepth;
    Looper* const looper = mLooper.get();
    promise(looper->getStrongCount() == 1, "nothing in flight holds a looper");
    mLooper.reset();
    --mDepth;
    mTurning = false;
    mActor.reset();
    mPipes.reset();
    mTimer.reset();
    mTimerIds.clear();
    mTaskIds.clear();
}

void LocalLoop::begin() {
    mTimer = mKeptTimer ? mKeptTimer : sp<KsTimer>(new KsTimer);
    mLooper = new Looper(mTimer);
    mTimer->setTimerNotifier(mLooper.get());
    mActor = new Actor(mLooper.get(), calledBack, this);
    mPipes = std::make_unique<Descriptors>(mInput, calledBack, this);
}

int LocalLoop::drawId(const std::vector<int>& ids) {
    return ids[static_cast<size_t>(mInput.draw(static_cast<int>(ids.size())))];
}

void LocalLoop::calledBack(void* self) {
    auto* const loop = static_cast<LocalLoop*>(self);
    // The actor and the pipes are still there while the looper is being destroyed.
    if (loop->mLooper && !loop->mInput.empty()) loop->act();
}

int LocalLoop::timeOut(void* self) {
    calledBack(self);
    return static_cast<LocalLoop*>(self)->mInput.drawOf(RESULTS);
}
