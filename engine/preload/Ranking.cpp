#include "preload/Ranking.h"

#include <algorithm>
#include <cstddef>

std::vector<int> ranking(const std::vector<float>& scores) {
    std::vector<int> places;
    for (size_t i = 0; i < scores.size(); ++i) {
        if (scores[i] > 0.0F) places.push_back(static_cast<int>(i));
    }
    std::sort(places.begin(), places.end(), [&](int a, int b) {
        const float scoreA = scores[static_cast<size_t>(a)];
        const float scoreB = scores[static_cast<size_t>(b)];
        return scoreA > scoreB || (scoreA == scoreB && a < b);
    });
    return places;
}
