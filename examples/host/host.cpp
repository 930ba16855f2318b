// A host of the engine, to start from. It reads what happens from standard input, a line each, and
// after each opening prints which applications to preload, best first:
//
//     com.a                     com.a came to the front
//     installed com.a com.b     all that are installed, from the next opening on
//     charging on               or off
//
// The end of the input, SIGTERM or SIGINT ends it with status 0, a failure with status 1.

#include <fcntl.h>
#include <poll.h>
#include <semaphore.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "brain/BrainMainApi.h"

namespace {

constexpr char DATA_DIRECTORY[] = "/data/system/korvi_system";
constexpr size_t MAX_LINE = 1 << 20;

// Posted once for every event that the engine has done with.
sem_t gHandled;

// Handing an event over only posts it, so a prediction asked for right away may not know of it yet.
// A host that asks later, or does not mind, sends a plain BrainEvent and does not wait.
class TrackedEvent : public BrainEvent {
  public:
    // Mostly on the engine's worker, which must not call the engine. Dropped events come here too,
    // so nobody waits for ever.
    void onLastRef() const override { sem_post(&gHandled); }
};

// Hands the event over, gives up the host's own references, and waits until the engine has given up
// its own. For one thread at a time.
bool deliver(sp<TrackedEvent>& event) {
    sp<BrainEvent> handedOver(event);
    event.reset();
    const bool posted = brain_main_send_data(handedOver) == 0;
    handedOver.reset();
    while (sem_wait(&gHandled) != 0) {
        // Interrupted.
    }
    return posted;
}

int fail(const char* what) {
    fprintf(stderr, "ksbrain-host: %s: %s\n", what, strerror(errno));
    return 1;
}

class Host {
  public:
    // False when the line cannot be used.
    bool act(const std::string& line) {
        std::istringstream stream(line);
        const std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
        if (words.empty()) return true;
        if (words[0] == "installed") {
            mInstalled.assign(words.begin() + 1, words.end());
            mInstalledChanged = true;
            return true;
        }
        if (words.size() == 2 && words[0] == "charging" &&
            (words[1] == "on" || words[1] == "off")) {
            sp<TrackedEvent> event(new TrackedEvent);
            event->type = BrainEvent::CHARGING;
            event->charging = words[1] == "on" ? 1 : 0;
            return deliver(event);
        }
        return words.size() == 1 && words[0] != "charging" && open(words[0]);
    }

  private:
    bool open(const std::string& package) {
        sp<TrackedEvent> event(new TrackedEvent);
        event->type = BrainEvent::APP_OPENED;
        event->package = package;
        if (mInstalledChanged) {  // the engine keeps its copy of the list
            event->packageList = mInstalled;
            event->hasPackageList = 1;
            mInstalledChanged = false;
        }
        if (!deliver(event)) return false;

        std::vector<std::string> preload;
        brain_main_app_preload_predict(preload);
        printf("%s ->", package.c_str());
        for (const std::string& name : preload) printf(" %s", name.c_str());
        printf("\n");
        return true;
    }

    std::vector<std::string> mInstalled;
    bool mInstalledChanged = false;
};

// Until the input ends or `signals` is readable.
int run(int signals) {
    Host host;
    size_t number = 0;
    const auto act = [&](const std::string& line) {
        ++number;
        if (!host.act(line)) {
            fprintf(stderr, "ksbrain-host: line %zu cannot be used: %s\n", number, line.c_str());
        }
        return fflush(stdout) == 0;
    };

    std::string pending;
    pollfd sources[] = {{signals, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    while (true) {
        if (poll(sources, 2, -1) < 0) {
            if (errno == EINTR) continue;  // stopped and continued
            return fail("cannot wait");
        }
        if (sources[0].revents != 0) return 0;
        char bytes[4096];
        const ssize_t count = read(STDIN_FILENO, bytes, sizeof(bytes));
        if (count < 0) return fail("cannot read standard input");
        if (count == 0) {
            return pending.empty() || act(pending) ? 0 : fail("cannot write to standard output");
        }
        for (ssize_t i = 0; i < count; ++i) {
            if (bytes[i] != '\n') {
                pending += bytes[i];
                continue;
            }
            if (!act(pending)) return fail("cannot write to standard output");
            pending.clear();
        }
        if (pending.size() > MAX_LINE) {
            errno = EMSGSIZE;
            return fail("cannot read standard input");
        }
    }
}

}  // namespace

int main() {
    // A descriptor opened here would take its number.
    if (fcntl(STDIN_FILENO, F_GETFD) < 0) return fail("no standard input");
    sem_init(&gHandled, 0, 0);

    // Before the engine starts its thread, which inherits the mask and so leaves these to us.
    sigset_t stops;
    sigemptyset(&stops);
    sigaddset(&stops, SIGINT);
    sigaddset(&stops, SIGTERM);
    sigprocmask(SIG_BLOCK, &stops, nullptr);
    signal(SIGPIPE, SIG_IGN);  // a reader that is gone shows as a failed write
    const int signals = signalfd(-1, &stops, SFD_CLOEXEC);
    if (signals < 0) return fail("cannot catch signals");

    if (brain_main_init(nullptr) != 0) {
        fprintf(stderr, "ksbrain-host: the engine cannot be started\n");
        return 1;
    }
    if (access(DATA_DIRECTORY, W_OK) != 0) {
        fprintf(stderr, "ksbrain-host: %s cannot be written, nothing will be predicted: %s\n",
                DATA_DIRECTORY, strerror(errno));
    }
    const int status = run(signals);
    brain_main_exit();
    return status;
}
