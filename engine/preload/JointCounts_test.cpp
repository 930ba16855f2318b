#include "preload/JointCounts.h"

#include <gtest/gtest.h>

#include <random>

namespace {

// The same counts as one map of texts, which is what the model's file is.
class PlainCounts {
  public:
    int& at(int feature, int value, int y) { return mCounts[keyOf(feature, value, y)]; }
    int peek(int feature, int value, int y) const {
        const auto found = mCounts.find(keyOf(feature, value, y));
        return found == mCounts.end() ? 0 : found->second;
    }
    void set(const std::string& key, int count) { mCounts[key] = count; }

    std::string text() const {
        std::string text;
        for (const auto& [key, count] : mCounts) text += key + " " + std::to_string(count) + "\n";
        return text;
    }
    size_t size() const { return mCounts.size(); }
    size_t keyBytes() const {
        size_t bytes = 0;
        for (const auto& [key, count] : mCounts) bytes += key.size();
        return bytes;
    }

  private:
    static std::string keyOf(int feature, int value, int y) {
        return std::to_string(feature) + ":" + std::to_string(value) + ":" + std::to_string(y);
    }

    std::map<std::string, int> mCounts;
};

TEST(JointCounts, areAMapOfTheirKeys) {
    const std::string foreign[] = {"0:1:007",    "x",      "0:1:",   "1:2:3:4",
                                   ":::",        "0:1:+2", "0:-3:0", "0:1:65535",
                                   "0:1:100000", "0:1:9",  "a:b:3",  "0:12:1"};
    std::mt19937 random(5);
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    for (int round = 0; round < 40; ++round) {
        JointCounts counts;
        PlainCounts plain;
        for (int step = 0; step < 60; ++step) {
            const int feature = below(13);
            const int value = below(14) - 2;
            const int y = below(2) == 0 ? below(13) : below(1200);
            const int deed = below(8);
            if (deed < 5) {
                counts.countUp(feature, value, y);
                ++plain.at(feature, value, y);
            } else if (deed < 7) {
                const bool entersZeros = deed == 6;
                std::vector<int32_t> found(static_cast<size_t>(below(130)));
                counts.lookUp(feature, value, entersZeros, found);
                for (size_t i = 0; i < found.size(); ++i) {
                    const int ofClass = static_cast<int>(i);
                    ASSERT_EQ(found[i], entersZeros ? plain.at(feature, value, ofClass)
                                                    : plain.peek(feature, value, ofClass));
                }
            } else if (round % 2 == 0) {  // without any the lines are written another way
                const std::string& key = foreign[below(12)];
                counts.set(key, step);
                plain.set(key, step);
            }
        }
        std::string text = "before ";
        counts.appendTo(text);
        ASSERT_EQ(text, "before " + plain.text());
        ASSERT_EQ(counts.size(), plain.size());
        ASSERT_EQ(counts.keyBytes(), plain.keyBytes());
    }
}

}  // namespace
