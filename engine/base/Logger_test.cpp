#include "base/Logger.h"

#include <android/log.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <random>
#include <thread>
#include <vector>

#include "platform/testing/LogCapture.h"

namespace {

thread_local int tAllocations = 0;
timeval gStoppedClock{};

}  // namespace

// Counts this program's allocations; the sanitizers have an operator new of their own, and a hook.
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
extern "C" void __sanitizer_malloc_hook(const volatile void*, size_t) {
    ++tAllocations;
}
#else
void* operator new(size_t size) {
    ++tAllocations;
    if (void* const memory = malloc(size)) return memory;
    abort();
}
void operator delete(void* memory) noexcept {
    free(memory);
}
#endif

// The clock of getTimeString(), which nobody else here asks; platforms declare it differently.
extern "C" int stoppedClock(timeval* now, void*) __asm__("gettimeofday");
int stoppedClock(timeval* now, void*) {
    *now = gStoppedClock;
    return 0;
}

namespace {

using testing::ElementsAre;

constexpr char LEVEL_VARIABLE[] = "DYNAMIC_LOGLEVEL_ENV";

Logger& logger() {
    return *Logger::getInstance();
}

// Gives the process these system properties, in a file that needs no deletion.
void setProperties(const std::string& lines) {
    const int file = fileno(tmpfile());
    ASSERT_EQ(write(file, lines.data(), lines.size()), static_cast<ssize_t>(lines.size()));
    setenv("KSBRAIN_PROPERTIES", ("/proc/self/fd/" + std::to_string(file)).c_str(), 1);
}

TEST(Logger, PrintsALineOfTheThresholdOrAbove) {
    const struct {
        const char* threshold;
        unsigned char level;
        const char* text;  // null: dropped
        int priority;
    } cases[] = {
        {"1", 1, "TRACE  hello", ANDROID_LOG_DEBUG},
        {"4", 3, nullptr, 0},
        {"4", 4, "WARNING  hello", ANDROID_LOG_WARN},
        {"4", 5, "ERROR  hello", ANDROID_LOG_ERROR},
        {"4", 6, "FATAL  hello", ANDROID_LOG_ERROR},
        {"4", 7, " hello", ANDROID_LOG_ERROR},
        {"8", 8, "CRITICAL  hello", ANDROID_LOG_ERROR},
        // No threshold.
        {"9", 1, "TRACE  hello", ANDROID_LOG_DEBUG},
        {"all", 2, "DEBUG  hello", ANDROID_LOG_DEBUG},
        // A level outside 1..8 is printed under the threshold, else as the line before.
        {"6", 9, "FATAL  hello", ANDROID_LOG_ERROR},
        {"3", 0, nullptr, 0},
        {"0", 0, "INFO   hello", ANDROID_LOG_INFO},
        {"0", 4, "WARNING  hello", ANDROID_LOG_WARN},
        {"0", 255, "WARNING  hello", ANDROID_LOG_WARN},
    };
    LogCapture log;
    for (const auto& [threshold, level, text, priority] : cases) {
        setenv(LEVEL_VARIABLE, threshold, 1);
        log.clear();
        logger().printLog(level, "tag", "module", "", 0, "hel%s", "lo");
        const std::vector<LogCapture::Line> lines = log.lines();
        ASSERT_EQ(lines.empty(), text == nullptr) << threshold << ", " << int{level};
        if (text == nullptr) continue;
        EXPECT_EQ(lines[0].text, text);
        EXPECT_EQ(lines[0].priority, priority);
        EXPECT_EQ(lines[0].module, "module");
    }
}

TEST(Logger, DoesNoWorkForADroppedLine) {
    const LogCapture log(4);
    int evaluations = 0;
    const auto expensive = [&evaluations] {
        ++evaluations;
        return std::string(100, 'x');
    };
    // Whoever formats or copies it reads where nobody may.
    const char* const unreadable = reinterpret_cast<const char*>(1);

    const int before = tAllocations;
    FRAMEWORK_LOG(LEVEL_INFO, unreadable, "%s", expensive().c_str());
    ENGINE_LOG(LEVEL_INFO, unreadable, "%s", expensive().c_str());
    logger().printLog(LEVEL_INFO, "tag", "module", "", 0, "%s", unreadable);
    traceEntry(unreadable, unreadable);
    traceReturn(unreadable, unreadable);
    { const TraceScope scope(unreadable, unreadable); }
    const int after = tAllocations;
    EXPECT_EQ(after, before);
    EXPECT_EQ(evaluations, 0);

    FRAMEWORK_LOG(LEVEL_WARNING, "tag", "%s", expensive().c_str());
    EXPECT_GT(tAllocations, after) << "allocations are counted";
    EXPECT_EQ(evaluations, 1);
    EXPECT_EQ(log.texts().size(), 1u);
}

TEST(Logger, CutsALongMessageAndLeavesOthersAsTheyAre) {
    const LogCapture log;
    FRAMEWORK_LOG(LEVEL_ERROR, "tag", "%s", std::string(512, 'x').c_str());
    { const TraceScope scope("Looper", "run"); }
    ENGINE_LOG(LEVEL_ERROR, "tag", "over \n");
    logger().printLog(LEVEL_ERROR, "tag", "module", "", 0, nullptr);
    EXPECT_THAT(log.texts(), ElementsAre("ERROR  " + std::string(511, 'x'), "TRACE  -->InTo : run",
                                         "TRACE  -->Back : run", "ERROR  over \n"));
    EXPECT_EQ(log.lines().front().module, "vexadaemon");
    EXPECT_EQ(log.lines().back().module, "ksbrain");
}

TEST(Logger, HasItsThresholdSet) {
    const LogCapture log;
    EXPECT_EQ(logger().updateDefaultLevel(0), -1);
    EXPECT_EQ(logger().updateDefaultLevel(9), -1);
    EXPECT_STREQ(getenv(LEVEL_VARIABLE), "1");
    EXPECT_EQ(logger().updateDefaultLevel(2), 2);
    EXPECT_EQ(logger().updateDefaultLevel(5), 5);
    FRAMEWORK_LOG(LEVEL_INFO, "tag", "dropped");
    EXPECT_THAT(log.texts(), ElementsAre("DEBUG  updateDefaultLevel: set DYNAMIC_LOG_ENV as:2"));
}

// The logger is made once in a process, so each case has a process of its own.
TEST(LoggerDeathTest, TakesItsFirstThresholdFromAProperty) {
    // Forked while nothing has logged yet: death tests come first.
    testing::FLAGS_gtest_death_test_style = "fast";
    const auto start = [](const std::string& properties) {
        setProperties(properties);
        setenv(LEVEL_VARIABLE, "7", 1);
        Logger::getInstance();
        _exit(atoi(getenv(LEVEL_VARIABLE)));
    };
    EXPECT_EXIT(start(""), testing::ExitedWithCode(4), "vexadaemon D.*get default value: 4, errno");
    for (const auto& [value, threshold] : {std::pair(1, 1), {8, 8}, {12, 4}, {0, 4}}) {
        const std::string text = std::to_string(value);
        EXPECT_EXIT(start("persist.sys.vexa.loglevel=" + text), testing::ExitedWithCode(threshold),
                    "get default value: " + text + ", errno: ");
    }
}

std::vector<std::string> otherVariables() {
    std::vector<std::string> variables;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        if (strncmp(*entry, LEVEL_VARIABLE, strlen(LEVEL_VARIABLE)) != 0) {
            variables.push_back(*entry);
        }
    }
    return variables;
}

