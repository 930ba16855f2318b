#pragma once

#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <utility>

#include "base/Callback.h"
#include "platform/test/LogCapture.h"

// A callback that owns a function, and so whatever that has captured.
//
//     looper.sendTask(makeCallback<void>([&] { ++runs; }));
template <typename R>
Callback<R (*)()> makeCallback(std::function<R()> function) {
    struct Held : RefBase {
        explicit Held(std::function<R()> f) : function(std::move(f)) {}
        const std::function<R()> function;
    };
    struct Runner {
        R run(sp<Held> held) { return held->function(); }
    };
    static Runner runner;
    return Callback<R (*)()>(&Runner::run, UnsafeRawPtr<Runner>(&runner),
                             sp<Held>(new Held(std::move(function))));
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

// How many descriptors the process has open.
inline long openDescriptors() {
    using std::filesystem::directory_iterator;
    return std::distance(directory_iterator("/proc/self/fd"), directory_iterator());
}
