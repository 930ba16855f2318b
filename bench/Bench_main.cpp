#define CATCH_CONFIG_MAIN
#include <android/log.h>

#include <algorithm>
#include <catch2/catch.hpp>
#include <cstdio>

namespace {

// Prints, under each test case, the median of every benchmark and its ratio to the first one, which
// is the reference. Ratios of medians from one run hold where absolute times do not.
class MedianTable : public Catch::TestEventListenerBase {
  public:
    using TestEventListenerBase::TestEventListenerBase;

    void testRunStarting(const Catch::TestRunInfo&) override {
        __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    }

    void testCaseStarting(const Catch::TestCaseInfo& info) override {
        mReference = 0;
        printf("\n%s\n", info.name.c_str());
    }

    void benchmarkEnded(const Catch::BenchmarkStats<>& stats) override {
        std::vector<double> samples;
        for (const auto& sample : stats.samples) samples.push_back(sample.count());
        const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
        std::nth_element(samples.begin(), middle, samples.end());
        if (mReference == 0) mReference = *middle;
        printf("  %-58s %14.1f ns %9.3f x\n", stats.info.name.c_str(), *middle,
               *middle / mReference);
    }

  private:
    double mReference = 0;
};

CATCH_REGISTER_LISTENER(MedianTable)

}  // namespace
