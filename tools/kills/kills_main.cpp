#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <thread>

#include "tools/common/DataDirectory.h"
#include "tools/common/InputError.h"
#include "tools/kills/StoredFiles.h"

// ksbrain-kills: kills replays at random moments, starts each again on the same directory, and
// counts how every start found the files. Fails when a file was refused or missing for a reason
// that its format does not allow.

namespace {

constexpr size_t LOG_SHOWN = 3000;

struct Options {
    std::string program;
    std::string trace;
    int kills = 300;
    unsigned seed = 1;
};

struct Tally {
    int loaded = 0;
    int refused = 0;
    int absent = 0;
    std::map<std::string, int> windows;
};

pid_t startReplay(const Options& options, const char* charging, const std::string& directory,
                  const std::string& log) {
    const pid_t child = fork();
    if (child != 0) return child;
    const int out = open("/dev/null", O_WRONLY);
    const int err = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    execl(options.program.c_str(), options.program.c_str(), "replay", "--log", "2", "--charging",
          charging, "--data-dir", directory.c_str(), options.trace.c_str(), nullptr);
    _exit(127);
}

std::string readText(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

// One replay of the pair, killed after `delay` unless it has ended by then.
void runKilled(const Options& options, const char* charging, const std::string& directory,
               const std::string& log, std::chrono::microseconds delay) {
    std::filesystem::remove(log);  // a child that is killed at once writes none
    const pid_t child = startReplay(options, charging, directory, log);
    std::this_thread::sleep_for(delay);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0) {
        throw std::runtime_error("the replay failed:\n" + readText(log));
    }
}

int run(const Options& options) {
    const TemporaryDirectory workspace;
    const std::string log = workspace.path() + "/log";
    std::mt19937 random(options.seed);
    std::map<std::string, Tally> tallies;
    int starts = 0;
    int cutWhileLoading = 0;
    int unexplained = 0;

    for (int i = 0; i < options.kills; ++i) {
        const char* const charging = i % 2 == 0 ? "always" : "never";
        const std::string directory = workspace.path() + "/" + charging;
        const StoredFiles stored(directory);
        // Mostly anywhere in the first second, and often early, where the loaders themselves write.
        const int range = random() % 3 == 0 ? 60000 : 1200000;
        const std::chrono::microseconds delay(random() % static_cast<unsigned>(range));
        runKilled(options, charging, directory, log, delay);

        const std::string text = readText(log);
        if (!StoredFiles::hasLoaded(text)) {
            ++cutWhileLoading;
            continue;
        }
        ++starts;
        for (const auto& [name, finding] : stored.judge(text)) {
            Tally& tally = tallies[name];
            if (finding.found == Found::LOADED) {
                ++tally.loaded;
                continue;
            }
            ++(finding.found == Found::REFUSED ? tally.refused : tally.absent);
            ++tally.windows[finding.window.empty() ? "NOT ALLOWED BY THE FORMAT" : finding.window];
            if (!finding.window.empty()) continue;
            ++unexplained;
            fprintf(stderr, "kill %d, %s, the log of the start after it:\n%s\n", i, name.c_str(),
                    text.substr(0, LOG_SHOWN).c_str());
        }
    }

    printf("%d kills, %d starts that had read all files, %d killed before\n\n", options.kills,
           starts, cutWhileLoading);
    printf("%-22s %8s %8s %8s   %s\n", "file", "loaded", "refused", "absent", "why");
    for (const auto& [name, tally] : tallies) {
        printf("%-22s %8d %8d %8d", name.c_str(), tally.loaded, tally.refused, tally.absent);
        const char* separator = "   ";
        for (const auto& [window, count] : tally.windows) {
            printf("%s%d: %s", separator, count, window.c_str());
            separator = "; ";
        }
        printf("\n");
    }
    return unexplained == 0 && starts > 0 ? 0 : EXIT_FAILED;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App program("Kills replays at random moments and counts how each start found its files.",
                     "ksbrain-kills");
    Options options;
    program.add_option("--program", options.program, "The ksbrain program")->required();
    program.add_option("--kills", options.kills, "How many")->capture_default_str();
    program.add_option("--seed", options.seed, "Of the moments")->capture_default_str();
    program.add_option("TRACE", options.trace, "What to replay")->required();
    try {
        program.parse(argc, argv);
        return run(options);
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? 0 : EXIT_BAD_INPUT;
    } catch (const std::exception& error) {
        fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILED;
    }
}
