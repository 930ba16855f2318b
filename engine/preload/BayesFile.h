#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

// The Bayes model's file: how it is rewritten, and its text, value by value.

// Stores a model; returns Bayes::OK or the error, which is logged.
int storeModelText(const std::string& modelPath, const std::string& text);

class ModelText {
  public:
    ModelText& operator<<(std::string_view text) {
        mText += text;
        return *this;
    }
    ModelText& operator<<(char c) {
        mText += c;
        return *this;
    }
    ModelText& operator<<(int number);

    std::string& text() { return mText; }

  private:
    std::string mText;
};

// Reads leniently: a field that does not parse is passed over, and what was to receive it keeps its
// value.
class ModelScanner {
  public:
    static constexpr int REFUSED = -100;

    explicit ModelScanner(FILE* file) : mFile(file) {}

    // fscanf(), counted.
    int scan(const char* format, ...) __attribute__((format(scanf, 2, 3)));

    // Calls `readEntry`, which scans once and returns the items read or REFUSED, `count` times.
    // False when it refused. Ends early where the file does, or where no further call could get
    // past what stands in it: the rest of the calls would do nothing but count.
    template <typename ReadEntry>
    bool scanEntries(int count, const ReadEntry& readEntry) {
        for (int i = 0; i < count; ++i) {
            const long position = ftell(mFile);
            const int items = readEntry();
            if (items == REFUSED) return false;
            if (items == EOF || (items == 0 && ftell(mFile) == position)) {
                skipScans(count - i - 1);
                return true;
            }
        }
        return true;
    }

    // The number of this scanner's last scan among all scans in the life of the process, which
    // tells at which field a load failed.
    int lastScan() const { return static_cast<int>(mLastScan); }

  private:
    static void skipScans(int count);

    FILE* const mFile;
    uint32_t mLastScan = 0;
};
