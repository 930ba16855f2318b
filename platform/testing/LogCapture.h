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

    // Calls `listener` on the logging thread from now on, in place of collecting.
    void tell(void (*listener)(const char* message));

    // Stops every thread that logs a line containing `part`, right after it has logged it, until
    // step() or release(): so a test decides what happens before that thread goes on.
    void hold(const std::string& part);
    bool waitUntilHeld() const;

    // Lets the held thread go on to the next such line, where it is held again; false after ten
    // seconds.
    bool step();

    // Lets it go on and holds nobody from now on.
    void release();
};
