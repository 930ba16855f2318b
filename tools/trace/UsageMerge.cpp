#include "tools/trace/UsageMerge.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>

namespace {

// Runs between landmarks are compared each with each up to so many pairs.
constexpr size_t MAX_PAIRS = 4 * 1024 * 1024;

struct Hash {
    size_t operator()(const UsageEvent* event) const {
        uint64_t hash = static_cast<uint64_t>(event->clock.count());
        for (const uint64_t part : {event->type, event->package}) {
            hash = (hash ^ part) * 0x9e3779b97f4a7c15;
            hash ^= hash >> 29;
        }
        return hash;
    }
};

struct Same {
    bool operator()(const UsageEvent* a, const UsageEvent* b) const { return a->sameAs(*b); }
};

bool earlier(const UsageEvent& a, const UsageEvent& b) {
    return a.clock < b.clock;
}

// The same event's places in two histories.
struct Pair {
    size_t left;
    size_t right;
};
using Pairs = std::vector<Pair>;

// The longest choice of pairs in which both places grow. REQUIRES: the right ones grow.
Pairs longestGrowing(const Pairs& pairs) {
    std::vector<size_t> ends;  // of the best choice of each length, the pair it ends with
    std::vector<size_t> before(pairs.size());
    for (size_t i = 0; i < pairs.size(); ++i) {
        const auto place =
            std::lower_bound(ends.begin(), ends.end(), pairs[i].left,
                             [&](size_t pair, size_t left) { return pairs[pair].left < left; });
        before[i] = place == ends.begin() ? i : *std::prev(place);
        if (place == ends.end()) {
            ends.push_back(i);
        } else {
            *place = i;
        }
    }
    Pairs chosen(ends.size());
    size_t at = ends.empty() ? 0 : ends.back();
    for (size_t i = ends.size(); i > 0; --i) {
        chosen[i - 1] = pairs[at];
        at = before[at];
    }
    return chosen;
}

// Events that stand once in either: a first rough alignment.
Pairs landmarks(const UsageEvents& left, const UsageEvents& right) {
    struct Places {
        size_t lefts = 0;
        size_t rights = 0;
        Pair pair{};
    };
    std::unordered_map<const UsageEvent*, Places, Hash, Same> places;
    for (size_t i = 0; i < right.size(); ++i) {
        Places& known = places[&right[i]];
        ++known.rights;
        known.pair.right = i;
    }
    for (size_t i = 0; i < left.size(); ++i) {
        const auto known = places.find(&left[i]);
        if (known == places.end()) continue;
        ++known->second.lefts;
        known->second.pair.left = i;
    }
    Pairs pairs;
    for (const auto& [event, known] : places) {
        if (known.lefts == 1 && known.rights == 1) pairs.push_back(known.pair);
    }
    std::sort(pairs.begin(), pairs.end(),
              [](const Pair& a, const Pair& b) { return a.right < b.right; });
    return longestGrowing(pairs);
}

// A part of a history.
struct Run {
    const UsageEvent* begin;
    size_t size;
};

// Goes through two runs by the clock and pairs what is the same.
Pairs commonByTime(Run left, Run right) {
    Pairs pairs;
    for (size_t i = 0, j = 0; i < left.size && j < right.size;) {
        if (left.begin[i].sameAs(right.begin[j])) {
            pairs.push_back({i++, j++});
        } else if (earlier(right.begin[j], left.begin[i])) {
            ++j;
        } else {
            ++i;
        }
    }
    return pairs;
}

// The longest common subsequence of two runs, or a good one when they are long.
Pairs commonEvents(Run left, Run right) {
    if (left.size == 0 || right.size == 0) return {};
    if (left.size > MAX_PAIRS / right.size) return commonByTime(left, right);
    const size_t width = right.size + 1;
    std::vector<uint32_t> lengths((left.size + 1) * width);  // of the best from there on
    for (size_t i = left.size; i-- > 0;) {
        for (size_t j = right.size; j-- > 0;) {
            lengths[i * width + j] =
                left.begin[i].sameAs(right.begin[j])
                    ? lengths[(i + 1) * width + j + 1] + 1
                    : std::max(lengths[(i + 1) * width + j], lengths[i * width + j + 1]);
        }
    }
    Pairs pairs;
    for (size_t i = 0, j = 0; i < left.size && j < right.size;) {
        if (left.begin[i].sameAs(right.begin[j])) {
            pairs.push_back({i++, j++});
        } else if (lengths[(i + 1) * width + j] >= lengths[i * width + j + 1]) {
            ++i;
        } else {
            ++j;
        }
    }
    return pairs;
}

// Merges two histories piece by piece, with what they are known to share standing once.
template <typename MergePiece>
void mergeAround(const Pairs& shared, Run left, Run right, UsageEvents& to,
                 const MergePiece& mergePiece) {
    Pair from{0, 0};
    for (const Pair& pair : shared) {
        mergePiece(Run{left.begin + from.left, pair.left - from.left},
                   Run{right.begin + from.right, pair.right - from.right}, to);
        to.push_back(left.begin[pair.left]);
        from = {pair.left + 1, pair.right + 1};
    }
    mergePiece(Run{left.begin + from.left, left.size - from.left},
               Run{right.begin + from.right, right.size - from.right}, to);
}

void mergeByTime(Run left, Run right, UsageEvents& to) {
    std::merge(left.begin, left.begin + left.size, right.begin, right.begin + right.size,
               std::back_inserter(to), earlier);
}

void mergeRuns(Run left, Run right, UsageEvents& to) {
    mergeAround(commonEvents(left, right), left, right, to, mergeByTime);
}

}  // namespace

int leaningOf(const UsageEvents& section) {
    int steps = 0;
    for (size_t i = 1; i < section.size(); ++i) {
        steps += earlier(section[i - 1], section[i]) ? 1 : 0;
        steps -= earlier(section[i], section[i - 1]) ? 1 : 0;
    }
    return (steps > 0) - (steps < 0);
}

void orderOldestFirst(UsageEvents& section, int leaning) {
    const int own = leaningOf(section);
    if (own < 0 || (own == 0 && leaning < 0)) std::reverse(section.begin(), section.end());
}

UsageEvents mergeSections(std::vector<UsageEvents> sections) {
    // The longest is likely to hold the others.
    std::stable_sort(
        sections.begin(), sections.end(),
        [](const UsageEvents& a, const UsageEvents& b) { return a.size() > b.size(); });
    UsageEvents merged;
    for (const UsageEvents& section : sections) {
        UsageEvents both;
        both.reserve(merged.size() + section.size());
        mergeAround(landmarks(merged, section), {merged.data(), merged.size()},
                    {section.data(), section.size()}, both, mergeRuns);
        merged.swap(both);
    }
    return merged;
}
