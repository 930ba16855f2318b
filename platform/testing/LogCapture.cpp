#include "platform/testing/LogCapture.h"

#include <android/log.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "base/Logger.h"
#include "base/SimpleThread.h"

namespace {

std::mutex gLock;
std::condition_variable gArrived;
std::vector<LogCapture::Line> gLines;
bool gCollecting = false;
std::atomic<void (*)(const char*)> gListener{nullptr};

std::condition_variable gHoldChanged;
std::string gHeldText;  // empty: nobody is held
bool gHeld = false;
int gReleases = 0;

// False when nobody collects.
bool collect(int priority, const char* module, const char* message) {
    std::unique_lock<std::mutex> lock(gLock);
    if (!gCollecting) return false;
    gLines.push_back({priority, module, message, SimpleThread::getTid()});
    gArrived.notify_all();
    if (gHeldText.empty() || gLines.back().text.find(gHeldText) == std::string::npos) {
        return true;
    }
    gHeld = true;
    gHoldChanged.notify_all();
    gHoldChanged.wait(lock, [releases = gReleases] { return gReleases != releases; });
    return true;
}

int countLocked(const std::string& part) {
    return static_cast<int>(std::count_if(gLines.begin(), gLines.end(), [&](const auto& line) {
        return line.text.find(part) != std::string::npos;
    }));
}

void setCollecting(bool collecting) {
    std::lock_guard<std::mutex> lock(gLock);
    gCollecting = collecting;
}

}  // namespace

// Takes the place of the log library's function in the whole program: the phone's log library
// cannot be listened to.
extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...) {
    char message[1024];
    va_list args;
    va_start(args, format);
    const int length = vsnprintf(message, sizeof(message), format, args);
    va_end(args);
    if (void (*const listener)(const char*) = gListener) {
        listener(message);
    } else if (!collect(priority, tag, message)) {
        fprintf(stderr, "%s %c %s\n", tag, "??VDIWEF"[priority], message);
    }
    return length;
}

LogCapture::LogCapture(int level) {
    Logger::getInstance();  // so that its own first line is not among those collected
    clear();
    setCollecting(true);
    setenv("DYNAMIC_LOGLEVEL_ENV", std::to_string(level).c_str(), 1);
}

LogCapture::~LogCapture() {
    release();
    setenv("DYNAMIC_LOGLEVEL_ENV", "4", 1);
    gListener = nullptr;
    setCollecting(false);
}

std::vector<LogCapture::Line> LogCapture::lines() const {
    std::lock_guard<std::mutex> lock(gLock);
    return gLines;
}

std::vector<std::string> LogCapture::texts() const {
    std::vector<std::string> texts;
    for (const Line& line : lines()) texts.push_back(line.text);
    return texts;
}

int LogCapture::count(const std::string& part) const {
    std::lock_guard<std::mutex> lock(gLock);
    return countLocked(part);
}

bool LogCapture::waitFor(const std::string& part, int times) const {
    std::unique_lock<std::mutex> lock(gLock);
    return gArrived.wait_for(lock, std::chrono::seconds(10),
                             [&] { return countLocked(part) >= times; });
}

void LogCapture::clear() {
    std::lock_guard<std::mutex> lock(gLock);
    gLines.clear();
}

void LogCapture::tell(void (*listener)(const char* message)) {
    gListener = listener;
}

void LogCapture::hold(const std::string& part) {
    std::lock_guard<std::mutex> lock(gLock);
    gHeldText = part;
}

bool LogCapture::waitUntilHeld() const {
    std::unique_lock<std::mutex> lock(gLock);
    return gHoldChanged.wait_for(lock, std::chrono::seconds(10), [] { return gHeld; });
}

bool LogCapture::step() {
    {
        std::lock_guard<std::mutex> lock(gLock);
        gHeld = false;
        ++gReleases;
        gHoldChanged.notify_all();
    }
    return waitUntilHeld();
}

void LogCapture::release() {
    std::lock_guard<std::mutex> lock(gLock);
    gHeldText.clear();
    gHeld = false;
    ++gReleases;
    gHoldChanged.notify_all();
}
