#include "tools/synth/Phone.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr double TAIL = 16;  // the rank from which on liking falls faster
constexpr double MOODS[] = {0.15, 0.3, 0.6, 1, 1, 1.7, 3};

// The numbers below `count`, widely liked ones rather at the end.
std::vector<uint64_t> shuffledCatalogue(Random& random, size_t count) {
    std::vector<std::pair<double, uint64_t>> order;
    for (size_t app = 0; app < count; ++app) {
        order.emplace_back((static_cast<double>(app) + 2) * random.within(0.03, 1), app);
    }
    std::sort(order.rbegin(), order.rend());
    std::vector<uint64_t> numbers;
    for (const auto& [key, app] : order) numbers.push_back(app);
    return numbers;
}

}  // namespace

Phone::Phone(Random& random, size_t apps)
    : mRandom(random),
      mApps(apps + apps / 8 + 1),
      mFewest(std::max<size_t>(apps - apps / 8, 2)),
      mPool(shuffledCatalogue(random, std::max(apps, CATALOGUE_SIZE))),
      mNextNumber(mPool.size()),
      mSteepness(random.within(0.4, 1.8)) {
    for (Place place = 0; place < apps; ++place) {
        install(place, likingOf(place), 1);
    }
    weigh();
    for (Place place = 0; place < apps; ++place) {
        for (Place& follower : mApps[place].followers) follower = newFollower(place);
    }
}

void Phone::passNight() {
    changeLikings();
    if (mRandom.chance(1.0 / 8)) installOne();
    if (mRandom.chance(1.0 / 8)) removeOne();
    weigh();
}

std::vector<uint64_t> Phone::installed() const {
    std::vector<uint64_t> numbers;
    for (const App& app : mApps) {
        if (app.installed) numbers.push_back(app.number);
    }
    return numbers;
}

Phone::Place Phone::favourite(Situation situation) {
    const std::vector<double>& sums = mSums[situation];
    const auto found = std::upper_bound(sums.begin(), sums.end(), mRandom.unit() * sums.back());
    return static_cast<Place>(found - sums.begin());
}

Phone::Place Phone::any() {
    for (;;) {
        const Place place = mRandom.below(mApps.size());
        if (holds(place)) return place;
    }
}

Phone::Place Phone::follower(Place place) {
    const double kind = mRandom.unit();
    Place& follower = mApps[place].followers[kind < 0.72 ? 0 : kind < 0.91 ? 1 : 2];
    if (!holds(follower) || follower == place) follower = newFollower(place);
    return follower;
}

double Phone::likingOf(size_t rank) const {
    const auto k = static_cast<double>(rank);
    return 1 / ((k + mSteepness) * (1 + k / TAIL));
}

void Phone::install(Place place, double liking, double novelty) {
    App& app = mApps[place];
    app = App();
    app.installed = true;
    app.liking = liking;
    app.novelty = novelty;
    if (mPool.empty()) {
        app.number = mNextNumber++;
    } else {
        app.number = mPool.back();
        mPool.pop_back();
    }
    for (size_t s = 0; s < SITUATION_COUNT; ++s) {
        const bool suits = catalogueSuits(app.number, static_cast<Situation>(s));
        app.suits[s] = suits ? mRandom.within(0.7, 3) : mRandom.within(0.1, 0.4);
    }
    ++mInstalled;
}

// Now and then a new one becomes a craze for some weeks.
void Phone::installOne() {
    const auto empty =
        std::find_if(mApps.begin(), mApps.end(), [](const App& app) { return !app.installed; });
    if (empty == mApps.end()) return;
    const auto place = static_cast<Place>(empty - mApps.begin());
    const double liking = likingOf(mRandom.below(mApps.size()));
    install(place, liking, mRandom.within(1, mRandom.chance(0.3) ? 40 : 8));
    weigh();
    for (Place& follower : mApps[place].followers) follower = newFollower(place);
}

// Rather one that is not liked much.
void Phone::removeOne() {
    if (mInstalled <= mFewest) return;
    const Place one = any();
    const Place other = any();
    const auto liking = [&](Place place) { return mApps[place].liking * mApps[place].mood; };
    mApps[liking(one) < liking(other) ? one : other].installed = false;
    --mInstalled;
}

void Phone::changeLikings() {
    for (Place place = 0; place < mApps.size(); ++place) {
        App& app = mApps[place];
        if (!app.installed) continue;
        if (mRandom.chance(0.06)) app.moodGoal = MOODS[mRandom.below(std::size(MOODS))];
        app.mood += (app.moodGoal - app.mood) * 0.2;
        app.novelty += (1 - app.novelty) * 0.06;
        if (mRandom.chance(0.015)) {
            app.followers[mRandom.below(FOLLOWERS)] = newFollower(place);
        }
    }
}

void Phone::weigh() {
    for (size_t s = 0; s < SITUATION_COUNT; ++s) {
        double sum = 0;
        mSums[s].clear();
        for (const App& app : mApps) {
            if (app.installed) sum += app.liking * app.mood * app.novelty * app.suits[s];
            mSums[s].push_back(sum);
        }
    }
}

// One that is liked where the application itself is used.
Phone::Place Phone::newFollower(Place place) {
    auto situation = static_cast<Situation>(mRandom.below(SITUATION_COUNT));
    while (!catalogueSuits(mApps[place].number, situation)) {
        situation = static_cast<Situation>(mRandom.below(SITUATION_COUNT));
    }
    for (;;) {
        const Place follower = favourite(situation);
        if (follower != place) return follower;
    }
}