TEST(LoggerDeathTest, LeavesTheOtherVariablesAsTheyAre) {
    testing::FLAGS_gtest_death_test_style = "fast";
    EXPECT_EXIT(
        {
            setenv("BEHIND", LEVEL_VARIABLE, 1);
            const std::vector<std::string> before = otherVariables();
            Logger::getInstance();
            _exit(otherVariables() == before ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

// getenv() is what it must agree with, after every change that the C library offers. Each change is
// made by another thread.
TEST(Logger, ReadsItsThresholdWhereverTheVariableStands) {
    const LogCapture log(8);
    const std::vector<std::string> before = otherVariables();
    std::string placed[] = {"DYNAMIC_LOGLEVEL_ENV=2", "DYNAMIC_LOGLEVEL_ENV=7"};
    std::mt19937 random(1);
    const auto change = [&] {
        const std::string other = "V" + std::to_string(random() % 20);
        std::string& own = placed[random() % 2];
        const unsigned kind = random() % 40;
        if (kind == 0) clearenv();
        if (kind >= 1 && kind < 5) unsetenv(LEVEL_VARIABLE);
        if (kind >= 5 && kind < 10) putenv(own.data());
        if (kind >= 10 && kind < 15) own.back() = static_cast<char>('0' + random() % 10);
        if (kind >= 15 && kind < 20) {
            setenv(LEVEL_VARIABLE, std::to_string(random() % 10).c_str(), 1);
        }
        if (kind >= 20 && kind < 30) unsetenv(other.c_str());
        if (kind >= 30) setenv(other.c_str(), "x", 1);
    };
    for (int i = 0; i < 5000; ++i) {
        std::thread(change).join();
        const char* const text = getenv(LEVEL_VARIABLE);
        const int threshold = text == nullptr ? 0 : atoi(text);
        const bool printed = threshold < 1 || threshold > 8 || threshold <= LEVEL_WARNING;
        ASSERT_EQ(logger().admits(LEVEL_WARNING), printed) << i << ", threshold " << threshold;
    }
    putenv(placed[0].data());
    placed[0].back() = '8';
    EXPECT_FALSE(logger().admits(LEVEL_WARNING));
    placed[0].front() = 'E';
    EXPECT_TRUE(logger().admits(LEVEL_WARNING)) << "it has another name now";

    clearenv();
    for (const std::string& variable : before) {
        const size_t sign = variable.find('=');
        setenv(variable.substr(0, sign).c_str(), variable.c_str() + sign + 1, 1);
    }
}

TEST(Logger, ReadsTheFirstCharacterOfAProperty) {
    setProperties("seven=7\nnone=0\n");
    EXPECT_EQ(logger().getAndroidProp("seven"), 7);
    EXPECT_EQ(logger().getAndroidProp("unset"), 1);
    EXPECT_TRUE(logger().isSetAndroidProp("seven"));
    EXPECT_FALSE(logger().isSetAndroidProp("none"));
    EXPECT_FALSE(logger().isSetAndroidProp("unset"));
    EXPECT_TRUE(logger().isSetAndroidProp("persist.enable.vexalogs"));
}

TEST(Logger, TellsTheTimeWithUnpaddedMilliseconds) {
    setenv("TZ", "UTC", 1);
    tzset();
    gStoppedClock = {1709280309, 7999};
    EXPECT_EQ(logger().getTimeString(), "2024-03-01 08:05:09.7");
    setenv("TZ", "EST5", 1);
    EXPECT_EQ(logger().getTimeString(), "2024-03-01 03:05:09.7") << "in a zone that has changed";
    setenv("TZ", "UTC", 1);
}

TEST(Logger, PrintsALineUnderItsOwnLevelWhateverIsLoggedMeanwhile) {
    const LogCapture log;
    const auto argument = [] {
        FRAMEWORK_LOG(LEVEL_ERROR, "tag", "inner");
        return "outer";
    };
    FRAMEWORK_LOG(LEVEL_INFO, "tag", "%s", argument());
    EXPECT_THAT(log.texts(), ElementsAre("ERROR  inner", "INFO   outer"));
}

TEST(LoggerThreads, PrintEveryLine) {
    const LogCapture log;
    const auto print = [](LogLevel level) {
        for (int i = 0; i < 50; ++i) FRAMEWORK_LOG(level, "tag", "of level %d", level);
    };
    std::thread other(print, LEVEL_INFO);
    print(LEVEL_ERROR);
    other.join();
    EXPECT_EQ(log.count("INFO   of level 3"), 50);
    EXPECT_EQ(log.count("ERROR  of level 5"), 50);
}

}  // namespace
