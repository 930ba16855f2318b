#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "attack/faults/Host.h"
#include "attack/faults/Survivors.h"
#include "attack/faults/failing_calls.h"
#include "tools/common/DataDirectory.h"

// ksbrain-faults: runs a daemon's day with libksbrain.so over and over, lets one call of the C
// library fail in each (or all from that one on), starts again without failures and judges what has
// survived. Fails when an outcome is not among those that docs/robustness.md promises. Started with
// a /data/system of its own (platform/workstation/private-data.sh).

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds PATIENCE(15);
constexpr std::chrono::milliseconds POLL(2);
constexpr size_t LOG_SHOWN = 700;
constexpr size_t MOST_LATE = 3;

struct Options {
    std::string host;  // the part that this process is to play; empty for the sweep itself
    std::string shim;
    std::string call;  // this kind alone
    int at = 0;        // this call alone
    int most = 40;
    int times = 1;
    bool fresh = false;
    bool verbose = false;
};

// What came of a run, worse and worse.
enum class Outcome { SAME, LATE, REFUSED, SHORT, ENDED, LOST, CRASHED, DEAF, HUNG };

constexpr struct {
    const char* name;
    bool documented;
    const char* meaning;
} OUTCOMES[] = {
    {"same", true, "as without the failure"},
    {"late", true, "an event was handled with the next one; all else as without the failure"},
    {"refused", true, "a call of the five answered its failure; nothing stored was lost"},
    {"short", true, "what was there before is whole; some of the run's own was not stored"},
    {"ended", true, "the process ended and said why; what was there before is whole"},
    {"LOST", false, "something is gone that had been stored before"},
    {"CRASHED", false, "the process ended and did not say why"},
    {"DEAF", false, "events were taken and not handled"},
    {"HUNG", false, "a call never came back"},
};
constexpr size_t OUTCOME_COUNT = std::size(OUTCOMES);

