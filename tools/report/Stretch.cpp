#include "tools/report/Stretch.h"

size_t lastOfStretch(size_t stretch) {
    constexpr size_t STEPS[] = {10, 20, 50};
    size_t last = STEPS[stretch % 3];
    for (size_t i = 0; i < stretch / 3; ++i) last *= 10;
    return last;
}

size_t stretchOf(size_t opening) {
    size_t stretch = 0;
    while (lastOfStretch(stretch) < opening) ++stretch;
    return stretch;
}
