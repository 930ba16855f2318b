#pragma once

#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "base/Callback.h"
#include "platform/testing/LogCapture.h"
#include "platform/testing/TempDir.h"

// Makes a callback that owns a function, and so whatever that has captured.
template <typename R>
Callback<R (*)()> makeCallback(std::function<R()> function) {
    struct Held : RefBase {
        explicit Held(std::function<R()> f) : function(std::move(f)) {}
        R run(sp<Held>) { return function(); }
        const std::function<R()> function;
    };
    const sp<Held> held(new Held(std::move(function)));
    return Callback<R (*)()>(&Held::run, UnsafeRawPtr<Held>(held.get()), held);
}

// Runs a function when it goes, in the hands of whoever releases it last.
struct AtRelease : RefBase {
    explicit AtRelease(std::function<void()> f) : function(std::move(f)) {}
    ~AtRelease() override { function(); }
    const std::function<void()> function;
};

// What was logged, one line each, with entry lines as ">wake" and exit lines as "<wake".
inline std::string logged(const LogCapture& log) {
    std::string all;
    for (std::string text : log.texts()) {
        if (text.find("TRACE  -->InTo : ") == 0) text.replace(0, 17, ">");
        if (text.find("TRACE  -->Back : ") == 0) text.replace(0, 17, "<");
        all += text + "\n";
    }
    return all;
}

// Runs a function once, on a thread of its own, at the moment when another thread logs a line that
// contains `part`: for a race that is lost at this very line.
class AtLogLine {
  public:
    AtLogLine(const char* part, std::function<void()> function) {
        sPart = part;
        sFunction = std::move(function);
        mLog.tell([](const char* message) {
            if (sPart == nullptr || strstr(message, sPart) == nullptr) return;
            sPart = nullptr;
            std::thread(sFunction).join();
        });
    }

  private:
    LogCapture mLog;  // lets every line through
    static inline const char* sPart;
    static inline std::function<void()> sFunction;
};

// How many descriptors the process has open.
inline size_t openDescriptors() {
    return entriesOf("/proc/self/fd").size();
}
