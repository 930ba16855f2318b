#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

// How many samples of a class had a value of a feature: the counts m(feature,value,class) of a
// Bayes model. Its file lists them by the keys "feature:value:class", in byte-wise order of that
// text. Here those of one feature and value stand in a row, by the text of their class, so that a
// prediction walks a row and a save walks them all, without looking anything up.
class JointCounts {
  public:
    void countUp(int feature, int value, int y);

    // The counts of all classes 0..counts.size() - 1, 0 for what there is none of. When
    // `entersZeros` those zeros become entries.
    void lookUp(int feature, int value, bool entersZeros, std::vector<int32_t>& counts);

    // An entry as a file gives it, in place of one of the same key. A key that is none of a model's
    // own spelling ("0:1:007", "x") is kept as it is and stands for no class.
    void set(const std::string& key, int count);

    size_t size() const { return mSize; }

    // The length of all keys.
    size_t keyBytes() const;

    // Appends a line "key count" for each entry.
    void appendTo(std::string& text) const;

    void clear();

  private:
    // The text of a class, filled up with zeros: it gives the entries' order.
    struct ClassText {
        char bytes[8];
        bool operator<(const ClassText& other) const {
            return std::memcmp(bytes, other.bytes, sizeof(bytes)) < 0;
        }
    };

    struct Entry {
        ClassText text;
        int32_t y;
        int32_t count;
    };
    using Row = std::vector<Entry>;

    static ClassText textOf(int y);
    int32_t& entryOf(Row& row, int y);

    std::map<std::string, Row> mRows;  // by the part of a key before the class: "feature:value:"
    std::map<std::string, int> mForeign;
    size_t mSize = 0;
};
