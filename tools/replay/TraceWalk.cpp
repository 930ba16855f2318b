#include "tools/replay/TraceWalk.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <thread>

#include "platform/workstation/SettableEnvironment.h"
#include "tools/common/Text.h"

namespace {

constexpr TraceTime MARK_DISTANCE = std::chrono::seconds(300);
constexpr std::chrono::microseconds POLL_INTERVAL(200);

// The engine goes on when its files fail it, but not with the answers that it would have given.
void requireStorage() {
    const std::optional<environment::StorageFailure> failure = environment::storageFailure();
    if (!failure) return;
    throw std::runtime_error(
        printable(failure->path) +
        ": the engine could not write or read it: " + strerror(failure->error));
}

}  // namespace

TraceWalk::TraceWalk(const Trace& trace, const ChargingPlan& plan, WalkSubject& subject)
    : mTrace(trace), mPlan(plan), mSubject(subject) {}

bool TraceWalk::run(const Listener& listener) {
    requireStorage();  // before a file that could not be read is written over
    mSubject.setCharging(mPlan.chargingAt(wholeSeconds(mTrace.time(0))));
    for (size_t row = 0; row < mTrace.size(); ++row) {
        if (row > 0 && !passTime(mTrace.time(row - 1), mTrace.time(row))) return false;
        environment::setNow(wholeSeconds(mTrace.time(row)));
        mSubject.open(mTrace, row);
        const std::vector<std::string> answer = mSubject.predict();
        requireStorage();
        if (!listener(row, answer)) return false;
    }
    if (!update()) return false;
    requireStorage();
    return true;
}

// What happens behind `from`, up to `to` itself. False when the walk was stopped.
bool TraceWalk::passTime(TraceTime from, TraceTime to) {
    constexpr TraceTime NEVER = TraceTime::max();
    const auto edgeAfter = [&](time_t moment) {
        const std::optional<time_t> edge = mPlan.nextEdge(moment);
        return edge ? TraceTime(std::chrono::seconds(*edge)) : NEVER;
    };
    TraceTime edge = edgeAfter(wholeSeconds(from));
    TraceTime mark = firstMarkNotBefore(from + TraceTime(1));
    for (;;) {
        const TraceTime next = std::min(edge, mark);
        if (next > to) return true;
        environment::setNow(wholeSeconds(next));
        if (edge <= mark) {
            mSubject.setCharging(mPlan.chargingAt(wholeSeconds(edge)));
            mark = firstMarkNotBefore(edge);
            edge = edgeAfter(wholeSeconds(edge));
        } else {
            if (!update()) return false;
            mark = NEVER;
        }
    }
}

TraceTime TraceWalk::firstMarkNotBefore(TraceTime time) const {
    const TraceTime start = mTrace.time(0);
    const auto steps = (time - start + MARK_DISTANCE - TraceTime(1)) / MARK_DISTANCE;
    return start + steps * MARK_DISTANCE;
}

// False when the walk was stopped meanwhile.
bool TraceWalk::update() {
    if (mStopped()) return false;
    mSubject.update();
    while (mSubject.isTraining()) {
        if (mStopped()) return false;
        std::this_thread::sleep_for(POLL_INTERVAL);
    }
    return true;
}
