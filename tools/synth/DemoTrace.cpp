#include "tools/synth/DemoTrace.h"

#include <algorithm>
#include <vector>

#include "tools/synth/DemoPerson.h"
#include "tools/synth/DemoRandom.h"

namespace {

constexpr int64_t FIRST_DAY = 1709510400;  // Monday 2024-03-04T00:00:00Z
constexpr int64_t DAY = 24 * 60 * 60;
constexpr int64_t HALF_HOUR = 30 * 60;
constexpr int WEEKS = 8;

// The days one after the other, written down row by row.
class Diary {
  public:
    explicit Diary(uint64_t seed) : mRandom(seed), mPerson(mRandom) {}

    std::string write() {
        for (int day = 0; day < WEEKS * 7; ++day) {
            if (day % 7 == 0) mPerson.passWeek(day / 7);
            liveDay(FIRST_DAY + day * DAY, day % 7 >= 5);
        }
        return std::move(mText);
    }

  private:
    void liveDay(int64_t midnight, bool weekend) {
        for (int half = 0; half < 48; ++half) {
            const int hour = half / 2;
            const double expected = DemoPerson::pickUps(weekend, hour);
            std::vector<int64_t> starts(static_cast<size_t>(expected + mRandom.unit()));
            for (int64_t& start : starts) {
                start = midnight + half * HALF_HOUR + mRandom.between(0, HALF_HOUR - 1);
            }
            std::sort(starts.begin(), starts.end());
            for (const int64_t start : starts) usePhone(start, weekend, hour);
        }
    }

    // From taking the phone up to putting it away.
    void usePhone(int64_t start, bool weekend, int hour) {
        mTime = std::max(start, mTime + 30);
        size_t previous = mPerson.first(weekend, hour);
        size_t current = previous;
        open(current);
        while (mRandom.chance(0.76)) {
            mTime += mRandom.chance(0.8) ? mRandom.between(8, 90) : mRandom.between(90, 400);
            const size_t next = mPerson.next(weekend, hour, previous, current);
            previous = current;
            current = next;
            open(current);
        }
    }

    void open(size_t app) {
        mText += std::to_string(mTime) + ',' + DemoPerson::appName(app) + '\n';
    }

    DemoRandom mRandom;
    DemoPerson mPerson;
    int64_t mTime = 0;  // of the last opening
    std::string mText = "time,package\n";
};

}  // namespace

std::string makeDemoTrace(uint64_t seed) {
    return Diary(seed).write();
}
