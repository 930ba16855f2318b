#include "base/BrainEvent.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>

TEST(BrainEvent, IsZeroWhateverMemoryItIsBuiltOn) {
    alignas(BrainEvent) unsigned char memory[sizeof(BrainEvent)];
    memset(memory, 0xff, sizeof(memory));
    auto* const event = new (memory) BrainEvent;
    EXPECT_EQ(event->package, "");
    EXPECT_TRUE(event->packageList.empty());
    // All that lies between the count, the string and the list.
    for (const auto& [begin, end] : {std::pair(12, 24), {48, 160}, {184, 256}}) {
        EXPECT_EQ(std::count(memory + begin, memory + end, 0), end - begin) << "from " << begin;
    }
    event->~BrainEvent();
}
