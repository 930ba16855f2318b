#include <gtest/gtest.h>

#include <filesystem>

#include "tools/common/DataDirectory.h"
#include "tools/serve/EngineLibrary.h"
#include "tools/serve/HostEvent.h"
#include "tools/serve/PrivateRoot.h"

// Runs the shipped library as a host does: loaded at run time, driven through its five functions,
// with its files in the directory it always uses, which lies in a /data of the test's own.

namespace {

constexpr int CODE_FOREGROUND = 4;

void open(const EngineLibrary& engine, const std::string& package) {
    sp<HostEvent> host(new HostEvent);
    host->type = CODE_FOREGROUND;
    host->package = package;
    const sp<HandledLatch> handled = host->handled();
    sp<BrainEvent> event(host);
    host.reset();
    ASSERT_EQ(engine.sendData(event), 0);
    event.reset();
    handled->wait();
}

TEST(Library, LearnsPredictsAndRemembersAcrossARestart) {
    const std::string refusal = privateRootRefusal();
    if (!refusal.empty()) GTEST_SKIP() << refusal;
    const TemporaryDirectory data;
    ASSERT_EQ(enterPrivateRoot(data.path()), "");
    const EngineLibrary engine = loadEngine(KSBRAIN_LIBRARY);

    std::vector<std::string> packages = {"untouched"};
    EXPECT_EQ(engine.predict(packages), 0);
    EXPECT_EQ(packages, std::vector<std::string>{"untouched"}) << "asked before the start";
    EXPECT_EQ(engine.cleanPredict(), -1);

    ASSERT_EQ(engine.init(nullptr), 0);
    for (int i = 0; i < 40; ++i) open(engine, i % 2 == 0 ? "com.mail" : "com.maps");
    ASSERT_EQ(engine.predict(packages), 0);
    const std::vector<std::string> learned = packages;
    ASSERT_EQ(learned.size(), 2u);
    EXPECT_EQ(learned[0], "com.mail") << "com.maps is in front";
    EXPECT_EQ(engine.exit(), 0);
    EXPECT_TRUE(std::filesystem::exists("/data/system/korvi_system/AppPreloadBayesModel"));

    ASSERT_EQ(engine.init(nullptr), 0);
    open(engine, "com.mail");
    open(engine, "com.maps");
    ASSERT_EQ(engine.predict(packages), 0);
    EXPECT_EQ(packages, learned);
    EXPECT_EQ(engine.exit(), 0);
}

}  // namespace