std::string readText(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

size_t countOf(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

// How a process ended: as waitpid() has it, -1 when it had to be killed.
int runHost(const Options& options, const char* part, const std::string& fault,
            const std::string& log) {
    const pid_t child = fork();
    if (child == 0) {
        const int out = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
        dup2(out, STDOUT_FILENO);
        dup2(out, STDERR_FILENO);
        setenv("LD_PRELOAD", options.shim.c_str(), 1);
        setenv("TZ", "UTC", 1);
        if (!fault.empty()) setenv("FAULT", fault.c_str(), 1);
        execl("/proc/self/exe", "ksbrain-faults", "--host", part, nullptr);
        _exit(127);
    }
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
        usleep(std::chrono::microseconds(POLL).count());
        if (std::chrono::steady_clock::now() < end) continue;
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        return -1;
    }
    return status;
}

class Sweep {
  public:
    explicit Sweep(const Options& options)
        : mOptions(options),
          mLog(mWorkspace.path() + "/log"),
          mLearned(mWorkspace.path() + "/learned") {
        if (fs::exists(DATA_DIRECTORY)) {
            throw std::runtime_error(std::string(DATA_DIRECTORY) +
                                     " is there: this is no private one");
        }
        if (!options.fresh) {
            requireGoodEnd("prepare");
            fs::copy(DATA_DIRECTORY, mLearned);
        }
        mBefore = check();
        restore();
        requireGoodEnd("run");
        for (const FailingCall& call : CALLS) mCalls[call.name] = callsOf(call.name);
        mUndisturbed = check();
        printf("before       %s\nundisturbed  %s\n\n", mBefore.toString().c_str(),
               mUndisturbed.toString().c_str());
    }

    // Prints the table; whether all outcomes are documented ones.
    bool run() {
        printf("%-15s %6s %6s", "call", "calls", "tried");
        for (const auto& outcome : OUTCOMES) printf(" %8s", outcome.name);
        printf("\n");
        // A clock or a loop that fails for ever is none that a phone has.
        const size_t kinds = mOptions.times == 1 ? CALL_KINDS : FILE_CALL_KINDS;
        for (size_t kind = 0; kind < kinds; ++kind) {
            if (mOptions.call.empty() || mOptions.call == CALLS[kind].name) sweepKind(CALLS[kind]);
        }
        printf("\n");
        for (const auto& outcome : OUTCOMES) printf("%-8s %s\n", outcome.name, outcome.meaning);
        for (const std::string& line : mFindings) printf("\n%s\n", line.c_str());
        return mFindings.empty();
    }

  private:
    void requireGoodEnd(const char* part) {
        if (runHost(mOptions, part, "", mLog) != 0) {
            throw std::runtime_error(std::string(part) + " failed:\n" + readText(mLog));
        }
    }

    int callsOf(const char* call) {
        const std::string key = std::string("CALLS ") + call + " ";
        const std::string text = readText(mLog);
        const size_t at = text.find(key);
        return at == std::string::npos ? 0 : atoi(text.c_str() + at + key.size());
    }

    void restore() {
        fs::remove_all(DATA_DIRECTORY);
        if (!mOptions.fresh) fs::copy(mLearned, DATA_DIRECTORY);
    }

    Survivors check() {
        requireGoodEnd("check");
        return Survivors(DATA_DIRECTORY, readText(mLog));
    }

    // Which of so many calls are tried: all, or the first ones, the last ones and some between.
    std::set<int> placesOf(int calls) const {
        std::set<int> places;
        if (mOptions.at > 0) return {mOptions.at};
        const int most = mOptions.most;
        for (int i = 1; i <= calls; ++i) {
            if (calls <= most || i <= most / 3 || i > calls - most / 6) places.insert(i);
        }
        for (int i = 0; calls > most && i < most / 2; ++i)
            places.insert(1 + i * 2 * (calls - 1) / most);
        return places;
    }

    void sweepKind(const FailingCall& call) {
        const char* const name = call.name;
        std::array<int, OUTCOME_COUNT> tally{};
        const std::set<int> places = placesOf(mCalls[name]);
        for (const int place : places) {
            const std::string fault = std::string(name) + ":" + std::to_string(place) + ":" +
                                      std::to_string(call.error) + ":" +
                                      std::to_string(mOptions.times);
            ++tally[static_cast<size_t>(tryFault(fault))];
        }
        printf("%-15s %6d %6zu", name, mCalls[name], places.size());
        for (const int count : tally)
            printf(" %8s", count == 0 ? "." : std::to_string(count).c_str());
        printf("\n");
        fflush(stdout);
    }

    Outcome tryFault(const std::string& fault) {
        restore();
        const int status = runHost(mOptions, "run", fault, mLog);
        const std::string log = readText(mLog);
        const Judgement judgement = judge(check(), mBefore, mUndisturbed);
        const Outcome outcome = outcomeOf(status, log, judgement);
        const auto& kind = OUTCOMES[static_cast<size_t>(outcome)];
        const std::string line =
            std::string(kind.name) + "  FAULT=" + fault + "  " + judgement.what;
        const std::string shown = log.substr(0, std::min(LOG_SHOWN, log.find("CALLS ")));
        if (!kind.documented) mFindings.push_back(line + "\n" + shown);
        if (mOptions.verbose) printf("%s\n%s\n", line.c_str(), shown.c_str());
        return outcome;
    }

    static Outcome outcomeOf(int status, const std::string& log, const Judgement& judgement) {
        const bool saidWhy = contains(log, "ERROR ") || contains(log, "FATAL ");
        const size_t late = countOf(log, "LATE\n");
        if (status == -1) return Outcome::HUNG;
        if (late > MOST_LATE) return Outcome::DEAF;
        if (status != 0 && !saidWhy) return Outcome::CRASHED;
        if (judgement.verdict == Verdict::LOST) return Outcome::LOST;
        if (status != 0) return Outcome::ENDED;
        if (judgement.verdict == Verdict::SHORT) return Outcome::SHORT;
        if (contains(log, " answered ")) return Outcome::REFUSED;
        return late > 0 ? Outcome::LATE : Outcome::SAME;
    }

    const Options& mOptions;
    const TemporaryDirectory mWorkspace;
    const std::string mLog;
    const std::string mLearned;
    Survivors mBefore{"", ""};
    Survivors mUndisturbed{"", ""};
    std::map<std::string, int> mCalls;
    std::vector<std::string> mFindings;
};

int playHost(const std::string& part) {
    setvbuf(stdout, nullptr, _IONBF, 0);
    if (part == "prepare") return hostPrepares();
    return part == "run" ? hostRuns() : hostChecks();
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App program("Lets calls of the C library fail in a daemon's day and judges what survives.",
                     "ksbrain-faults");
    Options options;
    program.add_option("--host", options.host)->group("");
    program.add_option("--shim", options.shim, "The library that lets calls fail");
    program.add_option("--call", options.call, "Calls of this kind alone (write, open, ...)");
    program.add_option("--at", options.at, "This call of them alone, counted from 1");
    program.add_option("--most", options.most, "At most about so many places of a kind")
        ->capture_default_str();
    program.add_option("--times", options.times, "How many calls fail from there on; 0 for all")
        ->capture_default_str();
    program.add_flag("--fresh", options.fresh, "On a phone that has learned nothing yet");
    program.add_flag("--verbose", options.verbose, "Show every run");
    try {
        program.parse(argc, argv);
        if (!options.host.empty()) return playHost(options.host);
        return Sweep(options).run() ? 0 : 1;
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? 0 : 2;
    } catch (const std::exception& error) {
        fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
