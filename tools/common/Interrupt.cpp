#include "tools/common/Interrupt.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>

namespace {

volatile sig_atomic_t gSignal = 0;
int gDescriptor = -1;

void note(int signal) {
    const int savedErrno = errno;
    gSignal = signal;
    const uint64_t one = 1;
    if (write(gDescriptor, &one, sizeof(one)) < 0) {
        // It is readable already.
    }
    errno = savedErrno;
}

}  // namespace

void catchInterrupts() {
    gDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    struct sigaction action {};
    action.sa_handler = note;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    struct sigaction before {};
    sigaction(SIGHUP, &action, &before);
    if (before.sa_handler == SIG_IGN) sigaction(SIGHUP, &before, nullptr);  // started by nohup
}

int interruptSignal() {
    return gSignal;
}

int interruptDescriptor() {
    return gDescriptor;
}
