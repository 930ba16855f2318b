#include "zml/OpeningHistory.h"

namespace zml {

namespace {

constexpr uint8_t BREAK = 0xff;  // between two runs

}  // namespace

void OpeningHistory::beginRun() {
    if (mEnd == 0 || at(mEnd - 1) == BREAK) return;
    mIds[mEnd % CAPACITY] = BREAK;
    ++mEnd;
}

void OpeningHistory::add(int id) {
    const int pair = context();
    if (pair >= 0) {
        size_t& newest = mNewest[static_cast<size_t>(pair)];
        const size_t distance = mEnd - newest;
        const bool chained = newest > 0 && distance < CAPACITY;
        mDistances[mEnd % CAPACITY] = static_cast<uint16_t>(chained ? distance : 0);
        newest = mEnd;
    }
    mIds[mEnd % CAPACITY] = static_cast<uint8_t>(id);
    ++mEnd;
}

int OpeningHistory::context() const {
    if (mEnd < CONTEXT) return -1;
    const int older = at(mEnd - 2);
    const int newer = at(mEnd - 1);
    return older == BREAK || newer == BREAK ? -1 : older * VOCABULARY + newer;
}

// How many ids before the place are those before the end, 0 when they are no more than `least`.
size_t OpeningHistory::matchBefore(size_t place, size_t least) const {
    const size_t room = place - oldest();
    if (least >= Repeats::LONGEST || room <= least) return 0;
    if (at(place - 1 - least) != at(mEnd - 1 - least)) return 0;
    size_t length = 0;
    while (length < Repeats::LONGEST && length < room && at(place - 1 - length) != BREAK &&
           at(place - 1 - length) == at(mEnd - 1 - length)) {
        ++length;
    }
    return length;
}

void OpeningHistory::findRepeats(Repeats& repeats) const {
    repeats.count = 0;
    repeats.matched = 0;
    const int pair = context();
    if (pair < 0) return;
    size_t place = mNewest[static_cast<size_t>(pair)];
    while (place >= oldest() + CONTEXT && repeats.count < Repeats::MAX) {
        repeats.ids[repeats.count] = at(place);
        repeats.ages[repeats.count] = static_cast<float>(mEnd - 1 - place);
        ++repeats.count;
        const size_t length = matchBefore(place, repeats.matched);
        if (length > repeats.matched) {
            repeats.matched = length;
            repeats.matchedId = at(place);
        }
        const size_t distance = mDistances[place % CAPACITY];
        if (distance == 0) break;
        place -= distance;
    }
}

}  // namespace zml
