#include "platform/test/LogCapture.h"

#include <android/log.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "base/Logger.h"

namespace {

std::mutex gLock;
std::condition_variable gArrived;
std::vector<LogCapture::Line> gLines;

std::condition_variable gHoldChanged;
std::string gHeldText;  // empty: nobody is held
bool gHeld = false;
int gReleases = 0;

void collect(const __android_logger_data* data, const char* message) {
    std::unique_lock<std::mutex> lock(gLock);
    gLines.push_back({data->priority, data->tag, message, gettid()});
    gArrived.notify_all();
    if (gHeldText.empty() || gLines.back().text.find(gHeldText) == std::string::npos) return;
    gHeld = true;
    gHoldChanged.notify_all();
    gHoldChanged.wait(lock, [releases = gReleases] { return gReleases != releases; });
}

int countLocked(const std::string& part) {
    return static_cast<int>(std::count_if(gLines.begin(), gLines.end(), [&](const auto& line) {
        return line.text.find(part) != std::string::npos;
    }));
}

}  // namespace

LogCapture::LogCapture(int level) {
    Logger::getInstance();  // so that its own first line is not among those collected
    clear();
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(collect);
    setenv("DYNAMIC_LOGLEVEL_ENV", std::to_string(level).c_str(), 1);
}

LogCapture::~LogCapture() {
    release();
    setenv("DYNAMIC_LOGLEVEL_ENV", "4", 1);
    __android_log_set_logger(__android_log_stderr_logger);
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
