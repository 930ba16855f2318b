#include "base/Logger.h"

#include <android/log.h>
#include <cutils/properties.h>
#include <sys/time.h>
#include <time.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>

#include "base/LogThreshold.h"

namespace {

constexpr char LEVEL_PROPERTY[] = "persist.sys.vexa.loglevel";
constexpr char LOGS_PROPERTY[] = "persist.enable.vexalogs";
constexpr char MODULE[] = "vexadaemon";
constexpr int DEFAULT_LEVEL = 4;
constexpr size_t MESSAGE_SIZE = 512;

struct Priority {
    const char* name;
    int android;
};

// Indexed by level; level 7 has no name on purpose.
constexpr Priority PRIORITIES[] = {
    {"", ANDROID_LOG_ERROR},       {"TRACE ", ANDROID_LOG_DEBUG},  {"DEBUG ", ANDROID_LOG_DEBUG},
    {"INFO  ", ANDROID_LOG_INFO},  {"WARNING ", ANDROID_LOG_WARN}, {"ERROR ", ANDROID_LOG_ERROR},
    {"FATAL ", ANDROID_LOG_ERROR}, {"", ANDROID_LOG_ERROR},        {"CRITICAL ", ANDROID_LOG_ERROR},
};

bool isLevel(int level) {
    return level >= 1 && level <= 8;
}

}  // namespace

Logger* Logger::getInstance() {
    // Every thread reads it for every line: in a cache line where nothing else is written.
    alignas(64) static char room[64];
    static_assert(sizeof(Logger) <= sizeof(room), "");
    static Logger* const instance = new (room) Logger;
    return instance;
}

Logger::Logger() : mLevel(LEVEL_DEBUG), mDefaultLevel(DEFAULT_LEVEL) {
    setName("LOGGER");
    int level = property_get_int32(LEVEL_PROPERTY, DEFAULT_LEVEL);
    __android_log_print(ANDROID_LOG_DEBUG, MODULE, "get default value: %d, errno: %d", level,
                        errno);
    if (errno < 0 || !isLevel(level)) level = DEFAULT_LEVEL;
    mDefaultLevel = level;
    log_threshold::write(level);
}

bool Logger::admits(unsigned char level) {
    const int threshold = log_threshold::read();
    if (isLevel(threshold)) {
        setLevel(static_cast<uint8_t>(threshold));
        if (level == 0 || level < threshold) return false;
    }
    // A level without a name of its own is printed under what mLevel holds.
    if (isLevel(level)) setLevel(level);
    return true;
}

Logger* Logger::ifAdmits(unsigned char level) {
    Logger* const logger = getInstance();
    return logger->admits(level) ? logger : nullptr;
}

// Threads that drop line after line only read the level, and so do not wait for each other.
void Logger::setLevel(uint8_t level) {
    if (mLevel.load(std::memory_order_relaxed) == level) return;
    mLevel.store(level, std::memory_order_relaxed);
}

void Logger::printLog(unsigned char level, std::string tag, std::string module,
                      const char* /*file*/, int /*line*/, const char* fmt, ...) {
    if (!admits(level)) return;
    va_list args;
    va_start(args, fmt);
    vprint(level, tag.c_str(), module.c_str(), fmt, args);
    va_end(args);
}

void Logger::printAdmitted(unsigned char level, const char* tag, const char* module,
                           const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    vprint(level, tag, module, fmt, args);
    va_end(args);
}

void Logger::vprint(unsigned char level, const char* tag, const char* module, const char* fmt,
                    va_list args) {
    // Another thread's line may have changed mLevel since this one was admitted.
    const Priority& priority =
        PRIORITIES[isLevel(level) ? level : mLevel.load(std::memory_order_relaxed)];
    setName(tag);
    if (fmt == nullptr) return;
    char message[MESSAGE_SIZE] = {};
    vsnprintf(message, sizeof(message), fmt, args);
    __android_log_print(priority.android, module, "%s %s", priority.name, message);
}

void Logger::setName(const char* tag) {
    for (size_t i = 0; i + 1 < std::size(mName); ++i) {
        mName[i].store(tag[i], std::memory_order_relaxed);
        if (tag[i] == '\0') return;
    }
}

int Logger::updateDefaultLevel(int level) {
    if (!isLevel(level)) return -1;
    mDefaultLevel = level;
    setLevel(static_cast<uint8_t>(level));
    log_threshold::write(level);
    // The message names the variable otherwise than it is called; readers of logs know it so.
    KS_LOG(LEVEL_DEBUG, MODULE, MODULE, "updateDefaultLevel: set DYNAMIC_LOG_ENV as:%s",
           log_threshold::text());
    return mDefaultLevel;
}

int Logger::getAndroidProp(const char* key) {
    char value[PROPERTY_VALUE_MAX] = {};
    property_get(key, value, "1");
    return value[0] - '0';
}

bool Logger::isSetAndroidProp(const char* key) {
    char value[PROPERTY_VALUE_MAX] = {};
    property_get(key, value, strcmp(key, LOGS_PROPERTY) == 0 ? "1" : "0");
    return value[0] != '0';
}

std::string Logger::getTimeString() {
    timeval now{};
    gettimeofday(&now, nullptr);
    tm local{};
    tzset();  // a changed zone counts, as it does for localtime()
    localtime_r(&now.tv_sec, &local);
    char text[64] = {};
    strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &local);
    char milliseconds[32] = {};
    snprintf(milliseconds, sizeof(milliseconds), ".%lld",
             static_cast<long long>(now.tv_usec / 1000));
    return std::string(text) + milliseconds;
}

std::string Logger::getPriorityName() {
    return PRIORITIES[mLevel.load(std::memory_order_relaxed)].name;
}

int Logger::__strlcpy(char* dst, const char* src, int len) {
    strncpy(dst, src, static_cast<size_t>(len));
    return len;
}
