#include "tools/compare/UnusedPreloads.h"

#include <algorithm>

void UnusedPreloads::next(size_t front, const std::vector<size_t>& list) {
    constexpr Places ALL = (Places{1} << MOST_PRELOADED) - 1;
    for (const size_t name : mHeld) {
        Name& entry = mNames[name];
        entry.before = entry.held;
        entry.held = 0;
    }
    std::vector<size_t> held = {front};
    at(front).held = ALL;
    for (size_t place = 0; place < std::min(list.size(), MOST_PRELOADED); ++place) {
        Name& entry = at(list[place]);
        if (entry.held != 0) continue;  // named twice: the first place counts
        entry.held = ALL << place & ALL;
        entry.waiting |= entry.held & ~entry.before;
        held.push_back(list[place]);
    }
    mNames[front].waiting = 0;
    for (const size_t name : mHeld) {
        Name& entry = mNames[name];
        const Places dropped = entry.waiting & ~entry.held;
        for (size_t i = 0; i < MOST_PRELOADED; ++i) mCounts[i] += dropped >> i & 1;
        entry.waiting &= entry.held;
        entry.before = 0;
    }
    mHeld = std::move(held);
}

UnusedPreloads::Name& UnusedPreloads::at(size_t name) {
    if (name >= mNames.size()) mNames.resize(name + 1);
    return mNames[name];
}
