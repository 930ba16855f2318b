#pragma once

#include <string>
#include <vector>

// Collects what the process writes to the platform's log, for as long as it lives; one at a time.
// The engine's threshold is set to `level` meanwhile (1 for everything) and to 4 afterwards.
//
//     LogCapture log;
//     handler->sendMessage(message);
//     EXPECT_TRUE(log.contains("-->InTo : sendMessage"));
class LogCapture {
  public:
    struct Line {
        int priority;        // of <android/log.h>
        std::string module;  // the platform's log tag: "vexadaemon", "ksbrain"
        std::string text;    // "WARNING  fd=3 is already in mHandlers"
        int threadId;        // the kernel's id of the thread that logged
    };

    explicit LogCapture(int level = 1);
    ~LogCapture();

    std::vector<Line> lines() const;

    // The texts alone, in the order of arrival.
    std::vector<std::string> texts() const;

    // How many lines contain `part`.
    int count(const std::string& part) const;
    bool contains(const std::string& part) const { return count(part) > 0; }

    // Waits until at least `times` lines contain `part`; false after ten seconds.
    bool waitFor(const std::string& part, int times = 1) const;

    void clear();
};
