#include "tools/synth/Person.h"

#include <algorithm>

Person::Person(Random& random, size_t apps) : mRandom(random), mPhone(random, apps) {
    mBack = mRandom.within(0.15, 0.26);
    mFollow = mRandom.within(0.36, 0.46);
    mRecent = mRandom.within(0.08, 0.18);
    mCare = mRandom.within(0.04, 0.22);
    for (Habit& habit : mHabits) {
        habit.weekday = mRandom.between(0, 6);
        habit.halfHour = mRandom.between(14, 42);
        habit.app = mPhone.any();
    }
    for (Place& app : mRoutine) app = mPhone.favourite(WAKING);
    mTopic = mPhone.any();
}

void Person::passNight(int weekday) {
    mWeekday = weekday;
    mRoutineDone = 0;
    mPhone.passNight();
    const auto removed = [&](Place app) { return !mPhone.holds(app); };
    mLast.erase(std::remove_if(mLast.begin(), mLast.end(), removed), mLast.end());
    for (Habit& habit : mHabits) {
        if (removed(habit.app)) habit.app = mPhone.any();
    }
    if (removed(mTopic) || mRandom.chance(0.4)) mTopic = mPhone.any();
    for (Place& app : mRoutine) {
        if (removed(app)) app = mPhone.favourite(WAKING);
    }
}

uint64_t Person::takeUp(Situation situation, int halfHour) {
    const Place app = first(situation, halfHour);
    mCurrent = app;
    mLooping = false;
    return open(app);
}

uint64_t Person::goOn(Situation situation) {
    for (;;) {
        const Place app = next(situation);
        if (app == mCurrent) continue;
        mLooping = app == mPrevious;
        return open(app);
    }
}

Phone::Place Person::first(Situation situation, int halfHour) {
    if (mRoutineDone < mRoutine.size() && mRandom.chance(0.8)) return mRoutine[mRoutineDone++];
    for (const Habit& habit : mHabits) {
        const bool due = habit.weekday == mWeekday && habit.halfHour == halfHour;
        if (due && mRandom.chance(0.8)) return habit.app;
    }
    const double kind = mRandom.unit();
    if (kind < 0.03) return mPhone.any();
    if (kind < 0.25 && !mLast.empty()) return mLast[mRandom.ranked(mLast.size())];
    return favourite(situation);
}

Phone::Place Person::next(Situation situation) {
    double kind = mRandom.unit();
    const double back = mLooping ? 1.5 * mBack : mBack;
    if (kind < back) return mPrevious;
    kind -= back;
    if (kind < mFollow) return mPhone.follower(mCurrent);
    kind -= mFollow;
    if (kind < mRecent) return mLast[mRandom.ranked(mLast.size())];
    kind -= mRecent;
    return kind < 0.02 ? mPhone.any() : favourite(situation);
}

Phone::Place Person::favourite(Situation situation) {
    return mRandom.chance(mCare) ? mTopic : mPhone.favourite(situation);
}

uint64_t Person::open(Place app) {
    mPrevious = mCurrent;
    mCurrent = app;
    const auto known = std::find(mLast.begin(), mLast.end(), app);
    if (known != mLast.end()) {
        mLast.erase(known);
    } else if (mLast.size() == RECENT) {
        mLast.pop_back();
    }
    mLast.insert(mLast.begin(), app);
    return mPhone.app(app);
}
