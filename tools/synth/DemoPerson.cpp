#include "tools/synth/DemoPerson.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr const char* APPS[] = {
    "mail",    "chat",       "browser",  "calendar",  "camera",   "gallery",  "maps",    "music",
    "podcast", "news",       "weather",  "clock",     "notes",    "tasks",    "phone",   "contacts",
    "texts",   "bank",       "wallet",   "shop",      "auctions", "recipes",  "fitness", "steps",
    "sleep",   "radio",      "video",    "series",    "books",    "comics",   "puzzle",  "chess",
    "cards",   "racing",     "farm",     "translate", "words",    "school",   "drive",   "files",
    "scanner", "office",     "sheets",   "meeting",   "team",     "train",    "bus",     "bicycle",
    "parking", "travel",     "hotels",   "photoedit", "social",   "forum",    "garden",  "home",
    "torch",   "calculator", "settings", "store",     "compass",  "football",
};

constexpr size_t APP_COUNT = std::size(APPS);

size_t appOf(const std::string& word) {
    return static_cast<size_t>(std::find(std::begin(APPS), std::end(APPS), word) -
                               std::begin(APPS));
}

std::vector<size_t> appsOf(std::initializer_list<const char*> words) {
    std::vector<size_t> apps;
    for (const char* word : words) apps.push_back(appOf(word));
    return apps;
}

constexpr size_t FOLLOWERS = 3;
constexpr size_t LIKED_BEGIN = 2;  // the most liked stay where they are longest

}  // namespace

DemoPerson::DemoPerson(DemoRandom& random) : mRandom(random), mFollowers(APP_COUNT) {
    mFavourites[WAKING] = appsOf({"clock", "weather", "chat", "news", "mail", "radio", "sleep"});
    mFavourites[COMMUTE] = appsOf(
        {"train", "music", "podcast", "news", "chat", "social", "books", "wallet", "bus", "maps"});
    mFavourites[WORK] = appsOf(
        {"mail", "team", "calendar", "browser", "notes", "tasks", "files", "meeting", "sheets"});
    mFavourites[BREAK] =
        appsOf({"chat", "social", "browser", "news", "bank", "football", "puzzle", "recipes"});
    mFavourites[EVENING] = appsOf({"chat", "video", "series", "social", "recipes", "shop",
                                   "gallery", "browser", "home", "phone", "chess"});
    mFavourites[BED] = appsOf({"clock", "books", "social", "chat", "series", "sleep", "words"});
    mFavourites[LEISURE] = appsOf({"camera", "gallery", "maps", "fitness", "chat", "social",
                                   "browser", "weather", "steps", "shop", "bicycle", "music"});
    for (std::vector<size_t>& apps : mFavourites) mRandom.shuffle(apps);

    for (size_t app = 0; app < APP_COUNT; ++app) mTail.push_back(app);
    mRandom.shuffle(mTail);

    // An app is followed by what is liked in the same situation, or by anything.
    for (size_t app = 0; app < APP_COUNT; ++app) {
        std::vector<const std::vector<size_t>*> shared;
        for (const std::vector<size_t>& apps : mFavourites) {
            if (std::find(apps.begin(), apps.end(), app) != apps.end()) shared.push_back(&apps);
        }
        while (mFollowers[app].size() < FOLLOWERS) {
            const std::vector<size_t>& source =
                shared.empty() ? mTail : *shared[mRandom.below(shared.size())];
            mFollowers[app].push_back(source[mRandom.ranked(source.size())]);
        }
    }

    const std::vector<size_t> games = appsOf({"puzzle", "cards", "racing", "farm"});
    mCraze = games[mRandom.below(games.size())];
    mCrazeWeek = static_cast<int>(mRandom.between(2, 4));
}

size_t DemoPerson::appCount() {
    return APP_COUNT;
}

std::string DemoPerson::appName(size_t app) {
    return std::string("com.example.") + APPS[app];
}

double DemoPerson::pickUps(bool weekend, int hour) {
    constexpr double WORKING_DAY[] = {0,   0,   0,   0,   0,   0,   0.7, 1.7, 1.7, 0.8, 0.9, 0.9,
                                      1.9, 1.2, 0.9, 0.8, 0.9, 1.7, 1.5, 1.4, 1.7, 1.9, 1.5, 0.3};
    constexpr double DAY_OFF[] = {0,   0,   0,   0,   0,   0,   0.1, 0.4, 1.0, 1.5, 1.6, 1.5,
                                  1.5, 1.4, 1.4, 1.4, 1.4, 1.4, 1.5, 1.5, 1.7, 1.9, 1.6, 0.6};
    return weekend ? DAY_OFF[hour] : WORKING_DAY[hour];
}

DemoPerson::Situation DemoPerson::situation(bool weekend, int hour) {
    if (hour >= 22) return BED;
    if (hour >= 19) return EVENING;
    if (weekend) return hour < 9 ? WAKING : LEISURE;
    if (hour < 8) return WAKING;
    if (hour == 8 || hour >= 17) return COMMUTE;
    return hour == 12 ? BREAK : WORK;
}

size_t DemoPerson::favourite(Situation where) {
    const std::vector<size_t>& apps = mFavourites[where];
    return apps[mRandom.ranked(apps.size())];
}

size_t DemoPerson::fromTail() {
    return mTail[mRandom.ranked(mTail.size())];
}

size_t DemoPerson::first(bool weekend, int hour) {
    if (mRandom.chance(0.06)) return fromTail();
    if (mRandom.chance(mCrazeShare)) return mCraze;
    return favourite(situation(weekend, hour));
}

size_t DemoPerson::next(bool weekend, int hour, size_t previous, size_t current) {
    for (;;) {
        size_t app = 0;
        const double kind = mRandom.unit();
        if (kind < 0.20) {
            app = previous;  // there and back again
        } else if (kind < 0.78) {
            const std::vector<size_t>& followers = mFollowers[current];
            app = followers[mRandom.chance(0.78) ? 0 : 1 + mRandom.below(followers.size() - 1)];
        } else if (kind < 0.95) {
            app = mRandom.chance(mCrazeShare) ? mCraze : favourite(situation(weekend, hour));
        } else {
            app = fromTail();
        }
        if (app != current) return app;
    }
}

void DemoPerson::passWeek(int week) {
    for (std::vector<size_t>& apps : mFavourites) {
        const size_t place = LIKED_BEGIN + mRandom.below(apps.size() - LIKED_BEGIN);
        if (mRandom.chance(0.5)) std::swap(apps[place], apps[place - 1]);
        if (mRandom.chance(0.3)) apps.back() = fromTail();
    }
    for (std::vector<size_t>& followers : mFollowers) {
        if (mRandom.chance(0.08)) followers[mRandom.below(FOLLOWERS)] = fromTail();
    }
    const int age = week - mCrazeWeek;
    mCrazeShare = age < 0 ? 0 : age < 2 ? 0.25 : age < 4 ? 0.1 : 0.02;
}
