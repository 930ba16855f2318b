#include <gtest/gtest.h>

#include <thread>

#include "platform/testing/LogCapture.h"
#include "platform/testing/TempDir.h"
#include "preload/ZmlAdapter.h"

// The adapter with the real sequence-network library.
namespace {

using Names = std::vector<std::string>;

class ZmlAdapterLibraryThreads : public testing::Test {
  protected:
    // Enough openings to train on: one of 28 applications, then a, b and c.
    void openMany(ZmlAdapter& adapter) {
        for (int i = 0; i < 1300; ++i) {
            for (std::string name : Names{"other" + std::to_string(i % 28), "a", "b", "c"}) {
                if (i < 28) mPackages.push_back(name);
                adapter.addSample(name);
            }
        }
    }

    bool train(ZmlAdapter& adapter) {
        openMany(adapter);
        adapter.update(1, mPackages);
        while (adapter.isTraining()) std::this_thread::yield();
        return adapter.ready();
    }

    std::string predictAfter(ZmlAdapter& adapter, std::string older, std::string newer) {
        adapter.addSample(older);
        adapter.addSample(newer);
        Names out;
        adapter.predict(out);
        return out.size() == 30 ? out[0] : "";
    }

    const TempDir mDir;
    const LogCapture mLog;
    Names mPackages;
};

TEST_F(ZmlAdapterLibraryThreads, learnsHabitsAndKeepsThemOverARestart) {
    mDir.write("aiPreloadApp.zml", "damaged");
    {
        ZmlAdapter adapter;
        ASSERT_FALSE(adapter.ready());
        ASSERT_TRUE(train(adapter));
        EXPECT_EQ(predictAfter(adapter, "a", "b"), "c");
        ASSERT_TRUE(train(adapter));
        EXPECT_EQ(adapter.trainingsReady(), 2);
    }
    ZmlAdapter adapter;
    ASSERT_TRUE(adapter.ready());
    EXPECT_EQ(predictAfter(adapter, "other3", "a"), "b");
}

TEST_F(ZmlAdapterLibraryThreads, mayBeAskedAndDestroyedAtAnyMomentOfATraining) {
    for (int round = 0; round < 4; ++round) {
        ZmlAdapter adapter;
        openMany(adapter);
        std::atomic<bool> stop{false};
        std::thread host([&] {
            while (!stop) adapter.usageRecordsOf(predictAfter(adapter, "a", "b"));
        });
        adapter.update(1, mPackages);
        for (int i = 0; i < round * 20; ++i) std::this_thread::yield();
        stop = true;
        host.join();
    }
    EXPECT_FALSE(mLog.contains("start startSessionLocked failed!"));
}

}  // namespace
