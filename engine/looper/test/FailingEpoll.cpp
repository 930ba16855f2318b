#include "looper/test/FailingEpoll.h"

#include <sys/epoll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace {

std::atomic<bool> gFailing{false};

}  // namespace

// Takes the place of the C library's function in the whole program.
extern "C" int controlEpoll(int epoll, int operation, int fd,
                            epoll_event* event) __asm__("epoll_ctl");
int controlEpoll(int epoll, int operation, int fd, epoll_event* event) {
    if (!gFailing) return static_cast<int>(syscall(SYS_epoll_ctl, epoll, operation, fd, event));
    errno = ENOSPC;
    return -1;
}

FailingEpoll::FailingEpoll() {
    gFailing = true;
}

FailingEpoll::~FailingEpoll() {
    gFailing = false;
}
