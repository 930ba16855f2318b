#define CATCH_CONFIG_RUNNER
#include <android/log.h>
#include <unistd.h>

#include <algorithm>
#include <catch2/catch.hpp>
#include <cstdio>

namespace {

// Prints the median of every benchmark and its ratio to the first one of the test case, which is
// the reference. Ratios of medians from one run hold where absolute times do not.
class MedianTable : public Catch::StreamingReporterBase<MedianTable> {
  public:
    using StreamingReporterBase::StreamingReporterBase;

    static std::string getDescription() { return "medians, and their ratios to the first"; }

    void testCaseStarting(const Catch::TestCaseInfo& info) override {
        StreamingReporterBase::testCaseStarting(info);
        mReference = 0;
        printf("\n%s\n", info.name.c_str());
    }

    void benchmarkEnded(const Catch::BenchmarkStats<>& stats) override {
        std::vector<double> samples;
        for (const auto& sample : stats.samples) samples.push_back(sample.count());
        const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
        std::nth_element(samples.begin(), middle, samples.end());
        if (mReference == 0) mReference = *middle;
        printf("  %-68s %14.1f ns %9.3f x\n", stats.info.name.c_str(), *middle,
               *middle / mReference);
        fflush(stdout);
    }

    void assertionStarting(const Catch::AssertionInfo&) override {}
    bool assertionEnded(const Catch::AssertionStats& stats) override {
        if (!stats.assertionResult.isOk()) printf("  failed\n");
        return true;
    }

  private:
    double mReference = 0;
};

CATCH_REGISTER_REPORTER("medians", MedianTable)

}  // namespace

int main(int argc, char** argv) {
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    // The disk is not what is measured.
    if (access("/dev/shm", W_OK) == 0) setenv("TMPDIR", "/dev/shm", 0);
    Catch::Session session;
    session.configData().reporterName = "medians";
    const int error = session.applyCommandLine(argc, argv);
    return error != 0 ? error : session.run();
}
