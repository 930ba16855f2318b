#include "attack/fuzz/Descriptors.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <iterator>

#include "attack/fuzz/Fuzz.h"

namespace {

constexpr size_t MAX_PIPES = 30;

}  // namespace

Descriptors::~Descriptors() {
    for (const Pipe& pipe : mPipes) {
        if (!pipe.closed) close(pipe.watched);
        if (!pipe.hungUp) close(pipe.peer);
    }
}

void Descriptors::add(Looper& looper) {
    if (mPipes.size() >= MAX_PIPES) return;
    int ends[2] = {-1, -1};
    promise(pipe2(ends, O_NONBLOCK | O_CLOEXEC) == 0, "there are descriptors left");
    mPipes.push_back({this, ends[0], ends[1], mInput.draw(2) == 0});
    Pipe& pipe = mPipes.back();
    const bool plain = mInput.draw(4) == 0;  // read empty by the looper itself
    promise(
        looper.addEventHandler(pipe.watched, plain ? nullptr : readable, &pipe, removed, EPOLLIN),
        "a new descriptor is taken");
    promise(!looper.addEventHandler(pipe.watched, nullptr, nullptr, nullptr, EPOLLIN),
            "a descriptor is taken once");
}

void Descriptors::disturb(Looper& looper, bool inTurn) {
    if (mPipes.empty()) return;
    Pipe& pipe = *std::next(mPipes.begin(), mInput.draw(static_cast<int>(mPipes.size())));
    switch (mInput.draw(3)) {
        case 0:
            if (!pipe.hungUp && !pipe.closed && write(pipe.peer, "x", 1) < 0) return;  // full
            break;
        case 1:
            if (pipe.closesItself || pipe.hungUp || !pipe.watching) return;
            close(pipe.peer);
            pipe.hungUp = true;
            break;
        default:
            if (inTurn || !pipe.watching) return;
            looper.removeEventHandler(pipe.watched);
            promise(!pipe.watching, "the close action has run when a handler is removed");
            break;
    }
}

void Descriptors::readable(int fd, void* data) {
    Pipe& pipe = *static_cast<Pipe*>(data);
    promise(pipe.watching && fd == pipe.watched, "only a registered handler runs");
    KsLooper::clearRead(fd, nullptr);
    pipe.owner->mOnReadable(pipe.owner->mUser);
}

void Descriptors::removed(int fd, void* data) {
    Pipe& pipe = *static_cast<Pipe*>(data);
    promise(pipe.watching, "a close action runs once");
    pipe.watching = false;
    if (pipe.closesItself) close(fd);
    // The looper closes what has hung up in a turn, after this.
    pipe.closed = pipe.closesItself || (pipe.hungUp && pipe.owner->mTurning);
}
