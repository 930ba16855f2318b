#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

#include "base/SimpleThread.h"
#include "brain/BrainMainApi.h"
#include "platform/testing/LogCapture.h"
#include "platform/testing/TempDir.h"
#include "platform/workstation/SettableEnvironment.h"

// Pins every line the engine logs at the lowest threshold through start, openings, a learned batch,
// a prediction and the stop, thread by thread, numbers and addresses masked. Set
// KSBRAIN_UPDATE_GOLDEN to write the file anew, and read the difference.

namespace {

constexpr char GOLDEN[] = KSBRAIN_SOURCE_DIR "/engine/brain/EngineLog_golden.txt";

// What the worker logs last before it sleeps, and once more in each turn, where it fires timers.
constexpr char ABOUT_TO_SLEEP[] = "nextTimerEvent: return ";

class EngineLogTest : public testing::Test {
  protected:
    void section(const std::string& title) { mSections << "\n# " << title << "\n"; }

    // Writes out what was logged since, the host's thread before the worker's.
    void record() {
        const std::vector<LogCapture::Line> lines = mLog.lines();
        for (const bool host : {true, false}) {
            mSections << (host ? "host\n" : "worker\n");
            for (const LogCapture::Line& line : lines) {
                if ((line.threadId == mHost) != host) continue;
                mSections << "  " << line.module << ": " << mask(line.text) << "\n";
            }
        }
        mLog.clear();
    }

    std::string mask(std::string text) const {
        for (size_t at; (at = text.find(mDir.path())) != std::string::npos;) {
            text.replace(at, mDir.path().size(), "DIR");
        }
        text = std::regex_replace(text, std::regex("0x[0-9a-f]+|\\(nil\\)"), "P");
        text = std::regex_replace(text, std::regex("[0-9]+"), "N");
        for (char& character : text) {
            if (character == '\n') character = '|';
        }
        return text;
    }

    // Lets the held worker take one turn of its loop, up to where it is about to sleep again.
    bool takeTurn() { return mLog.step() && mLog.step(); }

    static void open(const std::string& package) {
        sp<BrainEvent> event(new BrainEvent);
        event->type = BrainEvent::APP_OPENED;
        event->package = package;
        ASSERT_EQ(brain_main_send_data(event), 0);
    }

    void openInTurn(int openings) {
        for (int i = 0; i < openings; ++i) {
            open(i % 2 == 0 ? "com.mail" : "com.maps");
            ASSERT_TRUE(takeTurn());
        }
    }

    const int mHost = SimpleThread::getTid();
    TempDir mDir;
    LogCapture mLog;
    std::ostringstream mSections;
};

TEST_F(EngineLogTest, EveryLineOfALifeIsAsItWas) {
    setenv("TZ", "UTC", 1);
    environment::setNow(1709280000);  // a Friday morning

    // The worker is held wherever it is about to sleep, so that it finds each step's work complete
    // and answers it with one turn of its loop.
    section("start");
    mLog.hold("-->InTo : run");
    ASSERT_EQ(brain_main_init(nullptr), 0);
    ASSERT_TRUE(mLog.waitUntilHeld());
    mLog.hold(ABOUT_TO_SLEEP);
    ASSERT_TRUE(mLog.step());
    ASSERT_TRUE(takeTurn());
    record();

    section("the second opening: the first with an application before it");
    open("com.mail");
    ASSERT_TRUE(takeTurn());
    mLog.clear();
    open("com.maps");
    ASSERT_TRUE(takeTurn());
    record();

    section("the thirteenth opening: eleven samples are learned");
    openInTurn(10);
    mLog.clear();
    open("com.mail");
    ASSERT_TRUE(takeTurn());
    record();

    section("prediction, after the next batch");
    openInTurn(11);
    mLog.clear();
    std::vector<std::string> packages;
    ASSERT_EQ(brain_main_app_preload_predict(packages), 0);
    record();

    section("exit");
    std::thread releaser([&] {
        mLog.waitFor("-->Back : addTerminatedHandler");
        mLog.release();
    });
    ASSERT_EQ(brain_main_exit(), 0);
    releaser.join();
    record();

    if (getenv("KSBRAIN_UPDATE_GOLDEN") != nullptr) std::ofstream(GOLDEN) << mSections.str();
    std::ostringstream golden;
    golden << std::ifstream(GOLDEN).rdbuf();
    EXPECT_EQ(mSections.str(), golden.str());
}

}  // namespace
