#include "tools/compare/WorkerProcess.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "tools/common/DataDirectory.h"
#include "tools/common/InputError.h"
#include "tools/common/Interrupt.h"
#include "tools/common/Output.h"

namespace {

constexpr size_t BUFFER_SIZE = 64 * 1024;

bool writeAll(int descriptor, const std::string& text) {
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno != EINTR) return false;
        if (count > 0) done += static_cast<size_t>(count);
    }
    return true;
}

[[noreturn]] void refuse(const char* what) {
    throw std::runtime_error(std::string("no process can be made: ") + what + ": " +
                             strerror(errno));
}

// Only SIGTERM ends a worker, in good order: from its parent, or from the kernel when that is gone.
void heedSigterm() {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    catchInterrupts();
    struct sigaction action {};
    sigaction(SIGTERM, nullptr, &action);
    action.sa_flags &= ~static_cast<int>(SA_RESETHAND);
    sigaction(SIGTERM, &action, nullptr);
    signal(SIGINT, SIG_IGN);
    signal(SIGPIPE, SIG_IGN);  // an answer that nobody takes any more
}

// Nothing of the parent's state may be flushed or destroyed a second time, hence _exit().
[[noreturn]] void beWorker(const std::function<std::string()>& work, pid_t parent, int out) {
    int status = EXIT_FAILED;
    try {
        const TemporaryDirectory scratch;
        setenv("TMPDIR", scratch.path().c_str(), 1);
        const bool watched = writeAll(out, scratch.path() + '\n') && getppid() == parent;
        if (watched && writeAll(out, work())) status = 0;
    } catch (const std::exception& error) {
        printError(error.what());
    }
    _exit(status);
}

}  // namespace

WorkerProcess::WorkerProcess(const std::function<std::string()>& work) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) refuse("pipe");
    const pid_t parent = getpid();
    // A signal that comes before the process has handlers of its own would be noted for its parent.
    sigset_t interrupts;
    sigset_t before;
    sigemptyset(&interrupts);
    sigaddset(&interrupts, SIGINT);
    sigaddset(&interrupts, SIGTERM);
    sigprocmask(SIG_BLOCK, &interrupts, &before);
    mProcess = fork();
    if (mProcess == 0) {
        close(ends[0]);
        heedSigterm();
        sigprocmask(SIG_SETMASK, &before, nullptr);
        beWorker(work, parent, ends[1]);
    }
    const int error = errno;
    sigprocmask(SIG_SETMASK, &before, nullptr);
    close(ends[1]);
    mDescriptor = ends[0];
    if (mProcess < 0) {
        close(mDescriptor);
        errno = error;
        refuse("fork");
    }
}

WorkerProcess::~WorkerProcess() {
    if (mProcess > 0) {
        kill(mProcess, SIGKILL);
        while (receive()) {
        }
    }
    close(mDescriptor);
}

bool WorkerProcess::receive() {
    if (mProcess < 0) return false;
    char buffer[BUFFER_SIZE];
    const ssize_t count = read(mDescriptor, buffer, sizeof(buffer));
    if (count > 0) mAnswer.append(buffer, static_cast<size_t>(count));
    if (count > 0 || (count < 0 && errno == EINTR)) return true;
    reap();
    return false;
}

void WorkerProcess::reap() {
    while (waitpid(mProcess, &mStatus, 0) < 0 && errno == EINTR) {
    }
    mProcess = -1;
    const size_t end = mAnswer.find('\n');
    if (end == std::string::npos) return;
    const std::string scratch = mAnswer.substr(0, end);
    mAnswer.erase(0, end + 1);
    std::error_code ignored;
    std::filesystem::remove_all(scratch, ignored);
}

void WorkerProcess::stop() const {
    if (mProcess > 0) kill(mProcess, SIGTERM);
}

std::string WorkerProcess::failure() const {
    if (WIFSIGNALED(mStatus)) {
        const int signal = WTERMSIG(mStatus);
        return "was ended by signal " + std::to_string(signal) + ", " + strsignal(signal);
    }
    return mStatus == 0 ? "" : "failed";
}
