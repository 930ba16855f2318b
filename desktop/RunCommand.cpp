#include "desktop/RunCommand.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#include "desktop/Applications.h"
#include "desktop/Daemon.h"
#include "desktop/LineFront.h"
#include "desktop/PowerSupply.h"
#include "desktop/StateDirectory.h"
#include "desktop/X11Front.h"
#include "tools/common/InputError.h"
#include "tools/common/Interrupt.h"
#include "tools/common/Output.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds PAUSE(1);

struct Options {
    std::string state;
    bool fromInput = false;
    bool isMostUsed = false;
    uint64_t budget = 256;  // MiB
    uint64_t batteryBudget = 64;
    uint64_t settle = 2000;  // milliseconds
    DaemonOptions daemon;
};

// Everything that may wake the daemon, and what it does then.
class Loop {
  public:
    Loop(const Options& options, FrontSource& source, Applications& applications, Daemon& daemon)
        : mSettle(options.settle), mSource(source), mApplications(applications), mDaemon(daemon) {}

    // Until a signal comes, or the source has ended and what it began is done.
    void run() {
        mDaemon.setInstalled(mApplications.names());
        mDaemon.setCharging(mPower.charging());
        while (interruptSignal() == 0) {
            takeChanges();
            if (mWakesAt && Clock::now() >= *mWakesAt) wake();
            if (mDaemon.isReading()) mDaemon.readMore();
            if (mDaemon.isPaused() && !mWakesAt) mWakesAt = Clock::now() + PAUSE;
            if (mSource.ended() && !mWakesAt && !mDaemon.isReading()) break;
            wait();
        }
        mDaemon.stop("the daemon ends");
    }

  private:
    void takeChanges() {
        while (interruptSignal() == 0) {
            const std::optional<FrontApplication> app = mSource.next();
            if (!app) break;
            if (!mHeld && app->name == mDaemon.frontName()) continue;
            mDaemon.stop("the front changed");
            mHeld = app;
            mWakesAt = Clock::now() + mSource.hold();
            if (mSource.hold().count() == 0) wake();
        }
        if (mPower.changed()) mDaemon.setCharging(mPower.charging());
        if (mApplications.reload()) mDaemon.setInstalled(mApplications.names());
    }

    // What was waited for: that the front stays, that it has settled, or that a pause is over.
    void wake() {
        mWakesAt.reset();
        if (mHeld) {
            mDaemon.front(*mHeld, mSource.running());
            mHeld.reset();
            mWakesAt = Clock::now() + mSettle;
        } else if (mDaemon.isPaused()) {
            mDaemon.resume();
        } else {
            mDaemon.settled();
        }
    }

    // Sleeps until something happens; not at all while there is something to read.
    void wait() {
        int timeout = -1;
        if (mDaemon.isReading()) {
            timeout = 0;
        } else if (mWakesAt) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(*mWakesAt - Clock::now());
            timeout = static_cast<int>(std::max<int64_t>(0, left.count()));
        }
        // A negative descriptor is passed over.
        std::array<pollfd, 4> wakers = {{{mSource.ended() ? -1 : mSource.descriptor(), POLLIN, 0},
                                         {interruptDescriptor(), POLLIN, 0},
                                         {mPower.descriptor(), POLLIN, 0},
                                         {mApplications.descriptor(), POLLIN, 0}}};
        poll(wakers.data(), wakers.size(), timeout);
    }

    const std::chrono::milliseconds mSettle;
    FrontSource& mSource;
    Applications& mApplications;
    Daemon& mDaemon;
    PowerSupply mPower;
    std::optional<FrontApplication> mHeld;  // it may not stay
    std::optional<Clock::time_point> mWakesAt;
};

int run(Options& options) {
    umask(077);  // what a person opens is nobody else's business
    const StateDirectory state(options.state.empty() ? StateDirectory::usual() : options.state);
    Applications applications;
    std::unique_ptr<FrontSource> source;
    if (options.fromInput) {
        source = std::make_unique<LineFront>(STDIN_FILENO);
    } else {
        source = std::make_unique<X11Front>(applications);
    }
    NeedsStore store(state.needs());
    std::unique_ptr<Predictor> predictor;
    if (options.isMostUsed) {
        predictor = std::make_unique<MostUsedPredictor>(store);
    } else {
        predictor = std::make_unique<EnginePredictor>(state.engine());
    }
    useIdleIoClass();  // after the engine's threads have been made
    Pressure pressure;
    if (!pressure.canBeRead()) {
        fprintf(
            stderr,
            "/proc/pressure cannot be read: others that wait for memory or the disk go unseen\n");
    }
    Preloader preloader(pressure);
    options.daemon.budget = options.budget << 20;
    options.daemon.batteryBudget = options.batteryBudget << 20;
    const char* const home = getenv("HOME");
    options.daemon.home = home == nullptr ? "" : home;
    Daemon daemon(options.daemon, *predictor, store, preloader);
    daemon.setRunning(source->running());
    catchInterrupts();
    if (options.daemon.isVerbose) writeOutput("watching\n");
    Loop(options, *source, applications, daemon).run();
    return 0;
}

}  // namespace

Verb makeRunVerb() {
    constexpr uint64_t MOST_MIB = 1 << 20;
    const auto options = std::make_shared<Options>();
    Verb verb{"run",
              "Watch which application comes to the front, and read ahead what the next ones need",
              {{"ksbrain-desktop run --verbose", "and tell what is predicted, hit and read"},
               {"ksbrain-desktop run --dry-run --verbose", "tell only"}}};
    verb.text("--state DIR", options->state,
              "Where everything that is learned lies (default: $XDG_STATE_HOME/ksbrain, or "
              "~/.local/state/ksbrain)");
    verb.flag(
        "--stdin", options->fromInput,
        "Read what comes to the front from standard input, \"NAME\" or \"NAME PID\" a line, in "
        "place of X11");
    verb.number("--places N", 1, 30, options->daemon.places,
                "Read ahead for so many applications (default: 3)");
    verb.number("--budget MIB", 0, MOST_MIB, options->budget,
                "Read at most so much from the disk after each change (default: 256)");
    verb.number("--battery-budget MIB", 0, MOST_MIB, options->batteryBudget,
                "The same while the battery is used (default: 64)");
    verb.number("--settle MS", 0, 3'600'000, options->settle,
                "Take a window for settled after so long in front (default: 2000)");
    verb.custom("--predictor engine|most-used",
                "Who predicts: the engine, or the rule that always names those opened most often "
                "(default: engine)",
                [options](const std::string& name) {
                    options->isMostUsed = name == "most-used";
                    if (!options->isMostUsed && name != "engine") {
                        throw InputError("engine or most-used");
                    }
                });
    verb.flag("--dry-run", options->daemon.isDryRun, "Read nothing ahead, learn and tell only");
    verb.flag("--verbose", options->daemon.isVerbose,
              "Print a line for each thing that happens; it names what is opened");
    verb.run = [options] { return run(*options); };
    return verb;
}
