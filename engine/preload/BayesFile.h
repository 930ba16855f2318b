#pragma once

#include <cstdint>
#include <string>

#include "preload/TextReader.h"

class PersistentFile;

// The Bayes model's file: how it is stored, and how its text is scanned.

// Stores a model; returns Bayes::OK or the error, which is logged.
int storeModelText(PersistentFile& file, const std::string& text);

// Reads leniently, as the scanf() formats given here do: a field that does not parse is passed
// over, and what was to receive it keeps its value. Each function returns how many items it read,
// or END.
class ModelScanner {
  public:
    static constexpr int END = -1;
    static constexpr int REFUSED = -100;

    explicit ModelScanner(const std::string& text) : mReader(text) {}

    int scanNumber(int& number);                            // "%d"
    int scanKeyAndNumber(int& number);                      // "%*s %d"
    int skipKeyAndNumber();                                 // "%*s %*d\n"
    int scanNumbers(int& first, int& second);               // "%d %d\n"
    int scanWordAndNumber(std::string& word, int& number);  // "%63s %d\n"

    // Calls `readEntry`, which scans once and returns the items read or REFUSED, `count` times.
    // False when it refused. Ends early where the text does, or where no further call could get
    // past what stands in it: the rest of the calls would do nothing but count.
    template <typename ReadEntry>
    bool scanEntries(int count, const ReadEntry& readEntry) {
        for (int i = 0; i < count; ++i) {
            const size_t position = mReader.position();
            const int items = readEntry();
            if (items == REFUSED) return false;
            if (items == END || (items == 0 && mReader.position() == position)) {
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
    void beginScan();
    static void skipScans(int count);

    TextReader mReader;
    uint32_t mLastScan = 0;
};
