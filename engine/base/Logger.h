#pragma once

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <string>

enum LogLevel : unsigned char {
    LEVEL_TRACE = 1,
    LEVEL_DEBUG = 2,
    LEVEL_INFO = 3,
    LEVEL_WARNING = 4,
    LEVEL_ERROR = 5,
    LEVEL_FATAL = 6,
    LEVEL_CRITICAL = 8,
};

// The process-wide logger. A line below the threshold is dropped; the threshold is the environment
// variable "DYNAMIC_LOGLEVEL_ENV", read anew for every line, so that a host can change it in the
// running process. Any thread may log.
//
// The code logs through the macros below, which evaluate nothing for a line that is not printed:
//
//     ENGINE_LOG(LEVEL_DEBUG, "bayes", "model file %s does not exist \n", path);
class Logger {
  public:
    // The single instance, made on first use and never destroyed.
    static Logger* getInstance();

    // The guard in front of every line: whether a line of this level is to be printed now. Leaves
    // in mLevel the level under which it would be printed (the threshold, when it is dropped).
    bool admits(unsigned char level);

    // The instance if it admits the level now, else null: the guard in one call.
    static Logger* ifAdmits(unsigned char level);

    // Prints a line if its level is admitted. `tag` names the component, `module` is the tag of the
    // platform's log; `file` and `line` are not printed. A message is cut at 511 characters.
    void printLog(unsigned char level, std::string tag, std::string module, const char* file,
                  int line, const char* fmt, ...) __attribute__((format(printf, 7, 8)));

    // Prints a line of a level that admits() has let through.
    void printAdmitted(unsigned char level, const char* tag, const char* module, const char* fmt,
                       ...) __attribute__((format(printf, 5, 6)));

    // Sets the threshold. Returns the new level, or -1 (and changes nothing) outside 1..8.
    int updateDefaultLevel(int level);

    // The first character of a system property minus '0'; 1 when it is unset.
    int getAndroidProp(const char* key);

    // Whether the first character of a system property is not '0'. Unset means no, but for
    // "persist.enable.vexalogs", where it means yes.
    bool isSetAndroidProp(const char* key);

    // The local time as 2024-03-01 08:05:09.7: the milliseconds are not padded.
    std::string getTimeString();

    // The name of mLevel with its trailing blanks; empty for level 7.
    std::string getPriorityName();

    // strncpy() that returns `len`: `dst` is not terminated when `src` fills it.
    int __strlcpy(char* dst, const char* src, int len);

  private:
    Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    void vprint(unsigned char level, const char* tag, const char* module, const char* fmt,
                va_list args) __attribute__((format(printf, 5, 0)));
    void setName(const char* tag);
    void setLevel(uint8_t level);

    // The tag of the line printed last, cut to fit. Only a debugger reads it and may find a mixture
    // of two: bytes that each thread stores as it likes cost a line neither a lock nor memory.
    std::atomic<char> mName[24] = {};
    std::atomic<uint8_t> mLevel;
    std::atomic<int32_t> mDefaultLevel;
};

#define KS_LOG(level, tag, module, ...)                                     \
    do {                                                                    \
        if (Logger* const ksLogger = Logger::ifAdmits(level)) {             \
            ksLogger->printAdmitted((level), (tag), (module), __VA_ARGS__); \
        }                                                                   \
    } while (false)

// A line of the framework (base/ and looper/).
#define FRAMEWORK_LOG(level, tag, ...) KS_LOG(level, tag, "vexadaemon", __VA_ARGS__)

// A line of the engine (brain/ and preload/).
#define ENGINE_LOG(level, tag, ...) KS_LOG(level, tag, "ksbrain", __VA_ARGS__)

// The entry and exit lines of a framework operation.
inline void traceEntry(const char* tag, const char* operation) {
    FRAMEWORK_LOG(LEVEL_TRACE, tag, "-->InTo : %s", operation);
}
inline void traceReturn(const char* tag, const char* operation) {
    FRAMEWORK_LOG(LEVEL_TRACE, tag, "-->Back : %s", operation);
}

// Writes both, for an operation whose every return is traced.
class TraceScope {
  public:
    TraceScope(const char* tag, const char* operation) : mTag(tag), mOperation(operation) {
        traceEntry(mTag, mOperation);
    }
    ~TraceScope() { traceReturn(mTag, mOperation); }

  private:
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;

    const char* const mTag;
    const char* const mOperation;
};
