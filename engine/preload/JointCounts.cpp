#include "preload/JointCounts.h"

#include <algorithm>

#include "preload/Count.h"

namespace {

constexpr size_t MAX_DIGITS = 11;  // of an int, with its sign
constexpr int MAX_CLASS_DIGITS = 5;

// Writes a number and returns where it ends. By hand, as the phone's C++ library is older than
// <charconv> and models are large.
char* writeNumber(char* at, int number) {
    if (number >= 0 && number <= 9) {
        *at++ = static_cast<char>('0' + number);
        return at;
    }
    uint32_t rest = static_cast<uint32_t>(number);
    if (number < 0) {
        *at++ = '-';
        rest = 0 - rest;
    }
    size_t digits = 1;
    for (uint32_t above = rest; above >= 10; above /= 10) ++digits;
    for (size_t i = digits; i > 0; --i, rest /= 10) at[i - 1] = static_cast<char>('0' + rest % 10);
    return at + digits;
}

size_t digitsOf(int y) {
    return 1 + (y > 9) + (y > 99) + (y > 999) + (y > 9999);
}

// Gathers lines that are mostly a few bytes long, and appends them to a text in larger pieces.
class LineBuffer {
  public:
    explicit LineBuffer(std::string& text) : mText(text) {}
    ~LineBuffer() { flush(); }

    // Where the next line goes: there is room for so many bytes.
    char* room(size_t bytes) {
        if (sizeof(mBytes) - mUsed < bytes) flush();
        return mBytes + mUsed;
    }
    void end(const char* line) { mUsed = static_cast<size_t>(line - mBytes); }

  private:
    void flush() {
        mText.append(mBytes, mUsed);
        mUsed = 0;
    }

    std::string& mText;
    char mBytes[4096];
    size_t mUsed = 0;
};

std::string rowKey(int feature, int value) {
    return std::to_string(feature) + ':' + std::to_string(value) + ':';
}

// Takes the class off a key, which leaves that of its row; -1 for a key in a spelling that no model
// writes.
int takeClass(std::string& key) {
    const size_t colon = key.rfind(':');
    if (colon == std::string::npos || std::count(key.begin(), key.end(), ':') != 2) return -1;
    const size_t digits = key.size() - colon - 1;
    if (digits == 0 || digits > MAX_CLASS_DIGITS || (digits > 1 && key[colon + 1] == '0')) {
        return -1;
    }
    int y = 0;
    for (size_t i = colon + 1; i < key.size(); ++i) {
        if (key[i] < '0' || key[i] > '9') return -1;
        y = 10 * y + (key[i] - '0');
    }
    key.resize(colon + 1);
    return y;
}

}  // namespace

JointCounts::ClassText JointCounts::textOf(int y) {
    ClassText text{};
    writeNumber(text.bytes, y);
    return text;
}

int32_t& JointCounts::entryOf(Row& row, int y) {
    const auto before = [](const Entry& entry, const ClassText& text) { return entry.text < text; };
    const ClassText text = textOf(y);
    auto entry = row.end();
    if (!row.empty() && !before(row.back(), text)) {
        entry = std::lower_bound(row.begin(), row.end(), text, before);
    }
    if (entry == row.end() || entry->y != y) {
        entry = row.insert(entry, {text, y, 0});
        ++mSize;
    }
    return entry->count;
}

void JointCounts::countUp(int feature, int value, int y) {
    ::countUp(entryOf(mRows[rowKey(feature, value)], y));
}

void JointCounts::lookUp(int feature, int value, bool entersZeros, std::vector<int32_t>& counts) {
    constexpr int32_t ABSENT = -1;
    std::fill(counts.begin(), counts.end(), ABSENT);
    const std::string key = rowKey(feature, value);
    auto found = mRows.find(key);
    if (found == mRows.end() && entersZeros) found = mRows.emplace(key, Row()).first;
    if (found != mRows.end()) {
        for (const Entry& entry : found->second) {
            if (static_cast<size_t>(entry.y) < counts.size()) {
                counts[static_cast<size_t>(entry.y)] = entry.count;
            }
        }
    }
    bool entered = false;
    for (size_t y = 0; y < counts.size(); ++y) {
        if (counts[y] != ABSENT) continue;
        counts[y] = 0;
        if (!entersZeros) continue;
        found->second.push_back({textOf(static_cast<int>(y)), static_cast<int32_t>(y), 0});
        ++mSize;
        entered = true;
    }
    if (entered) {
        std::sort(found->second.begin(), found->second.end(),
                  [](const Entry& a, const Entry& b) { return a.text < b.text; });
    }
}

void JointCounts::set(const std::string& key, int count) {
    std::string row = key;
    if (const int y = takeClass(row); y >= 0) {
        // A file is sorted, as a rule.
        const bool last = !mRows.empty() && mRows.rbegin()->first == row;
        entryOf(last ? mRows.rbegin()->second : mRows[row], y) = count;
    } else {
        mSize += mForeign.insert_or_assign(key, count).second;
    }
}

size_t JointCounts::keyBytes() const {
    size_t bytes = 0;
    for (const auto& [key, row] : mRows) {
        for (const Entry& entry : row) bytes += key.size() + digitsOf(entry.y);
    }
    for (const auto& [key, count] : mForeign) bytes += key.size();
    return bytes;
}

void JointCounts::appendTo(std::string& text) const {
    if (mForeign.empty()) {
        LineBuffer lines(text);
        for (const auto& [key, row] : mRows) {
            // So many bytes are copied at once, however long the key is.
            constexpr size_t USUAL_KEY = 16;
            std::string padded = key;
            padded.resize(key.size() + USUAL_KEY);
            const size_t longest = padded.size() + sizeof(ClassText) + MAX_DIGITS + 2;
            for (const Entry& entry : row) {
                char* line = lines.room(longest);
                std::memcpy(line, padded.data(), USUAL_KEY);
                if (key.size() > USUAL_KEY) std::copy(key.begin(), key.end(), line);
                line += key.size();
                std::memcpy(line, entry.text.bytes, sizeof(ClassText));
                line += digitsOf(entry.y);
                *line++ = ' ';
                line = writeNumber(line, entry.count);
                *line++ = '\n';
                lines.end(line);
            }
        }
        return;
    }
    std::map<std::string, int> all = mForeign;
    for (const auto& [key, row] : mRows) {
        for (const Entry& entry : row) all[key + std::to_string(entry.y)] = entry.count;
    }
    for (const auto& [key, count] : all) text += key + ' ' + std::to_string(count) + '\n';
}

void JointCounts::clear() {
    mRows.clear();
    mForeign.clear();
    mSize = 0;
}
